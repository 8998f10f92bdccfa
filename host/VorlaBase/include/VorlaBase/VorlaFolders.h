#pragma once
#include <Base/GCString.h>
#include <VorlaBase/VorlaBaseDef.h>

namespace Vorla {

//! Folder types of getVorlaFolderPath.
enum EVorlaFolder {
  VorlaFolderRoot = 0,        // <libdir>/vorla
  VorlaFolderTl = 1,          // transport-layer plug-ins
  VorlaFolderClSerial = 2,    // Camera Link serial libraries
  VorlaFolderClProtocol = 3,  // CLProtocol driver folder (holds Linux64_x64/)
  VorlaFolderFgPlugins = 4    // frame-grabber plug-ins
};

//! A folder of the installation, without a trailing separator, found relative to the VorlaBase
//! library (or to $VORLA_ROOT/lib; $VORLA_ROOT/bin on Windows, where the DLLs sit).
VORLABASE_API GenICam::gcstring getVorlaFolderPath(int folderType);
//! The separator between folder and file names of this platform.
VORLABASE_API GenICam::gcstring getVorlaPathSeperator();

} // namespace Vorla
