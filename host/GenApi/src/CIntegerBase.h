#pragma once
#include "CNodeBase.h"

#include <GenApi/IInteger.h>

#include <limits>

namespace GenApi {

//! The IInteger interface over the Get/SetIntV members of an integer node type: locking,
//! access and range checks, text forms.
class CIntegerBase : public CNodeBase, public IInteger {
public:
  using CNodeBase::CNodeBase;
  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) override;
  bool IsNumeric() const override { return true; }
  EInterfaceType GetPrincipalInterfaceType() const override { return intfIInteger; }

  void SetValue(int64_t Value, bool Verify = true) override;
  int64_t GetValue(bool Verify = false, bool IgnoreCache = false) override;
  int64_t GetMin() override;
  int64_t GetMax() override;
  EIncMode GetIncMode() override { return fixedIncrement; }
  int64_t GetInc() override;
  ERepresentation GetRepresentation() override { return m_Representation; }
  gcstring GetUnit() const override { return m_Unit; }
  void ImposeMin(int64_t Value) override { m_ImposedMin = Value; }
  void ImposeMax(int64_t Value) override { m_ImposedMax = Value; }
  gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
  void FromString(const gcstring& ValueStr, bool Verify = true) override;
  bool IsValueCacheValid() const override { return false; }

protected:
  void CheckRange(int64_t value);
  void CheckAvailable() const;

  std::string m_Unit;
  ERepresentation m_Representation = _UndefinedRepresentation;
  int64_t m_ImposedMin = std::numeric_limits<int64_t>::min();
  int64_t m_ImposedMax = std::numeric_limits<int64_t>::max();
};

ERepresentation ParseRepresentation(const std::string& text);

} // namespace GenApi
