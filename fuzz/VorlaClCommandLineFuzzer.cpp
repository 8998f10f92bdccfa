// vorla-cl's command line: the words (split at NUL bytes) are parsed as the tool does. The parse
// ends at once, in a command or in a usage error (exit status 2); no word is read as a format.
#include "CommandLine.h"
#include "ToolError.h"

#include <cstdint>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<std::string> words{"vorla-cl"};
  words.emplace_back();
  for (size_t i = 0; i < size; ++i) {
    if (data[i] == 0)
      words.emplace_back();
    else
      words.back() += static_cast<char>(data[i]);
  }
  std::vector<const char*> argv;
  for (const std::string& word : words)
    argv.push_back(word.c_str());
  try {
    VorlaCl::CCommandLine line(static_cast<int>(argv.size()), argv.data());
  } catch (const VorlaCl::CToolError& e) {
    if (e.Status() != VorlaCl::ExitUsage)
      __builtin_trap();
  }
  return 0;
}
