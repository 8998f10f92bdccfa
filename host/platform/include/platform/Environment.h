#pragma once
#include <platform/Visibility.h>

#include <string>

namespace Vorla {
namespace Platform {
//! Reads an environment variable. Returns false when it is not set (an empty value is set).
VORLA_PLATFORM_API bool GetEnv(const std::string& name, std::string& value);
} // namespace Platform
} // namespace Vorla
