#include <VorlaBase/Logging.h>

#include "LogSinks.h"

#include <Base/GCException.h>
#include <GenApi/Log.h>
#include <platform/Environment.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <map>

namespace vxlog {
namespace {

struct Filter {
  unsigned threshold = Warning;
  std::map<std::string, unsigned> perCategory;

  static Filter Parse(const std::string& text) {
    Filter f;
    size_t pos = 0;
    while (pos <= text.size()) {
      const size_t comma = std::min(text.find(',', pos), text.size());
      const std::string item = text.substr(pos, comma - pos);
      const size_t colon = item.rfind(':');
      if (colon == std::string::npos) {
        if (!item.empty())
          f.threshold = static_cast<unsigned>(std::strtoul(item.c_str(), nullptr, 10));
      } else {
        f.perCategory[item.substr(0, colon)] =
            static_cast<unsigned>(std::strtoul(item.c_str() + colon + 1, nullptr, 10));
      }
      pos = comma + 1;
    }
    return f;
  }

  bool Passes(const std::string& category, unsigned level) const {
    const auto it = perCategory.find(category);
    return level >= (it != perCategory.end() ? it->second : threshold);
  }
};

// Process-wide logging state; its mutex is held only to look up categories, swap the filter and
// walk the capture list, never while a sink writes.
struct State {
  std::mutex lock;
  std::vector<std::string> categories;
  Filter filter;
  std::vector<CLogCapture*> captures;
  std::vector<ILogListener*> listeners;

  State() {
    std::string env;
    if (Vorla::Platform::GetEnv("VORLA_LOG", env))
      filter = Filter::Parse(env);
  }
};

State& GetState() {
  static State* state = new State; // never destroyed: plug-ins may log while the process exits
  return *state;
}

} // namespace

CategoryID LogGetCatID(const char* name) {
  State& s = GetState();
  std::lock_guard<std::mutex> guard(s.lock);
  const std::string key = name ? name : "";
  const auto it = std::find(s.categories.begin(), s.categories.end(), key);
  if (it != s.categories.end())
    return static_cast<CategoryID>(it - s.categories.begin()) + 1;
  s.categories.push_back(key);
  return s.categories.size();
}

namespace {
// The name of a category; the state's lock must be held.
std::string NameOf(const State& s, CategoryID id) {
  return (id >= 1 && id <= s.categories.size()) ? s.categories[id - 1] : std::string();
}
} // namespace

std::string LogGetCatName(CategoryID id) {
  State& s = GetState();
  std::lock_guard<std::mutex> guard(s.lock);
  return NameOf(s, id);
}

void LogSetFilter(const std::string& filter) {
  State& s = GetState();
  std::lock_guard<std::mutex> guard(s.lock);
  s.filter = Filter::Parse(filter);
}

void LogTrace(CategoryID category, unsigned level, const char* format, ...) {
  State& s = GetState();
  std::unique_lock<std::mutex> guard(s.lock);
  LogEntry entry{NameOf(s, category), level, std::string()};
  const bool toStderr = s.filter.Passes(entry.category, level);
  if (!toStderr && s.captures.empty() && s.listeners.empty())
    return; // nobody reads it: don't format
  guard.unlock();

  va_list args;
  va_start(args, format);
  entry.text = GenICam::FormatMessageV(format, args);
  va_end(args);

  guard.lock();
  for (CLogCapture* capture : s.captures)
    capture->Add(entry);
  for (ILogListener* listener : s.listeners)
    listener->Write(entry);
  guard.unlock();
  if (toStderr)
    std::fprintf(stderr, "[%s] %u: %s\n", entry.category.c_str(), level, entry.text.c_str());
}

std::unique_lock<std::mutex> LockSinks() {
  return std::unique_lock<std::mutex>(GetState().lock);
}

void RegisterCapture(CLogCapture* capture) {
  State& s = GetState();
  std::lock_guard<std::mutex> guard(s.lock);
  s.captures.push_back(capture);
}

void UnregisterCapture(CLogCapture* capture) {
  State& s = GetState();
  std::lock_guard<std::mutex> guard(s.lock);
  s.captures.erase(std::remove(s.captures.begin(), s.captures.end(), capture), s.captures.end());
}

void LogAddListener(ILogListener* listener) {
  State& s = GetState();
  std::lock_guard<std::mutex> guard(s.lock);
  s.listeners.push_back(listener);
}

void LogRemoveListener(ILogListener* listener) {
  State& s = GetState();
  std::lock_guard<std::mutex> guard(s.lock);
  s.listeners.erase(std::remove(s.listeners.begin(), s.listeners.end(), listener),
                    s.listeners.end());
}

namespace {

void FromGenApi(const char* category, const char* text) {
  LogTrace(LogGetCatID(category), Warning, "%s", text);
}

// While this library is loaded, the GenApi library's warnings are log lines of their category.
struct SGenApiWarnings {
  SGenApiWarnings() { GenApi::SetLogFunction(&FromGenApi); }
  ~SGenApiWarnings() {
    const GenApi::LogFunction current = GenApi::SetLogFunction(nullptr);
    if (current != &FromGenApi) // someone else's: put it back
      GenApi::SetLogFunction(current);
  }
} g_GenApiWarnings;

} // namespace

} // namespace vxlog
