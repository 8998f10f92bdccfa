// The C++ side of the Python grab benchmark: the cycle cam.grab runs (the same number of
// buffers of the camera's PayloadSize, retrieve, queue again) straight on the stream grabber.
// Usage: python_grab_reference CAMERA FRAMES BUFFERS; prints "<frames per second> <CPU
// microseconds per frame of the consuming thread>", both from the first frame to the last.
#include "CameraSelector.h"
#include "CameraSession.h"

#include <Base/GCException.h>
#include <GenApi/GenApi.h>
#include <VorlaBase/IStreamGrabber.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

namespace {

double ThreadCpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

void Execute(Vorla::IVorlaDevice& device, const char* name) {
  GenApi::CCommandPtr command = device.GetNodeMap()->GetNode(name);
  command->Execute();
}

} // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: python_grab_reference CAMERA FRAMES BUFFERS\n");
    return 2;
  }
  const uint64_t frames = std::stoull(argv[2]);
  try {
    const VorlaCl::CCameraSelector selector(argv[1], false);
    VorlaCl::CCameraSession session(selector);
    Vorla::IVorlaDevice& device = session.OpenDevice();
    GenApi::CIntegerPtr payload = device.GetNodeMap()->GetNode("PayloadSize");
    std::vector<std::vector<uint8_t>> buffers(std::stoul(argv[3]),
                                              std::vector<uint8_t>(payload->GetValue()));
    Vorla::IStreamGrabber& stream = *device.GetStreamGrabber(0);
    stream.Open();
    std::vector<Vorla::StreamBufferHandle> handles;
    for (auto& buffer : buffers)
      handles.push_back(stream.RegisterBuffer(buffer.data(), buffer.size()));
    stream.PrepareGrab();
    for (Vorla::StreamBufferHandle handle : handles)
      stream.QueueBuffer(handle);
    Execute(device, "AcquisitionStart");
    uint64_t grabbed = 0;
    auto start = std::chrono::steady_clock::now();
    double cpuStart = 0;
    while (grabbed < frames) {
      if (!stream.GetWaitObject().Wait(5000))
        throw std::runtime_error("no frame within 5 s");
      Vorla::GrabResult result;
      while (grabbed < frames && stream.RetrieveResult(result)) {
        if (result.m_Status != Vorla::Grabbed)
          continue;
        if (grabbed++ == 0) {
          start = std::chrono::steady_clock::now();
          cpuStart = ThreadCpuSeconds();
        }
        stream.QueueBuffer(result.m_hBuffer);
      }
    }
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const double cpu = ThreadCpuSeconds() - cpuStart;
    Execute(device, "AcquisitionStop");
    stream.CancelGrab();
    Vorla::GrabResult result;
    while (stream.RetrieveResult(result)) {
    }
    stream.FinishGrab();
    for (Vorla::StreamBufferHandle handle : handles)
      stream.DeregisterBuffer(handle);
    stream.Close();
    std::printf("%.1f %.3f\n", double(frames - 1) / seconds, cpu * 1e6 / double(frames - 1));
    return 0;
  } catch (const GenICam::GenericException& e) {
    std::fprintf(stderr, "python_grab_reference: %s\n", e.GetDescription());
  } catch (const std::exception& e) {
    std::fprintf(stderr, "python_grab_reference: %s\n", e.what());
  }
  return 1;
}
