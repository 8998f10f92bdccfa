#include "CEnumEntryNode.h"

namespace GenApi {

bool CEnumEntryNode::SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) {
  switch (prop) {
  case EProp::Value:
    if (!ParseInt64(text, m_Value))
      throw RUNTIME_EXCEPTION("Invalid integer '%s'", text.c_str());
    m_HasValue = true;
    return true;
  case EProp::NumericValue:
    if (!ParseDouble(text, m_Numeric))
      throw RUNTIME_EXCEPTION("Invalid float '%s'", text.c_str());
    m_HasNumeric = true;
    return true;
  case EProp::Symbolic:
    m_Symbolic = text;
    return true;
  case EProp::IsSelfClearing:
    ParseYesNo(text, m_SelfClearing);
    return true;
  default:
    return CNodeBase::SetProperty(prop, text, attr);
  }
}

} // namespace GenApi
