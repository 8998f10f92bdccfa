#include "VorlaCLSerStreamGrabber.h"

#include "VorlaCLSerGuids.h"
#include "VorlaCLSerLog.h"

#include <Base/ForeignText.h>
#include <GenApi/GenApi.h>
#include <GenApi/NodeCallback.h>
#include <VorlaBase/IVorlaDevice.h>
#include <VorlaBase/VorlaFolders.h>

#include <algorithm>
#include <atomic>
#include <cstring>

namespace Vorla {
namespace {

// Handles of all stream grabbers of the process: from 1, never reused.
std::atomic<StreamBufferHandle> s_LastBufferHandle{0};

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

const char* const FamilyTags[][2] = {{"Sapera", "Dravik"}, {"NI-IMAQ", "Melsor"}};

// A frame into the application's buffer: line by line without the source's gaps when the
// lines are pitched, else in one piece; never more than `size` bytes.
void CopyFrame(const FrameDescriptor& frame, uint8_t* buffer, uint64_t size) {
  const auto* source = static_cast<const uint8_t*>(frame.m_pData);
  if (frame.m_LinePitch != frame.m_LineLength) {
    uint8_t* destination = buffer;
    uint64_t remaining = size;
    for (int32_t line = 0; destination < buffer + size && line < frame.m_LineCount; ++line) {
      const uint64_t count = std::min(frame.m_LineLength, remaining);
      std::memcpy(destination, source, count);
      destination += count;
      remaining -= count;
      source += frame.m_LinePitch;
    }
  } else {
    std::memcpy(buffer, source, std::min(frame.m_TotalSize, size));
  }
}

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
    LoadFrameGrabber();
  } catch (const std::exception& e) {
    vxlog::LogTrace(StreamLog(), vxlog::Error,
                    "Error parsing stream grabber XML or accessing its nodes (%s)",
                    DescriptionOf(e));
    UnloadFrameGrabber();
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
  // The camera's nodes outlive the stream grabber; none may call into it afterwards.
  std::vector<NodeCallbackEntry> rows;
  {
    std::lock_guard<std::mutex> guard(m_NodeCallbacksLock);
    rows.swap(m_NodeCallbacks);
  }
  for (const NodeCallbackEntry& row : rows)
    if (row.m_pNode)
      row.m_pNode->DeregisterCallback(row.m_hCallback);
  UnloadFrameGrabber();
}

void CVorlaCLSerStreamGrabber::LoadFrameGrabber() {
  if (m_DeviceSpecificString.empty()) {
    vxlog::LogTrace(
        StreamLog(), vxlog::Notable,
        "Skipping loading of Plugin DLL since there are no device specific parameters!");
    throw RUNTIME_EXCEPTION(
        "Skipping loading of Plugin DLL since there are no device specific parameters!");
  }
  const char* baseName = nullptr;
  for (const auto& family : FamilyTags)
    if (!baseName && m_DeviceSpecificString.find(family[0]) != gcstring::npos)
      baseName = family[1];
  if (!baseName) {
    vxlog::LogTrace(StreamLog(), vxlog::Notable, "Don't know which plugin DLL must be loaded!");
    throw RUNTIME_EXCEPTION("Skipping loading of Plugin DLL since the name of the DLL cannot be "
                            "deduced from the device specific parameters!");
  }
  const gcstring fileName = getVorlaFolderPath(VorlaFolderFgPlugins) + getVorlaPathSeperator() +
                            baseName + "_MD_VC80" + Platform::CDynamicLibrary::Suffix();
  vxlog::LogTrace(StreamLog(), vxlog::Notable, "About to load FGPlugin DLL %s.", fileName.c_str());
  if (!LoadPluginLibrary(fileName)) {
    vxlog::LogTrace(StreamLog(), vxlog::Warning, "Could not load FGPlugin DLL");
    throw RUNTIME_EXCEPTION("Could not load FrameGrabber Plugin DLL.");
  }
  auto create = reinterpret_cast<CreateFrameGrabberObjectFunction>(
      m_PluginLibrary.Symbol(CreateFrameGrabberObjectName));
  if (!create || !m_PluginLibrary.Symbol(DestroyFrameGrabberObjectName)) {
    vxlog::LogTrace(StreamLog(), vxlog::Error, "Could not find functions in FGPlugin DLL.");
    throw RUNTIME_EXCEPTION("Missing neccessary functions in FGPlugin DLL '%s'.", fileName.c_str());
  }
  m_pFrameGrabber = create(m_DeviceSpecificString.c_str());
  if (!m_pFrameGrabber) {
    vxlog::LogTrace(StreamLog(), vxlog::Error,
                    "Could not create Framegrabber object using FGPlugin DLL and parameterstring "
                    "'%s'.",
                    m_DeviceSpecificString.c_str());
    throw RUNTIME_EXCEPTION(
        "Could not create Framegrabber object using FGPlugin DLL and parameterstring '%s'.",
        m_DeviceSpecificString.c_str());
  }
  m_Port.SetFrameGrabber(m_pFrameGrabber);
  vxlog::LogTrace(StreamLog(), vxlog::Notable, "Sucessfully loaded FGPlugin DLL.");
}

// The path is the host's folder plus a fixed name, so no camera or file text picks the library.
bool CVorlaCLSerStreamGrabber::LoadPluginLibrary(const gcstring& path) {
  if (path.empty())
    return false;
  return m_PluginLibrary.Load(Platform::CDynamicLibrary::NativePath(path));
}

void CVorlaCLSerStreamGrabber::UnloadFrameGrabber() {
  Guard guard(m_Lock);
  if (!m_PluginLibrary.IsLoaded())
    return;
  if (m_pFrameGrabber) {
    auto destroy = reinterpret_cast<DestroyFrameGrabberObjectFunction>(
        m_PluginLibrary.Symbol(DestroyFrameGrabberObjectName));
    if (destroy) {
      m_Port.SetFrameGrabber(nullptr);
      destroy(m_pFrameGrabber);
      m_pFrameGrabber = nullptr;
    } else {
      vxlog::LogTrace(StreamLog(), vxlog::Error,
                      "Could not find destroy function in FGPlugin DLL. Cannot destroy "
                      "framegrabber object!");
    }
  }
  m_Port.SetFrameGrabber(nullptr);
  m_PluginLibrary.Free();
}

gcstring CVorlaCLSerStreamGrabber::LastErrorText() {
  const size_t length = m_pFrameGrabber->GetLastErrorText(nullptr, 0);
  // The plug-in's length decides the allocation; a text longer than any message survives is cut.
  const size_t bounded = std::min<size_t>(length, 64 * 1024);
  std::vector<char> text(bounded + 1);
  const size_t copied = m_pFrameGrabber->GetLastErrorText(text.data(), text.size());
  text[std::min(copied, bounded)] = '\0';
  return gcstring(text.data());
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
  if (!m_pFrameGrabber->Open(m_DeviceSpecificString.c_str(), this))
    throw RUNTIME_EXCEPTION("%s", GenICam::FormatForeignText256(LastErrorText().c_str()).c_str());
  m_State = Opened;
}

void CVorlaCLSerStreamGrabber::Close() {
  Guard guard(m_Lock);
  if (m_State != Opened)
    vxlog::LogTrace(StreamLog(), vxlog::Warning, "Invalid streamgrabber state (%i) in %s",
                    static_cast<int>(m_Buffers.size()), "Close");
  m_OutputQueue.clear();
  if (!m_Buffers.empty()) {
    vxlog::LogTrace(StreamLog(), vxlog::Warning,
                    "Still %u bufferers registred when calling Close()",
                    static_cast<unsigned>(m_Buffers.size()));
    m_Buffers.clear();
  }
  if (m_pFrameGrabber) {
    try {
      GenApi::CIntegerPtr debugData(m_NodeMap._GetNode("DebugData1"));
      if (debugData)
        debugData->SetValue(0, false);
      // Without the lock: closing may wait for a delivery thread that is waiting for it.
      guard.unlock();
      m_pFrameGrabber->Close();
      guard.lock();
    } catch (...) {
      if (!guard.owns_lock())
        guard.lock();
      vxlog::LogTrace(StreamLog(), vxlog::Error, "m_pFrameGrabber->Close has thrown exception");
    }
  }
  m_State = Closed;
  m_WaitObject.Reset();
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
  auto record = std::make_shared<BufferRecord>();
  const StreamBufferHandle handle = ++s_LastBufferHandle;
  record->m_Result.m_hBuffer = handle;
  record->m_Result.m_pBuffer = pBuffer;
  record->m_Result.m_PayloadSize = bufferSize;
  record->m_BufferSize = bufferSize;
  m_Buffers.emplace(handle, std::move(record));
  return handle;
}

void* CVorlaCLSerStreamGrabber::DeregisterBuffer(StreamBufferHandle hBuffer) {
  Guard guard(m_Lock);
  CheckState("DeregisterBuffer", m_State >= 1 && m_State <= 3);
  const auto it = m_Buffers.find(hBuffer);
  const void* handleText = reinterpret_cast<const void*>(static_cast<uintptr_t>(hBuffer));
  if (it == m_Buffers.end())
    throw RUNTIME_EXCEPTION("Invalid Bufferhandle %p passed", handleText);
  if (std::find(m_InputQueue.begin(), m_InputQueue.end(), hBuffer) != m_InputQueue.end())
    throw RUNTIME_EXCEPTION("Buffer h=%p waiting to be filled and cannot be deregistred now.",
                            handleText);
  if (std::find(m_OutputQueue.begin(), m_OutputQueue.end(), hBuffer) != m_OutputQueue.end())
    throw RUNTIME_EXCEPTION(
        "Buffer h=%p currently waiting to be retrieved and cannot be deregistred now", handleText);
  void* const buffer = it->second->m_Result.m_pBuffer;
  m_Buffers.erase(it);
  return buffer;
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
  const auto it = m_Buffers.find(hBuffer);
  if (it == m_Buffers.end())
    throw RUNTIME_EXCEPTION("Invalid Bufferhandle %p passed",
                            reinterpret_cast<const void*>(static_cast<uintptr_t>(hBuffer)));
  it->second->m_Result.m_Context = context;
  it->second->m_Result.m_Status = Queued;
  m_InputQueue.push_back(hBuffer);
  if (!m_AcquisitionStarted) {
    if (!m_pFrameGrabber->StartGrab())
      throw RUNTIME_EXCEPTION("%s", GenICam::FormatForeignText256(LastErrorText().c_str()).c_str());
    m_AcquisitionStarted = true;
  }
}

// Runs without the lock: the plug-in waits for its delivery threads, which need the lock.
void CVorlaCLSerStreamGrabber::StopGrab() {
  if (!m_pFrameGrabber->StopGrab())
    vxlog::LogTrace(StreamLog(), vxlog::Warning, "Failed to stop the grab gracefully (%s).",
                    LastErrorText().c_str());
}

void CVorlaCLSerStreamGrabber::CancelGrab() {
  Guard guard(m_Lock);
  CheckState("CancelGrab", m_State == 2 || m_State == 3);
  m_AcquisitionStarted = false;
  guard.unlock();
  StopGrab();
  guard.lock();
  if (m_InputQueue.empty())
    return;
  for (StreamBufferHandle handle : m_InputQueue) {
    const auto it = m_Buffers.find(handle);
    if (it != m_Buffers.end())
      it->second->m_Result.m_Status = Canceled;
  }
  m_OutputQueue.insert(m_OutputQueue.end(), m_InputQueue.begin(), m_InputQueue.end());
  m_InputQueue.clear();
  m_WaitObject.Signal();
}

void CVorlaCLSerStreamGrabber::FinishGrab() {
  Guard guard(m_Lock);
  CheckState("FinishGrab", m_State == Prepared);
  m_AcquisitionStarted = false;
  guard.unlock();
  StopGrab();
  guard.lock();
  try {
    static_cast<IStreamGrabber*>(this)->CancelGrab(); // stops a second time, deliberately
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
  if (m_OutputQueue.empty()) {
    m_WaitObject.Reset();
    return false;
  }
  const StreamBufferHandle handle = m_OutputQueue.front();
  m_OutputQueue.pop_front();
  const auto it = m_Buffers.find(handle);
  if (it == m_Buffers.end())
    throw RUNTIME_EXCEPTION("Buffer with handle %p not found",
                            reinterpret_cast<const void*>(static_cast<uintptr_t>(handle)));
  result = it->second->m_Result;
  if (m_OutputQueue.empty()) {
    m_WaitObject.Reset();
    m_State = Prepared;
  }
  return true;
}

AlertableWaitObject& CVorlaCLSerStreamGrabber::GetWaitObject() {
  return m_WaitObject;
}

GenApi::INodeMap* CVorlaCLSerStreamGrabber::GetNodeMap() {
  return m_NodeMap._Ptr;
}

bool CVorlaCLSerStreamGrabber::FrameReady(const FrameDescriptor& descriptor) {
  Guard guard(m_Lock);
  if (m_State == 4)
    return false;
  if (m_InputQueue.empty()) {
    vxlog::LogTrace(StreamLog(), vxlog::Detail, "Buffer underrun*!");
    return false;
  }
  const StreamBufferHandle handle = m_InputQueue.front();
  m_InputQueue.pop_front();
  const auto it = m_Buffers.find(handle);
  if (it == m_Buffers.end()) {
    vxlog::LogTrace(StreamLog(), vxlog::Error, "Invalid Bufferhandle %p encountered",
                    reinterpret_cast<const void*>(static_cast<uintptr_t>(handle)));
    return false;
  }
  const std::shared_ptr<BufferRecord> record = it->second;
  guard.unlock();

  GrabResult& result = record->m_Result;
  if (m_pAcquisitionParameters->ReadGeometry(result, record->m_BufferSize)) {
    CopyFrame(descriptor, static_cast<uint8_t*>(result.m_pBuffer), result.m_PayloadSize);
    result.m_Status = Grabbed;
    result.m_ErrorCode = 0;
    result.m_ErrorDescription.clear();
    result.m_PaddingX = result.m_PaddingY = 0;
    result.m_PayloadType = 0;
    result.m_FrameNumber = descriptor.m_FrameValue;
  } else {
    result.m_Status = Failed;
    result.m_ErrorCode = 0xFFFFFFFF;
    result.m_ErrorDescription = "Failed to payload related information from camera";
  }

  guard.lock();
  if (m_State == 4)
    return false;
  m_OutputQueue.push_back(handle);
  guard.unlock();
  m_WaitObject.Signal();
  return false;
}

uintptr_t CVorlaCLSerStreamGrabber::RegisterNodeCallback(const char* nodeName,
                                                         PluginNodeCallback callback,
                                                         uint64_t context, uint32_t cookie) {
  if (!nodeName) {
    vxlog::LogTrace(StreamLog(), vxlog::Error, "Invalid nodename passed.");
    return 0;
  }
  if (!callback) {
    vxlog::LogTrace(StreamLog(), vxlog::Error, "Invalid callbackaddress passed.");
    return 0;
  }
  try {
    GenApi::INodeMap* nodeMap = m_pDevice->GetNodeMap();
    if (!nodeMap) {
      vxlog::LogTrace(StreamLog(), vxlog::Error, "Cannot setup nodemap callback on null nodemap.");
      return 0;
    }
    GenApi::INode* node = nodeMap->GetNode(nodeName);
    if (!node) {
      vxlog::LogTrace(StreamLog(), vxlog::Error, "Could not register nodecallback for node (%s)",
                      nodeName);
      return 0;
    }
    // The row first, so that a change right after the node's registration finds it.
    size_t index = 0;
    {
      std::lock_guard<std::mutex> guard(m_NodeCallbacksLock);
      const NodeCallbackEntry entry{node, callback, 0, context, cookie};
      auto row = std::find_if(m_NodeCallbacks.begin(), m_NodeCallbacks.end(),
                              [](const NodeCallbackEntry& e) { return e.m_pNode == nullptr; });
      if (row == m_NodeCallbacks.end())
        row = m_NodeCallbacks.insert(m_NodeCallbacks.end(), entry);
      else
        *row = entry;
      index = static_cast<size_t>(row - m_NodeCallbacks.begin());
    }
    GenApi::CallbackHandleType hCallback = 0;
    try {
      hCallback = GenApi::Register(node, *this, &CVorlaCLSerStreamGrabber::OnNodeChanged,
                                   GenApi::cbPostInsideLock);
    } catch (...) {
      std::lock_guard<std::mutex> guard(m_NodeCallbacksLock);
      m_NodeCallbacks[index] = NodeCallbackEntry();
      throw;
    }
    std::lock_guard<std::mutex> guard(m_NodeCallbacksLock);
    m_NodeCallbacks[index].m_hCallback = hCallback;
    return index + 1;
  } catch (const GenICam::GenericException& e) {
    vxlog::LogTrace(StreamLog(), vxlog::Error, "Exception setting node callback. (%s)",
                    e.GetDescription());
    return 0;
  }
}

bool CVorlaCLSerStreamGrabber::DeregisterNodeCallback(uintptr_t handle) {
  if (handle == 0)
    return false;
  NodeCallbackEntry row;
  {
    std::lock_guard<std::mutex> guard(m_NodeCallbacksLock);
    if (handle - 1 >= m_NodeCallbacks.size() || !m_NodeCallbacks[handle - 1].m_pNode)
      return false;
    row = m_NodeCallbacks[handle - 1];
  }
  // Without the table's lock: the node map's lock comes first (changes call in under it).
  row.m_pNode->DeregisterCallback(row.m_hCallback);
  std::lock_guard<std::mutex> guard(m_NodeCallbacksLock);
  NodeCallbackEntry& current = m_NodeCallbacks[handle - 1];
  if (current.m_pNode != row.m_pNode || current.m_hCallback != row.m_hCallback)
    return false; // deregistered by another thread meanwhile
  current = NodeCallbackEntry();
  return true;
}

void CVorlaCLSerStreamGrabber::OnNodeChanged(GenApi::INode* node) {
  int64_t value = 0;
  try {
    if (auto* integer = dynamic_cast<GenApi::IInteger*>(node)) {
      value = integer->GetValue(false, false);
    } else if (auto* enumeration = dynamic_cast<GenApi::IEnumeration*>(node)) {
      value = enumeration->GetIntValue(false, false);
    } else {
      vxlog::LogTrace(StreamLog(), vxlog::Error,
                      "Invalid node type. Only inter like types are supported");
      return;
    }
  } catch (const GenICam::GenericException& e) {
    vxlog::LogTrace(StreamLog(), vxlog::Error, "Exception getting nodevalue (%s)",
                    e.GetDescription());
    return;
  }
  Guard guard(m_Lock);
  const auto row = std::find_if(m_NodeCallbacks.begin(), m_NodeCallbacks.end(),
                                [node](const NodeCallbackEntry& e) { return e.m_pNode == node; });
  if (row == m_NodeCallbacks.end()) {
    vxlog::LogTrace(StreamLog(), vxlog::Error, "Node not registered in callbackvector");
    return;
  }
  const PluginNodeCallback callback = row->m_Callback;
  const uint64_t context = row->m_Context;
  const uint32_t cookie = row->m_Cookie;
  guard.unlock();
  try {
    callback(value, context, cookie);
  } catch (const GenICam::GenericException& e) {
    vxlog::LogTrace(StreamLog(), vxlog::Error, "GenericException in callback func (%s)",
                    e.GetDescription());
  } catch (const std::exception& e) {
    vxlog::LogTrace(StreamLog(), vxlog::Error, "std::exception in callback func (%s)", e.what());
  }
}

} // namespace Vorla
