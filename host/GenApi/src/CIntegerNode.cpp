#include "CIntegerNode.h"

#include "CNodeMap.h"

namespace GenApi {

bool CIntegerNode::SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) {
  CNumRef* limit = nullptr;
  switch (prop) {
  case EProp::Min:
  case EProp::pMin:
    limit = &m_Min;
    break;
  case EProp::Max:
  case EProp::pMax:
    limit = &m_Max;
    break;
  case EProp::Inc:
  case EProp::pInc:
    limit = &m_Inc;
    break;
  default:
    return m_Source.SetProperty(prop, text, attr) || CIntegerBase::SetProperty(prop, text, attr);
  }
  if (prop == EProp::pMin || prop == EProp::pMax || prop == EProp::pInc) {
    limit->Ref.Name = text;
  } else {
    if (!ParseInt64(text, limit->Int))
      throw RUNTIME_EXCEPTION("Invalid integer '%s'", text.c_str());
    limit->HasLiteral = true;
  }
  return true;
}

void CIntegerNode::Link() {
  CIntegerBase::Link();
  m_Source.Link(*this);
  for (CNumRef* limit : {&m_Min, &m_Max, &m_Inc}) {
    Resolve(limit->Ref, "pMin/pMax/pInc");
    if (limit->Ref.p && !limit->Ref.p->IsNumeric())
      throw GENAPI_NODE_ERROR(RuntimeException)("Node '%s': '%s' is not a number", m_Name.c_str(),
                                                limit->Ref.Name.c_str());
    AddChild(limit->Ref.p);
  }
}

int64_t CIntegerNode::GetIntV(bool verify, bool ignoreCache) {
  return m_Source.GetInt(verify, ignoreCache);
}

void CIntegerNode::SetIntV(int64_t value, bool verify) {
  m_pMap->PreWrite(this);
  m_Source.SetInt(value, verify);
  m_pMap->PostWrite(this);
}

int64_t CIntegerNode::GetIntMinV() {
  if (m_Min.IsSet())
    return m_Min.GetInt(false);
  CNodeBase* value = m_Source.ValueNode();
  return value ? value->GetIntMinV() : CIntegerBase::GetIntMinV();
}

int64_t CIntegerNode::GetIntMaxV() {
  if (m_Max.IsSet())
    return m_Max.GetInt(false);
  CNodeBase* value = m_Source.ValueNode();
  return value ? value->GetIntMaxV() : CIntegerBase::GetIntMaxV();
}

int64_t CIntegerNode::GetIntIncV() {
  if (m_Inc.IsSet())
    return m_Inc.GetInt(false);
  CNodeBase* value = m_Source.ValueNode();
  return value && !value->IsFloatValue() ? value->GetIntIncV() : 1;
}

EAccessMode CIntegerNode::NaturalAccessMode() const {
  CNodeBase* value = m_Source.ValueNode();
  return value ? value->GetAccessMode() : RW;
}

void CIntegerNode::InvalidateOwn() {
  if (CNodeBase* value = m_Source.ValueNode())
    value->InvalidateOwn();
}

ECachingMode CIntegerNode::GetCachingMode() const {
  CNodeBase* value = m_Source.ValueNode();
  return value ? value->GetCachingMode() : WriteThrough;
}

bool CIntegerNode::IsValueCacheValid() const {
  CNodeBase* value = m_Source.ValueNode();
  return value ? value->IsValueCacheValid() : true;
}

} // namespace GenApi
