#include "CFloatNode.h"

#include "CNodeMap.h"

namespace GenApi {

bool CFloatNode::SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) {
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
    return m_Source.SetProperty(prop, text, attr) || CFloatBase::SetProperty(prop, text, attr);
  }
  if (prop == EProp::pMin || prop == EProp::pMax || prop == EProp::pInc) {
    limit->Ref.Name = text;
  } else {
    if (!ParseDouble(text, limit->Float))
      throw RUNTIME_EXCEPTION("Invalid float '%s'", text.c_str());
    limit->HasLiteral = true;
  }
  return true;
}

void CFloatNode::Link() {
  CFloatBase::Link();
  m_Source.Link(*this);
  for (CNumRef* limit : {&m_Min, &m_Max, &m_Inc}) {
    Resolve(limit->Ref, "pMin/pMax/pInc");
    if (limit->Ref.p && !limit->Ref.p->IsNumeric())
      throw GENAPI_NODE_ERROR(RuntimeException)("Node '%s': '%s' is not a number", m_Name.c_str(),
                                                limit->Ref.Name.c_str());
    AddChild(limit->Ref.p);
  }
}

double CFloatNode::GetFloatV(bool verify, bool ignoreCache) {
  return m_Source.GetFloat(verify, ignoreCache);
}

void CFloatNode::SetFloatV(double value, bool verify) {
  m_pMap->PreWrite(this);
  m_Source.SetFloat(value, verify);
  m_pMap->PostWrite(this);
}

double CFloatNode::GetFloatMinV() {
  if (m_Min.IsSet())
    return m_Min.GetFloat(false);
  CNodeBase* value = m_Source.ValueNode();
  return value ? value->GetFloatMinV() : CFloatBase::GetFloatMinV();
}

double CFloatNode::GetFloatMaxV() {
  if (m_Max.IsSet())
    return m_Max.GetFloat(false);
  CNodeBase* value = m_Source.ValueNode();
  return value ? value->GetFloatMaxV() : CFloatBase::GetFloatMaxV();
}

bool CFloatNode::GetFloatIncV(double& inc) {
  if (!m_Inc.IsSet())
    return false;
  inc = m_Inc.GetFloat(false);
  return true;
}

EAccessMode CFloatNode::NaturalAccessMode() const {
  CNodeBase* value = m_Source.ValueNode();
  return value ? value->GetAccessMode() : RW;
}

void CFloatNode::InvalidateOwn() {
  if (CNodeBase* value = m_Source.ValueNode())
    value->InvalidateOwn();
}

ECachingMode CFloatNode::GetCachingMode() const {
  CNodeBase* value = m_Source.ValueNode();
  return value ? value->GetCachingMode() : WriteThrough;
}

bool CFloatNode::IsValueCacheValid() const {
  CNodeBase* value = m_Source.ValueNode();
  return value ? value->IsValueCacheValid() : true;
}

} // namespace GenApi
