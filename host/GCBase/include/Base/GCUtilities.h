#pragma once
#include <Base/GCBaseDef.h>
#include <Base/GCString.h>

namespace GenICam {
//! Replaces every "$(NAME)" by the value of the environment variable NAME (an unset variable
//! becomes empty). Returns true when every variable named was set.
GCBASE_API bool ReplaceEnvironmentVariables(gcstring& buffer, bool replaceBlankBy20 = false);
} // namespace GenICam
