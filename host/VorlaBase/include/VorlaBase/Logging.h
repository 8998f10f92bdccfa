#pragma once
// The host's logging: named categories, five levels, a standard-error sink filtered by VORLA_LOG
// ("64", or "32,Vorla.CLSer.Port:16": a default threshold and per-category thresholds; default
// 128), capture sinks that tests and tools install and listeners of the application's.
#include <VorlaBase/VorlaBaseDef.h>

#include <string>
#include <vector>

namespace vxlog {

using CategoryID = unsigned long;

enum Level : unsigned {
  Detail = 16,   // e.g. the beginning of a downloaded description
  Progress = 32, // progress of an operation
  Notable = 64,  // notable events: a device opened, a plug-in loaded
  Warning = 128,
  Error = 256
};

//! The id of a category; the same name always yields the same id.
VORLABASE_API CategoryID LogGetCatID(const char* name);
VORLABASE_API std::string LogGetCatName(CategoryID id);
//! Formats printf-style (Windows' "%I64" prefix understood) and hands the line to the sinks.
VORLABASE_API void LogTrace(CategoryID category, unsigned level, const char* format, ...);

//! Replaces the standard-error sink's filter (same syntax as VORLA_LOG).
VORLABASE_API void LogSetFilter(const std::string& filter);

struct LogEntry {
  std::string category;
  unsigned level;
  std::string text;
};

//! Records every log line, whatever the filter, while it exists. Thread-safe.
class VORLABASE_API CLogCapture {
public:
  CLogCapture();
  ~CLogCapture();
  CLogCapture(const CLogCapture&) = delete;
  CLogCapture& operator=(const CLogCapture&) = delete;

  std::vector<LogEntry> Entries() const;
  //! Number of lines whose text is exactly `text`.
  size_t Count(const std::string& text) const;
  bool Contains(const std::string& text) const { return Count(text) != 0; }
  //! Number of lines whose text contains `part`.
  size_t CountContaining(const std::string& part) const;
  void Clear();

  //! Appends a line; the logging state's lock must be held (LogTrace does).
  void Add(const LogEntry& entry);

private:
  std::vector<LogEntry> m_entries; // guarded by the logging state's one lock
};

//! An application's own sink: Write receives every line, whatever the filter, from
//! LogAddListener until LogRemoveListener returns. It runs on the thread that logs, which may
//! hold any of the SDK's locks, under the logging state's lock: so Write must be quick, must not
//! log and must take no lock but a leaf of its own (queue the line, wake a thread of the
//! application's, nothing more).
class ILogListener {
public:
  virtual void Write(const LogEntry& entry) noexcept = 0;

protected:
  ~ILogListener() = default;
};

VORLABASE_API void LogAddListener(ILogListener* listener);
VORLABASE_API void LogRemoveListener(ILogListener* listener);

} // namespace vxlog
