#pragma once
#include <GenApi/INode.h>

#include <type_traits>

namespace GenApi {

//! A callback bound to a node. The node owns it once registered.
class CNodeCallback {
public:
  CNodeCallback(INode* pNode, ECallbackType type) : m_pNode(pNode), m_Type(type) {}
  virtual ~CNodeCallback() = default;
  //! Runs the callback when it was registered for this phase.
  virtual void operator()(ECallbackType type) const = 0;
  virtual void Destroy() { delete this; }
  INode* GetNode() const { return m_pNode; }
  ECallbackType GetCallbackType() const { return m_Type; }

protected:
  INode* m_pNode;
  ECallbackType m_Type;
};

template <class Function> class Function_NodeCallback : public CNodeCallback {
public:
  Function_NodeCallback(INode* pNode, const Function& function, ECallbackType type)
      : CNodeCallback(pNode, type), m_Function(function) {}
  void operator()(ECallbackType type) const override {
    if (type == m_Type)
      m_Function(m_pNode);
  }

private:
  Function m_Function;
};

template <class Client, class Member> class Member_NodeCallback : public CNodeCallback {
public:
  Member_NodeCallback(INode* pNode, Client& client, Member member, ECallbackType type)
      : CNodeCallback(pNode, type), m_Client(client), m_pMember(member) {}
  void operator()(ECallbackType type) const override {
    if (m_pMember && type == m_Type)
      (m_Client.*m_pMember)(m_pNode);
  }

private:
  Client& m_Client;
  Member m_pMember;
};

template <class Function>
CallbackHandleType Register(INode* pNode, Function f, ECallbackType type = cbPostInsideLock) {
  return pNode->RegisterCallback(new Function_NodeCallback<Function>(pNode, f, type));
}

template <class Client, class Member,
          class = std::enable_if_t<std::is_member_function_pointer<Member>::value>>
CallbackHandleType Register(INode* pNode, Client& client, Member member,
                            ECallbackType type = cbPostInsideLock) {
  return pNode->RegisterCallback(
      new Member_NodeCallback<Client, Member>(pNode, client, member, type));
}

//! Removes a callback registered with Register; false when the handle is unknown.
GENAPI_API bool Deregister(CallbackHandleType hCallback);

} // namespace GenApi
