// A camera description from the camera: load it, connect a register space and touch every node
// the way an application browsing the features would (read, range, write back, execute, select
// every enumeration entry). Bytes after the first NUL are the register contents, so that lengths,
// addresses and selectors read from the camera are the fuzzer's too.
//
// Only GenICam exceptions are expected; anything else (std::length_error, a crash, a hang, a huge
// allocation) is a finding.
#include <GenApi/GenApi.h>

#include <xercesc/util/PlatformUtils.hpp>

#include "FuzzSupport.h"

#include <cstdint>
#include <cstring>
#include <map>
#include <string>

namespace {

// Registers: the fuzzer's bytes repeated over the whole address space, writes kept on top (a
// bounded number, so a description cannot make the port itself grow without limit).
class CFuzzPort : public GenApi::IPort {
public:
  explicit CFuzzPort(std::string bytes) : m_Bytes(std::move(bytes)) {}
  GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
  void Read(void* buffer, int64_t address, int64_t length) override {
    if (length < 0 || length > kMaxAccess)
      throw RUNTIME_EXCEPTION("port: length %lld", static_cast<long long>(length));
    auto* out = static_cast<uint8_t*>(buffer);
    for (int64_t i = 0; i < length; ++i) {
      const uint64_t at = static_cast<uint64_t>(address) + static_cast<uint64_t>(i);
      const auto written = m_Written.find(at);
      if (written != m_Written.end())
        out[i] = written->second;
      else
        out[i] = m_Bytes.empty() ? static_cast<uint8_t>(at) : m_Bytes[at % m_Bytes.size()];
    }
  }
  void Write(const void* buffer, int64_t address, int64_t length) override {
    if (length < 0 || length > kMaxAccess)
      throw RUNTIME_EXCEPTION("port: length %lld", static_cast<long long>(length));
    const auto* in = static_cast<const uint8_t*>(buffer);
    for (int64_t i = 0; i < length && m_Written.size() < kMaxWritten; ++i)
      m_Written[static_cast<uint64_t>(address) + static_cast<uint64_t>(i)] = in[i];
  }

private:
  static constexpr int64_t kMaxAccess = 1 << 16;
  static constexpr size_t kMaxWritten = 1 << 12;
  std::string m_Bytes;
  std::map<uint64_t, uint8_t> m_Written;
};

void TouchNumbers(GenApi::INode* node) {
  if (auto* p = dynamic_cast<GenApi::IInteger*>(node)) {
    FuzzTry([&] { p->SetValue(p->GetValue()); });
    FuzzTry([&] { p->SetValue(p->GetMin()); });
    FuzzTry([&] { p->SetValue(p->GetMax()); });
    FuzzTry([&] { p->GetInc(); });
    FuzzTry([&] { p->GetIncMode(); });
    FuzzTry([&] { p->GetRepresentation(); });
  } else if (auto* p = dynamic_cast<GenApi::IFloat*>(node)) {
    FuzzTry([&] { p->SetValue(p->GetValue()); });
    FuzzTry([&] { p->SetValue(p->GetMin()); });
    FuzzTry([&] { p->SetValue(p->GetMax()); });
    FuzzTry([&] {
      if (p->HasInc())
        p->GetInc();
    });
    FuzzTry([&] { p->GetDisplayPrecision(); });
  } else if (auto* p = dynamic_cast<GenApi::IBoolean*>(node)) {
    FuzzTry([&] { p->SetValue(!p->GetValue()); });
  }
}

void TouchOthers(GenApi::INode* node) {
  if (auto* p = dynamic_cast<GenApi::IString*>(node)) {
    FuzzTry([&] { p->SetValue(p->GetValue()); });
    FuzzTry([&] { p->GetMaxLength(); });
  } else if (auto* p = dynamic_cast<GenApi::ICommand*>(node)) {
    FuzzTry([&] { p->Execute(); });
    FuzzTry([&] { p->IsDone(); });
  } else if (auto* p = dynamic_cast<GenApi::IEnumeration*>(node)) {
    GenApi::NodeList_t entries;
    FuzzTry([&] { p->GetEntries(entries); });
    for (GenApi::INode* entry : entries)
      if (auto* e = dynamic_cast<GenApi::IEnumEntry*>(entry))
        FuzzTry([&] { p->SetIntValue(e->GetValue()); });
    FuzzTry([&] { p->GetCurrentEntry(); });
    GenICam::gcstring_vector symbolics;
    FuzzTry([&] { p->GetSymbolics(symbolics); });
  } else if (auto* p = dynamic_cast<GenApi::IRegister*>(node)) {
    FuzzTry([&] {
      const int64_t length = p->GetLength();
      if (length > 0 && length <= 4096) {
        std::string buffer(static_cast<size_t>(length), '\0');
        auto* bytes = reinterpret_cast<uint8_t*>(&buffer[0]);
        p->Get(bytes, length);
        p->Set(bytes, length);
      }
    });
    FuzzTry([&] { p->GetAddress(); });
  } else if (auto* p = dynamic_cast<GenApi::ICategory*>(node)) {
    GenApi::FeatureList_t features;
    FuzzTry([&] { p->GetFeatures(features); });
  }
}

void Touch(GenApi::INode* node) {
  FuzzTry([&] { node->GetAccessMode(); });
  FuzzTry([&] { node->GetVisibility(); });
  FuzzTry([&] { node->GetToolTip(); });
  FuzzTry([&] { node->GetDisplayName(); });
  GenApi::NodeList_t related;
  FuzzTry([&] { node->GetChildren(related); });
  FuzzTry([&] { node->GetParents(related); });
  if (auto* value = dynamic_cast<GenApi::IValue*>(node)) {
    FuzzTry([&] { value->FromString(value->ToString()); });
    FuzzTry([&] { value->ToString(true, true); });
  }
  TouchNumbers(node);
  TouchOthers(node);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // Held for the whole run, so that each load does not start Xerces anew.
  xercesc::XMLPlatformUtils::Initialize();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  auto [xml, registers] = FuzzSplitAtNul(data, size);
  CFuzzPort port(std::move(registers));

  GenApi::CNodeMapRef map;
  try {
    map._LoadXMLFromString(xml);
  } catch (const GenICam::GenericException&) {
    return 0;
  }
  FuzzTry([&] { map._Connect(&port); });
  GenApi::NodeList_t nodes;
  map._GetNodes(nodes);
  for (GenApi::INode* node : nodes)
    Touch(node);
  // A second pass after every write and an invalidation: cached and stale values meet.
  FuzzTry([&] { map._InvalidateNodes(); });
  for (GenApi::INode* node : nodes)
    FuzzTry([&] {
      if (auto* value = dynamic_cast<GenApi::IValue*>(node))
        value->ToString();
    });
  return 0;
}
