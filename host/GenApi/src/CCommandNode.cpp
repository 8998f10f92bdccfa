#include "CCommandNode.h"

#include "CEntryGuard.h"
#include "CNodeMap.h"

namespace GenApi {

bool CCommandNode::SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) {
  CNumRef* target = prop == EProp::Value || prop == EProp::pValue                 ? &m_Value
                    : prop == EProp::CommandValue || prop == EProp::pCommandValue ? &m_CommandValue
                                                                                  : nullptr;
  if (!target)
    return CNodeBase::SetProperty(prop, text, attr);
  if (prop == EProp::pValue || prop == EProp::pCommandValue) {
    target->Ref.Name = text;
  } else {
    if (!ParseInt64(text, target->Int))
      throw RUNTIME_EXCEPTION("Invalid integer '%s'", text.c_str());
    target->HasLiteral = true;
  }
  return true;
}

void CCommandNode::Link() {
  CNodeBase::Link();
  Resolve(m_Value.Ref, "pValue");
  Resolve(m_CommandValue.Ref, "pCommandValue");
  for (CRef* ref : {&m_Value.Ref, &m_CommandValue.Ref})
    if (ref->p && !ref->p->IsNumeric())
      throw GENAPI_NODE_ERROR(RuntimeException)("Node '%s': '%s' is not an integer-like node",
                                                m_Name.c_str(), ref->Name.c_str());
  AddChild(m_Value.Ref.p);
  AddChild(m_CommandValue.Ref.p);
  if (!m_Value.IsSet() || !m_CommandValue.IsSet())
    throw GENAPI_NODE_ERROR(RuntimeException)("Node '%s' needs a value and a command value",
                                              m_Name.c_str());
}

EAccessMode CCommandNode::NaturalAccessMode() const {
  return m_Value.Ref.p ? m_Value.Ref.p->GetAccessMode() : RW;
}

void CCommandNode::InvalidateOwn() {
  if (m_Value.Ref.p)
    m_Value.Ref.p->InvalidateOwn();
}

void CCommandNode::Execute(bool Verify) {
  CEntryGuard guard(*this, "Execute");
  CheckWritable();
  m_pMap->PreWrite(this);
  const int64_t command = m_CommandValue.GetInt(false);
  if (m_Value.Ref.p) {
    m_Value.Ref.p->CheckWritableTarget();
    m_Value.Ref.p->SetIntV(command, Verify);
  } else
    m_Value.Int = command;
  m_Running = true;
  m_pMap->PostWrite(this);
  guard.Done();
}

bool CCommandNode::IsDone(bool Verify) {
  CEntryGuard guard(*this, "IsDone");
  const EAccessMode mode = GetAccessMode();
  if (mode == NI)
    throw GENAPI_NODE_ERROR(AccessException)("Node is not implemented.");
  bool done = true;
  if (GenApi::IsReadable(mode)) {
    const int64_t value = m_Value.Ref.p ? m_Value.Ref.p->GetIntV(false, true) : m_Value.Int;
    done = value != m_CommandValue.GetInt(false);
  }
  if (done && m_Value.HasLiteral)
    m_Value.Int = 0;       // an in-memory command completes at once
  if (done && m_Running) { // completion changes what the command's dependents see
    m_Running = false;
    m_pMap->PreWrite(this);
    m_pMap->PostWrite(this);
  }
  guard.Done();
  return done;
}

gcstring CCommandNode::ToString(bool Verify, bool IgnoreCache) {
  return IsDone(Verify) ? "0" : "1";
}

void CCommandNode::FromString(const gcstring& ValueStr, bool Verify) {
  Execute(Verify);
}

} // namespace GenApi
