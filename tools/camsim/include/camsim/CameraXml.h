#pragma once
#include <camsim/CamSimDef.h>

#include <string>

namespace camsim {

//! The camera's own GenApi description (schema 1.1).
CAMSIM_API const std::string& CameraXml();

} // namespace camsim
