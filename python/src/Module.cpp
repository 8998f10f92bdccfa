// _vorla: the SDK's classes as the vorla package shows them (see vorla/__init__.py).
#include "Camera.h"
#include "ErrorTranslator.h"
#include "Feature.h"
#include "Features.h"
#include "Grab.h"
#include "LogRoute.h"
#include "TransportLayerSet.h"

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace py = pybind11;
using namespace VorlaPy;

namespace {

using Record = std::vector<std::pair<std::string, std::string>>;

// Every camera of every transport layer, each record with all its properties.
py::list Cameras() {
  std::vector<Record> records;
  {
    py::gil_scoped_release released;
    VorlaCl::CTransportLayerSet layers;
    for (const auto& camera : layers.Enumerate()) {
      Record record;
      Vorla::gcstring_vector names;
      camera.Record.GetPropertyNames(names);
      for (const Vorla::gcstring& name : names) {
        Vorla::gcstring value;
        if (camera.Record.GetPropertyValue(name, value))
          record.emplace_back(name.c_str(), value.c_str());
      }
      records.push_back(std::move(record));
    }
  }
  py::list list;
  for (const Record& record : records) {
    py::dict properties;
    for (const auto& property : record)
      properties[py::str(property.first)] = py::str(property.second);
    list.append(properties);
  }
  return list;
}

// Grab.__next__ as the type's own slot: a frame per call without pybind11's dispatcher (argument
// loading, type lookups, return conversion), which a loop over 1000 frames a second would pay
// for every frame. Exceptions become Python's as in every other binding.
PyObject* NextFrame(PyObject* self) noexcept {
  try {
    const SDrainLog drain;
    auto& grab = *static_cast<CGrab*>(
        reinterpret_cast<py::detail::instance*>(self)->get_value_and_holder().value_ptr());
    return grab.Next().release().ptr();
  } catch (py::stop_iteration&) {
    return nullptr; // StopIteration without an exception object
  } catch (...) {
    if (!py::detail::apply_exception_translators(
            py::detail::get_internals().registered_exception_translators))
      PyErr_SetString(PyExc_SystemError, "vorla: an exception escaped the translators");
    return nullptr;
  }
}

} // namespace

PYBIND11_MODULE(_vorla, module) {
  CErrorTranslator::Install();
  using Drain = py::call_guard<SDrainLog>;

  module.def("cameras", &Cameras, Drain());
  module.def("_route_log", &CLogRoute::Enable, py::arg("on"));
  module.def("_pump_log", &CLogRoute::Pump);
  module.def("_frame_info", &FrameInfo);

  py::class_<CFeature>(module, "Feature")
      .def_property_readonly("name", &CFeature::Name)
      .def_property_readonly("type", &CFeature::Type)
      .def_property_readonly("access_mode", &CFeature::AccessMode, Drain())
      .def_property("value", &CFeature::Value, &CFeature::SetValue, Drain())
      .def_property_readonly("min", &CFeature::Min, Drain())
      .def_property_readonly("max", &CFeature::Max, Drain())
      .def_property_readonly("inc", &CFeature::Inc, Drain())
      .def_property_readonly("unit", &CFeature::Unit)
      .def_property_readonly("entries", &CFeature::Entries, Drain())
      .def_property_readonly("tooltip", &CFeature::ToolTip)
      .def_property_readonly("description", &CFeature::Description)
      .def_property_readonly("display_name", &CFeature::DisplayName)
      .def_property_readonly("features", &CFeature::Features)
      .def("__call__", &CFeature::Execute, Drain())
      .def("__repr__", &CFeature::Repr);

  py::class_<CFeatures>(module, "Features")
      .def("__getitem__", &CFeatures::Get, Drain())
      .def("__setitem__", &CFeatures::Set, Drain())
      .def("__contains__", &CFeatures::Contains)
      .def("__iter__", [](const CFeatures& self) { return py::iter(self.Walk()); })
      .def("feature", &CFeatures::Feature, py::arg("name"))
      .def("names", &CFeatures::Names);

  py::class_<CGrab> grab(module, "Grab");
  grab.def("__iter__", [](py::object self) { return self; })
      .def("__next__", &CGrab::Next, Drain())
      .def("close", &CGrab::Close, Drain())
      .def("__enter__", [](py::object self) { return self; })
      .def(
          "__exit__", [](CGrab& self, py::args) { self.Close(); }, Drain());
  reinterpret_cast<PyTypeObject*>(grab.ptr())->tp_iternext = &NextFrame;

  py::class_<CCamera, std::shared_ptr<CCamera>>(module, "Camera")
      .def(py::init<const std::string&, bool>(), py::arg("selection"), py::arg("first"), Drain())
      .def("close", &CCamera::Close, Drain())
      .def_property_readonly("is_open", &CCamera::IsOpen)
      .def_property_readonly("name", &CCamera::Name)
      .def_property_readonly("info", &CCamera::Info)
      .def_property_readonly(
          "features",
          [](std::shared_ptr<CCamera> self) { return CFeatures(std::move(self), false); })
      .def_property_readonly(
          "transport_features",
          [](std::shared_ptr<CCamera> self) { return CFeatures(std::move(self), true); })
      .def("xml", &CCamera::Xml, Drain())
      .def(
          "grab",
          [](std::shared_ptr<CCamera> self, std::optional<uint64_t> count, uint32_t buffers,
             double timeout) {
            return std::make_unique<CGrab>(std::move(self), count, buffers, timeout);
          },
          py::arg("count") = py::none(), py::arg("buffers") = 8, py::arg("timeout") = 1.0, Drain())
      .def("on_removed",
           [](CCamera& self, py::object callable) {
             self.OnRemoved(callable);
             return callable;
           })
      .def("__enter__", [](py::object self) { return self; })
      .def(
          "__exit__", [](CCamera& self, py::args) { self.Close(); }, Drain())
      .def("__repr__", [](CCamera& self) {
        return "<vorla.Camera '" + self.Name() + "'" + (self.IsOpen() ? "" : " closed") + ">";
      });
}
