#include "GrabCommand.h"
#include "FramePathPattern.h"
#include "GrabProgress.h"
#include "PixelConverter.h"
#include "PngWriter.h"

#include <Base/GCException.h>
#include <GenApi/GenApi.h>
#include <VorlaBase/IStreamGrabber.h>
#include <VorlaBase/IVorlaDevice.h>

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
  std::vector<Vorla::StreamBufferHandle> m_Handles;
  bool m_Prepared = false;
  bool m_Started = false;

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
    if (m_Prepared)
      quietly([&] { m_pStream->FinishGrab(); });
    quietly([&] {
      Vorla::GrabResult result;
      while (m_pStream->RetrieveResult(result)) {
      }
    });
    for (Vorla::StreamBufferHandle h : m_Handles)
      quietly([&] { m_pStream->DeregisterBuffer(h); });
    quietly([&] { m_pStream->Close(); });
  }
};

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
  if (device.GetNumStreamGrabberChannels() == 0)
    return Fail("the camera has no stream to grab from");

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
  Execute(camera, "AcquisitionStart");
  cleanup.m_Started = true;

  std::string firstFailure;
  while (progress.Done() < options.m_Count) {
    if (!stream->GetWaitObject().Wait(options.m_TimeoutMs))
      return Fail("no frame within " + std::to_string(options.m_TimeoutMs) + " ms after " +
                  std::to_string(progress.Done()) + " of " + std::to_string(options.m_Count) +
                  " frames; is the camera still sending video?");
    Vorla::GrabResult result;
    while (progress.Done() < options.m_Count && stream->RetrieveResult(result)) {
      if (result.m_Status == Vorla::Grabbed) {
        if (save) {
          const SPngImage image = CPixelConverter::Convert(
              result.m_pBuffer, static_cast<size_t>(result.m_PayloadSize), result.m_PixelType,
              static_cast<uint32_t>(result.m_SizeX), static_cast<uint32_t>(result.m_SizeY));
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
  std::printf("%s\n", progress.Summary().c_str());
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
