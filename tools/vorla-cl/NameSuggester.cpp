#include "NameSuggester.h"

#include <algorithm>
#include <cctype>

namespace VorlaCl {

size_t CNameSuggester::Distance(const std::string& a, const std::string& b) {
  const auto same = [](char x, char y) {
    return std::tolower(static_cast<unsigned char>(x)) ==
           std::tolower(static_cast<unsigned char>(y));
  };
  // The optimal-string-alignment table, in half steps.
  std::vector<std::vector<size_t>> d(a.size() + 1, std::vector<size_t>(b.size() + 1));
  for (size_t i = 0; i <= a.size(); ++i)
    d[i][0] = i * 2;
  for (size_t j = 0; j <= b.size(); ++j)
    d[0][j] = j * 2;
  for (size_t i = 1; i <= a.size(); ++i)
    for (size_t j = 1; j <= b.size(); ++j) {
      const char x = a[i - 1], y = b[j - 1];
      const size_t substitution = x == y ? 0 : same(x, y) ? 1 : 2;
      d[i][j] = std::min({d[i - 1][j] + 2, d[i][j - 1] + 2, d[i - 1][j - 1] + substitution});
      if (i > 1 && j > 1 && same(x, b[j - 2]) && same(a[i - 2], y))
        d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 2); // two neighbours swapped
    }
  return d[a.size()][b.size()];
}

std::vector<std::string> CNameSuggester::Suggest(const std::string& wanted, size_t limit) const {
  // A third of the name may be wrong, at least one edit (two half steps), at most four.
  const size_t allowed = std::min<size_t>(8, std::max<size_t>(2, wanted.size() * 2 / 3));
  std::vector<std::pair<size_t, std::string>> ranked;
  for (const std::string& name : m_Names) {
    const size_t d = Distance(wanted, name);
    if (d <= allowed)
      ranked.emplace_back(d, name);
  }
  std::sort(ranked.begin(), ranked.end());
  ranked.erase(std::unique(ranked.begin(), ranked.end()), ranked.end());
  std::vector<std::string> names;
  for (size_t i = 0; i < ranked.size() && i < limit; ++i)
    names.push_back(ranked[i].second);
  return names;
}

std::string CNameSuggester::DidYouMean(const std::string& wanted) const {
  const std::vector<std::string> names = Suggest(wanted);
  if (names.empty())
    return "";
  std::string text = "; did you mean ";
  for (size_t i = 0; i < names.size(); ++i)
    text += (i == 0 ? "" : i + 1 == names.size() ? " or " : ", ") + names[i];
  return text + "?";
}

} // namespace VorlaCl
