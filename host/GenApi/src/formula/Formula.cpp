#include "Formula.h"

#include "FormulaParser.h"

#include <Base/GCException.h>

#include <cmath>
#include <limits>

namespace GenApi {
namespace {

using EOp = CFormula::EOp;

// Two's complement wrap-around, as registers do; signed overflow would be undefined.
int64_t Wrap(uint64_t value) {
  return static_cast<int64_t>(value);
}
uint64_t Bits(int64_t value) {
  return static_cast<uint64_t>(value);
}

bool IsTrue(const FormulaValue& value) {
  return value.IsFloat ? value.Float != 0.0 : value.Int != 0;
}

FormulaValue Bool(bool value) {
  return FormulaValue::FromInt(value ? 1 : 0);
}

int64_t ShiftLeft(int64_t value, int64_t count) {
  if (count < 0)
    return count <= -64 ? (value < 0 ? -1 : 0) : value >> -count;
  return count >= 64 ? 0 : Wrap(Bits(value) << count);
}

int64_t ShiftRight(int64_t value, int64_t count) {
  if (count < 0)
    return count <= -64 ? 0 : Wrap(Bits(value) << -count);
  return count >= 64 ? (value < 0 ? -1 : 0) : value >> count; // arithmetic
}

// Integer power by squaring; false when the exact result does not fit.
bool IntPower(int64_t base, int64_t exponent, int64_t& result) {
  bool exact = true;
  int64_t value = 1;
  while (exponent > 0) {
    if (exponent & 1)
      exact &= !__builtin_mul_overflow(value, base, &value);
    exponent >>= 1;
    if (exponent > 0)
      exact &= !__builtin_mul_overflow(base, base, &base);
  }
  result = value;
  return exact;
}

} // namespace

int64_t SaturateToInt64(double value) {
  if (std::isnan(value))
    return 0;
  if (value >= 9223372036854775808.0)
    return std::numeric_limits<int64_t>::max();
  if (value < -9223372036854775808.0)
    return std::numeric_limits<int64_t>::min();
  return static_cast<int64_t>(value);
}

// Per evaluation: the resolver and the values of identifiers already read.
struct CFormula::EvalContext {
  const std::function<FormulaValue(size_t)>& Resolve;
  FormulaValue* Values;
  bool* Known;
  bool IntegerMode;
};

CFormula::CFormula(const std::string& expression) : CFormula(expression, {}) {}

CFormula::CFormula(const std::string& expression, const std::vector<std::string>& boundNames)
    : m_Expression(expression) {
  m_Root = CFormulaParser(m_Expression, boundNames, m_Nodes, m_Identifiers).Parse();
}

FormulaValue CFormula::Evaluate(const std::function<FormulaValue(size_t)>& resolve,
                                bool integerMode) const {
  constexpr size_t Inline = 16;
  FormulaValue inlineValues[Inline];
  bool inlineKnown[Inline] = {};
  std::vector<FormulaValue> values;
  std::vector<char> known; // not vector<bool>: we need a bool*
  EvalContext context{resolve, inlineValues, inlineKnown, integerMode};
  if (m_Identifiers.size() > Inline) {
    values.resize(m_Identifiers.size());
    known.assign(m_Identifiers.size(), 0);
    context.Values = values.data();
    context.Known = reinterpret_cast<bool*>(known.data());
  }
  const FormulaValue result = Eval(m_Root, context);
  return integerMode ? FormulaValue::FromInt(result.AsInt()) : result;
}

void CFormula::ThrowDivisionByZero() const {
  const std::string text = CFormulaParser::Shorten(m_Expression, 160);
  throw RUNTIME_EXCEPTION("Integer division by zero in formula '%s'", text.c_str());
}

FormulaValue CFormula::Eval(int32_t index, EvalContext& context) const {
  const Node& node = m_Nodes[static_cast<size_t>(index)];
  switch (node.Op) {
  case EOp::Literal:
    return node.Value;
  case EOp::Variable: {
    const size_t id = static_cast<size_t>(node.A);
    if (!context.Known[id]) {
      context.Values[id] = context.Resolve(id);
      context.Known[id] = true;
    }
    return context.Values[id];
  }
  case EOp::Ternary:
    return IsTrue(Eval(node.A, context)) ? Eval(node.B, context) : Eval(node.C, context);
  case EOp::LogicalOr:
    return Bool(IsTrue(Eval(node.A, context)) || IsTrue(Eval(node.B, context)));
  case EOp::LogicalAnd:
    return Bool(IsTrue(Eval(node.A, context)) && IsTrue(Eval(node.B, context)));
  default:
    break;
  }

  const FormulaValue a = node.A >= 0 ? Eval(node.A, context) : FormulaValue::FromInt(0);
  const FormulaValue b = node.B >= 0 ? Eval(node.B, context) : FormulaValue::FromInt(0);
  const bool ints = !a.IsFloat && !b.IsFloat;
  // The overflow builtins store the wrapped result. Integer formulas wrap like registers; float
  // formulas fall back to double instead.
  const bool wrap = context.IntegerMode;
  int64_t r = 0;
  switch (node.Op) {
  case EOp::BitOr:
    return FormulaValue::FromInt(a.AsInt() | b.AsInt());
  case EOp::BitXor:
    return FormulaValue::FromInt(a.AsInt() ^ b.AsInt());
  case EOp::BitAnd:
    return FormulaValue::FromInt(a.AsInt() & b.AsInt());
  case EOp::Equal:
    return Bool(ints ? a.Int == b.Int : a.AsFloat() == b.AsFloat());
  case EOp::NotEqual:
    return Bool(ints ? a.Int != b.Int : a.AsFloat() != b.AsFloat());
  case EOp::Less:
    return Bool(ints ? a.Int < b.Int : a.AsFloat() < b.AsFloat());
  case EOp::Greater:
    return Bool(ints ? a.Int > b.Int : a.AsFloat() > b.AsFloat());
  case EOp::LessEqual:
    return Bool(ints ? a.Int <= b.Int : a.AsFloat() <= b.AsFloat());
  case EOp::GreaterEqual:
    return Bool(ints ? a.Int >= b.Int : a.AsFloat() >= b.AsFloat());
  case EOp::ShiftLeft:
    return FormulaValue::FromInt(ShiftLeft(a.AsInt(), b.AsInt()));
  case EOp::ShiftRight:
    return FormulaValue::FromInt(ShiftRight(a.AsInt(), b.AsInt()));
  case EOp::Add:
    if (ints && (!__builtin_add_overflow(a.Int, b.Int, &r) || wrap))
      return FormulaValue::FromInt(r);
    return FormulaValue::FromFloat(a.AsFloat() + b.AsFloat());
  case EOp::Sub:
    if (ints && (!__builtin_sub_overflow(a.Int, b.Int, &r) || wrap))
      return FormulaValue::FromInt(r);
    return FormulaValue::FromFloat(a.AsFloat() - b.AsFloat());
  case EOp::Mul:
    if (ints && (!__builtin_mul_overflow(a.Int, b.Int, &r) || wrap))
      return FormulaValue::FromInt(r);
    return FormulaValue::FromFloat(a.AsFloat() * b.AsFloat());
  case EOp::Div:
    // Float formulas divide in double even for integer operands (MULT / DIV of two registers).
    if (!ints || !context.IntegerMode)
      return FormulaValue::FromFloat(a.AsFloat() / b.AsFloat());
    if (b.Int == 0)
      ThrowDivisionByZero();
    return FormulaValue::FromInt(b.Int == -1 ? Wrap(0 - Bits(a.Int)) : a.Int / b.Int);
  case EOp::Mod:
    if (!ints)
      return FormulaValue::FromFloat(std::fmod(a.AsFloat(), b.AsFloat()));
    if (b.Int == 0)
      ThrowDivisionByZero();
    return FormulaValue::FromInt(b.Int == -1 ? 0 : a.Int % b.Int);
  case EOp::Pow:
    if (ints && b.Int >= 0 && (IntPower(a.Int, b.Int, r) || wrap))
      return FormulaValue::FromInt(r);
    return FormulaValue::FromFloat(std::pow(a.AsFloat(), b.AsFloat()));
  case EOp::Negate:
  case EOp::Neg:
    return a.IsFloat ? FormulaValue::FromFloat(-a.Float)
                     : FormulaValue::FromInt(Wrap(0 - Bits(a.Int)));
  case EOp::Plus:
    return a;
  case EOp::BitNot:
    return FormulaValue::FromInt(~a.AsInt());
  case EOp::LogicalNot:
    return Bool(!IsTrue(a));
  case EOp::Sgn:
    return FormulaValue::FromInt(a.IsFloat ? (a.Float > 0) - (a.Float < 0)
                                           : (a.Int > 0) - (a.Int < 0));
  case EOp::Abs:
    if (a.IsFloat)
      return FormulaValue::FromFloat(std::fabs(a.Float));
    return FormulaValue::FromInt(a.Int < 0 ? Wrap(0 - Bits(a.Int)) : a.Int);
  case EOp::Sqrt:
    return FormulaValue::FromFloat(std::sqrt(a.AsFloat()));
  case EOp::Exp:
    return FormulaValue::FromFloat(std::exp(a.AsFloat()));
  case EOp::Ln:
    return FormulaValue::FromFloat(std::log(a.AsFloat()));
  case EOp::Lg:
    return FormulaValue::FromFloat(std::log10(a.AsFloat()));
  case EOp::Sin:
    return FormulaValue::FromFloat(std::sin(a.AsFloat()));
  case EOp::Cos:
    return FormulaValue::FromFloat(std::cos(a.AsFloat()));
  case EOp::Tan:
    return FormulaValue::FromFloat(std::tan(a.AsFloat()));
  case EOp::Asin:
    return FormulaValue::FromFloat(std::asin(a.AsFloat()));
  case EOp::Acos:
    return FormulaValue::FromFloat(std::acos(a.AsFloat()));
  case EOp::Atan:
    return FormulaValue::FromFloat(std::atan(a.AsFloat()));
  // Rounding an integer is the identity; keeping it integer keeps all 64 bits.
  case EOp::Trunc:
    return a.IsFloat ? FormulaValue::FromFloat(std::trunc(a.Float)) : a;
  case EOp::Floor:
    return a.IsFloat ? FormulaValue::FromFloat(std::floor(a.Float)) : a;
  case EOp::Ceil:
    return a.IsFloat ? FormulaValue::FromFloat(std::ceil(a.Float)) : a;
  case EOp::Round:
    return a.IsFloat ? FormulaValue::FromFloat(std::round(a.Float)) : a; // half away from zero
  case EOp::Round2: {
    const int64_t decimals = b.AsInt();
    if (!a.IsFloat && decimals >= 0)
      return a;
    const double scale = std::pow(10.0, static_cast<double>(decimals));
    return FormulaValue::FromFloat(std::round(a.AsFloat() * scale) / scale);
  }
  case EOp::Literal:
  case EOp::Variable:
  case EOp::Ternary:
  case EOp::LogicalOr:
  case EOp::LogicalAnd:
    break;
  }
  return FormulaValue::FromInt(0); // not reached: every operator is handled above
}

} // namespace GenApi
