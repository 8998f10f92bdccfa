#include <CLProtocol/CLException.h>

namespace CLProtocol {

CLErrException::CLErrException(const char* description, const char* sourceFileName,
                               unsigned int sourceLine)
    : GenericException(description, sourceFileName, sourceLine, "CLErrException") {}

CLErrException::CLErrException(const char* description, const char* sourceFileName,
                               unsigned int sourceLine, const char* entryPoint,
                               const char* nodeName)
    : GenericException(description, sourceFileName, sourceLine, entryPoint, nodeName,
                       "CLErrException") {}

CLErrException::~CLErrException() noexcept = default;

} // namespace CLProtocol
