// The UESC, UNCR and UPAREN forms: exact generated texts, parsing, bounds, and round trips.
#include "vyk/util/UnicodeEscapes.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace vyk {
namespace {

typedef std::basic_string<unsigned short> U16;
typedef UnicodeConverter UC;
typedef int (*Whole)(U16 const&, IntrusivePointer<UC>, char*, int);

// The ASCII text as code units.
U16 u(std::string const& ascii) {
  U16 out;
  for (unsigned char c : ascii) out += c;
  return out;
}

std::string run(Whole f, U16 const& text, IntrusivePointer<UC> conv, int targetLen) {
  std::vector<char> buf(static_cast<size_t>(targetLen) + 1, '\x7E');
  int n = f(text, conv, buf.data(), targetLen);
  EXPECT_EQ('\x7E', buf[static_cast<size_t>(targetLen)]) << "wrote past targetLen";
  EXPECT_GE(n, 0);
  EXPECT_LE(n, targetLen);
  return std::string(buf.data(), static_cast<size_t>(n < 0 ? 0 : n));
}

// Generated and parsed texts over ISO 8859-1, exact to the byte.
TEST(UnicodeEscapes, GeneratedAndParsedTexts) {
  // The form, a text, the room and the text made.
  std::tuple<Whole, U16, int, std::string> const cases[] = {
      {generateUESC, {0x20AC}, 64, "\\u20AC"},
      {generateUESC, u(","), 64, "\\u002C"},
      {generateUESC, {0xFFFF, 0x0}, 64, "\\uFFFF\\u0000"},
      {generateUESC, u("\\u0041"), 64, "\\uu0041"},  // looks like an escape: one more u
      {generateUESC, u("\\UU00e9x"), 64, "\\uUU00e9x"},
      {generateUESC, u("\\u12"), 64, "\\u005Cu12"},  // too short to look like one
      {generateUESC, u("ab,"), 7, "ab"},             // no room for the form: stop before it
      {generateUESC, u("ab,"), 8, "ab\\u002C"},
      {generateUNCR, {0xFFFF, 'A', 0x3B}, 64, "&#65535;A&#00059;"},
      {generateUNCR, {'A', 0x20AC}, 8, "A"},  // 7 bytes left: no partial form
      {generateUNCR, {'A', 0x20AC}, 9, "A&#08364;"},
      {generateUPAREN, {'A', 0x20AC}, 17, "<u0041> <u20AC> "},
      {generateUPAREN, {'A', 0x20AC}, 16, "<u0041><u20AC>"},
      {generateUPAREN, {'A'}, 6, ""},
      {parseUESC, u("\\u00E9t\\u00E9"), 64, "\xE9t\xE9"},
      {parseUESC, u("\\uu0041"), 64, "\\u0041"},                  // an escaped escape
      {parseUESC, u("ab,cd"), 64, "ab"},                          // an unescaped comma ends the text quietly
      {parseUESC, u("\\u12G4z"), 64, "\x12z"},                    // digits read as far as they are hex
      {parseUESC, u("\\uZZZZz"), 64, "z"},                        // no number: nothing, and go on
      {parseUESC, u("a\\u00"), 64, "a"},                          // cut off: stop
      {parseUESC, U16{'\\', 'u', '0', 0x100, '4', '1'}, 64, ""},  // a digit unit above 0xFF
      {parseUNCR, u("&#00065;&#00233;"), 64, "A\xE9"},
      {parseUNCR, u("&#65601;"), 64, "A"},                        // the low 16 bits of 65601
      {parseUNCR, u("x&#0065"), 64, "xA"},                        // cut off by the end: read what is there
      {parseUNCR, u("x&#0836"), 64, std::string("x\x1A")},        // U+0344 is unmappable in ISO 8859-1
      {parseUNCR, u("x&#08"), 64, "x"},                           // fewer than 5 units from "&"
      {parseUNCR, u("&#abc;z"), 64, ";z"},                        // no number: the last byte read
      {parseUNCR, u("&#065536A"), 64, std::string("\0006A", 3)},  // six digits: the sixth is read again
      {parseUNCR, U16{'&', '#', 0x100, '6', '5', ';', 'B'}, 64, "65"},  // a unit above 0xFF gives 0
      {parseUNCR, u("&#00065;&#00066;"), 1, "A"},
      {parseUPAREN, u("<u0041>   <u0042><u00E9>"), 64, "AB\xE9"},
      {parseUPAREN, u("<v0041>"), 64, ""},
      {parseUPAREN, u("<u0041><u0042>"), 1, "A"},
  };
  IntrusivePointer<UC> latin1 = UC::iso88591ToUnicode();
  for (auto const& [f, text, targetLen, expected] : cases) {
    SCOPED_TRACE(latin1->fromUnicode(text));
    EXPECT_EQ(expected, run(f, text, latin1, targetLen));
  }
  // Plain units go through the converter, the forms stay ASCII.
  IntrusivePointer<UC> ebcdic = UC::openEdition1047ToUnicode();
  EXPECT_EQ("\xC1\\u20AC", run(generateUESC, {'A', 0x20AC}, ebcdic, 64));
  EXPECT_EQ("\xC1&#08364;", run(generateUNCR, {'A', 0x20AC}, ebcdic, 64));
  EXPECT_EQ("<u0041> ", run(generateUPAREN, {'A'}, ebcdic, 64));
}

TEST(UnicodeEscapes, ParsingThroughUtf8WritesAllBytesForUescAndOneForUncr) {
  IntrusivePointer<UC> utf8 = UC::utf8ToUnicode();
  EXPECT_EQ("\xE2\x82\xAC", run(parseUESC, u("\\u20AC"), utf8, 64));
  EXPECT_EQ("\xE2", run(parseUNCR, u("&#08364;"), utf8, 64));
  EXPECT_EQ("\xE2", run(parseUPAREN, u("<u20AC>"), utf8, 64));
  // A lone surrogate: the converter's invalid strategy decides.
  EXPECT_THROW(run(parseUESC, u("\\uD800"), utf8, 64), UC::InvalidError);
  EXPECT_THROW(run(parseUNCR, u("&#55296;"), utf8, 64), UC::InvalidError);
  utf8->setInvalidStrategy(UC::INVALID_SUBSTITUTE);
  EXPECT_EQ("\xEF\xBF\xBD", run(parseUESC, u("\\uD800"), utf8, 64));
  // A converted character that does not fit the room left: the converter's overflow passes through.
  EXPECT_THROW(run(parseUESC, u("\\u20AC"), utf8, 2), UC::OverflowError);
}

TEST(UnicodeEscapes, StepsReturnMinusOneWithoutMoving) {
  // The step, its text and room; the result and the units it moved the source by.
  std::tuple<int (*)(unsigned short const*&, unsigned short const*, IntrusivePointer<UC>, char*&,
                     char const*),
             U16, int, int, long> const cases[] = {
      {generateUESCencoding, u("\\u0041"), 6, -1, 0},  // needs n+6 = 7
      {generateUESCencoding, u("\\u0041"), 7, 7, 6},
      {generateUNCRencoding, {0x20AC}, 7, -1, 0},
      {parseUESCencoding, u("\\u004"), 8, -1, 0},
      {parseUESCencoding, u("\\uu0041"), 4, -1, 0},  // needs n+4 = 6
      {parseUESCencoding, u("\\uu0041"), 6, 6, 7},
      {parseUNCRencoding, u("&#65;"), 1, 1, 5},
      {parseUNCRencoding, u("&#065"), 1, 1, 5},  // cut off: stops at the end
      {parseUNCRencoding, u("&#65"), 1, -1, 0},
      {parseUNCRencoding, u("&#00065;"), 0, -1, 0},
  };
  IntrusivePointer<UC> latin1 = UC::iso88591ToUnicode();
  for (auto const& [step, text, room, result, sourceMoved] : cases) {
    SCOPED_TRACE(latin1->fromUnicode(text));
    std::vector<char> buf(static_cast<size_t>(room) + 1, '\x7E');
    unsigned short const* s = text.data();
    char* t = buf.data();
    EXPECT_EQ(result, step(s, text.data() + text.size(), latin1, t, buf.data() + room));
    EXPECT_EQ(sourceMoved, s - text.data());
    EXPECT_EQ(result < 0 ? 0 : result, t - buf.data());
    EXPECT_EQ('\x7E', buf[static_cast<size_t>(room)]);
  }
}

TEST(UnicodeEscapes, LengthsAndFixedTexts) {
  EXPECT_EQ(7, uescLength(u("uUu0041").c_str()));
  EXPECT_EQ(8, uncrLength(u("##65535;").c_str()));
  // One of each kind: ASCII, an alias of another entry, above Latin-1, and the highest unit.
  std::pair<unsigned short const* (*)(), unsigned short> const cases[] = {
      {backslashUniCharStar, 0x5C},
      {leftSquareBracketUniCharStar, 0x5B},
      {bitcoinUniCharStar, 0x20BF},
      {fullWidthYenUniCharStar, 0xFFE5}};
  for (auto [text, unit] : cases) EXPECT_EQ(U16(1, unit), U16(text())) << unit;
}

// parse(generate(x)) gives x in the converter's encoding, for random texts over an alphabet rich in
// escape-like pieces.
TEST(UnicodeEscapes, ParseOfGenerateGivesTheTextBack) {
  unsigned short const alphabet[] = {'\\', 'u', 'U', '0', '4',  '1',  'A',    'f',   ' ',    ',',   '&',
                                     '#',  ';', '<', '>', 0xE9, 0xFF, 0x20AC, 0x416, 0xFFFF, 0x100, 0x0};
  std::mt19937 rng(20240607);
  IntrusivePointer<UC> utf8 = UC::utf8ToUnicode();
  IntrusivePointer<UC> latin1 = UC::iso88591ToUnicode();
  for (int round = 0; round < 3000; ++round) {
    U16 text;
    size_t length = rng() % 24;
    for (size_t i = 0; i < length; ++i) text += alphabet[rng() % (sizeof alphabet / sizeof alphabet[0])];
    std::string latin1Text;
    for (unsigned short unit : text) latin1Text += static_cast<char>(unit);
    bool fitsLatin1 = latin1->fromUnicode(text) == latin1Text;
    int room = static_cast<int>(8 * length + 8);
    SCOPED_TRACE(utf8->fromUnicode(text));

    std::string uesc = run(generateUESC, text, utf8, room);
    EXPECT_EQ(utf8->fromUnicode(text), run(parseUESC, utf8->toUnicode(uesc), utf8, room));
    if (!fitsLatin1) continue;  // UNCR and UPAREN read back one byte per character
    std::string uncr = run(generateUNCR, text, latin1, room);
    EXPECT_EQ(latin1Text, run(parseUNCR, latin1->toUnicode(uncr), latin1, room));
    std::string paren = run(generateUPAREN, text, latin1, room);
    EXPECT_EQ(latin1Text, run(parseUPAREN, latin1->toUnicode(paren), latin1, room));
  }
}

}  // namespace
}  // namespace vyk
