#pragma once
#include <Base/GCString.h>
#include <VorlaBase/PixelType.h>
#include <VorlaBase/VorlaBaseDef.h>

#include <cstdint>
#include <utility>
#include <vector>

namespace GenApi {
struct IEnumeration;
}

namespace Vorla {

//! Maps the values of a camera's "PixelFormat" enumeration to pixel types, through each entry's
//! symbolic name (standard names such as "Mono8", "BayerRG8", "RGB8" or "YUV422_8", and their
//! older "...Packed" forms). The entries are read once, at construction; afterwards mapping
//! touches neither the node map nor the camera. Thread-safe once constructed.
class VORLABASE_API CPixelTypeMapper {
public:
  //! A null `pixelFormat` maps nothing.
  explicit CPixelTypeMapper(GenApi::IEnumeration* pixelFormat = nullptr);

  //! The pixel type of the entry with integer value `value`, PixelType_Undefined when there is
  //! no such entry or its name is not a known pixel format.
  EPixelType GetVorlaPixelTypeFromNodeValue(int64_t value) const;
  //! The pixel type of a symbolic name, PixelType_Undefined for an unknown name.
  static EPixelType GetPixelTypeByName(const GenICam::gcstring& name);

private:
  std::vector<std::pair<int64_t, EPixelType>> m_Table; // sorted by value
};

} // namespace Vorla
