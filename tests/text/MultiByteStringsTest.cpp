// Session strings through the sibling multi-byte library on UTF-8 text, and the behaviour of the
// choice when that library is absent. The test program runs twice: VYK_EXPECT_SIBLING=1 with the
// library findable, unset without it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>

#include "vyk/util/StringUtilsSessionEncoded.h"

namespace vyk {
namespace session_encoded {
namespace {

bool siblingExpected() {
  char const* flag = std::getenv("VYK_EXPECT_SIBLING");
  return flag != nullptr && std::strcmp(flag, "1") == 0;
}

TEST(SessionStringChoice, MultiByteChoiceFollowsTheSiblingsPresence) {
  StringUtilsSessionEncodedImpl const* before = &activeImpl();
  ASSERT_TRUE(before->isSingleByteImpl());
  bool expected = siblingExpected();
  EXPECT_EQ(expected, setMBCSStringUtilBehaviour(nullptr));
  // Code points, not bytes: U+00C9 and U+00E9 share their first byte and differ in the second.
  EXPECT_EQ(expected, iequals("\xC3\x89", "\xC3\xA9"));
  if (!expected) {
    // The old implementation stays, and still works: nothing was deleted or replaced by null.
    EXPECT_EQ(before, &activeImpl());
    EXPECT_TRUE(iequals("\xC9", "\xE9"));
  }
  setSBCSStringUtilBehaviour();
  EXPECT_TRUE(activeImpl().isSingleByteImpl());
}

// Installs the multi-byte implementation for each test and the single-byte one afterwards.
class MultiByteStrings : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!siblingExpected()) GTEST_SKIP() << "run with the sibling library on the library path";
    ASSERT_TRUE(setMBCSStringUtilBehaviour(nullptr));
  }
  void TearDown() override { setSBCSStringUtilBehaviour(); }
};

// German sharp s, Greek sigma in its two lower-case forms, Turkish dotted and dotless i.
#define STRASSE "stra\303\237e"                                                    // straße
#define SISYPHOS_UPPER "\xCE\xA3\xCE\x8A\xCE\xA3\xCE\xA5\xCE\xA6\xCE\x9F\xCE\xA3"  // ΣΊΣΥΦΟΣ
#define SISYPHOS_LOWER "\xCF\x83\xCE\xAF\xCF\x83\xCF\x85\xCF\x86\xCE\xBF\xCF\x82"  // σίσυφος
#define CAPITAL_DOTTED_I "\xC4\xB0"                                                // U+0130
#define SMALL_DOTLESS_I "\xC4\xB1"                                                 // U+0131
#define COMBINING_DOT "\xCC\x87"                                                   // U+0307

TEST_F(MultiByteStrings, EqualityAndOrderUnderFullCaseFolding) {
  std::tuple<char const*, char const*, int> const cases[] = {
      {STRASSE, "STRASSE", 0},
      {STRASSE, "STRASE", 's' - 'e'},
      {SISYPHOS_UPPER, SISYPHOS_LOWER, 0},
      {"\xCF\x82", "\xCE\xA3", 0},  // final sigma and capital sigma
      {CAPITAL_DOTTED_I, "i" COMBINING_DOT, 0},
      {CAPITAL_DOTTED_I, "i", 0x307},
      {SMALL_DOTLESS_I, "I", 0x131 - 'i'},
      {"\xC3\x84", "B", 0xE4 - 'b'},                     // Ä folds to U+00E4
      {"ab", "AB\xC3\xA9", -0xE9},                       // the end counts as 0
      {"a\xFF", "A\xFF", 0},                             // a malformed byte matches only itself
      {"\xFF", "\xFE", 1},                               // malformed bytes, in byte order
      {"\xF0\x9F\x98\x80", "\xFF", 0x1F600 - 0x1100FF},  // every character before a malformed byte
      {"\xC3", "\xC3\xA4", 0x1100C3 - 0xE4},             // a cut-off sequence is not the character
  };
  for (auto [s, t, order] : cases) {
    SCOPED_TRACE(std::string(s) + " | " + t);
    EXPECT_EQ(order == 0, iequals(s, t));
    EXPECT_EQ(order == 0, iequals(std::string(s), std::string(t)));
    EXPECT_EQ(order == 0, CaseInsensitiveStringHashKeyOps::keyequal(s, t));
    EXPECT_EQ(order, icompare(s, t));
    EXPECT_EQ(order, icompare(std::string(s), std::string(t)));
    EXPECT_TRUE(order != 0 ||
                CaseInsensitiveStringHashKeyOps::hash(s) == CaseInsensitiveStringHashKeyOps::hash(t));
  }
}

TEST_F(MultiByteStrings, LimitCountsCharacters) {
  std::string s = STRASSE, t = "STRASSE";
  // Five characters are "straß" and "STRAS": folded "strass" against "stras"; six are "straße"
  // and "STRASS"; seven take all of both texts.
  std::pair<unsigned long, int> const cases[] = {{0, 0}, {4, 0}, {5, 's'}, {6, 'e'}, {7, 0}};
  for (auto [limit, expected] : cases) {
    EXPECT_EQ(expected, icomparen(s, t, limit)) << limit;
    EXPECT_EQ(expected, icomparen(s.data(), s.size(), t.data(), t.size(), limit)) << limit;
  }
}

TEST_F(MultiByteStrings, SearchPrefixAndSuffixMatchWholeCharacters) {
  unsigned long const npos = std::string::npos;
  // Text, pattern, search from, found at, starts with, ends with.
  std::tuple<std::string, std::string, unsigned long, unsigned long, bool, bool> const cases[] = {
      {"Die " STRASSE, "STRASSE", 0, 4, false, true},
      {STRASSE, "SS", 0, 4, false, false},        // ß is found as "ss"
      {STRASSE, "S", 1, npos, true, false},       // but not as half of it
      {STRASSE, "E", 0, 6, false, true},          // a byte offset, after the two bytes of ß
      {STRASSE, "STRAS", 0, npos, false, false},  // half of ß is no prefix
      {STRASSE, "SSE", 0, 4, false, true},
      {"\xC3\x89t\xC3\xA9", "\xC3\x89", 1, 3, true, true},  // Été: the second é, from inside the first
      {"x" SISYPHOS_LOWER, "\xCE\xA6\xCE\x9F\xCE\xA3", 0, 9, false, true},  // ΦΟΣ finds φος
      {"ab", "", 3, npos, true, true},
      {"ff", "\xEF\xAC\x80", 0, 0, true, true},  // the ligature ﬀ folds to "ff": three bytes find two
  };
  for (auto [text, pattern, from, found, starts, ends] : cases) {
    SCOPED_TRACE(text + " | " + pattern + " | " + std::to_string(from));
    EXPECT_EQ(found, ifind(text, pattern, from));
    EXPECT_EQ(found, ifind(text.data(), text.size(), pattern.data(), pattern.size(), from));
    EXPECT_EQ(starts, istarts_with(text.c_str(), pattern.c_str()));
    EXPECT_EQ(starts, istarts_with(text, pattern));
    EXPECT_EQ(ends, iends_with(text.c_str(), pattern.c_str()));
  }
}

TEST_F(MultiByteStrings, CaseMappingIsFullInCopiesAndKeepsTheByteLengthInPlace) {
  // Text, full upper and lower case, upper case in place.
  std::tuple<std::string, std::string, std::string, std::string> const cases[] = {
      {STRASSE, "STRASSE", STRASSE, "STRA\303\237E"},  // ß has no capital of two bytes
      {"\xCE\x9F\xCE\x94\xCE\x9F\xCE\xA3", "\xCE\x9F\xCE\x94\xCE\x9F\xCE\xA3",
       "\xCE\xBF\xCE\xB4\xCE\xBF\xCF\x82",
       "\xCE\x9F\xCE\x94\xCE\x9F\xCE\xA3"},  // ΟΔΟΣ: final sigma at the end of the word
      {SISYPHOS_LOWER, SISYPHOS_UPPER, SISYPHOS_LOWER, SISYPHOS_UPPER},
      {SMALL_DOTLESS_I "x", "IX", SMALL_DOTLESS_I "x", SMALL_DOTLESS_I "X"},  // I would be one byte shorter
      {CAPITAL_DOTTED_I, CAPITAL_DOTTED_I, "i" COMBINING_DOT, CAPITAL_DOTTED_I},
      {"a\377b", "A\377B", "a\377b", "A\377B"},  // malformed bytes pass through
  };
  for (auto [text, upper, lower, upperInPlace] : cases) {
    SCOPED_TRACE(text);
    EXPECT_EQ(upper, to_upper_copy(text));
    EXPECT_EQ(upper, to_upper_copy(text.c_str(), static_cast<int>(text.size())));
    std::string lowered = text, buffer = text, copy(text.size(), '?');
    to_lower(lowered);
    EXPECT_EQ(lower, lowered);
    to_upper(&buffer[0]);
    EXPECT_EQ(upperInPlace, buffer);
    to_upper(text.c_str(), copy.size(), &copy[0]);
    EXPECT_EQ(upperInPlace, copy);
  }
  std::string dotted = CAPITAL_DOTTED_I;
  to_lower(&dotted[0]);
  EXPECT_EQ(CAPITAL_DOTTED_I, dotted);  // its lower case "i" would be one byte shorter
  EXPECT_THROW(to_upper_copy("abc", -1), std::length_error);
  // Case tests by letter category: ΣΑΣ is upper, Σας neither, ß lower, digits and € both.
  EXPECT_TRUE(vyk_strisupper("\xCE\xA3\xCE\x91\xCE\xA3") && !vyk_strislower("\xCE\xA3\xCE\x91\xCE\xA3"));
  EXPECT_FALSE(vyk_strisupper("\xCE\xA3\xCE\xB1\xCF\x82") || vyk_strislower("\xCE\xA3\xCE\xB1\xCF\x82"));
  EXPECT_TRUE(vyk_strislower("\xC3\x9F") && !vyk_strisupper("\xC3\x9F"));
  EXPECT_TRUE(vyk_strisupper("123 \xE2\x82\xAC") && vyk_strislower("123 \xE2\x82\xAC"));
}

}  // namespace
}  // namespace session_encoded
}  // namespace vyk
