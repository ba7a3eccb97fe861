// Single-byte session strings: folding, comparison, search and hash over every byte, and the
// free functions that reach the active implementation.
#include "vyk/util/StringUtilsSessionEncoded.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>

namespace vyk {
namespace session_encoded {
namespace {

// The default tables, written out independently: Latin-1 letters plus the code page 1252 pairs
// 8A/9A, 8C/9C, 8E/9E and 9F/FF; 0xD7 (multiplication sign) and 0xDF (sharp s) have no pair.
int expectedLower(int b) {
  if ((b >= 'A' && b <= 'Z') || (b >= 0xC0 && b <= 0xDE && b != 0xD7)) return b + 0x20;
  if (b == 0x8A || b == 0x8C || b == 0x8E) return b + 0x10;
  return b == 0x9F ? 0xFF : b;
}

std::string byte(int b) {
  return std::string(1, static_cast<char>(b));
}

SingleByteEncodingStringUtilsSessionEncodedImpl const sbcs;
unsigned long const npos = std::string::npos;

TEST(SingleByteStrings, EveryPairOfBytesComparesAsTheDifferenceOfFoldedBytes) {
  int mismatches = 0;
  for (int a = 0; a < 256; ++a) {
    for (int b = 0; b < 256; ++b) {
      std::string s = byte(a), t = byte(b);
      int expected = expectedLower(a) - expectedLower(b);
      bool ok = sbcs.icompare(s.data(), 1, t.data(), 1) == expected &&
                sbcs.iequals(s.data(), 1, t.data(), 1) == (expected == 0) &&
                sbcs.icomparen(s.data(), 1, t.data(), 1, 1) == expected &&
                (sbcs.hash(s.c_str()) == sbcs.hash(t.c_str())) == (expected == 0);
      if (a != 0 && b != 0) {
        ok = ok && sbcs.icompare(s.c_str(), t.c_str()) == expected &&
             sbcs.icompare(s, t.c_str()) == expected &&
             sbcs.iequals(s.c_str(), t.c_str()) == (expected == 0) &&
             sbcs.keyequal(s.c_str(), t.c_str()) == (expected == 0);
      }
      if (!ok && ++mismatches <= 5) ADD_FAILURE() << "bytes " << a << " and " << b;
    }
  }
  EXPECT_EQ(0, mismatches);
}

TEST(SingleByteStrings, EveryByteIsFoundByItsFoldedFormAndConvertedByItsPair) {
  std::string all;
  for (int b = 1; b < 256; ++b) all += byte(b);  // byte b stands at position b - 1
  std::string lower = sbcs.to_lower_copy(all), upper = sbcs.to_upper_copy(all);
  ASSERT_EQ(255u, lower.size());
  ASSERT_EQ(255u, upper.size());
  for (int b = 1; b < 256; ++b) {
    SCOPED_TRACE(b);
    unsigned long first = npos;
    int up = b;  // upper case is the inverse pairing; the unpaired bytes stay
    for (int c = 255; c >= 1; --c) {
      if (expectedLower(c) == expectedLower(b)) first = static_cast<unsigned long>(c - 1);
      if (c != b && expectedLower(c) == b && expectedLower(b) == b) up = c;
    }
    EXPECT_EQ(first, sbcs.ifind(all, byte(b), 0));
    EXPECT_EQ(expectedLower(b), static_cast<unsigned char>(lower[b - 1]));
    EXPECT_EQ(up, static_cast<unsigned char>(upper[b - 1]));
  }
}

TEST(SingleByteStrings, HashWidensFoldedBytesAsSignedValues) {
  // Worked from h ^= v + 0x9E3779B9 + (h << 6) + (h >> 2) with v the folded byte as signed char:
  // 0xC9 folds to 0xE9, -23; 0x9F folds to 0xFF, -1.
  std::pair<char const*, unsigned long> const cases[] = {{"", 0x0},
                                                         {"a", 0x9E377A1Aul},
                                                         {"abc", 0xA16FB515711ul},
                                                         {"ABC", 0xA16FB515711ul},
                                                         {"\xC9", 0x9E3779A2ul},
                                                         {"\x9F", 0x9E3779B8ul},
                                                         {"Key-01", 0x29B554D7863BE304ul}};
  for (auto [text, hash] : cases) EXPECT_EQ(hash, sbcs.hash(text)) << text;
}

TEST(SingleByteStrings, ZeroTerminatedAndCountedEnds) {
  // icompare(cstr, cstr) counts the end as L(0); icompare(string, cstr) answers 1 or -1 at an end.
  std::tuple<char const*, char const*, int, int, bool> const cases[] = {
      {"abc", "ABC", 0, 0, true},
      {"abcd", "ABC", 'd', 1, true},
      {"ab\xC9", "AB\xE9z", -'z', -1, false},
      {"", "a", -'a', -1, false},
      {"Abc", "abD", 'c' - 'd', 'c' - 'd', false}};
  for (auto [s, t, cstrCompare, stringCompare, startsWith] : cases) {
    SCOPED_TRACE(std::string(s) + "|" + t);
    EXPECT_EQ(cstrCompare, sbcs.icompare(s, t));
    EXPECT_EQ(stringCompare, sbcs.icompare(std::string(s), t));
    EXPECT_EQ(startsWith, sbcs.istarts_with(s, t));
    EXPECT_EQ(cstrCompare == 0, sbcs.iequals(std::string(s), t));
  }
  // Counted forms compare zeros like any byte.
  EXPECT_TRUE(sbcs.iequals("a\0B", 3, "A\0b", 3));
  EXPECT_EQ(-1, sbcs.icompare("a\0", 2, "A\0B", 3));
  EXPECT_EQ(0 - 'b', sbcs.icompare("a\0\0", 3, "A\0B", 3));
  EXPECT_EQ(2, sbcs.icompare("abcd", 4, "AB", 2));
  EXPECT_TRUE(sbcs.istarts_with("a\0bc", 4, "A\0B", 3));
  EXPECT_TRUE(sbcs.iends_with("xa\0B", 4, "A\0b", 3));
  EXPECT_FALSE(sbcs.iends_with("b", 1, "ab", 2));
}

TEST(SingleByteStrings, LimitedComparisonAndSearchFrom) {
  std::string s = "ABCx", t = "abcy";
  for (unsigned long limit : {0ul, 3ul, 4ul, 9ul}) {
    int expected = limit > 3 ? 'x' - 'y' : 0;
    EXPECT_EQ(expected, sbcs.icomparen(s, t, limit)) << limit;
    EXPECT_EQ(expected, sbcs.icomparen(s.c_str(), t.c_str(), limit)) << limit;
    EXPECT_EQ(-expected, sbcs.icomparen(t.c_str(), s, limit)) << limit;
  }
  std::tuple<std::string, std::string, unsigned long, unsigned long> const cases[] = {
      {"abcABC", "bc", 2, 4}, {"abcABC", "BC", 5, npos}, {"abc", "", 3, 3},
      {"abc", "", 4, npos},   {"abc", "abcd", 0, npos},  {"aXaXb", "axb", 0, 2}};
  for (auto [text, pattern, from, found] : cases) {
    EXPECT_EQ(found, sbcs.ifind(text.data(), text.size(), pattern.data(), pattern.size(), from))
        << text << "|" << pattern << "|" << from;
  }
}

TEST(SingleByteStrings, ConversionFormsAndCaseTests) {
  char counted[] = {'a', '\0', 'b', 'c'};
  sbcs.to_upper(counted, 3);
  EXPECT_EQ(std::string("A\0Bc", 4), std::string(counted, 4));
  std::string dst = "kept:";
  sbcs.to_lower(std::string("X\xC9"), dst);
  EXPECT_EQ("kept:x\xE9", dst);
  EXPECT_EQ("AB", sbcs.to_upper_copy("abcd", 2));
  try {
    sbcs.to_upper_copy("abc", -1);
    ADD_FAILURE() << "no exception";
  } catch (std::length_error const& e) {
    EXPECT_STREQ("basic_string::append", e.what());
  }
  std::tuple<char const*, bool, bool> const cases[] = {
      {"0123", true, true}, {"ABC1", true, false}, {"\xC9t\xE9", false, false}, {"\xDF", false, true}};
  for (auto [text, isUpper, isLower] : cases) {
    EXPECT_EQ(isUpper, sbcs.vyk_strisupper(text)) << text;
    EXPECT_EQ(isLower, sbcs.vyk_strislower(text)) << text;
  }
}

TEST(SessionStrings, FreeFormsReachTheSingleByteImplementationExchangeAndNegate) {
  EXPECT_TRUE(activeImpl().isSingleByteImpl());
  EXPECT_EQ(CaseInsensitiveStringHashKeyOps::hash("abc"), CaseInsensitiveStringHashKeyOps::hash("ABC"));
  std::string s = "abcd";
  char const* t = "ABC";
  EXPECT_EQ(-1, icompare(t, s));  // the string form, exchanged and negated: not L(0) - L('d')
  EXPECT_EQ(-'d', icompare(t, s.c_str()));
  EXPECT_EQ(1, icompare(s, std::string(t)));  // counted: 4 - 3
  EXPECT_FALSE(iequals("x", std::string("X\0", 2)));
  EXPECT_TRUE(iequals("x", std::string("X")));
  EXPECT_TRUE(iends_with(s, "CD"));
  EXPECT_FALSE(iends_with("cd", "bcd"));
  EXPECT_EQ(-1, icomparen(t, s, 4));
  EXPECT_EQ(2u, vyk_strnlen("abc", 2));
  EXPECT_EQ(0u, vyk_strnlen(nullptr, 0));
  StringUtilsSessionEncodedImpl const* before = &activeImpl();
  setSBCSStringUtilBehaviour();
  EXPECT_NE(before, &activeImpl());
  EXPECT_TRUE(iequals("\xC9", "\xE9"));
}

}  // namespace
}  // namespace session_encoded
}  // namespace vyk
