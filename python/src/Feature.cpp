#include "Feature.h"

#include "Camera.h"
#include "ErrorTranslator.h"
#include "NodeMapView.h"

#include <pybind11/stl.h>

#include <vector>

namespace py = pybind11;

namespace VorlaPy {
namespace {

const char* Article(const char* word) {
  return std::string("AEIOU").find(word[0]) != std::string::npos ? "an" : "a";
}

const char* PythonType(py::handle value) {
  return Py_TYPE(value.ptr())->tp_name;
}

} // namespace

CFeature::CFeature(std::shared_ptr<CCamera> camera, GenApi::INode* node,
                   GenApi::EInterfaceType type, std::string name)
    : m_pCamera(std::move(camera)), m_pNode(node), m_Type(type), m_Name(std::move(name)) {}

CFeature::SValue CFeature::ReadLocked(GenApi::INode& node) {
  SValue value;
  value.m_pNode = &node;
  value.m_Type = node.GetPrincipalInterfaceType();
  switch (value.m_Type) {
  case GenApi::intfIInteger:
    value.m_Integer = dynamic_cast<GenApi::IInteger&>(node).GetValue();
    break;
  case GenApi::intfIBoolean:
    value.m_Integer = dynamic_cast<GenApi::IBoolean&>(node).GetValue();
    break;
  case GenApi::intfIFloat:
    value.m_Float = dynamic_cast<GenApi::IFloat&>(node).GetValue();
    break;
  case GenApi::intfIString:
    value.m_Text = dynamic_cast<GenApi::IString&>(node).GetValue().c_str();
    break;
  case GenApi::intfIEnumeration:
    value.m_Text = dynamic_cast<GenApi::IEnumeration&>(node).ToString().c_str();
    break;
  case GenApi::intfIRegister: {
    auto& reg = dynamic_cast<GenApi::IRegister&>(node);
    value.m_Text.resize(static_cast<size_t>(reg.GetLength()));
    reg.Get(reinterpret_cast<uint8_t*>(&value.m_Text[0]), reg.GetLength());
    break;
  }
  default:
    value.m_Text = node.GetName().c_str(); // a command, category or port: the feature itself
  }
  return value;
}

py::object CFeature::ToPython(const std::shared_ptr<CCamera>& camera, const SValue& value) {
  switch (value.m_Type) {
  case GenApi::intfIInteger:
    return py::int_(value.m_Integer);
  case GenApi::intfIBoolean:
    return py::bool_(value.m_Integer != 0);
  case GenApi::intfIFloat:
    return py::float_(value.m_Float);
  case GenApi::intfIString:
  case GenApi::intfIEnumeration:
    return py::str(value.m_Text);
  case GenApi::intfIRegister:
    return py::bytes(value.m_Text);
  default:
    return py::cast(CFeature(camera, value.m_pNode, value.m_Type, value.m_Text));
  }
}

std::string CFeature::Name() const {
  return m_Name;
}

const char* CFeature::Type() const {
  return VorlaCl::CNodeMapView::TypeName(m_Type);
}

std::string CFeature::AccessMode() const {
  return m_pCamera->Call([this](Vorla::IVorlaDevice&) {
    return VorlaCl::CNodeMapView::AccessName(m_pNode->GetAccessMode());
  });
}

py::object CFeature::Value() const {
  if (m_Type == GenApi::intfICommand || m_Type == GenApi::intfICategory ||
      m_Type == GenApi::intfIPort)
    Refuse(m_Type == GenApi::intfICommand ? ": call it instead of reading it"
                                          : " and has no value");
  return ToPython(m_pCamera,
                  m_pCamera->Call([this](Vorla::IVorlaDevice&) { return ReadLocked(*m_pNode); }));
}

void CFeature::Refuse(const std::string& rest) const {
  throw CPyError(CPyError::Type,
                 "'" + m_Name + "' is " + Article(Type()) + " " + Type() + " feature" + rest);
}

void CFeature::SetValue(py::handle value) const {
  const std::string given = PythonType(value);
  const bool isBool = PyBool_Check(value.ptr());
  switch (m_Type) {
  case GenApi::intfIInteger: {
    if (isBool || !PyIndex_Check(value.ptr()))
      Refuse(": it takes an int, not " + given);
    const int64_t v = py::cast<int64_t>(value);
    return m_pCamera->Call(
        [&](Vorla::IVorlaDevice&) { dynamic_cast<GenApi::IInteger&>(*m_pNode).SetValue(v); });
  }
  case GenApi::intfIFloat: {
    if (isBool || !(PyFloat_Check(value.ptr()) || PyIndex_Check(value.ptr()) ||
                    PyObject_HasAttrString(value.ptr(), "__float__")))
      Refuse(": it takes a float, not " + given);
    const double v = py::cast<double>(value);
    return m_pCamera->Call(
        [&](Vorla::IVorlaDevice&) { dynamic_cast<GenApi::IFloat&>(*m_pNode).SetValue(v); });
  }
  case GenApi::intfIBoolean: {
    if (!isBool)
      Refuse(": it takes a bool, not " + given);
    const bool v = value.ptr() == Py_True;
    return m_pCamera->Call(
        [&](Vorla::IVorlaDevice&) { dynamic_cast<GenApi::IBoolean&>(*m_pNode).SetValue(v); });
  }
  case GenApi::intfIString:
  case GenApi::intfIEnumeration: {
    if (!PyUnicode_Check(value.ptr()))
      Refuse(m_Type == GenApi::intfIString ? ": it takes a str, not " + given
                                           : ": it takes an entry's symbol (str), not " + given);
    const std::string v = py::cast<std::string>(value);
    return m_pCamera->Call([&](Vorla::IVorlaDevice&) {
      if (m_Type == GenApi::intfIString)
        dynamic_cast<GenApi::IString&>(*m_pNode).SetValue(v.c_str());
      else
        dynamic_cast<GenApi::IEnumeration&>(*m_pNode).FromString(v.c_str());
    });
  }
  case GenApi::intfIRegister: {
    if (!PyObject_CheckBuffer(value.ptr()))
      Refuse(": it takes bytes, not " + given);
    const std::string v =
        py::cast<std::string>(py::module_::import("builtins").attr("bytes")(value));
    return m_pCamera->Call([&](Vorla::IVorlaDevice&) {
      dynamic_cast<GenApi::IRegister&>(*m_pNode).Set(reinterpret_cast<const uint8_t*>(v.data()),
                                                     static_cast<int64_t>(v.size()));
    });
  }
  case GenApi::intfICommand:
    Refuse(": call it instead of assigning to it");
  default:
    Refuse(" and has no value");
  }
}

void CFeature::Execute() const {
  if (m_Type != GenApi::intfICommand)
    Refuse(", not a command");
  m_pCamera->Call(
      [this](Vorla::IVorlaDevice&) { dynamic_cast<GenApi::ICommand&>(*m_pNode).Execute(); });
}

py::object CFeature::Limit(ELimit which) const {
  if (m_Type == GenApi::intfIInteger) {
    const int64_t v = m_pCamera->Call([&](Vorla::IVorlaDevice&) {
      auto& node = dynamic_cast<GenApi::IInteger&>(*m_pNode);
      return which == LimitMin ? node.GetMin() : which == LimitMax ? node.GetMax() : node.GetInc();
    });
    return py::int_(v);
  }
  if (m_Type == GenApi::intfIFloat) {
    bool has = true;
    const double v = m_pCamera->Call([&](Vorla::IVorlaDevice&) {
      auto& node = dynamic_cast<GenApi::IFloat&>(*m_pNode);
      if (which == LimitInc && !node.HasInc()) {
        has = false;
        return 0.0;
      }
      return which == LimitMin ? node.GetMin() : which == LimitMax ? node.GetMax() : node.GetInc();
    });
    return has ? py::object(py::float_(v)) : py::object(py::none());
  }
  Refuse(" and has no range");
}

py::object CFeature::Min() const {
  return Limit(LimitMin);
}
py::object CFeature::Max() const {
  return Limit(LimitMax);
}
py::object CFeature::Inc() const {
  return Limit(LimitInc);
}

std::string CFeature::Unit() const {
  return m_pCamera->Call([this](Vorla::IVorlaDevice&) -> std::string {
    if (auto* integer = dynamic_cast<GenApi::IInteger*>(m_pNode))
      return integer->GetUnit().c_str();
    if (auto* real = dynamic_cast<GenApi::IFloat*>(m_pNode))
      return real->GetUnit().c_str();
    return "";
  });
}

py::list CFeature::Entries() const {
  if (m_Type != GenApi::intfIEnumeration)
    Refuse(" and has no entries");
  const std::vector<std::string> symbols = m_pCamera->Call([this](Vorla::IVorlaDevice&) {
    GenICam::gcstring_vector available;
    dynamic_cast<GenApi::IEnumeration&>(*m_pNode).GetSymbolics(available);
    return std::vector<std::string>(available.begin(), available.end());
  });
  return py::cast(symbols);
}

std::string CFeature::ToolTip() const {
  return m_pCamera->Call(
      [this](Vorla::IVorlaDevice&) { return std::string(m_pNode->GetToolTip()); });
}

std::string CFeature::Description() const {
  return m_pCamera->Call(
      [this](Vorla::IVorlaDevice&) { return std::string(m_pNode->GetDescription()); });
}

std::string CFeature::DisplayName() const {
  return m_pCamera->Call(
      [this](Vorla::IVorlaDevice&) { return std::string(m_pNode->GetDisplayName()); });
}

py::list CFeature::Features() const {
  if (m_Type != GenApi::intfICategory)
    Refuse(" and holds no features");
  const auto children = m_pCamera->Call([this](Vorla::IVorlaDevice&) {
    std::vector<SValue> nodes;
    GenApi::FeatureList_t features;
    dynamic_cast<GenApi::ICategory&>(*m_pNode).GetFeatures(features);
    for (GenApi::IValue* feature : features)
      if (GenApi::INode* node = feature->GetNode())
        nodes.push_back({node, node->GetPrincipalInterfaceType(), 0, 0, node->GetName().c_str()});
    return nodes;
  });
  py::list list;
  for (const SValue& child : children)
    list.append(py::cast(CFeature(m_pCamera, child.m_pNode, child.m_Type, child.m_Text)));
  return list;
}

std::string CFeature::Repr() const {
  return "<vorla.Feature " + m_Name + " (" + Type() + ")>";
}

} // namespace VorlaPy
