// Encodings and a converter factory for tests that must not depend on iconv: a few fixed encodings
// whose objects start with the flag word, and converters that go through code points.
#ifndef VYK_TESTS_SUPPORT_TESTENCODINGS_H
#define VYK_TESTS_SUPPORT_TESTENCODINGS_H

#include <atomic>
#include <cstdint>

#include "vyk/util/CharConversionSpec.h"
#include "vyk/util/CharConverter.h"
#include "vyk/util/TrantabTable.h"

namespace vyk {
namespace testing {

// The library reads the flag word at the start of an encoding; the rest is for the test factory.
struct TestEncoding {
  enum Form { LATIN1, EBCDIC1047, UTF8, UTF16LE, UTF16BE, UTF32LE, UTF32BE };

  std::uint32_t flags;
  Form form;
  char const* name;

  CharEncoding const* get() const { return reinterpret_cast<CharEncoding const*>(this); }
  static TestEncoding const& of(CharEncoding const* encoding) {
    return *reinterpret_cast<TestEncoding const*>(encoding);
  }
};

inline TestEncoding const kLatin1{ENC_ASCII_LINE_ENDS, TestEncoding::LATIN1, "latin1"};
// IBM-1047 with OpenEdition line ends: client 0x0A is 0x15 on the file.
inline TestEncoding const kEbcdic{ENC_EBCDIC | ENC_EBCDIC_NL, TestEncoding::EBCDIC1047, "ebcdic"};
// The same bytes, but flagged with the line feed 0x25.
inline TestEncoding const kEbcdic25{ENC_EBCDIC, TestEncoding::EBCDIC1047, "ebcdic25"};
inline TestEncoding const kUtf8{ENC_UTF8 | ENC_ASCII_LINE_ENDS, TestEncoding::UTF8, "utf8"};
inline TestEncoding const kUtf16LE{ENC_UTF16LE | ENC_ASCII_LINE_ENDS, TestEncoding::UTF16LE, "utf16le"};
inline TestEncoding const kUtf16BE{ENC_UTF16BE | ENC_ASCII_LINE_ENDS, TestEncoding::UTF16BE, "utf16be"};
inline TestEncoding const kUtf32LE{ENC_UTF32LE | ENC_ASCII_LINE_ENDS, TestEncoding::UTF32LE, "utf32le"};
inline TestEncoding const kUtf32BE{ENC_UTF32BE | ENC_ASCII_LINE_ENDS, TestEncoding::UTF32BE, "utf32be"};
// Latin-1 bytes, flagged with no line feed at all.
inline TestEncoding const kNoLineEnds{0, TestEncoding::LATIN1, "nolineends"};

// Converts one character at a time through its code point. Stops in front of a character that is
// malformed (Invalid), has no form in the target (Unmappable) or does not fit (Overflow). Counts its
// calls in *calls when given.
class TestConverter : public CharConverter {
 public:
  using CharConverter::convert;

  TestConverter(TestEncoding::Form from, TestEncoding::Form to, ErrorHandler const* handler,
                std::atomic<int>* calls)
      : CharConverter(handler), from_(from), to_(to), calls_(calls) {}

  void convert(char const** source, char const* sourceEnd, char** target, char const* targetEnd, bool, bool,
               ErrorCode& code, bool) const override {
    if (calls_ != nullptr) ++*calls_;
    unsigned char const* s = reinterpret_cast<unsigned char const*>(*source);
    unsigned char const* const end = reinterpret_cast<unsigned char const*>(sourceEnd);
    code = Ok;
    while (s != end) {
      std::uint32_t cp = 0;
      int const taken = decode(from_, s, end, cp);
      if (taken == 0) {
        code = Invalid;
        break;
      }
      unsigned char bytes[4];
      int const n = encode(to_, cp, bytes);
      if (n == 0) {
        code = Unmappable;
        break;
      }
      if (targetEnd - *target < n) {
        code = Overflow;
        break;
      }
      for (int i = 0; i < n; ++i) *(*target)++ = static_cast<char>(bytes[i]);
      s += taken;
    }
    *source = reinterpret_cast<char const*>(s);
  }
  unsigned long maxRequiredOutputBufferLength(unsigned long sourceLength) const override {
    return 4 * sourceLength;
  }
  int maxSourceBytesPerChar() const override { return width(from_); }
  int maxTargetBytesPerChar() const override { return width(to_); }

  static int width(TestEncoding::Form form) {
    return form == TestEncoding::LATIN1 || form == TestEncoding::EBCDIC1047 ? 1 : 4;
  }

 private:
  // Bytes taken by one character at s, 0 when malformed (cut off included).
  static int decode(TestEncoding::Form form, unsigned char const* s, unsigned char const* end,
                    std::uint32_t& cp) {
    long const left = end - s;
    switch (form) {
      case TestEncoding::LATIN1:
        cp = s[0];
        return 1;
      case TestEncoding::EBCDIC1047:
        cp = (*TrantabTable::openEdition1047ToIso88591())[s[0]];
        return 1;
      case TestEncoding::UTF8: {
        int n = s[0] < 0x80             ? 1
                : (s[0] & 0xE0) == 0xC0 ? 2
                : (s[0] & 0xF0) == 0xE0 ? 3
                : (s[0] & 0xF8) == 0xF0 ? 4
                                        : 0;
        if (n == 0 || left < n) return 0;
        cp = n == 1 ? s[0] : s[0] & (0x7F >> n);
        for (int i = 1; i < n; ++i) {
          if ((s[i] & 0xC0) != 0x80) return 0;
          cp = cp << 6 | (s[i] & 0x3F);
        }
        static std::uint32_t const least[] = {0, 0, 0x80, 0x800, 0x10000};
        if (cp < least[n] || cp > 0x10FFFF || (cp >= 0xD800 && cp < 0xE000)) return 0;
        return n;
      }
      case TestEncoding::UTF16LE:
      case TestEncoding::UTF16BE: {
        bool const le = form == TestEncoding::UTF16LE;
        auto unit = [&](int at) { return le ? s[at] | s[at + 1] << 8 : s[at] << 8 | s[at + 1]; };
        if (left < 2) return 0;
        std::uint32_t const u = static_cast<std::uint32_t>(unit(0));
        if (u < 0xD800 || u >= 0xE000) {
          cp = u;
          return 2;
        }
        if (u >= 0xDC00 || left < 4) return 0;
        std::uint32_t const low = static_cast<std::uint32_t>(unit(2));
        if (low < 0xDC00 || low >= 0xE000) return 0;
        cp = 0x10000 + ((u - 0xD800) << 10) + (low - 0xDC00);
        return 4;
      }
      case TestEncoding::UTF32LE:
      case TestEncoding::UTF32BE: {
        if (left < 4) return 0;
        cp = form == TestEncoding::UTF32LE ? static_cast<std::uint32_t>(s[0] | s[1] << 8 | s[2] << 16) |
                                                 static_cast<std::uint32_t>(s[3]) << 24
                                           : static_cast<std::uint32_t>(s[0]) << 24 |
                                                 static_cast<std::uint32_t>(s[1] << 16 | s[2] << 8 | s[3]);
        if (cp > 0x10FFFF || (cp >= 0xD800 && cp < 0xE000)) return 0;
        return 4;
      }
    }
    return 0;
  }

  // Bytes of cp in the form, 0 when the form cannot hold it.
  static int encode(TestEncoding::Form form, std::uint32_t cp, unsigned char* out) {
    switch (form) {
      case TestEncoding::LATIN1:
        if (cp > 0xFF) return 0;
        out[0] = static_cast<unsigned char>(cp);
        return 1;
      case TestEncoding::EBCDIC1047:
        if (cp > 0xFF) return 0;
        out[0] = (*TrantabTable::iso88591ToOpenEdition1047())[static_cast<unsigned char>(cp)];
        return 1;
      case TestEncoding::UTF8:
        if (cp < 0x80) {
          out[0] = static_cast<unsigned char>(cp);
          return 1;
        }
        if (cp < 0x800) {
          out[0] = static_cast<unsigned char>(0xC0 | cp >> 6);
          out[1] = static_cast<unsigned char>(0x80 | (cp & 0x3F));
          return 2;
        }
        if (cp < 0x10000) {
          out[0] = static_cast<unsigned char>(0xE0 | cp >> 12);
          out[1] = static_cast<unsigned char>(0x80 | (cp >> 6 & 0x3F));
          out[2] = static_cast<unsigned char>(0x80 | (cp & 0x3F));
          return 3;
        }
        out[0] = static_cast<unsigned char>(0xF0 | cp >> 18);
        out[1] = static_cast<unsigned char>(0x80 | (cp >> 12 & 0x3F));
        out[2] = static_cast<unsigned char>(0x80 | (cp >> 6 & 0x3F));
        out[3] = static_cast<unsigned char>(0x80 | (cp & 0x3F));
        return 4;
      case TestEncoding::UTF16LE:
      case TestEncoding::UTF16BE: {
        bool const le = form == TestEncoding::UTF16LE;
        auto put = [&](std::uint32_t u, unsigned char* at) {
          at[le ? 0 : 1] = static_cast<unsigned char>(u & 0xFF);
          at[le ? 1 : 0] = static_cast<unsigned char>(u >> 8);
        };
        if (cp < 0x10000) {
          put(cp, out);
          return 2;
        }
        put(0xD800 + ((cp - 0x10000) >> 10), out);
        put(0xDC00 + ((cp - 0x10000) & 0x3FF), out + 2);
        return 4;
      }
      case TestEncoding::UTF32LE:
      case TestEncoding::UTF32BE:
        for (int i = 0; i < 4; ++i) {
          unsigned char const b = static_cast<unsigned char>(cp >> (8 * i));
          out[form == TestEncoding::UTF32LE ? i : 3 - i] = b;
        }
        return 4;
    }
    return 0;
  }

  TestEncoding::Form from_;
  TestEncoding::Form to_;
  std::atomic<int>* calls_;
};

// Makes TestConverters between TestEncodings; counts the conversion calls of its converters.
class TestConverterFactory : public CharConverterFactory {
 public:
  explicit TestConverterFactory(CharConverter::ErrorHandler const* handler = nullptr) : handler_(handler) {}

  IntrusivePointer<CharConverter> create(CharEncoding const* from, CharEncoding const* to) const override {
    return IntrusivePointer<CharConverter>(
        new TestConverter(TestEncoding::of(from).form, TestEncoding::of(to).form, handler_, &conversions));
  }

  mutable std::atomic<int> conversions{0};

 private:
  CharConverter::ErrorHandler const* handler_;
};

// An error handler that only counts what it was told, so that the wrappers go on.
class CountingErrorHandler : public CharConverter::ErrorHandler {
 public:
  void onOverflow() const override { ++overflows; }
  void onInvalid() const override { ++invalids; }
  void onUnmappable() const override { ++unmappables; }

  mutable int overflows = 0;
  mutable int invalids = 0;
  mutable int unmappables = 0;
};

}  // namespace testing
}  // namespace vyk

#endif
