#include "VorlaCLSerTlDeviceInfoImpl.h"

#include <VorlaBase/InfoImpl.h>

namespace Vorla {

CVorlaCLSerTlDeviceInfoImpl::CVorlaCLSerTlDeviceInfoImpl() { CInfoImpl::ClearUserProvidedFlag(*this); }
CVorlaCLSerTlDeviceInfoImpl::~CVorlaCLSerTlDeviceInfoImpl() = default;

} // namespace Vorla
