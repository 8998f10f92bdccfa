#pragma once
#include "CRef.h"

#include <cstdint>
#include <string>

namespace GenApi {

//! A number given either literally (Min, Value, ...) or by a node (pMin, pValue, ...).
struct CNumRef {
  CRef Ref;
  bool HasLiteral = false;
  int64_t Int = 0;
  double Float = 0.0;

  bool IsSet() const { return HasLiteral || Ref.IsSet(); }
  int64_t GetInt(bool ignoreCache) const;
  double GetFloat(bool ignoreCache) const;
};

} // namespace GenApi
