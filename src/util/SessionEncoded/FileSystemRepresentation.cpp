// The file system's form of UTF-8 on systems whose file names are plain bytes: validated UTF-8.
#include "FileSystemRepresentation.h"

#include <cstring>

namespace vyk {
namespace detail {

namespace {

inline bool inRange(unsigned char b, unsigned char low, unsigned char high) {
  return b >= low && b <= high;
}

// Length of the well-formed UTF-8 sequence at s[i..n), or 0 when there is none (Unicode's table of
// well-formed byte sequences: no overlong forms, no surrogates, nothing above U+10FFFF).
unsigned long sequenceLength(unsigned char const* s, unsigned long n, unsigned long i) {
  unsigned char b0 = s[i];
  unsigned long left = n - i;
  if (b0 < 0x80) return 1;
  if (inRange(b0, 0xC2, 0xDF)) return left >= 2 && inRange(s[i + 1], 0x80, 0xBF) ? 2 : 0;
  if (inRange(b0, 0xE0, 0xEF)) {
    unsigned char low = b0 == 0xE0 ? 0xA0 : 0x80;
    unsigned char high = b0 == 0xED ? 0x9F : 0xBF;
    return left >= 3 && inRange(s[i + 1], low, high) && inRange(s[i + 2], 0x80, 0xBF) ? 3 : 0;
  }
  if (inRange(b0, 0xF0, 0xF4)) {
    unsigned char low = b0 == 0xF0 ? 0x90 : 0x80;
    unsigned char high = b0 == 0xF4 ? 0x8F : 0xBF;
    return left >= 4 && inRange(s[i + 1], low, high) && inRange(s[i + 2], 0x80, 0xBF) &&
                   inRange(s[i + 3], 0x80, 0xBF)
               ? 4
               : 0;
  }
  return 0;
}

}  // namespace

unsigned long maximumSizeOfFileSystemRepresentation(unsigned long utf8Length) {
  return utf8Length + 1;
}

bool getFileSystemRepresentation(char const* utf8, unsigned long length, char* buffer, unsigned long size) {
  if (size == 0 || length > size - 1) return false;
  unsigned char const* bytes = reinterpret_cast<unsigned char const*>(utf8);
  for (unsigned long i = 0; i < length;) {
    unsigned long step = sequenceLength(bytes, length, i);
    if (step == 0) return false;
    i += step;
  }
  std::memcpy(buffer, utf8, length);
  buffer[length] = '\0';
  return true;
}

}  // namespace detail
}  // namespace vyk
