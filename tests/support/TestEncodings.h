// Encodings and a converter factory for tests that must not depend on iconv: a few fixed encodings
// whose objects start with the flag word, and converters that go through code points.
#ifndef VYK_TESTS_SUPPORT_TESTENCODINGS_H
#define VYK_TESTS_SUPPORT_TESTENCODINGS_H

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <utility>
#include <vector>

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
// malformed (Invalid), has no form in the target (Unmappable) or does not fit (Overflow), and in front
// of the bytes set as invalidAt and unmappableAt. Counts its calls in *calls when given, logs the run
// flags of every call, and how many threads were inside at once.
class TestConverter : public CharConverter {
 public:
  using CharConverter::convert;

  TestConverter(TestEncoding::Form from, TestEncoding::Form to, ErrorHandler const* handler,
                std::atomic<int>* calls)
      : CharConverter(handler), from_(from), to_(to), calls_(calls) {}

  void convert(char const** source, char const* sourceEnd, char** target, char const* targetEnd, bool atStart,
               bool atEnd, ErrorCode& code, bool) const override {
    if (calls_ != nullptr) ++*calls_;
    mostInside = std::max(mostInside, ++inside);
    std::this_thread::yield();  // lets another thread in, if nothing keeps it out
    flags.push_back({atStart, atEnd});
    unsigned char const* s = reinterpret_cast<unsigned char const*>(*source);
    unsigned char const* const end = reinterpret_cast<unsigned char const*>(sourceEnd);
    code = Ok;
    while (s != end) {
      std::uint32_t cp = 0;
      int const taken = *s == invalidAt ? 0 : decode(from_, s, end, cp);
      if (taken == 0) {
        code = Invalid;
        break;
      }
      unsigned char bytes[4];
      int const n = *s == unmappableAt ? 0 : encode(to_, cp, bytes);
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
    --inside;
  }
  unsigned long maxRequiredOutputBufferLength(unsigned long sourceLength) const override {
    return 4 * sourceLength;
  }
  int maxSourceBytesPerChar() const override { return width(from_); }
  int maxTargetBytesPerChar() const override { return width(to_); }

  int invalidAt = -1, unmappableAt = -1;
  mutable std::vector<std::pair<bool, bool>> flags;  // atStart, atEnd
  mutable std::atomic<int> inside{0};
  mutable int mostInside = 0;

  static int width(TestEncoding::Form form) {
    return form == TestEncoding::LATIN1 || form == TestEncoding::EBCDIC1047 ? 1 : 4;
  }

 private:
  static bool littleEndian(TestEncoding::Form form) {
    return form == TestEncoding::UTF16LE || form == TestEncoding::UTF32LE;
  }
  // The unit of `size` bytes at `at`, in the form's byte order; and the other way.
  static std::uint32_t get(unsigned char const* at, int size, bool le) {
    std::uint32_t v = 0;
    for (int i = 0; i < size; ++i) v |= static_cast<std::uint32_t>(at[le ? i : size - 1 - i]) << (8 * i);
    return v;
  }
  static void put(std::uint32_t v, int size, bool le, unsigned char* at) {
    for (int i = 0; i < size; ++i) at[le ? i : size - 1 - i] = static_cast<unsigned char>(v >> (8 * i));
  }

  // Bytes taken by one character at s, 0 when malformed (cut off included).
  static int decode(TestEncoding::Form form, unsigned char const* s, unsigned char const* end,
                    std::uint32_t& cp) {
    long const left = end - s;
    bool const le = littleEndian(form);
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
        return cp < least[n] || cp > 0x10FFFF || (cp >= 0xD800 && cp < 0xE000) ? 0 : n;
      }
      case TestEncoding::UTF16LE:
      case TestEncoding::UTF16BE: {
        if (left < 2) return 0;
        cp = get(s, 2, le);
        if (cp < 0xD800 || cp >= 0xE000) return 2;
        std::uint32_t const low = left < 4 ? 0 : get(s + 2, 2, le);
        if (cp >= 0xDC00 || low < 0xDC00 || low >= 0xE000) return 0;
        cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
        return 4;
      }
      case TestEncoding::UTF32LE:
      case TestEncoding::UTF32BE:
        if (left < 4) return 0;
        cp = get(s, 4, le);
        return cp > 0x10FFFF || (cp >= 0xD800 && cp < 0xE000) ? 0 : 4;
    }
    return 0;
  }

  // Bytes of cp in the form, 0 when the form cannot hold it.
  static int encode(TestEncoding::Form form, std::uint32_t cp, unsigned char* out) {
    bool const le = littleEndian(form);
    switch (form) {
      case TestEncoding::LATIN1:
      case TestEncoding::EBCDIC1047:
        if (cp > 0xFF) return 0;
        out[0] = form == TestEncoding::LATIN1 ? static_cast<unsigned char>(cp)
                                              : (*TrantabTable::iso88591ToOpenEdition1047())[cp & 0xFF];
        return 1;
      case TestEncoding::UTF8: {
        int const n = cp < 0x80 ? 1 : cp < 0x800 ? 2 : cp < 0x10000 ? 3 : 4;
        static unsigned char const lead[] = {0, 0, 0xC0, 0xE0, 0xF0};
        for (int i = n - 1; i > 0; --i, cp >>= 6) out[i] = static_cast<unsigned char>(0x80 | (cp & 0x3F));
        out[0] = static_cast<unsigned char>(lead[n] | cp);
        return n;
      }
      case TestEncoding::UTF16LE:
      case TestEncoding::UTF16BE:
        if (cp < 0x10000) {
          put(cp, 2, le, out);
          return 2;
        }
        put(0xD800 + ((cp - 0x10000) >> 10), 2, le, out);
        put(0xDC00 + ((cp - 0x10000) & 0x3FF), 2, le, out + 2);
        return 4;
      case TestEncoding::UTF32LE:
      case TestEncoding::UTF32BE:
        put(cp, 4, le, out);
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

// An error handler that writes one letter per call (O, I, U) and, when asked, throws HandlerThrew after.
struct HandlerThrew {};
class RecordingErrorHandler : public CharConverter::ErrorHandler {
 public:
  explicit RecordingErrorHandler(bool throws = false) : throws_(throws) {}
  void onOverflow() const override { record('O'); }
  void onInvalid() const override { record('I'); }
  void onUnmappable() const override { record('U'); }

  mutable std::string calls;

 private:
  void record(char c) const {
    calls += c;
    if (throws_) throw HandlerThrew();
  }
  bool throws_;
};

}  // namespace testing
}  // namespace vyk

#endif
