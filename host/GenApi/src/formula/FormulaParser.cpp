#include "FormulaParser.h"

#include <Base/GCException.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cstring>

namespace GenApi {
namespace {

using EOp = CFormula::EOp;

struct BinaryOperator {
  const char* Text;
  EOp Op;
  int Precedence; // 1 (loosest, the ternary) .. 12
  bool RightAssociative;
};

// Longer spellings first so that "<<" is not taken for "<".
const BinaryOperator BinaryOperators[] = {
    {"||", EOp::LogicalOr, 2, false},    {"&&", EOp::LogicalAnd, 3, false},
    {"<>", EOp::NotEqual, 7, false},     {"<=", EOp::LessEqual, 8, false},
    {">=", EOp::GreaterEqual, 8, false}, {"<<", EOp::ShiftLeft, 9, false},
    {">>", EOp::ShiftRight, 9, false},   {"**", EOp::Pow, 12, true},
    {"|", EOp::BitOr, 4, false},         {"^", EOp::BitXor, 5, false},
    {"&", EOp::BitAnd, 6, false},        {"=", EOp::Equal, 7, false},
    {"<", EOp::Less, 8, false},          {">", EOp::Greater, 8, false},
    {"+", EOp::Add, 10, false},          {"-", EOp::Sub, 10, false},
    {"*", EOp::Mul, 11, false},          {"/", EOp::Div, 11, false},
    {"%", EOp::Mod, 11, false},
};

struct Function {
  const char* Name;
  EOp Op;
  int MinArgs, MaxArgs;
};

const Function Functions[] = {
    {"SGN", EOp::Sgn, 1, 1},   {"NEG", EOp::Neg, 1, 1},     {"ABS", EOp::Abs, 1, 1},
    {"SQRT", EOp::Sqrt, 1, 1}, {"EXP", EOp::Exp, 1, 1},     {"LN", EOp::Ln, 1, 1},
    {"LG", EOp::Lg, 1, 1},     {"SIN", EOp::Sin, 1, 1},     {"COS", EOp::Cos, 1, 1},
    {"TAN", EOp::Tan, 1, 1},   {"ASIN", EOp::Asin, 1, 1},   {"ACOS", EOp::Acos, 1, 1},
    {"ATAN", EOp::Atan, 1, 1}, {"TRUNC", EOp::Trunc, 1, 1}, {"FLOOR", EOp::Floor, 1, 1},
    {"CEIL", EOp::Ceil, 1, 1}, {"ROUND", EOp::Round, 1, 2},
};

// The two-character spellings come first, so that "<<" is not taken for "<".
const char* const OperatorSpellings[] = {"||", "&&", "<>", "<=", ">=", "<<", ">>", "**", "|",
                                         "^",  "&",  "=",  "<",  ">",  "+",  "-",  "*",  "/",
                                         "%",  "~",  "!",  "?",  ":",  "(",  ")",  ","};
constexpr int OperatorCount = sizeof OperatorSpellings / sizeof OperatorSpellings[0];
constexpr int TwoCharacterOperators = 8;

// The operator spelled at `text` (a NUL-terminated string), as an index into OperatorSpellings,
// or -1.
int MatchOperator(const char* text) {
  for (int i = 0; i < TwoCharacterOperators; ++i)
    if (text[0] == OperatorSpellings[i][0] && text[1] == OperatorSpellings[i][1])
      return i;
  for (int i = TwoCharacterOperators; i < OperatorCount; ++i)
    if (text[0] == OperatorSpellings[i][0])
      return i;
  return -1;
}

// The binary operator of each spelling, null for the others.
const BinaryOperator* BinaryOperatorOf(int spelling) {
  static const auto table = [] {
    std::array<const BinaryOperator*, OperatorCount> result{};
    for (int i = 0; i < OperatorCount; ++i)
      for (const BinaryOperator& op : BinaryOperators)
        if (std::strcmp(op.Text, OperatorSpellings[i]) == 0)
          result[static_cast<size_t>(i)] = &op;
    return result;
  }();
  return table[static_cast<size_t>(spelling)];
}

bool IsIdentifierStart(char c) {
  return std::isalpha(static_cast<unsigned char>(c)) || c == '_';
}
bool IsIdentifierChar(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '.';
}

} // namespace

std::string CFormulaParser::Shorten(const std::string& text, size_t limit) {
  std::string shown = text.size() <= limit ? text : text.substr(0, limit) + "...";
  for (char& c : shown)
    if (static_cast<unsigned char>(c) < 0x20)
      c = ' ';
  return shown;
}

namespace {

// Counts one level of syntactic nesting for the lifetime of the guard.
class NestingGuard {
public:
  NestingGuard(int& nesting, bool active) : m_Nesting(nesting), m_Active(active) {
    if (m_Active)
      ++m_Nesting;
  }
  ~NestingGuard() {
    if (m_Active)
      --m_Nesting;
  }
  NestingGuard(const NestingGuard&) = delete;
  NestingGuard& operator=(const NestingGuard&) = delete;

private:
  int& m_Nesting;
  bool m_Active;
};

} // namespace

CFormulaParser::CFormulaParser(const std::string& expression,
                               const std::vector<std::string>& boundNames,
                               std::vector<CFormula::Node>& nodes,
                               std::vector<std::string>& identifiers)
    : m_Text(expression), m_BoundNames(boundNames), m_Nodes(nodes), m_Identifiers(identifiers) {}

int32_t CFormulaParser::Parse() {
  Next();
  if (m_Token == EToken::End)
    Fail(m_TokenStart, "empty formula");
  const int32_t root = ParseTernary();
  if (m_Token != EToken::End) {
    if (IsOperator(")"))
      Fail(m_TokenStart, "unbalanced ')'");
    Fail(m_TokenStart, "operator expected instead of " + Describe());
  }
  return root;
}

void CFormulaParser::Next() {
  while (m_Pos < m_Text.size() && std::isspace(static_cast<unsigned char>(m_Text[m_Pos])))
    ++m_Pos;
  m_TokenStart = m_Pos;
  m_Word.clear();
  if (m_Pos >= m_Text.size()) {
    m_Token = EToken::End;
    return;
  }
  const char c = m_Text[m_Pos];
  if (std::isdigit(static_cast<unsigned char>(c)) ||
      (c == '.' && m_Pos + 1 < m_Text.size() &&
       std::isdigit(static_cast<unsigned char>(m_Text[m_Pos + 1])))) {
    LexNumber();
    return;
  }
  if (IsIdentifierStart(c)) {
    while (m_Pos < m_Text.size() && IsIdentifierChar(m_Text[m_Pos]))
      ++m_Pos;
    m_Token = EToken::Identifier;
    m_Word = m_Text.substr(m_TokenStart, m_Pos - m_TokenStart);
    return;
  }
  const int op = MatchOperator(m_Text.c_str() + m_Pos);
  if (op >= 0) {
    m_Token = EToken::Operator;
    m_Op = op;
    m_Word = OperatorSpellings[op];
    m_Pos += m_Word.size();
    return;
  }
  char what[48];
  if (std::isprint(static_cast<unsigned char>(c)))
    std::snprintf(what, sizeof what, "unexpected character '%c'", c);
  else
    std::snprintf(what, sizeof what, "unexpected byte 0x%02X", static_cast<unsigned char>(c));
  Fail(m_Pos, what);
}

void CFormulaParser::LexNumber() {
  const char* const text = m_Text.c_str();
  const size_t start = m_Pos;
  m_Token = EToken::Number;
  if (text[start] == '0' && (text[start + 1] == 'x' || text[start + 1] == 'X')) {
    uint64_t value = 0;
    size_t pos = start + 2;
    for (; std::isxdigit(static_cast<unsigned char>(text[pos])); ++pos) {
      if (value >> 60)
        Fail(start, "hexadecimal number exceeds 64 bits");
      const char d = static_cast<char>(std::tolower(static_cast<unsigned char>(text[pos])));
      value = value << 4 | static_cast<uint64_t>(d <= '9' ? d - '0' : d - 'a' + 10);
    }
    if (pos == start + 2)
      Fail(start, "hexadecimal number without digits");
    m_Pos = pos;
    // Register-wide masks like 0xFFFFFFFFFFFFFFFF are meant as two's complement bit patterns.
    m_Number = FormulaValue::FromInt(static_cast<int64_t>(value));
  } else {
    size_t pos = start;
    bool isFloat = false;
    while (std::isdigit(static_cast<unsigned char>(text[pos])))
      ++pos;
    if (text[pos] == '.') {
      isFloat = true;
      ++pos;
      while (std::isdigit(static_cast<unsigned char>(text[pos])))
        ++pos;
    }
    if (text[pos] == 'e' || text[pos] == 'E') {
      size_t digits = pos + 1;
      if (text[digits] == '+' || text[digits] == '-')
        ++digits;
      if (!std::isdigit(static_cast<unsigned char>(text[digits])))
        Fail(start, "exponent without digits");
      isFloat = true;
      pos = digits;
      while (std::isdigit(static_cast<unsigned char>(text[pos])))
        ++pos;
    }
    int64_t integer = 0;
    if (!isFloat && std::from_chars(text + start, text + pos, integer).ec == std::errc()) {
      m_Number = FormulaValue::FromInt(integer);
    } else {
      // Locale independent; integers beyond int64 become doubles.
      double value = 0.0;
      const auto result = std::from_chars(text + start, text + pos, value);
      if (result.ec != std::errc() || result.ptr != text + pos)
        Fail(start, "number out of range");
      m_Number = FormulaValue::FromFloat(value);
    }
    m_Pos = pos;
  }
  if (IsIdentifierChar(text[m_Pos]))
    Fail(start, "malformed number");
}

bool CFormulaParser::IsOperator(const char* text) const {
  // Spellings have one or two characters: comparing two (the terminator included) is enough.
  const char* spelling = OperatorSpellings[m_Op];
  return m_Token == EToken::Operator && spelling[0] == text[0] &&
         (text[0] == '\0' || spelling[1] == text[1]);
}

void CFormulaParser::Expect(const char* text) {
  if (!IsOperator(text))
    Fail(m_TokenStart, std::string("'") + text + "' expected instead of " + Describe());
  Next();
}

int32_t CFormulaParser::ParseTernary() {
  NestingGuard guard(m_Nesting, true);
  if (m_Nesting > MaxNesting)
    Fail(m_TokenStart, "formula nested too deeply");
  const int32_t condition = ParseBinary(2);
  if (!IsOperator("?"))
    return condition;
  Next();
  const int32_t whenTrue = ParseTernary();
  Expect(":");
  const int32_t whenFalse = ParseTernary();
  return Add(EOp::Ternary, condition, whenTrue, whenFalse);
}

int32_t CFormulaParser::ParseBinary(int minPrecedence) {
  int32_t left = ParseUnary();
  for (;;) {
    if (m_Token != EToken::Operator)
      return left;
    const BinaryOperator* op = BinaryOperatorOf(m_Op);
    if (!op || op->Precedence < minPrecedence)
      return left;
    Next();
    NestingGuard guard(m_Nesting, op->RightAssociative);
    if (m_Nesting > MaxNesting)
      Fail(m_TokenStart, "formula nested too deeply");
    const int32_t right = ParseBinary(op->RightAssociative ? op->Precedence : op->Precedence + 1);
    left = Add(op->Op, left, right);
  }
}

int32_t CFormulaParser::ParseUnary() {
  EOp op;
  if (IsOperator("-"))
    op = EOp::Negate;
  else if (IsOperator("+"))
    op = EOp::Plus;
  else if (IsOperator("~"))
    op = EOp::BitNot;
  else if (IsOperator("!"))
    op = EOp::LogicalNot;
  else
    return ParsePrimary();
  Next();
  NestingGuard guard(m_Nesting, true);
  if (m_Nesting > MaxNesting)
    Fail(m_TokenStart, "formula nested too deeply");
  return Add(op, ParseUnary());
}

int32_t CFormulaParser::ParsePrimary() {
  switch (m_Token) {
  case EToken::Number: {
    const int32_t node = AddLiteral(m_Number);
    Next();
    return node;
  }
  case EToken::Identifier: {
    const std::string name = m_Word;
    const size_t position = m_TokenStart;
    Next();
    if (IsOperator("("))
      return ParseCall(name, position);
    const bool bound =
        std::find(m_BoundNames.begin(), m_BoundNames.end(), name) != m_BoundNames.end();
    if (!bound && name == "PI")
      return AddLiteral(FormulaValue::FromFloat(3.14159265358979323846));
    if (!bound && name == "E")
      return AddLiteral(FormulaValue::FromFloat(2.71828182845904523536));
    auto it = std::find(m_Identifiers.begin(), m_Identifiers.end(), name);
    if (it == m_Identifiers.end())
      it = m_Identifiers.insert(m_Identifiers.end(), name);
    return Add(EOp::Variable, static_cast<int32_t>(it - m_Identifiers.begin()));
  }
  case EToken::Operator:
    if (IsOperator("(")) {
      Next();
      const int32_t inner = ParseTernary();
      if (m_Token == EToken::End)
        Fail(m_TokenStart, "missing ')'");
      Expect(")");
      return inner;
    }
    Fail(m_TokenStart, "operand expected instead of " + Describe());
  case EToken::End:
    break;
  }
  Fail(m_TokenStart, "operand missing at end of formula");
}

int32_t CFormulaParser::ParseCall(const std::string& name, size_t position) {
  std::string upper = name;
  std::transform(upper.begin(), upper.end(), upper.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  const Function* function = nullptr;
  for (const Function& candidate : Functions)
    if (upper == candidate.Name)
      function = &candidate;
  if (!function)
    Fail(position, "unknown function '" + Shorten(name, 40) + "'");
  Next(); // '('
  int32_t args[2] = {-1, -1};
  int count = 0;
  if (!IsOperator(")")) {
    for (;;) {
      const int32_t arg = ParseTernary();
      if (count < 2)
        args[count] = arg;
      ++count;
      if (!IsOperator(","))
        break;
      Next();
    }
  }
  if (m_Token == EToken::End)
    Fail(m_TokenStart, "missing ')'");
  Expect(")");
  if (count < function->MinArgs || count > function->MaxArgs)
    Fail(position, std::string(function->Name) + " takes " +
                       (function->MinArgs == function->MaxArgs ? std::to_string(function->MinArgs)
                                                               : "1 or 2") +
                       " argument(s), not " + std::to_string(count));
  const EOp op = function->Op == EOp::Round && count == 2 ? EOp::Round2 : function->Op;
  return Add(op, args[0], args[1]);
}

int32_t CFormulaParser::Add(EOp op, int32_t a, int32_t b, int32_t c) {
  int height = 0;
  if (op != EOp::Variable)
    for (int32_t child : {a, b, c})
      if (child >= 0)
        height = std::max(height, m_Heights[static_cast<size_t>(child)]);
  if (++height > MaxHeight)
    Fail(m_TokenStart, "formula nested too deeply");
  m_Heights.push_back(height);
  m_Nodes.push_back(CFormula::Node{op, a, b, c, FormulaValue::FromInt(0)});
  return static_cast<int32_t>(m_Nodes.size() - 1);
}

int32_t CFormulaParser::AddLiteral(const FormulaValue& value) {
  const int32_t node = Add(EOp::Literal);
  m_Nodes.back().Value = value;
  return node;
}

std::string CFormulaParser::Describe() const {
  switch (m_Token) {
  case EToken::End:
    return "end of formula";
  case EToken::Number:
    return "number '" + m_Text.substr(m_TokenStart, std::min<size_t>(m_Pos - m_TokenStart, 24)) +
           "'";
  case EToken::Identifier:
  case EToken::Operator:
    break;
  }
  return "'" + Shorten(m_Word, 40) + "'";
}

void CFormulaParser::Fail(size_t position, const std::string& what) const {
  // The message is limited to 255 characters: position and reason first, then the text.
  throw RUNTIME_EXCEPTION("Formula error at position %zu: %s in '%s'", position + 1, what.c_str(),
                          Shorten(m_Text, 120).c_str());
}

} // namespace GenApi
