#include <platform/TimerQueue.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

using Vorla::Platform::CTimerQueue;
using namespace std::chrono_literals;

namespace {
// Counts calls and lets a test wait for them.
struct Probe {
  std::mutex lock;
  std::condition_variable called;
  int calls = 0;
  bool WaitFor(int n) {
    std::unique_lock<std::mutex> guard(lock);
    return called.wait_for(guard, 5s, [&] { return calls >= n; });
  }
  static void Count(void* self) {
    auto* p = static_cast<Probe*>(self);
    std::lock_guard<std::mutex> guard(p->lock);
    ++p->calls;
    p->called.notify_all();
  }
};
} // namespace

// One-shot timers fire once and stay known until deleted; a deletion waits for a running callback.
TEST(TimerQueue, OneShotTimersFireOnceStayDeletableAndDeletionWaitsForTheirCallback) {
  struct Slow {
    std::atomic<bool> started{false}, finished{false};
    static void Run(void* self) {
      auto* s = static_cast<Slow*>(self);
      s->started = true;
      std::this_thread::sleep_for(50ms);
      s->finished = true;
    }
  } slow;
  CTimerQueue queue;
  Probe probe;
  const auto timer = queue.CreateTimer(1, &Probe::Count, &probe);
  ASSERT_NE(timer, 0u);
  ASSERT_TRUE(probe.WaitFor(1));
  std::this_thread::sleep_for(20ms);
  EXPECT_EQ(probe.calls, 1);
  EXPECT_FALSE(CTimerQueue().DeleteTimer(timer)); // not another queue's to delete
  EXPECT_TRUE(queue.DeleteTimer(timer));
  EXPECT_FALSE(queue.DeleteTimer(timer));
  EXPECT_FALSE(queue.DeleteTimer(0));
  const auto slowTimer = queue.CreateTimer(0, &Slow::Run, &slow);
  while (!slow.started)
    std::this_thread::yield();
  EXPECT_TRUE(queue.DeleteTimer(slowTimer));
  EXPECT_TRUE(slow.finished);
}

TEST(TimerQueue, ACallbackMayDestroyItsOwnQueueAndOtherQueuesGoOn) {
  struct Owner {
    CTimerQueue* queue = new CTimerQueue;
    std::atomic<bool> destroyed{false};
    static void Run(void* self) {
      auto* o = static_cast<Owner*>(self);
      delete o->queue; // the timer thread must not touch the queue afterwards
      o->destroyed = true;
    }
  } owner;
  owner.queue->CreateTimer(60'000, &Owner::Run, &owner); // dropped with the queue
  owner.queue->CreateTimer(0, &Owner::Run, &owner);

  CTimerQueue other;
  Probe probe;
  other.CreateTimer(5, &Probe::Count, &probe);
  ASSERT_TRUE(probe.WaitFor(1));
  EXPECT_TRUE(owner.destroyed);
}

// A callback may delete its own timer; one that creates a timer on its queue while the queue is
// being destroyed gets none that fires.
TEST(TimerQueue, ACallbackMayDeleteItsOwnTimerButNotFireWhileItsQueueIsDestroyed) {
  struct Creator {
    CTimerQueue* queue = new CTimerQueue;
    std::atomic<CTimerQueue::Handle> timer{0};
    std::atomic<bool> running{false}, deleted{false};
    Probe late;
    static void Idle(void*) {}
    static void Run(void* self) {
      auto* c = static_cast<Creator*>(self);
      while (c->timer == 0)
        std::this_thread::yield();
      c->deleted = c->queue->DeleteTimer(c->timer); // never waits for itself
      c->running = true;
      // Renews a marker timer until the destruction has dropped it and waits for this callback.
      const auto marker = [c] { return c->queue->CreateTimer(60'000, &Idle, nullptr); };
      for (auto held = marker(); c->queue->DeleteTimer(std::exchange(held, marker()));)
        std::this_thread::sleep_for(1ms);
      c->queue->CreateTimer(0, &Probe::Count, &c->late);
    }
  } creator;
  creator.timer = creator.queue->CreateTimer(0, &Creator::Run, &creator);
  while (!creator.running)
    std::this_thread::yield();
  delete creator.queue;
  CTimerQueue other; // its timer fires after one that was left behind, due earlier
  Probe probe;
  other.CreateTimer(1, &Probe::Count, &probe);
  ASSERT_TRUE(probe.WaitFor(1));
  EXPECT_TRUE(creator.deleted);
  EXPECT_EQ(creator.late.calls, 0);
}

// Deleters free the callback's context right after DeleteTimer: a deletion that did not wait
// for a running callback shows up as a use after free under the sanitizers.
TEST(TimerQueue, DeletionRacingExpiryNeverLeavesACallbackOnFreedState) {
  struct Context {
    int writes = 0;
    static void Run(void* self) { ++static_cast<Context*>(self)->writes; }
  };
  CTimerQueue shared;
  auto worker = [&](int seed) {
    CTimerQueue own;
    for (int i = 0; i < 300; ++i) {
      CTimerQueue& queue = (i + seed) % 2 ? own : shared;
      auto context = std::make_unique<Context>();
      const auto timer = queue.CreateTimer(i % 3, &Context::Run, context.get());
      ASSERT_NE(timer, 0u);
      if (i % 5 == 0)
        std::this_thread::sleep_for(1ms);
      EXPECT_TRUE(queue.DeleteTimer(timer));
      EXPECT_LE(context->writes, 1);
    }
  };
  std::vector<std::thread> threads;
  for (int seed = 0; seed < 6; ++seed)
    threads.emplace_back(worker, seed);
  for (auto& t : threads)
    t.join();
}
