#include "NodeCallbackTable.h"

#include "VorlaCLSerLog.h"

#include <GenApi/GenApi.h>
#include <GenApi/NodeCallback.h>
#include <VorlaBase/IVorlaDevice.h>

namespace Vorla {

using Guard = Platform::CLockGuard<Platform::CMutex>;

uintptr_t CNodeCallbackTable::Register(const char* nodeName, PluginNodeCallback callback,
                                       uint64_t context, uint32_t cookie) {
  if (!nodeName) {
    vxlog::LogTrace(StreamLog(), vxlog::Error, "Invalid nodename passed.");
    return 0;
  }
  if (!callback) {
    vxlog::LogTrace(StreamLog(), vxlog::Error, "Invalid callbackaddress passed.");
    return 0;
  }
  try {
    GenApi::INodeMap* nodeMap = m_Device.GetNodeMap();
    if (!nodeMap) {
      vxlog::LogTrace(StreamLog(), vxlog::Error, "Cannot setup nodemap callback on null nodemap.");
      return 0;
    }
    GenApi::INode* node = nodeMap->GetNode(nodeName);
    if (!node) {
      vxlog::LogTrace(StreamLog(), vxlog::Error, "Could not register nodecallback for node (%s)",
                      nodeName);
      return 0;
    }
    // The row first, so that a change right after the node's registration finds it.
    size_t index = 0;
    {
      Guard guard(m_Lock);
      const SRow row{node, callback, 0, context, cookie, false};
      auto free = m_Rows.begin();
      while (free != m_Rows.end() && free->m_pNode)
        ++free;
      if (free == m_Rows.end())
        free = m_Rows.insert(m_Rows.end(), row);
      else
        *free = row;
      index = static_cast<size_t>(free - m_Rows.begin());
    }
    GenApi::CallbackHandleType hCallback = 0;
    try {
      hCallback = GenApi::Register(node, *this, &CNodeCallbackTable::OnNodeChanged,
                                   GenApi::cbPostInsideLock);
    } catch (...) {
      Guard guard(m_Lock);
      m_Rows[index] = SRow();
      throw;
    }
    Guard guard(m_Lock);
    m_Rows[index].m_hCallback = hCallback;
    return index + 1;
  } catch (const GenICam::GenericException& e) {
    vxlog::LogTrace(StreamLog(), vxlog::Error, "Exception setting node callback. (%s)",
                    e.GetDescription());
    return 0;
  }
}

bool CNodeCallbackTable::Deregister(uintptr_t handle) {
  if (handle == 0)
    return false;
  SRow row;
  {
    Guard guard(m_Lock);
    if (handle - 1 >= m_Rows.size() || !m_Rows[handle - 1].m_pNode || m_Rows[handle - 1].m_Removing)
      return false;
    m_Rows[handle - 1].m_Removing = true;
    row = m_Rows[handle - 1];
  }
  // Without the table's lock: GenApi takes the node map's lock, which comes first.
  row.m_pNode->DeregisterCallback(row.m_hCallback);
  Guard guard(m_Lock);
  if (handle - 1 < m_Rows.size()) // else cleared meanwhile
    m_Rows[handle - 1] = SRow();
  return true;
}

void CNodeCallbackTable::Clear() {
  std::vector<SRow> rows;
  {
    Guard guard(m_Lock);
    rows.swap(m_Rows);
  }
  for (const SRow& row : rows)
    if (row.m_pNode && !row.m_Removing)
      row.m_pNode->DeregisterCallback(row.m_hCallback);
}

void CNodeCallbackTable::OnNodeChanged(GenApi::INode* node) {
  int64_t value = 0;
  try {
    if (auto* integer = dynamic_cast<GenApi::IInteger*>(node)) {
      value = integer->GetValue(false, false);
    } else if (auto* enumeration = dynamic_cast<GenApi::IEnumeration*>(node)) {
      value = enumeration->GetIntValue(false, false);
    } else {
      vxlog::LogTrace(StreamLog(), vxlog::Error,
                      "Invalid node type. Only inter like types are supported");
      return;
    }
  } catch (const GenICam::GenericException& e) {
    vxlog::LogTrace(StreamLog(), vxlog::Error, "Exception getting nodevalue (%s)",
                    e.GetDescription());
    return;
  }
  SRow row;
  {
    Guard guard(m_Lock);
    for (const SRow& r : m_Rows)
      if (r.m_pNode == node) {
        row = r;
        break;
      }
  }
  if (!row.m_pNode) {
    vxlog::LogTrace(StreamLog(), vxlog::Error, "Node not registered in callbackvector");
    return;
  }
  try {
    row.m_Callback(value, row.m_Context, row.m_Cookie);
  } catch (const GenICam::GenericException& e) {
    vxlog::LogTrace(StreamLog(), vxlog::Error, "GenericException in callback func (%s)",
                    e.GetDescription());
  } catch (const std::exception& e) {
    vxlog::LogTrace(StreamLog(), vxlog::Error, "std::exception in callback func (%s)", e.what());
  }
}

} // namespace Vorla
