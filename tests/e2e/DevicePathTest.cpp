// A camera through the host's factory and the installed transport layer, against a vorla-camsim
// process on a pseudo-terminal: lookup, Open with the port's baud rates, features, the inactivity
// close and the camera's removal.
#include "E2ESupport.h"
#include "SimulatorProcess.h"
#include "TempFolder.h"

#include <GenApi/GenApi.h>
#include <VorlaBase/VorlaBase.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <thread>

using namespace Vorla;

namespace {

class CCountingCallback : public DeviceCallback {
public:
  explicit CCountingCallback(std::atomic<int>& calls) : m_calls(calls) {}
  void operator()(IVorlaDevice*) const override { ++m_calls; }
  DeviceCallback* Clone() const override { return new CCountingCallback(m_calls); }

private:
  std::atomic<int>& m_calls;
};

bool Eventually(const std::function<bool()>& condition) {
  for (int i = 0; i < 500 && !condition(); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  return condition();
}

} // namespace

TEST(DevicePath, ACameraIsFoundOpenedUsedClosedAndReportedGone) {
  VorlaE2E::CSimulatorProcess simulator;
  // The camera offers 9600, 57600 and 115200 baud only.
  ASSERT_TRUE(simulator.Start({"--serial", "SN5", "--baud-rates", "0x19", "--no-video"}))
      << simulator.Error();
  VorlaE2E::UseOnlyPort(simulator.SlavePath());
  const testsupport::CTempFolder folder("VORLA_CL_BINDINGS");
  std::ofstream(folder.File("PortConfiguration_x64.xml"))
      << "<CLBindings><Port><ID>" << simulator.PortID()
      << "</ID><Enabled>yes</Enabled><Manufacturer>Hexmar</Manufacturer>"
         "<BaudRate>Baud57600</BaudRate></Port></CLBindings>";

  CTlFactory& factory = CTlFactory::GetInstance();
  ITransportLayer* tl = factory.CreateTl("HexmarCameraLink");
  ASSERT_NE(tl, nullptr);
  DeviceInfoList cameras;
  ASSERT_EQ(tl->EnumerateDevices(cameras), 1);

  IVorlaDevice* device = tl->CreateDevice(cameras[0]);
  device->Open(Control);
  GenApi::INodeMap* camera = device->GetNodeMap();
  auto* baudRate = dynamic_cast<GenApi::IEnumeration*>(camera->GetNode("ClSerialPortBaudRate"));
  gcstring_vector rates;
  baudRate->GetSymbolics(rates);
  EXPECT_EQ(rates, (gcstring_vector{"Baud9600", "Baud57600", "Baud115200"}));
  EXPECT_EQ(baudRate->ToString(), "Baud57600"); // the configured rate, not the fastest

  auto* width = dynamic_cast<GenApi::IInteger*>(camera->GetNode("Width"));
  width->SetValue(512);
  EXPECT_EQ(width->GetValue(false, true), 512);

  // The idle port closes and the next read opens it again.
  vxlog::CLogCapture log;
  dynamic_cast<GenApi::IInteger*>(device->GetTLNodeMap()->GetNode("AutoCloseTimeout"))
      ->SetValue(200);
  ASSERT_TRUE(Eventually([&] { return log.CountContaining("AutoClosing CLPort") == 1; }));
  EXPECT_EQ(width->GetValue(false, true), 512);
  EXPECT_EQ(log.CountContaining("Reopening CLPort"), 1u);

  // The camera goes away: the next access reports it once.
  std::atomic<int> removals{0};
  CCountingCallback callback(removals);
  device->RegisterRemovalCallback(callback);
  simulator.Stop();
  EXPECT_ANY_THROW(width->GetValue(false, true));
  EXPECT_ANY_THROW(width->GetValue(false, true));
  EXPECT_EQ(removals, 1);

  device->Close();
  tl->DestroyDevice(device);
  factory.ReleaseTl(tl);
}
