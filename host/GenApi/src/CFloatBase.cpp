#include "CFloatBase.h"

#include "CEntryGuard.h"
#include "CIntegerBase.h"
#include "CNodeMap.h"

#include <algorithm>
#include <cstdio>

namespace GenApi {

bool CFloatBase::SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) {
  switch (prop) {
  case EProp::Unit:
    m_Unit = text;
    return true;
  case EProp::Representation:
    m_Representation = ParseRepresentation(text);
    return true;
  case EProp::DisplayNotation:
    m_Notation = text == "Fixed" ? fnFixed : text == "Scientific" ? fnScientific : fnAutomatic;
    return true;
  case EProp::DisplayPrecision:
    if (!ParseInt64(text, m_Precision) || m_Precision < 0 || m_Precision > 30)
      throw RUNTIME_EXCEPTION("Invalid display precision '%s'", text.c_str());
    return true;
  default:
    return CNodeBase::SetProperty(prop, text, attr);
  }
}

void CFloatBase::CheckAvailable() const {
  ThrowIfNotImplemented();
  if (!GenApi::IsAvailable(GetAccessMode()))
    throw GENAPI_NODE_ERROR(AccessException)("Node is not available.");
}

void CFloatBase::CheckRange(double value) {
  const double min = std::max(GetFloatMinV(), m_ImposedMin);
  const double max = std::min(GetFloatMaxV(), m_ImposedMax);
  if (value < min)
    throw GENAPI_NODE_ERROR(OutOfRangeException)("Value %f must be greater than or equal %f.",
                                                 value, min);
  if (value > max)
    throw GENAPI_NODE_ERROR(OutOfRangeException)("Value %f must be smaller than or equal %f.",
                                                 value, max);
}

void CFloatBase::SetValue(double Value, bool Verify) {
  CEntryGuard guard(*this, "SetValue");
  CheckWritable();
  if (Verify || !m_Streamable)
    CheckRange(Value);
  SetFloatV(Value, Verify);
  guard.Done();
}

double CFloatBase::GetValue(bool Verify, bool IgnoreCache) {
  CEntryGuard guard(*this, "GetValue");
  CheckReadable();
  const double value = GetFloatV(Verify, IgnoreCache || Verify);
  if (Verify)
    CheckRange(value);
  guard.Done();
  return value;
}

double CFloatBase::GetMin() {
  CEntryGuard guard(*this, "GetMin");
  CheckAvailable();
  const double value = std::max(GetFloatMinV(), m_ImposedMin);
  guard.Done();
  return value;
}

double CFloatBase::GetMax() {
  CEntryGuard guard(*this, "GetMax");
  CheckAvailable();
  const double value = std::min(GetFloatMaxV(), m_ImposedMax);
  guard.Done();
  return value;
}

bool CFloatBase::HasInc() {
  AutoLock lock(m_pMap->GetLock());
  m_pMap->BeginQuery();
  double inc = 0;
  return GetFloatIncV(inc);
}

double CFloatBase::GetInc() {
  CEntryGuard guard(*this, "GetInc");
  CheckAvailable();
  double inc = 0;
  if (!GetFloatIncV(inc))
    throw GENAPI_NODE_ERROR(RuntimeException)("node does not have an increment.");
  guard.Done();
  return inc;
}

gcstring CFloatBase::ToString(bool Verify, bool IgnoreCache) {
  const double value = GetValue(Verify, IgnoreCache);
  char text[128];
  const int precision = static_cast<int>(m_Precision);
  if (m_Notation == fnFixed)
    std::snprintf(text, sizeof text, "%.*f", precision, value);
  else if (m_Notation == fnScientific)
    std::snprintf(text, sizeof text, "%.*e", precision, value);
  else
    std::snprintf(text, sizeof text, "%.*g", precision, value);
  return text;
}

void CFloatBase::FromString(const gcstring& ValueStr, bool Verify) {
  double value = 0;
  if (!ParseDouble(ValueStr, value))
    throw GENAPI_NODE_ERROR(InvalidArgumentException)(
        "Node '%s' : cannot convert string '%s' to double.", m_Name.c_str(), ValueStr.c_str());
  SetValue(value, Verify);
}

} // namespace GenApi
