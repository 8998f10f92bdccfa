#pragma once
#include "CIntegerBase.h"
#include "CValueSource.h"

namespace GenApi {

//! The Integer node: a value from a literal, a pValue node or an indexed table, with a range.
class CIntegerNode : public CIntegerBase {
public:
  explicit CIntegerNode(CNodeMap& map) : CIntegerBase(map, ENodeType::Integer), m_Source(false) {}
  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) override;
  void Link() override;
  int64_t GetIntV(bool verify, bool ignoreCache) override;
  void SetIntV(int64_t value, bool verify) override;
  int64_t GetIntMinV() override;
  int64_t GetIntMaxV() override;
  int64_t GetIntIncV() override;
  EAccessMode NaturalAccessMode() const override;
  void InvalidateOwn() override;
  ECachingMode GetCachingMode() const override;
  bool IsValueCacheValid() const override;

private:
  CValueSource m_Source;
  CNumRef m_Min, m_Max, m_Inc;
};

} // namespace GenApi
