#pragma once
#include <GenApi/IBase.h>

#include <vector>

namespace GenApi {

struct INode;
struct INodeMap;
class CNodeCallback;

using NodeList_t = std::vector<INode*>;

//! A node of a node map: name, texts, access mode, dependencies and change callbacks.
struct GENAPI_API INode : virtual public IBase {
  virtual gcstring GetName(bool FullQualified = false) const = 0;
  virtual ENameSpace GetNameSpace() const = 0;
  virtual EVisibility GetVisibility() const = 0;
  //! Drops the node's cached values and those of its dependents, then fires their callbacks.
  virtual void InvalidateNode() = 0;
  virtual bool IsCachable() const = 0;
  virtual ECachingMode GetCachingMode() const = 0;
  virtual int64_t GetPollingTime() const = 0;
  virtual gcstring GetToolTip() const = 0;
  virtual gcstring GetDescription() const = 0;
  //! The display name, or the node name when the description has none.
  virtual gcstring GetDisplayName() const = 0;
  virtual gcstring GetDeviceName() const = 0;
  //! The nodes this node reads (its value, range, address and access-mode sources).
  virtual void GetChildren(NodeList_t& Children) const = 0;
  //! The nodes that read this node.
  virtual void GetParents(NodeList_t& Parents) const = 0;
  //! Takes ownership of the callback; returns its handle.
  virtual CallbackHandleType RegisterCallback(CNodeCallback* pCallback) = 0;
  virtual bool DeregisterCallback(CallbackHandleType hCallback) = 0;
  virtual INodeMap* GetNodeMap() const = 0;
  virtual gcstring GetEventID() const = 0;
  virtual bool IsStreamable() const = 0;
  //! Further restricts the node's access mode until the next call (RW lifts the restriction).
  virtual void ImposeAccessMode(EAccessMode ImposedAccessMode) = 0;
  virtual void ImposeVisibility(EVisibility ImposedVisibility) = 0;
  virtual INode* GetAlias() const = 0;
  virtual INode* GetCastAlias() const = 0;
  virtual gcstring GetDocuURL() const = 0;
  virtual bool IsDeprecated() const = 0;
  virtual EInterfaceType GetPrincipalInterfaceType() const = 0;
  //! True for nodes that a category lists or that are user features.
  virtual bool IsFeature() const = 0;
};

inline bool IsReadable(EAccessMode m) {
  return m == RO || m == RW;
}
inline bool IsWritable(EAccessMode m) {
  return m == WO || m == RW;
}
inline bool IsImplemented(EAccessMode m) {
  return m != NI;
}
inline bool IsAvailable(EAccessMode m) {
  return !(m == NA || m == NI);
}
inline bool IsReadable(const IBase* p) {
  return p && IsReadable(p->GetAccessMode());
}
inline bool IsWritable(const IBase* p) {
  return p && IsWritable(p->GetAccessMode());
}
inline bool IsImplemented(const IBase* p) {
  return p && IsImplemented(p->GetAccessMode());
}
inline bool IsAvailable(const IBase* p) {
  return p && IsAvailable(p->GetAccessMode());
}
inline bool IsReadable(const IBase& r) {
  return IsReadable(r.GetAccessMode());
}
inline bool IsWritable(const IBase& r) {
  return IsWritable(r.GetAccessMode());
}
inline bool IsImplemented(const IBase& r) {
  return IsImplemented(r.GetAccessMode());
}
inline bool IsAvailable(const IBase& r) {
  return IsAvailable(r.GetAccessMode());
}

//! The GenICam "weaker wins" combination of two access modes.
inline EAccessMode Combine(EAccessMode a, EAccessMode b) {
  if (a == NI || b == NI)
    return NI;
  if (a == NA || b == NA)
    return NA;
  if ((a == RO && b == WO) || (a == WO && b == RO))
    return NA;
  if (a == WO || b == WO)
    return WO;
  if (a == RO || b == RO)
    return RO;
  return RW;
}

} // namespace GenApi
