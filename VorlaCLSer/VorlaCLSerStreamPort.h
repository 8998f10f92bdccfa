#pragma once
#include <GenApi/IPort.h>

namespace Vorla {

class CFrameGrabberPlugin;

//! The register port behind the stream grabber's own node map: its one register,
//! "PixelClockDetected", is a value that the frame-grabber object reports. Everything else reads
//! nothing and writes are ignored. Thread-safe.
class CVorlaCLSerStreamPort : public GenApi::IPort {
public:
  //! Address of "PixelClockDetected"; its low 16 bits are the frame grabber's value number.
  static constexpr int64_t PixelClockAddress = 0xc05ec0c10c;

  //! Asks `plugin`, which outlives the port, while it has an object.
  explicit CVorlaCLSerStreamPort(CFrameGrabberPlugin& plugin) : m_Plugin(plugin) {}

  GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
  void Read(void* pBuffer, int64_t Address, int64_t Length) override;
  void Write(const void* pBuffer, int64_t Address, int64_t Length) override {}

private:
  CFrameGrabberPlugin& m_Plugin;
};

} // namespace Vorla
