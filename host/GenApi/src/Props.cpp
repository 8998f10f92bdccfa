#include "Props.h"

#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <unordered_map>

namespace GenApi {

EProp PropFromName(const std::string& name) {
  static const std::unordered_map<std::string_view, EProp> table = {
      {"ToolTip", EProp::ToolTip},
      {"Description", EProp::Description},
      {"DisplayName", EProp::DisplayName},
      {"Visibility", EProp::Visibility},
      {"DocuURL", EProp::DocuURL},
      {"IsDeprecated", EProp::IsDeprecated},
      {"EventID", EProp::EventID},
      {"pIsImplemented", EProp::pIsImplemented},
      {"pIsAvailable", EProp::pIsAvailable},
      {"pIsLocked", EProp::pIsLocked},
      {"pBlockPolling", EProp::pBlockPolling},
      {"ImposedAccessMode", EProp::ImposedAccessMode},
      {"pError", EProp::pError},
      {"pAlias", EProp::pAlias},
      {"pCastAlias", EProp::pCastAlias},
      {"pInvalidator", EProp::pInvalidator},
      {"Streamable", EProp::Streamable},
      {"Address", EProp::Address},
      {"pAddress", EProp::pAddress},
      {"pIndex", EProp::pIndex},
      {"Length", EProp::Length},
      {"pLength", EProp::pLength},
      {"AccessMode", EProp::AccessMode},
      {"pPort", EProp::pPort},
      {"Cachable", EProp::Cachable},
      {"PollingTime", EProp::PollingTime},
      {"Sign", EProp::Sign},
      {"Endianess", EProp::Endianess},
      {"Unit", EProp::Unit},
      {"Representation", EProp::Representation},
      {"pSelected", EProp::pSelected},
      {"Bit", EProp::Bit},
      {"LSB", EProp::LSB},
      {"MSB", EProp::MSB},
      {"Value", EProp::Value},
      {"pValue", EProp::pValue},
      {"pValueCopy", EProp::pValueCopy},
      {"ValueIndexed", EProp::ValueIndexed},
      {"pValueIndexed", EProp::pValueIndexed},
      {"ValueDefault", EProp::ValueDefault},
      {"pValueDefault", EProp::pValueDefault},
      {"Min", EProp::Min},
      {"pMin", EProp::pMin},
      {"Max", EProp::Max},
      {"pMax", EProp::pMax},
      {"Inc", EProp::Inc},
      {"pInc", EProp::pInc},
      {"DisplayNotation", EProp::DisplayNotation},
      {"DisplayPrecision", EProp::DisplayPrecision},
      {"pFeature", EProp::pFeature},
      {"NumericValue", EProp::NumericValue},
      {"Symbolic", EProp::Symbolic},
      {"IsSelfClearing", EProp::IsSelfClearing},
      {"OnValue", EProp::OnValue},
      {"OffValue", EProp::OffValue},
      {"CommandValue", EProp::CommandValue},
      {"pCommandValue", EProp::pCommandValue},
      {"ChunkID", EProp::ChunkID},
      {"pChunkID", EProp::pChunkID},
      {"SwapEndianess", EProp::SwapEndianess},
      {"pVariable", EProp::pVariable},
      {"Constant", EProp::Constant},
      {"Expression", EProp::Expression},
      {"Formula", EProp::Formula},
      {"FormulaTo", EProp::FormulaTo},
      {"FormulaFrom", EProp::FormulaFrom},
      {"Slope", EProp::Slope}};
  const auto it = table.find(name);
  return it == table.end() ? EProp::Unknown : it->second;
}

ENodeType NodeTypeFromName(const std::string& name) {
  static const std::unordered_map<std::string_view, ENodeType> table = {
      {"Node", ENodeType::Node},
      {"Category", ENodeType::Category},
      {"Integer", ENodeType::Integer},
      {"IntReg", ENodeType::IntReg},
      {"MaskedIntReg", ENodeType::MaskedIntReg},
      {"Float", ENodeType::Float},
      {"FloatReg", ENodeType::FloatReg},
      {"Enumeration", ENodeType::Enumeration},
      {"Boolean", ENodeType::Boolean},
      {"Command", ENodeType::Command},
      {"String", ENodeType::String},
      {"StringReg", ENodeType::StringReg},
      {"Register", ENodeType::Register},
      {"Port", ENodeType::Port},
      {"SwissKnife", ENodeType::SwissKnife},
      {"IntSwissKnife", ENodeType::IntSwissKnife},
      {"Converter", ENodeType::Converter},
      {"IntConverter", ENodeType::IntConverter},
      {"ConfRom", ENodeType::ConfRom},
      {"TextDesc", ENodeType::TextDesc},
      {"IntKey", ENodeType::IntKey},
      {"AdvFeatureLock", ENodeType::AdvFeatureLock},
      {"SmartFeature", ENodeType::SmartFeature}};
  const auto it = table.find(name);
  return it == table.end() ? ENodeType::None : it->second;
}

bool ParseInt64(const std::string& text, int64_t& value) {
  const char* p = text.c_str();
  while (*p == ' ' || *p == '\t' || *p == '\n' || *p == '\r')
    ++p;
  if (!*p)
    return false;
  char* end = nullptr;
  errno = 0;
  if (p[0] == '0' && (p[1] == 'x' || p[1] == 'X')) {
    if (!p[2])
      return false;
    value = static_cast<int64_t>(std::strtoull(p + 2, &end, 16));
  } else {
    value = std::strtoll(p, &end, 10);
  }
  if (errno == ERANGE || end == p)
    return false;
  while (*end == ' ' || *end == '\t' || *end == '\n' || *end == '\r')
    ++end;
  return *end == 0;
}

bool ParseDouble(const std::string& text, double& value) {
  const char* p = text.c_str();
  char* end = nullptr;
  value = std::strtod(p, &end);
  if (end == p)
    return false;
  while (*end == ' ' || *end == '\t' || *end == '\n' || *end == '\r')
    ++end;
  return *end == 0;
}

bool ParseAccessMode(const std::string& text, EAccessMode& mode) {
  if (text == "RO" || text == "R")
    mode = RO;
  else if (text == "WO" || text == "W")
    mode = WO;
  else if (text == "RW")
    mode = RW;
  else
    return false;
  return true;
}

bool ParseYesNo(const std::string& text, bool& value) {
  if (text == "Yes" || text == "true" || text == "1")
    value = true;
  else if (text == "No" || text == "false" || text == "0")
    value = false;
  else
    return false;
  return true;
}

} // namespace GenApi
