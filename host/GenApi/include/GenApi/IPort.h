#pragma once
#include <GenApi/IBase.h>

namespace GenApi {

//! The register space of a device as a node map sees it.
struct GENAPI_API IPort : virtual public IBase {
  virtual void Read(void* pBuffer, int64_t Address, int64_t Length) = 0;
  virtual void Write(const void* pBuffer, int64_t Address, int64_t Length) = 0;
};

} // namespace GenApi
