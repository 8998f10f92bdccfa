#pragma once
#include <VorlaBase/InfoBase.h>

namespace Vorla {

//! Operations on records that only transport layers use.
class VORLABASE_API CInfoImpl {
public:
  //! Marks a record as found by a transport layer rather than filled in by a client.
  static void ClearUserProvidedFlag(CInfoBase& info);
};

} // namespace Vorla
