#include "CNodeBase.h"

#include "CEntryGuard.h"
#include "CNodeMap.h"
#include "formula/Formula.h"

#include <algorithm>
#include <limits>
#include <mutex>
#include <unordered_map>
#include <unordered_set>

namespace GenApi {
namespace {

// Handles of all live callbacks, so that Deregister(handle) finds the node without trusting the
// handle. Owner: the callback registry; guarded by its own mutex.
std::mutex& RegistryMutex() {
  static std::mutex mutex;
  return mutex;
}
std::unordered_map<CallbackHandleType, CNodeBase*>& Registry() {
  static std::unordered_map<CallbackHandleType, CNodeBase*> registry;
  return registry;
}

} // namespace

bool Deregister(CallbackHandleType hCallback) {
  CNodeBase* node = nullptr;
  {
    std::lock_guard<std::mutex> lock(RegistryMutex());
    const auto it = Registry().find(hCallback);
    if (it == Registry().end())
      return false;
    node = it->second;
  }
  return node->DeregisterCallback(hCallback);
}

CNodeBase::CNodeBase(CNodeMap& map, ENodeType type) : m_pMap(&map), m_Type(type) {}

CNodeBase::SRare& CNodeBase::Rare() {
  if (!m_pRare)
    m_pRare = std::make_unique<SRare>();
  return *m_pRare;
}

CNodeBase::~CNodeBase() {
  std::lock_guard<std::mutex> lock(RegistryMutex());
  if (m_pRare)
    for (const auto& callback : m_pRare->Callbacks)
      Registry().erase(reinterpret_cast<CallbackHandleType>(callback.get()));
}

bool CNodeBase::SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) {
  switch (prop) {
  case EProp::ToolTip:
    m_ToolTip = text;
    return true;
  case EProp::Description:
    m_Description = text;
    return true;
  case EProp::DisplayName:
    Rare().DisplayName = text;
    return true;
  case EProp::DocuURL:
    Rare().DocuURL = text;
    return true;
  case EProp::EventID:
    Rare().EventID = text;
    return true;
  case EProp::Visibility:
    if (text == "Beginner")
      m_Visibility = Beginner;
    else if (text == "Expert")
      m_Visibility = Expert;
    else if (text == "Guru")
      m_Visibility = Guru;
    else if (text == "Invisible")
      m_Visibility = Invisible;
    else
      throw RUNTIME_EXCEPTION("Invalid visibility '%s'", text.c_str());
    return true;
  case EProp::IsDeprecated:
    ParseYesNo(text, m_Deprecated);
    return true;
  case EProp::Streamable:
    ParseYesNo(text, m_Streamable);
    return true;
  case EProp::ImposedAccessMode:
    if (!ParseAccessMode(text, m_ImposedXml))
      throw RUNTIME_EXCEPTION("Invalid access mode '%s'", text.c_str());
    return true;
  case EProp::pIsImplemented:
    m_IsImplemented.Name = text;
    return true;
  case EProp::pIsAvailable:
    m_IsAvailable.Name = text;
    return true;
  case EProp::pIsLocked:
    m_IsLocked.Name = text;
    return true;
  case EProp::pAlias:
    Rare().Alias.Name = text;
    return true;
  case EProp::pCastAlias:
    Rare().CastAlias.Name = text;
    return true;
  case EProp::pBlockPolling:
    Rare().BlockPolling.Name = text;
    return true;
  case EProp::pInvalidator:
    Rare().Invalidators.push_back(CRef{text, nullptr});
    return true;
  case EProp::pSelected:
    Rare().Selected.push_back(CRef{text, nullptr});
    return true;
  case EProp::PollingTime: {
    int64_t value = 0;
    if (!ParseInt64(text, value))
      throw RUNTIME_EXCEPTION("Invalid polling time '%s'", text.c_str());
    m_PollingTime = value;
    return true;
  }
  case EProp::pError: // device error reporting is not evaluated
    return true;
  default:
    (void)attr;
    return false;
  }
}

bool CNodeBase::Resolve(CRef& ref, const char* what, bool required) {
  if (!ref.IsSet())
    return false;
  ref.p = m_pMap->Find(ref.Name);
  if (ref.p)
    return true;
  m_pMap->ReportMissing(ref.Name, *this, what);
  if (required)
    throw CMissingReference{std::string(what) + " of '" + m_Name +
                            "' refers to the missing node '" + ref.Name + "'"};
  return false;
}

void CNodeBase::Link() {
  Resolve(m_IsImplemented, "pIsImplemented");
  Resolve(m_IsAvailable, "pIsAvailable");
  Resolve(m_IsLocked, "pIsLocked");
  if (m_pRare) {
    Resolve(m_pRare->Alias, "pAlias", false);
    Resolve(m_pRare->CastAlias, "pCastAlias", false);
    Resolve(m_pRare->BlockPolling, "pBlockPolling", false);
  }
  for (CRef* ref : {&m_IsImplemented, &m_IsAvailable, &m_IsLocked})
    if (ref->p) {
      if (!ref->p->IsNumeric())
        throw GENAPI_NODE_ERROR(RuntimeException)("Node '%s': '%s' is not an integer-like node",
                                                  m_Name.c_str(), ref->Name.c_str());
      AddChild(ref->p, false);
    }
  // Without an invalidator or selected node the node still works; only the edge is missing.
  if (!m_pRare)
    return;
  for (CRef& ref : m_pRare->Invalidators)
    if (Resolve(ref, "pInvalidator", false))
      ref.p->AddAffected(this);
  for (CRef& ref : m_pRare->Selected)
    if (Resolve(ref, "pSelected", false))
      AddAffected(ref.p);
}

void CNodeBase::AddChild(CNodeBase* child, bool value) {
  if (!child)
    return;
  // Only this node's own short lists are searched: a port or a lock node read by thousands of
  // nodes would make searching its parents quadratic in the size of the description.
  if (m_Children.empty())
    m_Children.reserve(4); // typical: value, limits, lock; one allocation instead of three
  const auto found = std::find(m_Children.begin(), m_Children.end(), child);
  const auto valueEnd = m_Children.begin() + m_ValueChildCount;
  if (found == m_Children.end()) {
    if (value) {
      m_Children.insert(valueEnd, child);
      ++m_ValueChildCount;
    } else {
      m_Children.push_back(child);
    }
    if (child != this) {
      if (child->m_Parents.empty())
        child->m_Parents.reserve(2);
      child->m_Parents.push_back(this);
    }
  } else if (value && found >= valueEnd) { // read for the value after all
    std::rotate(valueEnd, found, found + 1);
    ++m_ValueChildCount;
  }
}

void CNodeBase::AddAffected(CNodeBase* node) {
  if (node != this) // a node may be listed twice (reader and invalidated); Closure() merges them
    Rare().Affected.push_back(node);
}

const std::vector<CNodeBase*>& CNodeBase::Closure() {
  SRare& rare = Rare();
  if (rare.ClosureValid)
    return rare.Closure;
  std::unordered_set<CNodeBase*> seen{this};
  std::vector<CNodeBase*>& closure = rare.Closure;
  closure.assign(1, this);
  for (size_t i = 0; i < closure.size(); ++i)
    for (const auto* list :
         {&closure[i]->m_Parents, closure[i]->m_pRare ? &closure[i]->m_pRare->Affected : nullptr})
      if (list)
        for (CNodeBase* next : *list)
          if (seen.insert(next).second)
            closure.push_back(next);
  rare.ClosureValid = true;
  return closure;
}

void CNodeBase::Fire(ECallbackType type) {
  // A copy, so that a callback may deregister itself or others while it runs. Taken under the
  // map's lock: outside-lock callbacks fire after the map let it go, while another thread may
  // register on this node.
  std::vector<std::shared_ptr<CNodeCallback>> callbacks;
  {
    AutoLock lock(m_pMap->GetLock());
    if (!m_pRare || m_pRare->Callbacks.empty())
      return;
    callbacks = m_pRare->Callbacks;
  }
  for (const auto& callback : callbacks)
    (*callback)(type);
}

// ---- values

// A node type implements the getter and setter of its own value type (float or integer) and
// inherits the other one, which converts. The inherited one of its own type means the node has
// no such value (getters) or cannot be written (setters): never forward back, or the two
// defaults would call each other until the stack overflows.

int64_t CNodeBase::GetIntV(bool verify, bool ignoreCache) {
  if (IsFloatValue())
    return SaturateToInt64(GetFloatV(verify, ignoreCache));
  throw GENAPI_NODE_ERROR(LogicalErrorException)("Node '%s' has no numeric value", m_Name.c_str());
}

double CNodeBase::GetFloatV(bool verify, bool ignoreCache) {
  if (!IsFloatValue())
    return static_cast<double>(GetIntV(verify, ignoreCache));
  throw GENAPI_NODE_ERROR(LogicalErrorException)("Node '%s' has no numeric value", m_Name.c_str());
}

void CNodeBase::SetIntV(int64_t value, bool verify) {
  if (IsFloatValue())
    return SetFloatV(static_cast<double>(value), verify);
  throw GENAPI_NODE_ERROR(AccessException)("Node is not writable.");
}

void CNodeBase::SetFloatV(double value, bool verify) {
  if (!IsFloatValue())
    return SetIntV(SaturateToInt64(value), verify);
  throw GENAPI_NODE_ERROR(AccessException)("Node is not writable.");
}

void CNodeBase::CheckWritableTarget() const {
  CheckWritable();
}

int64_t CNodeBase::GetIntMinV() {
  return IsFloatValue() ? SaturateToInt64(GetFloatMinV()) : std::numeric_limits<int64_t>::min();
}

int64_t CNodeBase::GetIntMaxV() {
  return IsFloatValue() ? SaturateToInt64(GetFloatMaxV()) : std::numeric_limits<int64_t>::max();
}

bool CNodeBase::IsTrue(const CRef& ref) {
  return ref.p->GetIntV(false, false) != 0;
}

// ---- access

EAccessMode CNodeBase::GetAccessMode() const {
  if (!m_NotImplemented.empty())
    return NI;
  AutoLock lock(m_pMap->GetLock());
  m_pMap->BeginQuery();
  if (m_InAccessMode)
    return RW; // a cycle through access-mode references: assume RW, as GenApi does
  m_InAccessMode = true;
  struct Reset {
    bool& flag;
    ~Reset() { flag = false; }
  } reset{m_InAccessMode};
  if (m_IsImplemented.p && !IsTrue(m_IsImplemented))
    return NI;
  if (m_IsAvailable.p && !IsTrue(m_IsAvailable))
    return NA;
  EAccessMode mode = NaturalAccessMode();
  if (m_IsLocked.p && IsTrue(m_IsLocked))
    mode = Combine(mode, RO);
  return Combine(Combine(mode, m_ImposedXml), m_ImposedRuntime);
}

const char* CNodeBase::EntryPoint() const {
  return m_pMap->EntryPoint();
}

void CNodeBase::ThrowIfNotImplemented() const {
  if (!m_NotImplemented.empty())
    throw GENAPI_NODE_ERROR(AccessException)("Node is not implemented: %s.",
                                             m_NotImplemented.c_str());
}

void CNodeBase::CheckReadable() const {
  ThrowIfNotImplemented();
  if (!GenApi::IsReadable(GetAccessMode()))
    throw GENAPI_NODE_ERROR(AccessException)("Node is not readable.");
}

void CNodeBase::CheckWritable() const {
  ThrowIfNotImplemented();
  if (!GenApi::IsWritable(GetAccessMode()))
    throw GENAPI_NODE_ERROR(AccessException)("Node is not writable.");
}

void CNodeBase::ImposeAccessMode(EAccessMode ImposedAccessMode) {
  AutoLock lock(m_pMap->GetLock());
  m_ImposedRuntime = ImposedAccessMode;
}

void CNodeBase::ImposeVisibility(EVisibility ImposedVisibility) {
  AutoLock lock(m_pMap->GetLock());
  m_ImposedVisibility = ImposedVisibility;
}

// ---- INode

gcstring CNodeBase::GetName(bool FullQualified) const {
  return FullQualified ? (m_NameSpace == Standard ? "Std::" : "Cust::") + m_Name : m_Name;
}

EVisibility CNodeBase::GetVisibility() const {
  return m_ImposedVisibility > m_Visibility && m_ImposedVisibility != _UndefinedVisibility
             ? m_ImposedVisibility
             : m_Visibility;
}

void CNodeBase::InvalidateNode() {
  CEntryGuard guard(*this, "InvalidateNode");
  m_pMap->PreWrite(this);
  m_pMap->PostWrite(this);
  guard.Done();
}

gcstring CNodeBase::GetDisplayName() const {
  return m_pRare && !m_pRare->DisplayName.empty() ? m_pRare->DisplayName : m_Name;
}

gcstring CNodeBase::GetDeviceName() const {
  return m_pMap->GetDeviceName();
}

void CNodeBase::GetChildren(NodeList_t& Children) const {
  Children.assign(m_Children.begin(), m_Children.end());
}

void CNodeBase::GetParents(NodeList_t& Parents) const {
  Parents.assign(m_Parents.begin(), m_Parents.end());
}

CallbackHandleType CNodeBase::RegisterCallback(CNodeCallback* pCallback) {
  AutoLock lock(m_pMap->GetLock()); // also guards the entry point the error below reads
  if (!pCallback)
    throw GENAPI_NODE_ERROR(InvalidArgumentException)("Callback must not be NULL");
  Rare().Callbacks.emplace_back(pCallback, [](CNodeCallback* callback) { callback->Destroy(); });
  const auto handle = reinterpret_cast<CallbackHandleType>(pCallback);
  std::lock_guard<std::mutex> registryLock(RegistryMutex());
  Registry()[handle] = this;
  return handle;
}

bool CNodeBase::DeregisterCallback(CallbackHandleType hCallback) {
  AutoLock lock(m_pMap->GetLock());
  if (!m_pRare)
    return false;
  auto& callbacks = m_pRare->Callbacks;
  const auto it = std::find_if(callbacks.begin(), callbacks.end(), [&](const auto& callback) {
    return reinterpret_cast<CallbackHandleType>(callback.get()) == hCallback;
  });
  if (it == callbacks.end())
    return false;
  {
    std::lock_guard<std::mutex> registryLock(RegistryMutex());
    Registry().erase(hCallback);
  }
  callbacks.erase(it);
  return true;
}

INodeMap* CNodeBase::GetNodeMap() const {
  return m_pMap;
}
INode* CNodeBase::GetAlias() const {
  return m_pRare ? m_pRare->Alias.p : nullptr;
}
INode* CNodeBase::GetCastAlias() const {
  return m_pRare ? m_pRare->CastAlias.p : nullptr;
}
bool CNodeBase::IsFeature() const {
  return m_IsFeature;
}

gcstring CNodeBase::ToString(bool Verify, bool IgnoreCache) {
  CEntryGuard guard(*this, "ToString");
  CheckReadable();
  guard.Done();
  return gcstring();
}

void CNodeBase::FromString(const gcstring& ValueStr, bool Verify) {
  CEntryGuard guard(*this, "FromString");
  CheckWritable();
  throw GENAPI_NODE_ERROR(LogicalErrorException)("Node '%s' has no value to set", m_Name.c_str());
}

} // namespace GenApi
