#pragma once
#include "CConverterBase.h"
#include "CFloatBase.h"

namespace GenApi {

//! Converter: a float view of the pValue node.
class CConverterNode : public CConverterBase<CFloatBase, double> {
public:
  explicit CConverterNode(CNodeMap& map) : CConverterBase(map, ENodeType::Converter) {}
  double GetFloatV(bool verify, bool ignoreCache) override;
  void SetFloatV(double value, bool verify) override;
  double GetFloatMinV() override;
  double GetFloatMaxV() override;
};

} // namespace GenApi
