#pragma once
// A failure reported by a Camera Link serial library or a CLProtocol driver. The description is
// the error text (the driver's own text first, then the standard one); the code is the status.
#include <Base/GCException.h>
#include <CLProtocol/CLProtocolDef.h>
#include <CLProtocol/ClSerialTypes.h>

namespace CLProtocol {

class CLPROTOCOL_API CLErrException : public GenICam::GenericException {
public:
  CLErrException(const char* description, const char* sourceFileName, unsigned int sourceLine);
  CLErrException(const char* description, const char* sourceFileName, unsigned int sourceLine,
                 const char* entryPoint, const char* nodeName);
  ~CLErrException() noexcept override;

  CLINT32 GetCLErrorCode() const { return m_CLErrorCode; }
  //! Returns itself so that a throw can set the code in passing.
  CLErrException& SetCLErrorCode(CLINT32 code) {
    m_CLErrorCode = code;
    return *this;
  }

private:
  CLINT32 m_CLErrorCode = CL_ERR_NO_ERR;
};

} // namespace CLProtocol

//! `throw CLERR_EXCEPTION("%s", text).SetCLErrorCode(code);`
#define CLERR_EXCEPTION                                                                            \
  ::GenICam::ExceptionReporter<::CLProtocol::CLErrException>(__FILE__, __LINE__).Report
