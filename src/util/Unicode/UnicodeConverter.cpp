// The strategies and the convenience overloads shared by every UnicodeConverter, and its factories.
#include "vyk/util/UnicodeConverter.h"

#include <cstdio>
#include <cstring>

#include "src/util/Unicode/Ebcdic1047Tables.h"
#include "vyk/util/Assert.h"

namespace vyk {

namespace {

// Size of the local blocks of the string overloads.
constexpr unsigned long kByteBlock = 256;
constexpr unsigned long kUnitBlock = 128;
// Longest strategy text ("&#65535;") times the widest provided encoding, with room to spare.
constexpr int kStrategyBufferBytes = 64;

constexpr unsigned short kSubstitute = 0x001A;
constexpr unsigned short kReplacement = 0xFFFD;
constexpr unsigned short kQuestionMark = 0x003F;

// Set while a strategy text is converted on this thread. A converter that meets an unmappable unit
// inside a strategy text then reports it instead of applying the strategy again, so a text that the
// encoding cannot hold ends in a fall-back, never in endless recursion.
thread_local int strategyDepth = 0;

struct StrategyScope {
  StrategyScope() { ++strategyDepth; }
  ~StrategyScope() { --strategyDepth; }
  StrategyScope(StrategyScope const&) = delete;
  StrategyScope& operator=(StrategyScope const&) = delete;
};

int asciiUnits(char const* text, unsigned short* units) {
  int n = 0;
  for (; text[n] != '\0'; ++n) units[n] = static_cast<unsigned char>(text[n]);
  return n;
}

// The escape of one unit, printed by format ("\\u%04X", "<u%04X>", "&#%u;") as ASCII units.
struct EscapeText {
  EscapeText(char const* format, unsigned short c) {
    char text[16];  // the longest escape, "&#65535;", has 8 characters
    std::snprintf(text, sizeof text, format, static_cast<unsigned int>(c));
    length = asciiUnits(text, units);
  }
  unsigned short units[16];
  int length;
};

unsigned long zeroTerminatedLength(unsigned short const* text) {
  unsigned long n = 0;
  while (text[n] != 0) ++n;
  return n;
}

}  // namespace

char const* UnicodeConverter::OverflowError::what() const noexcept {
  return "UnicodeConverter::Overflow";
}
char const* UnicodeConverter::InvalidError::what() const noexcept {
  return "UnicodeConverter::Invalid";
}
char const* UnicodeConverter::UnmappableError::what() const noexcept {
  return "UnicodeConverter::Unmappable";
}

UnicodeConverter::UnicodeConverter()
    : unmappableStrategy_(UNMAPPABLE_SUBSTITUTE), invalidStrategy_(INVALID_FAIL) {}

UnicodeConverter::~UnicodeConverter() {}

// ---- Factories -------------------------------------------------------------------------------------

IntrusivePointer<UnicodeConverter> UnicodeConverter::usasciiToUnicode() {
  return new CopyUnicodeConverter<127>;
}
IntrusivePointer<UnicodeConverter> UnicodeConverter::iso88591ToUnicode() {
  return new CopyUnicodeConverter<255>;
}
IntrusivePointer<UnicodeConverter> UnicodeConverter::ebcdic1047ToUnicode() {
  return new SBCSUnicodeConverter(unicode_detail::ebcdic1047NewlineToUnicode().data());
}
IntrusivePointer<UnicodeConverter> UnicodeConverter::openEdition1047ToUnicode() {
  return new SBCSUnicodeConverter(unicode_detail::openEdition1047ToUnicode().data());
}
IntrusivePointer<UnicodeConverter> UnicodeConverter::utf8ToUnicode() {
  return new Utf8Converter;
}
IntrusivePointer<UnicodeConverter> UnicodeConverter::utf16ToUnicode() {
  return new Utf16Converter<false>;
}
IntrusivePointer<UnicodeConverter> UnicodeConverter::utf16LEToUnicode() {
  return new Utf16Converter<false>;
}
IntrusivePointer<UnicodeConverter> UnicodeConverter::utf16BEToUnicode() {
  return new Utf16Converter<true>;
}

// ---- Strategies ------------------------------------------------------------------------------------

void UnicodeConverter::convertError(ErrorCode code) {
  switch (code) {
    case Invalid:
      throw InvalidError();
    case Unmappable:
      throw UnmappableError();
    case Overflow:
      throw OverflowError();
    default:
      return;
  }
}

UnicodeConverter::ErrorCode UnicodeConverter::writeStrategyText(unsigned short const* units, int count,
                                                                char** target, char const* targetEnd) {
  // Convert into a local buffer first: the text reaches the target whole or not at all, so a caller
  // that retries after Overflow neither loses nor doubles a part of it.
  char buffer[kStrategyBufferBytes];
  char* t = buffer;
  unsigned short const* s = units;
  ErrorCode code = Ok;
  {
    StrategyScope scope;
    fromUnicode(&s, units + count, &t, buffer + sizeof buffer, code);
  }
  if (code != Ok) return Unmappable;  // the encoding cannot hold this text
  long length = t - buffer;
  if (length > targetEnd - *target) return Overflow;
  std::memcpy(*target, buffer, static_cast<size_t>(length));
  *target += length;
  return Ok;
}

UnicodeConverter::ErrorCode UnicodeConverter::substitute(unsigned short, char** target,
                                                         char const* targetEnd) {
  ErrorCode code = writeStrategyText(&kSubstitute, 1, target, targetEnd);
  if (code == Unmappable) code = writeStrategyText(&kQuestionMark, 1, target, targetEnd);
  return code;
}

UnicodeConverter::ErrorCode UnicodeConverter::escapeUesc(unsigned short c, char** target,
                                                         char const* targetEnd) {
  EscapeText escape("\\u%04X", c);
  return writeStrategyText(escape.units, escape.length, target, targetEnd);
}

UnicodeConverter::ErrorCode UnicodeConverter::escapeParen(unsigned short c, char** target,
                                                          char const* targetEnd) {
  EscapeText escape("<u%04X>", c);
  return writeStrategyText(escape.units, escape.length, target, targetEnd);
}

UnicodeConverter::ErrorCode UnicodeConverter::escapeNcr(unsigned short c, char** target,
                                                        char const* targetEnd) {
  EscapeText escape("&#%u;", c);
  return writeStrategyText(escape.units, escape.length, target, targetEnd);
}

UnicodeConverter::ErrorCode UnicodeConverter::handleUnmappable(unsigned short c, char** target,
                                                               char const* targetEnd) {
  if (strategyDepth > 0) return Unmappable;  // inside a strategy text: let the outer one fall back
  ErrorCode code;
  switch (unmappableStrategy_) {
    case UNMAPPABLE_SUBSTITUTE:
      return substitute(c, target, targetEnd);
    case UNMAPPABLE_SKIP:
      return Ok;
    case UNMAPPABLE_NCR:
      code = escapeNcr(c, target, targetEnd);
      break;
    case UNMAPPABLE_PAREN:
      code = escapeParen(c, target, targetEnd);
      break;
    case UNMAPPABLE_UESC:
      code = escapeUesc(c, target, targetEnd);
      break;
    default:
      return Unmappable;
  }
  // A text form that the encoding cannot hold falls back to the substitute character.
  if (code == Unmappable) code = substitute(c, target, targetEnd);
  return code;
}

UnicodeConverter::ErrorCode UnicodeConverter::handleInvalid(unsigned short, char** target,
                                                            char const* targetEnd) {
  if (invalidStrategy_ == INVALID_SKIP) return Ok;
  if (invalidStrategy_ != INVALID_SUBSTITUTE) return Invalid;
  if (*target == targetEnd) return Overflow;
  // The virtual fromUnicode applies the unmappable strategy to U+FFFD itself; stage the result so
  // that it is written whole or not at all.
  char buffer[kStrategyBufferBytes];
  char* t = buffer;
  unsigned short const* s = &kReplacement;
  ErrorCode code = Ok;
  fromUnicode(&s, s + 1, &t, buffer + sizeof buffer, code);
  if (code != Ok) return code == Overflow ? Unmappable : code;
  long length = t - buffer;
  if (length > targetEnd - *target) return Overflow;
  std::memcpy(*target, buffer, static_cast<size_t>(length));
  *target += length;
  return Ok;
}

UnicodeConverter::ErrorCode UnicodeConverter::handleInvalid(char const** source, char const*,
                                                            unsigned short** target,
                                                            unsigned short const* targetEnd) {
  switch (invalidStrategy_) {
    case INVALID_SUBSTITUTE:
      if (*target == targetEnd) return Overflow;
      *(*target)++ = kReplacement;
      ++*source;
      return Ok;
    case INVALID_SKIP:
      ++*source;
      return Ok;
    default:
      return Invalid;
  }
}

// ---- The loops around the bulk operations ------------------------------------------------------------

UnicodeConverter::ErrorCode UnicodeConverter::fromUnicodeSteps(unsigned short const** source,
                                                               unsigned short const* sourceEnd, char** target,
                                                               char const* targetEnd) {
  ErrorCode code = Ok;
  for (;;) {
    code = Ok;
    fromUnicode(source, sourceEnd, target, targetEnd, code);
    if (code == Unmappable) {
      code = handleUnmappable(**source, target, targetEnd);
    } else if (code == Invalid) {
      code = handleInvalid(**source, target, targetEnd);
    } else {
      break;
    }
    // The unit is passed only when its strategy succeeded; after Overflow it is tried again, whole,
    // with fresh room.
    if (code != Ok) break;
    ++*source;
    if (*source == sourceEnd) break;
  }
  return code;
}

UnicodeConverter::ErrorCode UnicodeConverter::toUnicodeSteps(char const** source, char const* sourceEnd,
                                                             unsigned short** target,
                                                             unsigned short const* targetEnd) {
  ErrorCode code = Ok;
  do {
    code = Ok;
    toUnicode(source, sourceEnd, target, targetEnd, code);
    if (code == Invalid) code = handleInvalid(source, sourceEnd, target, targetEnd);
  } while (*source != sourceEnd && code == Ok);
  return code;
}

// ---- To bytes ----------------------------------------------------------------------------------------

unsigned long UnicodeConverter::fromUnicode(unsigned short c, char* dst, unsigned long dstLen,
                                            ErrorCode& code) {
  unsigned short const* s = &c;
  char* t = dst;
  code = fromUnicodeSteps(&s, s + 1, &t, dst + dstLen);
  return static_cast<unsigned long>(t - dst);
}

unsigned long UnicodeConverter::fromUnicode(unsigned short c, char* dst, unsigned long dstLen) {
  return fromUnicode(&c, 1, dst, dstLen);
}

unsigned long UnicodeConverter::fromUnicode(unsigned short const* src, unsigned long len, char* dst,
                                            unsigned long dstLen) {
  if (len == 0) return 0;
  unsigned short const* s = src;
  char* t = dst;
  ErrorCode code = fromUnicodeSteps(&s, src + len, &t, dst + dstLen);
  if (code != Ok) {
    convertError(code);
    VYK_FAIL("Won't get here");
  }
  return static_cast<unsigned long>(t - dst);
}

unsigned long UnicodeConverter::fromUnicode(std::basic_string<unsigned short> const& s, char* dst,
                                            unsigned long dstLen) {
  return fromUnicode(s.data(), s.size(), dst, dstLen);
}

void UnicodeConverter::fromUnicode(unsigned short const* src, unsigned long len, std::string& out) {
  out.clear();
  unsigned short const* s = src;
  unsigned short const* end = src + len;
  char block[kByteBlock];
  while (s != end) {
    char* t = block;
    ErrorCode code = fromUnicodeSteps(&s, end, &t, block + kByteBlock);
    out.append(block, static_cast<size_t>(t - block));
    // A full block is no error; one that took nothing could never take the next character.
    if (code == Overflow && t != block) continue;
    if (code != Ok) {
      convertError(code);
      VYK_FAIL("Won't get here");
    }
  }
}

void UnicodeConverter::fromUnicode(unsigned short const* zeroTerminated, std::string& out) {
  fromUnicode(zeroTerminated, zeroTerminatedLength(zeroTerminated), out);
}

void UnicodeConverter::fromUnicode(std::basic_string<unsigned short> const& s, std::string& out) {
  fromUnicode(s.data(), s.size(), out);
}

void UnicodeConverter::fromUnicode(unsigned short c, std::string& out) {
  fromUnicode(&c, 1, out);
}

std::string UnicodeConverter::fromUnicode(std::basic_string<unsigned short> const& s) {
  std::string out;
  fromUnicode(s.data(), s.size(), out);
  return out;
}

std::string UnicodeConverter::fromUnicode(unsigned short c) {
  std::string out;
  fromUnicode(&c, 1, out);
  return out;
}

std::string UnicodeConverter::fromUnicode(unsigned short const* src, unsigned long len) {
  std::string out;
  fromUnicode(src, len, out);
  return out;
}

std::string UnicodeConverter::fromUnicode(unsigned short const* zeroTerminated) {
  std::string out;
  fromUnicode(zeroTerminated, zeroTerminatedLength(zeroTerminated), out);
  return out;
}

// ---- From bytes --------------------------------------------------------------------------------------

unsigned long UnicodeConverter::toUnicode(char const* src, unsigned long srcLen, unsigned short* dst,
                                          unsigned long dstLen) {
  char const* s = src;
  unsigned short* t = dst;
  ErrorCode code = toUnicodeSteps(&s, src + srcLen, &t, dst + dstLen);
  if (code != Ok) {
    convertError(code);
    VYK_FAIL("Won't get here");
  }
  return static_cast<unsigned long>(t - dst);
}

unsigned long UnicodeConverter::toUnicode(std::string const& s, unsigned short* dst, unsigned long dstLen) {
  return toUnicode(s.data(), s.size(), dst, dstLen);
}

void UnicodeConverter::toUnicode(char const* src, unsigned long srcLen,
                                 std::basic_string<unsigned short>& out) {
  out.clear();
  resetConverterState();
  char const* s = src;
  char const* end = src + srcLen;
  unsigned short block[kUnitBlock];
  while (s != end) {
    unsigned short* t = block;
    ErrorCode code = toUnicodeSteps(&s, end, &t, block + kUnitBlock);
    out.append(block, static_cast<size_t>(t - block));
    if (code == Overflow && t != block) continue;
    if (code != Ok) {
      convertError(code);
      VYK_FAIL("Won't get here");
    }
  }
}

void UnicodeConverter::toUnicode(char const* zeroTerminated, std::basic_string<unsigned short>& out) {
  toUnicode(zeroTerminated, std::strlen(zeroTerminated), out);
}

void UnicodeConverter::toUnicode(std::string const& s, std::basic_string<unsigned short>& out) {
  toUnicode(s.data(), s.size(), out);
}

std::basic_string<unsigned short> UnicodeConverter::toUnicode(std::string const& s) {
  std::basic_string<unsigned short> out;
  toUnicode(s.data(), s.size(), out);
  return out;
}

std::basic_string<unsigned short> UnicodeConverter::toUnicode(char const* src, unsigned long srcLen) {
  std::basic_string<unsigned short> out;
  toUnicode(src, srcLen, out);
  return out;
}

std::basic_string<unsigned short> UnicodeConverter::toUnicode(char const* zeroTerminated) {
  std::basic_string<unsigned short> out;
  toUnicode(zeroTerminated, std::strlen(zeroTerminated), out);
  return out;
}

unsigned long UnicodeConverter::toUnicodeTruncRetSrcUse(char const* src, unsigned long srcLen,
                                                        unsigned short* dst, unsigned long dstLen,
                                                        unsigned long& dstUsed) {
  dstUsed = 0;
  resetConverterState();
  char const* s = src;
  unsigned short* t = dst;
  ErrorCode code = toUnicodeSteps(&s, src + srcLen, &t, dst + dstLen);
  dstUsed = static_cast<unsigned long>(t - dst);
  if (code != Ok && code != Overflow) {
    convertError(code);
    VYK_FAIL("Won't get here");
  }
  return static_cast<unsigned long>(s - src);
}

unsigned short UnicodeConverter::getNextUChar(char const** source, char const* sourceEnd, ErrorCode& code) {
  unsigned short unit = 0;
  unsigned short* t = &unit;
  code = Ok;
  toUnicode(source, sourceEnd, &t, &unit + 1, code);
  if (code == Invalid) throw InvalidError();
  return unit;
}

}  // namespace vyk
