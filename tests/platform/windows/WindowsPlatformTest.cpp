// The platform layer's Windows behaviours, observed through Windows itself.
#include <platform/DynamicLibrary.h>
#include <platform/Environment.h>
#include <platform/SystemPaths.h>

#include <gtest/gtest.h>

#include <shlobj.h>
#include <windows.h>

#include <string>

using namespace Vorla::Platform;

// The library is loaded from a path written with '/', through the native form; while it loads,
// critical-error boxes are off (mode 1) and the caller's mode is back right after.
TEST(WindowsPlatform, LoadsNativePathWithCriticalErrorsSuppressed) {
  const std::string path = LOAD_PROBE_DIR "/" LOAD_PROBE_NAME;
  const std::string native = CDynamicLibrary::NativePath(path);
  ASSERT_EQ(native.find('/'), std::string::npos) << native;

  const UINT before = SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX;
  ::SetErrorMode(before);
  CDynamicLibrary probe;
  ASSERT_TRUE(probe.Load(native)) << probe.LastError();
  EXPECT_EQ(::GetErrorMode(), before);
  EXPECT_EQ(*static_cast<UINT*>(probe.Symbol("g_errorModeAtLoad")), UINT(SEM_FAILCRITICALERRORS));
  const std::string loadedFrom = static_cast<const char*>(probe.Symbol("g_loadedFrom"));
  // Wine puts its drive letter in front of a rooted Unix path.
  ASSERT_GE(loadedFrom.size(), native.size());
  EXPECT_EQ(loadedFrom.substr(loadedFrom.size() - native.size()), native);

  CDynamicLibrary missing;
  EXPECT_FALSE(missing.Load(native + ".absent"));
  EXPECT_EQ(::GetErrorMode(), before);
  EXPECT_NE(missing.LastError().find("126"), std::string::npos) << missing.LastError();
  ::SetErrorMode(0);
}

// The machine configuration folder is common application data, created if missing; PathAppend
// joins with exactly one '\'; an empty variable is set, also right after a missing one left the
// error 203 behind.
TEST(WindowsPlatform, ConfigurationFolderPathsAndEnvironment) {
  char expected[MAX_PATH];
  ASSERT_EQ(::SHGetFolderPathA(nullptr, CSIDL_COMMON_APPDATA, nullptr, 0, expected), S_OK);
  const std::string folder = MachineConfigFolder();
  EXPECT_EQ(folder, expected);
  EXPECT_NE(::GetFileAttributesA(folder.c_str()) & FILE_ATTRIBUTE_DIRECTORY, 0u);

  EXPECT_EQ(PathAppend("C:\\data", "Hexmar\\CLBindings"), "C:\\data\\Hexmar\\CLBindings");
  EXPECT_EQ(PathAppend("C:\\data\\", "PortConfiguration_x64.xml"),
            "C:\\data\\PortConfiguration_x64.xml");

  std::string value = "untouched";
  ::SetEnvironmentVariableA("VORLA_TEST_EMPTY", "");
  ::SetEnvironmentVariableA("VORLA_TEST_ABSENT", nullptr);
  EXPECT_FALSE(GetEnv("VORLA_TEST_ABSENT", value));
  EXPECT_TRUE(GetEnv("VORLA_TEST_EMPTY", value));
  EXPECT_EQ(value, "");
}
