// Parsing of the port configuration file: the Port elements, their children and the failures.
#include "CLBindingsFile.h"
#include "ConfigTestSupport.h"
#include "HostileXml.h"

#include <Base/GCException.h>
#include <GenApi/SafeXmlReader.h>
#include <VorlaBase/Logging.h>

#include <gmock/gmock.h>

#include <algorithm>

using namespace ConfigTest;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using Vorla::CCLBindingsFile;
using Vorla::PortConfigurationTable;
using Vorla::SPortConfigurationEntry;

namespace {

class CLBindingsFile : public ::testing::Test {
protected:
  // Writes `text` as the configuration file and parses it into m_table.
  unsigned int Parse(const std::string& text) {
    WriteFile(m_path, text);
    return CCLBindingsFile::ParseCLBindingsFile(m_path.c_str(), m_table);
  }
  // The description of the runtime exception that parsing `text` raises.
  std::string ParseError(const std::string& text) {
    return testsupport::Thrown<GenICam::RuntimeException>([&] { Parse(text); });
  }
  size_t ErrorLines() const {
    size_t count = 0;
    for (const auto& entry : m_log.Entries())
      count += entry.level == vxlog::Error || entry.level == vxlog::Warning;
    return count;
  }

  CXercesScope m_xerces;
  CTempFolder m_folder;
  std::string m_path = m_folder.File("PortConfiguration_x64.xml");
  PortConfigurationTable m_table;
  vxlog::CLogCapture m_log;
};

// Each entry as "ID on|off Manufacturer|Family|Model|DeviceSpecificString|BaudRate".
std::string Entries(const PortConfigurationTable& table) {
  std::string text;
  for (const SPortConfigurationEntry& e : table)
    text += e.ID + (e.Enabled ? " on " : " off ") + e.Manufacturer + "|" + e.Family + "|" +
            e.Model + "|" + e.DeviceSpecificString + "|" + e.BaudRate + "\n";
  return text;
}

// Every Port element with an id, at any depth, gives one entry in document order, appended to
// the table; each entry starts empty and disabled.
TEST_F(CLBindingsFile, EveryPortWithAnIdGivesOneEntryInDocumentOrder) {
  struct SCase {
    const char* m_What;
    std::string m_Text, m_Entries;
  };
  // clang-format off
  const SCase cases[] = {
      {"every field, then a port of its id only",
       Document(Port("TTY#ttyS0", "yes",
                     "<Manufacturer>Hexmar</Manufacturer><Family>Fam</Family><Model>M1</Model>"
                     "<DeviceSpecificString>Sapera Board=0</DeviceSpecificString>"
                     "<BaudRate>Baud115200</BaudRate>") + "<Port><ID>TTY#ttyS1</ID></Port>"),
       "TTY#ttyS0 on Hexmar|Fam|M1|Sapera Board=0|Baud115200\nTTY#ttyS1 off ||||\n"},
      {"the id's name in any case, the other names exact",
       Document("<Port><id>a</id><enabled>yes</enabled></Port>"
                "<Port><Id>b</Id><ENABLED>true</ENABLED><manufacturer>Hexmar</manufacturer>"
                "<baudrate>Baud9600</baudrate><Enabled>1</Enabled></Port>"
                "<Port><iD>c</iD><Family>F</Family><FAMILY>G</FAMILY><Unknown>x</Unknown></Port>"),
       "a off ||||\nb on ||||\nc off |F|||\n"},
      {"duplicates and ids differing in case",
       Document(Port("TTY#ttyS0", "yes", "<BaudRate>A</BaudRate>") +
                Port("TTY#ttyS0", "no", "<BaudRate>B</BaudRate>") + Port("tty#TTYS0")),
       "TTY#ttyS0 on ||||A\nTTY#ttyS0 off ||||B\ntty#TTYS0 on ||||\n"},
      {"ports without an id",
       Document("<Port><Enabled>yes</Enabled></Port><Port><ID>   </ID></Port>"
                "<Port><ID/></Port><Port ID=\"attr\"/><Port>TTY#text</Port>" + Port("kept")),
       "kept on ||||\n"},
      {"the last of repeated children",
       Document("<Port><ID>first</ID><Model>a</Model><Enabled>yes</Enabled><ID>second</ID>"
                "<Model>b</Model><Enabled>no</Enabled></Port>"),
       "second off ||b||\n"},
      {"any depth",
       "<Anything><Group><Port><ID>A</ID></Port></Group>"
       "<Port><ID>B</ID><Port><ID>C</ID></Port></Port>"
       "<Deep><Deeper><Deepest><Port><ID>D</ID></Port></Deepest></Deeper></Deep></Anything>",
       "A off ||||\nB off ||||\nC off ||||\nD off ||||\n"},
      {"a port as the root", Port("alone"), "alone on ||||\n"},
      {"values are the whole descendant text, trimmed",
       Document("<Port>\n  <ID>\n\t TTY#<b>tty</b><!-- note -->S0<![CDATA[]]> \n</ID>\n"
                "  <DeviceSpecificString>  NI-IMAQ  <x>img0</x>  </DeviceSpecificString>\n"
                "  <Model><![CDATA[  <raw>  ]]></Model>\n"
                "  <Enabled> <v>yes</v> </Enabled>\n</Port>"),
       "TTY#ttyS0 on ||<raw>|NI-IMAQ  img0|\n"},
      {"attributes", Document("<Port ID=\"attr\" Enabled=\"yes\"><ID>child</ID></Port>"),
       "child off ||||\n"},
      {"no ports", Document(""), ""},
  };
  // clang-format on
  for (const SCase& c : cases) {
    SCOPED_TRACE(c.m_What);
    m_table.assign(1, SPortConfigurationEntry{"before", "", "", "", "", "", true});
    m_log.Clear();
    const auto count =
        static_cast<unsigned>(std::count(c.m_Entries.begin(), c.m_Entries.end(), '\n'));
    EXPECT_EQ(Parse(c.m_Text), count);
    EXPECT_EQ(Entries(m_table), "before on ||||\n" + c.m_Entries);
    EXPECT_EQ(m_log.Count("Trying to load CLBindings from file '" + m_path + "'"), 1u);
    EXPECT_EQ(m_log.Count("Successfully parsed " + std::to_string(count) +
                          " entries from CLbindings file."),
              1u);
    EXPECT_EQ(ErrorLines(), 0u);
  }
}

TEST_F(CLBindingsFile, EnabledAcceptsYesTrueOneInAnyCase) {
  const std::vector<std::pair<std::string, bool>> cases = {
      {"yes", true}, {"YES", true},      {"True", true}, {"1", true},   {"  tRuE \n", true},
      {"on", false}, {"enabled", false}, {"0", false},   {"no", false}, {"", false},
      {"11", false}, {"yes!", false},    {"y", false},   {"01", false}};
  std::string ports;
  for (size_t i = 0; i < cases.size(); ++i)
    ports += Port("P" + std::to_string(i), cases[i].first);
  ASSERT_EQ(Parse(Document(ports)), cases.size());
  for (size_t i = 0; i < cases.size(); ++i)
    EXPECT_EQ(m_table[i].Enabled, cases[i].second) << "'" << cases[i].first << "'";
}

// A file that cannot be read is logged, not thrown; a file that is no XML document is thrown,
// and no entry is taken before the whole document has been parsed.
TEST_F(CLBindingsFile, UnreadableFilesAreLoggedAndMalformedOnesThrown) {
  fs::create_directory(m_folder.File("folder.xml"));
  for (const std::string& unreadable :
       {m_folder.File("missing.xml"), m_folder.File("folder.xml")}) {
    m_log.Clear();
    EXPECT_EQ(CCLBindingsFile::ParseCLBindingsFile(unreadable.c_str(), m_table), 0u);
    EXPECT_EQ(m_log.Count("Trying to load CLBindings from file '" + unreadable + "'"), 1u);
    EXPECT_EQ(
        m_log.Count("CLBindings file '" + unreadable + "' does not exist or could not be read."),
        1u);
    ASSERT_EQ(m_log.Entries().size(), 2u);
    EXPECT_EQ(m_log.Entries()[1].level, unsigned(vxlog::Error));
    EXPECT_EQ(m_log.Entries()[1].category, "Vorla.CLSer.TL");
  }
  const std::string malformed = Document(Port("TTY#ttyS0")) + "\n<Port><ID>late</ID></Prot>\n";
  for (const std::string text :
       {"", "not xml at all", "<Ports><Port><ID>a</ID></Port>", "<a></a><b></b>",
        "<Ports>&undefined;</Ports>", "\xff\xfe<", malformed.c_str()}) {
    EXPECT_THAT(ParseError(text), StartsWith("Failed to parse XML file '" + m_path + "' : '"))
        << text;
  }
  EXPECT_THAT(ParseError(malformed), ::testing::EndsWith("', line: 6 column: 1"));
  EXPECT_TRUE(m_table.empty());
  EXPECT_EQ(m_log.CountContaining("Successfully parsed"), 0u);
}

// A document whose DOCTYPE declaration is `doctype`.
std::string WithDoctype(const std::string& doctype, const std::string& ports) {
  return "<?xml version=\"1.0\"?>\n" + doctype + "\n<P>" + ports + "</P>\n";
}

TEST_F(CLBindingsFile, EntitiesAndEndlessTextsAreRefusedAndNothingOutsideTheFileIsRead) {
  for (const auto& trick : testsupport::HostileXml(
           m_folder.Path().string(), GenApi::CSafeXmlReader::ConfigurationElementText)) {
    EXPECT_THAT(ParseError(WithDoctype(trick.doctype, Port(trick.text))),
                StartsWith("CL binding file '" + m_path + "': " + trick.refusal))
        << trick.what;
    EXPECT_TRUE(m_table.empty());
  }
  // An external DTD is not read: its entities stay undefined, the port has no id.
  const std::string dtd = m_folder.File("ports.dtd");
  WriteFile(dtd, "<!ENTITY fromDtd \"TTY#secret\">");
  EXPECT_EQ(Parse(WithDoctype("<!DOCTYPE P SYSTEM \"" + dtd + "\">", Port("&fromDtd;"))), 0u);
  EXPECT_TRUE(m_table.empty());
}

TEST_F(CLBindingsFile, HugeFileIsReadCompletely) {
  std::string ports;
  ports.reserve(20000 * 60);
  for (int i = 0; i < 20000; ++i)
    ports += Port("TTY#tty" + std::to_string(i), i % 2 ? "no" : "yes");
  EXPECT_EQ(Parse(Document(ports)), 20000u);
  ASSERT_EQ(m_table.size(), 20000u);
  EXPECT_EQ(m_table[19999].ID, "TTY#tty19999");
  EXPECT_FALSE(m_table[19999].Enabled);
  EXPECT_TRUE(m_table[19998].Enabled);
  EXPECT_EQ(m_log.Count("Successfully parsed 20000 entries from CLbindings file."), 1u);
}

TEST_F(CLBindingsFile, ExampleInstallationFileEnablesOneTtyPort) {
  const std::string example = VORLA_EXAMPLES_DIR "/PortConfiguration_x64.xml";
  EXPECT_EQ(CCLBindingsFile::ParseCLBindingsFile(example.c_str(), m_table), 2u);
  ASSERT_EQ(m_table.size(), 2u);
  EXPECT_EQ(m_table[0].ID, "TTY#ttyS0");
  EXPECT_TRUE(m_table[0].Enabled);
  EXPECT_EQ(m_table[0].Manufacturer, "Hexmar");
  EXPECT_THAT(m_table[0].DeviceSpecificString, HasSubstr("Sapera"));
  EXPECT_FALSE(m_table[1].Enabled);
}

} // namespace
