#include "CEntryGuard.h"

#include "CNodeMap.h"

namespace GenApi {

CEntryGuard::CEntryGuard(const CNodeBase& node, const char* method) : m_Map(node.Map()) {
  m_Map.m_Lock.Lock();
  m_Outermost = m_Map.m_Depth++ == 0;
  if (m_Outermost) {
    m_Map.m_EntryNode = &node;
    m_Map.m_EntryMethod = method;
    ++m_Map.m_Generation;
    m_Map.m_Steps = 0;
  }
}

CEntryGuard::CEntryGuard(CNodeMap& map, const char* entry) : m_Map(map) {
  m_Map.m_Lock.Lock();
  m_Outermost = m_Map.m_Depth++ == 0;
  if (m_Outermost) {
    m_Map.m_EntryNode = nullptr;
    m_Map.m_EntryMethod = entry;
    ++m_Map.m_Generation;
    m_Map.m_Steps = 0;
  }
}

CEntryGuard::~CEntryGuard() {
  if (!m_Locked)
    return;
  // The operation failed: what it queued is dropped, caches stay invalidated.
  if (m_Outermost) {
    for (CNodeBase* node : m_Map.m_PendingNodes)
      node->m_Pending = false;
    m_Map.m_PendingNodes.clear();
  }
  --m_Map.m_Depth;
  m_Map.m_Lock.Unlock();
}

void CEntryGuard::Done() {
  std::vector<CNodeBase*> fire;
  if (m_Outermost) {
    fire.swap(m_Map.m_PendingNodes);
    for (CNodeBase* node : fire)
      node->m_Pending = false;
  }
  --m_Map.m_Depth;
  m_Locked = false;
  try {
    for (CNodeBase* node : fire)
      node->Fire(cbPostInsideLock);
  } catch (...) {
    m_Map.m_Lock.Unlock();
    throw;
  }
  m_Map.m_Lock.Unlock();
  for (CNodeBase* node : fire)
    node->Fire(cbPostOutsideLock);
}

} // namespace GenApi
