#pragma once
#include <GenApi/GenApiDll.h>
#include <GenApi/Types.h>

namespace GenApi {

//! Root of every GenApi interface.
struct GENAPI_API IBase {
  virtual EAccessMode GetAccessMode() const = 0;

protected:
  virtual ~IBase() = default;
};

} // namespace GenApi
