#include "AcquisitionParameters.h"

#include "VorlaCLSerLog.h"

#include <GenApi/GenApi.h>
#include <VorlaBase/GrabResult.h>
#include <VorlaBase/IVorlaDevice.h>

#include <algorithm>
#include <limits>
#include <optional>

namespace Vorla {
namespace {
GenApi::IEnumeration* PixelFormatOf(IVorlaDevice& device) {
  GenApi::INodeMap* nodeMap = device.GetNodeMap();
  return nodeMap ? dynamic_cast<GenApi::IEnumeration*>(nodeMap->GetNode("PixelFormat")) : nullptr;
}

// The parameters a frame grabber must be configured for; the camera may not change them while
// frames flow.
const char* const LockedNodes[] = {"ClTapGeometry", "PixelFormat",       "Width",
                                   "Height",        "BinningHorizontal", "BinningVertical"};

// A missing node throws GenApi's "NULL pointer dereferenced".
int32_t Int32Of(const GenApi::CIntegerPtr& node) {
  const int64_t value = node->GetValue(false, false);
  if (value < std::numeric_limits<int32_t>::min() || value > std::numeric_limits<int32_t>::max())
    throw OUT_OF_RANGE_EXCEPTION("Value %I64i out of range (%i..%i)", value,
                                 std::numeric_limits<int32_t>::min(),
                                 std::numeric_limits<int32_t>::max());
  return static_cast<int32_t>(value);
}
} // namespace

CAcquisitionParameters::CAcquisitionParameters(IVorlaDevice& device)
    : m_Device(device), m_PixelTypeMapper(PixelFormatOf(device)), m_Nodes(device.GetNodeMap()) {}

void CAcquisitionParameters::Lock(bool lock) {
  GenApi::INodeMap* nodeMap = m_Device.GetNodeMap();
  if (!nodeMap)
    throw RUNTIME_EXCEPTION("Missing device nodemap.");
  GenApi::CIntegerPtr locked(nodeMap->GetNode("TLParamsLocked"));
  if (!locked)
    throw PROPERTY_EXCEPTION("TLParamsLocked node missing from device nodemap.");
  locked->SetValue(lock ? 1 : 0, true);
  for (const char* name : LockedNodes)
    if (GenApi::INode* node = nodeMap->GetNode(name))
      node->ImposeAccessMode(lock ? GenApi::RO : GenApi::RW);
}

CAcquisitionParameters::SGeometryNodes::SGeometryNodes(GenApi::INodeMap* nodeMap)
    : m_pNodeMap(nodeMap) {
  if (!nodeMap)
    return;
  m_PixelFormat = nodeMap->GetNode("PixelFormat");
  m_Width = nodeMap->GetNode("Width");
  m_Height = nodeMap->GetNode("Height");
  m_OffsetX = nodeMap->GetNode("OffsetX");
  m_OffsetY = nodeMap->GetNode("OffsetY");
  m_PayloadSize = nodeMap->GetNode("PayloadSize");
}

bool CAcquisitionParameters::ReadGeometry(GrabResult& record, uint64_t bufferSize) {
  GenApi::INodeMap* nodeMap = m_Device.GetNodeMap();
  if (!nodeMap)
    return false;
  record.m_FrameNumber = 0;
  record.m_PayloadType = -1;
  record.m_PixelType = UndefinedPixelType;
  record.m_TimeStamp = 0;
  record.m_GrabberTimeStamp = 0;
  record.m_SizeX = record.m_SizeY = record.m_OffsetX = record.m_OffsetY = -1;
  record.m_PaddingX = record.m_PaddingY = -1;
  record.m_PayloadSize = bufferSize;
  record.m_ErrorCode = 0;
  record.m_ErrorDescription.clear();
  try {
    std::optional<SGeometryNodes> other; // a node map the camera got later: looked up per frame
    const SGeometryNodes& nodes = nodeMap == m_Nodes.m_pNodeMap ? m_Nodes : other.emplace(nodeMap);
    if (!nodes.m_PixelFormat)
      return false;
    const EPixelType pixelType = m_PixelTypeMapper.GetVorlaPixelTypeFromNodeValue(
        nodes.m_PixelFormat->GetIntValue(false, false));
    if (pixelType == PixelType_Undefined)
      return false;
    record.m_PixelType = pixelType;
    record.m_SizeX = Int32Of(nodes.m_Width);
    record.m_SizeY = Int32Of(nodes.m_Height);
    record.m_OffsetX = Int32Of(nodes.m_OffsetX);
    record.m_OffsetY = Int32Of(nodes.m_OffsetY);
    const int64_t payloadSize = nodes.m_PayloadSize->GetValue(false, false);
    record.m_PayloadSize = std::min(static_cast<uint64_t>(payloadSize), bufferSize);
    return true;
  } catch (const GenICam::GenericException& e) {
    vxlog::LogTrace(StreamLog(), vxlog::Error, "Could not read values from device nodemap (%s)",
                    e.GetDescription());
    return false;
  }
}

} // namespace Vorla
