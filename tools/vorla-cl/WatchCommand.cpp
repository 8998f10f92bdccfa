#include "WatchCommand.h"

#include "CameraSession.h"
#include "Interruption.h"
#include "NodeMapView.h"
#include "RemovalSignal.h"
#include "ToolError.h"

#include <cstdio>
#include <ctime>

namespace VorlaCl {
namespace {

// Reads in a row that may fail before the watch gives up without a removal report.
const int kMaxFailuresInRow = 3;

std::string Now() {
  const std::time_t now = std::time(nullptr);
  char text[16];
  std::tm local{};
#if defined(_WIN32)
  localtime_s(&local, &now);
#else
  localtime_r(&now, &local);
#endif
  std::strftime(text, sizeof text, "%H:%M:%S", &local);
  return text;
}

// The feature to watch when none is named: the first of these the camera has.
std::string DefaultFeature(const CNodeMapView& view) {
  for (const char* name : {"DeviceTemperature", "DeviceID", "DeviceSerialNumber"})
    if (GenApi::INode* node = view.Find(name))
      if (GenApi::IsReadable(node->GetAccessMode()))
        return name;
  throw CToolError(ExitUsage, "Name the feature to watch.");
}

} // namespace

int CWatchCommand::Run(CCameraSession& session, const SOptions& options) {
  Vorla::IVorlaDevice& device = session.OpenDevice();
  const CNodeMapView view(device.GetNodeMap(), device.GetTLNodeMap());
  const std::string feature = options.m_Feature.empty() ? DefaultFeature(view) : options.m_Feature;
  GenApi::INode& node = view.Require(feature);
  CRemovalSignal removal;
  const Vorla::DeviceCallbackHandle handle = device.RegisterRemovalCallback(removal);
  // A signal ends the wait between reads as a removal would; the loop tells them apart.
  const CInterruption::CScope interruption([&removal] { removal(nullptr); });
  const auto interrupted = [] {
    const CInterruption* current = CInterruption::Current();
    return current && current->Interrupted();
  };
  std::printf("Watching %s of '%s' every %lld ms.\n", feature.c_str(), session.Name().c_str(),
              static_cast<long long>(options.m_Interval.count()));
  std::fflush(stdout);

  int failuresInRow = 0;
  for (uint64_t reads = 1;; ++reads) {
    try {
      const std::string value = CNodeMapView::Read(node);
      std::printf("%s  %s = %s\n", Now().c_str(), feature.c_str(), value.c_str());
      std::fflush(stdout);
      failuresInRow = 0;
    } catch (const GenICam::GenericException& e) {
      // A read that fails because the camera went away is reported as the removal below.
      if (!removal.Removed() && !interrupted()) {
        std::fprintf(stderr, "vorla-cl: %s  reading %s: %s\n", Now().c_str(), feature.c_str(),
                     e.GetDescription());
        if (++failuresInRow == kMaxFailuresInRow)
          throw CToolError(ExitFailure, "Reading " + feature + " failed " +
                                            std::to_string(kMaxFailuresInRow) + " times in a row.");
      }
    }
    if (!interrupted() && removal.Removed())
      break;
    const bool done = options.m_Count != 0 && reads >= options.m_Count;
    if (!done)
      removal.WaitFor(options.m_Interval); // a removal or a signal ends the wait early
    if (done || interrupted()) {
      device.DeregisterRemovalCallback(handle);
      return interrupted() ? CInterruption::Current()->ExitStatus() : ExitSuccess;
    }
  }
  throw CToolError(ExitFailure, "Camera '" + session.Name() + "' was removed.");
}

} // namespace VorlaCl
