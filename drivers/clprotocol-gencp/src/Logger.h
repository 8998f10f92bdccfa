#pragma once
#include <CLProtocol/CLProtocol.h>

#include <atomic>

namespace GenCPDriver {

//! Forwards driver messages to the logger the host installed; silent without one.
class CLogger {
public:
  void Set(clp_logger_t logger) { m_Logger.store(SLogger{logger}); }
  void SetLevel(CLINT32 level) { m_Level.store(level); }
  CLINT32 Level() const { return m_Level.load(); }
  void Log(CLINT32 level, const char* format, ...) const
#if defined(__MINGW32__)
      // checked as the host formats it (a C99 vsnprintf), not as the old msvcrt printf
      __attribute__((format(gnu_printf, 3, 4)))
#elif defined(__GNUC__)
      __attribute__((format(printf, 3, 4)))
#endif
      ;

private:
  // Wrapped: an atomic of a function pointer type would drop its calling-convention attribute.
  struct SLogger {
    clp_logger_t m_Function;
  };
  std::atomic<SLogger> m_Logger{SLogger{nullptr}};
  std::atomic<CLINT32> m_Level{CLP_LOG_WARN};
};

} // namespace GenCPDriver
