#include "FrameGrabberPlugin.h"

#include "VorlaCLSerLog.h"

#include <VorlaBase/VorlaFolders.h>

#include <algorithm>
#include <vector>

namespace Vorla {
namespace {

const char* const FamilyTags[][2] = {{"Sapera", "Dravik"}, {"NI-IMAQ", "Melsor"}};

} // namespace

void CFrameGrabberPlugin::Load(const gcstring& deviceSpecificString) {
  if (deviceSpecificString.empty()) {
    vxlog::LogTrace(
        StreamLog(), vxlog::Notable,
        "Skipping loading of Plugin DLL since there are no device specific parameters!");
    throw RUNTIME_EXCEPTION(
        "Skipping loading of Plugin DLL since there are no device specific parameters!");
  }
  const char* baseName = nullptr;
  for (const auto& family : FamilyTags)
    if (!baseName && deviceSpecificString.find(family[0]) != gcstring::npos)
      baseName = family[1];
  if (!baseName) {
    vxlog::LogTrace(StreamLog(), vxlog::Notable, "Don't know which plugin DLL must be loaded!");
    throw RUNTIME_EXCEPTION("Skipping loading of Plugin DLL since the name of the DLL cannot be "
                            "deduced from the device specific parameters!");
  }
  // The host's folder plus a fixed name: no camera or file text picks the library.
  const gcstring fileName = getVorlaFolderPath(VorlaFolderFgPlugins) + getVorlaPathSeperator() +
                            baseName + "_MD_VC80" + Platform::CDynamicLibrary::Suffix();
  vxlog::LogTrace(StreamLog(), vxlog::Notable, "About to load FGPlugin DLL %s.", fileName.c_str());
  Platform::CLockGuard<Platform::CMutex> control(m_Control);
  if (!m_Library.Load(Platform::CDynamicLibrary::NativePath(fileName))) {
    vxlog::LogTrace(StreamLog(), vxlog::Warning, "Could not load FGPlugin DLL");
    throw RUNTIME_EXCEPTION("Could not load FrameGrabber Plugin DLL.");
  }
  auto create = reinterpret_cast<CreateFrameGrabberObjectFunction>(
      m_Library.Symbol(CreateFrameGrabberObjectName));
  if (!create || !m_Library.Symbol(DestroyFrameGrabberObjectName)) {
    vxlog::LogTrace(StreamLog(), vxlog::Error, "Could not find functions in FGPlugin DLL.");
    throw RUNTIME_EXCEPTION("Missing neccessary functions in FGPlugin DLL '%s'.", fileName.c_str());
  }
  m_pObject = create(deviceSpecificString.c_str());
  if (!m_pObject) {
    vxlog::LogTrace(StreamLog(), vxlog::Error,
                    "Could not create Framegrabber object using FGPlugin DLL and parameterstring "
                    "'%s'.",
                    deviceSpecificString.c_str());
    throw RUNTIME_EXCEPTION(
        "Could not create Framegrabber object using FGPlugin DLL and parameterstring '%s'.",
        deviceSpecificString.c_str());
  }
  vxlog::LogTrace(StreamLog(), vxlog::Notable, "Sucessfully loaded FGPlugin DLL.");
}

void CFrameGrabberPlugin::Unload() {
  Platform::CLockGuard<Platform::CMutex> control(m_Control);
  if (!m_Library.IsLoaded())
    return;
  if (m_pObject) {
    // Looked up again: the library is the one authority on how its objects end.
    auto destroy = reinterpret_cast<DestroyFrameGrabberObjectFunction>(
        m_Library.Symbol(DestroyFrameGrabberObjectName));
    if (destroy) {
      destroy(m_pObject);
      m_pObject = nullptr;
    } else {
      vxlog::LogTrace(StreamLog(), vxlog::Error,
                      "Could not find destroy function in FGPlugin DLL. Cannot destroy "
                      "framegrabber object!");
    }
  }
  m_Library.Free();
  m_pObject = nullptr; // an object left alive went with its library
}

gcstring CFrameGrabberPlugin::LastErrorText() {
  const size_t length = m_pObject->GetLastErrorText(nullptr, 0);
  // The plug-in's length decides the allocation; a text longer than any message survives is cut.
  const size_t bounded = std::min<size_t>(length, 64 * 1024);
  std::vector<char> text(bounded + 1);
  const size_t copied = m_pObject->GetLastErrorText(text.data(), text.size());
  text[std::min(copied, bounded)] = '\0';
  return gcstring(text.data());
}

bool CFrameGrabberPlugin::Open(const gcstring& parameters, FgCallee* callee, gcstring& error) {
  Platform::CLockGuard<Platform::CMutex> control(m_Control);
  if (m_pObject->Open(parameters.c_str(), callee))
    return true;
  error = LastErrorText();
  return false;
}

void CFrameGrabberPlugin::Close() {
  Platform::CLockGuard<Platform::CMutex> control(m_Control);
  if (m_pObject)
    m_pObject->Close();
}

bool CFrameGrabberPlugin::StartGrab(gcstring& error) {
  return Control(&IFrameGrabber::StartGrab, error);
}

bool CFrameGrabberPlugin::StopGrab(gcstring& error) {
  return Control(&IFrameGrabber::StopGrab, error);
}

bool CFrameGrabberPlugin::Control(bool (IFrameGrabber::*operation)(), gcstring& error) {
  Platform::CLockGuard<Platform::CMutex> control(m_Control);
  if ((m_pObject->*operation)())
    return true;
  error = LastErrorText();
  return false;
}

bool CFrameGrabberPlugin::QueryValue(uint32_t valueNumber, int64_t& value) {
  Platform::CLockGuard<Platform::CMutex> control(m_Control);
  if (!m_pObject)
    return false;
  value = m_pObject->QueryValue(valueNumber);
  return true;
}

} // namespace Vorla
