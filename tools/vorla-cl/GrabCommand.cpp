#include "GrabCommand.h"
#include "CameraSelector.h"
#include "FramePathPattern.h"
#include "GrabProgress.h"
#include "Interruption.h"
#include "PixelConverter.h"
#include "PngWriter.h"

#include <Base/GCException.h>
#include <GenApi/GenApi.h>
#include <VorlaBase/IStreamGrabber.h>
#include <VorlaBase/IVorlaDevice.h>
#include <VorlaBase/Logging.h>

#include <nlohmann/json.hpp>

#include <cinttypes>
#include <cstdio>
#include <stdexcept>
#include <unistd.h>
#include <vector>

namespace {

using namespace VorlaCl;

// Bounds on what the camera's PayloadSize and the command line may ask for.
constexpr int64_t MaxPayloadSize = int64_t(1) << 30;
constexpr uint32_t MaxBuffers = 1024;

void Execute(GenApi::INodeMap* camera, const char* command) {
  GenApi::CCommandPtr node = camera ? camera->GetNode(command) : nullptr;
  if (node && GenApi::IsWritable(node))
    node->Execute();
}

int Fail(const std::string& why) {
  std::fprintf(stderr, "vorla-cl: %s\n", why.c_str());
  return 1;
}

// Everything the grab set up, taken down in reverse order whatever ended it; errors on the way
// down are not news after the one that ended the grab.
struct SCleanup {
  Vorla::IStreamGrabber* m_pStream = nullptr;
  GenApi::INodeMap* m_pCamera = nullptr;
  GenApi::INodeMap* m_pTl = nullptr;
  std::vector<Vorla::StreamBufferHandle> m_Handles;
  bool m_Prepared = false;
  bool m_Started = false;

  // The stream grabber's states decide the order: acquisition stopped; queued buffers taken
  // back and every result retrieved while the grab is prepared (a retrieval puts the grabber
  // back into that state); the grab finished (parameters unlocked); buffers deregistered; closed
  // with none left, so Close finds the state it expects.
  ~SCleanup() {
    const auto quietly = [](auto&& step) {
      try {
        step();
      } catch (...) {
      }
    };
    if (m_Started)
      quietly([&] { Execute(m_pCamera, "AcquisitionStop"); });
    if (!m_pStream)
      return;
    if (m_Prepared) {
      quietly([&] { m_pStream->CancelGrab(); });
      quietly([&] {
        Vorla::GrabResult result;
        while (m_pStream->RetrieveResult(result)) {
        }
      });
      quietly([&] { m_pStream->FinishGrab(); });
    }
    for (Vorla::StreamBufferHandle h : m_Handles)
      quietly([&] { m_pStream->DeregisterBuffer(h); });
    quietly([&] { m_pStream->Close(); });
    // A grab locks the camera's transport parameters; the next command must find them free.
    quietly([&] {
      GenApi::CIntegerPtr locked = m_pTl ? m_pTl->GetNode("TLParamsLocked") : nullptr;
      if (locked && GenApi::IsWritable(locked) && locked->GetValue() != 0)
        locked->SetValue(0);
    });
  }
};

// Why a camera offers no stream: mostly a port entry that does not say which frame grabber
// carries its video.
std::string NoStreamReason(Vorla::IVorlaDevice& device) {
  const Vorla::CDeviceInfo record = device.GetDeviceInfo();
  Vorla::gcstring grabber, port;
  record.GetPropertyValue("DeviceSpecificString", grabber);
  record.GetPropertyValue("PortID", port);
  if (grabber.empty())
    return "the camera has no stream to grab from: the port configuration's entry for " +
           std::string(port.c_str()) +
           " names no frame grabber; give that <Port> a <Manufacturer>" +
           std::string(record.GetVendorName().c_str()) +
           "</Manufacturer> and a <DeviceSpecificString> (e.g. 'Sapera Board=0 Channel=0')";
  return "the camera has no stream to grab from: the frame grabber '" +
         std::string(grabber.c_str()) + "' could not be opened (see --log 256)";
}

std::string NodeText(GenApi::INodeMap* map, const char* name) {
  GenApi::CValuePtr node = map ? map->GetNode(name) : nullptr;
  try {
    return node && GenApi::IsReadable(node) ? std::string(node->ToString().c_str()) : "";
  } catch (const GenICam::GenericException&) {
    return "";
  }
}

// What the frame grabber warned of during a wait, from the transport layer's log line
// "Frame grabber: <text>": e.g. the cable it waits on and whether that cable's camera lives.
std::string FrameGrabberWarning(const vxlog::CLogCapture& wait) {
  static const std::string prefix = "Frame grabber: ";
  std::string last;
  for (const vxlog::LogEntry& entry : wait.Entries())
    if (entry.category == "Vorla.CLSer.Stream" && entry.level == vxlog::Warning &&
        entry.text.compare(0, prefix.size(), prefix) == 0)
      last = entry.text.substr(prefix.size());
  return last.empty() ? "" : " (frame grabber: " + last + ")";
}

const char* StatusName(int32_t status) {
  switch (status) {
  case Vorla::Grabbed:
    return "grabbed";
  case Vorla::Failed:
    return "failed";
  case Vorla::Canceled:
    return "cancelled";
  default:
    return "other";
  }
}

int Grab(Vorla::IVorlaDevice& device, const SGrabOptions& options) {
  if (options.m_Count == 0 || options.m_Buffers == 0 || options.m_Buffers > MaxBuffers ||
      options.m_TimeoutMs == 0)
    return Fail("grab needs at least one frame, 1 to " + std::to_string(MaxBuffers) +
                " buffers and a time-out above 0 ms");
  GenApi::INodeMap* camera = device.GetNodeMap();
  GenApi::CIntegerPtr payloadNode = camera ? camera->GetNode("PayloadSize") : nullptr;
  if (!payloadNode)
    return Fail("the camera has no PayloadSize: cannot size the buffers");
  const int64_t payload = payloadNode->GetValue();
  if (payload <= 0 || payload > MaxPayloadSize)
    return Fail("the camera's PayloadSize " + std::to_string(payload) + " is outside 1 to " +
                std::to_string(MaxPayloadSize) + " bytes");
  Vorla::gcstring grabber;
  if (!device.GetDeviceInfo().GetPropertyValue("DeviceSpecificString", grabber) ||
      grabber.empty() || device.GetNumStreamGrabberChannels() == 0)
    return Fail(NoStreamReason(device));
  // Written into every picture: what the frame is and which camera took it.
  const std::string pixelFormat = NodeText(camera, "PixelFormat");
  const std::string serial = CCameraSelector::SerialNumberOf(device.GetDeviceInfo());

  std::vector<std::vector<uint8_t>> buffers(options.m_Buffers,
                                            std::vector<uint8_t>(static_cast<size_t>(payload)));
  const bool save = !options.m_Pattern.empty();
  const CFramePathPattern paths(options.m_Pattern);
  CGrabProgress progress(options.m_Count, isatty(STDERR_FILENO) ? stderr : nullptr);

  SCleanup cleanup;
  Vorla::IStreamGrabber* stream = device.GetStreamGrabber(0);
  stream->Open();
  cleanup.m_pStream = stream;
  cleanup.m_pCamera = camera;
  cleanup.m_pTl = device.GetTLNodeMap();
  for (auto& buffer : buffers)
    cleanup.m_Handles.push_back(stream->RegisterBuffer(buffer.data(), buffer.size()));
  stream->PrepareGrab();
  cleanup.m_Prepared = true;
  uint64_t queued = 0;
  for (Vorla::StreamBufferHandle h : cleanup.m_Handles) {
    if (queued == options.m_Count)
      break;
    stream->QueueBuffer(h);
    ++queued;
  }
  // A signal cancels the grab: the wait below wakes with the cancelled buffers.
  const CInterruption::CScope interruption([stream] { stream->CancelGrab(); });
  const auto interrupted = [] {
    const CInterruption* current = CInterruption::Current();
    return current && current->Interrupted();
  };
  Execute(camera, "AcquisitionStart");
  cleanup.m_Started = true;

  std::string firstFailure;
  while (progress.Done() < options.m_Count && !interrupted()) {
    const vxlog::CLogCapture wait; // a wait's lines only: a long grab keeps nothing
    if (!stream->GetWaitObject().Wait(options.m_TimeoutMs))
      return Fail("no frame within " + std::to_string(options.m_TimeoutMs) + " ms after " +
                  std::to_string(progress.Done()) + " of " + std::to_string(options.m_Count) +
                  " frames; is the camera still sending video?" + FrameGrabberWarning(wait));
    Vorla::GrabResult result;
    while (progress.Done() < options.m_Count && !interrupted() && stream->RetrieveResult(result)) {
      if (options.m_Verbose)
        std::printf("frame %" PRId32 "  time stamp %" PRIu64 "  %s\n", result.m_FrameNumber,
                    result.m_GrabberTimeStamp, StatusName(result.m_Status));
      if (result.m_Status == Vorla::Grabbed) {
        if (save) {
          SPngImage image = CPixelConverter::Convert(
              result.m_pBuffer, static_cast<size_t>(result.m_PayloadSize), result.m_PixelType,
              static_cast<uint32_t>(result.m_SizeX), static_cast<uint32_t>(result.m_SizeY));
          image.m_Texts = {{"FrameNumber", std::to_string(result.m_FrameNumber)},
                           {"TimeStamp", std::to_string(result.m_GrabberTimeStamp)},
                           {"PixelFormat", pixelFormat},
                           {"SerialNumber", serial}};
          CPngWriter::Write(paths.Path(progress.GrabbedFrames()), image);
        }
        progress.Grabbed(result.m_PayloadSize, result.m_FrameNumber);
      } else if (result.m_Status == Vorla::Failed) {
        if (firstFailure.empty())
          firstFailure = result.m_ErrorDescription;
        progress.Failed();
      } else {
        continue; // cancelled: not ours to count
      }
      if (queued < options.m_Count) {
        stream->QueueBuffer(result.m_hBuffer);
        ++queued;
      }
    }
  }
  progress.Finish();
  if (options.m_Json) {
    const nlohmann::json summary = {
        {"grabbed", progress.GrabbedFrames()}, {"failed", progress.FailedFrames()},
        {"dropped", progress.DroppedFrames()}, {"bytes", progress.Bytes()},
        {"seconds", progress.Seconds()},       {"interrupted", interrupted()}};
    std::printf("%s\n", summary.dump().c_str());
  } else {
    std::printf("%s\n", progress.Summary().c_str());
  }
  if (interrupted())
    return CInterruption::Current()->ExitStatus();
  if (progress.GrabbedFrames() == 0)
    return Fail("every frame failed: " + firstFailure);
  if (!firstFailure.empty())
    std::fprintf(stderr, "vorla-cl: first failed frame: %s\n", firstFailure.c_str());
  return 0;
}

} // namespace

int RunGrab(Vorla::IVorlaDevice& device, const SGrabOptions& options) {
  try {
    return Grab(device, options);
  } catch (const GenICam::GenericException& e) {
    return Fail(e.GetDescription());
  } catch (const std::exception& e) {
    return Fail(e.what());
  }
}
