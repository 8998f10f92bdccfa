#include <Base/GCUtilities.h>
#include <platform/Environment.h>

namespace GenICam {

bool ReplaceEnvironmentVariables(gcstring& buffer, bool replaceBlankBy20) {
  bool allSet = true;
  gcstring out;
  out.reserve(buffer.size());
  size_t pos = 0;
  while (pos < buffer.size()) {
    const size_t open = buffer.find("$(", pos);
    if (open == gcstring::npos) {
      out.append(buffer, pos, gcstring::npos);
      break;
    }
    const size_t close = buffer.find(')', open + 2);
    if (close == gcstring::npos) {
      out.append(buffer, pos, gcstring::npos);
      break;
    }
    out.append(buffer, pos, open - pos);
    gcstring value;
    if (!Vorla::Platform::GetEnv(buffer.substr(open + 2, close - open - 2), value))
      allSet = false;
    out += value;
    pos = close + 1;
  }
  if (replaceBlankBy20) {
    gcstring escaped;
    for (char c : out)
      escaped += (c == ' ') ? gcstring("%20") : gcstring(1, c);
    out.swap(escaped);
  }
  buffer.swap(out);
  return allSet;
}

} // namespace GenICam
