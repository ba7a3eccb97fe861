// The weighted spelling distance, worked by hand through the alignment table.
#include "vyk/util/SpellingDistance.h"

#include <gtest/gtest.h>

#include <string>

namespace vyk {
namespace {

TEST(SpellingDistance, ValuesWorkedByHand) {
  struct Case {
    char const* query;
    char const* keyword;
    int distance;
  };
  Case const cases[] = {
      {"abc", "abc", 0},
      {"abc", "abd", 33},
      {"abc", "acb", 16},
      {"ab", "ba", 75},
      {"abcd", "abc", 16},
      {"abc", "abcd", 8},
      {"aab", "ab", 25},
      {"xabc", "abc", 33},
      {"abc", "xabc", 50},
      {"", "abc", 133},
      {"abc", "", 0},
      {"", "", 0},
      {"ABC", "abc", 133},
      {"a", "b", 200},
      {"b", "ab", 100},
      // One doubled letter inside a 30-byte keyword costs 25: below m, so 1 and not 0.
      {"abcdeefghijklmnopqrstuvwxyz1234", "abcdefghijklmnopqrstuvwxyz1234", 1},
      // The same error in a 10-byte keyword: 25 / 10.
      {"abcdeefghij", "abcdefghij", 2},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(std::string(c.query) + " / " + c.keyword);
    EXPECT_EQ(c.distance, spellingDistance(c.query, c.keyword));
    EXPECT_EQ(c.distance, spellingDistance(c.query, static_cast<int>(std::string(c.query).size()), c.keyword,
                                           static_cast<int>(std::string(c.keyword).size())));
  }
}

TEST(SpellingDistance, NegativeLengthsCountAsEmpty) {
  EXPECT_EQ(0, spellingDistance("abc", 3, "abc", -1));
  EXPECT_EQ(133, spellingDistance("zzz", -3, "abc", 3));
}

}  // namespace
}  // namespace vyk
