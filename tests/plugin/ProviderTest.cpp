#include "LoopbackRig.h"
#include "TestSupport.h"
#include "VorlaCLSerTl.h"

#include <CLProtocol/IXMLDownloadObserver.h>
#include <camsim/CameraXml.h>

using namespace Vorla;

namespace {
class Provider : public rig::CLoopbackTest {
protected:
  // The record discovery gives the camera on loopback port 0.
  CDeviceInfo Found() {
    m_bindings.Write(rig::CBindingsFolder::Port(rig::PortId(0)));
    DeviceInfoList list;
    EXPECT_EQ(m_tl.EnumerateDevices(list), 1);
    return list.empty() ? CDeviceInfo() : list[0];
  }

  rig::CBindingsFolder m_bindings;
  CVorlaCLSerTl m_tl;
};
} // namespace

TEST_F(Provider, MissingPropertiesAreReportedNotThrownByTheAvailabilityTest) {
  IXmlFileProvider* provider = m_tl.GetXmlFileProvider();
  CDeviceInfo foreign;
  foreign.SetDeviceClass("OtherTl");
  foreign.SetFriendlyName("cam");
  EXPECT_FALSE(provider->IsXMLFileAvailable(foreign));
  EXPECT_EQ(m_log.Count("Exception while calling CCLPort::GetXML error: 'Missing PortID property "
                        "in device info'"),
            1u);

  foreign.SetPropertyValue("PortID", rig::PortId(0));
  gcstring fileName, xml = "kept";
  EXPECT_EQ(testsupport::Thrown<GenICam::RuntimeException>(
                [&] { provider->ProvideXMLFile(foreign, fileName, xml); }),
            "Could not get XML for device 'cam' (Missing DeviceID property in device info)");
  EXPECT_EQ(xml, "kept");
}

TEST_F(Provider, APortErrorMakesTheDescriptionUnavailable) {
  rig::Attach(0, "SN0");
  const CDeviceInfo info = Found();
  camsim::CLoopbackBus::Instance().Detach(0);
  IXmlFileProvider* provider = m_tl.GetXmlFileProvider();
  EXPECT_FALSE(provider->IsXMLFileAvailable(info));
  gcstring fileName, xml;
  const std::string text = testsupport::Thrown<GenICam::RuntimeException>(
      [&] { provider->ProvideXMLFile(info, fileName, xml); });
  EXPECT_EQ(text.rfind("Could not get XML for device '" + info.GetFriendlyName() + "' (", 0), 0u)
      << text;
}

// Tools draw download progress from the observer of their thread, whoever runs the download.
TEST_F(Provider, DownloadsTheDescriptionWithProgressToTheThreadsObserverAndLogsItsBeginning) {
  struct CRecorder : CLProtocol::IXMLDownloadObserver {
    void OnXMLDownloadProgress(uint64_t lineBytes) override {
      increasing = increasing && lineBytes > last;
      last = lineBytes;
      ++calls;
    }
    void OnXMLDownloadEnd(uint64_t lineBytes, uint64_t size) override {
      ends.emplace_back(lineBytes, size);
    }
    uint64_t last = 0;
    size_t calls = 0;
    bool increasing = true;
    std::vector<std::pair<uint64_t, uint64_t>> ends;
  } recorder;
  rig::Attach(0, "SN0");
  const CDeviceInfo info = Found();
  IXmlFileProvider* provider = m_tl.GetXmlFileProvider();
  CLProtocol::IXMLDownloadObserver* before = CLProtocol::SetXMLDownloadObserver(&recorder);
  EXPECT_TRUE(provider->IsXMLFileAvailable(info));
  EXPECT_EQ(CLProtocol::SetXMLDownloadObserver(before), &recorder);

  const std::string expected = camsim::CameraXml();
  EXPECT_GT(recorder.calls, 10u);
  EXPECT_TRUE(recorder.increasing);
  ASSERT_EQ(recorder.ends.size(), 1u);
  EXPECT_EQ(recorder.ends[0].first, recorder.last);
  EXPECT_EQ(recorder.ends[0].second, expected.size());
  EXPECT_GT(recorder.last, expected.size()); // the line carries the protocol's framing too

  gcstring fileName = "untouched", xml;
  provider->ProvideXMLFile(info, fileName, xml);
  EXPECT_EQ(xml, expected);
  EXPECT_EQ(fileName, "untouched");
  ASSERT_GT(expected.size(), 500u);
  EXPECT_EQ(m_log.Count("Downloaded XML starts with '" + expected.substr(0, 500) + "'..."), 1u);
}
