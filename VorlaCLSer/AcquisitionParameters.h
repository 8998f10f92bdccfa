#pragma once
#include <VorlaBase/PixelTypeMapper.h>

#include <cstdint>

namespace Vorla {

class IVorlaDevice;
struct GrabResult;

//! The camera parameters that describe a grab, as the camera's node map holds them: locked
//! against change for the time of a grab, and read (from the node map's cache) for each frame.
//! Lock runs under the stream grabber's lock; ReadGeometry runs on frame-grabber threads and
//! relies on the node map's own lock.
class CAcquisitionParameters {
public:
  //! Builds the pixel type mapper from the camera's "PixelFormat" enumeration.
  explicit CAcquisitionParameters(IVorlaDevice& device);

  //! Sets "TLParamsLocked" and makes the transport-relevant nodes read-only (`lock`) or
  //! read-write again. Throws when the camera has no node map or no "TLParamsLocked".
  void Lock(bool lock);
  //! Fills the frame description of `record` from the camera; its payload size becomes the
  //! camera's "PayloadSize", at most `bufferSize`. False when the camera cannot describe the
  //! frame; never throws a GenICam exception.
  bool ReadGeometry(GrabResult& record, uint64_t bufferSize);

private:
  IVorlaDevice& m_Device;
  const CPixelTypeMapper m_PixelTypeMapper;
};

} // namespace Vorla
