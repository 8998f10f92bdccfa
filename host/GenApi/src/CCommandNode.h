#pragma once
#include "CNodeBase.h"
#include "CNumRef.h"

#include <GenApi/ICommand.h>

namespace GenApi {

//! Command: Execute writes CommandValue to the pValue node (any integer-like node).
class CCommandNode : public CNodeBase, public ICommand {
public:
  explicit CCommandNode(CNodeMap& map) : CNodeBase(map, ENodeType::Command) {}
  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) override;
  void Link() override;
  EAccessMode NaturalAccessMode() const override;
  void InvalidateOwn() override;
  EInterfaceType GetPrincipalInterfaceType() const override { return intfICommand; }

  void Execute(bool Verify = true) override;
  bool IsDone(bool Verify = true) override;
  //! "1" while running, "0" when done; FromString executes.
  gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
  void FromString(const gcstring& ValueStr, bool Verify = true) override;

private:
  CNumRef m_Value, m_CommandValue;
  bool m_Running = false; // executed and not yet seen done
};

} // namespace GenApi
