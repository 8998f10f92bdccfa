#include "Logger.h"

namespace GenCPDriver {

void CLogger::Log(CLINT32 level, const char* format, ...) const {
  const clp_logger_t logger = m_Logger.load().m_Function;
  if (!logger || level > m_Level.load())
    return;
  va_list args;
  va_start(args, format);
  logger(level, format, args);
  va_end(args);
}

} // namespace GenCPDriver
