// Converters between bytes in one encoding and UTF-16 text held as unsigned short code units.
#ifndef VYK_UTIL_UNICODECONVERTER_H
#define VYK_UTIL_UNICODECONVERTER_H

#include <atomic>
#include <cstdint>
#include <exception>
#include <string>

#include "vyk/util/Export.h"
#include "vyk/util/RefCounted.h"

namespace vyk {

// One object converts both ways between its byte encoding and UTF-16 in native byte order.
//
// Two virtual bulk operations do the work; the non-virtual overloads around them apply the
// converter's strategies for malformed input and unmappable characters, and turn a final fault into
// one of the nested exceptions. The strategies are set before the converter is shared: after that a
// converter is read-only during conversion and may serve several threads at once (the reference
// count is atomic).
//
//   IntrusivePointer<UnicodeConverter> utf8 = UnicodeConverter::utf8ToUnicode();
//   std::basic_string<unsigned short> text = utf8->toUnicode("gr\xC3\xBC\xC3\x9F");  // 4 units
class VYK_EXPORT UnicodeConverter : public RefCounted<std::atomic<unsigned int>> {
 public:
  // Outcome of a conversion step.
  enum ErrorCode : std::int32_t {
    Ok = 0,          // the whole source was consumed
    Invalid = 1,     // the source holds a sequence that is malformed in the source encoding
    Unmappable = 2,  // a well-formed source character has no counterpart in the target encoding
    Overflow = 3     // the target ran out of room; source remains
  };

  // What happens to a character that the target encoding cannot hold. Other values act as
  // UNMAPPABLE_FAIL.
  enum UnmappableStrategy : std::int32_t {
    UNMAPPABLE_FAIL = 0,        // report Unmappable
    UNMAPPABLE_SUBSTITUTE = 1,  // write U+001A (the default)
    UNMAPPABLE_SKIP = 2,        // write nothing
    UNMAPPABLE_NCR = 3,         // "&#" decimal value without leading zeros ";"
    UNMAPPABLE_PAREN = 4,       // "<u" four upper-case hex digits ">"
    UNMAPPABLE_UESC = 5         // "\u" four upper-case hex digits
  };

  // What happens to malformed input. Other values act as INVALID_FAIL.
  enum InvalidStrategy : std::int32_t {
    INVALID_FAIL = 0,        // report Invalid (the default)
    INVALID_SUBSTITUTE = 1,  // write U+FFFD in place of the bad unit or byte
    INVALID_SKIP = 2         // pass over the bad unit or byte
  };

  // Base of the three failures; carries no data.
  class VYK_EXPORT Exception : public std::exception {};
  class VYK_EXPORT OverflowError : public Exception {
   public:
    char const* what() const noexcept override;  // "UnicodeConverter::Overflow"
  };
  class VYK_EXPORT InvalidError : public Exception {
   public:
    char const* what() const noexcept override;  // "UnicodeConverter::Invalid"
  };
  class VYK_EXPORT UnmappableError : public Exception {
   public:
    char const* what() const noexcept override;  // "UnicodeConverter::Unmappable"
  };

  UnicodeConverter();
  ~UnicodeConverter() override;

  // Factories; each returns a new converter with the default strategies (substitute for unmappable,
  // fail for invalid).
  static IntrusivePointer<UnicodeConverter> usasciiToUnicode();          // bytes 0-127; all bytes read in
  static IntrusivePointer<UnicodeConverter> iso88591ToUnicode();         // bytes 0-255
  static IntrusivePointer<UnicodeConverter> ebcdic1047ToUnicode();       // 0x15 is U+0085, 0x25 is U+000A
  static IntrusivePointer<UnicodeConverter> openEdition1047ToUnicode();  // 0x15 is U+000A, 0x25 U+0085
  static IntrusivePointer<UnicodeConverter> utf8ToUnicode();
  static IntrusivePointer<UnicodeConverter> utf16ToUnicode();  // little-endian, no byte order mark
  static IntrusivePointer<UnicodeConverter> utf16LEToUnicode();
  static IntrusivePointer<UnicodeConverter> utf16BEToUnicode();

  // Strategies. Set them before the converter is used from more than one thread.
  void setUnmappableStrategy(std::int32_t strategy) { unmappableStrategy_ = strategy; }
  std::int32_t getUnmappableStrategy() const { return unmappableStrategy_; }
  void setInvalidStrategy(std::int32_t strategy) { invalidStrategy_ = strategy; }
  std::int32_t getInvalidStrategy() const { return invalidStrategy_; }

  // The most and the fewest bytes that one code unit takes in this encoding.
  virtual int maxBytesPerChar() const = 0;
  virtual int minBytesPerChar() const = 0;
  // Forgets any state kept between conversions (none of the provided converters keeps any).
  virtual void resetConverterState() = 0;

  // Bulk conversion to bytes. Runs until the source is used up (Ok), the target has no room for the
  // next character (Overflow, *source on that character, nothing of it written), or a fault:
  // Invalid for malformed UTF-16 where the encoding cares, Unmappable when the strategy reports it.
  // *source and *target are left after what was consumed and produced. Applies the unmappable
  // strategy itself; leaves Invalid to the caller.
  virtual void fromUnicode(unsigned short const** source, unsigned short const* sourceEnd, char** target,
                           char const* targetEnd, ErrorCode& code) = 0;
  // Bulk conversion from bytes, with the same contract; Invalid leaves *source on the first byte of
  // the malformed sequence.
  virtual void toUnicode(char const** source, char const* sourceEnd, unsigned short** target,
                         unsigned short const* targetEnd, ErrorCode& code) = 0;

  // To bytes. The overloads that return a count write into the caller's buffer and throw
  // OverflowError when it is too small (no partial count is reported). The std::string overloads
  // replace `out`. Zero-terminated sources end at the first unit 0. All apply the strategies and
  // throw the exception of a fault that the strategies leave standing.
  unsigned long fromUnicode(unsigned short c, char* dst, unsigned long dstLen, ErrorCode& code);  // no throw
  unsigned long fromUnicode(unsigned short c, char* dst, unsigned long dstLen);
  unsigned long fromUnicode(unsigned short const* src, unsigned long len, char* dst, unsigned long dstLen);
  unsigned long fromUnicode(std::basic_string<unsigned short> const& s, char* dst, unsigned long dstLen);
  void fromUnicode(unsigned short const* src, unsigned long len, std::string& out);
  void fromUnicode(unsigned short const* zeroTerminated, std::string& out);
  void fromUnicode(std::basic_string<unsigned short> const& s, std::string& out);
  void fromUnicode(unsigned short c, std::string& out);
  std::string fromUnicode(std::basic_string<unsigned short> const& s);
  std::string fromUnicode(unsigned short c);
  std::string fromUnicode(unsigned short const* src, unsigned long len);
  std::string fromUnicode(unsigned short const* zeroTerminated);

  // From bytes, with the same rules; the count is in code units.
  unsigned long toUnicode(char const* src, unsigned long srcLen, unsigned short* dst, unsigned long dstLen);
  unsigned long toUnicode(std::string const& s, unsigned short* dst, unsigned long dstLen);
  void toUnicode(char const* src, unsigned long srcLen, std::basic_string<unsigned short>& out);
  void toUnicode(char const* zeroTerminated, std::basic_string<unsigned short>& out);
  void toUnicode(std::string const& s, std::basic_string<unsigned short>& out);
  std::basic_string<unsigned short> toUnicode(std::string const& s);
  std::basic_string<unsigned short> toUnicode(char const* src, unsigned long srcLen);
  std::basic_string<unsigned short> toUnicode(char const* zeroTerminated);

  // Fills dst as far as it goes and returns the source bytes consumed; dstUsed is the units written,
  // replacements included, also when an exception leaves. A full target ends the conversion quietly,
  // so a caller can resume from src plus the result. Throws for Invalid under INVALID_FAIL.
  unsigned long toUnicodeTruncRetSrcUse(char const* src, unsigned long srcLen, unsigned short* dst,
                                        unsigned long dstLen, unsigned long& dstUsed);

  // Reads one code unit at *source and advances past it. code is Ok when the source is then used
  // up, Overflow while more remains. A character needing a surrogate pair does not fit: the result
  // is 0 with Overflow and no advance. Throws InvalidError on malformed input, whatever the strategy.
  unsigned short getNextUChar(char const** source, char const* sourceEnd, ErrorCode& code);

  // Throws the exception of code; returns for Ok and unknown values.
  static void convertError(ErrorCode code);

 protected:
  // Applies the unmappable strategy to c: writes its text in the target encoding, all of it or
  // nothing. Overflow when the text does not fit. A text that the encoding cannot hold falls back to
  // U+001A, then '?', then reports Unmappable; the fall-back never recurses.
  ErrorCode handleUnmappable(unsigned short c, char** target, char const* targetEnd);
  // Applies the invalid strategy on the way to bytes; c plays no part.
  ErrorCode handleInvalid(unsigned short c, char** target, char const* targetEnd);
  // Applies the invalid strategy on the way in: one source byte per fault.
  ErrorCode handleInvalid(char const** source, char const* sourceEnd, unsigned short** target,
                          unsigned short const* targetEnd);
  // Writes U+001A; c plays no part.
  ErrorCode substitute(unsigned short c, char** target, char const* targetEnd);
  ErrorCode escapeUesc(unsigned short c, char** target, char const* targetEnd);
  ErrorCode escapeParen(unsigned short c, char** target, char const* targetEnd);
  ErrorCode escapeNcr(unsigned short c, char** target, char const* targetEnd);

 private:
  // Writes units (ASCII or U+001A) through this converter's own fromUnicode, whole or not at all.
  ErrorCode writeStrategyText(unsigned short const* units, int count, char** target, char const* targetEnd);
  ErrorCode fromUnicodeSteps(unsigned short const** source, unsigned short const* sourceEnd, char** target,
                             char const* targetEnd);
  ErrorCode toUnicodeSteps(char const** source, char const* sourceEnd, unsigned short** target,
                           unsigned short const* targetEnd);

  std::int32_t unmappableStrategy_;
  std::int32_t invalidStrategy_;
};

// A single-byte encoding from a table of 256 code units, one for each byte.
//
// The way to bytes uses a reverse map of 64 KiB, built on first use (or by populateFromUnicode());
// building it is safe from several threads at once. Where two bytes give one code unit the higher
// byte wins; a code unit whose reverse entry is 0 counts as unmapped, except U+0000.
class VYK_EXPORT SBCSUnicodeConverter : public UnicodeConverter {
 public:
  // A table in stored form: the 256 high bytes of the code units, then the 256 low bytes.
  struct Trantab {
    unsigned char bytes[512];
  };

  explicit SBCSUnicodeConverter(Trantab const& table);
  explicit SBCSUnicodeConverter(unsigned short const* table);  // copies 256 units
  ~SBCSUnicodeConverter() override;

  using UnicodeConverter::fromUnicode;
  using UnicodeConverter::toUnicode;

  int maxBytesPerChar() const override { return 1; }
  int minBytesPerChar() const override { return 1; }
  void resetConverterState() override {}
  void fromUnicode(unsigned short const** source, unsigned short const* sourceEnd, char** target,
                   char const* targetEnd, ErrorCode& code) override;
  void toUnicode(char const** source, char const* sourceEnd, unsigned short** target,
                 unsigned short const* targetEnd, ErrorCode& code) override;

  // Builds the reverse map if it does not exist yet.
  void populateFromUnicode();

 private:
  unsigned char const* reverseMap();

  unsigned short table_[256];
  std::atomic<unsigned char*> fromUnicode_;
};

// Bytes 0 to B read as the same code units (B is 127 or 255). Every byte value is read in, also
// above B; a unit above B is unmappable on the way out.
template <int B>
class VYK_EXPORT CopyUnicodeConverter : public UnicodeConverter {
  static_assert(B == 127 || B == 255, "CopyUnicodeConverter covers US-ASCII and ISO 8859-1");

 public:
  using UnicodeConverter::fromUnicode;
  using UnicodeConverter::toUnicode;

  int maxBytesPerChar() const override { return 1; }
  int minBytesPerChar() const override { return 1; }
  void resetConverterState() override {}

  void fromUnicode(unsigned short const** source, unsigned short const* sourceEnd, char** target,
                   char const* targetEnd, ErrorCode& code) override {
    unsigned short const* s = *source;
    char* t = *target;
    code = Ok;
    while (s != sourceEnd) {
      if (t == targetEnd) {
        code = Overflow;
        break;
      }
      if (*s <= B) {
        *t++ = static_cast<char>(*s++);
        continue;
      }
      code = handleUnmappable(*s, &t, targetEnd);
      if (code != Ok) break;
      ++s;
    }
    *source = s;
    *target = t;
  }

  void toUnicode(char const** source, char const* sourceEnd, unsigned short** target,
                 unsigned short const* targetEnd, ErrorCode& code) override {
    unsigned long sourceLeft = static_cast<unsigned long>(sourceEnd - *source);
    unsigned long room = static_cast<unsigned long>(targetEnd - *target);
    unsigned long n = sourceLeft < room ? sourceLeft : room;
    unsigned char const* s = reinterpret_cast<unsigned char const*>(*source);
    unsigned short* t = *target;
    for (unsigned long i = 0; i < n; ++i) t[i] = s[i];
    *source += n;
    *target += n;
    code = n < sourceLeft ? Overflow : Ok;
  }
};

// UTF-8, strict: overlong forms, encoded surrogates, values above U+10FFFF, stray or missing
// continuation bytes and sequences cut off by the end of the source are all Invalid. On the way out
// a high surrogate must be followed by a low one (else Invalid); a lone low surrogate is written as
// three bytes. A surrogate pair is never split by a full target.
class VYK_EXPORT Utf8Converter : public UnicodeConverter {
 public:
  using UnicodeConverter::fromUnicode;
  using UnicodeConverter::toUnicode;

  int maxBytesPerChar() const override { return 4; }
  int minBytesPerChar() const override { return 1; }
  void resetConverterState() override {}
  void fromUnicode(unsigned short const** source, unsigned short const* sourceEnd, char** target,
                   char const* targetEnd, ErrorCode& code) override;
  void toUnicode(char const** source, char const* sourceEnd, unsigned short** target,
                 unsigned short const* targetEnd, ErrorCode& code) override;
};

// UTF-16 in one byte order (BigEndian true: high byte first). Surrogates pass unchecked both ways. A
// source ending after the first byte of a unit is Invalid, with the source on that byte; a full
// target is reported before that.
template <bool BigEndian>
class VYK_EXPORT Utf16Converter : public UnicodeConverter {
 public:
  using UnicodeConverter::fromUnicode;
  using UnicodeConverter::toUnicode;

  int maxBytesPerChar() const override { return 2; }
  int minBytesPerChar() const override { return 2; }
  void resetConverterState() override {}

  // `first` is the byte written first.
  static void splitChar(unsigned short c, unsigned char& first, unsigned char& second) {
    unsigned char high = static_cast<unsigned char>(c >> 8);
    unsigned char low = static_cast<unsigned char>(c & 0xFF);
    first = BigEndian ? high : low;
    second = BigEndian ? low : high;
  }
  static unsigned short combineChar(unsigned char first, unsigned char second) {
    return BigEndian ? static_cast<unsigned short>((first << 8) | second)
                     : static_cast<unsigned short>((second << 8) | first);
  }

  void fromUnicode(unsigned short const** source, unsigned short const* sourceEnd, char** target,
                   char const* targetEnd, ErrorCode& code) override {
    unsigned long units = static_cast<unsigned long>(sourceEnd - *source);
    unsigned long fit = static_cast<unsigned long>(targetEnd - *target) / 2;
    unsigned long n = units < fit ? units : fit;
    unsigned short const* s = *source;
    unsigned char* t = reinterpret_cast<unsigned char*>(*target);
    for (unsigned long i = 0; i < n; ++i) splitChar(s[i], t[2 * i], t[2 * i + 1]);
    *source += n;
    *target += 2 * n;
    code = n < units ? Overflow : Ok;
  }

  void toUnicode(char const** source, char const* sourceEnd, unsigned short** target,
                 unsigned short const* targetEnd, ErrorCode& code) override {
    unsigned long bytes = static_cast<unsigned long>(sourceEnd - *source);
    unsigned long room = static_cast<unsigned long>(targetEnd - *target);
    unsigned long n = bytes / 2 < room ? bytes / 2 : room;
    unsigned char const* s = reinterpret_cast<unsigned char const*>(*source);
    unsigned short* t = *target;
    for (unsigned long i = 0; i < n; ++i) t[i] = combineChar(s[2 * i], s[2 * i + 1]);
    *source += 2 * n;
    *target += n;
    if (*source == sourceEnd)
      code = Ok;
    else if (*target == targetEnd)
      code = Overflow;
    else
      code = Invalid;  // one byte left over
  }
};

namespace utf8 {
namespace detail {
// The byte as an unsigned value.
inline unsigned int mask8(char c) {
  return static_cast<unsigned char>(c);
}
// True for a continuation byte (top bits 10).
inline bool is_trail(char c) {
  return (mask8(c) >> 6) == 0x2;
}
}  // namespace detail

// The surrogate pair of a code point from U+10000 to U+10FFFF: the lead unit in the low 16 bits and
// the trail unit in the high 16 bits.
inline unsigned int make_surrogate_pair(unsigned int codePoint) {
  unsigned int lead = 0xD7C0 + (codePoint >> 10);
  unsigned int trail = 0xDC00 + (codePoint & 0x3FF);
  return lead | (trail << 16);
}
}  // namespace utf8

}  // namespace vyk

#endif
