#pragma once
#include "CNodeMap.h"
#include "CValueSource.h"

#include <type_traits>

namespace GenApi {

//! What Integer and Float share: the value from a CValueSource, Min/Max/Inc given literally or
//! by a node, and the pValue node's access, caching and limits when there is one. TBase is the
//! interface base (CFloatBase or CIntegerBase), TValue its value type; the node classes route
//! their Get/Set/Min/Max members here.
template <class TBase, class TValue> class CNumberNodeBase : public TBase {
public:
  CNumberNodeBase(CNodeMap& map, ENodeType type) : TBase(map, type), m_Source(!IsInteger) {}

  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) override {
    CNumRef* limit = nullptr;
    switch (prop) {
    case EProp::Min:
    case EProp::pMin:
      limit = &m_Min;
      break;
    case EProp::Max:
    case EProp::pMax:
      limit = &m_Max;
      break;
    case EProp::Inc:
    case EProp::pInc:
      limit = &m_Inc;
      break;
    default:
      return m_Source.SetProperty(prop, text, attr) || TBase::SetProperty(prop, text, attr);
    }
    if (prop == EProp::pMin || prop == EProp::pMax || prop == EProp::pInc) {
      limit->Ref.Name = text;
    } else {
      if constexpr (IsInteger) {
        if (!ParseInt64(text, limit->Int))
          throw RUNTIME_EXCEPTION("Invalid integer '%s'", text.c_str());
      } else {
        if (!ParseDouble(text, limit->Float))
          throw RUNTIME_EXCEPTION("Invalid float '%s'", text.c_str());
      }
      limit->HasLiteral = true;
    }
    return true;
  }

  void Link() override {
    TBase::Link();
    m_Source.Link(*this);
    for (CNumRef* limit : {&m_Min, &m_Max, &m_Inc}) {
      this->Resolve(limit->Ref, "pMin/pMax/pInc");
      if (limit->Ref.p && !limit->Ref.p->IsNumeric())
        throw GENAPI_NODE_ERROR(RuntimeException)("Node '%s': '%s' is not a number", m_Name.c_str(),
                                                  limit->Ref.Name.c_str());
      this->AddChild(limit->Ref.p);
    }
  }

  EAccessMode NaturalAccessMode() const override {
    CNodeBase* value = m_Source.ValueNode();
    return value ? value->GetAccessMode() : RW;
  }

  void InvalidateOwn() override {
    if (CNodeBase* value = m_Source.ValueNode())
      value->InvalidateOwn();
  }

  ECachingMode GetCachingMode() const override {
    CNodeBase* value = m_Source.ValueNode();
    return value ? value->GetCachingMode() : WriteThrough;
  }

  bool IsValueCacheValid() const override {
    CNodeBase* value = m_Source.ValueNode();
    return value ? value->IsValueCacheValid() : true;
  }

protected:
  using TBase::EntryPoint;
  using TBase::m_Name;
  using TBase::m_pMap;

  TValue Read(bool verify, bool ignoreCache) {
    if constexpr (IsInteger)
      return m_Source.GetInt(verify, ignoreCache);
    else
      return m_Source.GetFloat(verify, ignoreCache);
  }

  void Write(TValue value, bool verify) {
    m_pMap->PreWrite(this);
    if constexpr (IsInteger)
      m_Source.SetInt(value, verify);
    else
      m_Source.SetFloat(value, verify);
    m_pMap->PostWrite(this);
  }

  //! Min, else the pValue node's minimum, else the type's.
  TValue Minimum() {
    if (m_Min.IsSet())
      return Limit(m_Min);
    CNodeBase* value = m_Source.ValueNode();
    if constexpr (IsInteger)
      return value ? value->GetIntMinV() : TBase::GetIntMinV();
    else
      return value ? value->GetFloatMinV() : TBase::GetFloatMinV();
  }

  //! Max, else the pValue node's maximum, else the type's.
  TValue Maximum() {
    if (m_Max.IsSet())
      return Limit(m_Max);
    CNodeBase* value = m_Source.ValueNode();
    if constexpr (IsInteger)
      return value ? value->GetIntMaxV() : TBase::GetIntMaxV();
    else
      return value ? value->GetFloatMaxV() : TBase::GetFloatMaxV();
  }

  static TValue Limit(const CNumRef& limit) {
    if constexpr (IsInteger)
      return limit.GetInt(false);
    else
      return limit.GetFloat(false);
  }

  static constexpr bool IsInteger = std::is_integral<TValue>::value;

  CValueSource m_Source;
  CNumRef m_Min, m_Max, m_Inc;
};

} // namespace GenApi
