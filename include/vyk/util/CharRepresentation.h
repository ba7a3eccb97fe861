// Constant tables for digit and letter arithmetic in ASCII and EBCDIC, independent of the session.
#ifndef VYK_UTIL_CHARREPRESENTATION_H
#define VYK_UTIL_CHARREPRESENTATION_H

#include "vyk/util/Export.h"

namespace vyk {

struct VYK_EXPORT CharRepresentation {
  // Base-36 value of each byte ('0'..'9' are 0..9, letters of both cases 10..35), 0xFF otherwise.
  static unsigned char const ASCII_ALPHANUMERIC_TABLE[256];
  // The same for EBCDIC bytes.
  static unsigned char const EBCDIC_ALPHANUMERIC_TABLE[256];
  // EBCDIC 'a'..'z' and 'A'..'Z'.
  static unsigned char const EBCDIC_LOWER_CHARS[26];
  static unsigned char const EBCDIC_UPPER_CHARS[26];
};

}  // namespace vyk

#endif
