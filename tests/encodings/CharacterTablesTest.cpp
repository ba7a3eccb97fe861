// The sbcs case and class tables, their reset, and the table-based comparisons.
#include "vyk/util/CharacterTables.h"

#include <gtest/gtest.h>

#include <cctype>

#include "vyk/util/CharRepresentation.h"

namespace vyk {
namespace {

using sbcs::detail::ctypeTable_;
using sbcs::detail::parsingctypeTable_;
using sbcs::detail::tolowerTable_;

TEST(CharacterTables, ResetRestoresWhatTheApplicationChanged) {
  unsigned char const A = 'A', x = 'x', y = 'y';
  tolowerTable_[A] = 'A';
  ctypeTable_[x] = 0;
  parsingctypeTable_[y] = 0;
  sbcs::resetParsingCharacterTables();
  EXPECT_EQ(0x02, parsingctypeTable_[y]);
  EXPECT_EQ('A', tolowerTable_[A]);
  sbcs::resetCharacterTables();
  EXPECT_EQ('a', tolowerTable_[A]);
  EXPECT_EQ(0x02, ctypeTable_[x]);
}

TEST(CharacterTables, IsUpperAndIsLowerPassOverNonLetters) {
  // A text, whether it is upper case, whether lower case.
  std::tuple<char const*, bool, bool> const cases[] = {
      {"", true, true},     {"123", true, true},       {"ABC 1", true, false},   {"abc", false, true},
      {"aB", false, false}, {"\xC0\xC1", true, false}, {"\xE0\xDF", false, true}};
  for (auto const& [text, upper, lower] : cases) {
    SCOPED_TRACE(text);
    EXPECT_EQ(upper, sbcs::vyk_strisupper(text));
    EXPECT_EQ(lower, sbcs::vyk_strislower(text));
  }
}

// Counted texts, then a string against a zero-terminated text; bytes compare folded and
// unsigned, the shorter text is the lesser.
TEST(CharacterTables, Icomparen) {
  // Both texts, the limit, the result, and whether the counted form is used.
  std::tuple<std::string, std::string, unsigned long, int, bool> const cases[] = {
      {"abc", "abd", 10, 'c' - 'd', true},
      {"abc", "ab", 10, 1, true},
      {"ab", "abcd", 10, -2, true},
      {"abc", "ab", 2, 0, true},
      {"x", "y", 0, 0, true},
      {"\xC0", "\xE0", 1, 0, true},
      {std::string("a\0b", 3), std::string("A\0c", 3), 3, 'b' - 'c', true},
      {"\xE9", "a", 1, 136, true},
      {"Hel", "hello", 100, -1, false},
      {"Hel", "hello", 3, 0, false},
      {"Hello", "he", 100, 1, false},
      {"\xC9\x8A", "\xE9\x9A", 5, 0, false},
      {"\x9F", "z", 5, 0xFF - 0x7A, false},
      {"a", "\xC9", 5, -136, false},
  };
  for (auto const& [s, t, limit, expected, counted] : cases) {
    SCOPED_TRACE(s + " " + t);
    if (counted) {
      EXPECT_EQ(expected, sbcs::icomparen(s.data(), s.size(), t.data(), t.size(), limit));
    } else {
      EXPECT_EQ(expected, sbcs::icomparen(s, t.c_str(), limit));
    }
  }
  EXPECT_EQ('x' - 'y', sbcs::icomparen("abcX", "ABCy", 4));  // both zero-terminated
  EXPECT_EQ(0, sbcs::icomparen("abcX", "ABCy", 3));
  EXPECT_EQ('c', sbcs::icomparen("abc", "ab", 10));
}

// The default classes of the high half as the design gives them (the low half is the C locale's,
// below): C1 controls with next line also a space, the no-break space, the Latin-1 letters and the
// three lower-case signs, punctuation elsewhere.
int designedHighClass(int b) {
  if (b < 0xA0 || b == 0xAD) return b == 0x85 ? 0x48 : 0x40;
  if (b == 0xA0) return 0x08;
  if (b == 0xAA || b == 0xB5 || b == 0xBA) return 0x02;
  if (b < 0xC0 || b == 0xD7 || b == 0xF7) return 0x10;
  return b < 0xDF ? 0x01 : 0x02;
}

// The case tables of every byte are checked through the session strings, which fold with them.
TEST(CharacterTables, AllBytesMatchTheDesignedClasses) {
  sbcs::resetCharacterTables();
  for (int b = 0; b < 256; ++b) {
    SCOPED_TRACE(b);
    if (b >= 0x80) {
      EXPECT_EQ(designedHighClass(b), ctypeTable_[b]);
    }
    EXPECT_EQ(ctypeTable_[b], parsingctypeTable_[b]);
  }
}

TEST(CharacterTables, AsciiHalfAgreesWithTheCLocale) {
  // <cctype> in the "C" locale (the state at program start) is the independent oracle for 0x00-0x7F; the
  // blank bit is the space alone (isblank also counts the tab), so it is compared with c == ' '.
  for (int c = 0; c < 128; ++c) {
    SCOPED_TRACE(c);
    unsigned char bits = ctypeTable_[c];
    EXPECT_EQ(std::isupper(c) != 0, (bits & 0x01) != 0);
    EXPECT_EQ(std::islower(c) != 0, (bits & 0x02) != 0);
    EXPECT_EQ(std::isdigit(c) != 0, (bits & 0x04) != 0);
    EXPECT_EQ(std::isspace(c) != 0, (bits & 0x08) != 0);
    EXPECT_EQ(std::ispunct(c) != 0, (bits & 0x10) != 0);
    EXPECT_EQ(c == ' ', (bits & 0x20) != 0);
    EXPECT_EQ(std::iscntrl(c) != 0, (bits & 0x40) != 0);
    EXPECT_EQ(std::isxdigit(c) != 0, (bits & 0x80) != 0);
    EXPECT_EQ(std::isprint(c) != 0, (bits & 0xB7) != 0);
  }
}

TEST(CharacterTables, ReadersFollowTablesRewrittenAtRunTime) {
  tolowerTable_[static_cast<unsigned char>('\xE9')] = 'e';
  ctypeTable_[static_cast<unsigned char>('e')] = 0x01;
  int compared = sbcs::icomparen("\xE9t\xE9", "ETE", 3);
  bool upper = sbcs::vyk_strisupper("e");
  bool hasUpper = sbcs::hasClass('e', 0x01);
  sbcs::resetCharacterTables();
  EXPECT_EQ(0, compared);
  EXPECT_TRUE(upper);
  EXPECT_TRUE(hasUpper);
  EXPECT_NE(0, sbcs::icomparen("\xE9t\xE9", "ETE", 3));
}

TEST(CharRepresentation, AlphanumericValues) {
  // The character in ASCII and in EBCDIC, and its value.
  std::tuple<unsigned char, unsigned char, unsigned char> const cases[] = {
      {'0', 0xF0, 0},  {'9', 0xF9, 9},  {'A', 0xC1, 10}, {'i', 0x89, 18},
      {'J', 0xD1, 19}, {'r', 0x99, 27}, {'S', 0xE2, 28}, {'z', 0xA9, 35}};
  for (auto const& [ascii, ebcdic, value] : cases) {
    EXPECT_EQ(value, CharRepresentation::ASCII_ALPHANUMERIC_TABLE[ascii]);
    EXPECT_EQ(value, CharRepresentation::EBCDIC_ALPHANUMERIC_TABLE[ebcdic]);
  }
  for (unsigned char bad : {0x00, 0x2F, 0x3A, 0x40, 0x5B, 0x60, 0x7B, 0xFF}) {
    EXPECT_EQ(0xFF, CharRepresentation::ASCII_ALPHANUMERIC_TABLE[bad]);
  }
  for (unsigned char bad : {0x80, 0x8A, 0xA1, 0xC0, 0xCA, 0xE1, 0xEA, 0xFA}) {
    EXPECT_EQ(0xFF, CharRepresentation::EBCDIC_ALPHANUMERIC_TABLE[bad]);
  }
  EXPECT_EQ(0x81, CharRepresentation::EBCDIC_LOWER_CHARS[0]);
  EXPECT_EQ(0xA9, CharRepresentation::EBCDIC_LOWER_CHARS[25]);
  EXPECT_EQ(0xD1, CharRepresentation::EBCDIC_UPPER_CHARS[9]);
}

}  // namespace
}  // namespace vyk
