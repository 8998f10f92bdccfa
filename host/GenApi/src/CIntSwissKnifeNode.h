#pragma once
#include "CIntegerBase.h"
#include "CSwissKnifeBase.h"

namespace GenApi {

//! IntSwissKnife: a read-only integer computed by a formula in integer arithmetic. Also used
//! unnamed inside registers as an address term.
class CIntSwissKnifeNode : public CSwissKnifeBase<CIntegerBase, int64_t> {
public:
  explicit CIntSwissKnifeNode(CNodeMap& map) : CSwissKnifeBase(map, ENodeType::IntSwissKnife) {}
  int64_t GetIntV(bool verify, bool ignoreCache) override;
};

} // namespace GenApi
