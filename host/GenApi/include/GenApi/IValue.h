#pragma once
#include <GenApi/INode.h>

namespace GenApi {

//! A node that has a value with a text form.
struct GENAPI_API IValue : virtual public IBase {
  virtual INode* GetNode() = 0;
  virtual gcstring ToString(bool Verify = false, bool IgnoreCache = false) = 0;
  virtual void FromString(const gcstring& ValueStr, bool Verify = true) = 0;
  virtual bool IsValueCacheValid() const = 0;
};

using FeatureList_t = std::vector<IValue*>;

} // namespace GenApi
