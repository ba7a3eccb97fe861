// Whole-text wildcard matching with a caller's choice of wildcard and escape bytes.
#ifndef VYK_UTIL_SIMPLEPATTERNMATCHER_H
#define VYK_UTIL_SIMPLEPATTERNMATCHER_H

#include <string>

#include "vyk/util/Export.h"

namespace vyk {

// Matches the whole text against the whole pattern, byte for byte, without case folding:
// anyString stands for any run of bytes, anyChar for one byte, and with useEscape the escape byte
// makes the next pattern byte literal. A pattern byte is read as escape first, then anyString,
// then anyChar, then literal. Rules on the edges:
//  - an empty pattern matches only an empty text; consecutive anyString bytes count as one;
//  - an escape as the last pattern byte ends the pattern (the text must be used up there), and an
//    anyString that is followed only by such an escape matches nothing;
//  - anyString before anything else needs at least one byte of text left for that rest, so that
//    "%_" matches no empty text while "%" alone matches every text.
// Time at worst text length times pattern length, no allocation, no state: safe from any thread.
//
//   SimplePatternMatcher::matchesPattern("axxb", "a%b", '%', '_', false, 0);   // true
class VYK_EXPORT SimplePatternMatcher {
 public:
  static bool matchesPattern(char const* text, unsigned long textLen, char const* pattern,
                             unsigned long patternLen, char anyString, char anyChar, bool useEscape,
                             char escape);
  static bool matchesPattern(std::string const& text, std::string const& pattern, char anyString,
                             char anyChar, bool useEscape, char escape);
};

}  // namespace vyk

#endif
