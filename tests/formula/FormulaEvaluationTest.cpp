#include "FormulaTestSupport.h"
#include "TestSupport.h"

#include <Base/GCException.h>

#include <cmath>
#include <limits>

using namespace FormulaTest;

namespace {

constexpr int64_t Int64Min = std::numeric_limits<int64_t>::min();
constexpr int64_t Int64Max = std::numeric_limits<int64_t>::max();

struct SIntCase {
  const char* m_Text;
  int64_t m_Expected;
  Variables m_Variables = {};
};

// Integer mode (IntSwissKnife, IntConverter): precedence, associativity, types and arithmetic.
TEST(FormulaEvaluation, IntegerMode) {
  const Variables min{{"X", I(Int64Min)}};
  // clang-format off
  const SIntCase cases[] = {
      // Arithmetic binds as in C; bitwise operators are looser than comparisons.
      {"1 + 2 * 3", 7}, {"(1 + 2) * 3", 9}, {"2 ** 3 * 2", 16}, {"1 + 2 << 1", 6},
      {"1 << 2 < 5", 1}, {"3 < 2 = 0", 1}, {"6 & 3 = 3", 0}, // 6 & (3 = 3)
      {"1 | 2 ^ 3 & 1", 3}, // 1 | (2 ^ (3 & 1))
      {"0x12345678 >> 16 & 0xFF", 0x34}, {"5 ^ 3", 6}, // xor, not power
      // && binds tighter than ||, comparisons tighter than both (a vendor formula relies on it).
      {"1 || 0 && 0", 1}, {"0 && 1 || 1", 1}, {"A = 3 || A = 1", 0, {{"A", I(2)}}},
      {"A = 3 || A = 1", 1, {{"A", I(1)}}},
      // The ternary is loosest and right-associative.
      {"1 ? 2 : 3 + 4", 2}, {"0 ? 2 : 3 + 4", 7}, {"1 || 0 ? 5 : 6", 5}, {"0 ? 2 : 1 ? 3 : 4", 3},
      {"0 ? 2 : 0 ? 3 : 4", 4}, {"1 ? 0 ? 5 : 6 : 7", 6},
      // Binary operators are left-associative except power; unary ones bind tighter than power.
      {"10 - 4 - 3", 3}, {"100 / 10 / 5", 2}, {"100 % 30 % 7", 3}, {"64 >> 2 >> 1", 8},
      {"2 ** 3 ** 2", 512}, {"-2 ** 2", 4}, {"- -3", 3}, {"+3", 3}, {"-~0", 1}, {"~5 & 0xF", 10},
      {"!0 + !7", 1},
      // Blanks are ignored.
      {" \t1\n+\r\n2 ", 3}, {"1<<2", 4}, {"1<>2", 1}, {"2<=2", 1}, {"ROUND ( 2.5 , 0 )", 3},
      // Integers divide as integers; a float result is truncated only at the end.
      {"7 / 2", 3}, {"(7 / 2) * 2.0", 6}, {"7 / 2.0", 3}, {"0.1 * TO", 10, {{"TO", I(100)}}},
      {"-7.9", -7}, {"X", Int64Max, {{"X", F(1e300)}}}, {"X", Int64Min, {{"X", F(-1e300)}}},
      {"X", 0, {{"X", F(std::nan(""))}}},
      // Overflow wraps; comparisons promote to double when either side is one.
      {"9223372036854775807 + 1", Int64Min},
      {"3037000500 * 3037000500", int64_t(-9223372036709301616)}, {"2 ** 64", 0}, {"1 = 1.0", 1},
      {"2.5 > 2", 1}, {"X <> 9007199254740993", 1, {{"X", I(9007199254740992)}}},
      // Division and remainder truncate toward zero; the minimum stays defined.
      {"-7 / 2", -3}, {"7 / -2", -3}, {"-7 % 2", -1}, {"7 % -2", 1}, {"X / -1", Int64Min, min},
      {"X % -1", 0, min}, {"-X", Int64Min, min}, {"ABS(X)", Int64Min, min},
      // Shifts are arithmetic and defined for any count.
      {"1 << 63", Int64Min}, {"1 << 64", 0}, {"-8 >> 1", -4}, {"-1 >> 70", -1}, {"1 >> 64", 0},
      {"4 << -1", 2}, {"4 >> -1", 8}, {"1 << 2.9", 4}, {"-1 << 4", -16},
      // Literals of every form.
      {"0xFF + 0X10 + 0xaB", 255 + 16 + 171}, {"0xFFFFFFFFFFFFFFFF", -1},
      {"0x00000000000000000001", 1},
      // Logic gives 0 or 1; branches not taken are neither evaluated nor read.
      {"5 && 3", 1}, {"0 || 0.5", 1}, {"0.0 || 0", 0}, {"1 || X", 1}, {"0 && X", 0},
      {"(D = 0) ? 0 : 10 / D", 0, {{"D", I(0)}}}, {"(D = 0) ? 0 : 10 / D", 2, {{"D", I(5)}}},
      // Integer functions keep the type.
      {"SGN(-3) + 10 * SGN(0) + 100 * SGN(2.5)", 99}, {"NEG(4)", -4},
      {"ABS(MAXIMUM - INDEX-1)", 5, {{"MAXIMUM", I(3)}, {"INDEX", I(7)}}},
      {"FLOOR(0x4000000000000001)", 0x4000000000000001}, {"ROUND(7) + ROUND(7, 2)", 14},
      {"PI * 100", 314}, {"ROUND(FROM * SCALE)", 3, {{"FROM", F(2.6)}, {"SCALE", I(1)}}},
      // A payload size of Mono12Packed: the product is taken before the division.
      {"W * H * ((PF >> 16) & 0xFF) / 8", 22, {{"W", I(5)}, {"H", I(3)}, {"PF", I(0x010C0006)}}},
  };
  // clang-format on
  for (const SIntCase& c : cases)
    EXPECT_EQ(EvalInt(c.m_Text, c.m_Variables), c.m_Expected) << c.m_Text;
}

// Float mode (SwissKnife, Converter): division in double, overflow widens, math functions.
TEST(FormulaEvaluation, FloatMode) {
  // clang-format off
  const std::pair<const char*, double> cases[] = {
      {"2 ** -1", 0.5}, {"7 / 2", 3.5}, {"9223372036854775807 + 1", 9223372036854775808.0},
      {"2 ** 64", 18446744073709551616.0}, {"-9223372036854775807 - 2", -9223372036854775809.0},
      {"7.5 % 2", 1.5}, {"7 % 3", 1.0}, {".5 + 2.25 + 5.", 7.75},
      {"1e6 + 1e+05 + 25E-1", 1100002.5}, {"99999999999999999999", 1e20}, // beyond int64: a double
      {"ABS(-2.5)", 2.5}, {"SQRT(16)", 4.0}, {"EXP(0)", 1.0}, {"LN(E)", 1.0}, {"LG(1000)", 3.0},
      {"SIN(PI / 2)", 1.0}, {"COS(0)", 1.0}, {"TAN(0)", 0.0}, {"ASIN(1)", M_PI / 2},
      {"ACOS(1)", 0.0}, {"ATAN(1)", M_PI / 4}, {"sqrt(4) + Sqrt(9)", 5.0}, {"TRUNC(-2.7)", -2.0},
      {"FLOOR(-2.7)", -3.0}, {"CEIL(-2.2)", -2.0}, {"ROUND(2.5)", 3.0}, // half away from zero
      {"ROUND(-2.5)", -3.0}, {"ROUND(3.14159, 2)", 3.14}, {"ROUND(1234.5, 0)", 1235.0},
      {"ROUND(1234, -2)", 1200.0},
  };
  // clang-format on
  for (const auto& [text, expected] : cases)
    EXPECT_DOUBLE_EQ(EvalFloat(text), expected) << text;
  EXPECT_DOUBLE_EQ(EvalFloat("MULT / DIV", {{"MULT", I(1)}, {"DIV", I(4)}}), 0.25);

  // Integers stay exact, and so do comparisons and integer functions.
  const FormulaValue exact = Evaluate("(1 << 53) + 1", false);
  ASSERT_FALSE(exact.IsFloat);
  EXPECT_EQ(exact.Int, (int64_t(1) << 53) + 1);
  EXPECT_EQ(Evaluate("0x8000000000000001 & 1", false).Int, 1);
  const FormulaValue flag = Evaluate("2.5 > 2", false);
  EXPECT_FALSE(flag.IsFloat);
  EXPECT_EQ(flag.Int, 1);
  EXPECT_FALSE(Evaluate("ABS(-5)", false).IsFloat);
  EXPECT_FALSE(Evaluate("1e3", true).IsFloat);
  EXPECT_TRUE(Evaluate("1e3", false).IsFloat);
}

TEST(FormulaEvaluation, IntegerDivisionByZeroThrowsNamingTheFormula) {
  for (const char* text : {"1 / 0", "5 % 0", "X / (X - X)"}) {
    const std::string thrown = testsupport::Thrown<GenICam::RuntimeException>([&] {
      EvalInt(text, {{"X", I(3)}});
    });
    EXPECT_NE(thrown.find("division by zero"), std::string::npos) << thrown;
    EXPECT_NE(thrown.find(text), std::string::npos) << thrown;
  }
  EXPECT_THROW(Evaluate("5 % 0", false), GenICam::RuntimeException);
  EXPECT_TRUE(std::isinf(EvalFloat("1 / 0")));
  EXPECT_TRUE(std::isnan(EvalFloat("1.5 % 0")));
}

TEST(FormulaVariables, EachIdentifierIsResolvedAtMostOncePerEvaluation) {
  const CFormula formula("X * X + X - Y");
  int reads = 0;
  const auto resolve = [&](size_t id) {
    ++reads;
    return I(id == 0 ? 3 : 1);
  };
  EXPECT_EQ(formula.Evaluate(resolve, true).Int, 11);
  EXPECT_EQ(reads, 2);
  EXPECT_EQ(formula.Evaluate(resolve, true).Int, 11); // no memory between evaluations
  EXPECT_EQ(reads, 4);

  std::string text = "V0";
  Variables variables{{"V0", I(0)}};
  for (int i = 1; i < 40; ++i) {
    text += "+V" + std::to_string(i);
    variables["V" + std::to_string(i)] = I(i);
  }
  EXPECT_EQ(EvalInt(text, variables), 39 * 40 / 2);

  EXPECT_THROW(
      CFormula("1 + X").Evaluate(
          [](size_t) -> FormulaValue { throw GenICam::AccessException("n/a", "x", 1); }, true),
      GenICam::AccessException);
}

} // namespace
