#pragma once
#include "CNodeBase.h"

namespace GenApi {

//! Node, and the IIDC node types this engine does not implement (ConfRom, TextDesc, IntKey,
//! AdvFeatureLock, SmartFeature): they keep their name so references resolve, and report NI.
class CPlainNode : public CNodeBase {
public:
  CPlainNode(CNodeMap& map, ENodeType type) : CNodeBase(map, type) {}
  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) override {
    CNodeBase::SetProperty(prop, text, attr);
    return true; // whatever else they carry is not evaluated
  }
  EAccessMode NaturalAccessMode() const override { return NI; }
};

} // namespace GenApi
