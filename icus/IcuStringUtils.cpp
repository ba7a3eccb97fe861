// The multi-byte session string operations on ICU: UTF-8 text, case folding by code point.
//
// The session text is read as UTF-8. Comparison, search and hashing work on the full case folding
// of each code point (U_FOLD_CASE_DEFAULT: "ß" folds to "ss", final sigma to sigma, U+0130 to
// "i" + U+0307, while the dotless U+0131 stays itself). A byte that does not begin a well-formed
// UTF-8 sequence counts as a character of its own, distinct from every code point and from every
// other such byte, so that malformed text is still compared, searched and hashed without loss.
#include <unicode/ucasemap.h>
#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "vyk/util/StringUtilsSessionEncoded.h"

namespace vyk {
namespace icus {

namespace {

using session_encoded::StringUtilsSessionEncodedImpl;

// Units above the last code point stand for single malformed bytes: kMalformed + byte.
constexpr std::uint32_t kMalformed = 0x110000;
constexpr std::int64_t kEnd = -1;
constexpr unsigned long kNpos = std::string::npos;

inline bool isContinuation(unsigned char b, unsigned char low = 0x80, unsigned char high = 0xBF) {
  return b >= low && b <= high;
}

// The unit at s[i] (i < n) and its length in bytes; strict UTF-8 (no overlong forms, surrogates or
// values above U+10FFFF). A malformed byte is a unit of length 1.
std::uint32_t decode(unsigned char const* s, unsigned long n, unsigned long i, unsigned long& length) {
  unsigned char b0 = s[i];
  unsigned long left = n - i;
  length = 1;
  if (b0 < 0x80) return b0;
  if (b0 >= 0xC2 && b0 <= 0xDF) {
    if (left >= 2 && isContinuation(s[i + 1])) {
      length = 2;
      return (static_cast<std::uint32_t>(b0 & 0x1F) << 6) | (s[i + 1] & 0x3F);
    }
  } else if (b0 >= 0xE0 && b0 <= 0xEF) {
    unsigned char low = b0 == 0xE0 ? 0xA0 : 0x80;
    unsigned char high = b0 == 0xED ? 0x9F : 0xBF;
    if (left >= 3 && isContinuation(s[i + 1], low, high) && isContinuation(s[i + 2])) {
      length = 3;
      return (static_cast<std::uint32_t>(b0 & 0x0F) << 12) |
             (static_cast<std::uint32_t>(s[i + 1] & 0x3F) << 6) | (s[i + 2] & 0x3F);
    }
  } else if (b0 >= 0xF0 && b0 <= 0xF4) {
    unsigned char low = b0 == 0xF0 ? 0x90 : 0x80;
    unsigned char high = b0 == 0xF4 ? 0x8F : 0xBF;
    if (left >= 4 && isContinuation(s[i + 1], low, high) && isContinuation(s[i + 2]) &&
        isContinuation(s[i + 3])) {
      length = 4;
      return (static_cast<std::uint32_t>(b0 & 0x07) << 18) |
             (static_cast<std::uint32_t>(s[i + 1] & 0x3F) << 12) |
             (static_cast<std::uint32_t>(s[i + 2] & 0x3F) << 6) | (s[i + 3] & 0x3F);
    }
  }
  return kMalformed + b0;
}

// Writes the UTF-8 form of a code point (or the byte of a malformed unit); answers its length.
int encode(std::uint32_t c, char* out) {
  if (c >= kMalformed) {
    out[0] = static_cast<char>(c - kMalformed);
    return 1;
  }
  if (c < 0x80) {
    out[0] = static_cast<char>(c);
    return 1;
  }
  if (c < 0x800) {
    out[0] = static_cast<char>(0xC0 | (c >> 6));
    out[1] = static_cast<char>(0x80 | (c & 0x3F));
    return 2;
  }
  if (c < 0x10000) {
    out[0] = static_cast<char>(0xE0 | (c >> 12));
    out[1] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out[2] = static_cast<char>(0x80 | (c & 0x3F));
    return 3;
  }
  out[0] = static_cast<char>(0xF0 | (c >> 18));
  out[1] = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
  out[2] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
  out[3] = static_cast<char>(0x80 | (c & 0x3F));
  return 4;
}

// The longest full case folding of one code point is three code points.
constexpr int kMaxFold = 3;

// Full case folding of one unit into out; answers the count (at least 1).
int foldFull(std::uint32_t c, std::uint32_t* out) {
  if (c < 0x80) {
    out[0] = (c >= 'A' && c <= 'Z') ? c + ('a' - 'A') : c;
    return 1;
  }
  if (c >= kMalformed) {
    out[0] = c;
    return 1;
  }
  UChar source[2];
  int32_t sourceLength = 0;
  U16_APPEND_UNSAFE(source, sourceLength, static_cast<UChar32>(c));
  UChar folded[8];
  UErrorCode error = U_ZERO_ERROR;
  int32_t foldedLength = u_strFoldCase(folded, 8, source, sourceLength, U_FOLD_CASE_DEFAULT, &error);
  if (U_FAILURE(error) || foldedLength <= 0) {
    out[0] = c;
    return 1;
  }
  int count = 0;
  for (int32_t i = 0; i < foldedLength && count < kMaxFold;) {
    UChar32 unit;
    U16_NEXT_UNSAFE(folded, i, unit);
    out[count++] = static_cast<std::uint32_t>(unit);
  }
  return count;
}

// Reads the folded code points of a text one at a time, over at most `limit` source characters.
class FoldingReader {
 public:
  FoldingReader(char const* s, unsigned long n, unsigned long limit = kNpos)
      : s_(reinterpret_cast<unsigned char const*>(s)), n_(n), limit_(limit) {}

  // The next folded code point, or kEnd.
  std::int64_t next() {
    if (held_ == taken_) {
      if (position_ >= n_ || characters_ >= limit_) return kEnd;
      unsigned long length;
      std::uint32_t c = decode(s_, n_, position_, length);
      position_ += length;
      ++characters_;
      held_ = foldFull(c, folded_);
      taken_ = 0;
    }
    return folded_[taken_++];
  }
  // True when everything read so far ends with a whole source character.
  bool atBoundary() const { return taken_ == held_; }

 private:
  unsigned char const* s_;
  unsigned long n_;
  unsigned long limit_;
  unsigned long position_ = 0;
  unsigned long characters_ = 0;
  std::uint32_t folded_[kMaxFold];
  int held_ = 0;
  int taken_ = 0;
};

// The first difference of the folded texts, the end of a text counting as 0.
int compareFolded(FoldingReader a, FoldingReader b) {
  for (;;) {
    std::int64_t x = a.next();
    std::int64_t y = b.next();
    if (x != y) return static_cast<int>((x == kEnd ? 0 : x) - (y == kEnd ? 0 : y));
    if (x == kEnd) return 0;
  }
}

// A whole folded text, with where each folded code point came from.
struct FoldedText {
  std::vector<std::uint32_t> units;
  std::vector<unsigned long> sourceOffset;  // byte offset of the source character
  std::vector<bool> startsCharacter;        // first folded unit of its source character

  FoldedText(char const* s, unsigned long n) {
    unsigned char const* bytes = reinterpret_cast<unsigned char const*>(s);
    for (unsigned long i = 0; i < n;) {
      unsigned long length;
      std::uint32_t folded[kMaxFold];
      int count = foldFull(decode(bytes, n, i, length), folded);
      for (int k = 0; k < count; ++k) {
        units.push_back(folded[k]);
        sourceOffset.push_back(i);
        startsCharacter.push_back(k == 0);
      }
      i += length;
    }
  }
  // True when pattern's units stand at index p and end on a character boundary.
  bool matchesAt(std::size_t p, std::vector<std::uint32_t> const& pattern) const {
    if (p > units.size() || pattern.size() > units.size() - p) return false;
    for (std::size_t k = 0; k < pattern.size(); ++k) {
      if (units[p + k] != pattern[k]) return false;
    }
    std::size_t end = p + pattern.size();
    return end == units.size() || startsCharacter[end];
  }
};

// Simple (one to one) case mapping of each code point, kept only where it has the same UTF-8
// length, so that the text can be rewritten in place.
template <typename MapFunction>
void mapSameLength(char* s, unsigned long n, MapFunction map) {
  unsigned char* bytes = reinterpret_cast<unsigned char*>(s);
  for (unsigned long i = 0; i < n;) {
    unsigned long length;
    std::uint32_t c = decode(bytes, n, i, length);
    if (c < kMalformed) {
      std::uint32_t mapped = static_cast<std::uint32_t>(map(static_cast<UChar32>(c)));
      char encoded[4];
      if (mapped != c && static_cast<unsigned long>(encode(mapped, encoded)) == length) {
        std::memcpy(s + i, encoded, length);
      }
    }
    i += length;
  }
}

typedef int32_t (*FullMapping)(UCaseMap const*, char*, int32_t, char const*, int32_t, UErrorCode*);

// Full case mapping (one code point may become several, "ß" upper-cases to "SS", final sigma is
// chosen by context), appended to dst. Malformed bytes are passed through unchanged. A text beyond
// the reach of 32-bit lengths falls back to the simple mapping.
void appendFullMapping(FullMapping mapping, UChar32 (*simple)(UChar32), char const* src, unsigned long n,
                       std::string& dst) {
  std::string::size_type start = dst.size();
  if (n == 0) return;
  if (n > static_cast<unsigned long>(INT32_MAX / 3)) {
    dst.append(src, n);
    mapSameLength(&dst[start], n, simple);
    return;
  }
  UErrorCode error = U_ZERO_ERROR;
  UCaseMap* caseMap = ucasemap_open("", 0, &error);
  if (U_SUCCESS(error)) {
    // Case mapping at most triples the length of UTF-8 text.
    int32_t room = static_cast<int32_t>(n * 3);
    dst.resize(start + static_cast<std::string::size_type>(room));
    int32_t written = mapping(caseMap, &dst[start], room, src, static_cast<int32_t>(n), &error);
    ucasemap_close(caseMap);
    if (U_SUCCESS(error) && written >= 0 && written <= room) {
      dst.resize(start + static_cast<std::string::size_type>(written));
      return;
    }
  }
  dst.resize(start);
  dst.append(src, n);
  mapSameLength(&dst[start], n, simple);
}

int32_t toUpperFull(UCaseMap const* m, char* d, int32_t dl, char const* s, int32_t sl, UErrorCode* e) {
  return ucasemap_utf8ToUpper(m, d, dl, s, sl, e);
}
int32_t toLowerFull(UCaseMap const* m, char* d, int32_t dl, char const* s, int32_t sl, UErrorCode* e) {
  return ucasemap_utf8ToLower(m, d, dl, s, sl, e);
}

// The standard library's own failure for a length that cannot be appended.
void checkCopyLength(int n) {
  if (n < 0) throw std::length_error("basic_string::append");
}

// False when the text holds a code point of the given general category.
bool holdsNone(char const* s, int8_t category) {
  unsigned long n = std::strlen(s);
  unsigned char const* bytes = reinterpret_cast<unsigned char const*>(s);
  for (unsigned long i = 0; i < n;) {
    unsigned long length;
    std::uint32_t c = decode(bytes, n, i, length);
    if (c < kMalformed && u_charType(static_cast<UChar32>(c)) == category) return false;
    i += length;
  }
  return true;
}

class IcuStringUtils : public StringUtilsSessionEncodedImpl {
 public:
  bool isSingleByteImpl() const override { return false; }

  // In-place and fixed-size forms keep the byte length: simple mapping where lengths agree.
  void to_upper(char* s) const override { mapSameLength(s, std::strlen(s), u_toupper); }
  void to_upper(char* s, unsigned long n) const override { mapSameLength(s, n, u_toupper); }
  void to_upper(char const* src, unsigned long n, char* dst) const override {
    std::memmove(dst, src, n);
    mapSameLength(dst, n, u_toupper);
  }
  // String forms may change the length: full mapping.
  void to_upper(std::string& s) const override {
    std::string result;
    appendFullMapping(toUpperFull, u_toupper, s.data(), s.size(), result);
    s.swap(result);
  }
  void to_upper(std::string const& src, std::string& dst) const override {
    appendFullMapping(toUpperFull, u_toupper, src.data(), src.size(), dst);
  }
  std::string to_upper_copy(std::string const& s) const override {
    std::string result;
    appendFullMapping(toUpperFull, u_toupper, s.data(), s.size(), result);
    return result;
  }
  std::string to_upper_copy(char const* s, int n) const override {
    checkCopyLength(n);
    std::string result;
    appendFullMapping(toUpperFull, u_toupper, s, static_cast<unsigned long>(n), result);
    return result;
  }

  void to_lower(char* s) const override { mapSameLength(s, std::strlen(s), u_tolower); }
  void to_lower(char* s, unsigned long n) const override { mapSameLength(s, n, u_tolower); }
  void to_lower(char const* src, unsigned long n, char* dst) const override {
    std::memmove(dst, src, n);
    mapSameLength(dst, n, u_tolower);
  }
  void to_lower(std::string& s) const override {
    std::string result;
    appendFullMapping(toLowerFull, u_tolower, s.data(), s.size(), result);
    s.swap(result);
  }
  void to_lower(std::string const& src, std::string& dst) const override {
    appendFullMapping(toLowerFull, u_tolower, src.data(), src.size(), dst);
  }
  std::string to_lower_copy(std::string const& s) const override {
    std::string result;
    appendFullMapping(toLowerFull, u_tolower, s.data(), s.size(), result);
    return result;
  }
  std::string to_lower_copy(char const* s, int n) const override {
    checkCopyLength(n);
    std::string result;
    appendFullMapping(toLowerFull, u_tolower, s, static_cast<unsigned long>(n), result);
    return result;
  }

  bool vyk_strisupper(char const* s) const override { return holdsNone(s, U_LOWERCASE_LETTER); }
  bool vyk_strislower(char const* s) const override { return holdsNone(s, U_UPPERCASE_LETTER); }

  bool iequals(char const* s, unsigned long n, char const* t, unsigned long m) const override {
    return compareFolded(FoldingReader(s, n), FoldingReader(t, m)) == 0;
  }
  bool iequals(std::string const& s, char const* t) const override {
    return compareFolded(FoldingReader(s.data(), s.size()), FoldingReader(t, std::strlen(t))) == 0;
  }
  bool iequals(char const* s, char const* t) const override {
    return compareFolded(FoldingReader(s, std::strlen(s)), FoldingReader(t, std::strlen(t))) == 0;
  }

  int icompare(char const* s, unsigned long n, char const* t, unsigned long m) const override {
    return compareFolded(FoldingReader(s, n), FoldingReader(t, m));
  }
  int icompare(std::string const& s, char const* t) const override {
    return compareFolded(FoldingReader(s.data(), s.size()), FoldingReader(t, std::strlen(t)));
  }
  int icompare(char const* s, char const* t) const override {
    return compareFolded(FoldingReader(s, std::strlen(s)), FoldingReader(t, std::strlen(t)));
  }

  // The limit counts characters (code points) of each text.
  int icomparen(std::string const& s, std::string const& t, unsigned long limit) const override {
    return compareFolded(FoldingReader(s.data(), s.size(), limit), FoldingReader(t.data(), t.size(), limit));
  }
  int icomparen(char const* s, std::string const& t, unsigned long limit) const override {
    return compareFolded(FoldingReader(s, std::strlen(s), limit), FoldingReader(t.data(), t.size(), limit));
  }
  int icomparen(char const* s, unsigned long n, char const* t, unsigned long m,
                unsigned long limit) const override {
    return compareFolded(FoldingReader(s, n, limit), FoldingReader(t, m, limit));
  }
  int icomparen(std::string const& s, char const* t, unsigned long limit) const override {
    return compareFolded(FoldingReader(s.data(), s.size(), limit), FoldingReader(t, std::strlen(t), limit));
  }
  int icomparen(char const* s, char const* t, unsigned long limit) const override {
    return compareFolded(FoldingReader(s, std::strlen(s), limit), FoldingReader(t, std::strlen(t), limit));
  }

  // The folding of t is a prefix of that of s, ending with a whole character of s.
  bool istarts_with(char const* s, unsigned long n, char const* t, unsigned long m) const override {
    FoldingReader text(s, n);
    FoldingReader prefix(t, m);
    for (;;) {
      std::int64_t p = prefix.next();
      if (p == kEnd) return text.atBoundary();
      if (text.next() != p) return false;
    }
  }
  bool istarts_with(std::string const& s, char const* t) const override {
    return istarts_with(s.data(), s.size(), t, std::strlen(t));
  }
  bool istarts_with(char const* s, char const* t) const override {
    return istarts_with(s, std::strlen(s), t, std::strlen(t));
  }
  bool iends_with(char const* s, unsigned long n, char const* t, unsigned long m) const override {
    FoldedText text(s, n);
    FoldedText suffix(t, m);
    if (suffix.units.size() > text.units.size()) return false;
    std::size_t p = text.units.size() - suffix.units.size();
    return (p == text.units.size() || text.startsCharacter[p]) && text.matchesAt(p, suffix.units);
  }

  // Positions are byte offsets of character starts; a match covers whole characters of s.
  unsigned long ifind(char const* s, unsigned long n, char const* t, unsigned long m,
                      unsigned long from) const override {
    if (from > n) return kNpos;
    if (m == 0) return from;
    FoldedText text(s, n);
    FoldedText pattern(t, m);
    for (std::size_t p = 0; p < text.units.size(); ++p) {
      if (!text.startsCharacter[p] || text.sourceOffset[p] < from) continue;
      if (text.matchesAt(p, pattern.units)) return text.sourceOffset[p];
    }
    return kNpos;
  }
  unsigned long ifind(std::string const& s, std::string const& t, unsigned long from) const override {
    return ifind(s.data(), s.size(), t.data(), t.size(), from);
  }

  // The same mixing as the single-byte hash, over folded code points.
  unsigned long hash(char const* s) const override {
    std::uint64_t h = 0;
    FoldingReader reader(s, std::strlen(s));
    for (std::int64_t c = reader.next(); c != kEnd; c = reader.next()) {
      h ^= static_cast<std::uint64_t>(c) + 0x9E3779B9u + (h << 6) + (h >> 2);
    }
    return static_cast<unsigned long>(h);
  }
  bool keyequal(char const* s, char const* t) const override { return iequals(s, t); }
};

}  // namespace
}  // namespace icus
}  // namespace vyk

// The entry that the main library looks up. The text is read as UTF-8 whatever the encoding: the
// encoding object is opaque to this library.
extern "C" __attribute__((visibility("default"))) vyk::session_encoded::StringUtilsSessionEncodedImpl*
createIcuStringUtils(vyk::CharEncoding const* /*encoding*/) {
  return new vyk::icus::IcuStringUtils;
}
