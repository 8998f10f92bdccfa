#pragma once
// Precedence-climbing parser turning formula text into CFormula's flat tree. Tokens are read on
// the fly; one token of look-ahead is enough for this grammar.
#include "Formula.h"

#include <cstddef>
#include <string>
#include <vector>

namespace GenApi {

class CFormulaParser {
public:
  //! Nodes and identifiers are appended to the given vectors.
  CFormulaParser(const std::string& expression, const std::vector<std::string>& boundNames,
                 std::vector<CFormula::Node>& nodes, std::vector<std::string>& identifiers);

  //! Parses the whole text and returns the root node index; throws RuntimeException on errors.
  int32_t Parse();

  //! Syntactic nesting (parentheses, unary operators, ternaries, right-associative chains) and the
  //! height of the tree are bounded so that neither parsing nor evaluation can exhaust the stack.
  //! A formula text for messages: one line, at most limit characters plus "...".
  static std::string Shorten(const std::string& text, size_t limit);

  static constexpr int MaxNesting = 256;
  static constexpr int MaxHeight = 1024;

private:
  enum class EToken { End, Number, Identifier, Operator };

  void Next();
  void LexNumber();
  int32_t ParseTernary();
  int32_t ParseBinary(int minPrecedence);
  int32_t ParseUnary();
  int32_t ParsePrimary();
  int32_t ParseCall(const std::string& name, size_t position);
  int32_t Add(CFormula::EOp op, int32_t a = -1, int32_t b = -1, int32_t c = -1);
  int32_t AddLiteral(const FormulaValue& value);
  bool IsOperator(const char* text) const;
  void Expect(const char* text);
  [[noreturn]] void Fail(size_t position, const std::string& what) const;
  std::string Describe() const;

  const std::string& m_Text;
  const std::vector<std::string>& m_BoundNames;
  std::vector<CFormula::Node>& m_Nodes;
  std::vector<std::string>& m_Identifiers;
  std::vector<int> m_Heights; // per node, parallel to m_Nodes
  int m_Nesting = 0;

  // current token
  EToken m_Token = EToken::End;
  size_t m_TokenStart = 0;
  size_t m_Pos = 0;
  std::string m_Word; // identifier or operator text
  int m_Op = 0;       // operator tokens: the index of the spelling
  FormulaValue m_Number = FormulaValue::FromInt(0);
};

} // namespace GenApi
