// GenApi engine figures, each printed as a ratio against a limit measured in the same run:
// - node-map build time against a bare Xerces SAX2 parse of the same text (limit 2.0), for every
//   description in $GENAPI_SAMPLES and a synthetic 1 MB one, and the worst of them;
// - a load in a program that holds no Xerces scope of its own ("cold") against one in a program
//   that does ("warm"), limit 1.1;
// - cached, uncached and formula GetValue against a memory port (cached: limit 100 ns).
// Times are the calling thread's CPU time, best of many runs (the two sides of a ratio taken in
// turns), so that other processes sharing the machine do not distort the ratios; the Google
// Benchmark table follows.
#include <GenApi/GenApi.h>
#include <GenApi/XercesScope.h>

#include <benchmark/benchmark.h>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLUni.hpp>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using namespace GenApi;

namespace {

// A camera-like description: per feature an Integer over an IntReg, a masked field, an
// enumeration, a SwissKnife and a category entry, repeated until it is about 1 MB.
std::string Synthetic() {
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

struct Description {
  std::string Name;
  std::string Xml;
};

std::vector<Description> Descriptions() {
  std::vector<Description> all;
  if (const char* folder = std::getenv("GENAPI_SAMPLES")) {
    std::vector<std::filesystem::path> files;
    std::error_code ec;
    for (const auto& entry : std::filesystem::directory_iterator(folder, ec))
      if (entry.path().extension() == ".xml")
        files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    for (const auto& file : files) {
      std::ifstream in(file, std::ios::binary);
      std::ostringstream text;
      text << in.rdbuf();
      all.push_back({file.filename().string(), text.str()});
    }
  }
  all.push_back({"synthetic (1 MB)", Synthetic()});
  return all;
}

// Xerces SAX2 with the loader's reader settings and a handler that does nothing.
void BareSaxParse(const std::string& xml) {
  using namespace xercesc;
  std::unique_ptr<SAX2XMLReader> reader(XMLReaderFactory::createXMLReader());
  reader->setFeature(XMLUni::fgSAX2CoreValidation, false);
  reader->setFeature(XMLUni::fgSAX2CoreNameSpaces, true);
  reader->setFeature(XMLUni::fgXercesSchema, false);
  reader->setFeature(XMLUni::fgXercesLoadExternalDTD, false);
  DefaultHandler handler;
  reader->setContentHandler(&handler);
  reader->setErrorHandler(&handler);
  MemBufInputSource source(reinterpret_cast<const XMLByte*>(xml.data()), xml.size(), "bench",
                           false);
  reader->parse(source);
}

//! The built map, so that its destruction is not timed as part of the build.
std::unique_ptr<CNodeMapRef> Build(const std::string& xml) {
  auto ref = std::make_unique<CNodeMapRef>();
  ref->_LoadXMLFromString(xml);
  return ref;
}

double CpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

// CPU time of one run; what `run` returns is destroyed outside the timed part.
template <class F> double Once(F&& run) {
  const double start = CpuSeconds();
  [[maybe_unused]] const auto result = run();
  return CpuSeconds() - start;
}

// Best CPU time of one run, over at least 5 runs and about 0.3 s in all.
template <class F> double Best(F&& run) {
  double best = 1e30, total = 0;
  for (int i = 0; i < 5 || (total < 0.3 && i < 2000); ++i) {
    const double elapsed = Once(run);
    best = std::min(best, elapsed);
    total += elapsed;
  }
  return best;
}

// The best times of two runs taken in turns, so that both see the same machine: a burst of
// other work slows one pair, not all runs of one side.
template <class A, class B> std::pair<double, double> BestOfTurns(A&& a, B&& b) {
  std::pair<double, double> best{1e30, 1e30};
  double total = 0;
  for (int i = 0; i < 5 || (total < 0.6 && i < 2000); ++i) {
    const double first = Once(a), second = Once(b);
    best.first = std::min(best.first, first);
    best.second = std::min(best.second, second);
    total += first + second;
  }
  return best;
}

// In a child process that has not touched Xerces yet: the first load of `xml` and, for
// comparison, what an Initialize/Terminate pair costs (every load paid one before Xerces was
// initialised once per process). Milliseconds, or negative when the child failed.
std::pair<double, double> FirstLoadInFreshProcess(const std::string& xml) {
  int fds[2];
  double result[2] = {-1, -1};
  if (pipe(fds) != 0)
    return {-1, -1};
  const pid_t child = fork();
  if (child == 0) {
    close(fds[0]);
    double times[2];
    double start = CpuSeconds();
    xercesc::XMLPlatformUtils::Initialize();
    xercesc::XMLPlatformUtils::Terminate();
    times[1] = 1e3 * (CpuSeconds() - start);
    start = CpuSeconds();
    Build(xml);
    times[0] = 1e3 * (CpuSeconds() - start);
    const bool ok = write(fds[1], times, sizeof times) == static_cast<ssize_t>(sizeof times);
    _exit(ok ? 0 : 1);
  }
  close(fds[1]);
  if (child > 0) {
    if (read(fds[0], result, sizeof result) != static_cast<ssize_t>(sizeof result))
      result[0] = result[1] = -1;
    waitpid(child, nullptr, 0);
  }
  close(fds[0]);
  return {result[0], result[1]};
}

const char* Verdict(bool ok) {
  return ok ? "OK" : "OVER LIMIT";
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
    ref._LoadXMLFromString(Synthetic());
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
  const std::vector<Description> descriptions = Descriptions();
  const auto fresh = FirstLoadInFreshProcess(descriptions.front().Xml);

  // Build against bare parse.
  std::printf("%-40s %9s %9s %9s %7s\n", "description", "bytes", "SAX2 ms", "build ms", "ratio");
  const double buildLimit = 2.0;
  double worstBuild = 0;
  for (const Description& d : descriptions) {
    const auto [build, sax] = BestOfTurns([&] { return Build(d.Xml); },
                                          [&] {
                                            const CXercesScope xerces;
                                            BareSaxParse(d.Xml);
                                            return 0;
                                          });
    worstBuild = std::max(worstBuild, build / sax);
    std::printf("%-40s %9zu %9.3f %9.3f %7.2f\n", d.Name.c_str(), d.Xml.size(), sax * 1e3,
                build * 1e3, build / sax);
  }
  std::printf("node-map build / bare SAX2 parse, worst: %.2f (limit %.1f) %s\n\n", worstBuild,
              buildLimit, Verdict(worstBuild <= buildLimit));

  // The same loads in turns with loads while the program holds Xerces itself ("warm").
  const double coldLimit = 1.1;
  double worstCold = 0;
  for (const Description& d : descriptions) {
    const auto [cold, warm] = BestOfTurns([&] { return Build(d.Xml); },
                                          [&] {
                                            const CXercesScope held;
                                            return Build(d.Xml);
                                          });
    worstCold = std::max(worstCold, cold / warm);
    std::printf("%-40s cold %8.3f ms  warm %8.3f ms  ratio %.2f\n", d.Name.c_str(), cold * 1e3,
                warm * 1e3, cold / warm);
  }
  std::printf("cold load / warm load, worst: %.2f (limit %.1f) %s\n", worstCold, coldLimit,
              Verdict(worstCold <= coldLimit));
  std::printf("once per process: first load of %s %.3f ms; an Xerces Initialize/Terminate pair "
              "%.3f ms\n\n",
              descriptions.front().Name.c_str(), fresh.first, fresh.second);

  // Cached GetValue against its absolute limit.
  CIntegerPtr& width = Shared().width;
  width->GetValue();
  constexpr int calls = 100000;
  const double cached = Best([&] {
    for (int i = 0; i < calls; ++i)
      benchmark::DoNotOptimize(width->GetValue());
    return 0;
  });
  const double perCall = cached / calls * 1e9;
  std::printf("cached GetValue: %.1f ns (limit 100 ns) %s\n\n", perCall, Verdict(perCall < 100));

  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
