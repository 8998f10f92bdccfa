#pragma once
#include "CNodeBase.h"

#include <GenApi/INodeMap.h>

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace GenApi {

class CFormula;
class CPortNode;

//! The node map: owns the nodes, the lock and the bookkeeping of the running operation.
class CNodeMap : public INodeMap {
public:
  explicit CNodeMap(const std::string& deviceName);
  ~CNodeMap() override;

  // ---- building
  //! Adds a top-level node of document `docIndex`. Within one document names are unique; a later
  //! document replaces a node of the same name unless the earlier one has a higher MergePriority.
  //! Takes the node unless it throws (the node then stays with the caller) or an earlier
  //! description's node of the same name wins (the node is dropped).
  void AddNode(std::unique_ptr<CNodeBase>& node);
  //! Makes room for the nodes of a description of `bytes` bytes, so that the name table is not
  //! rehashed again and again while it grows.
  void Reserve(size_t bytes);
  //! The compiled form of a formula text over the given names; nodes with the same formula (real
  //! descriptions repeat theirs by the hundred) share one. Throws as CFormula does.
  std::shared_ptr<const CFormula> SharedFormula(const std::string& text,
                                                const std::vector<std::string>& names);
  //! Resolves references, builds the dependency graph and checks it. Throws on bad input.
  void Link();
  CNodeBase* Find(const std::string& name) const;
  //! Warns once per missing name that `node` refers to it in its element `what`.
  void ReportMissing(const std::string& missing, const CNodeBase& node, const char* what);
  int m_SchemaMajor = 1;
  int m_SchemaMinor = 0;

  // ---- running operations (m_Lock held)
  //! Invalidates what depends on `node` before it is written.
  void PreWrite(CNodeBase* node);
  //! Queues the callbacks of `node` and its dependents after it was written.
  void PostWrite(CNodeBase* node);
  //! "Node.Method()" of the outermost running operation, spelled out only when an error needs it.
  const char* EntryPoint() const;
  //! Changes when an outermost operation starts and after every write: a value computed under
  //! the current generation may be reused, so that shared dependencies are evaluated once.
  uint64_t Generation() const { return m_Generation; }
  //! Starts a new generation for a query made outside any operation (an access-mode query).
  void BeginQuery() const;
  //! Counts one evaluation step of the running operation; a description whose dependency graph
  //! needs more than MaxSteps for one operation gets an error instead of a hang.
  void Step() {
    if (++m_Steps > MaxSteps)
      TooMuchWork();
  }
  static constexpr uint64_t MaxSteps = 1000000;

  // ---- INodeMap
  void GetNodes(NodeList_t& Nodes) const override;
  INode* GetNode(const gcstring& Name) const override;
  void InvalidateNodes() const override;
  bool Connect(IPort* pPort, const gcstring& PortName) const override;
  bool Connect(IPort* pPort) const override;
  gcstring GetDeviceName() override { return m_DeviceName; }
  void Poll(int64_t ElapsedTime) override;
  CLock& GetLock() const override { return m_Lock; }
  uint64_t GetNumNodes() const override { return m_Lookup.size(); }

private:
  friend class CEntryGuard;
  void CheckCycles() const;
  [[noreturn]] void TooMuchWork() const;

  std::string m_DeviceName;
  //! The node-map lock; every public node operation holds it (CEntryGuard).
  mutable CLock m_Lock;
  std::vector<std::unique_ptr<CNodeBase>> m_Defined; // top-level nodes in document order
  // defined nodes plus enumeration entries; the keys are copies, so that a lookup compares names
  // inside the table instead of reaching into the nodes
  std::unordered_map<std::string, CNodeBase*> m_Lookup;
  std::vector<CNodeBase*> m_All; // everything linked, owned ones too
  std::vector<CNodeBase*> m_Polled;
  std::vector<CPortNode*> m_Ports;
  std::unordered_set<std::string> m_Missing; // names already warned about
  std::unordered_map<std::string, std::shared_ptr<const CFormula>> m_Formulas; // while linking

  // state of the running operation, guarded by m_Lock
  int m_Depth = 0;
  const CNodeBase* m_EntryNode = nullptr; // null for operations of the map itself
  const char* m_EntryMethod = "";
  mutable std::string m_Entry;
  mutable uint64_t m_Generation = 1;
  mutable uint64_t m_Steps = 0;
  std::vector<CNodeBase*> m_PendingNodes;
};

} // namespace GenApi
