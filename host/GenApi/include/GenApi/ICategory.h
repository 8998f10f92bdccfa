#pragma once
#include <GenApi/IValue.h>

namespace GenApi {

struct GENAPI_API ICategory : virtual public IValue {
  virtual void GetFeatures(FeatureList_t& Features) const = 0;
};

} // namespace GenApi
