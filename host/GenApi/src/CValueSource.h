#pragma once
#include "CNumRef.h"
#include "Props.h"

#include <vector>

namespace GenApi {

class CNodeBase;

//! Where an Integer or Float node keeps its value: a literal Value, a pValue node, or a table
//! selected by pIndex (ValueIndexed/pValueIndexed with ValueDefault/pValueDefault). pValueCopy
//! nodes receive every written value too. A source is read and written in one type only, so
//! literals keep just the Int or just the Float member of their CNumRef.
class CValueSource {
public:
  explicit CValueSource(bool isFloat) : m_IsFloat(isFloat) {}
  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr);
  void Link(CNodeBase& owner);

  //! The pValue node, null for literal and indexed values.
  CNodeBase* ValueNode() const { return m_Value.Ref.p; }
  int64_t GetInt(bool verify, bool ignoreCache);
  double GetFloat(bool verify, bool ignoreCache);
  void SetInt(int64_t value, bool verify);
  void SetFloat(double value, bool verify);

private:
  CNumRef& Current(bool ignoreCache);
  //! Refuses the write unless every node it reaches is writable.
  void CheckTargets(const CNumRef& current) const;
  void SetLiteral(CNumRef& target, const std::string& text) const;

  struct Indexed {
    int64_t Index;
    CNumRef Value;
  };
  bool m_IsFloat;
  CNumRef m_Value;
  CRef m_Index;
  std::vector<Indexed> m_Table;
  CNumRef m_Default;
  std::vector<CRef> m_Copies;
};

} // namespace GenApi
