#pragma once
// The SDK's and this layer's errors as the exceptions of the vorla package.
#include <pybind11/pybind11.h>

#include <stdexcept>
#include <string>

namespace VorlaPy {

//! An error of the Python layer itself: bad Python input or a state the caller must change.
class CPyError : public std::runtime_error {
public:
  enum EKind {
    CameraClosed,    //!< vorla.CameraClosed
    FeatureNotFound, //!< vorla.FeatureNotFound (a KeyError)
    Timeout,         //!< vorla.TimeoutError
    Logical,         //!< vorla.LogicalError
    Type,            //!< TypeError
    Value            //!< ValueError
  };
  CPyError(EKind kind, const std::string& what) : std::runtime_error(what), m_Kind(kind) {}
  EKind Kind() const { return m_Kind; }

private:
  EKind m_Kind;
};

//! Registers the translation of C++ exceptions that leave a binding: each GenICam exception
//! becomes the vorla class of its type (vorla.RuntimeError, vorla.LogicalError, ...) with the
//! SDK's description unchanged and its source file, line and node as attributes; a refusal of the
//! camera selection becomes vorla.CameraNotFound (or ValueError for malformed input); a CPyError
//! its class. The classes live in the package's __init__.py and are looked up when first raised.
class CErrorTranslator {
public:
  static void Install();
};

} // namespace VorlaPy
