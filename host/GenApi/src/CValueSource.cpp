#include "CValueSource.h"

#include "CNodeBase.h"
#include "CNodeMap.h"

#include <Base/GCException.h>

namespace GenApi {

void CValueSource::SetLiteral(CNumRef& target, const std::string& text) const {
  target.HasLiteral = true;
  if (m_IsFloat) {
    if (!ParseDouble(text, target.Float))
      throw RUNTIME_EXCEPTION("Invalid float value '%s'", text.c_str());
  } else {
    if (!ParseInt64(text, target.Int))
      throw RUNTIME_EXCEPTION("Invalid integer value '%s'", text.c_str());
  }
}

bool CValueSource::SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) {
  switch (prop) {
  case EProp::Value:
    SetLiteral(m_Value, text);
    return true;
  case EProp::pValue:
    m_Value.Ref.Name = text;
    return true;
  case EProp::pValueCopy:
    m_Copies.push_back(CRef{text, nullptr});
    return true;
  case EProp::pIndex:
    m_Index.Name = text;
    return true;
  case EProp::ValueIndexed:
  case EProp::pValueIndexed: {
    Indexed entry{0, {}};
    if (!ParseInt64(attr.Index, entry.Index))
      throw RUNTIME_EXCEPTION("Invalid Index '%s'", attr.Index.c_str());
    if (prop == EProp::ValueIndexed)
      SetLiteral(entry.Value, text);
    else
      entry.Value.Ref.Name = text;
    m_Table.push_back(entry);
    return true;
  }
  case EProp::ValueDefault:
    SetLiteral(m_Default, text);
    return true;
  case EProp::pValueDefault:
    m_Default.Ref.Name = text;
    return true;
  default:
    return false;
  }
}

void CValueSource::Link(CNodeBase& owner) {
  auto link = [&](CRef& ref, const char* what) {
    owner.Resolve(ref, what);
    if (ref.p && !ref.p->IsNumeric())
      throw GENAPI_OWNER_ERROR(RuntimeException, owner)(
          "Node '%s': %s '%s' is not a number", owner.Name().c_str(), what, ref.Name.c_str());
    owner.AddChild(ref.p);
  };
  link(m_Value.Ref, "pValue");
  link(m_Index, "pIndex");
  for (Indexed& entry : m_Table)
    link(entry.Value.Ref, "pValueIndexed");
  link(m_Default.Ref, "pValueDefault");
  for (CRef& copy : m_Copies)
    link(copy, "pValueCopy");
  if (!m_Value.IsSet() && !m_Index.IsSet())
    throw GENAPI_OWNER_ERROR(RuntimeException, owner)(
        "Node '%s' has neither Value, pValue nor pIndex", owner.Name().c_str());
}

CNumRef& CValueSource::Current(bool ignoreCache) {
  if (!m_Index.p)
    return m_Value;
  const int64_t index = m_Index.p->GetIntV(false, ignoreCache);
  for (Indexed& entry : m_Table)
    if (entry.Index == index)
      return entry.Value;
  return m_Default;
}

int64_t CValueSource::GetInt(bool verify, bool ignoreCache) {
  CNumRef& current = Current(ignoreCache);
  if (current.Ref.p)
    current.Ref.p->Map().Step();
  return current.Ref.p ? current.Ref.p->GetIntV(verify, ignoreCache) : current.Int;
}

double CValueSource::GetFloat(bool verify, bool ignoreCache) {
  CNumRef& current = Current(ignoreCache);
  if (current.Ref.p)
    current.Ref.p->Map().Step();
  return current.Ref.p ? current.Ref.p->GetFloatV(verify, ignoreCache) : current.Float;
}

void CValueSource::CheckTargets(const CNumRef& current) const {
  if (current.Ref.p)
    current.Ref.p->CheckWritableTarget();
  for (const CRef& copy : m_Copies)
    copy.p->CheckWritableTarget();
}

void CValueSource::SetInt(int64_t value, bool verify) {
  CNumRef& current = Current(false);
  CheckTargets(current);
  if (current.Ref.p) {
    current.Ref.p->SetIntV(value, verify);
  } else {
    current.HasLiteral = true;
    current.Int = value;
  }
  for (CRef& copy : m_Copies)
    copy.p->SetIntV(value, verify);
}

void CValueSource::SetFloat(double value, bool verify) {
  CNumRef& current = Current(false);
  CheckTargets(current);
  if (current.Ref.p) {
    current.Ref.p->SetFloatV(value, verify);
  } else {
    current.HasLiteral = true;
    current.Float = value;
  }
  for (CRef& copy : m_Copies)
    copy.p->SetFloatV(value, verify);
}

} // namespace GenApi
