// Conversion through the library's Unicode converters, checked against iconv doing the same.
#include "vyk/enc/UnicodeCharConverter.h"

#include <gtest/gtest.h>
#include <iconv.h>

#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "vyk/enc/IconvConverterFactory.h"

namespace vyk {
namespace {

IntrusivePointer<CharConverter> make(char const* from, char const* to) {
  IntrusivePointer<CharConverter> converter =
      IconvConverterFactory::instance()->create(CharEncoding::forName(from), CharEncoding::forName(to));
  EXPECT_NE(nullptr, dynamic_cast<UnicodeCharConverter const*>(converter.get())) << from << " to " << to;
  return converter;
}

// iconv's answer for the whole text; false when iconv refuses it.
bool iconvConvert(char const* from, char const* to, std::string const& in, std::string& out) {
  iconv_t cd = iconv_open(to, from);
  EXPECT_NE(reinterpret_cast<iconv_t>(-1), cd);
  std::string input(in);
  std::vector<char> buffer(4 * in.size() + 16);
  char* inPtr = &input[0];
  size_t inLeft = input.size();
  char* outPtr = buffer.data();
  size_t outLeft = buffer.size();
  size_t const r = iconv(cd, &inPtr, &inLeft, &outPtr, &outLeft);
  iconv_close(cd);
  out.assign(buffer.data(), outPtr);
  return r != static_cast<size_t>(-1);
}

// Random valid text in `encoding`, made by iconv from code points drawn from ASCII, Latin-1, the rest
// of the BMP below the surrogates and the supplementary planes, none above `highest`.
std::string randomText(std::mt19937& random, size_t characters, char32_t highest, char const* encoding) {
  char32_t const ranges[][2] = {{0x20, 0x7E}, {0xA0, 0xFF}, {0x100, 0xD7FF}, {0x10000, 0x10FFFF}};
  std::string utf32;
  for (size_t i = 0; i < characters; ++i) {
    auto const& r = ranges[random() % 4];
    char32_t c = std::uniform_int_distribution<char32_t>(r[0], r[1])(random);
    if (c > highest) c = c % (highest - 0x20) + 0x20;
    for (int shift = 0; shift < 32; shift += 8) utf32 += static_cast<char>(c >> shift & 0xFF);
  }
  std::string text;
  EXPECT_TRUE(iconvConvert("UTF-32LE", encoding, utf32, text));
  return text;
}

// One call of the bulk operation with `room` bytes of target; gives the code and what was written, and
// moves `s` past what was read.
CharConverter::ErrorCode step(CharConverter const& converter, char const*& s, char const* end, size_t room,
                              bool atStart, std::string& written) {
  std::vector<char> out(room + 1);
  char* t = out.data();
  CharConverter::ErrorCode code = CharConverter::Overflow;
  converter.convert(&s, end, &t, out.data() + room, atStart, true, code, false);
  written.assign(out.data(), t);
  return code;
}

struct Pair {
  char const* from;
  char const* to;
};

TEST(UnicodeCharConverter, AgreesWithIconvOnValidText) {
  // The pair and the largest code point the source side can hold.
  std::tuple<char const*, char const*, char32_t> const cases[] = {
      {"UTF-8", "UTF-16LE", 0x10FFFF}, {"UTF-8", "UTF-16BE", 0x10FFFF},    {"UTF-16LE", "UTF-8", 0x10FFFF},
      {"UTF-16BE", "UTF-8", 0x10FFFF}, {"UTF-16LE", "UTF-16BE", 0x10FFFF}, {"ISO-8859-1", "UTF-8", 0xFF},
      {"UTF-8", "ISO-8859-1", 0xFF},   {"IBM-1047", "UTF-16LE", 0xFF},     {"UTF-8", "IBM-1047", 0xFF},
  };
  std::mt19937 random(20240611);
  for (auto const& [from, to, highest] : cases) {
    IntrusivePointer<CharConverter> converter = make(from, to);
    for (size_t length : {0, 1, 5, 255, 256, 257, 600}) {
      SCOPED_TRACE(std::string(from) + " to " + to + ", " + std::to_string(length) + " characters");
      std::string const source = randomText(random, length, highest, from);
      std::string expected;
      ASSERT_TRUE(iconvConvert(from, to, source, expected));
      std::vector<char> out(converter->maxRequiredOutputBufferLength(source.size()) + 1);
      unsigned long const n = converter->convert(source.data(), source.size(), out.data(), out.size());
      EXPECT_EQ(expected, std::string(out.data(), n));
    }
  }
}

// A pair of units that straddles the converter's block of 256 units stays whole.
TEST(UnicodeCharConverter, SurrogatePairAcrossItsUnitBlock) {
  for (size_t before : {254, 255, 256, 511}) {
    SCOPED_TRACE(before);
    std::string const source = std::string(2 * before, '\0') + std::string("\x3D\xD8\x00\xDE", 4);  // U+1F600
    char const* s = source.data();
    std::string out;
    EXPECT_EQ(CharConverter::Ok,
              step(*make("UTF-16LE", "UTF-8"), s, s + source.size(), before + 4, true, out));
    EXPECT_EQ(std::string(before, '\0') + "\xF0\x9F\x98\x80", out);
  }
}

// Every room from nothing to enough: the converter writes whole characters, stops with Overflow in
// front of the first that does not fit, and resuming there gives the rest.
TEST(UnicodeCharConverter, OverflowAtEveryRoomResumesWhereItStopped) {
  std::string const text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z";  // a, e-acute, euro, U+1F600, z
  for (Pair const& c : {Pair{"UTF-8", "UTF-16BE"}, Pair{"UTF-16LE", "UTF-8"}, Pair{"UTF-16BE", "UTF-16LE"}}) {
    std::string source, expected, first, consumed, rest;
    ASSERT_TRUE(iconvConvert("UTF-8", c.from, text, source));
    ASSERT_TRUE(iconvConvert("UTF-8", c.to, text, expected));
    IntrusivePointer<CharConverter> converter = make(c.from, c.to);
    for (size_t room = 0; room <= expected.size(); ++room) {
      SCOPED_TRACE(std::string(c.from) + " to " + c.to + ", room " + std::to_string(room));
      char const* s = source.data();
      char const* const end = s + source.size();
      EXPECT_EQ(room == expected.size() ? CharConverter::Ok : CharConverter::Overflow,
                step(*converter, s, end, room, true, first));
      ASSERT_TRUE(iconvConvert(c.from, c.to, std::string(source.c_str(), s), consumed));
      EXPECT_EQ(consumed, first);  // what was read is exactly what was written
      EXPECT_EQ(CharConverter::Ok, step(*converter, s, end, expected.size(), false, rest));
      EXPECT_EQ(expected, first + rest);
    }
  }
}

TEST(UnicodeCharConverter, StopsInFrontOfAFault) {
  // The pair, a text; the code, the bytes read and the bytes written.
  std::tuple<char const*, char const*, std::string, CharConverter::ErrorCode, long,
             std::string> const cases[] = {
      {"UTF-8", "ISO-8859-1", "ab\xE2\x82\xAC", CharConverter::Unmappable, 2, "ab"},
      {"UTF-8", "UTF-16LE", "a\xC0\x80", CharConverter::Invalid, 1, std::string("a\0", 2)},     // overlong
      {"UTF-16LE", "UTF-8", std::string("a\0\x00\xD8z\0", 6), CharConverter::Invalid, 2, "a"},  // lone high
      {"UTF-16LE", "UTF-8", std::string("a\0b", 3), CharConverter::Invalid, 2, "a"},  // odd byte at the end
      {"UTF-16BE", "IBM-1047", std::string("\0a\x01\x00", 4), CharConverter::Unmappable, 2, "\x81"},
      // The library's UTF-8 writer passes a lone low surrogate as three bytes; iconv refuses it.
      {"UTF-16LE", "UTF-8", std::string("\x00\xDC", 2), CharConverter::Ok, 2, "\xED\xB0\x80"},
  };
  for (auto const& [from, to, in, code, consumed, out] : cases) {
    SCOPED_TRACE(std::string(from) + " to " + to);
    char const* s = in.data();
    std::string written;
    EXPECT_EQ(code, step(*make(from, to), s, s + in.size(), 16, true, written));
    EXPECT_EQ(consumed, s - in.data());
    EXPECT_EQ(out, written);
  }
}

// CP1252 leaves 0x81 undefined and US-ASCII every byte above 0x7F: neither has a converter of its own.
TEST(UnicodeCharConverter, ServesOnlyEncodingsItHasAConverterFor) {
  for (char const* name : {"UTF-8", "UTF-16LE", "UTF-16BE", "ISO-8859-1", "IBM-1047"}) {
    EXPECT_NE(nullptr, UnicodeCharConverter::unicodeConverterFor(CharEncoding::forName(name)).get()) << name;
  }
  for (char const* name : {"UTF-32LE", "CP1252", "US-ASCII"}) {
    EXPECT_EQ(nullptr, UnicodeCharConverter::unicodeConverterFor(CharEncoding::forName(name)).get()) << name;
  }
}

}  // namespace
}  // namespace vyk
