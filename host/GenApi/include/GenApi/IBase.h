#pragma once
#include <GenApi/Types.h>

namespace GenApi {

//! Root of every GenApi interface.
struct IBase {
  virtual EAccessMode GetAccessMode() const = 0;

protected:
  virtual ~IBase() = default;
};

} // namespace GenApi
