#include "FormulaTestSupport.h"

#include <Base/GCException.h>

#include <cmath>
#include <limits>

using namespace FormulaTest;

namespace {

constexpr int64_t Int64Min = std::numeric_limits<int64_t>::min();
constexpr int64_t Int64Max = std::numeric_limits<int64_t>::max();

TEST(FormulaPrecedence, ArithmeticBindsAsInC) {
  EXPECT_EQ(EvalInt("1 + 2 * 3"), 7);
  EXPECT_EQ(EvalInt("(1 + 2) * 3"), 9);
  EXPECT_EQ(EvalInt("2 ** 3 * 2"), 16);
  EXPECT_EQ(EvalInt("1 + 2 << 1"), 6);
  EXPECT_EQ(EvalInt("1 << 2 < 5"), 1);
  EXPECT_EQ(EvalInt("3 < 2 = 0"), 1);
}

TEST(FormulaPrecedence, BitwiseOperatorsAreLooserThanComparisons) {
  EXPECT_EQ(EvalInt("6 & 3 = 3"), 0);     // 6 & (3 = 3)
  EXPECT_EQ(EvalInt("1 | 2 ^ 3 & 1"), 3); // 1 | (2 ^ (3 & 1))
  EXPECT_EQ(EvalInt("0x12345678 >> 16 & 0xFF"), 0x34);
  EXPECT_EQ(EvalInt("5 ^ 3"), 6); // xor, not power
}

TEST(FormulaPrecedence, LogicalAndBindsTighterThanOr) {
  EXPECT_EQ(EvalInt("1 || 0 && 0"), 1);
  EXPECT_EQ(EvalInt("0 && 1 || 1"), 1);
  // A vendor formula relying on comparisons binding tighter than ||.
  EXPECT_EQ(EvalInt("A = 3 || A = 1", {{"A", I(2)}}), 0);
  EXPECT_EQ(EvalInt("A = 3 || A = 1", {{"A", I(1)}}), 1);
}

TEST(FormulaPrecedence, TernaryIsLoosestAndRightAssociative) {
  EXPECT_EQ(EvalInt("1 ? 2 : 3 + 4"), 2);
  EXPECT_EQ(EvalInt("0 ? 2 : 3 + 4"), 7);
  EXPECT_EQ(EvalInt("1 || 0 ? 5 : 6"), 5);
  EXPECT_EQ(EvalInt("0 ? 2 : 1 ? 3 : 4"), 3);
  EXPECT_EQ(EvalInt("0 ? 2 : 0 ? 3 : 4"), 4);
  EXPECT_EQ(EvalInt("1 ? 0 ? 5 : 6 : 7"), 6);
}

TEST(FormulaPrecedence, BinaryOperatorsAreLeftAssociativeExceptPower) {
  EXPECT_EQ(EvalInt("10 - 4 - 3"), 3);
  EXPECT_EQ(EvalInt("100 / 10 / 5"), 2);
  EXPECT_EQ(EvalInt("100 % 30 % 7"), 3);
  EXPECT_EQ(EvalInt("64 >> 2 >> 1"), 8);
  EXPECT_EQ(EvalInt("2 ** 3 ** 2"), 512);
}

TEST(FormulaPrecedence, UnaryOperatorsBindTighterThanPower) {
  EXPECT_EQ(EvalInt("-2 ** 2"), 4);
  EXPECT_DOUBLE_EQ(EvalFloat("2 ** -1"), 0.5);
  EXPECT_EQ(EvalInt("- -3"), 3);
  EXPECT_EQ(EvalInt("+3"), 3);
  EXPECT_EQ(EvalInt("-~0"), 1);
  EXPECT_EQ(EvalInt("~5 & 0xF"), 10);
  EXPECT_EQ(EvalInt("!0 + !7"), 1);
}

TEST(FormulaTypes, IntegerModeDividesIntegersAndTruncatesTheResult) {
  EXPECT_EQ(EvalInt("7 / 2"), 3);
  EXPECT_EQ(EvalInt("(7 / 2) * 2.0"), 6);
  EXPECT_EQ(EvalInt("7 / 2.0"), 3);                     // computed as 3.5, then truncated
  EXPECT_EQ(EvalInt("0.1 * TO", {{"TO", I(100)}}), 10); // a float literal is not truncated early
  EXPECT_EQ(EvalInt("-7.9"), -7);
  EXPECT_EQ(EvalInt("X", {{"X", F(1e300)}}), Int64Max);
  EXPECT_EQ(EvalInt("X", {{"X", F(std::nan(""))}}), 0);
}

TEST(FormulaTypes, FloatModeDividesInDoubleButKeepsIntegersExact) {
  EXPECT_DOUBLE_EQ(EvalFloat("7 / 2"), 3.5);
  EXPECT_DOUBLE_EQ(EvalFloat("MULT / DIV", {{"MULT", I(1)}, {"DIV", I(4)}}), 0.25);
  const FormulaValue exact = Evaluate("(1 << 53) + 1", false);
  ASSERT_FALSE(exact.IsFloat);
  EXPECT_EQ(exact.Int, (int64_t(1) << 53) + 1);
  EXPECT_EQ(Evaluate("0x8000000000000001 & 1", false).Int, 1);
}

TEST(FormulaTypes, IntegerOverflowWrapsInIntegerModeAndWidensInFloatMode) {
  EXPECT_EQ(EvalInt("9223372036854775807 + 1"), Int64Min);
  EXPECT_EQ(EvalInt("3037000500 * 3037000500"), int64_t(-9223372036709301616));
  EXPECT_EQ(EvalInt("2 ** 64"), 0);
  EXPECT_DOUBLE_EQ(EvalFloat("9223372036854775807 + 1"), 9223372036854775808.0);
  EXPECT_DOUBLE_EQ(EvalFloat("2 ** 64"), 18446744073709551616.0);
  EXPECT_DOUBLE_EQ(EvalFloat("-9223372036854775807 - 2"), -9223372036854775809.0);
}

TEST(FormulaTypes, ComparisonsPromoteToDoubleWhenEitherSideIsDouble) {
  EXPECT_EQ(EvalInt("1 = 1.0"), 1);
  EXPECT_EQ(EvalInt("2.5 > 2"), 1);
  EXPECT_EQ(EvalInt("X <> 9007199254740993", {{"X", I(9007199254740992)}}), 1);
  const FormulaValue flag = Evaluate("2.5 > 2", false);
  EXPECT_FALSE(flag.IsFloat);
  EXPECT_EQ(flag.Int, 1);
}

TEST(FormulaArithmetic, IntegerDivisionAndRemainderTruncateTowardZero) {
  EXPECT_EQ(EvalInt("-7 / 2"), -3);
  EXPECT_EQ(EvalInt("7 / -2"), -3);
  EXPECT_EQ(EvalInt("-7 % 2"), -1);
  EXPECT_EQ(EvalInt("7 % -2"), 1);
  EXPECT_EQ(EvalInt("X / -1", {{"X", I(Int64Min)}}), Int64Min);
  EXPECT_EQ(EvalInt("X % -1", {{"X", I(Int64Min)}}), 0);
  EXPECT_EQ(EvalInt("-X", {{"X", I(Int64Min)}}), Int64Min);
  EXPECT_EQ(EvalInt("ABS(X)", {{"X", I(Int64Min)}}), Int64Min);
  EXPECT_DOUBLE_EQ(EvalFloat("7.5 % 2"), 1.5);
  EXPECT_DOUBLE_EQ(EvalFloat("7 % 3"), 1.0);
}

TEST(FormulaArithmetic, IntegerDivisionByZeroThrowsNamingTheFormula) {
  for (const char* text : {"1 / 0", "5 % 0", "X / (X - X)"}) {
    SCOPED_TRACE(text);
    try {
      EvalInt(text, {{"X", I(3)}});
      FAIL() << "no exception";
    } catch (const GenICam::RuntimeException& e) {
      EXPECT_NE(std::string(e.GetDescription()).find("division by zero"), std::string::npos);
      EXPECT_NE(std::string(e.GetDescription()).find(text), std::string::npos);
    }
  }
  EXPECT_THROW(Evaluate("5 % 0", false), GenICam::RuntimeException);
  EXPECT_TRUE(std::isinf(EvalFloat("1 / 0")));
  EXPECT_TRUE(std::isnan(EvalFloat("1.5 % 0")));
}

TEST(FormulaArithmetic, ShiftsAreArithmeticAndDefinedForAnyCount) {
  EXPECT_EQ(EvalInt("1 << 63"), Int64Min);
  EXPECT_EQ(EvalInt("1 << 64"), 0);
  EXPECT_EQ(EvalInt("-8 >> 1"), -4);
  EXPECT_EQ(EvalInt("-1 >> 70"), -1);
  EXPECT_EQ(EvalInt("1 >> 64"), 0);
  EXPECT_EQ(EvalInt("4 << -1"), 2);
  EXPECT_EQ(EvalInt("4 >> -1"), 8);
  EXPECT_EQ(EvalInt("1 << 2.9"), 4);
  EXPECT_EQ(EvalInt("-1 << 4"), -16);
}

TEST(FormulaArithmetic, LiteralsOfEveryForm) {
  EXPECT_EQ(EvalInt("0xFF + 0X10 + 0xaB"), 255 + 16 + 171);
  EXPECT_EQ(EvalInt("0xFFFFFFFFFFFFFFFF"), -1);
  EXPECT_EQ(EvalInt("0x00000000000000000001"), 1);
  EXPECT_DOUBLE_EQ(EvalFloat(".5 + 2.25 + 5."), 7.75);
  EXPECT_DOUBLE_EQ(EvalFloat("1e6 + 1e+05 + 25E-1"), 1100002.5);
  EXPECT_FALSE(Evaluate("1e3", true).IsFloat);
  EXPECT_TRUE(Evaluate("1e3", false).IsFloat);
  EXPECT_DOUBLE_EQ(EvalFloat("99999999999999999999"), 1e20); // beyond int64: a double
}

TEST(FormulaLogic, ResultsAreZeroOrOneAndShortCircuit) {
  EXPECT_EQ(EvalInt("5 && 3"), 1);
  EXPECT_EQ(EvalInt("0 || 0.5"), 1);
  EXPECT_EQ(EvalInt("0.0 || 0"), 0);
  // Branches not taken are neither evaluated nor read.
  EXPECT_EQ(EvalInt("1 || X"), 1);
  EXPECT_EQ(EvalInt("0 && X"), 0);
  EXPECT_EQ(EvalInt("(D = 0) ? 0 : 10 / D", {{"D", I(0)}}), 0);
  EXPECT_EQ(EvalInt("(D = 0) ? 0 : 10 / D", {{"D", I(5)}}), 2);
}

TEST(FormulaFunctions, IntegerFunctionsKeepTheType) {
  EXPECT_EQ(EvalInt("SGN(-3) + 10 * SGN(0) + 100 * SGN(2.5)"), 99);
  EXPECT_EQ(EvalInt("NEG(4)"), -4);
  EXPECT_EQ(EvalInt("ABS(MAXIMUM - INDEX-1)", {{"MAXIMUM", I(3)}, {"INDEX", I(7)}}), 5);
  EXPECT_FALSE(Evaluate("ABS(-5)", false).IsFloat);
  EXPECT_DOUBLE_EQ(EvalFloat("ABS(-2.5)"), 2.5);
  EXPECT_EQ(EvalInt("FLOOR(0x4000000000000001)"), 0x4000000000000001);
  EXPECT_EQ(EvalInt("ROUND(7) + ROUND(7, 2)"), 14);
}

TEST(FormulaFunctions, MathFunctionsAndConstants) {
  EXPECT_DOUBLE_EQ(EvalFloat("SQRT(16)"), 4.0);
  EXPECT_DOUBLE_EQ(EvalFloat("EXP(0)"), 1.0);
  EXPECT_DOUBLE_EQ(EvalFloat("LN(E)"), 1.0);
  EXPECT_DOUBLE_EQ(EvalFloat("LG(1000)"), 3.0);
  EXPECT_DOUBLE_EQ(EvalFloat("SIN(PI / 2)"), 1.0);
  EXPECT_DOUBLE_EQ(EvalFloat("COS(0)"), 1.0);
  EXPECT_DOUBLE_EQ(EvalFloat("TAN(0)"), 0.0);
  EXPECT_DOUBLE_EQ(EvalFloat("ASIN(1)"), M_PI / 2);
  EXPECT_DOUBLE_EQ(EvalFloat("ACOS(1)"), 0.0);
  EXPECT_DOUBLE_EQ(EvalFloat("ATAN(1)"), M_PI / 4);
  EXPECT_DOUBLE_EQ(EvalFloat("sqrt(4) + Sqrt(9)"), 5.0);
  EXPECT_EQ(EvalInt("PI * 100"), 314);
}

TEST(FormulaFunctions, RoundingFunctions) {
  EXPECT_DOUBLE_EQ(EvalFloat("TRUNC(-2.7)"), -2.0);
  EXPECT_DOUBLE_EQ(EvalFloat("FLOOR(-2.7)"), -3.0);
  EXPECT_DOUBLE_EQ(EvalFloat("CEIL(-2.2)"), -2.0);
  EXPECT_DOUBLE_EQ(EvalFloat("ROUND(2.5)"), 3.0); // half away from zero
  EXPECT_DOUBLE_EQ(EvalFloat("ROUND(-2.5)"), -3.0);
  EXPECT_DOUBLE_EQ(EvalFloat("ROUND(3.14159, 2)"), 3.14);
  EXPECT_DOUBLE_EQ(EvalFloat("ROUND(1234.5, 0)"), 1235.0);
  EXPECT_DOUBLE_EQ(EvalFloat("ROUND(1234, -2)"), 1200.0);
  EXPECT_EQ(EvalInt("ROUND(FROM * SCALE)", {{"FROM", F(2.6)}, {"SCALE", I(1)}}), 3);
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
}

TEST(FormulaVariables, ManyIdentifiers) {
  std::string text = "V0";
  Variables variables{{"V0", I(0)}};
  for (int i = 1; i < 40; ++i) {
    text += "+V" + std::to_string(i);
    variables["V" + std::to_string(i)] = I(i);
  }
  EXPECT_EQ(EvalInt(text, variables), 39 * 40 / 2);
}

TEST(FormulaVariables, ResolverExceptionsPropagate) {
  const CFormula formula("1 + X");
  EXPECT_THROW(
      formula.Evaluate(
          [](size_t) -> FormulaValue { throw GenICam::AccessException("n/a", "x", 1); }, true),
      GenICam::AccessException);
}

} // namespace
