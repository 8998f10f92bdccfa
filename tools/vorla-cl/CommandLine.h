#pragma once
// The command line of vorla-cl: global options, a verb and the verb's own options.
#include <cstdint>
#include <string>
#include <vector>

namespace VorlaCl {

//! Parses with Boost.Program_options. Global options may stand anywhere; the first word that is
//! not an option is the verb, and what follows it is checked against that verb's options.
class CCommandLine {
public:
  //! Throws a CToolError with ExitUsage for anything that is not valid usage.
  CCommandLine(int argc, const char* const* argv);

  static const char* Usage();

  bool m_Help = false;
  std::string m_Log;    // --log filter, empty when not given
  std::string m_Camera; // -c/--camera
  bool m_First = false; // --first
  std::string m_Verb;

  bool m_Verbose = false;           // list -v, grab -v
  bool m_Json = false;              // --json of list, info, features, get, grab
  bool m_All = false;               // features --all
  std::vector<std::string> m_Names; // features NAME, get NAME..., set NAME=VALUE..., watch NAME
  std::string m_Output;             // xml -o, grab -o
  uint64_t m_Count = 10;            // grab -n, watch -n
  uint32_t m_Buffers = 8;           // grab --buffers
  uint32_t m_TimeoutMs = 5000;      // grab --timeout
  uint32_t m_IntervalMs = 1000;     // watch --interval

private:
  void ParseVerb(const std::vector<std::string>& words);
};

} // namespace VorlaCl
