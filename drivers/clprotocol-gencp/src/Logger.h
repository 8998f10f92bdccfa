#pragma once
#include <CLProtocol/CLProtocol.h>

#include <atomic>

namespace GenCPDriver {

//! Forwards driver messages to the logger the host installed; silent without one.
class CLogger {
public:
  void Set(clp_logger_t logger) { m_Logger.store(logger); }
  void SetLevel(CLINT32 level) { m_Level.store(level); }
  CLINT32 Level() const { return m_Level.load(); }
  void Log(CLINT32 level, const char* format, ...) const
#if defined(__GNUC__)
      __attribute__((format(printf, 3, 4)))
#endif
      ;

private:
  std::atomic<clp_logger_t> m_Logger{nullptr};
  std::atomic<CLINT32> m_Level{CLP_LOG_WARN};
};

} // namespace GenCPDriver
