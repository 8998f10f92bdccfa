#pragma once
#include "CFloatBase.h"
#include "CNumberNodeBase.h"

namespace GenApi {

//! The Float node: like Integer, with double values; pValue may be an integer node.
class CFloatNode : public CNumberNodeBase<CFloatBase, double> {
public:
  explicit CFloatNode(CNodeMap& map) : CNumberNodeBase(map, ENodeType::Float) {}
  double GetFloatV(bool verify, bool ignoreCache) override;
  void SetFloatV(double value, bool verify) override;
  double GetFloatMinV() override;
  double GetFloatMaxV() override;
  bool GetFloatIncV(double& inc) override;
};

} // namespace GenApi
