#pragma once
// Nearest names for a name the user mistyped.
#include <string>
#include <vector>

namespace VorlaCl {

//! Ranks known names by their edit distance to a wanted one.
class CNameSuggester {
public:
  explicit CNameSuggester(std::vector<std::string> names) : m_Names(std::move(names)) {}

  //! Up to `limit` names close enough to `wanted` to be a plausible typo, nearest first (ties in
  //! name order). Case differences count half, so "width" suggests "Width" before "Widths".
  std::vector<std::string> Suggest(const std::string& wanted, size_t limit = 3) const;
  //! "; did you mean A, B or C?" or an empty text when nothing is close.
  std::string DidYouMean(const std::string& wanted) const;

  //! Edit distance in half steps: a substitution that only changes case costs 1; any other
  //! substitution, an insertion, a deletion or a swap of two neighbours costs 2.
  static size_t Distance(const std::string& a, const std::string& b);

private:
  std::vector<std::string> m_Names;
};

} // namespace VorlaCl
