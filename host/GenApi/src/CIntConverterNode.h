#pragma once
#include "CConverterBase.h"
#include "CIntegerBase.h"

namespace GenApi {

//! IntConverter: an integer view of the pValue node.
class CIntConverterNode : public CConverterBase<CIntegerBase, int64_t> {
public:
  explicit CIntConverterNode(CNodeMap& map) : CConverterBase(map, ENodeType::IntConverter) {}
  int64_t GetIntV(bool verify, bool ignoreCache) override;
  void SetIntV(int64_t value, bool verify) override;
  int64_t GetIntMinV() override;
  int64_t GetIntMaxV() override;
};

} // namespace GenApi
