// Hexadecimal digit pairs to bytes.
#include "vyk/util/HexString.h"

namespace vyk {

namespace {
// The value of a hexadecimal digit, or -1.
int digitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}
}  // namespace

std::string parseHexString(StringView const& text) {
  std::string bytes;
  bytes.reserve(text.length() / 2);
  unsigned long i = 0;
  unsigned long const n = text.length();
  while (i < n) {
    if (text[i] == ',') {
      ++i;
      continue;
    }
    if (i + 1 >= n) throw BadHexStringException();
    int high = digitValue(text[i]);
    int low = digitValue(text[i + 1]);
    if (high < 0 || low < 0) throw BadHexStringException();
    bytes.push_back(static_cast<char>(high << 4 | low));
    i += 2;
  }
  return bytes;
}

}  // namespace vyk
