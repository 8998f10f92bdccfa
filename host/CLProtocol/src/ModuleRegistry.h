#pragma once
#include <CLProtocol/ClSerialTypes.h>
#include <CLProtocol/DeviceID.h>

#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace CLProtocol {

class CSerialLibrary;
class CProtocolDriver;

//! Finds the serial libraries and CLProtocol drivers of this installation and of the
//! environment, loads each file once per process and keeps it. Folders are scanned again on
//! every query, so files added later are found; nothing found is ever unloaded, so the pointers
//! handed out stay valid without holding the lock.
class CModuleRegistry {
public:
  struct SPort {
    CSerialLibrary* library;
    CLUINT32 index;
    std::string id; // "<manufacturer>#<port identifier>"
  };
  struct SDriver {
    std::string directory; // the folder of the library, token 0 of DeviceIDs
    std::string fileName;  // token 1
    CProtocolDriver* driver;
  };

  static CModuleRegistry& Instance();

  std::vector<SPort> Ports();
  std::vector<SDriver> Drivers();
  //! The discovered driver named by a DeviceID's directory and file tokens, null if there is
  //! none: a DeviceID can only select a driver that discovery found.
  CProtocolDriver* FindDriver(const CDeviceID& deviceID);
  bool FindPort(const std::string& portID, SPort& port);

  //! <libdir> of this installation: $VORLA_ROOT/lib ($VORLA_ROOT/bin on Windows) when set, else
  //! the folder of this library.
  static std::string LibraryFolder();

private:
  CModuleRegistry() = default;
  CSerialLibrary* SerialLibraryAt(const std::string& path);
  CProtocolDriver* DriverAt(const std::string& path);

  // Owned by the registry: guards the containers below (held while a file is loaded so
  // that two threads never load the same module twice).
  std::mutex m_lock;
  std::map<std::string, std::unique_ptr<CSerialLibrary>> m_serialLibraries; // by real path
  std::map<std::string, std::unique_ptr<CProtocolDriver>> m_drivers;        // by real path
  std::set<std::string> m_rejected;      // files that did not load or are no module of their kind
  std::set<std::string> m_warnedFolders; // missing driver folders, warned about once
};

} // namespace CLProtocol
