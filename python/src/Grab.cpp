#include "Grab.h"

#include "BufferQueue.h"
#include "Camera.h"
#include "ErrorTranslator.h"

#include <Base/GCException.h>
#include <GenApi/GenApi.h>
#include <VorlaBase/PixelType.h>

#include <pybind11/numpy.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <optional>
#include <poll.h>
#include <system_error>

namespace py = pybind11;

namespace VorlaPy {
namespace {

// Bounds on what the camera's PayloadSize and the caller may ask for.
constexpr int64_t MaxPayloadSize = int64_t(1) << 30;
constexpr uint32_t MaxBuffers = 1024;
// How long a wait for a frame may keep a signal (Ctrl-C) waiting, in milliseconds.
constexpr int64_t QuietWait = 100;

// How a pixel type lands in an array: `channels` values of `bytes` each per pixel; 0 channels:
// the raw bytes (packed and YUV formats).
struct SLayout {
  uint32_t m_Type;
  const char* m_Name;
  int m_Channels;
  int m_Bytes;
};

const SLayout Layouts[] = {
    {Vorla::PixelType_Mono8, "Mono8", 1, 1},
    {Vorla::PixelType_Mono8signed, "Mono8s", 1, 1},
    {Vorla::PixelType_Mono10, "Mono10", 1, 2},
    {Vorla::PixelType_Mono12, "Mono12", 1, 2},
    {Vorla::PixelType_Mono14, "Mono14", 1, 2},
    {Vorla::PixelType_Mono16, "Mono16", 1, 2},
    {Vorla::PixelType_Mono10packed, "Mono10Packed", 0, 1},
    {Vorla::PixelType_Mono12packed, "Mono12Packed", 0, 1},
    {Vorla::PixelType_BayerGR8, "BayerGR8", 1, 1},
    {Vorla::PixelType_BayerRG8, "BayerRG8", 1, 1},
    {Vorla::PixelType_BayerGB8, "BayerGB8", 1, 1},
    {Vorla::PixelType_BayerBG8, "BayerBG8", 1, 1},
    {Vorla::PixelType_BayerGR10, "BayerGR10", 1, 2},
    {Vorla::PixelType_BayerRG10, "BayerRG10", 1, 2},
    {Vorla::PixelType_BayerGB10, "BayerGB10", 1, 2},
    {Vorla::PixelType_BayerBG10, "BayerBG10", 1, 2},
    {Vorla::PixelType_BayerGR12, "BayerGR12", 1, 2},
    {Vorla::PixelType_BayerRG12, "BayerRG12", 1, 2},
    {Vorla::PixelType_BayerGB12, "BayerGB12", 1, 2},
    {Vorla::PixelType_BayerBG12, "BayerBG12", 1, 2},
    {Vorla::PixelType_BayerGR16, "BayerGR16", 1, 2},
    {Vorla::PixelType_BayerRG16, "BayerRG16", 1, 2},
    {Vorla::PixelType_BayerGB16, "BayerGB16", 1, 2},
    {Vorla::PixelType_BayerBG16, "BayerBG16", 1, 2},
    {Vorla::PixelType_RGB8packed, "RGB8", 3, 1},
    {Vorla::PixelType_BGR8packed, "BGR8", 3, 1},
    {Vorla::PixelType_RGBA8packed, "RGBa8", 4, 1},
    {Vorla::PixelType_BGRA8packed, "BGRa8", 4, 1},
    {Vorla::PixelType_RGB10packed, "RGB10", 3, 2},
    {Vorla::PixelType_BGR10packed, "BGR10", 3, 2},
    {Vorla::PixelType_RGB12packed, "RGB12", 3, 2},
    {Vorla::PixelType_BGR12packed, "BGR12", 3, 2},
    {Vorla::PixelType_RGB16packed, "RGB16", 3, 2},
    {Vorla::PixelType_YUV411packed, "YUV411_8_UYYVYY", 0, 1},
    {Vorla::PixelType_YUV422packed, "YUV422_8_UYVY", 0, 1},
    {Vorla::PixelType_YUV444packed, "YUV8_UYV", 0, 1},
    {Vorla::PixelType_YUV422_YUYV_Packed, "YUV422_8", 0, 1},
};

const SLayout* LayoutOf(uint32_t type) {
  for (const SLayout& layout : Layouts)
    if (layout.m_Type == type)
      return &layout;
  return nullptr;
}

// A frame's hold on its buffer and what the stream grabber said of the frame: the base object
// (a capsule of this name) of every vorla.Frame. Released with the frame's last array, it
// returns the buffer to the grab. Releasing needs the GIL (the owner's reference) and nothing
// else: no SDK lock, so a frame may go on any Python thread at any time.
constexpr const char* LeaseName = "vorla.frame";

struct SLease {
  std::shared_ptr<CBufferQueue> m_pQueue;
  Vorla::StreamBufferHandle m_Handle;
  uint64_t m_Index;
  PyObject* m_pOwner; // a reference on the NumPy array whose memory the frame is
  int32_t m_FrameNumber;
  uint64_t m_TimeStamp;
  uint32_t m_PixelType;
  bool m_Grabbed;
  std::string m_Error;

  static void Release(PyObject* capsule) {
    auto* lease = static_cast<SLease*>(PyCapsule_GetPointer(capsule, LeaseName));
    lease->m_pQueue->Return(lease->m_Handle, lease->m_Index);
    Py_DECREF(lease->m_pOwner);
    delete lease;
  }
};

void ExecuteIfWritable(Vorla::IVorlaDevice& device, const char* name) {
  GenApi::INodeMap* map = device.GetNodeMap();
  GenApi::INode* node = map ? map->GetNode(name) : nullptr;
  auto* command = dynamic_cast<GenApi::ICommand*>(node);
  if (command && GenApi::IsWritable(node->GetAccessMode()))
    command->Execute();
}

template <class TStep> void Quietly(TStep&& step) {
  try {
    step();
  } catch (const GenICam::GenericException&) {
    // taking down after a failure (often a removed camera): the failure is the news
  }
}

py::handle FrameType() {
  static py::handle type = py::object(py::module_::import("vorla").attr("Frame")).release();
  return type;
}

} // namespace

CGrab::CGrab(std::shared_ptr<CCamera> camera, std::optional<uint64_t> count, uint32_t buffers,
             double timeout)
    : m_pCamera(std::move(camera)), m_Count(count), m_Buffers(buffers), m_Timeout(timeout) {
  if (count && *count == 0)
    throw CPyError(CPyError::Value, "count must be at least 1 (or None: until stopped)");
  if (buffers == 0 || buffers > MaxBuffers)
    throw CPyError(CPyError::Value, "buffers must be 1 to " + std::to_string(MaxBuffers) +
                                        ", not " + std::to_string(buffers));
  if (!(timeout > 0) || !std::isfinite(timeout))
    throw CPyError(CPyError::Value, "timeout must be a positive number of seconds");
  const int64_t payload = m_pCamera->Call([](Vorla::IVorlaDevice& device) -> int64_t {
    GenApi::INodeMap* map = device.GetNodeMap();
    auto* node = dynamic_cast<GenApi::IInteger*>(map ? map->GetNode("PayloadSize") : nullptr);
    return node ? node->GetValue() : -1;
  });
  if (payload < 0)
    throw CPyError(CPyError::Logical, "The camera has no PayloadSize: cannot size the buffers.");
  if (payload == 0 || payload > MaxPayloadSize)
    throw CPyError(CPyError::Logical, "The camera's PayloadSize " + std::to_string(payload) +
                                          " is outside 1 to " + std::to_string(MaxPayloadSize) +
                                          " bytes.");
  std::vector<void*> memory;
  for (uint32_t i = 0; i < buffers; ++i) {
    py::array_t<uint8_t> owner(static_cast<py::ssize_t>(payload));
    // Touched now, so that no page of it is first mapped while a frame is copied into it.
    std::memset(owner.mutable_data(), 0, static_cast<size_t>(payload));
    memory.push_back(owner.mutable_data());
    m_Owners.push_back(std::move(owner));
  }
  m_pCamera->SetGrab(this);
  try {
    m_pCamera->Call([&](Vorla::IVorlaDevice& device) {
      try {
        Start(device, memory, static_cast<size_t>(payload));
      } catch (...) {
        StopLocked(device);
        throw;
      }
    });
  } catch (...) {
    m_pCamera->ClearGrab(this);
    throw;
  }
}

void CGrab::QueueBuffer(Vorla::StreamBufferHandle handle, uint64_t context) {
  if (m_Count && m_Queued == *m_Count)
    return;
  m_pStream->QueueBuffer(handle, context);
  ++m_Queued;
  ++m_InFlight;
}

void CGrab::QueueReturned() {
  m_pQueue->TakeReturned(m_Returned);
  for (const auto& buffer : m_Returned)
    QueueBuffer(buffer.first, buffer.second);
}

void CGrab::Start(Vorla::IVorlaDevice& device, const std::vector<void*>& memory,
                  size_t payloadSize) {
  if (device.GetNumStreamGrabberChannels() == 0)
    throw CPyError(CPyError::Logical, "The camera has no stream to grab from.");
  m_pStream = device.GetStreamGrabber(0);
  m_pStream->Open();
  m_pWaitObject = &m_pStream->GetWaitObject();
  for (void* buffer : memory)
    m_Handles.push_back(m_pStream->RegisterBuffer(buffer, payloadSize));
  m_pStream->PrepareGrab();
  m_Prepared = true;
  m_pQueue = std::make_shared<CBufferQueue>(m_Handles.size());
  m_Returned.reserve(m_Handles.size());
  for (size_t i = 0; i < m_Handles.size(); ++i)
    QueueBuffer(m_Handles[i], i);
  m_Started = true;
  ExecuteIfWritable(device, "AcquisitionStart");
}

CGrab::~CGrab() {
  Close();
}

void CGrab::Close() {
  try {
    m_pCamera->Call([this](Vorla::IVorlaDevice& device) { StopLocked(device); });
  } catch (const CPyError&) {
    // the camera is closed, and closing it stopped the grab
  }
  m_pCamera->ClearGrab(this);
}

void CGrab::StopLocked(Vorla::IVorlaDevice& device) {
  if (m_Stopped)
    return;
  m_Stopped = true; // from now on no returned buffer is queued again
  if (m_Started)
    Quietly([&] { ExecuteIfWritable(device, "AcquisitionStop"); });
  if (!m_pStream)
    return;
  // Cancel, take the cancelled buffers back, then finish: FinishGrab last leaves the stream
  // grabber opened (retrieving after it would count as prepared again) and the camera unlocked.
  if (m_Prepared)
    Quietly([&] { m_pStream->CancelGrab(); });
  Quietly([&] {
    Vorla::GrabResult result;
    while (m_pStream->RetrieveResult(result)) {
    }
  });
  if (m_Prepared)
    Quietly([&] { m_pStream->FinishGrab(); });
  for (Vorla::StreamBufferHandle handle : m_Handles)
    Quietly([&] { m_pStream->DeregisterBuffer(handle); });
  Quietly([&] { m_pStream->Close(); });
}

py::object CGrab::Next() {
  if (m_Count && m_Yielded == *m_Count) {
    Close();
    throw py::stop_iteration();
  }
  const auto deadline = std::chrono::steady_clock::now() +
                        std::chrono::duration_cast<std::chrono::steady_clock::duration>(m_Timeout);
  for (bool interruptible = false;; interruptible = true) {
    Vorla::GrabResult result;
    switch (Take(result, deadline, interruptible)) {
    case Got:
      ++m_Yielded;
      return MakeFrame(result);
    case Stopped:
      throw py::stop_iteration();
    case Starved:
      throw CPyError(CPyError::Logical,
                     "All " + std::to_string(m_Buffers) +
                         " buffers are held by frames still in use: release a frame (del frame) "
                         "before taking the next, or grab with more buffers.");
    case TimedOut: {
      char seconds[32];
      std::snprintf(seconds, sizeof seconds, "%g", m_Timeout.count());
      throw CPyError(CPyError::Timeout, std::string("No frame within ") + seconds + " s after " +
                                            std::to_string(m_Yielded) +
                                            " frames; is the camera sending video?");
    }
    case Interrupted:
      if (PyErr_CheckSignals() != 0)
        throw py::error_already_set();
    }
  }
}

CGrab::EOutcome CGrab::Take(Vorla::GrabResult& result,
                            std::chrono::steady_clock::time_point deadline, bool interruptible) {
  py::gil_scoped_release released;
  for (;;) {
    const std::optional<EOutcome> taken =
        m_pCamera->CallReleased([&](Vorla::IVorlaDevice&) -> std::optional<EOutcome> {
          if (m_Stopped)
            return Stopped;
          QueueReturned();
          while (m_pStream->RetrieveResult(result)) {
            if (m_InFlight)
              --m_InFlight;
            if (result.m_Status != Vorla::Canceled)
              return Got;
          }
          return m_InFlight ? std::nullopt : std::optional<EOutcome>(Starved);
        });
    if (taken)
      return *taken;
    const int64_t left = std::max<int64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                               deadline - std::chrono::steady_clock::now())
                                               .count(),
                                           0);
    if (!interruptible) {
      // The descriptor is made only when a wait outlasts QuietWait: once it exists, every
      // signal and reset of the wait object costs a system call.
      if (m_pWaitObject->Wait(static_cast<unsigned>(std::min(left, QuietWait))))
        continue;
      return left <= QuietWait ? TimedOut : Interrupted;
    }
    pollfd fd{m_pWaitObject->GetNativeHandle(), POLLIN, 0};
    const int ready = ::poll(&fd, 1, static_cast<int>(left));
    if (ready == 0)
      return TimedOut;
    if (ready < 0 && errno == EINTR)
      return Interrupted;
    if (ready < 0)
      throw std::system_error(errno, std::generic_category(), "waiting for a frame");
  }
}

py::object CGrab::MakeFrame(const Vorla::GrabResult& result) {
  const SLayout* layout = LayoutOf(result.m_PixelType);
  const bool grabbed = result.m_Status == Vorla::Grabbed;
  const size_t valid = grabbed ? static_cast<size_t>(result.m_PayloadSize) : 0;
  const Py_intptr_t width = result.m_SizeX, height = result.m_SizeY;
  int type = py::detail::npy_api::NPY_UBYTE_;
  int dimensions = 1;
  Py_intptr_t shape[3] = {static_cast<Py_intptr_t>(valid)}, strides[3] = {1};
  if (grabbed && layout && layout->m_Channels && width > 0 && height > 0 &&
      result.m_PaddingX >= 0) {
    const Py_intptr_t pixel = layout->m_Channels * layout->m_Bytes;
    const Py_intptr_t line = width * pixel + result.m_PaddingX;
    if (static_cast<size_t>(line * (height - 1) + width * pixel) <= valid) {
      if (layout->m_Bytes == 2)
        type = py::detail::npy_api::NPY_USHORT_;
      dimensions = layout->m_Channels > 1 ? 3 : 2;
      shape[0] = height, shape[1] = width, shape[2] = layout->m_Channels;
      strides[0] = line, strides[1] = pixel, strides[2] = layout->m_Bytes;
    }
  }
  py::object owner = m_Owners.at(static_cast<size_t>(result.m_Context));
  auto lease = std::make_unique<SLease>(SLease{
      m_pQueue, result.m_hBuffer, result.m_Context, owner.ptr(), result.m_FrameNumber,
      result.m_GrabberTimeStamp, result.m_PixelType, grabbed, result.m_ErrorDescription.c_str()});
  py::object base =
      py::reinterpret_steal<py::object>(PyCapsule_New(lease.get(), LeaseName, &SLease::Release));
  if (!base) // the lease goes with the exception; the buffer with the grab
    throw py::error_already_set();
  owner.release();
  lease.release();
  // A vorla.Frame straight away (no view of a plain array); NumPy calls no __array_finalize__
  // for it, and its attributes live in the lease until asked for.
  auto& api = py::detail::npy_api::get();
  PyObject* frame = api.PyArray_NewFromDescr_(reinterpret_cast<PyTypeObject*>(FrameType().ptr()),
                                              api.PyArray_DescrFromType_(type), dimensions, shape,
                                              strides, result.m_pBuffer,
                                              py::detail::npy_api::NPY_ARRAY_WRITEABLE_, nullptr);
  if (!frame || api.PyArray_SetBaseObject_(frame, base.release().ptr()) != 0) {
    Py_XDECREF(frame);
    throw py::error_already_set();
  }
  return py::reinterpret_steal<py::object>(frame);
}

py::tuple FrameInfo(py::handle array) {
  auto& api = py::detail::npy_api::get();
  PyObject* object = array.ptr();
  // A view's base is the frame it was taken from (NumPy stops collapsing at the capsule).
  for (int depth = 0; depth < 64 && object && api.PyArray_Check_(object); ++depth) {
    object = py::detail::array_proxy(object)->base;
    if (object && PyCapsule_IsValid(object, LeaseName)) {
      const auto& lease = *static_cast<SLease*>(PyCapsule_GetPointer(object, LeaseName));
      const SLayout* layout = LayoutOf(lease.m_PixelType);
      char unknown[16];
      std::snprintf(unknown, sizeof unknown, "0x%08X", lease.m_PixelType);
      return py::make_tuple(lease.m_FrameNumber, lease.m_TimeStamp,
                            lease.m_Grabbed ? "Grabbed" : "Failed",
                            layout ? layout->m_Name : unknown, lease.m_Error);
    }
  }
  throw py::attribute_error("not a grabbed frame (a copy or a computed array): it has no frame "
                            "attributes");
}

} // namespace VorlaPy
