#pragma once
#include <VorlaBase/InfoBase.h>

namespace Vorla {

//! What a transport layer says about itself.
class VORLABASE_API CTlInfo : public CInfoBase {
public:
  gcstring GetVersion() const { return Get(Key::Version); }
  CTlInfo& SetVersion(const gcstring& v) {
    SetPropertyValue(Key::Version, v);
    return *this;
  }
};

using TlInfoList = std::vector<CTlInfo>;

} // namespace Vorla
