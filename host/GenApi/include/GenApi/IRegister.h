#pragma once
#include <GenApi/IValue.h>

namespace GenApi {

struct GENAPI_API IRegister : virtual public IValue {
  virtual void Set(const uint8_t* pBuffer, int64_t Length, bool Verify = true) = 0;
  virtual void Get(uint8_t* pBuffer, int64_t Length, bool Verify = false,
                   bool IgnoreCache = false) = 0;
  virtual int64_t GetLength() = 0;
  virtual int64_t GetAddress() = 0;
};

} // namespace GenApi
