#include <VorlaBase/DeviceInfo.h>

namespace Vorla {

CInfoBase& CDeviceInfo::SetPropertyValue(const gcstring& name, const gcstring& value) {
  return CInfoBase::SetPropertyValue(name, value);
}

} // namespace Vorla
