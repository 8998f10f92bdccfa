#pragma once
// Documents that try to reach outside themselves or to grow without bound, the same for every
// XML reader of the host: each reader wraps `text` into one element of its own document after
// `doctype`, and must refuse it with `refusal`, naming the document.
#include <sys/stat.h>

#include <string>
#include <vector>

namespace testsupport {

struct SHostileXml {
  const char* what;
  std::string doctype;
  std::string text;
  std::string refusal;
};

//! The tricks, with a local file and a FIFO (never opened by a writer) in `folder`;
//! `elementText` is the reader's bound of an element's text.
inline std::vector<SHostileXml> HostileXml(const std::string& folder, size_t elementText) {
  const std::string secret = folder + "/secret.txt", fifo = folder + "/fifo";
  ::mkfifo(fifo.c_str(), 0600);
  std::string laughs = "<!ENTITY l0 \"lol\">"; // 10^9 times "lol" for &l9;
  for (int level = 1; level <= 9; ++level) {
    laughs += "<!ENTITY l" + std::to_string(level) + " \"";
    for (int i = 0; i < 10; ++i)
      laughs += "&l" + std::to_string(level - 1) + ";";
    laughs += "\">";
  }
  const std::string declares = "its DOCTYPE declares the entity '";
  return {
      {"a local file", "<!DOCTYPE R [<!ENTITY x SYSTEM \"file://" + secret + "\">]>", "&x;",
       declares + "x'"},
      {"a FIFO", "<!DOCTYPE R [<!ENTITY x SYSTEM \"" + fifo + "\">]>", "&x;", declares + "x'"},
      {"an http: entity", "<!DOCTYPE R [<!ENTITY x SYSTEM \"http://127.0.0.1:9/x\">]>", "&x;",
       declares + "x'"},
      {"a parameter entity", "<!DOCTYPE R [<!ENTITY % p SYSTEM \"" + secret + "\"> %p;]>", "t",
       declares},
      {"nested expansion", "<!DOCTYPE R [" + laughs + "]>", "&l9;", declares + "l0'"},
      {"an endless text", "", std::string(elementText + 1, 'x'),
       "the text of an element is longer than " + std::to_string(elementText) + " characters"},
  };
}

} // namespace testsupport
