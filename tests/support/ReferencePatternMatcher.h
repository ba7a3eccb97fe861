// A slow reference for the wildcard matcher, read straight from the rules, shared by the tests and
// the fuzz target.
#ifndef VYK_TESTS_SUPPORT_REFERENCEPATTERNMATCHER_H
#define VYK_TESTS_SUPPORT_REFERENCEPATTERNMATCHER_H

#include <cstddef>
#include <string>

namespace vyk {
namespace testing {

// The pattern syntax of one call of the matcher.
struct Syntax {
  char anyString, anyChar;
  bool useEscape;
  char escape;
};

// The rules as stated, one recursion per pattern step; exponential, so for short inputs only.
inline bool reference(std::string const& text, std::size_t t, std::string const& pattern, std::size_t p,
                      Syntax const& s) {
  if (p == pattern.size()) return t == text.size();
  char c = pattern[p];
  if (s.useEscape && c == s.escape) {
    if (p + 1 == pattern.size()) return t == text.size();
    return t < text.size() && text[t] == pattern[p + 1] && reference(text, t + 1, pattern, p + 2, s);
  }
  if (c == s.anyString) {
    while (p < pattern.size() && pattern[p] == s.anyString) ++p;
    if (p == pattern.size()) return true;
    if (t == text.size()) return false;
    for (std::size_t k = t; k < text.size(); ++k)  // longest suffix first, one byte kept at least
      if (reference(text, k, pattern, p, s)) return true;
    return false;
  }
  if (c == s.anyChar) return t < text.size() && reference(text, t + 1, pattern, p + 1, s);
  return t < text.size() && text[t] == c && reference(text, t + 1, pattern, p + 1, s);
}

}  // namespace testing
}  // namespace vyk

#endif
