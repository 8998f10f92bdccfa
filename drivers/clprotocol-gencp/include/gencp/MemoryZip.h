#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace GenCP {

//! ZIP archives held in memory (a camera's zipped description holds exactly one file).
class CMemoryZip {
public:
  //! An archive with one deflated file.
  static std::vector<std::uint8_t> Zip(const std::string& fileName,
                                       const std::vector<std::uint8_t>& content);
  //! The first file of an archive; false when the archive is damaged or empty.
  static bool UnzipFirst(const std::vector<std::uint8_t>& archive, std::vector<std::uint8_t>& out);
};

} // namespace GenCP
