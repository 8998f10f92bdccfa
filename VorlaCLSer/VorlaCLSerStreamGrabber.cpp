#include "VorlaCLSerStreamGrabber.h"

#include "FrameCopy.h"
#include "VorlaCLSerGuids.h"
#include "VorlaCLSerLog.h"

#include <Base/ForeignText.h>
#include <GenApi/GenApi.h>
#include <VorlaBase/IVorlaDevice.h>

#include <string>

namespace Vorla {
namespace {

const char StreamGrabberXml[] =
    R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="CLSerStreamGrabber" VendorName="Hexmar" ToolTip="Interface to the CLSer camera stream parameters" StandardNameSpace="None" SchemaMajorVersion="1" SchemaMinorVersion="0" SchemaSubMinorVersion="0" MajorVersion="0" MinorVersion="0" SubMinorVersion="0" ProductGuid=")" VORLA_CLSER_PRODUCT_GUID
    R"(" VersionGuid=")" VORLA_CLSER_VERSION_GUID
    R"(" xmlns="http://www.genicam.org/GenApi/Version_1_0" xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" xsi:schemaLocation="http://www.genicam.org/GenApi/Version_1_0 GenApiSchema.xsd">
  <Category Name="Root">
    <ToolTip>CLSer stream parameters</ToolTip>
    <Description>Change following values to adopt driver ressources.</Description>
    <pFeature>MaxNumBuffer</pFeature>
    <pFeature>MaxBufferSize</pFeature>
    <pFeature>StreamGrabber</pFeature>
  </Category>
  <Category Name="OutputThread">
    <ToolTip>Parameter of the output thread.</ToolTip>
    <Visibility>Expert</Visibility>
    <pFeature>ThreadPriority</pFeature>
  </Category>
  <Category Name="StreamGrabber">
    <ToolTip>Stream Grabber related features</ToolTip>
    <pFeature>OutputThread</pFeature>
    <pFeature>PixelClockDetected</pFeature>
  </Category>
  <Integer Name="MaxNumBuffer">
    <ToolTip>Number of buffers to be used.</ToolTip>
    <Description>Maximum number of Buffers that are going to be used simultaneously. Raising this value may cause higher resource demands on a subsequent PrepareGrab call.</Description>
    <Value>10</Value>
    <Min>1</Min>
  </Integer>
  <Integer Name="MaxBufferSize">
    <ToolTip>Buffer size in bytes</ToolTip>
    <Description>Size of the greatest buffer to be used. Unit is bytes. Raising this value may cause higher resource demands on a subsequent PrepareGrab call.</Description>
    <Value>5760000</Value>
    <Min>1</Min>
  </Integer>
  <Integer Name="ThreadPriority">
    <ToolTip>Priority value of the output thread (default=0).</ToolTip>
    <Description>When the stream grabber is opened the output thread is started. Non-zero values are used to set the thread priority. It is not changed until the stream grabber is re-opened again.</Description>
    <Visibility>Expert</Visibility>
    <Value>0</Value>
    <Min>-15</Min>
    <Max>15</Max>
  </Integer>
  <IntReg Name="PixelClockDetected">
    <ToolTip>Pixel clock frequency as detected by the grabber.</ToolTip>
    <Description>The Pixel clock frequency detected by the grabebr in Hz.</Description>
    <Visibility>Expert</Visibility>
    <Address>0xc05ec0c10c</Address>
    <Length>4</Length>
    <AccessMode>RO</AccessMode>
    <pPort>Device</pPort>
    <Sign>Unsigned</Sign>
    <Endianess>LittleEndian</Endianess>
  </IntReg>
  <Category Name="Debug">
    <ToolTip>Debug</ToolTip>
    <Visibility>Invisible</Visibility>
    <pFeature>DebugData1</pFeature>
  </Category>
  <Integer Name="DebugData1">
    <Visibility>Invisible</Visibility>
    <Value>0</Value>
  </Integer>
  <Port Name="Device" NameSpace="Standard">
    <ToolTip>Port provding access to the camera.</ToolTip>
  </Port>
</RegisterDescription>
)";

const void* HandleText(StreamBufferHandle handle) {
  return reinterpret_cast<const void*>(static_cast<uintptr_t>(handle));
}

using Guard = Platform::CLockGuard<Platform::CRecursiveMutex>;

} // namespace

CVorlaCLSerStreamGrabber::CVorlaCLSerStreamGrabber(const gcstring& deviceSpecificString,
                                                   IVorlaDevice* device)
    : m_DeviceSpecificString(deviceSpecificString), m_pDevice(device) {
  m_pAcquisitionParameters = std::make_unique<CAcquisitionParameters>(*m_pDevice);
  try {
    m_NodeMap._LoadXMLFromString(StreamGrabberXml);
    m_NodeMap._Connect(&m_Port, "Device");
    for (const char* name : {"MaxNumBuffer", "MaxBufferSize"})
      if (!GenApi::CIntegerPtr(m_NodeMap._GetNode(name)))
        throw RUNTIME_EXCEPTION("Missing Node '%s' in nodemap.", name);
    m_Plugin.Load(m_DeviceSpecificString);
  } catch (const std::exception& e) {
    vxlog::LogTrace(StreamLog(), vxlog::Error,
                    "Error parsing stream grabber XML or accessing its nodes (%s)",
                    DescriptionOf(e));
    m_Plugin.Unload();
    throw;
  }
}

CVorlaCLSerStreamGrabber::~CVorlaCLSerStreamGrabber() {
  bool open = false;
  {
    Guard guard(m_Lock);
    open = m_State != Closed;
    if (open)
      vxlog::LogTrace(StreamLog(), vxlog::Warning, "Stream still open on destruction");
  }
  if (open) {
    try {
      Close();
    } catch (...) { // Close reports its own failures; a destructor must not throw
    }
  }
  // The camera's nodes outlive the stream grabber, and the callbacks are the plug-in's code.
  m_NodeCallbacks.Clear();
  m_Plugin.Unload();
}

void CVorlaCLSerStreamGrabber::CheckState(const char* operation, bool legal) const {
  if (!legal)
    throw LOGICAL_ERROR_EXCEPTION("Invalid streamgrabber state (%i) in %s", m_State, operation);
}

void CVorlaCLSerStreamGrabber::Open() {
  Guard guard(m_Lock);
  CheckState("Open", m_State == Closed);
  if (!m_pDevice->IsOpen()) {
    vxlog::LogTrace(StreamLog(), vxlog::Error, "Device not open when opening stream grabber.");
    throw RUNTIME_EXCEPTION("Device not open when opening stream grabber.");
  }
  gcstring error;
  if (!m_Plugin.Open(m_DeviceSpecificString, this, error))
    throw RUNTIME_EXCEPTION("%s", GenICam::FormatForeignText256(error.c_str()).c_str());
  m_State = Opened;
}

void CVorlaCLSerStreamGrabber::Close() {
  Guard guard(m_Lock);
  if (m_State != Opened)
    vxlog::LogTrace(StreamLog(), vxlog::Warning, "Invalid streamgrabber state (%i) in %s",
                    static_cast<int>(m_Buffers.Count()), "Close");
  // Waits for a frame being copied: its buffer is gone afterwards, not in the next session.
  if (const size_t registered = m_Buffers.Clear())
    vxlog::LogTrace(StreamLog(), vxlog::Warning,
                    "Still %u bufferers registred when calling Close()",
                    static_cast<unsigned>(registered));
  try {
    GenApi::CIntegerPtr debugData(m_NodeMap._GetNode("DebugData1"));
    if (debugData)
      debugData->SetValue(0, false);
    m_Plugin.Close();
  } catch (...) {
    vxlog::LogTrace(StreamLog(), vxlog::Error, "m_pFrameGrabber->Close has thrown exception");
  }
  m_State = Closed;
  m_Buffers.WaitObject().Reset();
}

bool CVorlaCLSerStreamGrabber::IsOpen() const {
  Guard guard(m_Lock);
  return m_State != Closed;
}

StreamBufferHandle CVorlaCLSerStreamGrabber::RegisterBuffer(void* pBuffer, size_t bufferSize) {
  if (!pBuffer)
    throw RUNTIME_EXCEPTION("Invalid Buffer passed to RegisterBuffer");
  Guard guard(m_Lock);
  CheckState("RegisterBuffer", m_State >= 1 && m_State <= 3);
  return m_Buffers.Register(pBuffer, bufferSize);
}

void* CVorlaCLSerStreamGrabber::DeregisterBuffer(StreamBufferHandle hBuffer) {
  Guard guard(m_Lock);
  CheckState("DeregisterBuffer", m_State >= 1 && m_State <= 3);
  void* buffer = nullptr;
  switch (m_Buffers.Deregister(hBuffer, buffer)) {
  case CStreamBufferTable::EResult::Unknown:
    throw RUNTIME_EXCEPTION("Invalid Bufferhandle %p passed", HandleText(hBuffer));
  case CStreamBufferTable::EResult::Queued:
    throw RUNTIME_EXCEPTION("Buffer h=%p waiting to be filled and cannot be deregistred now.",
                            HandleText(hBuffer));
  case CStreamBufferTable::EResult::Ready:
    throw RUNTIME_EXCEPTION(
        "Buffer h=%p currently waiting to be retrieved and cannot be deregistred now",
        HandleText(hBuffer));
  default:
    return buffer;
  }
}

void CVorlaCLSerStreamGrabber::PrepareGrab() {
  Guard guard(m_Lock);
  CheckState("PrepareGrab", m_State == Opened);
  m_pAcquisitionParameters->Lock(true);
  m_State = Prepared;
}

void CVorlaCLSerStreamGrabber::QueueBuffer(StreamBufferHandle hBuffer, uint64_t context) {
  Guard guard(m_Lock);
  CheckState("QueueBuffer", m_State == 2 || m_State == 3);
  if (m_Buffers.Queue(hBuffer, context) == CStreamBufferTable::EResult::Unknown)
    throw RUNTIME_EXCEPTION("Invalid Bufferhandle %p passed", HandleText(hBuffer));
  if (!m_AcquisitionStarted) {
    gcstring error;
    if (!m_Plugin.StartGrab(error))
      throw RUNTIME_EXCEPTION("%s", GenICam::FormatForeignText256(error.c_str()).c_str());
    m_AcquisitionStarted = true;
  }
}

// Under the stream grabber's lock, so that no re-queue starts the plug-in between the flag and
// the stop; the plug-in's delivery threads, which the stop waits for, never take that lock.
void CVorlaCLSerStreamGrabber::StopGrab() {
  gcstring error;
  if (!m_Plugin.StopGrab(error))
    vxlog::LogTrace(StreamLog(), vxlog::Warning, "Failed to stop the grab gracefully (%s).",
                    error.c_str());
}

void CVorlaCLSerStreamGrabber::CancelGrab() {
  Guard guard(m_Lock);
  CancelGrabLocked();
}

void CVorlaCLSerStreamGrabber::CancelGrabLocked() {
  CheckState("CancelGrab", m_State == 2 || m_State == 3);
  m_AcquisitionStarted = false;
  StopGrab();
  m_Buffers.CancelQueued();
}

void CVorlaCLSerStreamGrabber::FinishGrab() {
  Guard guard(m_Lock);
  CheckState("FinishGrab", m_State == Prepared);
  m_AcquisitionStarted = false;
  StopGrab();
  try {
    CancelGrabLocked(); // stops a second time, deliberately
  } catch (const GenICam::GenericException& e) {
    vxlog::LogTrace(StreamLog(), vxlog::Warning,
                    "Exception while calling CancelGrab from FinishGrab will be ignored (%s).",
                    e.GetDescription());
  }
  m_State = Opened;
  m_pAcquisitionParameters->Lock(false);
}

bool CVorlaCLSerStreamGrabber::RetrieveResult(GrabResult& result) {
  Guard guard(m_Lock);
  CheckState("RetrieveResult", m_State >= 1 && m_State <= 3);
  StreamBufferHandle handle = 0;
  bool drained = false;
  switch (m_Buffers.Retrieve(result, handle, drained)) {
  case CStreamBufferTable::EResult::Empty:
    return false;
  case CStreamBufferTable::EResult::Unknown:
    throw RUNTIME_EXCEPTION("Buffer with handle %p not found", HandleText(handle));
  default:
    if (drained)
      m_State = Prepared; // even after FinishGrab, as it always was
    return true;
  }
}

AlertableWaitObject& CVorlaCLSerStreamGrabber::GetWaitObject() {
  return m_Buffers.WaitObject();
}

GenApi::INodeMap* CVorlaCLSerStreamGrabber::GetNodeMap() {
  return m_NodeMap._Ptr;
}

bool CVorlaCLSerStreamGrabber::FrameReady(const FrameDescriptor& descriptor) {
  Deliver(descriptor, 0);
  return false;
}

bool CVorlaCLSerStreamGrabber::FrameReadyAt(const FrameDescriptor& descriptor,
                                            uint64_t timeStampNs) {
  Deliver(descriptor, timeStampNs);
  return false;
}

void CVorlaCLSerStreamGrabber::Warning(const char* text) {
  vxlog::LogTrace(StreamLog(), vxlog::Warning, "Frame grabber: %s", text ? text : "");
}

void CVorlaCLSerStreamGrabber::Deliver(const FrameDescriptor& descriptor, uint64_t timeStampNs) {
  CStreamBufferTable::SFill fill;
  switch (m_Buffers.BeginFill(fill)) {
  case CStreamBufferTable::EResult::Empty:
    vxlog::LogTrace(StreamLog(), vxlog::Detail, "Buffer underrun*!");
    return;
  case CStreamBufferTable::EResult::Unknown:
    vxlog::LogTrace(StreamLog(), vxlog::Error, "Invalid Bufferhandle %p encountered",
                    HandleText(fill.m_Handle));
    return;
  default:
    break;
  }
  // The buffer is being filled now: nothing frees or changes it until EndFill.
  GrabResult& result = fill.m_Result;
  std::string rejected;
  const bool checked = CFrameCopy::Check(descriptor, rejected);
  if (m_pAcquisitionParameters->ReadGeometry(result, fill.m_BufferSize) && checked) {
    CFrameCopy::Copy(descriptor, static_cast<uint8_t*>(result.m_pBuffer), result.m_PayloadSize);
    result.m_Status = Grabbed;
    result.m_ErrorCode = 0;
    result.m_ErrorDescription.clear();
    result.m_PaddingX = result.m_PaddingY = 0;
    result.m_PayloadType = 0;
    result.m_FrameNumber = descriptor.m_FrameValue;
    result.m_GrabberTimeStamp = timeStampNs;
  } else {
    result.m_Status = Failed;
    result.m_ErrorCode = 0xFFFFFFFF;
    result.m_ErrorDescription =
        checked ? "Failed to payload related information from camera" : rejected.c_str();
    if (!checked)
      vxlog::LogTrace(StreamLog(), vxlog::Error, "%s", rejected.c_str());
  }
  m_Buffers.EndFill(fill);
}

uintptr_t CVorlaCLSerStreamGrabber::RegisterNodeCallback(const char* nodeName,
                                                         PluginNodeCallback callback,
                                                         uint64_t context, uint32_t cookie) {
  return m_NodeCallbacks.Register(nodeName, callback, context, cookie);
}

bool CVorlaCLSerStreamGrabber::DeregisterNodeCallback(uintptr_t handle) {
  return m_NodeCallbacks.Deregister(handle);
}

} // namespace Vorla
