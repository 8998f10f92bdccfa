#include "LogRoute.h"

#include <pybind11/pybind11.h>

#include <cstdlib>
#include <memory>

namespace py = pybind11;

namespace VorlaPy {
namespace {

// A capture keeps every line until it is destroyed; it is replaced once it holds this many
// drained lines, the new one registered before the old one goes so that no line is lost (a
// line logged in that instant may be passed twice).
constexpr size_t RotateAfter = 4096;

// The route's state; touched only with the GIL held.
struct SRoute {
  std::unique_ptr<vxlog::CLogCapture> m_pCapture;
  size_t m_Drained = 0;
};

SRoute& Route() {
  static SRoute* route = new SRoute; // never destroyed: the SDK may log while the process ends
  return *route;
}

int PythonLevel(unsigned level) {
  if (level >= vxlog::Error)
    return 40;
  if (level >= vxlog::Warning)
    return 30;
  if (level >= vxlog::Notable)
    return 20;
  return level >= vxlog::Progress ? 10 : 5;
}

void Pass(const std::vector<vxlog::LogEntry>& entries, size_t from) {
  if (from >= entries.size())
    return;
  py::object getLogger = py::module_::import("logging").attr("getLogger");
  for (size_t i = from; i < entries.size(); ++i) {
    const vxlog::LogEntry& entry = entries[i];
    getLogger("vorla." + entry.category).attr("log")(PythonLevel(entry.level), "%s", entry.text);
  }
}

} // namespace

void CLogRoute::Enable(bool on) {
  SRoute& route = Route();
  if (on == static_cast<bool>(route.m_pCapture))
    return;
  if (on) {
    route.m_pCapture = std::make_unique<vxlog::CLogCapture>();
    route.m_Drained = 0;
    vxlog::LogSetFilter("4294967295"); // nothing to standard error
    return;
  }
  Drain();
  route.m_pCapture.reset();
  const char* filter = std::getenv("VORLA_LOG");
  vxlog::LogSetFilter(filter ? filter : "128");
}

void CLogRoute::Drain() noexcept {
  SRoute& route = Route();
  if (!route.m_pCapture)
    return;
  try {
    const std::vector<vxlog::LogEntry> entries = route.m_pCapture->Entries();
    if (entries.size() <= route.m_Drained)
      return;
    if (entries.size() > RotateAfter) {
      auto next = std::make_unique<vxlog::CLogCapture>();
      const std::vector<vxlog::LogEntry> last = route.m_pCapture->Entries();
      route.m_pCapture = std::move(next);
      const size_t from = route.m_Drained;
      route.m_Drained = 0;
      Pass(last, from);
      return;
    }
    const size_t from = route.m_Drained;
    route.m_Drained = entries.size();
    Pass(entries, from);
  } catch (py::error_already_set& e) {
    e.discard_as_unraisable("vorla: passing the SDK's log to logging");
  } catch (const std::exception&) {
    // out of memory copying lines: they stay for the next drain
  }
}

} // namespace VorlaPy
