#pragma once
#include "CNodeBase.h"

#include <GenApi/IFloat.h>

#include <limits>

namespace GenApi {

//! The IFloat interface over the Get/SetFloatV members of a float node type.
class CFloatBase : public CNodeBase, public IFloat {
public:
  using CNodeBase::CNodeBase;
  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) override;
  bool IsNumeric() const override { return true; }
  bool IsFloatValue() const override { return true; }
  EInterfaceType GetPrincipalInterfaceType() const override { return intfIFloat; }
  double GetFloatMinV() override { return -std::numeric_limits<double>::max(); }
  double GetFloatMaxV() override { return std::numeric_limits<double>::max(); }
  //! False when the node has no increment.
  virtual bool GetFloatIncV(double& inc) { return false; }

  void SetValue(double Value, bool Verify = true) override;
  double GetValue(bool Verify = false, bool IgnoreCache = false) override;
  double GetMin() override;
  double GetMax() override;
  bool HasInc() override;
  double GetInc() override;
  ERepresentation GetRepresentation() override { return m_Representation; }
  gcstring GetUnit() const override { return m_Unit; }
  EDisplayNotation GetDisplayNotation() const override { return m_Notation; }
  int64_t GetDisplayPrecision() const override { return m_Precision; }
  void ImposeMin(double Value) override { m_ImposedMin = Value; }
  void ImposeMax(double Value) override { m_ImposedMax = Value; }
  gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
  void FromString(const gcstring& ValueStr, bool Verify = true) override;
  bool IsValueCacheValid() const override { return false; }

protected:
  void CheckRange(double value);
  void CheckAvailable() const;

  std::string m_Unit;
  ERepresentation m_Representation = _UndefinedRepresentation;
  EDisplayNotation m_Notation = fnAutomatic;
  int64_t m_Precision = 6;
  double m_ImposedMin = -std::numeric_limits<double>::max();
  double m_ImposedMax = std::numeric_limits<double>::max();
};

} // namespace GenApi
