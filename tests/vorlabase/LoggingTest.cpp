#include <GenApi/GenApi.h>
#include <VorlaBase/Logging.h>

#include <gtest/gtest.h>

#include <string>
#include <thread>

TEST(Logging, CaptureRecordsExactLinesWithCategoryAndLevel) {
  vxlog::CLogCapture capture;
  const auto cat = vxlog::LogGetCatID("Vorla.CLSer.TL");
  const std::string longId(600, 'p');
  vxlog::LogTrace(cat, 32, "GetPortIDs() found %u ports.", 3u);
  vxlog::LogTrace(cat, 256, "Value %I64i", -5LL);
  vxlog::LogTrace(cat, 16, "%s", longId.c_str()); // log lines are not cut at 255

  const auto entries = capture.Entries();
  ASSERT_EQ(entries.size(), 3u);
  EXPECT_EQ(entries[0].category, "Vorla.CLSer.TL");
  EXPECT_EQ(entries[0].level, 32u);
  EXPECT_EQ(entries[0].text, "GetPortIDs() found 3 ports.");
  EXPECT_EQ(entries[1].text, "Value -5");
  EXPECT_EQ(entries[2].text, longId);
  EXPECT_EQ(capture.Count("Value -5"), 1u);
  EXPECT_EQ(capture.CountContaining("found"), 1u);
}

TEST(Logging, CaptureSeesEveryLevelWhateverTheFilterAndOnlyWhileItLives) {
  vxlog::LogSetFilter("256");
  const auto cat = vxlog::LogGetCatID("test");
  {
    vxlog::CLogCapture capture;
    testing::internal::CaptureStderr();
    vxlog::LogTrace(cat, 16, "quiet");
    vxlog::LogTrace(cat, 256, "loud");
    const std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(capture.Entries().size(), 2u);
    EXPECT_EQ(err.find("quiet"), std::string::npos);
    EXPECT_NE(err.find("loud"), std::string::npos);
  }
  vxlog::CLogCapture later;
  EXPECT_TRUE(later.Entries().empty());
  vxlog::LogSetFilter("32,test:16");
  testing::internal::CaptureStderr();
  vxlog::LogTrace(cat, 16, "category override");
  vxlog::LogTrace(vxlog::LogGetCatID("other"), 16, "below default");
  const std::string err = testing::internal::GetCapturedStderr();
  EXPECT_NE(err.find("category override"), std::string::npos);
  EXPECT_EQ(err.find("below default"), std::string::npos);
  vxlog::LogSetFilter("128");
}

TEST(Logging, ConcurrentWritersLoseNothing) {
  vxlog::CLogCapture capture;
  const auto cat = vxlog::LogGetCatID("threads");
  std::thread a([&] {
    for (int i = 0; i < 500; ++i)
      vxlog::LogTrace(cat, 16, "a %d", i);
  });
  std::thread b([&] {
    for (int i = 0; i < 500; ++i)
      vxlog::LogTrace(cat, 16, "b %d", i);
  });
  a.join();
  b.join();
  EXPECT_EQ(capture.Entries().size(), 1000u);
}

TEST(Logging, GenApiWarningsAreLinesOfTheirCategory) {
  vxlog::CLogCapture capture;
  GenApi::CNodeMapRef ref;
  ref._LoadXMLFromString(R"(<RegisterDescription ModelName="T" VendorName="V">
    <Integer Name="A"><pValue>Gone</pValue></Integer></RegisterDescription>)");
  const auto entries = capture.Entries();
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].category, "GenApi.Loader");
  EXPECT_EQ(entries[0].level, unsigned(vxlog::Warning));
  EXPECT_EQ(entries[0].text, "The description refers to the missing node 'Gone' (pValue of 'A'); "
                             "the nodes that need it are not implemented");
}
