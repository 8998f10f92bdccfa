#include "CIntegerBase.h"

#include "CEntryGuard.h"
#include "CNodeMap.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>

namespace GenApi {

ERepresentation ParseRepresentation(const std::string& text) {
  static const char* const names[] = {"Linear",    "Logarithmic", "Boolean",   "PureNumber",
                                      "HexNumber", "IPV4Address", "MACAddress"};
  for (int i = 0; i < 7; ++i)
    if (text == names[i])
      return static_cast<ERepresentation>(i);
  return _UndefinedRepresentation;
}

bool CIntegerBase::SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) {
  if (prop == EProp::Unit)
    return m_Unit = text, true;
  if (prop == EProp::Representation)
    return m_Representation = ParseRepresentation(text), true;
  return CNodeBase::SetProperty(prop, text, attr);
}

void CIntegerBase::CheckAvailable() const {
  ThrowIfNotImplemented();
  if (!GenApi::IsAvailable(GetAccessMode()))
    throw GENAPI_NODE_ERROR(AccessException)("Node is not available.");
}

void CIntegerBase::CheckRange(int64_t value) {
  const int64_t min = std::max(GetIntMinV(), m_ImposedMin);
  const int64_t max = std::min(GetIntMaxV(), m_ImposedMax);
  if (value < min)
    throw GENAPI_NODE_ERROR(OutOfRangeException)(
        "Value = %lld must be equal or greater than Min = %lld.", static_cast<long long>(value),
        static_cast<long long>(min));
  if (value > max)
    throw GENAPI_NODE_ERROR(OutOfRangeException)(
        "Value = %lld must be equal or smaller than Max = %lld.", static_cast<long long>(value),
        static_cast<long long>(max));
  const int64_t inc = GetIntIncV();
  if (inc <= 0)
    throw GENAPI_NODE_ERROR(LogicalErrorException)("Increment must be larger than 0.");
  if ((static_cast<uint64_t>(value) - static_cast<uint64_t>(min)) % static_cast<uint64_t>(inc))
    throw GENAPI_NODE_ERROR(OutOfRangeException)(
        "The difference between Value = %lld and Min = %lld must be dividable without rest by "
        "Inc = %lld.",
        static_cast<long long>(value), static_cast<long long>(min), static_cast<long long>(inc));
}

void CIntegerBase::SetValue(int64_t Value, bool Verify) {
  CEntryGuard guard(*this, "SetValue");
  CheckWritable();
  if (Verify || !m_Streamable)
    CheckRange(Value);
  SetIntV(Value, Verify);
  guard.Done();
}

int64_t CIntegerBase::GetValue(bool Verify, bool IgnoreCache) {
  CEntryGuard guard(*this, "GetValue");
  CheckReadable();
  const int64_t value = GetIntV(Verify, IgnoreCache || Verify);
  if (Verify)
    CheckRange(value);
  guard.Done();
  return value;
}

int64_t CIntegerBase::GetMin() {
  CEntryGuard guard(*this, "GetMin");
  CheckAvailable();
  const int64_t value = std::max(GetIntMinV(), m_ImposedMin);
  guard.Done();
  return value;
}

int64_t CIntegerBase::GetMax() {
  CEntryGuard guard(*this, "GetMax");
  CheckAvailable();
  const int64_t value = std::min(GetIntMaxV(), m_ImposedMax);
  guard.Done();
  return value;
}

int64_t CIntegerBase::GetInc() {
  CEntryGuard guard(*this, "GetInc");
  CheckAvailable();
  const int64_t value = GetIntIncV();
  guard.Done();
  return value;
}

gcstring CIntegerBase::ToString(bool Verify, bool IgnoreCache) {
  const int64_t value = GetValue(Verify, IgnoreCache);
  char text[64];
  const auto bits = static_cast<uint64_t>(value);
  switch (m_Representation) {
  case HexNumber:
    std::snprintf(text, sizeof text, "0x%" PRIx64, bits);
    break;
  case IPV4Address:
    std::snprintf(text, sizeof text, "%u.%u.%u.%u", unsigned(bits >> 24 & 0xff),
                  unsigned(bits >> 16 & 0xff), unsigned(bits >> 8 & 0xff), unsigned(bits & 0xff));
    break;
  case MACAddress:
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", unsigned(bits >> 40 & 0xff),
                  unsigned(bits >> 32 & 0xff), unsigned(bits >> 24 & 0xff),
                  unsigned(bits >> 16 & 0xff), unsigned(bits >> 8 & 0xff), unsigned(bits & 0xff));
    break;
  default:
    std::snprintf(text, sizeof text, "%" PRId64, value);
  }
  return text;
}

void CIntegerBase::FromString(const gcstring& ValueStr, bool Verify) {
  int64_t value = 0;
  bool ok = ParseInt64(ValueStr, value);
  if (!ok && (m_Representation == IPV4Address || m_Representation == MACAddress)) {
    const bool ip = m_Representation == IPV4Address;
    unsigned part[6] = {};
    char tail = 0;
    const int n = ip ? std::sscanf(ValueStr.c_str(), "%u.%u.%u.%u%c", &part[0], &part[1], &part[2],
                                   &part[3], &tail)
                     : std::sscanf(ValueStr.c_str(), "%x:%x:%x:%x:%x:%x%c", &part[0], &part[1],
                                   &part[2], &part[3], &part[4], &part[5], &tail);
    const int parts = ip ? 4 : 6;
    ok = n == parts && std::all_of(part, part + parts, [](unsigned p) { return p < 256; });
    for (int i = 0; ok && i < parts; ++i)
      value = value << 8 | part[i];
  }
  if (!ok)
    throw GENAPI_NODE_ERROR(InvalidArgumentException)(
        "Node '%s' : cannot convert string '%s' to int.", m_Name.c_str(), ValueStr.c_str());
  SetValue(value, Verify);
}

} // namespace GenApi
