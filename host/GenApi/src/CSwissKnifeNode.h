#pragma once
#include "CFloatBase.h"
#include "CSwissKnifeBase.h"

namespace GenApi {

//! SwissKnife: a read-only float computed by a formula.
class CSwissKnifeNode : public CSwissKnifeBase<CFloatBase, double> {
public:
  explicit CSwissKnifeNode(CNodeMap& map) : CSwissKnifeBase(map, ENodeType::SwissKnife) {}
  double GetFloatV(bool verify, bool ignoreCache) override;
};

} // namespace GenApi
