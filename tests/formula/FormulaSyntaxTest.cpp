#include "FormulaTestSupport.h"
#include "TestSupport.h"

#include <Base/GCException.h>

using namespace FormulaTest;
using Names = std::vector<std::string>;

namespace {

// Identifiers are reported once, in order of first use; dotted names are one identifier; functions
// and the upper-case constants are not identifiers.
TEST(FormulaIdentifiers, ReportedOnceInOrderOfFirstUse) {
  const std::pair<const char*, Names> cases[] = {
      {"B + A * B - A", {"B", "A"}},
      {"(FROM * DIV) / MULT", {"FROM", "DIV", "MULT"}},
      {"0x1234", {}},
      {"SEL.Value + Width.Max / 2", {"SEL.Value", "Width.Max"}},
      {"TS.Entry.LineStart", {"TS.Entry.LineStart"}},
      {"ABS(X) + PI * R + E", {"X", "R"}},
      {"pi + e + Pi", {"pi", "e", "Pi"}},
      {"SK_bslTemperatureMax_mk_0 + _x1", {"SK_bslTemperatureMax_mk_0", "_x1"}},
  };
  for (const auto& [text, names] : cases)
    EXPECT_EQ(CFormula(text).Identifiers(), names) << text;
  EXPECT_EQ(EvalInt("Width.Max/2", {{"Width.Max", I(640)}}), 320);
}

TEST(FormulaIdentifiers, BoundNamesShadowConstants) {
  const CFormula formula("E * 2 + PI", {"E"});
  EXPECT_EQ(formula.Identifiers(), (Names{"E"}));
  EXPECT_DOUBLE_EQ(formula.Evaluate([](size_t) { return I(5); }, false).AsFloat(),
                   10 + 3.14159265358979323846);
}

// Every malformed formula gives a RuntimeException whose text names the reason, the position
// and the formula.
struct BadFormula {
  std::string Text;
  const char* Reason;
  int Position;
};

void PrintTo(const BadFormula& bad, std::ostream* os) {
  *os << '"' << bad.Text.substr(0, 40).c_str() << '"';
}

class FormulaBadInput : public ::testing::TestWithParam<BadFormula> {};

std::string Rejection(const std::string& text) {
  return testsupport::Thrown<GenICam::RuntimeException>([&] { CFormula formula(text); });
}

std::string Repeat(const char* part, int times) {
  std::string s;
  for (int i = 0; i < times; ++i)
    s += part;
  return s;
}

TEST_P(FormulaBadInput, ThrowsRuntimeExceptionWithPosition) {
  const BadFormula& bad = GetParam();
  const std::string text = Rejection(bad.Text);
  EXPECT_NE(text.find(bad.Reason), std::string::npos) << text;
  EXPECT_NE(text.find("position " + std::to_string(bad.Position) + ":"), std::string::npos) << text;
  // Control characters are shown as blanks so that the message stays on one line.
  std::string shown = bad.Text.substr(0, 40);
  for (char& c : shown)
    if (static_cast<unsigned char>(c) < 0x20)
      c = ' ';
  EXPECT_NE(text.find("in '" + shown), std::string::npos) << text;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, FormulaBadInput,
    ::testing::Values(BadFormula{"", "empty formula", 1}, BadFormula{"   ", "empty formula", 4},
                      BadFormula{"(1+2", "missing ')'", 5}, BadFormula{"1+2)", "unbalanced ')'", 4},
                      BadFormula{"ABS(1", "missing ')'", 6}, BadFormula{"1+", "operand missing", 3},
                      BadFormula{"1 * (2 +)", "operand expected instead of ')'", 9},
                      BadFormula{"*2", "operand expected instead of '*'", 1},
                      BadFormula{"()", "operand expected instead of ')'", 2},
                      BadFormula{"FOO(1)", "unknown function 'FOO'", 1},
                      BadFormula{"ABS()", "ABS takes 1 argument(s), not 0", 1},
                      BadFormula{"2*ABS(1,2)", "ABS takes 1 argument(s), not 2", 3},
                      BadFormula{"ROUND(1,2,3)", "ROUND takes 1 or 2 argument(s), not 3", 1},
                      BadFormula{"1 ? 2", "':' expected instead of end of formula", 6},
                      BadFormula{"1 2", "operator expected instead of number '2'", 3},
                      BadFormula{"A B", "operator expected instead of 'B'", 3},
                      BadFormula{"1,2", "operator expected instead of ','", 2},
                      BadFormula{"1 == 2", "operand expected instead of '='", 4},
                      BadFormula{"1 ! 2", "operator expected instead of '!'", 3},
                      BadFormula{"0x", "hexadecimal number without digits", 1},
                      BadFormula{"1+0x1G", "malformed number", 3},
                      BadFormula{"0x10000000000000000", "exceeds 64 bits", 1},
                      BadFormula{"1e+", "exponent without digits", 1},
                      BadFormula{"2A", "malformed number", 1},
                      BadFormula{"1.2.3", "malformed number", 1},
                      BadFormula{"1 $ 2", "unexpected character '$'", 3},
                      BadFormula{"1 + \x01", "unexpected byte 0x01", 5},
                      BadFormula{std::string("1 +\0 2", 6), "unexpected byte 0x00", 4},
                      // a long formula keeps the reason and position in the message
                      BadFormula{std::string(300, 'A') + " +", "operand missing", 303}));

TEST(FormulaNesting, ReasonableDepthIsAccepted) {
  const std::string parens = std::string(200, '(') + "1" + std::string(200, ')');
  EXPECT_EQ(EvalInt(parens), 1);
  const std::string chain = "1" + Repeat("+1", 999);
  EXPECT_EQ(EvalInt(chain), 1000);
}

TEST(FormulaNesting, ExcessiveDepthIsRejectedWithoutExhaustingTheStack) {
  const std::string deep[] = {
      std::string(100000, '(') + "1" + std::string(100000, ')'),
      std::string(100000, '-') + "1",
      std::string(100000, '~') + "1",
      Repeat("2**", 50000) + "2",
      Repeat("1?", 50000) + "1" + Repeat(":1", 50000),
      Repeat("ABS(", 50000) + "1" + std::string(50000, ')'),
      "1" + Repeat("+1", 100000),
  };
  for (const std::string& text : deep)
    EXPECT_NE(Rejection(text).find("nested too deeply"), std::string::npos) << text.substr(0, 12);
}

} // namespace
