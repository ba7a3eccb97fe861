// A phonetic code of a name: its first letter and the digits of the sounds that follow.
#ifndef VYK_UTIL_SOUNDEX_H
#define VYK_UTIL_SOUNDEX_H

#include <string>

#include "vyk/util/Export.h"
#include "vyk/util/StringView.h"

namespace vyk {

// The code is the first letter, in upper case by the session table, then one digit per change of
// sound: B F P V 1; C G J K Q S X Z 2; D T 3; L 4; M N 5; R 6. A E H I O U W Y write nothing but
// part equal digits; any other byte writes nothing and parts them too. The first letter's own
// sound suppresses an equal digit after it. No padding, no cut: Robert is "R163", Lee is "L",
// Ashcraft "A22613". Leading blanks, digits and punctuation before the first letter are skipped; a
// text without a letter gives an empty code. Stateless and safe from any thread.
class VYK_EXPORT Soundex {
 public:
  static std::string soundex(StringView const& text);
  // Writes at most outLen bytes of the code to out, without a terminator, and returns the length of
  // the whole code; with outLen 0 it only counts. Negative lengths count as 0.
  static int soundex(char const* text, int textLen, char* out, int outLen);
  // True when the two codes are equal; an empty code equals an empty code. Case plays no part.
  static bool soundslike(char const* a, int aLen, char const* b, int bLen);
};

}  // namespace vyk

#endif
