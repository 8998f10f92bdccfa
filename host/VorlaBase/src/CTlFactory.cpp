#include <VorlaBase/TlFactory.h>

#include <VorlaBase/Logging.h>
#include <VorlaBase/VorlaFolders.h>
#include <platform/DynamicLibrary.h>
#include <platform/Environment.h>

#include <algorithm>
#include <filesystem>
#include <list>

namespace Vorla {
namespace {
using GetTLInfo_t = CTlInfo& (*)();
using Create_t = ITransportLayer* (*)(const CTlInfo&);
using Destroy_t = void (*)(ITransportLayer*);

vxlog::CategoryID Cat() {
  static const vxlog::CategoryID id = vxlog::LogGetCatID("vorla.base.TlFactory");
  return id;
}

std::vector<std::string> ListLibraries(const std::string& folder) {
  std::vector<std::string> files;
  const std::string suffix = Platform::CDynamicLibrary::Suffix();
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator(folder, ec))
    if (entry.path().extension() == suffix)
      files.push_back(entry.path().string());
  std::sort(files.begin(), files.end());
  return files;
}
} // namespace

// One loaded plug-in. Libraries stay loaded for the life of the process: objects they made may
// outlive any release order the application chooses.
struct Plugin {
  std::unique_ptr<Platform::CDynamicLibrary> library;
  CTlInfo info;
  Create_t create = nullptr;
  Destroy_t destroy = nullptr;
  ITransportLayer* tl = nullptr;
  int extraRefs = 0; // CreateTl calls beyond the first; the plug-in's own count has the first
};

struct CTlFactory::Impl {
  bool scanned = false;
  std::list<Plugin> plugins;

  void Scan(const gcstring& folder) {
    if (scanned)
      return;
    scanned = true;
    for (const std::string& path : ListLibraries(folder)) {
      Plugin p;
      p.library = std::make_unique<Platform::CDynamicLibrary>();
      if (!p.library->Load(Platform::CDynamicLibrary::NativePath(path))) {
        vxlog::LogTrace(Cat(), vxlog::Warning, "Could not load transport layer '%s': %s",
                        path.c_str(), p.library->LastError().c_str());
        continue;
      }
      auto getInfo = reinterpret_cast<GetTLInfo_t>(p.library->Symbol("GetTLInfo"));
      p.create = reinterpret_cast<Create_t>(p.library->Symbol("Create"));
      p.destroy = reinterpret_cast<Destroy_t>(p.library->Symbol("Destroy"));
      if (!getInfo || !p.create || !p.destroy) {
        vxlog::LogTrace(Cat(), vxlog::Warning, "'%s' is not a transport layer", path.c_str());
        continue;
      }
      p.info = getInfo();
      vxlog::LogTrace(Cat(), vxlog::Progress, "Found transport layer '%s' in '%s'",
                      p.info.GetFullName().c_str(), path.c_str());
      plugins.push_back(std::move(p));
    }
  }

  static bool Allowed(const Plugin& p) {
    std::string only;
    return !Platform::GetEnv("VORLA_USE_TL", only) || only.empty() ||
           only == p.info.GetDeviceClass();
  }
};

CTlFactory::CTlFactory() : m_impl(std::make_unique<Impl>()) {}
CTlFactory::~CTlFactory() = default;

CTlFactory& CTlFactory::GetInstance() {
  static CTlFactory* factory = new CTlFactory; // lives as long as the loaded plug-ins
  return *factory;
}

gcstring CTlFactory::GetPluginFolder() const { return getVorlaFolderPath(VorlaFolderTl); }

int CTlFactory::EnumerateTls(TlInfoList& list) {
  std::lock_guard<std::recursive_mutex> guard(m_lock);
  m_impl->Scan(GetPluginFolder());
  int n = 0;
  for (const Plugin& p : m_impl->plugins)
    if (Impl::Allowed(p)) {
      list.push_back(p.info);
      ++n;
    }
  return n;
}

ITransportLayer* CTlFactory::CreateTl(const gcstring& deviceClass) {
  std::lock_guard<std::recursive_mutex> guard(m_lock);
  m_impl->Scan(GetPluginFolder());
  for (Plugin& p : m_impl->plugins) {
    if (p.info.GetDeviceClass() != deviceClass || !Impl::Allowed(p))
      continue;
    if (p.tl) {
      ++p.extraRefs;
      return p.tl;
    }
    p.tl = p.create(p.info);
    return p.tl;
  }
  return nullptr;
}

void CTlFactory::ReleaseTl(const ITransportLayer* tl) {
  std::lock_guard<std::recursive_mutex> guard(m_lock);
  for (Plugin& p : m_impl->plugins) {
    if (!tl || p.tl != tl)
      continue;
    if (p.extraRefs > 0) {
      --p.extraRefs;
      return;
    }
    auto* refs = dynamic_cast<ITransportLayerPrivate*>(p.tl);
    if (!refs || refs->Release() <= 0) {
      ITransportLayer* gone = p.tl;
      p.tl = nullptr;
      p.destroy(gone);
    }
    return;
  }
}

int CTlFactory::EnumerateDevices(DeviceInfoList& list, bool addToList) {
  if (!addToList)
    list.clear();
  TlInfoList tls;
  EnumerateTls(tls);
  int n = 0;
  for (const CTlInfo& info : tls) {
    ITransportLayer* tl = CreateTl(info);
    if (!tl)
      continue;
    n += tl->EnumerateDevices(list, true);
    ReleaseTl(tl);
  }
  return n;
}

} // namespace Vorla
