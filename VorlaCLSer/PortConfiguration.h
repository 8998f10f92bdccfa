#pragma once
// The port configuration ("CL bindings") state of the transport layer: which serial ports are
// enabled and what is attached to each, read from PortConfiguration_x64.xml.
#include <Base/GCBase.h>
#include <VorlaBase/IEnumerationReporter.h>

#include <platform/Mutex.h>

#include <cstdint>
#include <vector>

namespace Vorla {

//! One accepted Port element of the configuration file.
struct SPortConfigurationEntry {
  GenICam::gcstring ID;                   // serial port id, never empty in a table
  GenICam::gcstring Manufacturer;         // camera type bound to the port, empty when absent
  GenICam::gcstring Family;               //
  GenICam::gcstring Model;                //
  GenICam::gcstring DeviceSpecificString; // free text for the frame-grabber side
  GenICam::gcstring BaudRate;             // becomes "InitialBaudRate", not interpreted here
  bool Enabled = false;
};

//! Entries in document order, duplicates kept.
using PortConfigurationTable = std::vector<SPortConfigurationEntry>;

//! The transport layer's port configuration state: table, full path it was read from, that
//! file's modification time (0 = nothing cached). Read and replaced only under the transport
//! layer's recursive lock; parsing runs outside it, so two threads may parse at once and the
//! last to finish wins.
class CPortConfiguration {
public:
  explicit CPortConfiguration(Platform::CRecursiveMutex& transportLayerLock);
  CPortConfiguration(const CPortConfiguration&) = delete;
  CPortConfiguration& operator=(const CPortConfiguration&) = delete;

  //! Builds the path, re-reads the file if its path or modification time changed and returns
  //! the number of entries. A missing file empties the table. Parse failures are logged and
  //! thrown on; the state of the last successful read stays.
  unsigned int LoadPortConfiguration();
  //! A copy of the current table.
  PortConfigurationTable GetTable() const;
  //! The path of the last read, empty before the first.
  GenICam::gcstring GetPath() const;
  //! The modification time of the file of the last read, 0 when nothing is cached.
  std::int64_t GetModificationTime() const;

  //! The full path of the file: the folder VORLA_CL_BINDINGS names (an empty value means the
  //! current directory), or, when it is not set, the machine-wide configuration folder +
  //! "Hexmar/CLBindings"; then "PortConfiguration_x64.xml". Built anew on every call.
  static GenICam::gcstring BuildPath();
  //! Whether the file at `path` is missing, unreadable (with the system's reason in `problem`)
  //! or readable, for the enumeration report; a missing or unreadable file reads as empty.
  static EConfigurationFileState CheckFile(const GenICam::gcstring& path,
                                           GenICam::gcstring& problem);

private:
  Platform::CRecursiveMutex& m_lock; // the transport layer's lock, owned by the transport layer
  PortConfigurationTable m_table VORLA_GUARDED_BY(m_lock);
  GenICam::gcstring m_path VORLA_GUARDED_BY(m_lock);
  std::int64_t m_modificationTime VORLA_GUARDED_BY(m_lock) = 0;
};

} // namespace Vorla
