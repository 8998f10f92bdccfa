#include <VorlaBase/TextFile.h>

#include <Base/GCException.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

namespace Vorla {

GenICam::gcstring textFileToString(const GenICam::gcstring& path) {
  std::error_code ec;
  if (std::filesystem::is_directory(path, ec))
    throw RUNTIME_EXCEPTION("Could not read file '%s': %s", path.c_str(), "it is a folder");
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                       &std::fclose);
  if (!file)
    throw RUNTIME_EXCEPTION("Could not read file '%s': %s", path.c_str(), std::strerror(errno));
  // Read to the end rather than trusting a size: special files have none.
  GenICam::gcstring text;
  char chunk[64 * 1024];
  for (;;) {
    const size_t got = std::fread(chunk, 1, sizeof chunk, file.get());
    if (text.size() + got > MaxTextFileBytes)
      throw RUNTIME_EXCEPTION("Could not read file '%s': %s", path.c_str(), "larger than 256 MiB");
    text.append(chunk, got);
    if (got < sizeof chunk)
      break;
  }
  if (std::ferror(file.get()))
    throw RUNTIME_EXCEPTION("Could not read file '%s': %s", path.c_str(), std::strerror(errno));
  return text;
}

} // namespace Vorla
