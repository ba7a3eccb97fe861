// Conversion through the library's Unicode converters, checked against iconv doing the same.
#include "vyk/enc/UnicodeCharConverter.h"

#include <gtest/gtest.h>
#include <iconv.h>

#include <random>
#include <string>
#include <thread>
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

// A code point as UTF-8.
std::string utf8(char32_t c) {
  std::string s;
  if (c < 0x80) {
    s += static_cast<char>(c);
  } else if (c < 0x800) {
    s += static_cast<char>(0xC0 | c >> 6);
    s += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    s += static_cast<char>(0xE0 | c >> 12);
    s += static_cast<char>(0x80 | (c >> 6 & 0x3F));
    s += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    s += static_cast<char>(0xF0 | c >> 18);
    s += static_cast<char>(0x80 | (c >> 12 & 0x3F));
    s += static_cast<char>(0x80 | (c >> 6 & 0x3F));
    s += static_cast<char>(0x80 | (c & 0x3F));
  }
  return s;
}

// Random valid text: ASCII runs, Latin-1, other BMP characters and supplementary ones.
std::string randomUtf8(std::mt19937& random, size_t characters, char32_t highest) {
  std::string text;
  std::uniform_int_distribution<int> kind(0, 3);
  for (size_t i = 0; i < characters; ++i) {
    char32_t c;
    switch (kind(random)) {
      case 0:
        c = std::uniform_int_distribution<char32_t>(0x20, 0x7E)(random);
        break;
      case 1:
        c = std::uniform_int_distribution<char32_t>(0xA0, 0xFF)(random);
        break;
      case 2:
        c = std::uniform_int_distribution<char32_t>(0x100, 0xD7FF)(random);
        break;
      default:
        c = std::uniform_int_distribution<char32_t>(0x10000, 0x10FFFF)(random);
        break;
    }
    if (c > highest) c = c % (highest - 0x20) + 0x20;
    text += utf8(c);
  }
  return text;
}

TEST(UnicodeCharConverter, AgreesWithIconvOnValidText) {
  struct Case {
    char const* from;
    char const* to;
    char32_t highest;  // the largest code point the source side can hold
  };
  Case const cases[] = {
      {"UTF-8", "UTF-16LE", 0x10FFFF}, {"UTF-8", "UTF-16BE", 0x10FFFF},    {"UTF-16LE", "UTF-8", 0x10FFFF},
      {"UTF-16BE", "UTF-8", 0x10FFFF}, {"UTF-16LE", "UTF-16BE", 0x10FFFF}, {"ISO-8859-1", "UTF-8", 0xFF},
      {"UTF-8", "ISO-8859-1", 0xFF},   {"IBM-1047", "UTF-16LE", 0xFF},     {"UTF-8", "IBM-1047", 0xFF},
  };
  std::mt19937 random(20240611);
  for (Case const& c : cases) {
    IntrusivePointer<CharConverter> converter = make(c.from, c.to);
    for (size_t length : {0, 1, 5, 255, 256, 257, 600}) {
      SCOPED_TRACE(std::string(c.from) + " to " + c.to + ", " + std::to_string(length) + " characters");
      std::string source;
      ASSERT_TRUE(iconvConvert("UTF-8", c.from, randomUtf8(random, length, c.highest), source));
      std::string expected;
      ASSERT_TRUE(iconvConvert(c.from, c.to, source, expected));
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
    std::string expected(before, '\0');
    expected += "\xF0\x9F\x98\x80";
    IntrusivePointer<CharConverter> converter = make("UTF-16LE", "UTF-8");
    std::vector<char> out(expected.size());
    unsigned long const n = converter->convert(source.data(), source.size(), out.data(), out.size());
    EXPECT_EQ(expected, std::string(out.data(), n));
  }
}

// Every room from nothing to enough: the converter writes whole characters, stops with Overflow in
// front of the first that does not fit, and resuming there gives the rest.
TEST(UnicodeCharConverter, OverflowAtEveryRoomResumesWhereItStopped) {
  std::string const text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z";  // a, e-acute, euro, U+1F600, z
  struct Case {
    char const* from;
    char const* to;
  };
  Case const cases[] = {{"UTF-8", "UTF-16BE"}, {"UTF-16LE", "UTF-8"}, {"UTF-16BE", "UTF-16LE"}};
  for (Case const& c : cases) {
    std::string source, expected;
    ASSERT_TRUE(iconvConvert("UTF-8", c.from, text, source));
    ASSERT_TRUE(iconvConvert("UTF-8", c.to, text, expected));
    IntrusivePointer<CharConverter> converter = make(c.from, c.to);
    for (size_t room = 0; room <= expected.size(); ++room) {
      SCOPED_TRACE(std::string(c.from) + " to " + c.to + ", room " + std::to_string(room));
      std::vector<char> out(room + 1);
      char const* s = source.data();
      char* t = out.data();
      CharConverter::ErrorCode code = CharConverter::Invalid;
      converter->convert(&s, source.data() + source.size(), &t, out.data() + room, true, true, code, false);
      std::string const first(out.data(), t);
      EXPECT_EQ(room == expected.size() ? CharConverter::Ok : CharConverter::Overflow, code);
      EXPECT_EQ(expected.substr(0, first.size()), first);
      // What was consumed is exactly what was written.
      std::string consumed;
      ASSERT_TRUE(iconvConvert(c.from, c.to,
                               std::string(source.data(), static_cast<size_t>(s - source.data())), consumed));
      EXPECT_EQ(consumed, first);
      std::vector<char> rest(expected.size());
      char* r = rest.data();
      converter->convert(&s, source.data() + source.size(), &r, rest.data() + rest.size(), false, true, code,
                         false);
      EXPECT_EQ(CharConverter::Ok, code);
      EXPECT_EQ(expected, first + std::string(rest.data(), r));
    }
  }
}

TEST(UnicodeCharConverter, StopsInFrontOfAFault) {
  struct Case {
    char const* from;
    char const* to;
    std::string in;
    CharConverter::ErrorCode code;
    long consumed;
    std::string out;
  };
  Case const cases[] = {
      {"UTF-8", "ISO-8859-1", "ab\xE2\x82\xAC", CharConverter::Unmappable, 2, "ab"},
      {"UTF-8", "UTF-16LE", "a\xC0\x80", CharConverter::Invalid, 1, std::string("a\0", 2)},      // overlong
      {"UTF-8", "UTF-16LE", "a\xED\xA0\x80", CharConverter::Invalid, 1, std::string("a\0", 2)},  // surrogate
      {"UTF-8", "UTF-16LE", "a\xF4\x90\x80\x80", CharConverter::Invalid, 1, std::string("a\0", 2)},
      {"UTF-16LE", "UTF-8", std::string("a\0\x00\xD8z\0", 6), CharConverter::Invalid, 2, "a"},  // lone high
      {"UTF-16LE", "UTF-8", std::string("a\0b", 3), CharConverter::Invalid, 2, "a"},  // odd byte at the end
      {"UTF-16BE", "IBM-1047", std::string("\0a\x01\x00", 4), CharConverter::Unmappable, 2, "\x81"},
      // The library's UTF-8 writer passes a lone low surrogate as three bytes; iconv refuses it.
      {"UTF-16LE", "UTF-8", std::string("\x00\xDC", 2), CharConverter::Ok, 2, "\xED\xB0\x80"},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(std::string(c.from) + " to " + c.to);
    IntrusivePointer<CharConverter> converter = make(c.from, c.to);
    char out[16];
    char const* s = c.in.data();
    char* t = out;
    CharConverter::ErrorCode code = CharConverter::Overflow;
    converter->convert(&s, c.in.data() + c.in.size(), &t, out + sizeof out, true, true, code, false);
    EXPECT_EQ(c.code, code);
    EXPECT_EQ(c.consumed, s - c.in.data());
    EXPECT_EQ(c.out, std::string(out, t));
  }
}

// One converter shared by several threads gives each the same answer.
TEST(UnicodeCharConverter, ServesSeveralThreadsAtOnce) {
  struct Case {
    char const* from;
    char const* to;
  };
  Case const cases[] = {{"UTF-8", "IBM-1047"}, {"UTF-16LE", "UTF-8"}};
  std::mt19937 random(7);
  for (Case const& c : cases) {
    SCOPED_TRACE(std::string(c.from) + " to " + c.to);
    std::string source, expected;
    ASSERT_TRUE(iconvConvert("UTF-8", c.from, randomUtf8(random, 2000, 0xFF), source));
    ASSERT_TRUE(iconvConvert(c.from, c.to, source, expected));
    IntrusivePointer<CharConverter> converter = make(c.from, c.to);
    std::vector<std::string> results(4);
    std::vector<std::thread> threads;
    for (std::string& result : results) {
      threads.emplace_back([&converter, &source, &result] {
        for (int round = 0; round < 50; ++round) {
          std::vector<char> out(converter->maxRequiredOutputBufferLength(source.size()));
          result.assign(out.data(), converter->convert(source.data(), source.size(), out.data(), out.size()));
        }
      });
    }
    for (std::thread& t : threads) t.join();
    for (std::string const& result : results) EXPECT_EQ(expected, result);
  }
}

TEST(UnicodeCharConverter, ServesOnlyEncodingsItHasAConverterFor) {
  struct Case {
    char const* name;
    bool served;
  };
  Case const cases[] = {
      {"UTF-8", true},     {"UTF-16LE", true},  {"UTF-16BE", true}, {"ISO-8859-1", true},
      {"IBM-1047", true},  {"UTF-32LE", false}, {"CP1252", false},  // 0x81 is no character
      {"US-ASCII", false},                                          // bytes above 0x7F are no characters
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.served,
              UnicodeCharConverter::unicodeConverterFor(CharEncoding::forName(c.name)).get() != nullptr);
  }
}

}  // namespace
}  // namespace vyk
