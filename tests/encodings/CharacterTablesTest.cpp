// The sbcs case and class tables, their reset, and the table-based comparisons.
#include "vyk/util/CharacterTables.h"

#include <gtest/gtest.h>

#include "vyk/util/CharRepresentation.h"

namespace vyk {
namespace {

using sbcs::detail::ctypeTable_;
using sbcs::detail::parsingctypeTable_;
using sbcs::detail::tolowerTable_;
using sbcs::detail::toupperTable_;

TEST(CharacterTables, CaseMappingsOfTheLatin1AndCodePage1252Letters) {
  struct Case {
    unsigned char byte, upper, lower;
  };
  Case const cases[] = {
      {'a', 'A', 'a'},    {'Z', 'Z', 'z'},    {0xFF, 0x9F, 0xFF}, {0x9F, 0x9F, 0xFF}, {0xDF, 0xDF, 0xDF},
      {0xD7, 0xD7, 0xD7}, {0xF7, 0xF7, 0xF7}, {0xC0, 0xC0, 0xE0}, {0xFE, 0xDE, 0xFE}, {0x8A, 0x8A, 0x9A},
      {0x9E, 0x8E, 0x9E}, {'[', '[', '['},    {'_', '_', '_'},    {0x00, 0x00, 0x00},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(static_cast<int>(c.byte));
    EXPECT_EQ(c.upper, toupperTable_[c.byte]);
    EXPECT_EQ(c.lower, tolowerTable_[c.byte]);
  }
}

TEST(CharacterTables, ClassBitsOfSampleBytes) {
  struct Case {
    unsigned char byte, bits;
  };
  Case const cases[] = {{0x09, 0x48}, {' ', 0x28},  {'0', 0x84},  {'A', 0x81},  {'G', 0x01},
                        {'f', 0x82},  {0x7F, 0x40}, {0x85, 0x48}, {0xA0, 0x08}, {0xAA, 0x02},
                        {0xAD, 0x40}, {0xD7, 0x10}, {0xDF, 0x02}, {0xF7, 0x10}, {0x8A, 0x40}};
  for (Case const& c : cases) {
    SCOPED_TRACE(static_cast<int>(c.byte));
    EXPECT_EQ(c.bits, ctypeTable_[c.byte]);
    EXPECT_EQ(c.bits, parsingctypeTable_[c.byte]);
  }
}

TEST(CharacterTables, ResetRestoresWhatTheApplicationChanged) {
  tolowerTable_['A'] = 'A';
  ctypeTable_['x'] = 0;
  parsingctypeTable_['y'] = 0;
  sbcs::resetParsingCharacterTables();
  EXPECT_EQ(0x02, parsingctypeTable_['y']);
  EXPECT_EQ('A', tolowerTable_['A']);
  sbcs::resetCharacterTables();
  EXPECT_EQ('a', tolowerTable_['A']);
  EXPECT_EQ(0x02, ctypeTable_['x']);
}

TEST(CharacterTables, IsUpperAndIsLowerPassOverNonLetters) {
  struct Case {
    char const* text;
    bool upper, lower;
  };
  Case const cases[] = {{"", true, true},         {"123", true, true},  {"ABC 1", true, false},
                        {"abc", false, true},     {"aB", false, false}, {"\xC0\xC1", true, false},
                        {"\xE0\xDF", false, true}};
  for (Case const& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(c.upper, sbcs::vyk_strisupper(c.text));
    EXPECT_EQ(c.lower, sbcs::vyk_strislower(c.text));
  }
}

TEST(CharacterTables, IcomparenOnCountedTexts) {
  struct Case {
    char const* s;
    unsigned long n;
    char const* t;
    unsigned long m;
    unsigned long limit;
    int expected;
  };
  Case const cases[] = {
      {"abc", 3, "ABC", 3, 10, 0},  {"abc", 3, "abd", 3, 10, 'c' - 'd'},
      {"abc", 3, "ab", 2, 10, 1},   {"ab", 2, "abcd", 4, 10, -2},
      {"abc", 3, "ab", 2, 2, 0},    {"x", 1, "y", 1, 0, 0},
      {"\xC0", 1, "\xE0", 1, 1, 0}, {"a\0b", 3, "A\0c", 3, 3, 'b' - 'c'},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.s);
    EXPECT_EQ(c.expected, sbcs::icomparen(c.s, c.n, c.t, c.m, c.limit));
  }
}

TEST(CharacterTables, IcomparenWithZeroTerminatedTexts) {
  EXPECT_EQ(0, sbcs::icomparen(std::string("Hello"), "hELLO", 100));
  EXPECT_EQ(-1, sbcs::icomparen(std::string("Hel"), "hello", 100));
  EXPECT_EQ(0, sbcs::icomparen(std::string("Hel"), "hello", 3));
  EXPECT_EQ(1, sbcs::icomparen(std::string("Hello"), "he", 100));
  EXPECT_EQ(0, sbcs::icomparen(std::string("abc"), "xyz", 0));

  EXPECT_EQ(0, sbcs::icomparen("abc", "xyz", 0));
  EXPECT_EQ(0, sbcs::icomparen("abcX", "ABCy", 3));
  EXPECT_EQ('x' - 'y', sbcs::icomparen("abcX", "ABCy", 4));
  EXPECT_EQ('c', sbcs::icomparen("abc", "ab", 10));
  EXPECT_EQ(0, sbcs::icomparen("same", "SAME", 100));
}

TEST(CharRepresentation, AlphanumericValues) {
  struct Case {
    unsigned char ascii, ebcdic, value;
  };
  Case const cases[] = {{'0', 0xF0, 0},  {'9', 0xF9, 9},  {'A', 0xC1, 10}, {'i', 0x89, 18},
                        {'J', 0xD1, 19}, {'r', 0x99, 27}, {'S', 0xE2, 28}, {'z', 0xA9, 35}};
  for (Case const& c : cases) {
    EXPECT_EQ(c.value, CharRepresentation::ASCII_ALPHANUMERIC_TABLE[c.ascii]);
    EXPECT_EQ(c.value, CharRepresentation::EBCDIC_ALPHANUMERIC_TABLE[c.ebcdic]);
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
