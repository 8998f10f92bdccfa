// Wait objects and the pixel type mapper of the host.
#include <GenApi/GenApi.h>
#include <GenApi/NodeMapRef.h>
#include <VorlaBase/AlertableWaitObject.h>
#include <VorlaBase/PixelTypeMapper.h>

#include <gtest/gtest.h>

#include <poll.h>

#include <chrono>
#include <thread>

using namespace Vorla;

namespace {
bool Readable(const WaitObjectEx& w) {
  pollfd fd{w.GetNativeHandle(), POLLIN, 0};
  return ::poll(&fd, 1, 0) == 1;
}
} // namespace

TEST(WaitObject, ManualResetStaysSignalledAutoResetLetsOneWaitThroughPerSignal) {
  AlertableWaitObject w(true, false);
  EXPECT_FALSE(w.Wait(0));
  EXPECT_FALSE(Readable(w));
  w.Signal();
  w.Signal();
  EXPECT_TRUE(w.Wait(0));
  EXPECT_TRUE(w.Wait(WaitObjectInfinite));
  EXPECT_TRUE(Readable(w));
  w.Reset();
  EXPECT_FALSE(Readable(w));
  EXPECT_FALSE(w.Wait(10));
  const AlertableWaitObject signalled(true, true);
  EXPECT_TRUE(Readable(signalled));
  EXPECT_TRUE(signalled.Wait(0));
  WaitObjectEx automatic(false, false);
  automatic.Signal();
  EXPECT_TRUE(automatic.Wait(0));
  EXPECT_FALSE(automatic.Wait(0));
  EXPECT_FALSE(Readable(automatic));
}

TEST(WaitObject, WaitsEndBySignalOrAlertFromAnotherThread) {
  AlertableWaitObject w;
  std::thread signaller([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    w.Signal();
  });
  EXPECT_TRUE(w.Wait(WaitObjectInfinite));
  signaller.join();
  w.Reset();

  w.Alert(); // an alert ends only alertable waits, and only one
  EXPECT_EQ(w.WaitEx(0, false), waitex_timeout);
  EXPECT_EQ(w.WaitEx(WaitObjectInfinite, true), waitex_alerted);
  EXPECT_EQ(w.WaitEx(0, true), waitex_timeout);
  w.Signal();
  EXPECT_EQ(w.WaitEx(0, true), waitex_signaled);
}

TEST(PixelTypeMapper, MapsEntriesByTheirStandardNames) {
  const std::string xml = R"(<?xml version="1.0"?>
<RegisterDescription ModelName="T" VendorName="V" StandardNameSpace="None" SchemaMajorVersion="1"
 SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0"
 SubMinorVersion="0" ProductGuid="0" VersionGuid="0" xmlns="http://www.genicam.org/GenApi/Version_1_1">
<Enumeration Name="PixelFormat"><Value>5</Value>
 <EnumEntry Name="Mono8"><Value>17301505</Value></EnumEntry>
 <EnumEntry Name="BayerRG8"><Value>5</Value></EnumEntry>
 <EnumEntry Name="YUV422Packed"><Value>6</Value></EnumEntry>
 <EnumEntry Name="Mono9Custom"><Value>7</Value></EnumEntry></Enumeration>
</RegisterDescription>)";
  GenApi::CNodeMapRef map;
  map._LoadXMLFromString(xml);
  const CPixelTypeMapper mapper(GenApi::CEnumerationPtr(map._GetNode("PixelFormat")));
  EXPECT_EQ(mapper.GetVorlaPixelTypeFromNodeValue(17301505), PixelType_Mono8);
  EXPECT_EQ(mapper.GetVorlaPixelTypeFromNodeValue(5), PixelType_BayerRG8);
  EXPECT_EQ(mapper.GetVorlaPixelTypeFromNodeValue(6), PixelType_YUV422packed);
  EXPECT_EQ(mapper.GetVorlaPixelTypeFromNodeValue(7), PixelType_Undefined);
  EXPECT_EQ(mapper.GetVorlaPixelTypeFromNodeValue(8), PixelType_Undefined);
  EXPECT_EQ(CPixelTypeMapper(nullptr).GetVorlaPixelTypeFromNodeValue(5), 0xFFFFFFFFu);
  EXPECT_EQ(CPixelTypeMapper::GetPixelTypeByName("RGB8"), PixelType_RGB8packed);
  EXPECT_EQ(CPixelTypeMapper::GetPixelTypeByName("YUV422_8"), PixelType_YUV422_YUYV_Packed);
}
