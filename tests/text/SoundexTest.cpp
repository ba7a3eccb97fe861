// The phonetic code: first letter, digits of changing sounds, no padding and no cut.
#include "vyk/util/Soundex.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>
#include <utility>

namespace vyk {
namespace {

int length(char const* s) {
  return static_cast<int>(std::strlen(s));
}

TEST(Soundex, CodesWorkedByHand) {
  std::pair<char const*, char const*> const cases[] = {
      {"Robert", "R163"}, {"Rupert", "R163"}, {"Tymczak", "T522"},    {"Pfister", "P236"},
      {"Jackson", "J25"}, {"Lee", "L"},       {"Ashcraft", "A22613"}, {"Gutierrez", "G362"},
      {"robert", "R163"}, {"", ""},           {"  Lee", "L"},         {"1Abc", "A12"},
      {"[_x", "X"},       {"-- 42", ""},      {"Ab-p", "A11"},        {"Abp", "A1"},
      {"a_b", "A1"},      {"\xE9t", "T"},     {"T\xE9t", "T3"},       {"Bhb", "B1"},
      {"Bab", "B1"},      {"Bb", "B"},        {"Honeyman", "H555"},   {"ZZ top", "Z31"},
  };
  char out[16];
  for (auto [text, code] : cases) {
    EXPECT_EQ(code, Soundex::soundex(text)) << text;
    EXPECT_EQ(length(code), Soundex::soundex(text, length(text), out, sizeof out)) << text;
  }
}

TEST(Soundex, ArrayFormCountsBeyondAFullBuffer) {
  char out[8];
  std::memset(out, '#', sizeof out);
  EXPECT_EQ(6, Soundex::soundex("Ashcraft", 8, out, 3));
  EXPECT_EQ(std::string("A22#####"), std::string(out, 8));
  EXPECT_EQ(6, Soundex::soundex("Ashcraft", 8, nullptr, 0));
  EXPECT_EQ(0, Soundex::soundex("Ashcraft", -1, out, 8));
  EXPECT_EQ(4, Soundex::soundex("Robertson", 6, out, -5));  // only "Robert" is read
}

TEST(Soundex, SoundsLikeComparesWholeCodes) {
  std::tuple<char const*, char const*, bool> const cases[] = {
      {"robert", "RUPERT", true}, {"Robert", "Rubin", false},    {"", "123", true}, {"Lee", "Le", true},
      {"Jack", "Jackson", false}, {"Tymczak", "Dymczak", false}, {"", "A", false}};
  for (auto [a, b, alike] : cases)
    EXPECT_EQ(alike, Soundex::soundslike(a, length(a), b, length(b))) << a << "/" << b;
}

}  // namespace
}  // namespace vyk
