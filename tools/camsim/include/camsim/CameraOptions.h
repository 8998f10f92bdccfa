#pragma once
#include <chrono>
#include <cstdint>
#include <string>

namespace camsim {

//! Faults a camera injects into its answers. "Every" counts acknowledges (1 = all of them);
//! "Next" counts are used up one by one before the periodic ones apply.
struct SFaultPlan {
  std::uint32_t m_DropEvery = 0;
  std::uint32_t m_CorruptEvery = 0;
  std::uint32_t m_DelayEvery = 0;
  std::uint32_t m_DelayMs = 0;
  std::uint32_t m_DropNext = 0;
  std::uint32_t m_CorruptNext = 0;
  std::uint32_t m_DelayNext = 0;
  //! Answers this many commands, then goes silent for good (0 = never).
  std::uint64_t m_VanishAfterCommands = 0;
  //! Goes silent this long after it was made (0 = never).
  std::chrono::milliseconds m_VanishAfter{0};
};

struct SCameraOptions {
  std::string m_Manufacturer = "Hexmar";
  std::string m_Family = "CamSim";
  std::string m_Model = "HX1300";
  std::string m_Version = "1.0";
  std::string m_Serial = "HX0001";
  //! Serve the description zipped.
  bool m_Zip = false;
  //! Bytes take the time the current baud rate needs, in both directions.
  bool m_Pace = false;
  //! Publish the description's SHA-1 in the manifest.
  bool m_PublishSha1 = true;
  //! Serve a damaged description (its published SHA-1 stays that of the intact one).
  bool m_CorruptXmlFile = false;
  //! Generated features added to the description (category "UserDefinedValues", integers and
  //! enumerations over registers the camera keeps, about 900 bytes each): 310 make it 300 KB,
  //! as large as the smallest real descriptions. At most CCameraModel::MaxExtraFeatures.
  std::uint32_t m_ExtraFeatures = 0;
  std::uint32_t m_SupportedBaudBits = 0xFF;
  std::uint32_t m_MaxResponseMs = 300;
  //! How long a "UserSetSave" takes; above the response time the camera sends pending acks.
  std::uint32_t m_UserSetSaveMs = 800;
  std::chrono::milliseconds m_BaudConfirmWindow{250};
  std::uint32_t m_SensorWidth = 1280;
  std::uint32_t m_SensorHeight = 1024;
  //! Sends video over the cable of this board and channel (VideoCable::CableName) while
  //! acquisition runs.
  bool m_Video = false;
  std::uint32_t m_VideoBoard = 0;
  std::uint32_t m_VideoChannel = 0;
  //! Frame slots of the cable: how many frames a slow grabber may lag behind.
  std::uint32_t m_VideoSlots = 4;
  SFaultPlan m_Faults;
};

} // namespace camsim
