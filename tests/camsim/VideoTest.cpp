// The camera's video on the simulated cable: pattern, order, modes, slow readers, leaving; and
// the cable's reader against memory it cannot trust.
#include "CameraRegisters.h"

#include <camsim/TestPattern.h>
#include <videocable/CableReader.h>
#include <videocable/CableWriter.h>

#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <new>

#include <sys/stat.h>
#include <unistd.h>

using namespace camtest;
using camsim::CCameraModel;
using camsim::CTestPattern;
using Reader = VideoCable::CCableReader;
using std::chrono::milliseconds;

namespace {

class Video : public ::testing::Test {
protected:
  void SetUp() override {
    m_Camera = std::make_unique<CCameraModel>(VideoOptions(1));
    ASSERT_TRUE(m_Reader.Attach(Name()));
    ASSERT_EQ(WriteFrameRate(*m_Camera, 1000.0), 0);
  }
  static std::string Name() { return VideoCable::CableName(VideoOptions(1).m_VideoBoard, 1); }
  //! The next frame within a second, checked against the pattern of its own number.
  bool NextFrame(Reader::SFrame& frame, bool release = true) {
    if (m_Reader.Next(milliseconds(1000), m_Cancel, frame) != Reader::EResult::Frame &&
        m_Reader.Next(milliseconds(1000), m_Cancel, frame) != Reader::EResult::Frame)
      return false;
    const auto& i = frame.m_Info;
    const CTestPattern::SGeometry g{i.m_Width, i.m_Height, i.m_OffsetX, i.m_OffsetY,
                                    i.m_PixelFormat};
    EXPECT_EQ(i.m_Size, CTestPattern::FrameSize(g));
    EXPECT_TRUE(CTestPattern::Check(frame.m_pData, i.m_Size, g)) << i.m_FrameNumber;
    EXPECT_EQ(CTestPattern::FrameNumber(frame.m_pData, i.m_Size), i.m_FrameNumber);
    if (release)
      m_Reader.Release(frame);
    return true;
  }
  bool NoFrameFor(milliseconds wait) {
    Reader::SFrame frame;
    return m_Reader.Next(wait, m_Cancel, frame) != Reader::EResult::Frame;
  }

  std::unique_ptr<CCameraModel> m_Camera;
  Reader m_Reader;
  std::atomic<bool> m_Cancel{false};
};

} // namespace

TEST_F(Video, ContinuousFramesComeInOrderWithTheRegisteredGeometry) {
  EXPECT_TRUE(NoFrameFor(milliseconds(20))); // nothing before the start
  ASSERT_EQ(WriteRegister(*m_Camera, Width, 128), 0);
  ASSERT_EQ(WriteRegister(*m_Camera, OffsetX, 64), 0);
  ASSERT_EQ(WriteRegister(*m_Camera, AcquisitionStart, 1), 0);
  std::uint64_t first = 0, last = 0;
  for (int i = 0; i < 20; ++i) {
    Reader::SFrame frame;
    ASSERT_TRUE(NextFrame(frame));
    EXPECT_GT(frame.m_Info.m_FrameNumber, last);
    first = first ? first : frame.m_Info.m_FrameNumber;
    last = frame.m_Info.m_FrameNumber;
    EXPECT_EQ(frame.m_Info.m_Width, 128u);
    EXPECT_EQ(frame.m_Info.m_OffsetX, 64u);
  }
  EXPECT_EQ(last - first + 1, 20 + m_Reader.Lost()); // every gap is counted
  EXPECT_EQ(m_Camera->DeviceRegister(AcquisitionStatus), 1u);
  ASSERT_EQ(WriteRegister(*m_Camera, AcquisitionStop, 1), 0);
  EXPECT_EQ(m_Camera->DeviceRegister(AcquisitionStatus), 0u);
}

TEST_F(Video, MultiFrameAndSoftwareTriggerSendWhatTheyAskFor) {
  ASSERT_EQ(WriteRegister(*m_Camera, AcquisitionMode, 2), 0);
  ASSERT_EQ(WriteRegister(*m_Camera, AcquisitionFrameCount, 3), 0);
  ASSERT_EQ(WriteRegister(*m_Camera, AcquisitionStart, 1), 0);
  for (int i = 0; i < 3; ++i) {
    Reader::SFrame frame;
    ASSERT_TRUE(NextFrame(frame));
  }
  EXPECT_TRUE(NoFrameFor(milliseconds(30)));
  EXPECT_EQ(m_Camera->DeviceRegister(AcquisitionStatus), 0u); // ended by itself

  ASSERT_EQ(WriteRegister(*m_Camera, AcquisitionMode, 0), 0);
  ASSERT_EQ(WriteRegister(*m_Camera, TriggerMode, 1), 0);
  ASSERT_EQ(WriteRegister(*m_Camera, AcquisitionStart, 1), 0);
  EXPECT_TRUE(NoFrameFor(milliseconds(30)));
  for (int i = 0; i < 2; ++i) {
    ASSERT_EQ(WriteRegister(*m_Camera, TriggerSoftware, 1), 0);
    Reader::SFrame frame;
    ASSERT_TRUE(NextFrame(frame));
    EXPECT_TRUE(NoFrameFor(milliseconds(20)));
  }
}

// A reader that holds a frame keeps it intact while the camera runs on; the frames it could not
// take are counted, and the camera never waited for it.
TEST_F(Video, SlowReaderLosesFramesButNeverSeesATornOne) {
  ASSERT_EQ(WriteRegister(*m_Camera, AcquisitionStart, 1), 0);
  Reader::SFrame held;
  ASSERT_TRUE(NextFrame(held, false));
  const std::vector<std::uint8_t> copy(held.m_pData, held.m_pData + held.m_Info.m_Size);
  Reader other; // a second reader sees the camera go on meanwhile
  ASSERT_TRUE(other.Attach(Name()));
  std::uint64_t newest = 0;
  for (int i = 0; i < 30; ++i) {
    Reader::SFrame f;
    ASSERT_EQ(other.Next(milliseconds(1000), m_Cancel, f), Reader::EResult::Frame);
    newest = f.m_Info.m_FrameNumber;
    other.Release(f);
  }
  EXPECT_GT(newest, held.m_Info.m_FrameNumber + 20);
  EXPECT_TRUE(std::equal(copy.begin(), copy.end(), held.m_pData));
  m_Reader.Release(held);
  Reader::SFrame next;
  ASSERT_TRUE(NextFrame(next));
  EXPECT_GT(m_Reader.Lost(), 0u);
  EXPECT_EQ(next.m_Info.m_FrameNumber - held.m_Info.m_FrameNumber - 1, m_Reader.Lost());
}

TEST_F(Video, CameraLeavingEndsAWaitAndFreesTheChannel) {
  try { // the channel is served, and the text says by whom
    CCameraModel second{VideoOptions(1)};
    ADD_FAILURE() << "a second camera took a served channel";
  } catch (const std::runtime_error& e) {
    EXPECT_EQ(e.what(),
              "video channel '" + Name() + "' is served by process " + std::to_string(getpid()));
  }
  EXPECT_EQ(m_Reader.Describe(), "cable '" + Name() + "' of camera process " +
                                     std::to_string(getpid()) + " (alive), 0 frames sent");
  auto waiting = std::async(std::launch::async, [&] {
    Reader::SFrame frame;
    const auto start = std::chrono::steady_clock::now();
    while (m_Reader.Next(milliseconds(5000), m_Cancel, frame) == Reader::EResult::Nothing)
      ;
    return std::chrono::steady_clock::now() - start;
  });
  std::this_thread::sleep_for(milliseconds(20));
  m_Camera.reset();
  ASSERT_EQ(waiting.wait_for(std::chrono::seconds(2)), std::future_status::ready);
  EXPECT_LT(waiting.get(), std::chrono::seconds(1));
  EXPECT_FALSE(m_Reader.CameraPresent());
  Reader fresh;
  EXPECT_FALSE(fresh.Attach(Name()));
  EXPECT_EQ(fresh.Refusal(), "no camera simulator serves '" + Name() + "'");
  m_Camera = std::make_unique<CCameraModel>(VideoOptions(1));
  EXPECT_TRUE(fresh.Attach(Name()));
}

TEST_F(Video, WakeEndsAWaitWithoutAFrame) {
  auto waiting = std::async(std::launch::async, [&] {
    Reader::SFrame frame;
    return m_Reader.Next(milliseconds(5000), m_Cancel, frame);
  });
  std::this_thread::sleep_for(milliseconds(20));
  m_Cancel = true;
  m_Reader.Wake();
  ASSERT_EQ(waiting.wait_for(std::chrono::seconds(1)), std::future_status::ready);
  EXPECT_EQ(waiting.get(), Reader::EResult::Nothing);
}

namespace {

using namespace VideoCable;

//! A cable written by hand, as a camera of any intention could write it: three slots of 4 KiB
//! in room for four, its camera this live process.
class CPlantedCable {
public:
  static constexpr std::uint64_t First = 4096, Stride = 8192;
  CPlantedCable() {
    m_Segment.Create(Name(), First + 4 * Stride);
    auto& h = *new (m_Segment.Address()) SCableHeader{};
    h.m_Version = CableVersion;
    h.m_SlotCount = 3;
    h.m_SlotCapacity = 4096;
    h.m_SlotStride = Stride;
    h.m_FirstSlot = First;
    h.m_WriterProcess = getpid();
    h.m_Heartbeat = CCableSegment::Now();
    h.m_Magic = CableMagic;
  }
  ~CPlantedCable() { CCableSegment::Remove(Name()); }
  static std::string Name() { return CableName(static_cast<std::uint32_t>(getpid()), 77); }
  static std::string Path() { return "/dev/shm/" + Name(); }
  SCableHeader& Header() { return *static_cast<SCableHeader*>(m_Segment.Address()); }
  std::uint8_t* Slot(std::uint64_t i) {
    return static_cast<std::uint8_t*>(m_Segment.Address()) + First + Stride * i;
  }
  //! Frame `seq` of `size` bytes, ready in slot `i`.
  void Ready(std::uint64_t i, std::uint64_t seq, std::uint64_t size) {
    auto& slot = *new (Slot(i)) SSlot{};
    slot.m_Info.m_Size = size;
    slot.m_Sequence = seq;
    slot.m_State = SlotStateWord(SlotReady);
    Header().m_Published = seq;
  }

  CCableSegment m_Segment;
};

constexpr std::int64_t DeadProcess = INT32_MAX; // above any process id Linux hands out

} // namespace

// The reader maps only a cable of this user that no one else may write, whose geometry is
// aligned and fits the mapping, and whose camera runs and beats; a camera replaces a dead cable.
TEST(Cable, AttachRefusesWhatItCannotTrust) {
  struct SCase {
    const char* m_What;
    std::function<void(CPlantedCable&)> m_Plant;
    std::string m_Refusal;
  };
  const std::string name = CPlantedCable::Name();
  const std::string misfit =
      "'" + name + "' is not a video cable of this version or its slots do not fit it";
  const std::string camera = "no camera serves '" + name + "': its camera process ";
  const SCase cases[] = {
      {"first slot at an odd address", [](auto& c) { c.Header().m_FirstSlot += 4; }, misfit},
      {"slot stride misaligned", [](auto& c) { c.Header().m_SlotStride += 4; }, misfit},
      {"slots beyond the mapping", [](auto& c) { c.Header().m_SlotCount = 5; }, misfit},
      {"slot overlapping the next", [](auto& c) { c.Header().m_SlotCapacity = 8192; }, misfit},
      {"another user's",
       [](auto&) { ASSERT_EQ(chown(CPlantedCable::Path().c_str(), 65534, 0), 0); },
       "'" + name + "' belongs to user 65534, not to this user (" + std::to_string(geteuid()) +
           ")"},
      {"writable by anyone",
       [](auto&) { ASSERT_EQ(chmod(CPlantedCable::Path().c_str(), 0666), 0); },
       "'" + name + "' may be written by any user"},
      {"camera ended", [](auto& c) { c.Header().m_WriterProcess = DeadProcess; },
       camera + std::to_string(DeadProcess) + " has ended"},
      {"heartbeat stopped, process id reused",
       [](auto& c) { c.Header().m_Heartbeat = CCableSegment::Now() - 4'000'000'000; },
       camera + std::to_string(getpid()) + " has not advanced its heartbeat for 3 s"},
  };
  for (const SCase& c : cases) {
    if (std::string(c.m_What) == "another user's" && geteuid() != 0)
      continue; // only root can plant it
    CPlantedCable planted;
    c.m_Plant(planted);
    Reader reader;
    EXPECT_FALSE(reader.Attach(name)) << c.m_What;
    EXPECT_EQ(reader.Refusal(), c.m_Refusal) << c.m_What;
  }
  CPlantedCable stale;
  stale.Header().m_Heartbeat = 1;
  CCableWriter successor(name, 3, 4096);
  EXPECT_TRUE(Reader().Attach(name));
}

// Attached, the reader keeps the geometry it checked: a header rewritten afterwards moves
// neither the slots it scans nor the frame it hands out; and it takes only frames published
// after it came.
TEST(Cable, AHeaderChangedAfterAttachCannotMoveTheReader) {
  const std::function<void(SCableHeader&)> changes[] = {
      [](SCableHeader& h) { h.m_SlotCount = 65; },
      [](SCableHeader& h) { h.m_FirstSlot = std::uint64_t(1) << 40; },
      [](SCableHeader& h) { h.m_SlotStride = 4100; },
      [](SCableHeader& h) { h.m_SlotCapacity = MaxSlotCapacity; },
  };
  for (const auto& change : changes) {
    CPlantedCable planted;
    planted.Ready(0, 1, 8); // published before the reader came: not for it
    // The camera's clock was read a moment after the reader's: a live beat all the same.
    planted.Header().m_Heartbeat = CCableSegment::Now() + HeartbeatIntervalNs;
    Reader reader;
    ASSERT_TRUE(reader.Attach(CPlantedCable::Name())) << reader.Refusal();
    planted.Ready(1, 2, std::uint64_t(1) << 30);
    planted.Slot(1)[SlotDataOffset] = 0xA5;
    change(planted.Header());
    std::atomic<bool> cancel{false};
    Reader::SFrame frame;
    ASSERT_EQ(reader.Next(milliseconds(0), cancel, frame), Reader::EResult::Frame);
    EXPECT_EQ(frame.m_pData[0], 0xA5); // slot 1's data, in the reader's mapping
    EXPECT_EQ(frame.m_Info.m_Size, 4096u);
    reader.Release(frame);
  }
}

// A reader that died holding slots gets them taken back when the camera needs them; a slot of
// a live reader stays untouched.
TEST(Cable, ADeadReadersSlotsAreTakenBack) {
  const std::string name = CPlantedCable::Name();
  CCableWriter camera(name, 3, 4096);
  CCableSegment raw;
  ASSERT_TRUE(raw.Open(name));
  auto* base = static_cast<std::uint8_t*>(raw.Address());
  const auto& header = *reinterpret_cast<SCableHeader*>(base);
  auto state = [&](std::uint32_t i) -> std::atomic<std::uint64_t>& {
    return reinterpret_cast<SSlot*>(base + header.m_FirstSlot + header.m_SlotStride * i)->m_State;
  };
  const std::uint64_t live = SlotStateWord(SlotReading, static_cast<std::uint64_t>(getpid()));
  state(0) = live;
  state(1) = state(2) = SlotStateWord(SlotReading, DeadProcess);
  Reader reader;
  ASSERT_TRUE(reader.Attach(name));
  std::atomic<bool> cancel{false};
  for (std::uint64_t n = 1; n <= 4; ++n) {
    SFrameInfo info;
    info.m_FrameNumber = n;
    info.m_Size = 8;
    ASSERT_TRUE(camera.Send(info, [](std::uint8_t*) {}));
    Reader::SFrame frame;
    ASSERT_EQ(reader.Next(milliseconds(0), cancel, frame), Reader::EResult::Frame) << n;
    EXPECT_EQ(frame.m_Info.m_FrameNumber, n);
    reader.Release(frame);
  }
  EXPECT_EQ(state(0).load(), live);
  EXPECT_EQ(reader.Lost(), 0u);
}
