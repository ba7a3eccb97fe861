// Writing and reading the UESC, UNCR and UPAREN forms, every read bounded by the text's end.
#include "vyk/util/UnicodeEscapes.h"

#include <cstdio>
#include <cstring>

namespace vyk {

namespace {

typedef unsigned short Unit;
typedef int (*Step)(Unit const*&, Unit const*, IntrusivePointer<UnicodeConverter>, char*&, char const*);

constexpr Unit kBackslash = 0x5C;
constexpr Unit kAmpersand = 0x26;
constexpr Unit kHash = 0x23;
constexpr int kUescBytes = 6;
constexpr int kUncrBytes = 8;
constexpr int kParenBytes = 7;
// Room for the encoding of one converted unit; only its first byte is kept. Larger than any
// strategy text, so a text form of an unmappable unit does not overflow it.
constexpr unsigned long kUnitBuffer = 16;

bool isPlain(Unit u) {
  return (u >= '0' && u <= '9') || u == 0x20 || ((u & 0xFFDF) >= 0x41 && (u & 0xFFDF) <= 0x5A);
}

bool isU(Unit u) {
  return u == 'u' || u == 'U';
}

// The first byte of the unit in the converter's encoding; false when the encoding wrote nothing
// (an unmappable unit under the skip strategy).
bool firstByte(UnicodeConverter& converter, Unit unit, char& byte) {
  char buffer[kUnitBuffer];
  if (converter.fromUnicode(unit, buffer, kUnitBuffer) == 0) return false;
  byte = buffer[0];
  return true;
}

// Letters u or U in a row from p, never past end.
long countU(Unit const* p, Unit const* end) {
  long n = 0;
  while (p + n < end && isU(p[n])) ++n;
  return n;
}

// The loop of the whole-text forms: plain units as their first byte, the others through the step,
// until the text or the target is used up or the step cannot go on.
int wholeText(std::basic_string<Unit> const& text, IntrusivePointer<UnicodeConverter> const& converter,
              char* target, int targetLen, Step step) {
  if (targetLen <= 0) return 0;
  Unit const* s = text.data();
  Unit const* const end = s + text.size();
  char* t = target;
  char const* const tEnd = target + targetLen;
  while (s != end) {
    if (t == tEnd) return targetLen;
    if (isPlain(*s)) {
      char byte;
      if (firstByte(*converter, *s, byte)) *t++ = byte;
      ++s;
      continue;
    }
    if (step(s, end, converter, t, tEnd) == -1) break;
  }
  return static_cast<int>(t - target);
}

int writeAscii(char const* form, int length, char*& target) {
  std::memcpy(target, form, static_cast<size_t>(length));
  target += length;
  return length;
}

}  // namespace

// ---- UESC --------------------------------------------------------------------------------------------

int generateUESCencoding(Unit const*& source, Unit const* sourceEnd,
                         IntrusivePointer<UnicodeConverter> converter, char*& target, char const* targetEnd) {
  Unit const* s = source;
  long room = targetEnd - target;
  if (sourceEnd - s >= 2 && s[0] == kBackslash && isU(s[1])) {
    // Text that looks like an escape gets one more u, so that parsing gives it back. That works only
    // for a whole escape whose 4 units are ASCII (each is written as one byte); anything else has its
    // backslash escaped on its own below, which also gives it back.
    long n = countU(s + 1, sourceEnd);
    if (sourceEnd - s >= n + 5) {
      Unit const* digits = s + 1 + n;
      bool ascii = digits[0] < 0x80 && digits[1] < 0x80 && digits[2] < 0x80 && digits[3] < 0x80;
      if (ascii) {
        if (room < n + 6) return -1;
        char bytes[4];
        int count = 0;
        for (int i = 0; i < 4; ++i) {
          if (firstByte(*converter, digits[i], bytes[count])) ++count;
        }
        // One u more in front; the letters that were there keep their case.
        char* t = target;
        *t++ = '\\';
        *t++ = 'u';
        for (long i = 1; i <= n; ++i) *t++ = static_cast<char>(s[i]);
        std::memcpy(t, bytes, static_cast<size_t>(count));
        t += count;
        int written = static_cast<int>(t - target);
        target = t;
        source = digits + 4;
        return written;
      }
    }
  }
  if (room < kUescBytes) return -1;
  char form[kUescBytes + 1];
  std::snprintf(form, sizeof form, "\\u%04X", static_cast<unsigned int>(*s));
  ++source;
  return writeAscii(form, kUescBytes, target);
}

int parseUESCencoding(Unit const*& source, Unit const* sourceEnd,
                      IntrusivePointer<UnicodeConverter> converter, char*& target, char const* targetEnd) {
  Unit const* s = source;
  if (sourceEnd - s < 2 || s[0] != kBackslash || !isU(s[1])) return -1;
  long room = targetEnd - target;
  if (sourceEnd - s >= 3 && isU(s[2])) {
    // An escaped escape: a backslash, one letter u fewer, and the 4 units as they stand.
    long n = countU(s + 1, sourceEnd);
    if (sourceEnd - s < n + 5 || room < n + 4) return -1;
    Unit const* digits = s + 1 + n;
    for (int i = 0; i < 4; ++i) {
      if (digits[i] > 0xFF) return -1;
    }
    char* t = target;
    char byte;
    if (firstByte(*converter, kBackslash, byte)) *t++ = byte;
    for (long i = 2; i <= n; ++i) {  // all letters but the first, as they stand
      if (firstByte(*converter, s[i], byte)) *t++ = byte;
    }
    for (int i = 0; i < 4; ++i) {
      if (firstByte(*converter, digits[i], byte)) *t++ = byte;
    }
    int written = static_cast<int>(t - target);
    target = t;
    source = digits + 4;
    return written;
  }
  if (sourceEnd - s < kUescBytes) return -1;
  char digits[5] = {0, 0, 0, 0, 0};
  for (int i = 0; i < 4; ++i) {
    if (s[2 + i] > 0xFF) return -1;
  }
  for (int i = 0; i < 4; ++i) {
    if (!firstByte(*converter, s[2 + i], digits[i])) digits[i] = '\0';
  }
  source = s + kUescBytes;
  unsigned int value = 0;
  if (std::sscanf(digits, "%x", &value) != 1) return 0;
  unsigned long written =
      converter->fromUnicode(static_cast<Unit>(value & 0xFFFF), target, static_cast<unsigned long>(room));
  target += written;
  return static_cast<int>(written);
}

int generateUESC(std::basic_string<Unit> const& text, IntrusivePointer<UnicodeConverter> converter,
                 char* target, int targetLen) {
  return wholeText(text, converter, target, targetLen, generateUESCencoding);
}

int parseUESC(std::basic_string<Unit> const& text, IntrusivePointer<UnicodeConverter> converter, char* target,
              int targetLen) {
  return wholeText(text, converter, target, targetLen, parseUESCencoding);
}

// ---- UNCR --------------------------------------------------------------------------------------------

int generateUNCRencoding(Unit const*& source, Unit const*, IntrusivePointer<UnicodeConverter>, char*& target,
                         char const* targetEnd) {
  if (targetEnd - target < kUncrBytes) return -1;
  char form[kUncrBytes + 1];
  std::snprintf(form, sizeof form, "&#%05u;", static_cast<unsigned int>(*source));
  ++source;
  return writeAscii(form, kUncrBytes, target);
}

int parseUNCRencoding(Unit const*& source, Unit const* sourceEnd,
                      IntrusivePointer<UnicodeConverter> converter, char*& target, char const* targetEnd) {
  Unit const* s = source;
  if (target >= targetEnd) return -1;
  if (sourceEnd - s < 2 || s[0] != kAmpersand || s[1] != kHash || sourceEnd - s < 5) return -1;
  // Up to 6 units, never past the end: a form cut off by the end of the text reads what is there.
  Unit const* p = s + 2;
  char bytes[7] = {0, 0, 0, 0, 0, 0, 0};
  int count = 0;
  while (count < 6 && p < sourceEnd) {
    if (*p > 0xFF) {
      source = p + 1;
      return 0;
    }
    char byte;
    if (!firstByte(*converter, *p, byte)) byte = '\0';
    bytes[count++] = byte;
    if (byte == ';') {
      ++p;
      break;
    }
    if (count < 6) ++p;  // after six units without ";" the source stands on the sixth
  }
  source = p;
  int value = 0;
  if (std::sscanf(bytes, "%d", &value) != 1) {
    *target++ = bytes[count - 1];
    return 1;
  }
  char byte;
  if (!firstByte(*converter, static_cast<Unit>(static_cast<unsigned int>(value) & 0xFFFF), byte)) return 0;
  *target++ = byte;
  return 1;
}

int generateUNCR(std::basic_string<Unit> const& text, IntrusivePointer<UnicodeConverter> converter,
                 char* target, int targetLen) {
  return wholeText(text, converter, target, targetLen, generateUNCRencoding);
}

int parseUNCR(std::basic_string<Unit> const& text, IntrusivePointer<UnicodeConverter> converter, char* target,
              int targetLen) {
  return wholeText(text, converter, target, targetLen, parseUNCRencoding);
}

// ---- UPAREN ------------------------------------------------------------------------------------------

int generateUPAREN(std::basic_string<Unit> const& text, IntrusivePointer<UnicodeConverter>, char* target,
                   int targetLen) {
  if (text.empty() || targetLen < kParenBytes) return 0;
  bool separate = 8ULL * text.size() < static_cast<unsigned long long>(targetLen);
  char* t = target;
  char const* const tEnd = target + targetLen;
  for (Unit unit : text) {
    if (tEnd - t < kParenBytes) break;
    char form[kParenBytes + 1];
    std::snprintf(form, sizeof form, "<u%04X>", static_cast<unsigned int>(unit));
    writeAscii(form, kParenBytes, t);
    if (separate && t != tEnd) *t++ = ' ';
  }
  return static_cast<int>(t - target);
}

int parseUPAREN(std::basic_string<Unit> const& text, IntrusivePointer<UnicodeConverter> converter,
                char* target, int targetLen) {
  std::string bytes = converter->fromUnicode(text);
  std::size_t i = 0;
  int written = 0;
  while (written < targetLen) {
    while (i < bytes.size() && bytes[i] == ' ') ++i;
    if (bytes.size() - i < static_cast<std::size_t>(kParenBytes)) break;
    char form[kParenBytes + 1];
    std::memcpy(form, bytes.data() + i, kParenBytes);
    form[kParenBytes] = '\0';
    unsigned int value = 0;
    if (std::sscanf(form, "<u%04X>", &value) != 1) break;
    i += kParenBytes;
    char byte;
    if (firstByte(*converter, static_cast<Unit>(value & 0xFFFF), byte)) target[written++] = byte;
  }
  return written;
}

// ---- Lengths and fixed texts -------------------------------------------------------------------------

int uescLength(Unit const* p) {
  int n = 0;
  while (isU(p[n])) ++n;
  return n + 4;
}

int uncrLength(Unit const* p) {
  int n = 0;
  while (p[n] == kHash) ++n;
  return n + 6;
}

namespace {
template <Unit U>
Unit const* oneUnitText() {
  static Unit const text[2] = {U, 0};
  return text;
}
}  // namespace

Unit const* backslashUniCharStar() {
  return oneUnitText<0x005C>();
}
Unit const* rbraceUniCharStar() {
  return oneUnitText<0x007D>();
}
Unit const* lbraceUniCharStar() {
  return oneUnitText<0x007B>();
}
Unit const* rbracketUniCharStar() {
  return oneUnitText<0x005D>();
}
Unit const* lbracketUniCharStar() {
  return oneUnitText<0x005B>();
}
Unit const* hatUniCharStar() {
  return oneUnitText<0x005E>();
}
Unit const* tildeUniCharStar() {
  return oneUnitText<0x007E>();
}
Unit const* exclamationUniCharStar() {
  return oneUnitText<0x0021>();
}
Unit const* hashUniCharStar() {
  return oneUnitText<0x0023>();
}
Unit const* barUniCharStar() {
  return oneUnitText<0x007C>();
}
Unit const* dollarUniCharStar() {
  return oneUnitText<0x0024>();
}
Unit const* atUniCharStar() {
  return oneUnitText<0x0040>();
}
Unit const* euroUniCharStar() {
  return oneUnitText<0x20AC>();
}
Unit const* halfWidthYenUniCharStar() {
  return oneUnitText<0x00A5>();
}
Unit const* fullWidthYenUniCharStar() {
  return oneUnitText<0xFFE5>();
}
Unit const* poundUniCharStar() {
  return oneUnitText<0x00A3>();
}
Unit const* bitcoinUniCharStar() {
  return oneUnitText<0x20BF>();
}
Unit const* leftSquareBracketUniCharStar() {
  return oneUnitText<0x005B>();
}
Unit const* rightSquareBracketUniCharStar() {
  return oneUnitText<0x005D>();
}

}  // namespace vyk
