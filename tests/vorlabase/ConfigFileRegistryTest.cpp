#include "HostileXml.h"
#include "TestSupport.h"

#include <VorlaBase/ConfigFileRegistry.h>
#include <VorlaBase/TextFile.h>

#include <Base/GCException.h>
#include <GenApi/SafeXmlReader.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

using namespace Vorla;

namespace {
// A temporary folder named by VORLA_XML_BINDINGS.
class ConfigFileRegistry : public ::testing::Test {
protected:
  std::string File() const { return m_temp.File("XmlFileBindings.xml"); }
  // Each write gets a later modification time, so the registry sees every change.
  void Write(const std::string& bindings) {
    std::ofstream(File()) << "<XmlFileBindings>\n" << bindings << "</XmlFileBindings>\n";
    std::filesystem::last_write_time(File(), std::filesystem::file_time_type::clock::now() +
                                                 std::chrono::seconds(++m_writes));
  }
  static CXmlFileBinding Bind(const std::vector<std::pair<const char*, const char*>>& record) {
    CDeviceInfo info;
    for (const auto& [key, value] : record)
      info.SetPropertyValue(key, value);
    return CConfigFileRegistry::GetInstance().GetXmlFileBinding(info);
  }
  std::string ErrorOf(const std::vector<std::pair<const char*, const char*>>& record) {
    return testsupport::Thrown<GenICam::RuntimeException>([&] { Bind(record); });
  }

  testsupport::CTempFolder m_temp{"VORLA_XML_BINDINGS"};
  const std::string m_folder = m_temp.Path().string();
  int m_writes = 0;
};
} // namespace

TEST_F(ConfigFileRegistry, TheOverrideThenTheFirstMatchingEntryThenADownloadDecide) {
  const testsupport::CEnvGuard folder("VORLA_TEST_XML_DIR", "/opt/xml"),
      unset("VORLA_TEST_UNSET_VARIABLE", nullptr);
  Write(R"(<Binding SerialNumber="SN7"><Download/><MergeFile>extra.xml</MergeFile></Binding>
  <Binding VendorName="Hexmar" ModelName="HX1300"><XmlFile>$(VORLA_TEST_XML_DIR)/hx.xml</XmlFile></Binding>
  <Binding ModelName="HX1300"><XmlFile>/any/hx.xml</XmlFile></Binding>
  <Binding FullName="Loopback#Loop2"><XmlFile>/a/full.xml</XmlFile><MergeFile>/a/m.xml</MergeFile></Binding>
  <Binding DeviceClass="OtherClass">
    <XmlFile>  other.xml  </XmlFile>
  </Binding>
)");
  const std::string f = File() + ":";
  // On Windows "/any" is rooted on the bindings file's drive: C + "/any" ("C:/any").
  const std::string C = std::filesystem::path(m_folder).root_name().string();
  struct Case {
    std::vector<std::pair<const char*, const char*>> record;
    std::string xmlFile; // empty: download
    std::string mergeFile;
    std::string origin;
  };
  const Case cases[] = {
      // clang-format off
      {{{"DeviceXMLFileOverride", "/o.xml"}, {"SerialNumber", "SN7"}}, "/o.xml", "",
       "DeviceXMLFileOverride"},
      {{{"DeviceXMLFileOverride", ""}, {"SerialNumber", "SN7"}}, "", m_temp.File("extra.xml"),
       f + "2"},
      {{{"VendorName", "Hexmar"}, {"ModelName", "HX1300"}}, C + "/opt/xml/hx.xml", "", f + "3"},
      {{{"VendorName", "Other"}, {"ModelName", "HX1300"}}, C + "/any/hx.xml", "", f + "4"},
      {{{"ModelName", "HX1300"}}, C + "/any/hx.xml", "", f + "4"}, // no vendor: the pair misses
      {{{"FullName", "Loopback#Loop2"}}, C + "/a/full.xml", C + "/a/m.xml", f + "5"},
      {{{"DeviceClass", "OtherClass"}}, m_temp.File("other.xml"), "", f + "6"},
      {{{"DeviceClass", "othercLASS"}, {"SerialNumber", "SN8"}}, "", "", "default"},
      // clang-format on
  };
  for (const Case& c : cases) {
    const CXmlFileBinding binding = Bind(c.record);
    const std::string where = c.record.front().first + std::string("=") + c.record.front().second;
    EXPECT_EQ(binding.IsDownloadRequested(), c.xmlFile.empty()) << where;
    EXPECT_EQ(binding.IsXmlFileNamed(), !c.xmlFile.empty()) << where;
    EXPECT_EQ(binding.GetXmlFilePath(), c.xmlFile) << where;
    EXPECT_EQ(binding.IsMergeFileNamed(), !c.mergeFile.empty()) << where;
    EXPECT_EQ(binding.GetMergeFilePath(), c.mergeFile) << where;
    EXPECT_EQ(binding.GetOrigin(), c.origin) << where;
  }

  Write(R"(<Binding><XmlFile>$(VORLA_TEST_UNSET_VARIABLE)/x.xml</XmlFile></Binding>
)"); // a catch-all entry, re-read because the file changed
  EXPECT_EQ(ErrorOf({{"SerialNumber", "SN7"}}),
            "The path '$(VORLA_TEST_UNSET_VARIABLE)/x.xml' of " + f +
                "2 uses an environment variable that is not set");

  // The shipped example is valid and decides as its comments say.
  std::ofstream(File()) << std::ifstream(VORLA_EXAMPLES_DIR "/XmlFileBindings.xml").rdbuf();
  std::filesystem::last_write_time(File(), std::filesystem::file_time_type::clock::now() +
                                               std::chrono::seconds(++m_writes));
  EXPECT_EQ(Bind({{"VendorName", "Hexmar"}, {"ModelName", "HX1300"}}).GetXmlFilePath(),
            m_temp.File("descriptions/Hexmar_HX1300.xml"));

  std::filesystem::remove(File());
  EXPECT_TRUE(Bind({{"SerialNumber", "SN7"}}).IsDownloadRequested());
  EXPECT_EQ(Bind({}).GetSource(), CXmlFileBinding::SourceDefault);
}

TEST_F(ConfigFileRegistry, AMalformedFileIsAnErrorNamingFileLineAndColumn) {
  const std::pair<const char*, const char*> cases[] = {
      {"<Binding><XmlFile>a.xml</XmlFile>\n", "line 3, column 3: "}, // not well-formed
      {"<Binding Model=\"HX\"><Download/></Binding>\n",
       "line 2, column 21: unknown attribute 'Model' (a Binding matches on DeviceClass, "
       "VendorName, ModelName, SerialNumber and FullName)"},
      {"<Binding><Download/><XmlFile>a.xml</XmlFile></Binding>\n",
       "line 2, column 55: a <Binding> needs either <Download/> or <XmlFile>, not both"},
      {"<Binding><MergeFile>a.xml</MergeFile></Binding>\n",
       "line 2, column 48: a <Binding> needs either <Download/> or <XmlFile>"},
      {"<Binding><XmlFile> </XmlFile></Binding>\n", "line 2, column 30: <XmlFile> names no file"},
      {"<Binding><Download/><Download/></Binding>\n",
       "line 2, column 32: <Download> is given twice in one <Binding>"},
      {"<Binding><File>a.xml</File></Binding>\n",
       "line 2, column 16: <File> is not allowed in <Binding>, only <Download/>, <XmlFile> and "
       "<MergeFile>"},
      {"<Binding>a.xml<Download/></Binding>\n",
       "line 2, column 15: text is not allowed in <Binding>"},
      {"<Device/>\n", "line 2, column 10: <Device> is not allowed in <XmlFileBindings>, only "
                      "<Binding>"},
  };
  for (const auto& [bindings, error] : cases) {
    Write(bindings);
    const std::string text = ErrorOf({});
    EXPECT_EQ(text.rfind("XML bindings file '" + File() + "', " + error, 0), 0u) << text;
  }
  std::ofstream(File()) << "<CLBindings/>";
  EXPECT_EQ(ErrorOf({}), "XML bindings file '" + File() +
                             "', line 1, column 14: the root element must be <XmlFileBindings>, "
                             "not <CLBindings>");
}

TEST_F(ConfigFileRegistry, EntitiesAndEndlessTextsAreRefusedNamingTheFile) {
  for (const auto& trick :
       testsupport::HostileXml(m_folder, GenApi::CSafeXmlReader::ConfigurationElementText)) {
    std::ofstream(File()) << "<?xml version=\"1.0\"?>" << trick.doctype
                          << "<XmlFileBindings><Binding><XmlFile>" << trick.text
                          << "</XmlFile></Binding></XmlFileBindings>";
    EXPECT_EQ(ErrorOf({}).rfind("XML bindings file '" + File() + "': " + trick.refusal, 0), 0u)
        << trick.what << ": " << ErrorOf({});
  }
}

TEST_F(ConfigFileRegistry, TextFilesAreReadWholeOrTheErrorNamesThePath) {
  const std::string path = m_folder + "/t.bin";
  const std::string content("a\0b\nc", 5);
  std::ofstream(path, std::ios::binary) << content;
  EXPECT_EQ(textFileToString(path), content);

  const std::pair<std::string, std::string> failures[] = {
      {m_folder + "/missing.xml", "No such file or directory"},
      {m_folder, "it is a folder"},
  };
  for (const auto& failure : failures) {
    const std::string& file = failure.first;
    EXPECT_EQ(testsupport::Thrown<GenICam::RuntimeException>([&] { textFileToString(file); }),
              "Could not read file '" + file + "': " + failure.second);
  }
}
