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
#include <optional>
#include <poll.h>
#include <system_error>

namespace py = pybind11;

namespace VorlaPy {
namespace {

// Bounds on what the camera's PayloadSize and the caller may ask for.
constexpr int64_t MaxPayloadSize = int64_t(1) << 30;
constexpr uint32_t MaxBuffers = 1024;

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

// A frame's hold on its buffer: released with the frame's last array, it queues the buffer
// again. The base object of every vorla.Frame.
struct SLease {
  std::shared_ptr<CBufferQueue> m_pQueue;
  Vorla::StreamBufferHandle m_Handle;
  uint64_t m_Index;
  PyObject* m_pOwner; // a reference on the NumPy array whose memory the frame is

  static void Release(void* pointer) {
    auto* lease = static_cast<SLease*>(pointer);
    {
      py::gil_scoped_release released;
      try {
        lease->m_pQueue->Queue(lease->m_Handle, lease->m_Index);
      } catch (const GenICam::GenericException&) {
        // the stream ended under the frame (the camera removed); the next frame says why
      }
    }
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

void CGrab::Start(Vorla::IVorlaDevice& device, const std::vector<void*>& memory,
                  size_t payloadSize) {
  if (device.GetNumStreamGrabberChannels() == 0)
    throw CPyError(CPyError::Logical, "The camera has no stream to grab from.");
  m_pStream = device.GetStreamGrabber(0);
  m_pStream->Open();
  m_WaitHandle = m_pStream->GetWaitObject().GetNativeHandle();
  for (void* buffer : memory)
    m_Handles.push_back(m_pStream->RegisterBuffer(buffer, payloadSize));
  m_pStream->PrepareGrab();
  m_Prepared = true;
  m_pQueue = std::make_shared<CBufferQueue>(*m_pStream, m_Count ? *m_Count : UINT64_MAX);
  for (size_t i = 0; i < m_Handles.size(); ++i)
    m_pQueue->Queue(m_Handles[i], i);
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
  m_Stopped = true;
  if (m_pQueue)
    m_pQueue->Stop();
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
  for (;;) {
    Vorla::GrabResult result;
    switch (Take(result, deadline)) {
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
                            std::chrono::steady_clock::time_point deadline) {
  py::gil_scoped_release released;
  for (;;) {
    const std::optional<EOutcome> taken =
        m_pCamera->CallReleased([&](Vorla::IVorlaDevice&) -> std::optional<EOutcome> {
          if (m_Stopped)
            return Stopped;
          while (m_pStream->RetrieveResult(result)) {
            m_pQueue->Retrieved();
            if (result.m_Status != Vorla::Canceled)
              return Got;
          }
          return std::nullopt;
        });
    if (taken)
      return *taken;
    if (m_pQueue->InFlight() == 0)
      return Starved;
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    pollfd fd{m_WaitHandle, POLLIN, 0};
    const int ready = ::poll(&fd, 1, static_cast<int>(std::max<int64_t>(left.count(), 0)));
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
  py::object owner = m_Owners.at(static_cast<size_t>(result.m_Context));
  auto* lease = new SLease{m_pQueue, result.m_hBuffer, result.m_Context, owner.inc_ref().ptr()};
  const py::capsule base(lease, &SLease::Release);

  const size_t valid = grabbed ? static_cast<size_t>(result.m_PayloadSize) : 0;
  const py::ssize_t width = result.m_SizeX, height = result.m_SizeY;
  py::dtype type = py::dtype::of<uint8_t>();
  std::vector<Py_intptr_t> shape{static_cast<Py_intptr_t>(valid)}, strides{1};
  if (grabbed && layout && layout->m_Channels && width > 0 && height > 0 &&
      result.m_PaddingX >= 0) {
    const py::ssize_t pixel = layout->m_Channels * layout->m_Bytes;
    const py::ssize_t line = width * pixel + result.m_PaddingX;
    if (static_cast<size_t>(line * (height - 1) + width * pixel) <= valid) {
      if (layout->m_Bytes == 2)
        type = py::dtype::of<uint16_t>();
      shape = {height, width};
      strides = {line, pixel};
      if (layout->m_Channels > 1) {
        shape.push_back(layout->m_Channels);
        strides.push_back(layout->m_Bytes);
      }
    }
  }
  // A vorla.Frame straight away (no view of a plain array), its attributes in one dict.
  auto& api = py::detail::npy_api::get();
  py::object frame = py::reinterpret_steal<py::object>(api.PyArray_NewFromDescr_(
      reinterpret_cast<PyTypeObject*>(FrameType().ptr()), type.release().ptr(),
      static_cast<int>(shape.size()), shape.data(), strides.data(), result.m_pBuffer,
      py::detail::npy_api::NPY_ARRAY_WRITEABLE_, nullptr));
  if (!frame)
    throw py::error_already_set();
  api.PyArray_SetBaseObject_(frame.ptr(), base.inc_ref().ptr());
  py::dict attributes;
  attributes["frame_number"] = result.m_FrameNumber;
  attributes["timestamp"] = result.m_GrabberTimeStamp;
  attributes["status"] = grabbed ? "Grabbed" : "Failed";
  if (layout) {
    attributes["pixel_format"] = layout->m_Name;
  } else {
    char unknown[16];
    std::snprintf(unknown, sizeof unknown, "0x%08X", result.m_PixelType);
    attributes["pixel_format"] = unknown;
  }
  attributes["error"] = result.m_ErrorDescription.c_str();
  if (PyObject_GenericSetDict(frame.ptr(), attributes.ptr(), nullptr) != 0)
    throw py::error_already_set();
  return frame;
}

} // namespace VorlaPy
