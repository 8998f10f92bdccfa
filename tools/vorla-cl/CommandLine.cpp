#include "CommandLine.h"

#include "NameSuggester.h"
#include "ToolError.h"

#include <boost/algorithm/string/replace.hpp>
#include <boost/program_options.hpp>

#include <algorithm>
#include <cstdint>
#include <map>

namespace VorlaCl {
namespace po = boost::program_options;
namespace {

const std::vector<std::string> kVerbs = {"tls", "list", "info",  "features", "get",
                                         "set", "xml",  "watch", "grab"};

struct SArity {
  size_t min, max;
};

SArity ArityOf(const std::string& verb) {
  if (verb == "get" || verb == "set")
    return {1, SIZE_MAX};
  if (verb == "features" || verb == "watch")
    return {0, 1};
  return {0, 0};
}

// Boost.Program_options fills the placeholders of its error templates ("%value%") again and
// again until none is left, so a value that itself reads "%value%" never ends. The text is built
// here in one pass instead: what came from the command line is inserted, never read as template.
struct SUsageErrorText : po::error_with_option_name {
  static std::string Of(const po::error& error) {
    const auto* named = dynamic_cast<const po::error_with_option_name*>(&error);
    if (!named)
      return error.what();
    std::map<std::string, std::string> values = named->*(&SUsageErrorText::m_substitutions);
    values["canonical_option"] = named->get_option_name();
    values["prefix"] = (named->*(&SUsageErrorText::get_canonical_option_prefix))();
    std::string text = named->m_error_template;
    for (const auto& [name, fallback] : named->*(&SUsageErrorText::m_substitution_defaults))
      if (values[name].empty())
        boost::algorithm::replace_all(text, fallback.first, fallback.second);
    std::string out;
    for (size_t i = 0; i < text.size();) {
      const size_t close = text[i] == '%' ? text.find('%', i + 1) : std::string::npos;
      const auto value = close == std::string::npos
                             ? values.end()
                             : values.find(text.substr(i + 1, close - i - 1));
      if (value == values.end()) {
        out += text[i++];
      } else {
        out += value->second;
        i = close + 1;
      }
    }
    return out;
  }
};

} // namespace

const char* CCommandLine::Usage() {
  return "usage: vorla-cl [options] <command> [command options]\n"
         "commands:\n"
         "  tls                     list the transport layers the host finds\n"
         "  list [-v]               list the cameras (with -v their whole record)\n"
         "  info                    open the camera and show what it says of itself\n"
         "  features [NAME] [--all] the feature tree (type, access mode, value) below NAME;\n"
         "                          a single feature with its details; --all shows invisible ones\n"
         "  get NAME...             read features\n"
         "  set NAME=VALUE...       write features (enumerations by symbol; NAME alone executes\n"
         "                          a command) and show the value read back\n"
         "  xml [-o FILE]           save the description the camera carries (standard output\n"
         "                          without -o)\n"
         "  watch [NAME] [--interval MS] [-n N]\n"
         "                          read a feature every second until the camera goes away\n"
         "  grab [-n N] [-o PATTERN] [--buffers K] [--timeout MS] [-v]\n"
         "                          grab N images (-v: a line per frame with its number,\n"
         "                          time stamp and status)\n"
         "  list, info, features, get and grab take --json: one JSON document instead of text\n"
         "options:\n"
         "  -c, --camera CAMERA     the camera: index in 'list', serial number, full name,\n"
         "                          friendly name, or a record Key=Value[,Key=Value] that the\n"
         "                          transport layer looks up (default: the first camera)\n"
         "  --first                 with a record: take the first match instead of failing on\n"
         "                          several; alone: the transport layer's first camera\n"
         "  --log LEVEL             show the log from LEVEL on (16, 32, 64, 128, 256) on\n"
         "                          standard error, or filters as in VORLA_LOG\n"
         "  -h, --help              this text\n"
         "exit status: 0 success, 1 failure (one line on standard error says why), 2 bad usage,\n"
         "  130/143 ended by SIGINT/SIGTERM (grab and watch first clean up; a second signal ends\n"
         "  at once)\n"
         "environment: VORLA_LOG (as --log), VORLA_DESCRIPTION_CACHE (the description cache's\n"
         "  folder, or 'off')\n";
}

CCommandLine::CCommandLine(int argc, const char* const* argv) {
  po::options_description global;
  global.add_options()("help,h", po::bool_switch(&m_Help))("log", po::value(&m_Log))(
      "camera,c", po::value(&m_Camera))("first", po::bool_switch(&m_First))(
      "verb", po::value(&m_Verb))("words", po::value<std::vector<std::string>>());
  po::positional_options_description positional;
  positional.add("verb", 1).add("words", -1);
  std::vector<std::string> rest;
  try {
    const po::parsed_options parsed = po::command_line_parser(argc, argv)
                                          .options(global)
                                          .positional(positional)
                                          .allow_unregistered()
                                          .run();
    po::variables_map values;
    po::store(parsed, values);
    po::notify(values);
    // The verb's words and options, in their order; the verb itself comes first.
    rest = po::collect_unrecognized(parsed.options, po::include_positional);
  } catch (const po::error& e) {
    throw CToolError(ExitUsage, SUsageErrorText::Of(e));
  }
  if (m_Help)
    return;
  if (m_Verb.empty())
    throw CToolError(ExitUsage, "no command given");
  if (std::find(kVerbs.begin(), kVerbs.end(), m_Verb) == kVerbs.end())
    throw CToolError(ExitUsage, "unknown command '" + m_Verb + "'" +
                                    CNameSuggester(kVerbs).DidYouMean(m_Verb));
  if (!rest.empty() && rest.front() == m_Verb)
    rest.erase(rest.begin());
  ParseVerb(rest);
}

void CCommandLine::ParseVerb(const std::vector<std::string>& words) {
  po::options_description options;
  options.add_options()("name", po::value(&m_Names));
  if (m_Verb == "list" || m_Verb == "grab")
    options.add_options()("verbose,v", po::bool_switch(&m_Verbose));
  if (m_Verb == "list" || m_Verb == "info" || m_Verb == "features" || m_Verb == "get" ||
      m_Verb == "grab")
    options.add_options()("json", po::bool_switch(&m_Json));
  if (m_Verb == "features")
    options.add_options()("all", po::bool_switch(&m_All));
  else if (m_Verb == "xml")
    options.add_options()("output,o", po::value(&m_Output));
  else if (m_Verb == "watch")
    options.add_options()("interval", po::value(&m_IntervalMs))("count,n", po::value(&m_Count));
  else if (m_Verb == "grab")
    options.add_options()("count,n", po::value(&m_Count))("output,o", po::value(&m_Output))(
        "buffers", po::value(&m_Buffers))("timeout", po::value(&m_TimeoutMs));
  if (m_Verb == "watch")
    m_Count = 0; // until the camera goes away
  po::positional_options_description positional;
  positional.add("name", -1);
  try {
    po::variables_map values;
    po::store(po::command_line_parser(words).options(options).positional(positional).run(), values);
    po::notify(values);
  } catch (const po::error& e) {
    throw CToolError(ExitUsage, m_Verb + ": " + SUsageErrorText::Of(e));
  }
  const SArity arity = ArityOf(m_Verb);
  if (m_Names.size() < arity.min)
    throw CToolError(ExitUsage, m_Verb + " needs a feature name");
  if (m_Names.size() > arity.max)
    throw CToolError(ExitUsage, m_Verb + ": unexpected '" + m_Names[arity.max] + "'");
  if (m_Verb == "grab" && (m_Count == 0 || m_Buffers == 0))
    throw CToolError(ExitUsage, "grab: -n and --buffers must be at least 1");
  if (m_Verb == "watch" && m_IntervalMs == 0)
    throw CToolError(ExitUsage, "watch: --interval must be at least 1 ms");
}

} // namespace VorlaCl
