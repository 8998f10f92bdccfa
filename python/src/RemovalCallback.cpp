#include "RemovalCallback.h"

namespace py = pybind11;

namespace VorlaPy {
namespace {
bool Finalizing() {
#if PY_VERSION_HEX >= 0x030D0000
  return !Py_IsInitialized() || Py_IsFinalizing();
#else
  return !Py_IsInitialized() || _Py_IsFinalizing();
#endif
}
} // namespace

CRemovalCallback::CRemovalCallback(py::object callable)
    : m_pCallable(std::make_shared<SCallable>(std::move(callable))) {}

CRemovalCallback::SCallable::~SCallable() {
  if (Finalizing()) {
    m_Callable.release(); // the interpreter is going away: leave the reference
    return;
  }
  py::gil_scoped_acquire acquired;
  m_Callable = py::object();
}

void CRemovalCallback::operator()(Vorla::IVorlaDevice* /*device*/) const {
  if (Finalizing())
    return;
  py::gil_scoped_acquire acquired;
  try {
    m_pCallable->m_Callable();
  } catch (py::error_already_set& e) {
    e.discard_as_unraisable("vorla: the camera's removal callback");
  } catch (const std::exception& e) {
    PyErr_SetString(PyExc_RuntimeError, e.what());
    PyErr_WriteUnraisable(m_pCallable->m_Callable.ptr());
  }
}

Vorla::DeviceCallback* CRemovalCallback::Clone() const {
  return new CRemovalCallback(*this);
}

} // namespace VorlaPy
