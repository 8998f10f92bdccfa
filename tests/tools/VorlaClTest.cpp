// The parts of vorla-cl that decide without a camera: usage, selection, suggestions and the
// explanation of an empty enumeration.
#include "CameraSelector.h"
#include "CommandLine.h"
#include "EnumerationExplainer.h"
#include "NameSuggester.h"
#include "ToolError.h"

#include <gtest/gtest.h>

#include <tuple>

using namespace VorlaCl;

namespace {

EExitStatus StatusOf(const std::function<void()>& f) {
  try {
    f();
  } catch (const CToolError& e) {
    return e.Status();
  }
  return ExitSuccess;
}

CCommandLine Parse(std::vector<const char*> words) {
  words.insert(words.begin(), "vorla-cl");
  return CCommandLine(static_cast<int>(words.size()), words.data());
}

Vorla::CDeviceInfo Camera(const char* port, const char* serial) {
  Vorla::CDeviceInfo r;
  r.SetFullName(std::string(port) + "|/drv#libCLProtocolGenCP.so#Hexmar#HX#HX2000");
  r.SetFriendlyName(std::string("Hexmar HX2000 on ") + port);
  r.SetPropertyValue("DeviceID",
                     std::string("/drv#libCLProtocolGenCP.so#Hexmar#HX#HX2000#V1#") + serial);
  return r;
}

} // namespace

TEST(VorlaClCommandLine, VerbOptionsAndGlobalOptionsMayMix) {
  const CCommandLine line = Parse({"xml", "-o", "out.xml", "--log", "32", "-c", "SN1"});
  EXPECT_EQ(std::tie(line.m_Verb, line.m_Output, line.m_Log, line.m_Camera),
            std::make_tuple("xml", "out.xml", "32", "SN1"));
  EXPECT_EQ(Parse({"set", "Width=64", "PixelFormat=Mono8"}).m_Names,
            (std::vector<std::string>{"Width=64", "PixelFormat=Mono8"}));
  const CCommandLine grab = Parse({"grab", "-n", "3", "--buffers", "2", "--timeout", "100"});
  EXPECT_EQ(std::tie(grab.m_Count, grab.m_Buffers, grab.m_TimeoutMs),
            std::make_tuple(3u, 2u, 100u));
  EXPECT_EQ(Parse({"watch"}).m_Count, 0u); // until the camera goes away
  EXPECT_TRUE(Parse({"-h"}).m_Help);
}

TEST(VorlaClCommandLine, BadUsageIsStatusTwo) {
  const std::vector<std::vector<const char*>> bad = {
      {},                          // no verb (unknown verbs and options: the list script)
      {"get"},                     // a name is needed
      {"features", "A", "B"},      // one name at most
      {"info", "Width"},           // no words
      {"xml", "-o"},               // option without its value
      {"grab", "-n", "many"},      // not a number
      {"grab", "-n", "%value%"},   // Boost.Program_options' own text would never end
      {"grab", "--x%option%"},     // nor here
      {"grab", "--buffers", "0"},  // nothing to grab into
      {"watch", "--interval", "0"} // would spin
  };
  for (const auto& words : bad)
    EXPECT_EQ(StatusOf([&] { Parse(words); }), ExitUsage) << (words.empty() ? "" : words[0]);
}

TEST(VorlaClSelection, RecordsAreParsedAndNamesArePicked) {
  const CCameraSelector record("DeviceClass=HexmarCameraLink, SerialNumber=a=b", false);
  EXPECT_EQ(record.Kind(), CCameraSelector::Record);
  EXPECT_EQ(record.DeviceClass(), "HexmarCameraLink");
  EXPECT_EQ(record.RecordProperties().back(),
            (std::pair<std::string, std::string>{"SerialNumber", "a=b"}));
  EXPECT_EQ(CCameraSelector("", true).Kind(), CCameraSelector::Record); // --first alone
  EXPECT_EQ(StatusOf([] { CCameraSelector("SN1", true); }), ExitUsage);
  EXPECT_EQ(StatusOf([] { CCameraSelector("PortID=x,=y", false); }), ExitUsage);

  const std::vector<Vorla::CDeviceInfo> cameras = {
      Camera("TTY#pts/1", "7"), Camera("TTY#pts/2", "SN2"), Camera("TTY#pts/3", "SN2")};
  const struct {
    const char* text;
    size_t index;
  } picks[] = {{"", 0},
               {"1", 1},
               {"7", 0}, // out of range as an index: a serial number
               {"Hexmar HX2000 on TTY#pts/3", 2},
               {"TTY#pts/2|/drv#libCLProtocolGenCP.so#Hexmar#HX#HX2000", 1}};
  for (const auto& pick : picks)
    EXPECT_EQ(CCameraSelector(pick.text, false).Pick(cameras), pick.index) << pick.text;
  EXPECT_EQ(StatusOf([&] { CCameraSelector("SN2", false).Pick(cameras); }), ExitFailure);
  EXPECT_EQ(StatusOf([&] { CCameraSelector("SN9", false).Pick(cameras); }), ExitFailure);
}

TEST(VorlaClSuggestions, NearestNamesFirstAndNothingFarFetched) {
  const CNameSuggester names({"Width", "WidthMax", "Height", "OffsetX", "OffsetY", "Gain"});
  EXPECT_EQ(names.Suggest("Widht"), (std::vector<std::string>{"Width"}));
  EXPECT_EQ(names.Suggest("width"), (std::vector<std::string>{"Width"}));
  EXPECT_EQ(names.Suggest("Offset"), (std::vector<std::string>{"OffsetX", "OffsetY"}));
  EXPECT_TRUE(names.Suggest("Exposure").empty());
  EXPECT_EQ(names.DidYouMean("OffsetZ"), "; did you mean OffsetX or OffsetY?");
  EXPECT_EQ(names.DidYouMean("Zzz"), "");
  EXPECT_EQ(CNameSuggester::Distance("lsit", "list"), 2u); // one swap
  EXPECT_EQ(CNameSuggester::Distance("GAIN", "Gain"), 3u); // three case changes
}

TEST(VorlaClExplanations, TheFirstBlockingStepIsNamed) {
  const CEnumerationExplainer::SFolders folders{"/serial", "/drivers"};
  // The unreadable configuration and the silent port are worded end to end by vorla_cl_list.sh.
  Vorla::SEnumerationReport r;
  r.Enumerated = true;
  r.ConfigurationPath = "/cfg/P.xml";
  r.ConfigurationState = Vorla::ConfigurationMissing;
  EXPECT_NE(CEnumerationExplainer::Explain(r, folders).find("'/serial'"), std::string::npos);
  r.PortsFound = {"TTY#a", "TTY#b"};
  EXPECT_EQ(CEnumerationExplainer::Explain(r, folders),
            "No port configuration file at '/cfg/P.xml' (set VORLA_CL_BINDINGS to its folder; see "
            "examples/PortConfiguration_x64.xml); ports found: TTY#a, TTY#b.");
  r.ConfigurationState = Vorla::ConfigurationRead;
  r.PortsConfigured = {"TTY#c"};
  EXPECT_EQ(CEnumerationExplainer::Explain(r, folders),
            "None of the ports found (TTY#a, TTY#b) is enabled in '/cfg/P.xml', which enables "
            "TTY#c.");
  r.PortsEnabled = {"TTY#a"};
  r.DriversLookedFor = true;
  EXPECT_NE(CEnumerationExplainer::Explain(r, folders).find("'/drivers'"), std::string::npos);
}
