// Single-byte session strings: folding, comparison, search and hash over every byte, and the
// free functions that reach the active implementation.
#include "vyk/util/StringUtilsSessionEncoded.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <tuple>
#include <utility>

#include "vyk/util/CharacterTables.h"

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
  ASSERT_TRUE(lower.size() == 255 && upper.size() == 255);
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
  std::pair<char const*, unsigned long> const cases[] = {
      {"a", 0x9E377A1Aul}, {"ABC", 0xA16FB515711ul}, {"\xC9", 0x9E3779A2ul}, {"\x9F", 0x9E3779B8ul}};
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
  EXPECT_EQ(0 - 'b', sbcs.icompare("a\0\0", 3, "A\0B", 3));
  EXPECT_EQ(2, sbcs.icompare("abcd", 4, "AB", 2));
  EXPECT_TRUE(sbcs.iends_with("xa\0B", 4, "A\0b", 3));
}

// Long texts whose first folded difference lies at every position up to 100, past any block size:
// s is "aB" repeated, t the same in the other case, with one byte changed at position p.
TEST(SingleByteStrings, FirstDifferenceAtEveryPositionOfLongTexts) {
  for (size_t length : {40u, 101u}) {
    std::string s, t;
    for (size_t i = 0; i < length; ++i) s += i % 2 == 0 ? "a" : "B", t += i % 2 == 0 ? "A" : "b";
    EXPECT_EQ(0, sbcs.icompare(s.c_str(), t.c_str()));
    for (size_t p = 0; p < length; ++p) {
      SCOPED_TRACE(p);
      std::string u = t;
      u[p] = '\xC9';  // folds to 0xE9, above either letter
      int expected = (p % 2 == 0 ? 'a' : 'b') - 0xE9;
      EXPECT_EQ(expected, sbcs.icompare(s.c_str(), u.c_str()));
      EXPECT_EQ(expected, sbcs.icompare(s.data(), length, u.data(), length));
      EXPECT_FALSE(sbcs.iequals(s.data(), length, u.data(), length));
      std::string shorter = t.substr(0, p);  // s ends later: the difference is L(s[p]) - L(0)
      EXPECT_EQ(p % 2 == 0 ? 'a' : 'b', sbcs.icompare(s.c_str(), shorter.c_str()));
    }
  }
}

// Texts that end right before a page that cannot be read: the comparison must not touch it,
// whatever the alignment of either text.
TEST(SingleByteStrings, TextsEndingAtAnUnreadablePage) {
  long page = sysconf(_SC_PAGESIZE);
  char* map = static_cast<char*>(mmap(nullptr, static_cast<size_t>(3 * page), PROT_READ | PROT_WRITE,
                                      MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  ASSERT_NE(MAP_FAILED, static_cast<void*>(map));
  ASSERT_EQ(0, mprotect(map + page, static_cast<size_t>(page), PROT_NONE));
  char* endS = map + page;      // s ends at the end of the first page
  char* endT = map + 3 * page;  // t at the end of the third
  for (int n = 1; n <= 70; ++n) {
    SCOPED_TRACE(n);
    char *s = endS - n, *t = endT - n;
    for (int i = 0; i < n - 1; ++i)
      s[i] = static_cast<char>('a' + i % 26), t[i] = static_cast<char>('A' + i % 26);
    s[n - 1] = t[n - 1] = 0;
    EXPECT_TRUE(sbcs.iequals(s, t));
    EXPECT_EQ(0, sbcs.icompare(s, static_cast<unsigned long>(n - 1), t, static_cast<unsigned long>(n - 1)));
    if (n >= 2) {
      t[n - 2] = '#';  // the last letter against '#'
      EXPECT_EQ('a' + (n - 2) % 26 - '#', sbcs.icompare(s, t));
      EXPECT_FALSE(sbcs.iequals(t, s));
    }
  }
  munmap(map, static_cast<size_t>(3 * page));
}

// The application may rewrite the folding table at any time: every comparison follows it as it is
// at the call, in every block and at every byte value.
TEST(SingleByteStrings, ComparisonFollowsARewrittenTable) {
  struct Case {
    unsigned char from, to;  // tolowerTable_[from] = to, then icompare(s, t) and iequals(s, t)
    std::string s, t;
    int expected;
    bool equal;
  };
  std::string longPrefix(45, 'k');
  Case const cases[] = {
      {'x', 'y', longPrefix + "ax", longPrefix + "AY", 0, true},  // the same past 32 bytes
      {'Q', 'Q', longPrefix + "q", longPrefix + "Q", 'q' - 'Q', false},
      {0xE9, 'e', "\xE9t", "ETE", -'e', false},     // 0xE9 folds to e now,
      {0xE9, 'e', "\xC9", "e", 0xE9 - 'e', false},  // 0xC9 still to 0xE9
      {0x80, 0xFE, longPrefix + "\x80", longPrefix + "\xFE", 0, true},
      {'z', 0x00, "z", "", 0, false},  // a byte folded to 0 gives 0 against an end, yet is no end
      {'z', 0x00, "za", "a", -'a', false},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.s + "|" + c.t);
    unsigned char saved = sbcs::detail::tolowerTable_[c.from];
    sbcs::detail::tolowerTable_[c.from] = c.to;
    EXPECT_EQ(c.expected, sbcs.icompare(c.s.c_str(), c.t.c_str()));
    EXPECT_EQ(c.expected, icompare(c.s.c_str(), c.t.c_str()));  // through the active implementation
    EXPECT_EQ(c.equal, sbcs.iequals(c.s.c_str(), c.t.c_str()));
    if (c.s.size() == c.t.size()) {
      EXPECT_EQ(c.expected, sbcs.icompare(c.s.data(), c.s.size(), c.t.data(), c.t.size()));
      EXPECT_EQ(c.equal, sbcs.iequals(c.s.data(), c.s.size(), c.t.data(), c.t.size()));
    }
    sbcs::detail::tolowerTable_[c.from] = saved;
  }
}

TEST(SingleByteStrings, LimitedComparisonSearchFromAndConversion) {
  for (unsigned long limit : {3ul, 4ul}) {
    int expected = limit > 3 ? 'x' - 'y' : 0;
    EXPECT_EQ(expected, sbcs.icomparen("ABCx", "abcy", limit)) << limit;
    EXPECT_EQ(-expected, sbcs.icomparen("abcy", std::string("ABCx"), limit)) << limit;
  }
  std::tuple<std::string, std::string, unsigned long, unsigned long> const cases[] = {
      {"abcABC", "bc", 2, 4}, {"abc", "", 3, 3}, {"abc", "", 4, npos}, {"aXaXb", "axb", 0, 2}};
  for (auto [text, pattern, from, found] : cases) {
    EXPECT_EQ(found, sbcs.ifind(text.data(), text.size(), pattern.data(), pattern.size(), from))
        << text << "|" << pattern << "|" << from;
  }
  std::string dst = "kept:";
  sbcs.to_lower(std::string("X\xC9"), dst);
  EXPECT_EQ("kept:x\xE9", dst);
  EXPECT_TRUE(sbcs.vyk_strislower("\xDF") && !sbcs.vyk_strisupper("\xC9t\xE9") &&
              sbcs.vyk_strisupper("ABC1"));
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
  EXPECT_EQ(-1, icomparen(t, s, 4));
  StringUtilsSessionEncodedImpl const* before = &activeImpl();
  setSBCSStringUtilBehaviour();
  EXPECT_NE(before, &activeImpl());
  EXPECT_TRUE(iequals("\xC9", "\xE9"));
}

// An application's earliest start-up code runs before any library's initialisers; the free functions
// must already answer there, through the implementation that serves until the library has set its own.
int earlyCompare = 99;
bool earlyEquals = false;
void compareBeforeInitialisers(int, char**, char**) {
  earlyEquals = iequals("abc", "ABC");
  earlyCompare = icompare("a", "B");
}
__attribute__((section(".preinit_array"),
               used)) void (*const compareEarly)(int, char**, char**) = compareBeforeInitialisers;

TEST(SessionStrings, AnswerBeforeTheLibraryIsInitialised) {
  EXPECT_TRUE(earlyEquals);
  EXPECT_EQ('a' - 'b', earlyCompare);
}

}  // namespace
}  // namespace session_encoded
}  // namespace vyk
