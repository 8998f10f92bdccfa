#include "CFormulaSet.h"

#include "CEnumerationNode.h"
#include "CNodeMap.h"

#include <Base/GCException.h>
#include <strings.h>

namespace GenApi {

namespace {
bool EndsWith(const std::string& text, const char* suffix) {
  const size_t n = std::char_traits<char>::length(suffix);
  return text.size() > n && text.compare(text.size() - n, n, suffix) == 0;
}
} // namespace

bool CFormulaSet::SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) {
  switch (prop) {
  case EProp::pVariable: {
    Variable variable;
    variable.Name = attr.Name;
    variable.Node.Name = text;
    // A suffix of the name selects another property of the node.
    const size_t entry = attr.Name.find(".Entry.");
    if (entry != std::string::npos) {
      variable.Kind = EKind::Entry;
      variable.Entry = attr.Name.substr(entry + 7);
    } else if (EndsWith(attr.Name, ".Min")) {
      variable.Kind = EKind::Min;
    } else if (EndsWith(attr.Name, ".Max")) {
      variable.Kind = EKind::Max;
    } else if (EndsWith(attr.Name, ".Inc")) {
      variable.Kind = EKind::Inc;
    }
    if (attr.Name.empty())
      throw RUNTIME_EXCEPTION("pVariable '%s' has no Name", text.c_str());
    m_Variables.push_back(variable);
    return true;
  }
  case EProp::Constant: {
    int64_t integer = 0;
    double value = 0;
    if (ParseInt64(text, integer))
      m_Constants.emplace_back(attr.Name, FormulaValue::FromInt(integer));
    else if (ParseDouble(text, value))
      m_Constants.emplace_back(attr.Name, FormulaValue::FromFloat(value));
    else
      throw RUNTIME_EXCEPTION("Invalid constant '%s'", text.c_str());
    return true;
  }
  case EProp::Expression:
    m_ExpressionTexts.emplace_back(attr.Name, text);
    return true;
  default:
    return false;
  }
}

void CFormulaSet::Link(CNodeBase& owner, const std::vector<std::string>& extras) {
  m_Extras = extras;
  for (Variable& variable : m_Variables) {
    if (!owner.Resolve(variable.Node, "pVariable"))
      throw CMissingReference{"pVariable '" + variable.Name + "' of '" + owner.Name() +
                              "' names no node"};
    CNodeBase* node = variable.Node.p;
    if (variable.Kind == EKind::Entry) {
      auto* enumeration = dynamic_cast<CEnumerationNode*>(node);
      if (!enumeration || !enumeration->FindSymbolic(variable.Entry))
        throw GENAPI_OWNER_ERROR(RuntimeException,
                                 owner)("Node '%s': '%s' is no entry of '%s'", owner.Name().c_str(),
                                        variable.Entry.c_str(), variable.Node.Name.c_str());
    } else if (!node->IsNumeric()) {
      throw GENAPI_OWNER_ERROR(RuntimeException, owner)(
          "Node '%s': variable '%s' refers to '%s', not a number", owner.Name().c_str(),
          variable.Name.c_str(), variable.Node.Name.c_str());
    }
    owner.AddChild(node);
  }
  for (const auto& expression : m_ExpressionTexts)
    m_Expressions.push_back(Bind(owner, expression.second, "Expression", false));
}

CFormulaSet::Compiled CFormulaSet::Bind(CNodeBase& owner, const std::string& text, const char* what,
                                        bool allowExpr) {
  std::vector<std::string>& names = m_BoundNames; // the same for every formula of the node
  if (names.empty()) {
    for (const auto& variable : m_Variables)
      names.push_back(variable.Name);
    for (const auto& constant : m_Constants)
      names.push_back(constant.first);
    for (const auto& expression : m_ExpressionTexts)
      names.push_back(expression.first);
    names.insert(names.end(), m_Extras.begin(), m_Extras.end());
  }
  Compiled compiled;
  try {
    compiled.Formula = owner.Map().SharedFormula(text, names);
  } catch (const GenICam::GenericException& e) {
    throw GENAPI_OWNER_ERROR(RuntimeException, owner)(
        "Node '%s': %s does not parse: %s", owner.Name().c_str(), what, e.GetDescription());
  }
  for (const std::string& identifier : compiled.Formula->Identifiers()) {
    bool found = false;
    for (int pass = 0; pass < 2 && !found; ++pass) {
      auto same = [&](const std::string& name) {
        return pass == 0 ? name == identifier : strcasecmp(name.c_str(), identifier.c_str()) == 0;
      };
      for (size_t i = 0; !found && i < m_Constants.size(); ++i)
        if (same(m_Constants[i].first))
          compiled.Bindings.push_back({Binding::Const, i}), found = true;
      for (size_t i = 0; allowExpr && !found && i < m_ExpressionTexts.size(); ++i)
        if (same(m_ExpressionTexts[i].first))
          compiled.Bindings.push_back({Binding::Expr, i}), found = true;
      for (size_t i = 0; !found && i < m_Variables.size(); ++i)
        if (same(m_Variables[i].Name))
          compiled.Bindings.push_back({Binding::Var, i}), found = true;
      for (size_t i = 0; !found && i < m_Extras.size(); ++i)
        if (same(m_Extras[i]))
          compiled.Bindings.push_back({Binding::Extra, i}), found = true;
    }
    if (!found)
      throw GENAPI_OWNER_ERROR(RuntimeException, owner)("Node '%s': %s uses the unknown name '%s'",
                                                        owner.Name().c_str(), what,
                                                        identifier.c_str());
  }
  return compiled;
}

size_t CFormulaSet::Compile(CNodeBase& owner, const std::string& text, const char* what) {
  m_Formulas.push_back(Bind(owner, text, what, true));
  return m_Formulas.size() - 1;
}

FormulaValue CFormulaSet::Read(const Variable& variable, bool ignoreCache) const {
  CNodeBase* node = variable.Node.p;
  const bool isFloat = node->IsFloatValue();
  switch (variable.Kind) {
  case EKind::Min:
    return isFloat ? FormulaValue::FromFloat(node->GetFloatMinV())
                   : FormulaValue::FromInt(node->GetIntMinV());
  case EKind::Max:
    return isFloat ? FormulaValue::FromFloat(node->GetFloatMaxV())
                   : FormulaValue::FromInt(node->GetIntMaxV());
  case EKind::Inc:
    return FormulaValue::FromInt(isFloat ? 0 : node->GetIntIncV());
  case EKind::Entry:
    return FormulaValue::FromInt(
        static_cast<CEnumerationNode*>(node)->FindSymbolic(variable.Entry)->Value());
  default:
    return isFloat ? FormulaValue::FromFloat(node->GetFloatV(false, ignoreCache))
                   : FormulaValue::FromInt(node->GetIntV(false, ignoreCache));
  }
}

FormulaValue CFormulaSet::Run(const Compiled& compiled, bool integerMode, bool ignoreCache,
                              const FormulaValue* extras) const {
  return compiled.Formula->Evaluate(
      [&](size_t i) {
        const Binding& binding = compiled.Bindings[i];
        switch (binding.Kind) {
        case Binding::Const:
          return m_Constants[binding.Index].second;
        case Binding::Expr:
          return Run(m_Expressions[binding.Index], integerMode, ignoreCache, extras);
        case Binding::Var:
          return Read(m_Variables[binding.Index], ignoreCache);
        default:
          return extras[binding.Index];
        }
      },
      integerMode);
}

FormulaValue CFormulaSet::Evaluate(size_t formula, bool integerMode, bool ignoreCache,
                                   const FormulaValue* extras) const {
  return Run(m_Formulas[formula], integerMode, ignoreCache, extras);
}

} // namespace GenApi
