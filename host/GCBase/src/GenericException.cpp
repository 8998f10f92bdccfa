#include <Base/GCException.h>

#include <cstring>
#include <string>

namespace GenICam {
namespace {
const char* BaseName(const char* path) {
  if (!path)
    return "";
  const char* name = path;
  for (const char* p = path; *p; ++p)
    if (*p == '/' || *p == '\\')
      name = p + 1;
  return name;
}
} // namespace

GenericException::GenericException(const char* description, const char* sourceFileName,
                                   unsigned int sourceLine)
  : GenericException(description, sourceFileName, sourceLine, "", "", "GenericException") {}

GenericException::GenericException(const char* description, const char* sourceFileName,
                                   unsigned int sourceLine, const char* entryPoint,
                                   const char* nodeName)
  : GenericException(description, sourceFileName, sourceLine, entryPoint, nodeName,
                     "GenericException") {}

GenericException::GenericException(const char* description, const char* sourceFileName,
                                   unsigned int sourceLine, const char* exceptionType)
  : GenericException(description, sourceFileName, sourceLine, "", "", exceptionType) {}

GenericException::GenericException(const char* description, const char* sourceFileName,
                                   unsigned int sourceLine, const char* entryPoint,
                                   const char* nodeName, const char* exceptionType)
  : m_Description(description ? description : ""), m_SourceFileName(BaseName(sourceFileName)),
    m_SourceLine(sourceLine), m_EntryPoint(entryPoint ? entryPoint : ""),
    m_NodeName(nodeName ? nodeName : ""), m_ExceptionType(exceptionType ? exceptionType : "") {
  AssembleMessage();
}

GenericException::~GenericException() noexcept = default;

void GenericException::AssembleMessage() {
  m_What = m_Description + " : " + m_ExceptionType;
  if (!m_NodeName.empty())
    m_What += " thrown in node '" + m_NodeName + "' while calling '" + m_EntryPoint + "'";
  else
    m_What += " thrown";
  m_What += " (file '" + m_SourceFileName + "', line " + std::to_string(m_SourceLine) + ")";
}

const char* GenericException::GetDescription() const noexcept { return m_Description.c_str(); }
const char* GenericException::GetSourceFileName() const noexcept {
  return m_SourceFileName.c_str();
}
unsigned int GenericException::GetSourceLine() const noexcept { return m_SourceLine; }
const char* GenericException::GetNodeName() const noexcept { return m_NodeName.c_str(); }
const char* GenericException::GetEntryPoint() const noexcept { return m_EntryPoint.c_str(); }
const char* GenericException::GetExceptionType() const noexcept { return m_ExceptionType.c_str(); }
const char* GenericException::what() const noexcept { return m_What.c_str(); }

} // namespace GenICam
