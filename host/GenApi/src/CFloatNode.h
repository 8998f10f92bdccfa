#pragma once
#include "CFloatBase.h"
#include "CValueSource.h"

namespace GenApi {

//! The Float node: like Integer, with double values; pValue may be an integer node.
class CFloatNode : public CFloatBase {
public:
  explicit CFloatNode(CNodeMap& map) : CFloatBase(map, ENodeType::Float), m_Source(true) {}
  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) override;
  void Link() override;
  double GetFloatV(bool verify, bool ignoreCache) override;
  void SetFloatV(double value, bool verify) override;
  double GetFloatMinV() override;
  double GetFloatMaxV() override;
  bool GetFloatIncV(double& inc) override;
  EAccessMode NaturalAccessMode() const override;
  void InvalidateOwn() override;
  ECachingMode GetCachingMode() const override;
  bool IsValueCacheValid() const override;

private:
  CValueSource m_Source;
  CNumRef m_Min, m_Max, m_Inc;
};

} // namespace GenApi
