// Where the port configuration file is looked for, when it is read again, and what stays after a
// failure.
#include "PortConfiguration.h"
#include "ConfigTestSupport.h"

#include <Base/GCException.h>
#include <VorlaBase/Logging.h>

#include <gmock/gmock.h>

#include <thread>

using namespace ConfigTest;
using ::testing::StartsWith;
using Vorla::CPortConfiguration;

namespace {

const char kFileName[] = "PortConfiguration_x64.xml";

class PortConfiguration : public ::testing::Test {
protected:
  PortConfiguration() { m_bindings.Set(m_folder.Path().string()); }

  void Write(const std::string& text, int secondsOffset = 0) {
    WriteFile(m_path, text, secondsOffset);
  }
  size_t Reads() const { return m_log.CountContaining("Trying to load CLBindings from file"); }
  //! The text of the parse error that the load must throw.
  std::string LoadError() {
    const std::string text =
        testsupport::Thrown<GenICam::RuntimeException>([&] { m_config.LoadPortConfiguration(); });
    EXPECT_THAT(text, StartsWith("Failed to parse XML file '"));
    return text;
  }

  CEnvGuard m_bindings{"VORLA_CL_BINDINGS"};
  CEnvGuard m_xdg{"XDG_CONFIG_DIRS"};
  CTempFolder m_folder;
  std::string m_path = m_folder.File(kFileName);
  Vorla::Platform::CRecursiveMutex m_lock;
  CPortConfiguration m_config{m_lock};
  vxlog::CLogCapture m_log;
};

// VORLA_CL_BINDINGS names the folder (empty: the current one) whatever else is set.
TEST_F(PortConfiguration, ThePathComesFromTheVariable) {
  const std::string folder = fs::path("/opt/cameras/").make_preferred().string();
  m_xdg.Set("/must/not/be/used");
  for (const auto& [bindings, path] :
       {std::pair<std::string, std::string>{folder, folder + kFileName},
        {folder.substr(0, folder.size() - 1), folder + kFileName},
        {"", kFileName}}) {
    m_bindings.Set(bindings);
    EXPECT_EQ(CPortConfiguration::BuildPath(), path);
  }
  Write(Document(Port("here")));
  CWorkingDirectoryGuard cwd(m_folder.Path());
  ASSERT_EQ(m_config.LoadPortConfiguration(), 1u);
  EXPECT_EQ(m_config.GetPath(), kFileName);
  EXPECT_EQ(m_log.Count("Trying to load CLBindings from file 'PortConfiguration_x64.xml'"), 1u);
  EXPECT_EQ(m_config.GetTable()[0].ID, "here");
}

// Unset, the first folder of XDG_CONFIG_DIRS (or /etc/xdg) holds Hexmar/CLBindings.
TEST_F(PortConfiguration, WithoutTheVariableTheFirstXdgConfigFolderHoldsIt) {
  const std::string below = "/Hexmar/CLBindings/PortConfiguration_x64.xml";
  m_bindings.Unset();
  m_xdg.Unset();
  EXPECT_EQ(CPortConfiguration::BuildPath(), "/etc/xdg" + below);
  m_xdg.Set("/srv/xdg:/etc/xdg");
  EXPECT_EQ(CPortConfiguration::BuildPath(), "/srv/xdg" + below);

  const fs::path folder = m_folder.Path() / "xdg" / "Hexmar" / "CLBindings";
  fs::create_directories(folder);
  WriteFile((folder / kFileName).string(), Document(Port("machine")));
  m_xdg.Set((m_folder.Path() / "xdg").string() + ":" + m_folder.Path().string());
  ASSERT_EQ(m_config.LoadPortConfiguration(), 1u);
  EXPECT_EQ(m_config.GetPath(), (folder / kFileName).string());
  EXPECT_EQ(m_config.GetTable()[0].ID, "machine");
}

TEST_F(PortConfiguration, AMissingOrRemovedFileGivesAnEmptyTableWithoutParsing) {
  EXPECT_EQ(m_config.LoadPortConfiguration(), 0u);
  EXPECT_TRUE(m_log.Entries().empty());
  Write(Document(Port("TTY#ttyS0")));
  ASSERT_EQ(m_config.LoadPortConfiguration(), 1u);
  fs::remove(m_path);
  EXPECT_EQ(m_config.LoadPortConfiguration(), 0u);
  EXPECT_TRUE(m_config.GetTable().empty());
  EXPECT_EQ(m_config.GetModificationTime(), 0);
  // Written back with the very same time, it is read again: nothing is cached any more.
  Write(Document(Port("TTY#ttyS0")));
  EXPECT_EQ(m_config.LoadPortConfiguration(), 1u);
  EXPECT_EQ(Reads(), 2u);
}

// The file is read again when its path or its modification time changes, older or newer.
TEST_F(PortConfiguration, OnlyANewPathOrModificationTimeCausesARead) {
  Write(Document(Port("TTY#ttyS0")), 0);
  EXPECT_EQ(m_config.LoadPortConfiguration(), 1u);
  EXPECT_EQ(m_config.LoadPortConfiguration(), 1u);
  EXPECT_EQ(m_config.GetPath(), m_path);
  EXPECT_EQ(m_log.Count("Trying to load CLBindings from file '" + m_path + "'"), 1u);
  const auto firstTime = m_config.GetModificationTime();

  Write(Document(Port("TTY#ttyS0") + Port("TTY#ttyS1")), 1);
  EXPECT_EQ(m_config.LoadPortConfiguration(), 2u);
  EXPECT_EQ(Reads(), 2u);
  EXPECT_NE(m_config.GetModificationTime(), firstTime);
  EXPECT_EQ(m_config.GetTable()[1].ID, "TTY#ttyS1");
  fs::last_write_time(m_path, FixedTime(-5));
  EXPECT_EQ(m_config.LoadPortConfiguration(), 2u);
  EXPECT_EQ(Reads(), 3u);

  CTempFolder other;
  WriteFile(other.File(kFileName), Document(Port("second")), -5);
  m_bindings.Set(other.Path().string());
  EXPECT_EQ(m_config.LoadPortConfiguration(), 1u);
  EXPECT_EQ(m_config.GetPath(), other.File(kFileName));
  EXPECT_EQ(m_config.GetTable()[0].ID, "second");
  EXPECT_EQ(Reads(), 4u);
}

TEST_F(PortConfiguration, FailedReadKeepsTheLastGoodState) {
  Write(Document(Port("good")), 0);
  ASSERT_EQ(m_config.LoadPortConfiguration(), 1u);
  const auto goodTime = m_config.GetModificationTime();

  Write("<PortConfiguration><Port><ID>bad</ID></Port>", 1);
  const std::string description = LoadError();
  EXPECT_THAT(description, StartsWith("Failed to parse XML file '" + m_path + "' : '"));
  EXPECT_EQ(m_log.Count("Could not read CLBindings (" + description + ")"), 1u);
  ASSERT_EQ(m_config.GetTable().size(), 1u);
  EXPECT_EQ(m_config.GetTable()[0].ID, "good");
  EXPECT_EQ(m_config.GetModificationTime(), goodTime);

  // The broken file is not remembered, so every load tries it again until it is fixed.
  LoadError();
  EXPECT_EQ(Reads(), 3u);

  // Nor is a broken file at a new path.
  CTempFolder other;
  WriteFile(other.File(kFileName), "");
  m_bindings.Set(other.Path().string());
  LoadError();
  EXPECT_EQ(m_config.GetPath(), m_path);
  EXPECT_EQ(m_config.GetTable()[0].ID, "good");

  m_bindings.Set(m_folder.Path().string());
  Write(Document(Port("fixed") + Port("more")), 1);
  EXPECT_EQ(m_config.LoadPortConfiguration(), 2u);
  EXPECT_EQ(m_config.GetTable()[0].ID, "fixed");
}

TEST_F(PortConfiguration, StatusFailureOtherThanMissingIsTreatedAsAChange) {
  // The variable names a file, not a folder: the status call fails with "not a directory".
  const std::string notAFolder = m_folder.File("plain-file");
  WriteFile(notAFolder, "x");
  m_bindings.Set(notAFolder);
  const std::string path = notAFolder + "/" + kFileName;

  EXPECT_EQ(m_config.LoadPortConfiguration(), 0u);
  EXPECT_EQ(m_log.Count("CLBindings file '" + path + "' does not exist or could not be read."), 1u);
  EXPECT_EQ(m_config.GetPath(), path);
  EXPECT_EQ(m_config.GetModificationTime(), 0);
  EXPECT_EQ(m_config.LoadPortConfiguration(), 0u);
  EXPECT_EQ(Reads(), 2u);
}

TEST_F(PortConfiguration, ReadsHoldTheProcessXercesScopeOnlyWhileParsing) {
  Write(Document(Port("a")), 0);
  m_config.LoadPortConfiguration();
  EXPECT_EQ(GenApi::CXercesScope::Count(), 0u);
  Write("broken", 1);
  LoadError();
  EXPECT_EQ(GenApi::CXercesScope::Count(), 0u);
  // Initialised once for the process, not once per read.
  EXPECT_NE(xercesc::XMLPlatformUtils::fgTransService, nullptr);
}

TEST_F(PortConfiguration, ConcurrentReadsOfTwoTransportLayers) {
  std::string ports;
  for (int i = 0; i < 200; ++i)
    ports += Port("TTY#tty" + std::to_string(i));
  Write(Document(ports));

  // A fresh configuration parses on every load, so both threads keep Xerces busy.
  auto worker = [](unsigned int* failures) {
    for (int i = 0; i < 20; ++i) {
      Vorla::Platform::CRecursiveMutex lock;
      CPortConfiguration config(lock);
      *failures += config.LoadPortConfiguration() != 200u;
    }
  };
  unsigned int failures[2] = {0, 0};
  std::thread first(worker, &failures[0]);
  std::thread second(worker, &failures[1]);
  first.join();
  second.join();
  EXPECT_EQ(failures[0] + failures[1], 0u);
  EXPECT_EQ(Reads(), 40u);
  EXPECT_EQ(GenApi::CXercesScope::Count(), 0u);
}

} // namespace
