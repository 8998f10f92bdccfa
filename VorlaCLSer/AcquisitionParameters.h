#pragma once
#include <GenApi/Pointer.h>
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
  // The geometry nodes of one node map, looked up by name.
  struct SGeometryNodes {
    explicit SGeometryNodes(GenApi::INodeMap* nodeMap);
    GenApi::INodeMap* const m_pNodeMap;
    GenApi::CEnumerationPtr m_PixelFormat;
    GenApi::CIntegerPtr m_Width, m_Height, m_OffsetX, m_OffsetY, m_PayloadSize;
  };

  IVorlaDevice& m_Device;
  const CPixelTypeMapper m_PixelTypeMapper;
  // Those of the node map the camera had at construction, which stays as long as the device:
  // a frame then costs no name lookup and no interface cast. Never changed, so frame threads
  // read it without a lock.
  const SGeometryNodes m_Nodes;
};

} // namespace Vorla
