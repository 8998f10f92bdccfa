#pragma once
// A Python callable as a device's removal callback.
#include <VorlaBase/IVorlaDevice.h>

#include <pybind11/pybind11.h>

#include <memory>

namespace VorlaPy {

//! Runs a Python callable, without arguments, when the device reports its removal: from whatever
//! thread the device reports on, with the GIL taken; an exception the callable raises goes to
//! sys.unraisablehook and never back into the SDK. The device's clones share the callable.
//! Thread-safe.
class CRemovalCallback : public Vorla::DeviceCallback {
public:
  explicit CRemovalCallback(pybind11::object callable);
  void operator()(Vorla::IVorlaDevice* device) const override;
  Vorla::DeviceCallback* Clone() const override;

private:
  //! Owns the reference to the callable; dropping it needs the GIL, which a device thread may
  //! not hold, and is skipped once the interpreter is finalizing.
  struct SCallable {
    explicit SCallable(pybind11::object callable) : m_Callable(std::move(callable)) {}
    ~SCallable();
    pybind11::object m_Callable;
  };
  std::shared_ptr<SCallable> m_pCallable;
};

} // namespace VorlaPy
