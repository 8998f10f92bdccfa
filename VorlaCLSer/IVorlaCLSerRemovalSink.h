#pragma once
// What a port needs of the camera device that is open on it.
namespace GenApi {
struct INodeMap;
}

namespace Vorla {

class IVorlaCLSerRemovalSink {
public:
  //! The camera is gone; called once per opening, on the thread that detected it.
  virtual void NotifyRemoval() = 0;
  //! Whether the device is open (a probe may then ask the camera itself).
  virtual bool IsDeviceOpen() const = 0;
  //! The device's camera node map, null when none is loaded.
  virtual GenApi::INodeMap* GetCameraNodeMap() = 0;

protected:
  virtual ~IVorlaCLSerRemovalSink() = default;
};

} // namespace Vorla
