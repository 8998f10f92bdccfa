#pragma once
// Formulas of SwissKnife, IntSwissKnife, Converter and IntConverter nodes. A formula is parsed once
// into a flat tree and evaluated from it on every read, so evaluation never touches the text.
//
// Values are int64 or double. Operations on two integers stay integer (with integer `/` and `%`
// in integer mode), anything touching a double is computed in double. Integer division or
// remainder by zero throws a RuntimeException naming the formula; double division follows IEEE.
// The class is immutable after construction, so one instance may be evaluated from many threads.
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace GenApi {

//! Truncates toward zero and saturates at the int64 limits; NaN gives 0.
int64_t SaturateToInt64(double value);

struct FormulaValue {
  bool IsFloat;
  int64_t Int;
  double Float;

  static FormulaValue FromInt(int64_t value) { return FormulaValue{false, value, 0.0}; }
  static FormulaValue FromFloat(double value) { return FormulaValue{true, 0, value}; }
  //! Doubles go through SaturateToInt64.
  int64_t AsInt() const { return IsFloat ? SaturateToInt64(Float) : Int; }
  double AsFloat() const { return IsFloat ? Float : static_cast<double>(Int); }
};

class CFormula {
public:
  //! Throws GenICam::RuntimeException on syntax errors, naming the position and the formula.
  explicit CFormula(const std::string& expression);
  //! As above; the names in boundNames are variables even where they spell a built-in constant
  //! (a pVariable called "E" shadows Euler's number).
  CFormula(const std::string& expression, const std::vector<std::string>& boundNames);

  const std::string& Expression() const { return m_Expression; }
  //! Every identifier used, once, in order of first use. Dotted names ("Width.Max") and TO/FROM
  //! are identifiers; PI, E and function names are not.
  const std::vector<std::string>& Identifiers() const { return m_Identifiers; }

  //! resolve(i) yields the value of Identifiers()[i]. It is called lazily (branches not taken are
  //! not read) and at most once per identifier and evaluation. In integer mode the result is
  //! truncated to int64; in float mode it keeps its type and callers use AsFloat().
  FormulaValue Evaluate(const std::function<FormulaValue(size_t)>& resolve, bool integerMode) const;

  // The tree, built by CFormulaParser.
  enum class EOp : uint8_t {
    Literal,
    Variable,
    Ternary,
    LogicalOr,
    LogicalAnd,
    BitOr,
    BitXor,
    BitAnd,
    Equal,
    NotEqual,
    Less,
    Greater,
    LessEqual,
    GreaterEqual,
    ShiftLeft,
    ShiftRight,
    Add,
    Sub,
    Mul,
    Div,
    Mod,
    Pow,
    Negate,
    Plus,
    BitNot,
    LogicalNot,
    // functions
    Sgn,
    Neg,
    Abs,
    Sqrt,
    Exp,
    Ln,
    Lg,
    Sin,
    Cos,
    Tan,
    Asin,
    Acos,
    Atan,
    Trunc,
    Floor,
    Ceil,
    Round,
    Round2
  };
  struct Node {
    EOp Op;
    int32_t A, B, C;    // operand node indices; A is the identifier index of a Variable
    FormulaValue Value; // Literal only
  };

private:
  struct EvalContext;
  FormulaValue Eval(int32_t index, EvalContext& context) const;
  [[noreturn]] void ThrowDivisionByZero() const;

  std::string m_Expression;
  std::vector<std::string> m_Identifiers;
  std::vector<Node> m_Nodes;
  int32_t m_Root = -1;
};

} // namespace GenApi
