#include "ListCommand.h"

#include "CameraSelector.h"
#include "ToolError.h"
#include "TransportLayerSet.h"

#include <nlohmann/json.hpp>

#include <cstdio>

namespace VorlaCl {

int CListCommand::ListTransportLayers() {
  CTransportLayerSet layers;
  layers.RequireAny();
  for (const Vorla::CTlInfo& tl : layers.Infos())
    std::printf("%s\t%s\n", tl.GetDeviceClass().c_str(), tl.GetFullName().c_str());
  return ExitSuccess;
}

int CListCommand::ListCameras(bool verbose, bool json) {
  CTransportLayerSet layers;
  layers.RequireAny();
  const std::vector<CTransportLayerSet::SCamera> cameras = layers.Enumerate();
  if (cameras.empty()) {
    throw CToolError(ExitFailure, layers.ExplainNothingFound());
  }
  nlohmann::json list = nlohmann::json::array();
  for (size_t i = 0; i < cameras.size(); ++i) {
    const Vorla::CDeviceInfo& record = cameras[i].Record;
    Vorla::gcstring portId;
    record.GetPropertyValue("PortID", portId);
    if (json) {
      nlohmann::json properties = nlohmann::json::object();
      Vorla::gcstring_vector names;
      record.GetPropertyNames(names);
      for (const auto& name : names) {
        Vorla::gcstring value;
        record.GetPropertyValue(name, value);
        properties[name.c_str()] = value.c_str();
      }
      list.push_back({{"index", i},
                      {"name", record.GetFriendlyName().c_str()},
                      {"port", portId.c_str()},
                      {"model", record.GetModelName().c_str()},
                      {"serial", CCameraSelector::SerialNumberOf(record)},
                      {"record", properties}});
      continue;
    }
    std::printf("%zu\t%s\tport %s\tmodel %s\tserial %s\n", i, record.GetFriendlyName().c_str(),
                portId.c_str(), record.GetModelName().c_str(),
                CCameraSelector::SerialNumberOf(record).c_str());
    if (!verbose)
      continue;
    Vorla::gcstring_vector names;
    record.GetPropertyNames(names);
    for (const auto& name : names) {
      Vorla::gcstring value;
      record.GetPropertyValue(name, value);
      std::printf("    %-22s %s\n", name.c_str(), value.c_str());
    }
  }
  if (json)
    std::printf("%s\n", list.dump(2).c_str());
  return ExitSuccess;
}

} // namespace VorlaCl
