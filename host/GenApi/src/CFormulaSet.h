#pragma once
#include "CRef.h"
#include "Props.h"
#include "formula/Formula.h"

#include <memory>
#include <string>
#include <vector>

namespace GenApi {

class CNodeBase;

//! The pVariable, Constant and Expression elements of a SwissKnife or Converter, and the formulas
//! compiled against them. Names resolve in the order Constant, Expression, pVariable, then the
//! extra names (TO/FROM); exact spelling first, then ignoring case.
class CFormulaSet {
public:
  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr);
  //! Links the variables and compiles the expressions; `extras` are bound at evaluation.
  void Link(CNodeBase& owner, const std::vector<std::string>& extras);
  //! Compiles a formula; returns its index. Throws naming the node.
  size_t Compile(CNodeBase& owner, const std::string& text, const char* what);
  FormulaValue Evaluate(size_t formula, bool integerMode, bool ignoreCache,
                        const FormulaValue* extras) const;

private:
  enum class EKind { Value, Min, Max, Inc, Entry };
  struct Variable {
    std::string Name;
    CRef Node;
    EKind Kind = EKind::Value;
    std::string Entry;
  };
  struct Binding {
    enum { Var, Const, Expr, Extra } Kind;
    size_t Index;
  };
  struct Compiled {
    std::shared_ptr<const CFormula> Formula; // shared by the nodes with the same formula
    std::vector<Binding> Bindings;
  };
  Compiled Bind(CNodeBase& owner, const std::string& text, const char* what, bool allowExpr);
  FormulaValue Run(const Compiled& compiled, bool integerMode, bool ignoreCache,
                   const FormulaValue* extras) const;
  FormulaValue Read(const Variable& variable, bool ignoreCache) const;

  std::vector<Variable> m_Variables;
  std::vector<std::pair<std::string, FormulaValue>> m_Constants;
  std::vector<std::pair<std::string, std::string>> m_ExpressionTexts;
  std::vector<Compiled> m_Expressions;
  std::vector<std::string> m_Extras;
  std::vector<std::string> m_BoundNames; // every name a formula may use, filled by Bind
  std::vector<Compiled> m_Formulas;
};

} // namespace GenApi
