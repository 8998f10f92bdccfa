#include "Camera.h"

#include "ErrorTranslator.h"
#include "Grab.h"
#include "RemovalCallback.h"

#include <Base/GCException.h>
#include <VorlaBase/ITransportLayer.h>

#include <optional>

namespace py = pybind11;

namespace VorlaPy {

CCamera::CCamera(const std::string& text, bool first)
    : m_pSelector(std::make_unique<VorlaCl::CCameraSelector>(text, first)) {
  py::gil_scoped_release released;
  Vorla::Platform::CLockGuard<Vorla::Platform::CMutex> guard(m_Lock);
  // Enumeration, creation (the description's download) and opening all wait for the camera.
  m_pSession = std::make_unique<VorlaCl::CCameraSession>(*m_pSelector);
  m_pDevice = &m_pSession->OpenDevice();
  m_Name = m_pSession->Name();
}

CCamera::~CCamera() {
  Close();
}

namespace {
// The GIL released for a scope when the calling thread holds it (a destructor may run without).
class CGilReleased {
public:
  CGilReleased() {
    if (PyGILState_Check())
      m_Released.emplace();
  }

private:
  std::optional<py::gil_scoped_release> m_Released;
};
} // namespace

void CCamera::Close() {
  const CGilReleased released;
  Vorla::Platform::CLockGuard<Vorla::Platform::CMutex> guard(m_Lock);
  CloseLocked();
}

void CCamera::CloseLocked() {
  if (!m_pSession)
    return;
  if (m_pGrab)
    m_pGrab->StopLocked(*m_pDevice);
  m_pGrab = nullptr;
  for (Vorla::DeviceCallbackHandle handle : m_Callbacks) {
    try {
      m_pDevice->DeregisterRemovalCallback(handle);
    } catch (const GenICam::GenericException&) {
      // a removed camera may refuse; the session's end releases the callbacks all the same
    }
  }
  m_Callbacks.clear();
  m_pDevice = nullptr;
  m_pSession.reset(); // closes the device, reporting a failure on standard error, and frees it
}

bool CCamera::IsOpen() {
  py::gil_scoped_release released;
  Vorla::Platform::CLockGuard<Vorla::Platform::CMutex> guard(m_Lock);
  return m_pDevice != nullptr;
}

Vorla::IVorlaDevice& CCamera::Device() {
  if (!m_pDevice)
    throw CPyError(CPyError::CameraClosed, "The camera '" + m_Name + "' is closed.");
  return *m_pDevice;
}

py::dict CCamera::Info() {
  const Vorla::CDeviceInfo record =
      Call([](Vorla::IVorlaDevice& device) { return Vorla::CDeviceInfo(device.GetDeviceInfo()); });
  py::dict properties;
  Vorla::gcstring_vector names;
  record.GetPropertyNames(names);
  for (const Vorla::gcstring& name : names) {
    Vorla::gcstring value;
    if (record.GetPropertyValue(name, value))
      properties[py::str(name.c_str())] = py::str(value.c_str());
  }
  return properties;
}

std::string CCamera::Xml() {
  py::gil_scoped_release released;
  Vorla::Platform::CLockGuard<Vorla::Platform::CMutex> guard(m_Lock);
  Device();
  Vorla::IXmlFileProvider* provider = m_pSession->TransportLayer().GetXmlFileProvider();
  const Vorla::CDeviceInfo& record = m_pSession->Record();
  if (!provider || !provider->IsXMLFileAvailable(record))
    throw CPyError(CPyError::Logical, "Camera '" + m_Name + "' offers no description.");
  Vorla::gcstring fileName;
  Vorla::gcstring xml;
  provider->ProvideXMLFile(record, fileName, xml);
  return std::string(xml.c_str(), xml.size());
}

void CCamera::OnRemoved(py::object callable) {
  if (!PyCallable_Check(callable.ptr()))
    throw CPyError(CPyError::Type, "on_removed takes a callable, not " +
                                       std::string(Py_TYPE(callable.ptr())->tp_name));
  CRemovalCallback callback(std::move(callable));
  py::gil_scoped_release released;
  Vorla::Platform::CLockGuard<Vorla::Platform::CMutex> guard(m_Lock);
  m_Callbacks.push_back(Device().RegisterRemovalCallback(callback));
}

void CCamera::SetGrab(CGrab* grab) {
  const CGilReleased released;
  Vorla::Platform::CLockGuard<Vorla::Platform::CMutex> guard(m_Lock);
  if (m_pGrab)
    throw CPyError(CPyError::Logical, "A grab of the camera '" + m_Name +
                                          "' is still running; leave its loop or close it first.");
  m_pGrab = grab;
}

void CCamera::ClearGrab(CGrab* grab) {
  const CGilReleased released;
  Vorla::Platform::CLockGuard<Vorla::Platform::CMutex> guard(m_Lock);
  if (m_pGrab == grab)
    m_pGrab = nullptr;
}

} // namespace VorlaPy
