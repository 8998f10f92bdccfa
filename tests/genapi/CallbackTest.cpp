#include "MemoryPort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

using namespace GenApi;

namespace {

const char* const kNodes = R"(
  <Integer Name="Width"><pValue>WidthReg</pValue></Integer>
  <IntReg Name="WidthReg"><Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort></IntReg>
  <IntSwissKnife Name="Payload"><pVariable Name="W">Width</pVariable><Formula>W*2</Formula>
  </IntSwissKnife>
  <Integer Name="Other"><Value>0</Value></Integer>
)";

struct Recorder {
  void OnChange(INode* node) { events.push_back(node->GetName()); }
  std::vector<std::string> events;
};

class Callbacks : public CMapTest {
protected:
  void SetUp() override { Load(kNodes); }
  INode* Node(const char* name) { return m_Ref._GetNode(name); }
  Recorder m_Recorder;
};

// A write fires its node and the nodes depending on it once each, and their callbacks read the new
// value; a failed write fires nothing.
TEST_F(Callbacks, FireOncePerChangeOnWrittenAndDependentNodes) {
  for (const char* name : {"Width", "Payload", "Other"})
    Register(Node(name), m_Recorder, &Recorder::OnChange);
  int64_t seen = -1;
  Register(Node("Width"), [&](INode* node) { seen = CIntegerPtr(node)->GetValue(); });
  CIntegerPtr(Node("Width"))->SetValue(10);
  ASSERT_EQ(2u, m_Recorder.events.size());
  EXPECT_EQ(1, std::count(m_Recorder.events.begin(), m_Recorder.events.end(), "Width"));
  EXPECT_EQ(1, std::count(m_Recorder.events.begin(), m_Recorder.events.end(), "Payload"));
  EXPECT_EQ(10, seen);
  EXPECT_EQ(20, CIntegerPtr(Node("Payload"))->GetValue());
  m_Port.m_Mode = RO;
  EXPECT_THROW(CIntegerPtr(Node("Width"))->SetValue(1), GenICam::AccessException);
  EXPECT_EQ(2u, m_Recorder.events.size());
}

TEST_F(Callbacks, InsideLockRunsUnderTheMapLockOutsideLockDoesNot) {
  std::vector<std::string> order;
  bool insideHeld = false, outsideHeld = true;
  INodeMap* map = m_Ref;
  auto held = [map] {
    // Another thread cannot take a lock that this thread holds.
    bool free = false;
    std::thread([&] {
      CLock& lock = map->GetLock();
      if (lock.TryLock()) {
        free = true;
        lock.Unlock();
      }
    }).join();
    return !free;
  };
  Register(
      Node("Other"), [&](INode*) { order.push_back("inside"), insideHeld = held(); },
      cbPostInsideLock);
  Register(
      Node("Other"), [&](INode*) { order.push_back("outside"), outsideHeld = held(); },
      cbPostOutsideLock);
  CIntegerPtr(Node("Other"))->SetValue(1);
  EXPECT_EQ((std::vector<std::string>{"inside", "outside"}), order);
  EXPECT_TRUE(insideHeld);
  EXPECT_FALSE(outsideHeld);
}

// Outside-lock callbacks fire after the map let its lock go; a registration on another thread
// meanwhile must not race with the firing (run under tsan).
TEST_F(Callbacks, RegisteringWhileAnotherThreadFiresOutsideTheLock) {
  Register(
      Node("Other"), [](INode*) {}, cbPostOutsideLock);
  std::atomic<bool> stop{false};
  std::thread writer([&] {
    for (int64_t i = 0; !stop; ++i)
      CIntegerPtr(Node("Other"))->SetValue(i & 1);
  });
  for (int i = 0; i < 500; ++i)
    Deregister(Register(
        Node("Other"), [](INode*) {}, cbPostOutsideLock));
  stop = true;
  writer.join();
}

TEST_F(Callbacks, DeregisterByHandleStopsFiring) {
  int fired = 0;
  const CallbackHandleType handle = Register(Node("Other"), [&](INode*) { ++fired; });
  EXPECT_NE(0, handle);
  CIntegerPtr(Node("Other"))->SetValue(1);
  EXPECT_TRUE(Node("Other")->DeregisterCallback(handle));
  EXPECT_FALSE(Deregister(handle));
  CIntegerPtr(Node("Other"))->SetValue(2);
  EXPECT_EQ(1, fired);
  const CallbackHandleType second = Register(Node("Other"), [&](INode*) { ++fired; });
  EXPECT_TRUE(Deregister(second));
}

} // namespace
