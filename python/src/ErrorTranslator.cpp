#include "ErrorTranslator.h"

#include "ToolError.h"

#include <Base/GCException.h>

namespace py = pybind11;

namespace VorlaPy {
namespace {

// The exception class `name` of the vorla package (a new reference).
py::object ClassOf(const char* name) {
  return py::module_::import("vorla").attr(name);
}

void Raise(const char* className, const char* message) {
  PyErr_SetString(ClassOf(className).ptr(), message);
}

void RaiseGenICam(const char* className, const GenICam::GenericException& e) {
  py::object error = ClassOf(className)(e.GetDescription());
  error.attr("source_file") = e.GetSourceFileName();
  error.attr("source_line") = e.GetSourceLine();
  error.attr("node") = e.GetNodeName();
  PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(error.ptr())), error.ptr());
}

void Translate(std::exception_ptr thrown) {
  try {
    std::rethrow_exception(thrown);
  } catch (const GenICam::InvalidArgumentException& e) {
    RaiseGenICam("InvalidArgument", e);
  } catch (const GenICam::OutOfRangeException& e) {
    RaiseGenICam("OutOfRange", e);
  } catch (const GenICam::LogicalErrorException& e) {
    RaiseGenICam("LogicalError", e);
  } catch (const GenICam::AccessException& e) {
    RaiseGenICam("AccessError", e);
  } catch (const GenICam::TimeoutException& e) {
    RaiseGenICam("TimeoutError", e);
  } catch (const GenICam::PropertyException& e) {
    RaiseGenICam("PropertyError", e);
  } catch (const GenICam::DynamicCastException& e) {
    RaiseGenICam("DynamicCastError", e);
  } catch (const GenICam::BadAllocException& e) {
    RaiseGenICam("BadAlloc", e);
  } catch (const GenICam::RuntimeException& e) {
    RaiseGenICam("RuntimeError", e);
  } catch (const GenICam::GenericException& e) {
    RaiseGenICam("Error", e);
  } catch (const VorlaCl::CToolError& e) {
    if (e.Status() == VorlaCl::ExitUsage)
      PyErr_SetString(PyExc_ValueError, e.what());
    else
      Raise("CameraNotFound", e.what());
  } catch (const CPyError& e) {
    switch (e.Kind()) {
    case CPyError::CameraClosed:
      return Raise("CameraClosed", e.what());
    case CPyError::FeatureNotFound:
      return Raise("FeatureNotFound", e.what());
    case CPyError::Timeout:
      return Raise("TimeoutError", e.what());
    case CPyError::Logical:
      return Raise("LogicalError", e.what());
    case CPyError::Type:
      return PyErr_SetString(PyExc_TypeError, e.what());
    case CPyError::Value:
      return PyErr_SetString(PyExc_ValueError, e.what());
    }
  }
}

} // namespace

void CErrorTranslator::Install() {
  py::register_exception_translator(&Translate);
}

} // namespace VorlaPy
