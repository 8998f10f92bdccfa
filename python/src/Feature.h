#pragma once
// One node of a camera's or transport layer's node map, as vorla.Feature.
#include <GenApi/GenApi.h>

#include <pybind11/pybind11.h>

#include <memory>
#include <string>

namespace VorlaPy {

class CCamera;

//! A feature: its value read and written with Python types (Integer int, Float float, Boolean
//! bool, String str, Enumeration the entry's symbol, Register bytes), a command run by calling
//! it, and what the description says of it. The node belongs to the camera's node map and stays
//! valid while the camera is open. Thread-safe through the camera's lock.
class CFeature {
public:
  CFeature(std::shared_ptr<CCamera> camera, GenApi::INode* node, GenApi::EInterfaceType type,
           std::string name);

  //! A value read from a node, before it becomes a Python object.
  struct SValue {
    GenApi::INode* m_pNode = nullptr;
    GenApi::EInterfaceType m_Type = GenApi::intfIBase;
    int64_t m_Integer = 0;
    double m_Float = 0;
    std::string m_Text; // String, Enumeration symbol, Register bytes; else the node's name
  };
  //! Reads a node; the camera's lock is held and the GIL released. Commands and categories
  //! have no value read.
  static SValue ReadLocked(GenApi::INode& node);
  //! The value as a Python object (GIL held): a CFeature for a command or category.
  static pybind11::object ToPython(const std::shared_ptr<CCamera>& camera, const SValue& value);

  std::string Name() const;
  const char* Type() const;
  std::string AccessMode() const;
  pybind11::object Value() const;
  void SetValue(pybind11::handle value) const;
  void Execute() const;
  pybind11::object Min() const;
  pybind11::object Max() const;
  pybind11::object Inc() const;
  std::string Unit() const;
  pybind11::list Entries() const;
  std::string ToolTip() const;
  std::string Description() const;
  std::string DisplayName() const;
  //! The features of a category.
  pybind11::list Features() const;
  std::string Repr() const;

private:
  enum ELimit { LimitMin, LimitMax, LimitInc };
  pybind11::object Limit(ELimit which) const;
  //! A TypeError: "'<name>' is <a/an> <Type> feature<rest>".
  [[noreturn]] void Refuse(const std::string& rest) const;

  std::shared_ptr<CCamera> m_pCamera;
  GenApi::INode* m_pNode;
  GenApi::EInterfaceType m_Type;
  std::string m_Name;
};

} // namespace VorlaPy
