#include <VorlaBase/VorlaFolders.h>

#include <platform/DynamicLibrary.h>
#include <platform/Environment.h>
#include <platform/SystemPaths.h>

namespace Vorla {
namespace {
GenICam::gcstring LibraryFolder() {
  std::string root;
  if (Platform::GetEnv("VORLA_ROOT", root) && !root.empty())
    return root + getVorlaPathSeperator() + Platform::kLibraryFolder;
  const std::string self =
      Platform::CDynamicLibrary::PathOfAddress(reinterpret_cast<const void*>(&LibraryFolder));
  const size_t slash = self.find_last_of("/\\");
  return slash == std::string::npos ? std::string(".") : self.substr(0, slash);
}
} // namespace

GenICam::gcstring getVorlaFolderPath(int folderType) {
  const GenICam::gcstring sep = getVorlaPathSeperator();
  const GenICam::gcstring root = LibraryFolder() + sep + "vorla";
  switch (folderType) {
  case VorlaFolderTl:
    return root + sep + "tl";
  case VorlaFolderClSerial:
    return root + sep + "clserial";
  case VorlaFolderClProtocol:
    return root + sep + "clprotocol";
  case VorlaFolderFgPlugins:
    return root + sep + "fg";
  default:
    return root;
  }
}

GenICam::gcstring getVorlaPathSeperator() {
#if defined(_WIN32)
  return "\\";
#else
  return "/";
#endif
}

} // namespace Vorla
