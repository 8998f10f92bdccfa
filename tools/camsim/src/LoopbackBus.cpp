#include <camsim/LoopbackBus.h>

#include <Base/GCException.h>

namespace camsim {

CLoopbackBus& CLoopbackBus::Instance() {
  static CLoopbackBus bus;
  return bus;
}

CLoopbackBus::CLoopbackBus() : m_Ports(2) {}

void CLoopbackBus::SetPortCount(std::size_t count) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  m_Ports.resize(count);
}

std::size_t CLoopbackBus::PortCount() {
  std::lock_guard<std::mutex> lock(m_Mutex);
  return m_Ports.size();
}

std::string CLoopbackBus::PortName(std::size_t index) {
  return "Loop" + std::to_string(index);
}

std::size_t CLoopbackBus::IndexOf(const std::string& portName) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  for (std::size_t i = 0; i < m_Ports.size(); ++i)
    if (PortName(i) == portName)
      return i;
  throw OUT_OF_RANGE_EXCEPTION("No loopback port '%s'", portName.c_str());
}

void CLoopbackBus::Attach(std::size_t index, std::shared_ptr<CCameraModel> camera) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  if (index >= m_Ports.size())
    throw OUT_OF_RANGE_EXCEPTION("Loopback port %zu does not exist (%zu ports)", index,
                                 m_Ports.size());
  m_Ports[index].m_Camera = std::move(camera);
}

void CLoopbackBus::Attach(const std::string& portName, std::shared_ptr<CCameraModel> camera) {
  Attach(IndexOf(portName), std::move(camera));
}

void CLoopbackBus::Detach(std::size_t index) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  if (index < m_Ports.size())
    m_Ports[index].m_Camera.reset();
}

void CLoopbackBus::DetachAll() {
  std::lock_guard<std::mutex> lock(m_Mutex);
  for (SPort& port : m_Ports)
    port.m_Camera.reset();
}

std::shared_ptr<CCameraModel> CLoopbackBus::Camera(std::size_t index) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  return index < m_Ports.size() ? m_Ports[index].m_Camera : nullptr;
}

void CLoopbackBus::SetSupportedBaudRates(std::size_t index, std::uint32_t bits) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  if (index < m_Ports.size())
    m_Ports[index].m_BaudRates = bits;
}

std::uint32_t CLoopbackBus::SupportedBaudRates(std::size_t index) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  return index < m_Ports.size() ? m_Ports[index].m_BaudRates : 0;
}

bool CLoopbackBus::Open(std::size_t index) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  if (index >= m_Ports.size() || m_Ports[index].m_Open)
    return false;
  m_Ports[index].m_Open = true;
  return true;
}

void CLoopbackBus::Close(std::size_t index) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  if (index < m_Ports.size())
    m_Ports[index].m_Open = false;
}

} // namespace camsim
