// The GenCP driver's description cache: what a cached open sends, which cameras are cached, and
// how a damaged, shared, full or unwritable cache behaves. Plain and zipped descriptions both
// come through it.
#include "DescriptionCache.h"
#include "Driver.h"
#include "DriverSupport.h"

#include <camsim/CameraXml.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;
using camsim::SCameraOptions;
using GenCPDriver::CDescriptionCache;

namespace {

std::vector<std::string> g_Warnings;
void CLPROTOCOL Collect(CLINT32 level, const char* format, va_list args) {
  char line[512];
  std::vsnprintf(line, sizeof line, format, args);
  if (level == CLP_LOG_WARN)
    g_Warnings.push_back(line);
}

class GenCPDescriptionCache : public GenCPDriverFixture {
protected:
  void SetUp() override {
    m_Dir = fs::temp_directory_path() / ("vorla-cache-" + std::to_string(::getpid()));
    fs::remove_all(m_Dir);
    ::setenv(CDescriptionCache::EnvironmentVariable, m_Dir.c_str(), 1);
    GenCPDriver::CDriver::Instance().Logger().Set(Collect);
    GenCPDriver::CDriver::Instance().Logger().SetLevel(CLP_LOG_WARN);
    g_Warnings.clear();
  }
  void TearDown() override {
    GenCPDriverFixture::TearDown();
    GenCPDriver::CDriver::Instance().Logger().Set(nullptr);
    ::setenv(CDescriptionCache::EnvironmentVariable, "off", 1);
    fs::remove_all(m_Dir);
  }
  // Opens a new camera with `options` and fetches its description; answers the bytes the
  // description took on the line.
  std::uint64_t Open(const SCameraOptions& options) {
    if (m_Cookie)
      clpDisconnect(m_Cookie);
    m_Cookie = 0;
    Connect(options);
    std::string ids, xml;
    EXPECT_EQ(XmlIds(ids), CL_ERR_NO_ERR);
    const std::uint64_t before = m_Serial->BytesRead();
    EXPECT_EQ(Xml(ids, xml), CL_ERR_NO_ERR);
    EXPECT_EQ(xml, camsim::CameraXml());
    return m_Serial->BytesRead() - before;
  }
  std::size_t Entries() const {
    std::size_t n = 0;
    for (const auto& e : fs::directory_iterator(m_Dir, m_Error))
      n += e.path().filename().string().size() == 40;
    return n;
  }

  fs::path m_Dir;
  mutable std::error_code m_Error;
};

SCameraOptions Plain(bool sha1 = true) {
  SCameraOptions o;
  o.m_PublishSha1 = sha1;
  return o;
}
SCameraOptions Zipped() {
  SCameraOptions o;
  o.m_Zip = true;
  return o;
}

} // namespace

TEST_F(GenCPDescriptionCache, SecondOpenReadsNoDescriptionBytesAndNewHashesAreFetched) {
  const std::uint64_t first = Open(Plain());
  EXPECT_GT(first, camsim::CameraXml().size());
  EXPECT_EQ(Entries(), 1u);
  EXPECT_EQ(Open(Plain()), 0u) << "the cached description came over the line";
  // Another description (the zipped file has another SHA-1) is downloaded, unpacked and kept
  // beside it.
  EXPECT_GT(Open(Zipped()), 0u);
  EXPECT_LT(m_Camera->ServedXmlFile().size(), camsim::CameraXml().size() / 3);
  EXPECT_EQ(Entries(), 2u);
  EXPECT_EQ(Open(Zipped()), 0u);
  EXPECT_TRUE(g_Warnings.empty());
  // A camera without a hash is never cached.
  EXPECT_GT(Open(Plain(false)), 0u);
  EXPECT_GT(Open(Plain(false)), 0u);
  EXPECT_EQ(Entries(), 2u);
}

TEST_F(GenCPDescriptionCache, DamagedEntryIsReplacedAndUnwritableCacheDownloadsWithOneWarning) {
  Open(Plain());
  const fs::path entry = fs::directory_iterator(m_Dir)->path();
  for (const char* damage : {"garbage", ""}) {
    std::ofstream(entry, std::ios::trunc) << damage;
    g_Warnings.clear();
    EXPECT_GT(Open(Plain()), 0u);
    ASSERT_EQ(g_Warnings.size(), 1u);
    EXPECT_NE(g_Warnings[0].find("downloading"), std::string::npos) << g_Warnings[0];
    EXPECT_EQ(Open(Plain()), 0u) << "not replaced";
  }
  // An unwritable cache costs a download and one warning.
  g_Warnings.clear();
  std::ofstream(m_Dir / "file") << "x";
  ::setenv(CDescriptionCache::EnvironmentVariable, (m_Dir / "file" / "cache").c_str(), 1);
  EXPECT_GT(Open(Plain()), 0u);
  ASSERT_EQ(g_Warnings.size(), 1u);
  EXPECT_NE(g_Warnings[0].find("cannot create the description cache"), std::string::npos);
  ::setenv(CDescriptionCache::EnvironmentVariable, "off", 1);
  EXPECT_GT(Open(Plain()), 0u);
  EXPECT_EQ(g_Warnings.size(), 1u);
}

// The cache on its own: eviction and writers in several processes.
TEST_F(GenCPDescriptionCache, LeastRecentlyUsedEntriesLeaveFirstAndConcurrentWritersAllSucceed) {
  const std::vector<std::uint8_t> a(400, 'a'), b(400, 'b'), c(400, 'c');
  const auto sha = [](const std::vector<std::uint8_t>& f) {
    return GenCP::Sha1(f.data(), f.size());
  };
  CDescriptionCache cache(m_Dir.string(), 1000, 1000);
  std::string warning;
  std::vector<std::uint8_t> out;
  ASSERT_TRUE(cache.Store(sha(a), a, warning)) << warning;
  ASSERT_TRUE(cache.Store(sha(b), b, warning));
  // Both look old; a is used again, so b is the least recently used when c needs room.
  for (const auto& entry : fs::directory_iterator(m_Dir))
    fs::last_write_time(entry.path(), fs::file_time_type::clock::now() - std::chrono::hours(2));
  ASSERT_TRUE(cache.Find(sha(a), out, warning));
  ASSERT_TRUE(cache.Store(sha(c), c, warning));
  EXPECT_FALSE(cache.Find(sha(b), out, warning));
  EXPECT_TRUE(cache.Find(sha(a), out, warning) && out == a);
  EXPECT_TRUE(cache.Find(sha(c), out, warning) && out == c);

  // Two processes fill the same entry over and over while reading it back.
  const std::string xml = camsim::CameraXml();
  const std::vector<std::uint8_t> big(xml.begin(), xml.end());
  CDescriptionCache shared(m_Dir.string(), 1u << 20, 1u << 20);
  pid_t children[2];
  for (pid_t& child : children) {
    child = ::fork();
    if (child == 0) {
      bool ok = true;
      for (int i = 0; i < 50 && ok; ++i) {
        std::string w;
        std::vector<std::uint8_t> got;
        ok = shared.Store(sha(big), big, w) && shared.Find(sha(big), got, w) && got == big;
      }
      ::_exit(ok ? 0 : 1);
    }
  }
  for (pid_t child : children) {
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  EXPECT_TRUE(shared.Find(sha(big), out, warning) && out == big);
}
