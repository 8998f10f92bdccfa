#pragma once
#include <camsim/CamSimDef.h>

#include <cstdint>
#include <string>

namespace camsim {

//! The camera's own GenApi description (schema 1.1).
CAMSIM_API const std::string& CameraXml();

//! That description with `extraFeatures` generated features more in a category
//! "UserDefinedValues" (see SCameraOptions::m_ExtraFeatures); 0 gives CameraXml().
CAMSIM_API std::string CameraXml(std::uint32_t extraFeatures);

} // namespace camsim
