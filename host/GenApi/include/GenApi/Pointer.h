#pragma once
#include <Base/GCException.h>
#include <GenApi/IBoolean.h>
#include <GenApi/ICategory.h>
#include <GenApi/ICommand.h>
#include <GenApi/IEnumeration.h>
#include <GenApi/IFloat.h>
#include <GenApi/IInteger.h>
#include <GenApi/INodeMap.h>
#include <GenApi/IPort.h>
#include <GenApi/IRegister.h>
#include <GenApi/IString.h>

namespace GenApi {

//! Holds an interface pointer obtained by dynamic_cast; a node of another type gives an
//! invalid pointer. Dereferencing an invalid pointer throws.
template <class T, class B = IBase> class CPointer {
public:
  CPointer() = default;
  CPointer(B* pB) : m_pT(pB ? dynamic_cast<T*>(pB) : nullptr) {}
  CPointer(std::nullptr_t) {}
  template <class U, class = std::enable_if_t<!std::is_convertible<U*, B*>::value &&
                                              std::is_polymorphic<U>::value>>
  CPointer(U* pU) : m_pT(pU ? dynamic_cast<T*>(pU) : nullptr) {}
  template <class U, class UB>
  CPointer(const CPointer<U, UB>& other)
      : m_pT(other.IsValid() ? dynamic_cast<T*>(other.operator U*()) : nullptr) {}

  CPointer& operator=(B* pB) {
    m_pT = pB ? dynamic_cast<T*>(pB) : nullptr;
    return *this;
  }

  bool IsValid() const { return m_pT != nullptr; }
  explicit operator bool() const { return m_pT != nullptr; }
  T* operator->() const { return Checked(); }
  T& operator*() const { return *Checked(); }
  operator T*() const { return Checked(); }
  void Release() { m_pT = nullptr; }
  bool operator==(std::nullptr_t) const { return m_pT == nullptr; }
  bool operator!=(std::nullptr_t) const { return m_pT != nullptr; }
  bool operator==(const CPointer& other) const { return m_pT == other.m_pT; }
  bool operator!=(const CPointer& other) const { return m_pT != other.m_pT; }

private:
  T* Checked() const {
    if (!m_pT)
      throw LOGICAL_ERROR_EXCEPTION("NULL pointer dereferenced");
    return m_pT;
  }
  T* m_pT = nullptr;
};

using CBasePtr = CPointer<IBase>;
using CNodePtr = CPointer<INode>;
using CValuePtr = CPointer<IValue>;
using CIntegerPtr = CPointer<IInteger>;
using CFloatPtr = CPointer<IFloat>;
using CBooleanPtr = CPointer<IBoolean>;
using CCommandPtr = CPointer<ICommand>;
using CStringPtr = CPointer<IString>;
using CRegisterPtr = CPointer<IRegister>;
using CCategoryPtr = CPointer<ICategory>;
using CEnumerationPtr = CPointer<IEnumeration>;
using CEnumEntryPtr = CPointer<IEnumEntry>;
using CPortPtr = CPointer<IPort>;
using CNodeMapPtr = CPointer<INodeMap, INodeMap>;

template <class T, class B> bool IsReadable(const CPointer<T, B>& p) {
  return p.IsValid() && IsReadable(p->GetAccessMode());
}
template <class T, class B> bool IsWritable(const CPointer<T, B>& p) {
  return p.IsValid() && IsWritable(p->GetAccessMode());
}
template <class T, class B> bool IsImplemented(const CPointer<T, B>& p) {
  return p.IsValid() && IsImplemented(p->GetAccessMode());
}
template <class T, class B> bool IsAvailable(const CPointer<T, B>& p) {
  return p.IsValid() && IsAvailable(p->GetAccessMode());
}

} // namespace GenApi
