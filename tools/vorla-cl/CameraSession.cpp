#include "CameraSession.h"

#include "DownloadProgressLine.h"
#include "ToolError.h"

#include <Base/GCException.h>

#include <cstdio>

namespace VorlaCl {

CCameraSession::CCameraSession(const CCameraSelector& selector) : m_Selector(selector) {
  m_Layers.RequireAny();
  if (selector.Kind() == CCameraSelector::Record) {
    m_Tl = &m_Layers.ForClass(selector.DeviceClass());
    return;
  }
  const std::vector<CTransportLayerSet::SCamera> cameras = m_Layers.Enumerate();
  if (cameras.empty())
    throw CToolError(ExitFailure, m_Layers.ExplainNothingFound());
  std::vector<Vorla::CDeviceInfo> records;
  for (const auto& camera : cameras)
    records.push_back(camera.Record);
  const CTransportLayerSet::SCamera& chosen = cameras[selector.Pick(records)];
  m_Tl = chosen.TransportLayer;
  m_Record = chosen.Record;
  m_HasRecord = true;
}

CCameraSession::~CCameraSession() {
  if (!m_Device)
    return;
  // The camera may be gone already; say so, but release the rest.
  try {
    if (m_Device->IsOpen())
      m_Device->Close();
  } catch (const GenICam::GenericException& e) {
    std::fprintf(stderr, "vorla-cl: closing the camera: %s\n", e.GetDescription());
  }
  try {
    m_Tl->DestroyDevice(m_Device);
  } catch (const GenICam::GenericException& e) {
    std::fprintf(stderr, "vorla-cl: releasing the camera: %s\n", e.GetDescription());
  }
}

const Vorla::CDeviceInfo& CCameraSession::Record() {
  if (!m_HasRecord) {
    m_Record = Device().GetDeviceInfo();
    m_HasRecord = true;
  }
  return m_Record;
}

std::string CCameraSession::Name() {
  return Record().GetFriendlyName();
}

Vorla::IVorlaDevice& CCameraSession::Device() {
  if (m_Device)
    return *m_Device;
  // Creation downloads the camera's description unless a file is bound to it.
  const CDownloadProgressLine progress(stderr);
  if (m_Selector.Kind() == CCameraSelector::Record) {
    Vorla::CDeviceInfo record = m_Tl->CreateDeviceInfo();
    for (const auto& property : m_Selector.RecordProperties())
      record.SetPropertyValue(property.first, property.second);
    m_Device = m_Selector.First() ? m_Tl->CreateFirstDevice(record) : m_Tl->CreateDevice(record);
  } else {
    m_Device = m_Tl->CreateDevice(m_Record);
  }
  if (!m_Device)
    throw CToolError(ExitFailure, "The transport layer created no device for the camera.");
  return *m_Device;
}

Vorla::IVorlaDevice& CCameraSession::OpenDevice() {
  Vorla::IVorlaDevice& device = Device();
  if (!device.IsOpen())
    device.Open(Vorla::Control | Vorla::Stream);
  return device;
}

} // namespace VorlaCl
