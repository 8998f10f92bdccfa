#pragma once
#include "CIntegerBase.h"
#include "CNumberNodeBase.h"

namespace GenApi {

//! The Integer node: a value from a literal, a pValue node or an indexed table, with a range.
class CIntegerNode : public CNumberNodeBase<CIntegerBase, int64_t> {
public:
  explicit CIntegerNode(CNodeMap& map) : CNumberNodeBase(map, ENodeType::Integer) {}
  int64_t GetIntV(bool verify, bool ignoreCache) override;
  void SetIntV(int64_t value, bool verify) override;
  int64_t GetIntMinV() override;
  int64_t GetIntMaxV() override;
  int64_t GetIntIncV() override;
};

} // namespace GenApi
