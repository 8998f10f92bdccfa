#pragma once
#include "PngImage.h"

#include <string>

namespace VorlaCl {

//! Writes pictures as PNG files. A file appears under its name only when it was written whole:
//! it is written beside it under a temporary name and renamed at the end; on any failure the
//! temporary file is removed. Stateless; any thread.
class CPngWriter {
public:
  //! Throws std::runtime_error "cannot write '<path>': <reason>".
  static void Write(const std::string& path, const SPngImage& image);
};

} // namespace VorlaCl
