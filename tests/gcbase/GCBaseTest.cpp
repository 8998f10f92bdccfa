#include <Base/ForeignText.h>
#include <Base/GCBase.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>

using namespace GenICam;

TEST(Exceptions, CarryTextTypeFileAndLine) {
  try {
    throw RUNTIME_EXCEPTION("Could not open port '%s'", "TTY#ttyS4");
  } catch (const std::exception& e) { // GenICam exceptions are standard exceptions too
    const auto& g = dynamic_cast<const RuntimeException&>(e);
    EXPECT_STREQ(g.GetDescription(), "Could not open port 'TTY#ttyS4'");
    EXPECT_STREQ(g.GetSourceFileName(), "GCBaseTest.cpp");
    EXPECT_EQ(g.GetSourceLine(), static_cast<unsigned>(__LINE__ - 5));
    EXPECT_EQ(std::string(g.what()),
              "Could not open port 'TTY#ttyS4' : RuntimeException thrown (file 'GCBaseTest.cpp', "
              "line " + std::to_string(g.GetSourceLine()) + ")");
  }
}

TEST(Exceptions, NodeErrorsNameNodeAndEntryPoint) {
  const auto e = ExceptionReporter<OutOfRangeException>("IntegerT.h", 79, "Width.SetValue()", "Width")
                     .Report("Value = %lld must be equal or smaller than Max = %lld.", 2000LL, 1936LL);
  EXPECT_STREQ(e.what(), "Value = 2000 must be equal or smaller than Max = 1936. : "
                         "OutOfRangeException thrown in node 'Width' while calling "
                         "'Width.SetValue()' (file 'IntegerT.h', line 79)");
}

TEST(Exceptions, MessagesAreTruncatedAt255Characters) {
  const std::string longText(400, 'x');
  const auto e = LOGICAL_ERROR_EXCEPTION("%s", longText.c_str());
  EXPECT_EQ(std::string(e.GetDescription()), std::string(255, 'x'));
  // A message that fits stays whole.
  EXPECT_EQ(std::string(RUNTIME_EXCEPTION("%s", std::string(255, 'y').c_str()).GetDescription()),
            std::string(255, 'y'));
}

TEST(Exceptions, WindowsSixtyFourBitFormatsArePortable) {
  EXPECT_EQ(FormatMessage256("Value %I64i out of range (%i..%i)", 2147483648LL, -2147483647 - 1,
                             2147483647),
            "Value 2147483648 out of range (-2147483648..2147483647)");
  EXPECT_EQ(FormatMessage256("Address=%I64 (%I64#x)", 0xc05ec0c10cLL, 0xc05ec0c10cLL),
            "Address=" + std::to_string(0xc05ec0c10cLL) + " (0xc05ec0c10c)");
  EXPECT_EQ(FormatMessage256("100%% done"), "100% done");
}

TEST(Exceptions, ForeignTextsAreFormattedWithoutReadingArguments) {
  const std::pair<const char*, const char*> cases[] = {
      {"100%% at %d fps", "100% at 0 fps"},
      {"%5.2f|%-3i|%#x|%I64d|%lld|%e", " 0.00|0  |0|0|0|0.000000e+00"},
      {"Board=%s%s%s%s%n Channel=3", "Board=%s%s%s%s%n Channel=3"},
      {"%p %c %*d %.*f %ls %y", "%p %c %*d %.*f %ls %y"},
      {"ends in %", "ends in %"},
  };
  for (const auto& [text, formatted] : cases)
    EXPECT_EQ(GenICam::FormatForeignText256(text), formatted) << text;
  EXPECT_EQ(GenICam::FormatForeignText256(std::string(300, '%').c_str()), std::string(150, '%'));
  EXPECT_EQ(GenICam::FormatForeignText256(std::string(300, 'x').c_str()).size(), 255u);
}

TEST(Environment, ReplacesVariablesInTheDollarParenthesisForm) {
  ::setenv("VORLA_TEST_DIR", "/opt/cl", 1);
  ::unsetenv("VORLA_TEST_UNSET");
  gcstring path = "$(VORLA_TEST_DIR)/Linux64_x64/$(VORLA_TEST_DIR)";
  EXPECT_TRUE(ReplaceEnvironmentVariables(path));
  EXPECT_EQ(path, "/opt/cl/Linux64_x64//opt/cl");

  gcstring missing = "a$(VORLA_TEST_UNSET)b";
  EXPECT_FALSE(ReplaceEnvironmentVariables(missing));
  EXPECT_EQ(missing, "ab");

  gcstring unterminated = "x$(VORLA_TEST_DIR";
  ReplaceEnvironmentVariables(unterminated);
  EXPECT_EQ(unterminated, "x$(VORLA_TEST_DIR");

  gcstring blanks = "$(VORLA_TEST_DIR) b";
  ReplaceEnvironmentVariables(blanks, true);
  EXPECT_EQ(blanks, "/opt/cl%20b");
}
