#include <VorlaBase/InfoBase.h>

#include <algorithm>

namespace Vorla {

const char* const CInfoBase::PropertyNotAvailable = "N/A";

CInfoBase::CInfoBase() = default;
CInfoBase::CInfoBase(const CInfoBase&) = default;
CInfoBase& CInfoBase::operator=(const CInfoBase&) = default;
CInfoBase::~CInfoBase() = default;

unsigned int CInfoBase::GetPropertyNames(gcstring_vector& names) const {
  for (const auto& p : m_properties)
    names.push_back(p.first);
  return static_cast<unsigned int>(m_properties.size());
}

bool CInfoBase::GetPropertyAvailable(const gcstring& name) const {
  return std::any_of(m_properties.begin(), m_properties.end(),
                     [&](const auto& p) { return p.first == name; });
}

bool CInfoBase::GetPropertyValue(const gcstring& name, gcstring& value) const {
  for (const auto& p : m_properties)
    if (p.first == name) {
      value = p.second;
      return true;
    }
  return false;
}

CInfoBase& CInfoBase::SetPropertyValue(const gcstring& name, const gcstring& value) {
  for (auto& p : m_properties)
    if (p.first == name) {
      p.second = value;
      return *this;
    }
  m_properties.emplace_back(name, value);
  return *this;
}

bool CInfoBase::IsSubset(const CInfoBase& subset) const {
  gcstring value;
  return std::all_of(subset.m_properties.begin(), subset.m_properties.end(), [&](const auto& p) {
    return GetPropertyValue(p.first, value) && value == p.second;
  });
}

bool CInfoBase::IsUserProvided() const { return m_userProvided; }

gcstring CInfoBase::Get(const char* key) const {
  gcstring value;
  return GetPropertyValue(key, value) ? value : gcstring(PropertyNotAvailable);
}

} // namespace Vorla
