// The weighted spelling distance, worked by hand through the alignment table.
#include "vyk/util/SpellingDistance.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace vyk {
namespace {

TEST(SpellingDistance, ValuesWorkedByHand) {
  std::tuple<std::string, std::string, int> const cases[] = {
      {"abc", "abc", 0},  {"abc", "abd", 33},  {"abc", "acb", 16},  {"ab", "ba", 75},    {"abcd", "abc", 16},
      {"abc", "abcd", 8}, {"aab", "ab", 25},   {"xabc", "abc", 33}, {"abc", "xabc", 50}, {"", "abc", 133},
      {"abc", "", 0},     {"ABC", "abc", 133}, {"a", "b", 200},     {"b", "ab", 100}};
  for (auto [query, keyword, distance] : cases) {
    EXPECT_EQ(distance, spellingDistance(query.c_str(), keyword.c_str())) << query << " / " << keyword;
    EXPECT_EQ(distance, spellingDistance(query.data(), static_cast<int>(query.size()), keyword.data(),
                                         static_cast<int>(keyword.size())));
  }
  // One doubled letter costs 25: in a 30-byte keyword below m, so 1 and not 0; in a 10-byte one 25 / 10.
  EXPECT_EQ(1, spellingDistance("abcdeefghijklmnopqrstuvwxyz1234", "abcdefghijklmnopqrstuvwxyz1234"));
  EXPECT_EQ(2, spellingDistance("abcdeefghij", "abcdefghij"));
  // Negative lengths count as empty.
  EXPECT_EQ(0, spellingDistance("abc", 3, "abc", -1));
  EXPECT_EQ(133, spellingDistance("zzz", -3, "abc", 3));
}

}  // namespace
}  // namespace vyk
