// Frames through the whole product: a vorla-camsim process (serial line on a pty, video on its
// cable) -> each frame-grabber plug-in -> the transport layer's stream grabber -> the test's
// buffers. Every frame must be whole, in order, and of the geometry the camera was set to.
#include "E2ESupport.h"
#include "SimulatorProcess.h"
#include "TempFolder.h"

#include <GenApi/GenApi.h>
#include <VorlaBase/VorlaBase.h>
#include <camsim/TestPattern.h>

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

using namespace Vorla;

namespace {

constexpr uint32_t Mono8 = 0x01080001;

class GrabPath : public ::testing::TestWithParam<const char*> {
protected:
  void SetUp() override {
    const std::string board = std::to_string(::getpid());
    ASSERT_TRUE(m_simulator.Start({"--serial", "SN9", "--board", board, "--channel", "2",
                                   "--sensor-width", "320", "--sensor-height", "240"}))
        << m_simulator.Error();
    VorlaE2E::UseOnlyPort(m_simulator.SlavePath());
    std::ofstream(m_folder.File("PortConfiguration_x64.xml"))
        << "<CLBindings><Port><ID>" << m_simulator.PortID()
        << "</ID><Enabled>yes</Enabled><Manufacturer>Hexmar</Manufacturer>"
        << "<DeviceSpecificString>" << GetParam() << " Board=" << board
        << " Channel=2</DeviceSpecificString></Port></CLBindings>";
  }
  VorlaE2E::CSimulatorProcess m_simulator;
  testsupport::CTempFolder m_folder{"VORLA_CL_BINDINGS"};
};

GenApi::IInteger& Integer(GenApi::INodeMap* map, const char* name) {
  return *dynamic_cast<GenApi::IInteger*>(map->GetNode(name));
}

void Execute(GenApi::INodeMap* map, const char* name) {
  dynamic_cast<GenApi::ICommand*>(map->GetNode(name))->Execute();
}

// Grabs `frames` frames into three buffers and checks each against the camera's test pattern.
void GrabAndCheck(IVorlaDevice& device, const camsim::CTestPattern::SGeometry& geometry,
                  int frames) {
  GenApi::INodeMap* camera = device.GetNodeMap();
  const size_t payload = static_cast<size_t>(Integer(camera, "PayloadSize").GetValue());
  ASSERT_EQ(payload, camsim::CTestPattern::FrameSize(geometry));
  IStreamGrabber& stream = *device.GetStreamGrabber(0);
  stream.Open();
  std::vector<std::vector<uint8_t>> buffers(3, std::vector<uint8_t>(payload));
  std::vector<StreamBufferHandle> handles;
  for (auto& buffer : buffers)
    handles.push_back(stream.RegisterBuffer(buffer.data(), buffer.size()));
  stream.PrepareGrab();
  for (StreamBufferHandle handle : handles)
    stream.QueueBuffer(handle);
  Execute(camera, "AcquisitionStart");

  uint64_t last = 0;
  for (int grabbed = 0; grabbed < frames;) {
    ASSERT_TRUE(stream.GetWaitObject().Wait(5000)) << "no frame after " << grabbed;
    GrabResult result;
    while (grabbed < frames && stream.RetrieveResult(result)) {
      ASSERT_EQ(result.m_Status, Grabbed) << result.m_ErrorDescription;
      EXPECT_EQ(result.m_SizeX, int32_t(geometry.m_Width));
      EXPECT_EQ(result.m_SizeY, int32_t(geometry.m_Height));
      EXPECT_EQ(result.m_PayloadSize, payload);
      const auto* data = static_cast<const uint8_t*>(result.m_pBuffer);
      const uint64_t number = camsim::CTestPattern::FrameNumber(data, payload);
      EXPECT_GT(number, last); // later frames only; a slow consumer may skip some
      EXPECT_TRUE(camsim::CTestPattern::Check(data, payload, geometry)) << "frame " << number;
      last = number;
      ++grabbed;
      stream.QueueBuffer(result.m_hBuffer);
    }
  }
  Execute(camera, "AcquisitionStop");
  stream.FinishGrab();
  for (GrabResult rest; stream.RetrieveResult(rest);) {
  }
  for (StreamBufferHandle handle : handles)
    stream.DeregisterBuffer(handle);
  stream.Close();
}

} // namespace

TEST_P(GrabPath, FramesArriveWholeAndInOrderAndFollowGeometryChanges) {
  CTlFactory& factory = CTlFactory::GetInstance();
  ITransportLayer* tl = factory.CreateTl("HexmarCameraLink");
  ASSERT_NE(tl, nullptr);
  DeviceInfoList cameras;
  ASSERT_EQ(tl->EnumerateDevices(cameras), 1);
  IVorlaDevice* device = tl->CreateDevice(cameras[0]);
  device->Open(Control);
  ASSERT_EQ(device->GetNumStreamGrabberChannels(), 1u);

  GenApi::INodeMap* camera = device->GetNodeMap();
  dynamic_cast<GenApi::IEnumeration*>(camera->GetNode("PixelFormat"))->FromString("Mono8");
  GrabAndCheck(*device, {320, 240, 0, 0, Mono8}, 20);

  // A new region between two grabs: the plug-in follows it through its node callbacks.
  Integer(camera, "Width").SetValue(160);
  Integer(camera, "Height").SetValue(100);
  Integer(camera, "OffsetX").SetValue(32);
  GrabAndCheck(*device, {160, 100, 32, 0, Mono8}, 10);

  device->Close();
  tl->DestroyDevice(device);
  factory.ReleaseTl(tl);
}

INSTANTIATE_TEST_SUITE_P(BothPlugins, GrabPath, ::testing::Values("Sapera", "NI-IMAQ"));
