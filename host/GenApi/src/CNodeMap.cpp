#include "CNodeMap.h"

#include "CEntryGuard.h"
#include "CPortNode.h"
#include "Log.h"
#include "formula/Formula.h"

#include <algorithm>

namespace GenApi {

CNodeMap::CNodeMap(const std::string& deviceName) : m_DeviceName(deviceName) {}

CNodeMap::~CNodeMap() = default;

std::shared_ptr<const CFormula> CNodeMap::SharedFormula(const std::string& text,
                                                        const std::vector<std::string>& names) {
  std::string key = text;
  for (const std::string& name : names)
    key.append(1, '\0').append(name);
  const auto found = m_Formulas.find(key);
  if (found != m_Formulas.end())
    return found->second;
  auto formula = std::make_shared<const CFormula>(text, names);
  m_Formulas.emplace(std::move(key), formula);
  return formula;
}

void CNodeMap::Reserve(size_t bytes) {
  const size_t nodes = bytes / 100; // real descriptions spend 150 to 400 bytes per node
  m_Defined.reserve(m_Defined.size() + nodes);
  m_Lookup.reserve(m_Lookup.size() + nodes + nodes / 2); // and enumeration entries
}

void CNodeMap::AddNode(std::unique_ptr<CNodeBase>& node) {
  const auto added = m_Lookup.emplace(node->Name(), node.get());
  if (added.second) {
    m_Defined.push_back(std::move(node));
    return;
  }
  const auto found = added.first;
  CNodeBase* earlier = found->second;
  if (earlier->m_DocIndex == node->m_DocIndex)
    throw RUNTIME_EXCEPTION("Node '%s' is defined twice", node->Name().c_str());
  if (earlier->m_MergePriority > node->m_MergePriority) {
    node.reset(); // the earlier description wins
    return;
  }
  found->second = node.get();
  for (auto& slot : m_Defined)
    if (slot.get() == earlier)
      slot = std::move(node);
}

void CNodeMap::ReportMissing(const std::string& missing, const CNodeBase& node, const char* what) {
  if (m_Missing.insert(missing).second)
    LogWarning("GenApi.Loader",
               "The description refers to the missing node '%s' (%s of '%s'); the nodes that "
               "need it are not implemented",
               missing.c_str(), what, node.Name().c_str());
}

CNodeBase* CNodeMap::Find(const std::string& name) const {
  const auto it = m_Lookup.find(name);
  return it == m_Lookup.end() ? nullptr : it->second;
}

void CNodeMap::Link() {
  m_All.clear();
  m_All.reserve(m_Defined.size() * 2);
  for (const auto& node : m_Defined)
    m_All.push_back(node.get());
  for (size_t i = 0; i < m_All.size(); ++i)
    m_All[i]->CollectOwned(m_All);
  // Owned nodes with a name (enumeration entries) are found by it unless a node took the name.
  for (size_t i = m_Defined.size(); i < m_All.size(); ++i)
    if (m_All[i]->Type() == ENodeType::EnumEntry)
      m_Lookup.emplace(m_All[i]->Name(), m_All[i]);
  std::vector<CNodeBase*> broken;
  for (CNodeBase* node : m_All) {
    try {
      node->Link();
    } catch (const CMissingReference& missing) {
      node->MarkNotImplemented(missing.Reason);
      broken.push_back(node);
    }
  }
  // Whatever reads a node that is not implemented is not implemented either, for the same
  // reason; an enumeration merely loses the entry.
  for (size_t i = 0; i < broken.size(); ++i) {
    for (CNodeBase* node : broken[i]->Parents()) {
      if (!node->NotImplementedReason().empty() ||
          (broken[i]->Type() == ENodeType::EnumEntry && node->Type() == ENodeType::Enumeration))
        continue;
      node->MarkNotImplemented(broken[i]->NotImplementedReason());
      broken.push_back(node);
    }
  }
  for (CNodeBase* node : m_All) {
    if (node->m_PollingTime > 0 && node->NotImplementedReason().empty())
      m_Polled.push_back(node);
    if (node->Type() == ENodeType::Port)
      m_Ports.push_back(static_cast<CPortNode*>(node));
    node->m_Mark = 0;
  }
  m_Formulas.clear(); // the nodes keep theirs
  CheckCycles();
}

void CNodeMap::CheckCycles() const {
  // Iterative depth-first search over the value edges; marks (all 0 on entry): 0 new, 1 on
  // stack, 2 done.
  constexpr size_t maxDepth = 1000;
  std::vector<std::pair<CNodeBase*, size_t>> stack;
  for (CNodeBase* start : m_All) {
    if (start->m_Mark)
      continue;
    stack.emplace_back(start, 0);
    start->m_Mark = 1;
    while (!stack.empty()) {
      auto& top = stack.back();
      const auto& children = top.first->Children();
      const size_t count = top.first->ValueChildCount();
      if (top.second == count) {
        uint32_t depth = 0;
        for (size_t i = 0; i < count; ++i)
          depth = std::max(depth, children[i]->m_ChainDepth);
        top.first->m_ChainDepth = depth + 1;
        if (depth + 1 > maxDepth)
          throw RUNTIME_EXCEPTION("Node '%s': dependency chain deeper than %zu nodes",
                                  top.first->Name().c_str(), maxDepth);
        top.first->m_Mark = 2;
        stack.pop_back();
        continue;
      }
      CNodeBase* child = children[top.second++];
      if (child->m_Mark == 1)
        throw RUNTIME_EXCEPTION("Node '%s': dependency cycle through '%s'",
                                top.first->Name().c_str(), child->Name().c_str());
      if (child->m_Mark == 0) {
        if (stack.size() >= maxDepth)
          throw RUNTIME_EXCEPTION("Node '%s': dependency chain deeper than %zu nodes",
                                  child->Name().c_str(), maxDepth);
        child->m_Mark = 1;
        stack.emplace_back(child, 0);
      }
    }
  }
}

const char* CNodeMap::EntryPoint() const {
  m_Entry = m_EntryMethod;
  if (m_EntryNode)
    m_Entry = m_EntryNode->Name() + '.' + m_Entry + "()";
  return m_Entry.c_str();
}

void CNodeMap::BeginQuery() const {
  if (m_Depth == 0) {
    ++m_Generation;
    m_Steps = 0;
  }
}

void CNodeMap::TooMuchWork() const {
  m_Steps = 0; // so that the error's own reporting is not refused again
  throw ::GenICam::ExceptionReporter<::GenICam::RuntimeException>(
      __FILE__, __LINE__, EntryPoint(), m_EntryNode ? m_EntryNode->Name().c_str() : "")
      .Report("One operation needs more than %llu evaluation steps; the dependency graph of "
              "the description is too large",
              static_cast<unsigned long long>(MaxSteps));
}

void CNodeMap::PreWrite(CNodeBase* node) {
  ++m_Generation;
  for (CNodeBase* affected : node->Closure())
    if (affected->NotImplementedReason().empty()) // may lack the nodes it would invalidate
      affected->InvalidateOwn();
}

void CNodeMap::PostWrite(CNodeBase* node) {
  for (CNodeBase* affected : node->Closure())
    if (!affected->m_Pending) {
      affected->m_Pending = true;
      m_PendingNodes.push_back(affected);
    }
}

void CNodeMap::GetNodes(NodeList_t& Nodes) const {
  AutoLock lock(m_Lock);
  Nodes.clear();
  Nodes.reserve(m_Lookup.size());
  for (const auto& entry : m_Lookup)
    Nodes.push_back(entry.second);
}

INode* CNodeMap::GetNode(const gcstring& Name) const {
  AutoLock lock(m_Lock);
  return Find(Name);
}

void CNodeMap::InvalidateNodes() const {
  AutoLock lock(m_Lock);
  ++m_Generation;
  for (CNodeBase* node : m_All)
    if (node->NotImplementedReason().empty())
      node->InvalidateOwn();
  for (CPortNode* port : m_Ports)
    port->InvalidateCache();
}

bool CNodeMap::Connect(IPort* pPort, const gcstring& PortName) const {
  AutoLock lock(m_Lock);
  CNodeBase* node = Find(PortName);
  if (!node || node->Type() != ENodeType::Port)
    return false;
  static_cast<CPortNode*>(node)->SetPort(pPort);
  return true;
}

bool CNodeMap::Connect(IPort* pPort) const {
  return Connect(pPort, "Device");
}

void CNodeMap::Poll(int64_t ElapsedTime) {
  CEntryGuard guard(*this, "Poll");
  for (CNodeBase* node : m_Polled) {
    CNodeBase* block = node->BlockPolling();
    if (block && block->NotImplementedReason().empty() && block->GetIntV(false, false) != 0)
      continue;
    node->m_PollElapsed += ElapsedTime;
    if (node->m_PollElapsed < node->m_PollingTime)
      continue;
    node->m_PollElapsed = 0;
    PreWrite(node);
    PostWrite(node);
  }
  guard.Done();
}

} // namespace GenApi
