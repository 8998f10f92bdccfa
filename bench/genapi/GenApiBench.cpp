// Node-map build time against a bare Xerces SAX2 parse of the same 1 MB description (goal: at
// most 2x), and the cost of cached and uncached GetValue against a memory port.
#include <GenApi/GenApi.h>

#include <benchmark/benchmark.h>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLUni.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

using namespace GenApi;

namespace {

// A camera-like description: per feature an Integer over an IntReg, a masked field, an
// enumeration, a SwissKnife and a category entry, repeated until it is about 1 MB.
std::string Description() {
  std::string xml = "<?xml version=\"1.0\"?>\n<RegisterDescription ModelName=\"B\" "
                    "VendorName=\"V\" StandardNameSpace=\"None\" SchemaMajorVersion=\"1\" "
                    "SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" "
                    "MinorVersion=\"0\" SubMinorVersion=\"0\" ProductGuid=\"0\" VersionGuid=\"0\" "
                    "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">\n";
  std::string category = "<Category Name=\"Root\">\n";
  char buffer[2048];
  for (int i = 0; xml.size() < 1000000; ++i) {
    std::snprintf(buffer, sizeof buffer, R"(<Integer Name="F%d" NameSpace="Custom">
  <ToolTip>Feature %d of the benchmark camera.</ToolTip>
  <Description>A longer description of feature %d, as real files carry.</Description>
  <Visibility>Expert</Visibility>
  <pIsLocked>TLParamsLocked</pIsLocked>
  <pValue>F%dReg</pValue>
  <Min>0</Min>
  <Max>65535</Max>
  <Inc>1</Inc>
</Integer>
<IntReg Name="F%dReg">
  <Address>0x%x</Address>
  <Length>4</Length>
  <AccessMode>RW</AccessMode>
  <pPort>Device</pPort>
  <pInvalidator>F%dMode</pInvalidator>
  <Sign>Unsigned</Sign>
  <Endianess>BigEndian</Endianess>
</IntReg>
<MaskedIntReg Name="F%dBit">
  <Address>0x%x</Address>
  <Length>4</Length>
  <AccessMode>RW</AccessMode>
  <pPort>Device</pPort>
  <LSB>3</LSB>
  <MSB>0</MSB>
  <Endianess>BigEndian</Endianess>
</MaskedIntReg>
<Enumeration Name="F%dMode">
  <EnumEntry Name="Off"><Value>0</Value></EnumEntry>
  <EnumEntry Name="On"><Value>1</Value></EnumEntry>
  <EnumEntry Name="Auto"><Value>2</Value></EnumEntry>
  <pValue>F%dBit</pValue>
</Enumeration>
<IntSwissKnife Name="F%dSize">
  <pVariable Name="W">F%d</pVariable>
  <pVariable Name="M">F%dMode</pVariable>
  <Formula>(M = 2) ? W * 2 : (W + 7) / 8</Formula>
</IntSwissKnife>
)",
                  i, i, i, i, i, 0x10000 + 8 * i, i, i, 0x10004 + 8 * i, i, i, i, i, i);
    xml += buffer;
    category += "<pFeature>F" + std::to_string(i) + "</pFeature>\n";
  }
  xml += category + "</Category>\n";
  xml += "<Integer Name=\"TLParamsLocked\"><Value>0</Value></Integer>\n<Port Name=\"Device\"/>\n"
         "</RegisterDescription>\n";
  return xml;
}

void BareSaxParse(const std::string& xml) {
  using namespace xercesc;
  std::unique_ptr<SAX2XMLReader> reader(XMLReaderFactory::createXMLReader());
  reader->setFeature(XMLUni::fgSAX2CoreValidation, false);
  reader->setFeature(XMLUni::fgSAX2CoreNameSpaces, true);
  DefaultHandler handler;
  reader->setContentHandler(&handler);
  reader->setErrorHandler(&handler);
  MemBufInputSource source(reinterpret_cast<const XMLByte*>(xml.data()), xml.size(), "bench",
                           false);
  reader->parse(source);
}

template <class F> double BestSeconds(F&& run, int repeats) {
  double best = 1e30;
  for (int i = 0; i < repeats; ++i) {
    const auto start = std::chrono::steady_clock::now();
    run();
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    best = std::min(best, elapsed.count());
  }
  return best;
}

class CMemoryPort : public IPort {
public:
  EAccessMode GetAccessMode() const override { return RW; }
  void Read(void* buffer, int64_t address, int64_t length) override {
    std::fill_n(static_cast<uint8_t*>(buffer), length, uint8_t(address & 0x7));
  }
  void Write(const void*, int64_t, int64_t) override {}
};

struct Fixture {
  Fixture() {
    ref._LoadXMLFromString(Description());
    ref._Connect(&port);
    width = ref._GetNode("F10");
  }
  CMemoryPort port;
  CNodeMapRef ref;
  CIntegerPtr width;
};

Fixture& Shared() {
  static Fixture fixture;
  return fixture;
}

void CachedGetValue(benchmark::State& state) {
  CIntegerPtr& width = Shared().width;
  for (auto _ : state)
    benchmark::DoNotOptimize(width->GetValue());
}
BENCHMARK(CachedGetValue);

void UncachedGetValue(benchmark::State& state) {
  CIntegerPtr& width = Shared().width;
  for (auto _ : state)
    benchmark::DoNotOptimize(width->GetValue(false, true));
}
BENCHMARK(UncachedGetValue);

void FormulaGetValue(benchmark::State& state) {
  CIntegerPtr size = Shared().ref._GetNode("F10Size");
  for (auto _ : state)
    benchmark::DoNotOptimize(size->GetValue());
}
BENCHMARK(FormulaGetValue);

} // namespace

int main(int argc, char** argv) {
  // Held for the whole run, so both sides below parse with Xerces already initialised.
  xercesc::XMLPlatformUtils::Initialize();
  {
    const std::string xml = Description();
    const double sax = BestSeconds([&] { BareSaxParse(xml); }, 5);
    const double build = BestSeconds(
        [&] {
          CNodeMapRef ref;
          ref._LoadXMLFromString(xml);
        },
        5);
    const double limit = 2.0;
    std::printf("description: %zu bytes\nbare SAX2 parse: %.2f ms\nnode-map build: %.2f ms\n"
                "build / SAX2 ratio: %.2f (limit %.1f) %s\n",
                xml.size(), sax * 1e3, build * 1e3, build / sax, limit,
                build / sax <= limit ? "OK" : "OVER LIMIT");
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  xercesc::XMLPlatformUtils::Terminate();
  return 0;
}
