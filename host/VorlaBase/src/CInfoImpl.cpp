#include <VorlaBase/InfoImpl.h>

namespace Vorla {

void CInfoImpl::ClearUserProvidedFlag(CInfoBase& info) { info.m_userProvided = false; }

} // namespace Vorla
