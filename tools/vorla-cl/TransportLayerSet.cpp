#include "TransportLayerSet.h"

#include "EnumerationExplainer.h"
#include "PortUsage.h"
#include "ToolError.h"

#include <cstdlib>

namespace VorlaCl {

CTransportLayerSet::CTransportLayerSet() {
  Vorla::CTlFactory& factory = Vorla::CTlFactory::GetInstance();
  Vorla::TlInfoList infos;
  factory.EnumerateTls(infos);
  for (const Vorla::CTlInfo& info : infos)
    if (Vorla::ITransportLayer* tl = factory.CreateTl(info)) {
      m_Infos.push_back(info);
      m_Layers.push_back(tl);
    }
}

CTransportLayerSet::~CTransportLayerSet() {
  for (Vorla::ITransportLayer* tl : m_Layers)
    Vorla::CTlFactory::GetInstance().ReleaseTl(tl);
}

void CTransportLayerSet::RequireAny() const {
  if (!Empty())
    return;
  const std::string folder = Vorla::CTlFactory::GetInstance().GetPluginFolder();
  const char* only = std::getenv("VORLA_USE_TL");
  if (only && *only)
    throw CToolError(ExitFailure, "No transport layer of the device class '" + std::string(only) +
                                      "' (VORLA_USE_TL) found in '" + folder + "'.");
  throw CToolError(ExitFailure, "No transport layer found in '" + folder + "'.");
}

std::vector<CTransportLayerSet::SCamera> CTransportLayerSet::Enumerate() {
  std::vector<SCamera> cameras;
  for (Vorla::ITransportLayer* tl : m_Layers) {
    Vorla::DeviceInfoList records;
    tl->EnumerateDevices(records);
    for (const Vorla::CDeviceInfo& record : records)
      cameras.push_back({tl, record});
  }
  return cameras;
}

std::string CTransportLayerSet::ExplainNothingFound() const {
  std::string why;
  for (Vorla::ITransportLayer* tl : m_Layers) {
    const auto* reporter = dynamic_cast<const Vorla::IEnumerationReporter*>(tl);
    if (!reporter)
      continue;
    const Vorla::SEnumerationReport report = reporter->GetLastEnumerationReport();
    // A port another process holds looks silent to the transport layer; the system knows better.
    for (const auto& port : report.PortsSilent) {
      const std::string holder = CPortUsage::Holder(port.c_str());
      if (!holder.empty())
        return "No camera answered: port " + std::string(port.c_str()) + " is " + holder + ".";
    }
    why += (why.empty() ? "" : " ") +
           CEnumerationExplainer::Explain(report, CEnumerationExplainer::InstalledFolders());
  }
  return why.empty() ? "No camera found." : why;
}

Vorla::ITransportLayer& CTransportLayerSet::ForClass(const std::string& deviceClass) const {
  RequireAny();
  if (deviceClass.empty()) {
    if (m_Layers.size() == 1)
      return *m_Layers.front();
    throw CToolError(ExitUsage, "Several transport layers are installed; add DeviceClass=<class> "
                                "to the camera record.");
  }
  for (size_t i = 0; i < m_Infos.size(); ++i)
    if (m_Infos[i].GetDeviceClass() == deviceClass)
      return *m_Layers[i];
  // With one transport layer, let it answer an unknown class in its own words.
  if (m_Layers.size() == 1)
    return *m_Layers.front();
  throw CToolError(ExitFailure, "No transport layer for the device class '" + deviceClass + "'.");
}

} // namespace VorlaCl
