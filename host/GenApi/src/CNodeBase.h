#pragma once
// Common part of every node: identity, texts, access mode, dependencies and callbacks. Subclasses
// implement the value of their node type through the Get*V/Set*V members, which take no lock and
// check no access mode: the public interface methods do that once, at the entry point.
#include "CRef.h"
#include "Props.h"

#include <Base/GCException.h>
#include <GenApi/IValue.h>
#include <GenApi/NodeCallback.h>

#include <memory>
#include <string>
#include <vector>

namespace GenApi {

class CNodeMap;

//! Throws a GenICam exception of type E that names this node and the current entry point.
#define GENAPI_NODE_ERROR(E)                                                                       \
  ::GenICam::ExceptionReporter<::GenICam::E>(__FILE__, __LINE__, EntryPoint(), m_Name.c_str())     \
      .Report

//! The same for code that acts on behalf of `owner` (register, value and formula parts).
#define GENAPI_OWNER_ERROR(E, owner)                                                               \
  ::GenICam::ExceptionReporter<::GenICam::E>(__FILE__, __LINE__, (owner).Map().EntryPoint(),       \
                                             (owner).Name().c_str())                               \
      .Report

//! Thrown while linking when a node needs a node the description does not define; the map
//! catches it and marks the node not implemented.
struct CMissingReference {
  std::string Reason;
};

class CNodeBase : public virtual INode, public virtual IValue {
public:
  CNodeBase(CNodeMap& map, ENodeType type);
  ~CNodeBase() override;

  // ---- building
  void SetName(const std::string& name) { m_Name = name; }
  const std::string& Name() const { return m_Name; }
  ENodeType Type() const { return m_Type; }
  void SetNameSpace(ENameSpace ns) { m_NameSpace = ns; }
  int m_MergePriority = 0;
  int m_DocIndex = 0;
  //! Applies one child element; false when this node type does not know it.
  virtual bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr);
  //! Resolves references and declares dependencies; throws naming the node.
  virtual void Link();
  //! Nodes owned by this one that the map must link too (entries, inline formulas).
  virtual void CollectOwned(std::vector<CNodeBase*>& owned) { (void)owned; }
  //! Finds the node `ref` names. A missing one is warned about once per name; a `required` one
  //! throws CMissingReference (the node becomes not implemented), another is left null.
  bool Resolve(CRef& ref, const char* what, bool required = true);
  //! Makes this node not implemented for `reason`, which its errors then give.
  void MarkNotImplemented(const std::string& reason) { m_NotImplemented = reason; }
  const std::string& NotImplementedReason() const { return m_NotImplemented; }
  //! Declares that this node reads `child`; `value` edges must not form cycles.
  void AddChild(CNodeBase* child, bool value = true);
  void AddAffected(CNodeBase* node);
  //! The nodes this one reads; the first ValueChildCount() of them are read for its value.
  const std::vector<CNodeBase*>& Children() const { return m_Children; }
  size_t ValueChildCount() const { return m_ValueChildCount; }
  //! The nodes that read this one.
  const std::vector<CNodeBase*>& Parents() const { return m_Parents; }
  CNodeMap& Map() const { return *m_pMap; }

  // ---- values, without lock or access check
  virtual bool IsNumeric() const { return false; }
  virtual bool IsFloatValue() const { return false; }
  virtual int64_t GetIntV(bool verify, bool ignoreCache);
  virtual double GetFloatV(bool verify, bool ignoreCache);
  virtual void SetIntV(int64_t value, bool verify);
  virtual void SetFloatV(double value, bool verify);
  //! Throws AccessException naming this node unless it is writable now: every node that a write
  //! reaches on behalf of another checks this, not only the one the application names.
  void CheckWritableTarget() const;
  virtual int64_t GetIntMinV();
  virtual int64_t GetIntMaxV();
  virtual int64_t GetIntIncV() { return 1; }
  virtual double GetFloatMinV() { return static_cast<double>(GetIntMinV()); }
  virtual double GetFloatMaxV() { return static_cast<double>(GetIntMaxV()); }
  //! Drops this node's own cached value.
  virtual void InvalidateOwn() {}
  //! The mode of the node type before pIsImplemented, pIsAvailable, pIsLocked and impositions.
  virtual EAccessMode NaturalAccessMode() const { return RO; }

  // ---- invalidation and callbacks
  //! This node plus every node whose value or access mode depends on it, transitively.
  const std::vector<CNodeBase*>& Closure();
  void Fire(ECallbackType type);
  bool m_Pending = false; // queued for the callbacks of the running operation
  bool m_IsFeature = false;
  uint8_t m_Mark = 0;        // cycle check
  uint32_t m_ChainDepth = 0; // cycle check: the longest chain of value edges from here
  int64_t m_PollingTime = -1;
  int64_t m_PollElapsed = 0;
  CNodeBase* BlockPolling() const { return m_pRare ? m_pRare->BlockPolling.p : nullptr; }

  // ---- INode
  EAccessMode GetAccessMode() const override;
  gcstring GetName(bool FullQualified = false) const override;
  ENameSpace GetNameSpace() const override { return m_NameSpace; }
  EVisibility GetVisibility() const override;
  void InvalidateNode() override;
  bool IsCachable() const override { return GetCachingMode() != NoCache; }
  ECachingMode GetCachingMode() const override { return NoCache; }
  int64_t GetPollingTime() const override { return m_PollingTime; }
  gcstring GetToolTip() const override { return m_ToolTip; }
  gcstring GetDescription() const override { return m_Description; }
  gcstring GetDisplayName() const override;
  gcstring GetDeviceName() const override;
  void GetChildren(NodeList_t& Children) const override;
  void GetParents(NodeList_t& Parents) const override;
  CallbackHandleType RegisterCallback(CNodeCallback* pCallback) override;
  bool DeregisterCallback(CallbackHandleType hCallback) override;
  INodeMap* GetNodeMap() const override;
  gcstring GetEventID() const override { return m_pRare ? m_pRare->EventID : gcstring(); }
  bool IsStreamable() const override { return m_Streamable; }
  void ImposeAccessMode(EAccessMode ImposedAccessMode) override;
  void ImposeVisibility(EVisibility ImposedVisibility) override;
  INode* GetAlias() const override;
  INode* GetCastAlias() const override;
  gcstring GetDocuURL() const override { return m_pRare ? m_pRare->DocuURL : gcstring(); }
  bool IsDeprecated() const override { return m_Deprecated; }
  EInterfaceType GetPrincipalInterfaceType() const override { return intfIValue; }
  bool IsFeature() const override;

  // ---- IValue
  INode* GetNode() override { return this; }
  gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
  void FromString(const gcstring& ValueStr, bool Verify = true) override;
  bool IsValueCacheValid() const override { return false; }

  //! Throws AccessException saying why when the node is not implemented for lack of a node.
  void ThrowIfNotImplemented() const;

protected:
  const char* EntryPoint() const;
  //! Throws AccessException unless the node is readable / writable now.
  void CheckReadable() const;
  void CheckWritable() const;
  //! Reads a boolean-like node such as pIsAvailable.
  static bool IsTrue(const CRef& ref);

  CNodeMap* m_pMap;
  ENodeType m_Type;
  std::string m_Name;
  ENameSpace m_NameSpace = Custom;
  std::string m_ToolTip, m_Description;
  EVisibility m_Visibility = Beginner;
  EVisibility m_ImposedVisibility = Beginner;
  bool m_Deprecated = false;
  bool m_Streamable = false;
  CRef m_IsImplemented, m_IsAvailable, m_IsLocked;
  EAccessMode m_ImposedXml = RW;
  EAccessMode m_ImposedRuntime = RW;

private:
  // The graph: value children first in m_Children. The nodes a change of this one affects are
  // its parents plus the rare block's Affected (nodes naming it as invalidator or selector).
  std::vector<CNodeBase*> m_Children, m_Parents;
  uint32_t m_ValueChildCount = 0;

  mutable bool m_InAccessMode = false;
  std::string m_NotImplemented; // why the node is not implemented, empty when it is
  // What few nodes have, allocated with the first of it: a map of thousands of nodes stays
  // small, so that building and walking it touches less memory.
  struct SRare {
    std::string DisplayName, DocuURL, EventID;
    CRef Alias, CastAlias, BlockPolling;
    std::vector<CRef> Invalidators, Selected;
    std::vector<CNodeBase*> Affected; // besides the parents
    std::vector<std::shared_ptr<CNodeCallback>> Callbacks;
    std::vector<CNodeBase*> Closure; // valid once ClosureValid
    bool ClosureValid = false;
  };
  SRare& Rare();
  std::unique_ptr<SRare> m_pRare;
};

} // namespace GenApi
