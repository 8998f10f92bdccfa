// A client of the installed SDK.
//   vorla-consumer          lists the transport layers; fails when the Camera Link one is missing
//   vorla-consumer grab [n] opens the first Camera Link camera and grabs n frames (default 10)
#include <GenApi/GenApi.h>
#include <VorlaBase/VorlaBase.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <vector>

namespace {

int ListTransportLayers() {
  Vorla::TlInfoList tls;
  Vorla::CTlFactory::GetInstance().EnumerateTls(tls);
  for (const Vorla::CTlInfo& tl : tls) {
    std::printf("%s: %s\n", tl.GetDeviceClass().c_str(), tl.GetFullName().c_str());
    if (tl.GetDeviceClass() == "HexmarCameraLink")
      return 0;
  }
  std::fprintf(stderr, "no Camera Link transport layer in %s\n",
               Vorla::CTlFactory::GetInstance().GetPluginFolder().c_str());
  return 1;
}

// Register, prepare, queue, retrieve and queue again, cancel, finish, deregister.
int GrabCycle(Vorla::IVorlaDevice& device, int frames) {
  Vorla::IStreamGrabber* grabber =
      device.GetNumStreamGrabberChannels() ? device.GetStreamGrabber(0) : nullptr;
  if (!grabber) {
    std::fprintf(stderr, "the camera has no stream grabber\n");
    return 1;
  }
  const int64_t payloadSize =
      GenApi::CIntegerPtr(device.GetNodeMap()->GetNode("PayloadSize"))->GetValue();
  grabber->Open();
  std::vector<std::vector<uint8_t>> buffers(4, std::vector<uint8_t>(size_t(payloadSize)));
  std::vector<Vorla::StreamBufferHandle> handles;
  for (auto& buffer : buffers)
    handles.push_back(grabber->RegisterBuffer(buffer.data(), buffer.size()));
  grabber->PrepareGrab();
  for (Vorla::StreamBufferHandle handle : handles)
    grabber->QueueBuffer(handle, 0);

  int grabbed = 0;
  Vorla::GrabResult result;
  while (grabbed < frames) {
    if (!grabber->GetWaitObject().Wait(5000)) {
      std::fprintf(stderr, "no frame within 5 s\n");
      break;
    }
    while (grabbed < frames && grabber->RetrieveResult(result)) {
      if (result.m_Status == Vorla::Grabbed) {
        ++grabbed;
        std::printf("frame %d: %d x %d, %llu bytes, first byte %u\n", result.m_FrameNumber,
                    result.m_SizeX, result.m_SizeY, (unsigned long long)result.m_PayloadSize,
                    static_cast<const uint8_t*>(result.m_pBuffer)[0]);
      } else {
        std::printf("buffer not filled: %s\n", result.m_ErrorDescription.c_str());
      }
      grabber->QueueBuffer(result.m_hBuffer, 0);
    }
  }
  // Cancel and take the cancelled buffers back before finishing: a retrieval after FinishGrab
  // would move the stream grabber back to its grabbing state, and Close would warn about it.
  grabber->CancelGrab();
  while (grabber->RetrieveResult(result)) {
  }
  grabber->FinishGrab();
  for (Vorla::StreamBufferHandle handle : handles)
    grabber->DeregisterBuffer(handle);
  grabber->Close();
  return grabbed == frames ? 0 : 1;
}

int Grab(int frames) {
  Vorla::CTlFactory& factory = Vorla::CTlFactory::GetInstance();
  Vorla::ITransportLayer* tl = factory.CreateTl("HexmarCameraLink");
  if (!tl) {
    std::fprintf(stderr, "no Camera Link transport layer\n");
    return 1;
  }
  int status = 1;
  Vorla::DeviceInfoList cameras;
  tl->EnumerateDevices(cameras);
  if (cameras.empty()) {
    std::fprintf(stderr, "no camera found\n");
  } else {
    Vorla::IVorlaDevice* device = tl->CreateDevice(cameras.front());
    try {
      device->Open(Vorla::AccessModeSet(Vorla::Control).Set(Vorla::Stream));
      status = GrabCycle(*device, frames);
      device->Close();
    } catch (const std::exception& e) {
      std::fprintf(stderr, "%s\n", e.what());
    }
    tl->DestroyDevice(device);
  }
  factory.ReleaseTl(tl);
  return status;
}

} // namespace

int main(int argc, char** argv) {
  try {
    if (argc > 1 && std::strcmp(argv[1], "grab") == 0)
      return Grab(argc > 2 ? std::atoi(argv[2]) : 10);
    return ListTransportLayers();
  } catch (const std::exception& e) {
    std::fprintf(stderr, "%s\n", e.what());
    return 1;
  }
}
