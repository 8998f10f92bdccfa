#pragma once
#include <vorla/VorlaCLSerDeviceInfo.h>

namespace Vorla {

//! The class of records that enumeration produces: not user-provided.
class CVorlaCLSerTlDeviceInfoImpl : public CVorlaCLSerDeviceInfo {
public:
  CVorlaCLSerTlDeviceInfoImpl();
  ~CVorlaCLSerTlDeviceInfoImpl() override;
};

} // namespace Vorla
