// The wildcard matcher: worked cases, a recursive reference on random input, and patterns that
// would explode a backtracking matcher.
#include "vyk/util/SimplePatternMatcher.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <tuple>

#include "support/ReferencePatternMatcher.h"

namespace vyk {
namespace {

using testing::reference;
using testing::Syntax;

bool matches(std::string const& text, std::string const& pattern, Syntax const& s) {
  return SimplePatternMatcher::matchesPattern(text, pattern, s.anyString, s.anyChar, s.useEscape, s.escape);
}

TEST(SimplePatternMatcher, WorkedCases) {
  Syntax const sql{'%', '_', false, 0};
  Syntax const glob{'*', '?', true, '\\'};
  // The random comparison below covers the rest; here other wildcard bytes, a trailing escape that
  // ends the pattern, and no folding of case.
  std::tuple<char const*, char const*, Syntax, bool> const cases[] = {
      {"axxb", "a%b", sql, true}, {"", "%_", sql, false},     {"a*", "a*", sql, true},
      {"a", "a\\", glob, true},   {"ab", "a\\", glob, false}, {"AB", "ab", glob, false},
  };
  for (auto [text, pattern, syntax, match] : cases) {
    EXPECT_EQ(match, matches(text, pattern, syntax)) << "'" << text << "' ~ '" << pattern << "'";
  }
}

TEST(SimplePatternMatcher, AgreesWithTheReferenceOnRandomInput) {
  std::mt19937 random(7);
  Syntax const syntaxes[] = {
      {'*', '?', true, '\\'}, {'*', '?', false, '\\'}, {'*', '*', true, '\\'},  // wildcards alike
      {'*', '?', true, '*'},  {'a', '?', true, '\\'},                           // escape over anyString
  };
  char const patternBytes[] = "ab*?\\";
  char const textBytes[] = "ab*?\\";
  int matched = 0;
  for (int round = 0; round < 100000; ++round) {
    Syntax const& s = syntaxes[round % 5];
    std::string pattern(random() % 9, ' ');
    for (char& c : pattern) c = patternBytes[random() % 5];
    std::string text(random() % 9, ' ');
    for (char& c : text) c = textBytes[random() % (round % 3 == 0 ? 5 : 2)];
    bool expected = reference(text, 0, pattern, 0, s);
    matched += expected;
    ASSERT_EQ(expected, matches(text, pattern, s))
        << "'" << text << "' ~ '" << pattern << "' syntax " << round % 5;
  }
  EXPECT_GT(matched, 5000);  // the sample holds matches as well as mismatches
  EXPECT_LT(matched, 95000);
}

TEST(SimplePatternMatcher, ManyAnyStringsDoNotBacktrackExponentially) {
  std::string const text(5000, 'a');
  std::string pattern;
  for (int i = 0; i < 40; ++i) pattern += "*a";
  EXPECT_FALSE(matches(text, pattern + "b", Syntax{'*', '?', false, 0}));
  EXPECT_TRUE(matches(text + "b", pattern + "*b", Syntax{'*', '?', false, 0}));
  EXPECT_FALSE(matches(text, pattern + "*\\", Syntax{'*', '?', true, '\\'}));
}

TEST(SimplePatternMatcher, LengthsBoundTheBytesRead) {
  // Neither text nor pattern is read past its length; zero bytes are ordinary bytes.
  EXPECT_TRUE(SimplePatternMatcher::matchesPattern("abXX", 2, "a?YY", 2, '*', '?', false, 0));
  EXPECT_FALSE(SimplePatternMatcher::matchesPattern("abXX", 2, "a?YY", 3, '*', '?', false, 0));
  EXPECT_TRUE(SimplePatternMatcher::matchesPattern("a\0b", 3, "a\0*", 3, '*', '?', false, 0));
}

}  // namespace
}  // namespace vyk
