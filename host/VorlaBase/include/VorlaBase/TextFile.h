#pragma once
#include <Base/GCString.h>
#include <VorlaBase/VorlaBaseDef.h>

namespace Vorla {

//! The largest file textFileToString reads.
constexpr unsigned long long MaxTextFileBytes = 256ull * 1024 * 1024;

//! The whole content of a file, bytes unchanged. Throws GenICam::RuntimeException naming the
//! path and the reason when the file cannot be read or is larger than MaxTextFileBytes.
//! Reentrant.
VORLABASE_API GenICam::gcstring textFileToString(const GenICam::gcstring& path);

} // namespace Vorla
