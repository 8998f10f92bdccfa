#pragma once
// The ports of the in-process loopback serial library (clserlbk.so, manufacturer "Loopback").
// A test attaches camera models to ports here; the library, loaded by the host like any Camera
// Link serial library, serves them. Both share this process-wide registry because it lives in
// the VorlaCamSim library.
//
// Behaviour of the ports: port i is named "Loop<i>". A read on a port without a camera, or
// whose camera has vanished, fails with CL_ERR_TIMEOUT at once without sleeping, as does a read
// of more bytes than the camera has scheduled; tests stay fast. Bytes written to an empty port
// are lost. Every port supports all eight baud rates unless a test restricts them.
#include <camsim/CamSimDef.h>
#include <camsim/CameraModel.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace camsim {

class CAMSIM_API CLoopbackBus {
public:
  static CLoopbackBus& Instance();

  //! Ports beyond the new count lose their cameras. Two ports by default.
  void SetPortCount(std::size_t count);
  std::size_t PortCount();
  static std::string PortName(std::size_t index);

  //! Throws an OutOfRangeException for an unknown port.
  void Attach(std::size_t index, std::shared_ptr<CCameraModel> camera);
  void Attach(const std::string& portName, std::shared_ptr<CCameraModel> camera);
  void Detach(std::size_t index);
  void DetachAll();
  //! The camera on a port, null when none.
  std::shared_ptr<CCameraModel> Camera(std::size_t index);

  void SetSupportedBaudRates(std::size_t index, std::uint32_t bits);
  std::uint32_t SupportedBaudRates(std::size_t index);

  //! Marks a port open; false when it already is (or does not exist).
  bool Open(std::size_t index);
  void Close(std::size_t index);

private:
  CLoopbackBus();
  std::size_t IndexOf(const std::string& portName);

  struct SPort {
    std::shared_ptr<CCameraModel> m_Camera;
    std::uint32_t m_BaudRates = 0xFF;
    bool m_Open = false;
  };
  // Owned by the bus; guards the port list, held only for look-ups and updates.
  std::mutex m_Mutex;
  std::vector<SPort> m_Ports;
};

} // namespace camsim
