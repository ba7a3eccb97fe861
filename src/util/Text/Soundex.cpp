// The phonetic code, produced one character at a time so that two codes compare without storage.
#include "vyk/util/Soundex.h"

#include <algorithm>

#include "vyk/util/CharacterTables.h"

namespace vyk {

namespace {

// Digits of the bytes 0x41 to 0x7A: both alphabets, and 9 for the six bytes between them.
char const kCodes[] = "0123012002245501262301020299999901230120022455012623010202";
unsigned char const kFirstCoded = 0x41;
unsigned char const kLastCoded = 0x7A;
int const kNotALetter = 9;

int codeOf(unsigned char byte) {
  if (byte < kFirstCoded || byte > kLastCoded) return kNotALetter;
  return kCodes[byte - kFirstCoded] - '0';
}

// Yields the characters of a text's code: the first letter, then the digits.
class CodeReader {
 public:
  CodeReader(char const* text, int length) : p_(text), end_(text + std::max(length, 0)) {}

  // The next character of the code, or -1 after the last.
  int next() {
    if (!started_) return first();
    while (p_ < end_) {
      int code = codeOf(static_cast<unsigned char>(*p_++));
      if (code == 0 || code == kNotALetter) {
        previous_ = code;
      } else if (code != previous_) {
        previous_ = code;
        return '0' + code;
      }
    }
    return -1;
  }

 private:
  int first() {
    started_ = true;
    while (p_ < end_ && *p_ == ' ') ++p_;
    while (p_ < end_) {
      unsigned char upper = sbcs::toUpper(*p_++);
      int code = codeOf(upper);
      if (code != kNotALetter) {
        previous_ = code;
        return upper;
      }
    }
    return -1;
  }

  char const* p_;
  char const* end_;
  bool started_ = false;
  int previous_ = kNotALetter;
};

}  // namespace

int Soundex::soundex(char const* text, int textLen, char* out, int outLen) {
  CodeReader reader(text, textLen);
  int length = 0;
  for (int c = reader.next(); c >= 0; c = reader.next()) {
    if (length < outLen) out[length] = static_cast<char>(c);
    ++length;
  }
  return length;
}

std::string Soundex::soundex(StringView const& text) {
  std::string code;
  CodeReader reader(text.data(), static_cast<int>(std::min<unsigned long>(text.length(), 0x7FFFFFFF)));
  for (int c = reader.next(); c >= 0; c = reader.next()) code.push_back(static_cast<char>(c));
  return code;
}

bool Soundex::soundslike(char const* a, int aLen, char const* b, int bLen) {
  CodeReader left(a, aLen);
  CodeReader right(b, bLen);
  for (;;) {
    int x = left.next();
    int y = right.next();
    if (x != y) return false;
    if (x < 0) return true;
  }
}

}  // namespace vyk
