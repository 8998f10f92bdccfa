#pragma once
// The GenICam exception family. Every exception carries its short description, the base name
// of the source file and the line of the throw. Messages are formatted printf-style into 256
// bytes, so at most 255 characters survive.
#include <Base/GCBaseDef.h>
#include <Base/GCString.h>

#include <cstdarg>
#include <exception>

namespace GenICam {

class GCBASE_API GenericException : public std::exception {
public:
  GenericException(const char* description, const char* sourceFileName, unsigned int sourceLine);
  GenericException(const char* description, const char* sourceFileName, unsigned int sourceLine,
                   const char* exceptionType);
  GenericException(const char* description, const char* sourceFileName, unsigned int sourceLine,
                   const char* entryPoint, const char* nodeName);
  GenericException(const char* description, const char* sourceFileName, unsigned int sourceLine,
                   const char* entryPoint, const char* nodeName, const char* exceptionType);
  ~GenericException() noexcept override;

  //! The short text, without type, file and line.
  virtual const char* GetDescription() const noexcept;
  //! The base name of the source file of the throw.
  virtual const char* GetSourceFileName() const noexcept;
  virtual unsigned int GetSourceLine() const noexcept;
  //! The node that threw, empty when none.
  const char* GetNodeName() const noexcept;
  //! The "<node>.<Method>()" entry point, empty when none.
  const char* GetEntryPoint() const noexcept;
  const char* GetExceptionType() const noexcept;
  //! "<text> : <Type> thrown [in node '<n>' while calling '<e>'] (file '<f>', line <l>)"
  const char* what() const noexcept override;

private:
  void AssembleMessage();

  gcstring m_Description;
  gcstring m_SourceFileName;
  unsigned int m_SourceLine;
  gcstring m_EntryPoint;
  gcstring m_NodeName;
  gcstring m_ExceptionType;
  gcstring m_What;
};

#define VORLA_DECLARE_GENICAM_EXCEPTION(name)                                                          \
  class GCBASE_API name : public GenericException {                                                    \
  public:                                                                                              \
    name(const char* description, const char* sourceFileName, unsigned int sourceLine)                 \
      : GenericException(description, sourceFileName, sourceLine, #name) {}                            \
    name(const char* description, const char* sourceFileName, unsigned int sourceLine,                 \
         const char* entryPoint, const char* nodeName)                                                 \
      : GenericException(description, sourceFileName, sourceLine, entryPoint, nodeName, #name) {}      \
  };

VORLA_DECLARE_GENICAM_EXCEPTION(BadAllocException)
VORLA_DECLARE_GENICAM_EXCEPTION(InvalidArgumentException)
VORLA_DECLARE_GENICAM_EXCEPTION(OutOfRangeException)
VORLA_DECLARE_GENICAM_EXCEPTION(PropertyException)
VORLA_DECLARE_GENICAM_EXCEPTION(RuntimeException)
VORLA_DECLARE_GENICAM_EXCEPTION(LogicalErrorException)
VORLA_DECLARE_GENICAM_EXCEPTION(AccessException)
VORLA_DECLARE_GENICAM_EXCEPTION(TimeoutException)
VORLA_DECLARE_GENICAM_EXCEPTION(DynamicCastException)

#undef VORLA_DECLARE_GENICAM_EXCEPTION

//! printf-style formatting into 256 bytes; Windows' "%I64" length prefix is understood.
// Not checked as printf formats: messages use Windows' "%I64" forms.
GCBASE_API gcstring FormatMessage256(const char* format, ...);
GCBASE_API gcstring FormatMessage256V(const char* format, va_list args);
//! As FormatMessage256V, without the length limit (log lines).
GCBASE_API gcstring FormatMessageV(const char* format, va_list args);

//! Formats a message and builds the exception with the place of the throw. Used through the
//! *_EXCEPTION macros below: `throw RUNTIME_EXCEPTION("Could not open port '%s'", id);`
template <class E> class ExceptionReporter {
public:
  ExceptionReporter(const char* sourceFileName, unsigned int sourceLine)
    : m_SourceFileName(sourceFileName), m_SourceLine(sourceLine) {}
  ExceptionReporter(const char* sourceFileName, unsigned int sourceLine, const char* entryPoint,
                    const char* nodeName)
    : m_SourceFileName(sourceFileName), m_SourceLine(sourceLine), m_EntryPoint(entryPoint),
      m_NodeName(nodeName) {}

  // The message is deliberately taken as a format string, as GenICam does.
  E Report(const char* format, ...) const {
    va_list args;
    va_start(args, format);
    const gcstring text = FormatMessage256V(format, args);
    va_end(args);
    if (m_EntryPoint || m_NodeName)
      return E(text.c_str(), m_SourceFileName, m_SourceLine, m_EntryPoint ? m_EntryPoint : "",
               m_NodeName ? m_NodeName : "");
    return E(text.c_str(), m_SourceFileName, m_SourceLine);
  }
  E Report(const gcstring& text) const { return Report("%s", text.c_str()); }

private:
  const char* m_SourceFileName;
  unsigned int m_SourceLine;
  const char* m_EntryPoint = nullptr;
  const char* m_NodeName = nullptr;
};

} // namespace GenICam

#define GENERIC_EXCEPTION                                                                          \
  ::GenICam::ExceptionReporter<::GenICam::GenericException>(__FILE__, __LINE__).Report
#define BAD_ALLOC_EXCEPTION                                                                        \
  ::GenICam::ExceptionReporter<::GenICam::BadAllocException>(__FILE__, __LINE__).Report
#define INVALID_ARGUMENT_EXCEPTION                                                                 \
  ::GenICam::ExceptionReporter<::GenICam::InvalidArgumentException>(__FILE__, __LINE__).Report
#define OUT_OF_RANGE_EXCEPTION                                                                     \
  ::GenICam::ExceptionReporter<::GenICam::OutOfRangeException>(__FILE__, __LINE__).Report
#define PROPERTY_EXCEPTION                                                                         \
  ::GenICam::ExceptionReporter<::GenICam::PropertyException>(__FILE__, __LINE__).Report
#define RUNTIME_EXCEPTION                                                                          \
  ::GenICam::ExceptionReporter<::GenICam::RuntimeException>(__FILE__, __LINE__).Report
#define LOGICAL_ERROR_EXCEPTION                                                                    \
  ::GenICam::ExceptionReporter<::GenICam::LogicalErrorException>(__FILE__, __LINE__).Report
#define ACCESS_EXCEPTION                                                                           \
  ::GenICam::ExceptionReporter<::GenICam::AccessException>(__FILE__, __LINE__).Report
#define TIMEOUT_EXCEPTION                                                                          \
  ::GenICam::ExceptionReporter<::GenICam::TimeoutException>(__FILE__, __LINE__).Report
#define DYNAMICCAST_EXCEPTION                                                                      \
  ::GenICam::ExceptionReporter<::GenICam::DynamicCastException>(__FILE__, __LINE__).Report
