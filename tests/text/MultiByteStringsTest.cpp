// Session strings through the sibling multi-byte library on UTF-8 text, and the behaviour of the
// choice when that library is absent. The test program runs twice: VYK_EXPECT_SIBLING=1 with the
// library findable, unset without it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

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
  EXPECT_EQ(expected, StringUtilsSessionEncodedImpl::getMBCSImpl(nullptr) != nullptr);
  EXPECT_EQ(expected, setMBCSStringUtilBehaviour(nullptr));
  if (expected) {
    EXPECT_FALSE(activeImpl().isSingleByteImpl());
    // Code points, not bytes: U+00C9 and U+00E9 share their first byte and differ in the second.
    EXPECT_TRUE(iequals("\xC3\x89", "\xC3\xA9"));
  } else {
    // The old implementation stays, and still works: nothing was deleted or replaced by null.
    EXPECT_EQ(before, &activeImpl());
    EXPECT_TRUE(iequals("\xC9", "\xE9"));
    EXPECT_FALSE(iequals("\xC3\x89", "\xC3\xA9"));
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
#define STRASSE_LOWER \
  "stra\xC3\x9F"      \
  "e"                                                                              // straße
#define SISYPHOS_UPPER "\xCE\xA3\xCE\x8A\xCE\xA3\xCE\xA5\xCE\xA6\xCE\x9F\xCE\xA3"  // ΣΊΣΥΦΟΣ
#define SISYPHOS_LOWER "\xCF\x83\xCE\xAF\xCF\x83\xCF\x85\xCF\x86\xCE\xBF\xCF\x82"  // σίσυφος
#define CAPITAL_DOTTED_I "\xC4\xB0"                                                // U+0130
#define SMALL_DOTLESS_I "\xC4\xB1"                                                 // U+0131
#define COMBINING_DOT "\xCC\x87"                                                   // U+0307

TEST_F(MultiByteStrings, EqualityUnderFullCaseFolding) {
  struct Case {
    char const* s;
    char const* t;
    bool equal;
  };
  const Case cases[] = {
      {STRASSE_LOWER, "STRASSE", true},
      {STRASSE_LOWER, "STRASE", false},
      {SISYPHOS_UPPER, SISYPHOS_LOWER, true},
      {"\xCF\x82", "\xCE\xA3", true},  // final sigma and capital sigma
      {CAPITAL_DOTTED_I, "i" COMBINING_DOT, true},
      {CAPITAL_DOTTED_I, "i", false},
      {SMALL_DOTLESS_I, "I", false},
      {SMALL_DOTLESS_I, "i", false},
      {"\xC3\x84pfel", "\xC3\xA4PFEL", true},  // Äpfel
      {"a\xFF", "A\xFF", true},                // a malformed byte matches only itself
      {"\xFF", "\xFE", false},
      {"\xC3", "\xC3\xA4", false},  // a cut-off sequence is not the character
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.s) + " | " + c.t);
    std::string s = c.s, t = c.t;
    EXPECT_EQ(c.equal, iequals(c.s, c.t));
    EXPECT_EQ(c.equal, iequals(s, t));
    EXPECT_EQ(c.equal, iequals(s, c.t));
    EXPECT_EQ(c.equal, iequals(c.s, t));
    EXPECT_EQ(c.equal, icompare(s, t) == 0);
    EXPECT_EQ(c.equal, CaseInsensitiveStringHashKeyOps::keyequal(c.s, c.t));
    if (c.equal) {
      EXPECT_EQ(CaseInsensitiveStringHashKeyOps::hash(c.s), CaseInsensitiveStringHashKeyOps::hash(c.t));
    }
  }
}

TEST_F(MultiByteStrings, OrderIsThatOfFoldedCodePoints) {
  struct Case {
    char const* s;
    char const* t;
    int expected;
  };
  const Case cases[] = {
      {"\xC3\x84", "B", 0xE4 - 'b'},  // Ä folds to U+00E4
      {"a", "\xC3\xA0", 'a' - 0xE0},  // à after every ASCII letter
      {"\xCE\xA9", "\xCF\x89", 0},    // Ω, ω
      {"ab", "AB\xC3\xA9", -0xE9},    // the end counts as 0
      {"abc", "AB", 'c'},
      {"\xFF", "\xFE", 1},                               // malformed bytes, in byte order
      {"\xF0\x9F\x98\x80", "\xFF", 0x1F600 - 0x1100FF},  // every character before a malformed byte
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.s) + " | " + c.t);
    std::string s = c.s, t = c.t;
    EXPECT_EQ(c.expected, icompare(c.s, c.t));
    EXPECT_EQ(c.expected, icompare(s, t));
    EXPECT_EQ(c.expected, icompare(s, c.t));
    EXPECT_EQ(c.expected, icompare(s.data(), s.size(), t.data(), t.size()));
  }
}

TEST_F(MultiByteStrings, LimitCountsCharacters) {
  std::string s = STRASSE_LOWER, t = "STRASSE";
  struct Case {
    unsigned long limit;
    int expected;
  };
  // Five characters are "straß" and "STRAS": folded "strass" against "stras"; six are "straße"
  // and "STRASS"; seven take all of both texts.
  const Case cases[] = {{0, 0}, {4, 0}, {5, 's'}, {6, 'e'}, {7, 0}, {50, 0}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.limit);
    EXPECT_EQ(c.expected, icomparen(s, t, c.limit));
    EXPECT_EQ(c.expected, icomparen(s, t.c_str(), c.limit));
    EXPECT_EQ(c.expected, icomparen(s.c_str(), t.c_str(), c.limit));
    EXPECT_EQ(c.expected, icomparen(s.c_str(), t, c.limit));
    EXPECT_EQ(c.expected, icomparen(s.data(), s.size(), t.data(), t.size(), c.limit));
  }
}

TEST_F(MultiByteStrings, SearchMatchesWholeCharacters) {
  struct Case {
    char const* text;
    char const* pattern;
    unsigned long from;
    unsigned long expected;
  };
  unsigned long const npos = std::string::npos;
  const Case cases[] = {
      {"Die " STRASSE_LOWER, "STRASSE", 0, 4},
      {"Stra\xC3\x9F"
       "e",
       "SS", 0, 4},  // ß is found as "ss"
      {"Stra\xC3\x9F"
       "e",
       "S", 1, npos},  // but not as half of it
      {"Stra\xC3\x9F"
       "e",
       "E", 0, 6},                                             // a byte offset, after the two bytes of ß
      {"\xC3\x89t\xC3\xA9", "\xC3\x89", 1, 3},                 // Été: the second é, from inside the first
      {"x" SISYPHOS_LOWER, "\xCE\xA6\xCE\x9F\xCE\xA3", 0, 9},  // ΦΟΣ finds φος
      {"ab", "", 1, 1},
      {"ab", "", 3, npos},
      {"ff", "\xEF\xAC\x80", 0, 0},  // the ligature ﬀ folds to "ff": three bytes find two
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.text) + " | " + c.pattern + " | " + std::to_string(c.from));
    std::string text = c.text, pattern = c.pattern;
    EXPECT_EQ(c.expected, ifind(text, pattern, c.from));
    EXPECT_EQ(c.expected, ifind(text.data(), text.size(), pattern.data(), pattern.size(), c.from));
  }
}

TEST_F(MultiByteStrings, PrefixAndSuffixEndOnCharacters) {
  struct Case {
    char const* text;
    char const* part;
    bool starts, ends;
  };
  const Case cases[] = {
      {STRASSE_LOWER, "STRASS", true, false},
      {STRASSE_LOWER, "STRAS", false, false},  // half of ß is no prefix
      {STRASSE_LOWER, "SSE", false, true},
      {STRASSE_LOWER, "SE", false, false},                // nor a suffix
      {SISYPHOS_UPPER, "\xCF\x83\xCE\xAF", true, false},  // σί
      {SISYPHOS_UPPER, "\xCE\xBF\xCF\x83", false, true},  // οσ
      {"abc", "", true, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.text) + " | " + c.part);
    std::string text = c.text, part = c.part;
    EXPECT_EQ(c.starts, istarts_with(c.text, c.part));
    EXPECT_EQ(c.starts, istarts_with(text, part));
    EXPECT_EQ(c.starts, istarts_with(text, c.part));
    EXPECT_EQ(c.ends, iends_with(c.text, c.part));
    EXPECT_EQ(c.ends, iends_with(text, part));
  }
}

TEST_F(MultiByteStrings, StringFormsUseFullCaseMapping) {
  struct Case {
    char const* text;
    char const* upper;
    char const* lower;
  };
  const Case cases[] = {
      {STRASSE_LOWER, "STRASSE", STRASSE_LOWER},
      {"\xCE\x9F\xCE\x94\xCE\x9F\xCE\xA3", "\xCE\x9F\xCE\x94\xCE\x9F\xCE\xA3",
       "\xCE\xBF\xCE\xB4\xCE\xBF\xCF\x82"},  // ΟΔΟΣ: final sigma at the end of the word
      {SISYPHOS_LOWER, SISYPHOS_UPPER, SISYPHOS_LOWER},
      {SMALL_DOTLESS_I, "I", SMALL_DOTLESS_I},
      {CAPITAL_DOTTED_I, CAPITAL_DOTTED_I, "i" COMBINING_DOT},
      {"a\xFF"
       "b",
       "A\xFF"
       "B",
       "a\xFF"
       "b"},  // malformed bytes pass through
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(c.upper, to_upper_copy(std::string(c.text)));
    EXPECT_EQ(c.lower, to_lower_copy(std::string(c.text)));
    EXPECT_EQ(c.upper, to_upper_copy(c.text, static_cast<int>(std::strlen(c.text))));
    std::string inPlace = c.text;
    to_lower(inPlace);
    EXPECT_EQ(c.lower, inPlace);
  }
  std::string dst = "kept:";
  to_upper(std::string("\xC3\x9F"), dst);
  EXPECT_EQ("kept:SS", dst);
  EXPECT_THROW(to_upper_copy("abc", -1), std::length_error);
}

TEST_F(MultiByteStrings, InPlaceFormsKeepTheByteLength) {
  struct Case {
    char const* text;
    char const* upper;
  };
  const Case cases[] = {
      {STRASSE_LOWER,
       "STRA\xC3\x9F"
       "E"},                                       // ß has no one-to-one capital of two bytes
      {SMALL_DOTLESS_I "x", SMALL_DOTLESS_I "X"},  // I would be one byte shorter
      {SISYPHOS_LOWER, SISYPHOS_UPPER},
      {"\xC3\xA9t\xC3\xA9", "\xC3\x89T\xC3\x89"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    std::string buffer = c.text;
    to_upper(&buffer[0]);
    EXPECT_EQ(c.upper, buffer);
    std::string counted = c.text;
    to_upper(&counted[0], counted.size());
    EXPECT_EQ(c.upper, counted);
    std::string copy(std::strlen(c.text), '?');
    to_upper(c.text, copy.size(), &copy[0]);
    EXPECT_EQ(c.upper, copy);
  }
  std::string dotted = CAPITAL_DOTTED_I;
  to_lower(&dotted[0]);
  EXPECT_EQ(CAPITAL_DOTTED_I, dotted);  // its lower case "i" would be one byte shorter
}

TEST_F(MultiByteStrings, CaseTestsByLetterCategory) {
  struct Case {
    char const* text;
    bool isUpper, isLower;
  };
  const Case cases[] = {
      {"\xCE\xA3\xCE\x91\xCE\xA3", true, false},   // ΣΑΣ
      {"\xCF\x83\xCE\xB1\xCF\x82", false, true},   // σας
      {"\xCE\xA3\xCE\xB1\xCF\x82", false, false},  // Σας
      {"123 \xE2\x82\xAC", true, true},            // digits and €
      {"\xC3\x9F", false, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(c.isUpper, vyk_strisupper(c.text));
    EXPECT_EQ(c.isLower, vyk_strislower(c.text));
  }
}

}  // namespace
}  // namespace session_encoded
}  // namespace vyk
