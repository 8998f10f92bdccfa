#include <VorlaBase/PixelTypeMapper.h>

#include <GenApi/GenApi.h>

#include <algorithm>
#include <cstring>

namespace Vorla {
namespace {
struct NamedType {
  const char* name;
  EPixelType type;
};

// Standard names first, then the older names that cameras still use for the same layout.
constexpr NamedType Names[] = {
    {"Mono8", PixelType_Mono8},
    {"Mono8s", PixelType_Mono8signed},
    {"Mono8Signed", PixelType_Mono8signed},
    {"Mono10", PixelType_Mono10},
    {"Mono10Packed", PixelType_Mono10packed},
    {"Mono12", PixelType_Mono12},
    {"Mono12Packed", PixelType_Mono12packed},
    {"Mono14", PixelType_Mono14},
    {"Mono16", PixelType_Mono16},
    {"BayerGR8", PixelType_BayerGR8},
    {"BayerRG8", PixelType_BayerRG8},
    {"BayerGB8", PixelType_BayerGB8},
    {"BayerBG8", PixelType_BayerBG8},
    {"BayerGR10", PixelType_BayerGR10},
    {"BayerRG10", PixelType_BayerRG10},
    {"BayerGB10", PixelType_BayerGB10},
    {"BayerBG10", PixelType_BayerBG10},
    {"BayerGR12", PixelType_BayerGR12},
    {"BayerRG12", PixelType_BayerRG12},
    {"BayerGB12", PixelType_BayerGB12},
    {"BayerBG12", PixelType_BayerBG12},
    {"BayerGR16", PixelType_BayerGR16},
    {"BayerRG16", PixelType_BayerRG16},
    {"BayerGB16", PixelType_BayerGB16},
    {"BayerBG16", PixelType_BayerBG16},
    {"RGB8", PixelType_RGB8packed},
    {"RGB8Packed", PixelType_RGB8packed},
    {"BGR8", PixelType_BGR8packed},
    {"BGR8Packed", PixelType_BGR8packed},
    {"RGBa8", PixelType_RGBA8packed},
    {"RGBA8Packed", PixelType_RGBA8packed},
    {"BGRa8", PixelType_BGRA8packed},
    {"BGRA8Packed", PixelType_BGRA8packed},
    {"RGB10", PixelType_RGB10packed},
    {"RGB10Packed", PixelType_RGB10packed},
    {"BGR10", PixelType_BGR10packed},
    {"BGR10Packed", PixelType_BGR10packed},
    {"RGB12", PixelType_RGB12packed},
    {"RGB12Packed", PixelType_RGB12packed},
    {"BGR12", PixelType_BGR12packed},
    {"BGR12Packed", PixelType_BGR12packed},
    {"RGB16", PixelType_RGB16packed},
    {"YUV411_8_UYYVYY", PixelType_YUV411packed},
    {"YUV411Packed", PixelType_YUV411packed},
    {"YUV422_8_UYVY", PixelType_YUV422packed},
    {"YUV422Packed", PixelType_YUV422packed},
    {"YUV422_8", PixelType_YUV422_YUYV_Packed},
    {"YUV422_YUYV_Packed", PixelType_YUV422_YUYV_Packed},
    {"YUV8_UYV", PixelType_YUV444packed},
    {"YUV444Packed", PixelType_YUV444packed},
};
} // namespace

EPixelType CPixelTypeMapper::GetPixelTypeByName(const GenICam::gcstring& name) {
  for (const NamedType& entry : Names)
    if (name == entry.name)
      return entry.type;
  return PixelType_Undefined;
}

CPixelTypeMapper::CPixelTypeMapper(GenApi::IEnumeration* pixelFormat) {
  if (!pixelFormat)
    return;
  GenApi::NodeList_t entries;
  pixelFormat->GetEntries(entries);
  for (GenApi::INode* node : entries) {
    auto* entry = dynamic_cast<GenApi::IEnumEntry*>(node);
    if (!entry)
      continue;
    const EPixelType type = GetPixelTypeByName(entry->GetSymbolic());
    if (type != PixelType_Undefined)
      m_Table.emplace_back(entry->GetValue(), type);
  }
  std::sort(m_Table.begin(), m_Table.end(),
            [](const auto& a, const auto& b) { return a.first < b.first; });
}

EPixelType CPixelTypeMapper::GetVorlaPixelTypeFromNodeValue(int64_t value) const {
  const auto it = std::lower_bound(m_Table.begin(), m_Table.end(), value,
                                   [](const auto& entry, int64_t v) { return entry.first < v; });
  return it != m_Table.end() && it->first == value ? it->second : PixelType_Undefined;
}

} // namespace Vorla
