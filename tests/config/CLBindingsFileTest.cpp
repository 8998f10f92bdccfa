// Parsing of the port configuration file: the Port elements, their children and the failures.
#include "CLBindingsFile.h"
#include "ConfigTestSupport.h"
#include "HostileXml.h"

#include <Base/GCException.h>
#include <GenApi/SafeXmlReader.h>
#include <VorlaBase/Logging.h>

#include <gmock/gmock.h>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/util/XMLString.hpp>
#include <xercesc/util/XMLUniDefs.hpp>

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
    try {
      Parse(text);
    } catch (const GenICam::RuntimeException& e) {
      return e.GetDescription();
    }
    ADD_FAILURE() << "no RuntimeException";
    return {};
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

TEST_F(CLBindingsFile, ReadsEveryFieldAndLogsProgress) {
  const unsigned int count =
      Parse(Document(Port("TTY#ttyS0", "yes",
                          "<Manufacturer>Hexmar</Manufacturer><Family>Fam</Family><Model>M1</Model>"
                          "<DeviceSpecificString>Sapera Board=0</DeviceSpecificString>"
                          "<BaudRate>Baud115200</BaudRate>")));

  EXPECT_EQ(count, 1u);
  ASSERT_EQ(m_table.size(), 1u);
  const SPortConfigurationEntry& e = m_table[0];
  EXPECT_EQ(e.ID, "TTY#ttyS0");
  EXPECT_TRUE(e.Enabled);
  EXPECT_EQ(e.Manufacturer, "Hexmar");
  EXPECT_EQ(e.Family, "Fam");
  EXPECT_EQ(e.Model, "M1");
  EXPECT_EQ(e.DeviceSpecificString, "Sapera Board=0");
  EXPECT_EQ(e.BaudRate, "Baud115200");
  EXPECT_EQ(m_log.Count("Trying to load CLBindings from file '" + m_path + "'"), 1u);
  EXPECT_EQ(m_log.Count("Successfully parsed 1 entries from CLbindings file."), 1u);
  EXPECT_EQ(ErrorLines(), 0u);
}

TEST_F(CLBindingsFile, AbsentChildrenLeaveFieldsEmptyAndPortDisabled) {
  Parse(Document("<Port><ID>TTY#ttyS1</ID></Port>"));
  ASSERT_EQ(m_table.size(), 1u);
  EXPECT_FALSE(m_table[0].Enabled);
  EXPECT_EQ(m_table[0].Manufacturer, "");
  EXPECT_EQ(m_table[0].Family, "");
  EXPECT_EQ(m_table[0].Model, "");
  EXPECT_EQ(m_table[0].DeviceSpecificString, "");
  EXPECT_EQ(m_table[0].BaudRate, "");
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

TEST_F(CLBindingsFile, IdNameIsCaseInsensitiveOtherNamesAreExact) {
  Parse(
      Document("<Port><id>a</id><enabled>yes</enabled></Port>"
               "<Port><Id>b</Id><ENABLED>true</ENABLED><manufacturer>Hexmar</manufacturer>"
               "<baudrate>Baud9600</baudrate><Enabled>1</Enabled></Port>"
               "<Port><iD>c</iD><Family>F</Family><FAMILY>G</FAMILY><Unknown>x</Unknown></Port>"));
  ASSERT_EQ(m_table.size(), 3u);
  EXPECT_EQ(m_table[0].ID, "a");
  EXPECT_FALSE(m_table[0].Enabled);
  EXPECT_EQ(m_table[1].ID, "b");
  EXPECT_TRUE(m_table[1].Enabled);
  EXPECT_EQ(m_table[1].Manufacturer, "");
  EXPECT_EQ(m_table[1].BaudRate, "");
  EXPECT_EQ(m_table[2].ID, "c");
  EXPECT_EQ(m_table[2].Family, "F");
}

TEST_F(CLBindingsFile, DuplicatesAndIdsDifferingInCaseAreAllKept) {
  const unsigned int count =
      Parse(Document(Port("TTY#ttyS0", "yes", "<BaudRate>A</BaudRate>") +
                     Port("TTY#ttyS0", "no", "<BaudRate>B</BaudRate>") + Port("tty#TTYS0")));
  EXPECT_EQ(count, 3u);
  ASSERT_EQ(m_table.size(), 3u);
  EXPECT_EQ(m_table[0].BaudRate, "A");
  EXPECT_EQ(m_table[1].BaudRate, "B");
  EXPECT_FALSE(m_table[1].Enabled);
  EXPECT_EQ(m_table[2].ID, "tty#TTYS0");
  EXPECT_EQ(m_log.Count("Successfully parsed 3 entries from CLbindings file."), 1u);
}

TEST_F(CLBindingsFile, PortsWithoutIdAreSkippedSilentlyAndNotCounted) {
  const unsigned int count =
      Parse(Document("<Port><Enabled>yes</Enabled></Port><Port><ID>   </ID></Port>"
                     "<Port><ID/></Port><Port ID=\"attr\"/><Port>TTY#text</Port>" +
                     Port("kept")));
  EXPECT_EQ(count, 1u);
  ASSERT_EQ(m_table.size(), 1u);
  EXPECT_EQ(m_table[0].ID, "kept");
  EXPECT_EQ(m_log.Count("Successfully parsed 1 entries from CLbindings file."), 1u);
  EXPECT_EQ(ErrorLines(), 0u);
}

TEST_F(CLBindingsFile, LastOfRepeatedChildrenWins) {
  Parse(Document("<Port><ID>first</ID><Model>a</Model><Enabled>yes</Enabled><ID>second</ID>"
                 "<Model>b</Model><Enabled>no</Enabled></Port>"));
  ASSERT_EQ(m_table.size(), 1u);
  EXPECT_EQ(m_table[0].ID, "second");
  EXPECT_EQ(m_table[0].Model, "b");
  EXPECT_FALSE(m_table[0].Enabled);
}

TEST_F(CLBindingsFile, PortsAtAnyDepthInDocumentOrder) {
  Parse("<Anything><Group><Port><ID>A</ID></Port></Group>"
        "<Port><ID>B</ID><Port><ID>C</ID></Port></Port>"
        "<Deep><Deeper><Deepest><Port><ID>D</ID></Port></Deepest></Deeper></Deep></Anything>");
  ASSERT_EQ(m_table.size(), 4u);
  EXPECT_EQ(m_table[0].ID, "A");
  EXPECT_EQ(m_table[1].ID, "B");
  EXPECT_EQ(m_table[2].ID, "C");
  EXPECT_EQ(m_table[3].ID, "D");
}

TEST_F(CLBindingsFile, PortAsRootElementCounts) {
  EXPECT_EQ(Parse(Port("alone")), 1u);
}

TEST_F(CLBindingsFile, ValuesAreWholeDescendantTextTrimmed) {
  Parse(Document("<Port>\n  <ID>\n\t TTY#<b>tty</b><!-- note -->S0<![CDATA[]]> \n</ID>\n"
                 "  <DeviceSpecificString>  NI-IMAQ  <x>img0</x>  </DeviceSpecificString>\n"
                 "  <Model><![CDATA[  <raw>  ]]></Model>\n"
                 "  <Enabled> <v>yes</v> </Enabled>\n</Port>"));
  ASSERT_EQ(m_table.size(), 1u);
  EXPECT_EQ(m_table[0].ID, "TTY#ttyS0");
  EXPECT_EQ(m_table[0].DeviceSpecificString, "NI-IMAQ  img0");
  EXPECT_EQ(m_table[0].Model, "<raw>");
  EXPECT_TRUE(m_table[0].Enabled);
}

TEST_F(CLBindingsFile, AttributesOfPortAreIgnored) {
  Parse(Document("<Port ID=\"attr\" Enabled=\"yes\"><ID>child</ID></Port>"));
  ASSERT_EQ(m_table.size(), 1u);
  EXPECT_EQ(m_table[0].ID, "child");
  EXPECT_FALSE(m_table[0].Enabled);
}

TEST_F(CLBindingsFile, DocumentWithoutPortsGivesNothing) {
  EXPECT_EQ(Parse(Document("")), 0u);
  EXPECT_TRUE(m_table.empty());
  EXPECT_EQ(m_log.Count("Successfully parsed 0 entries from CLbindings file."), 1u);
}

TEST_F(CLBindingsFile, NullPathReturnsZeroWithoutLogging) {
  EXPECT_EQ(CCLBindingsFile::ParseCLBindingsFile(nullptr, m_table), 0u);
  EXPECT_TRUE(m_log.Entries().empty());
}

TEST_F(CLBindingsFile, MissingFileIsReportedNotThrown) {
  const std::string missing = m_folder.File("missing.xml");
  EXPECT_EQ(CCLBindingsFile::ParseCLBindingsFile(missing.c_str(), m_table), 0u);
  EXPECT_EQ(m_log.Count("Trying to load CLBindings from file '" + missing + "'"), 1u);
  EXPECT_EQ(m_log.Count("CLBindings file '" + missing + "' does not exist or could not be read."),
            1u);
  ASSERT_EQ(m_log.Entries().size(), 2u);
  EXPECT_EQ(m_log.Entries()[1].level, unsigned(vxlog::Error));
  EXPECT_EQ(m_log.Entries()[1].category, "Vorla.CLSer.TL");
}

TEST_F(CLBindingsFile, FolderInPlaceOfFileCannotBeRead) {
  const std::string folder = m_folder.File("folder.xml");
  fs::create_directory(folder);
  EXPECT_EQ(CCLBindingsFile::ParseCLBindingsFile(folder.c_str(), m_table), 0u);
  EXPECT_EQ(m_log.Count("CLBindings file '" + folder + "' does not exist or could not be read."),
            1u);
}

TEST_F(CLBindingsFile, EmptyFileRaisesTheParseError) {
  EXPECT_THAT(ParseError(""), StartsWith("Failed to parse XML file '" + m_path + "' : '"));
  EXPECT_TRUE(m_table.empty());
  EXPECT_EQ(m_log.CountContaining("Successfully parsed"), 0u);
}

TEST_F(CLBindingsFile, MalformedFileNamesFileLineAndColumn) {
  const std::string description =
      ParseError(Document(Port("TTY#ttyS0")) + "\n<Port><ID>late</ID></Prot>\n");
  EXPECT_THAT(description, StartsWith("Failed to parse XML file '" + m_path + "' : '"));
  EXPECT_THAT(description, ::testing::MatchesRegex(".*', line: [0-9]+ column: [0-9]+"));
  // The whole document is parsed before any entry is taken.
  EXPECT_TRUE(m_table.empty());
}

TEST_F(CLBindingsFile, NotWellFormedTextsAreParseErrors) {
  for (const std::string text : {"not xml at all", "<Ports><Port><ID>a</ID></Port>",
                                 "<a></a><b></b>", "<Ports>&undefined;</Ports>", "\xff\xfe<"}) {
    m_table.clear();
    EXPECT_THAT(ParseError(text), StartsWith("Failed to parse XML file '")) << text;
  }
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

TEST_F(CLBindingsFile, ParsedEntriesAreAppended) {
  m_table.push_back(SPortConfigurationEntry{"before", "", "", "", "", "", true});
  EXPECT_EQ(Parse(Document(Port("after"))), 1u);
  ASSERT_EQ(m_table.size(), 2u);
  EXPECT_EQ(m_table[0].ID, "before");
  EXPECT_EQ(m_table[1].ID, "after");
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

// ReadPortEntry on elements built in memory.
class ReadPortEntry : public ::testing::Test {
protected:
  ReadPortEntry() {
    static const XMLCh core[] = {xercesc::chLatin_C, xercesc::chLatin_o, xercesc::chLatin_r,
                                 xercesc::chLatin_e, xercesc::chNull};
    m_document = xercesc::DOMImplementationRegistry::getDOMImplementation(core)->createDocument();
  }
  ~ReadPortEntry() override { m_document->release(); }

  xercesc::DOMElement* Element(const char* name, const char* text = nullptr) {
    XMLCh* xmlName = xercesc::XMLString::transcode(name);
    xercesc::DOMElement* element = m_document->createElement(xmlName);
    xercesc::XMLString::release(&xmlName);
    if (text) {
      XMLCh* xmlText = xercesc::XMLString::transcode(text);
      element->appendChild(m_document->createTextNode(xmlText));
      xercesc::XMLString::release(&xmlText);
    }
    return element;
  }

  CXercesScope m_xerces;
  xercesc::DOMDocument* m_document = nullptr;
};

TEST_F(ReadPortEntry, ResetsTheEntryBeforeFilling) {
  xercesc::DOMElement* port = Element("Port");
  port->appendChild(Element("ID", " TTY#ttyS3 "));
  SPortConfigurationEntry entry{"old", "M", "F", "Mo", "D", "B", true};
  EXPECT_TRUE(CCLBindingsFile::ReadPortEntry(port, entry));
  EXPECT_EQ(entry.ID, "TTY#ttyS3");
  EXPECT_FALSE(entry.Enabled);
  EXPECT_EQ(entry.Manufacturer, "");
  EXPECT_EQ(entry.BaudRate, "");
}

TEST_F(ReadPortEntry, FalseWithoutIdOrElement) {
  xercesc::DOMElement* port = Element("Port");
  port->appendChild(Element("Enabled", "yes"));
  SPortConfigurationEntry entry;
  EXPECT_FALSE(CCLBindingsFile::ReadPortEntry(port, entry));
  EXPECT_TRUE(entry.Enabled);
  EXPECT_FALSE(CCLBindingsFile::ReadPortEntry(nullptr, entry));
}

} // namespace
