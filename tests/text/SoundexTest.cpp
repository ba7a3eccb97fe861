// The phonetic code: first letter, digits of changing sounds, no padding and no cut.
#include "vyk/util/Soundex.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace vyk {
namespace {

TEST(Soundex, CodesWorkedByHand) {
  struct Case {
    char const* text;
    char const* code;
  };
  Case const cases[] = {
      {"Robert", "R163"},
      {"Rupert", "R163"},
      {"Tymczak", "T522"},
      {"Pfister", "P236"},
      {"Jackson", "J25"},
      {"Lee", "L"},
      {"Ashcraft", "A22613"},
      {"Honeyman", "H555"},
      {"Gutierrez", "G362"},
      {"robert", "R163"},
      {"", ""},
      {"   ", ""},
      {"  Lee", "L"},
      {"1Abc", "A12"},
      {"[_x", "X"},
      {"-- 42", ""},
      {"Ab-p", "A11"},
      {"Abp", "A1"},
      {"Bb", "B"},
      {"a_b", "A1"},
      {"\xE9t", "T"},
      {"T\xE9t", "T3"},
      {"Tt", "T"},
      {"Bhb", "B1"},
      {"Bab", "B1"},
      {"ZZ top", "Z31"},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(c.code, Soundex::soundex(c.text));
    char out[16];
    EXPECT_EQ(static_cast<int>(std::strlen(c.code)),
              Soundex::soundex(c.text, static_cast<int>(std::strlen(c.text)), out, sizeof out));
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
  struct Case {
    char const* a;
    char const* b;
    bool alike;
  };
  Case const cases[] = {
      {"Robert", "Rupert", true},
      {"robert", "RUPERT", true},
      {"Robert", "Rubin", false},
      {"", "", true},
      {"", "123", true},
      {"Lee", "Le", true},
      {"Jackson", "Jack", false},
      {"Jack", "Jackson", false},
      {"Ashcraft", "Ashcroft", true},
      {"Tymczak", "Dymczak", false},
      {"", "A", false},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(std::string(c.a) + " / " + c.b);
    EXPECT_EQ(c.alike, Soundex::soundslike(c.a, static_cast<int>(std::strlen(c.a)), c.b,
                                           static_cast<int>(std::strlen(c.b))));
  }
}

}  // namespace
}  // namespace vyk
