#include "FrameGrabber.h"

#include <algorithm>
#include <cstring>
#include <map>

namespace FrameGrabber {
namespace {

using std::chrono::milliseconds;

// Node callbacks reach a grabber through its id, never through a pointer: a callback that the
// callee is still running after deregistration finds the id gone instead of a freed object.
std::mutex g_RegistryMutex; // owned by the library; guards g_Registry and g_NextId
std::map<std::uint64_t, CFrameGrabber*> g_Registry;
std::uint64_t g_NextId = 0;

const char* const NodeNames[] = {"Width", "Height", "PixelFormat", "ClPixelClock"};

// How long the delivery thread sleeps between looks for a camera that is not there, and
// between checks that the camera it reads from still runs.
constexpr milliseconds RetryInterval{200};
// A grab without a frame for this long warns once, naming the cable it waits on.
constexpr milliseconds SilenceWarning{1000};
constexpr std::uint64_t PitchAlignment = 256;
// A pitched copy may take twice its frame (lines of 256 bytes or more never need more) or this
// much, whichever is more: room for narrow pictures, never the 256-fold of 1-byte lines.
constexpr std::uint64_t PitchedFloor = std::uint64_t(64) << 20;

} // namespace

CFrameGrabber::CFrameGrabber(const char* family, ELineLayout layout)
    : m_Family(family), m_Layout(layout) {
  std::lock_guard<std::mutex> lock(g_RegistryMutex);
  m_Id = ++g_NextId;
  g_Registry[m_Id] = this;
}

CFrameGrabber::~CFrameGrabber() {
  Close();
  std::lock_guard<std::mutex> lock(g_RegistryMutex);
  g_Registry.erase(m_Id);
}

bool CFrameGrabber::Fail(const std::string& text) {
  std::lock_guard<std::mutex> lock(m_ErrorMutex);
  m_Error = text;
  return false;
}

std::string CFrameGrabber::CableName() const {
  return VideoCable::CableName(m_Parameters.Board(), m_Parameters.Channel());
}

bool CFrameGrabber::Open(const char* parameters, Vorla::FgCallee* callee) {
  std::lock_guard<std::mutex> control(m_ControlMutex);
  if (m_Open)
    return Fail(m_Family + " grabber is already open");
  if (!callee)
    return Fail("Open needs a callee");
  std::string error;
  if (!m_Parameters.Parse(parameters, error))
    return Fail(error);
  m_pCallee = callee;
  // A camera without one of these nodes is still grabbed; its changes just go unnoticed.
  for (std::uint32_t node = 0; node < NodeCount; ++node)
    m_NodeHandles[node] =
        callee->RegisterNodeCallback(NodeNames[node], &CFrameGrabber::OnNode, m_Id, node);
  VideoCable::CCableReader probe;
  if (probe.Attach(CableName()))
    m_PixelClock = static_cast<std::int64_t>(probe.PixelClock());
  m_Open = true;
  return true;
}

void CFrameGrabber::Close() {
  if (std::this_thread::get_id() == m_DeliveryThread.load()) {
    Fail("Close cannot be called from a frame delivery");
    return;
  }
  std::lock_guard<std::mutex> control(m_ControlMutex);
  if (!m_Open)
    return;
  StopLocked();
  for (std::uintptr_t& handle : m_NodeHandles) {
    if (handle)
      m_pCallee->DeregisterNodeCallback(handle);
    handle = 0;
  }
  m_pCallee = nullptr;
  m_Open = false;
}

bool CFrameGrabber::StartGrab() {
  std::lock_guard<std::mutex> control(m_ControlMutex);
  if (!m_Open)
    return Fail(m_Family + " grabber is not open");
  if (m_Thread.joinable())
    return true;
  if (!m_Reader.Attach(CableName()))
    return Fail("no camera video on channel " + m_Parameters.ChannelText() + " (" +
                m_Reader.Refusal() + ")");
  m_PixelClock = static_cast<std::int64_t>(m_Reader.PixelClock());
  m_Delivered = 0;
  m_Lost = 0;
  m_Stop = false;
  m_Thread = std::thread([this] { Deliver(); });
  m_DeliveryThread = m_Thread.get_id();
  return true;
}

bool CFrameGrabber::StopGrab() {
  // Before the mutex: a control call under way may be waiting for this very delivery.
  if (std::this_thread::get_id() == m_DeliveryThread.load())
    return Fail("StopGrab cannot be called from a frame delivery");
  std::lock_guard<std::mutex> control(m_ControlMutex);
  return StopLocked();
}

// With the control mutex held: no StartGrab can slip in between the stop and the join.
bool CFrameGrabber::StopLocked() {
  if (!m_Thread.joinable())
    return true;
  if (std::this_thread::get_id() == m_Thread.get_id()) // a delivery that began before the id
    return Fail("StopGrab cannot be called from a frame delivery");
  {
    std::lock_guard<std::mutex> lock(m_StopMutex);
    m_Stop = true;
  }
  m_StopWake.notify_all();
  m_Reader.Wake();
  m_Thread.join();
  m_DeliveryThread = std::thread::id();
  m_Reader.Detach();
  return true;
}

size_t CFrameGrabber::GetLastErrorText(char* buffer, size_t bufferSize) {
  std::lock_guard<std::mutex> lock(m_ErrorMutex);
  if (!buffer || bufferSize == 0)
    return m_Error.size();
  // Never more than fits: the caller puts its terminator where the returned length says.
  const size_t n = std::min(m_Error.size(), bufferSize - 1);
  std::memcpy(buffer, m_Error.data(), n);
  buffer[n] = 0;
  return n;
}

int64_t CFrameGrabber::QueryValue(uint32_t valueNumber) {
  switch (valueNumber) {
  case Vorla::FgValuePixelClock:
    return m_PixelClock.load();
  case ValueFramesDelivered:
    return static_cast<int64_t>(m_Delivered.load());
  case ValueFramesLost:
    return static_cast<int64_t>(m_Lost.load());
  default:
    Fail("unknown value number " + std::to_string(valueNumber));
    return 0;
  }
}

void CFrameGrabber::OnNode(int64_t value, uint64_t context, uint32_t cookie) {
  std::lock_guard<std::mutex> lock(g_RegistryMutex);
  const auto it = g_Registry.find(context);
  if (it == g_Registry.end())
    return;
  if (cookie == NodePixelClock)
    it->second->m_PixelClock = value;
  else
    ++it->second->m_GeometryChanges;
}

void CFrameGrabber::Deliver() {
  std::uint32_t geometryChanges = m_GeometryChanges.load();
  std::uint64_t lostBefore = 0; // frames lost on earlier attachments of this grab
  auto lastFrame = std::chrono::steady_clock::now();
  bool warned = false;
  // Once per silence: which cable the grab waits on, and whether its camera process lives.
  const auto checkSilence = [&] {
    if (!warned && !m_Stop.load() &&
        std::chrono::steady_clock::now() - lastFrame >= SilenceWarning) {
      warned = true;
      m_pCallee->Warning(("no frame for 1 s on " + m_Reader.Describe()).c_str());
    }
  };
  while (!m_Stop.load()) {
    if (!m_Reader.Attached()) {
      // The camera went away: look for it (a restarted simulator) until the grab stops.
      if (!m_Reader.Attach(CableName())) {
        checkSilence();
        std::unique_lock<std::mutex> lock(m_StopMutex);
        m_StopWake.wait_for(lock, RetryInterval, [this] { return m_Stop.load(); });
        continue;
      }
    }
    if (m_GeometryChanges.load() != geometryChanges) {
      geometryChanges = m_GeometryChanges.load();
      m_Reader.SkipToNow();
    }
    VideoCable::CCableReader::SFrame frame;
    switch (m_Reader.Next(RetryInterval, m_Stop, frame)) {
    case VideoCable::CCableReader::EResult::Frame:
      m_PixelClock = static_cast<std::int64_t>(m_Reader.PixelClock());
      DeliverFrame(frame);
      m_Reader.Release(frame);
      lastFrame = std::chrono::steady_clock::now();
      warned = false;
      m_Lost = lostBefore + m_Reader.Lost();
      break;
    case VideoCable::CCableReader::EResult::Gone:
      lostBefore += m_Reader.Lost();
      m_Reader.Detach();
      break;
    case VideoCable::CCableReader::EResult::Nothing:
      checkSilence();
      if (!m_Reader.CameraPresent()) {
        lostBefore += m_Reader.Lost();
        m_Reader.Detach();
      }
      break;
    }
  }
}

void CFrameGrabber::DeliverFrame(const VideoCable::CCableReader::SFrame& frame) {
  const VideoCable::SFrameInfo& info = frame.m_Info;
  // What another process wrote bounds nothing before it is checked: line length x line count
  // is the frame, which the reader has bounded by its slot; the pitched copy by the frame.
  const std::uint64_t pitch = (info.m_LineLength / PitchAlignment + 1) * PitchAlignment;
  std::string refused;
  if (info.m_LineLength == 0 || info.m_Height == 0 || info.m_Height > INT32_MAX ||
      std::uint64_t(info.m_LineLength) * info.m_Height != info.m_Size)
    refused = " lines of " + std::to_string(info.m_LineLength) + " bytes are not its " +
              std::to_string(info.m_Size) + " bytes";
  else if (m_Layout == ELineLayout::Pitched &&
           pitch * info.m_Height > std::max(2 * info.m_Size, PitchedFloor))
    refused = " lines of " + std::to_string(info.m_LineLength) + " bytes would take " +
              std::to_string(pitch * info.m_Height) + " bytes at a pitch of " +
              std::to_string(pitch);
  if (!refused.empty()) {
    Fail("frame " + std::to_string(info.m_FrameNumber) + " skipped: its " +
         std::to_string(info.m_Height) + refused);
    return;
  }
  Vorla::FrameDescriptor descriptor{};
  descriptor.m_LineCount = static_cast<int32_t>(info.m_Height);
  descriptor.m_LineLength = info.m_LineLength;
  descriptor.m_FrameValue = static_cast<int32_t>(info.m_FrameNumber);
  if (m_Layout == ELineLayout::Contiguous) {
    descriptor.m_LinePitch = info.m_LineLength;
    descriptor.m_TotalSize = info.m_Size;
    descriptor.m_pData = frame.m_pData;
  } else {
    // Each line starts on an aligned boundary and is followed by its number in the gap.
    m_Lines.resize(pitch * info.m_Height);
    for (std::uint32_t y = 0; y < info.m_Height; ++y) {
      std::uint8_t* line = m_Lines.data() + pitch * y;
      std::memcpy(line, frame.m_pData + std::uint64_t(info.m_LineLength) * y, info.m_LineLength);
      std::memcpy(line + info.m_LineLength, &y,
                  std::min<std::uint64_t>(sizeof y, pitch - info.m_LineLength));
    }
    descriptor.m_LinePitch = pitch;
    descriptor.m_TotalSize = pitch * info.m_Height;
    descriptor.m_pData = m_Lines.data();
  }
  m_pCallee->FrameReadyAt(descriptor, info.m_TimestampNs);
  ++m_Delivered;
}

} // namespace FrameGrabber
