#include "FormulaTestSupport.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

// Formulas as they appear in real camera descriptions, evaluated the way the engine will.
using namespace FormulaTest;

namespace {

// A sixteen-way Bayer-phase table from a vendor file, checked against the rule it encodes.
TEST(FormulaSamples, NestedTernaryDecisionTable) {
  const char* text =
      "((((L%2) = 0) &&((T%2) = 0) && (FILTER = 0))?0:( (((L%2) = 0) &&((T%2) = 1) && (FILTER = "
      "1))?0:( (((L%2) = 1) &&((T%2) = 0) && (FILTER = 2))?0:( (((L%2) = 1) &&((T%2) = 1) && "
      "(FILTER = 3))?0:( (((L%2) = 0) &&((T%2) = 0) && (FILTER = 1))?1:( (((L%2) = 0) &&((T%2) "
      "= 1) && (FILTER = 0))?1:( (((L%2) = 1) &&((T%2) = 0) && (FILTER = 3))?1:( (((L%2) = 1) "
      "&&((T%2) = 1) && (FILTER = 2))?1:( (((L%2) = 0) &&((T%2) = 0) && (FILTER = 2))?2:( "
      "(((L%2) = 0) &&((T%2) = 1) && (FILTER = 3))?2:( (((L%2) = 1) &&((T%2) = 0) && (FILTER = "
      "0))?2:( (((L%2) = 1) &&((T%2) = 1) && (FILTER = 1))?2:( (((L%2) = 0) &&((T%2) = 0) && "
      "(FILTER = 3))?3:( (((L%2) = 0) &&((T%2) = 1) && (FILTER = 2))?3:( (((L%2) = 1) &&((T%2) "
      "= 0) && (FILTER = 1))?3:( (((L%2) = 1) &&((T%2) = 1) && (FILTER = 0))?3:( 4 ) ) ) ) ) ) "
      ") ) ) ) ) ) ) ) ) ))";
  const CFormula formula(text);
  EXPECT_EQ(formula.Identifiers(), (std::vector<std::string>{"L", "T", "FILTER"}));
  for (int64_t l = 0; l < 4; ++l)
    for (int64_t t = 0; t < 4; ++t)
      for (int64_t filter = 0; filter < 6; ++filter) {
        const int64_t values[] = {l, t, filter};
        const int64_t expected = filter < 4 ? filter ^ (t & 1) ^ ((l & 1) << 1) : 4;
        EXPECT_EQ(formula.Evaluate([&](size_t id) { return I(values[id]); }, true).Int, expected)
            << l << " " << t << " " << filter;
      }
}

std::string DecodeXml(std::string text) {
  static const std::pair<const char*, const char*> entities[] = {
      {"&lt;", "<"}, {"&gt;", ">"}, {"&quot;", "\""}, {"&apos;", "'"}, {"&amp;", "&"}};
  for (const auto& [from, to] : entities)
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + 1))
      text.replace(at, std::char_traits<char>::length(from), to);
  return text;
}

// The texts of all <tag ...>text</tag> elements (no nesting inside formulas).
std::vector<std::string> ElementTexts(const std::string& xml, const std::string& tag) {
  std::vector<std::string> texts;
  const std::string open = "<" + tag, close = "</" + tag + ">";
  for (size_t at = xml.find(open); at != std::string::npos; at = xml.find(open, at + 1)) {
    const char next = xml[at + open.size()];
    if (next != '>' && next != ' ' && next != '\t' && next != '\n')
      continue; // <FormulaTo> when looking for <Formula>
    const size_t begin = xml.find('>', at) + 1;
    const size_t end = xml.find(close, begin);
    if (begin != 0 && end != std::string::npos)
      texts.push_back(DecodeXml(xml.substr(begin, end - begin)));
  }
  return texts;
}

// Every formula of the sample descriptions parses.
TEST(FormulaSamples, EveryFormulaOfTheSampleFilesParses) {
  const char* folder = std::getenv("GENAPI_SAMPLES");
  if (!folder)
    GTEST_SKIP() << "GENAPI_SAMPLES is not set";
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() != ".xml")
      continue;
    std::ifstream file(entry.path());
    std::stringstream content;
    content << file.rdbuf();
    for (const char* tag : {"Formula", "FormulaTo", "FormulaFrom", "Expression"})
      for (const std::string& text : ElementTexts(content.str(), tag)) {
        EXPECT_NO_THROW(CFormula{text}) << entry.path().filename() << ": " << text;
        ++count;
      }
  }
  EXPECT_GT(count, 20);
}

} // namespace
