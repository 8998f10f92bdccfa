#pragma once
// How the user names a camera with -c/--camera (and --first).
#include <VorlaBase/DeviceInfo.h>

#include <string>
#include <utility>
#include <vector>

namespace VorlaCl {

//! A parsed camera selection. Text without '=' names one camera of the enumeration: its index in
//! `vorla-cl list`, its serial number, full name or friendly name. Text with '=' is a partial
//! record "Key=Value[,Key=Value]" that the transport layer looks up itself (CreateDevice, or
//! CreateFirstDevice with --first), so its refusals reach the user as it words them.
class CCameraSelector {
public:
  enum EKind {
    FirstFound, //!< no -c: the first camera of the enumeration
    Named,      //!< index, serial number, full name or friendly name
    Record      //!< a partial record for the transport layer's lookup
  };
  using Properties = std::vector<std::pair<std::string, std::string>>;

  //! Throws a usage CToolError for a malformed record, or --first with a named camera.
  CCameraSelector(const std::string& text, bool first);

  EKind Kind() const { return m_Kind; }
  bool First() const { return m_First; }
  const std::string& Text() const { return m_Text; }
  //! The properties of a Record selection, in the order given.
  const Properties& RecordProperties() const { return m_Properties; }
  //! The record's DeviceClass, empty when it has none.
  std::string DeviceClass() const;

  //! The position in `records` of the camera that a FirstFound or Named selection names.
  //! Throws a CToolError when none or several match.
  size_t Pick(const std::vector<Vorla::CDeviceInfo>& records) const;

  //! The camera's serial number: the record's own, else the one in its DeviceID.
  static std::string SerialNumberOf(const Vorla::CDeviceInfo& record);

private:
  std::string m_Text;
  bool m_First;
  EKind m_Kind;
  Properties m_Properties;
};

} // namespace VorlaCl
