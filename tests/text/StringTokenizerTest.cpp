// The delimiter tokeniser and its two options.
#include "vyk/util/StringTokenizer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "vyk/util/Exception.h"

namespace vyk {
namespace {

using Tokens = std::vector<std::string>;
int const kSkip = StringTokenizer::TOKENS_SKIP_EMPTY;
int const kTrim = StringTokenizer::TOKENS_TRIM;

TEST(StringTokenizer, SplitsByEveryOption) {
  struct Case {
    std::string text, delimiters;
    int options;
    Tokens tokens;
  };
  Case const cases[] = {
      {"a,,b", ",", 0, {"a", "", "b"}},
      {"a,b,", ",", 0, {"a", "b"}},
      {",a", ",", 0, {"", "a"}},
      {",", ",", 0, {""}},
      {",,", ",", 0, {"", ""}},
      {"", ",", 0, {}},
      {"", ",", kTrim, {}},
      {"abc", ",", 0, {"abc"}},
      {"abc", "", 0, {"abc"}},
      {"a;b,c", ",;", 0, {"a", "b", "c"}},
      {"a,,b", ",", kSkip, {"a", "b"}},
      {",", ",", kSkip, {}},
      {" a , b\t,\tc ", ",", kTrim, {"a", "b", "c"}},
      {" a , , b ", ",", kTrim, {"a", "", "b"}},
      {" a , , b ", ",", kTrim | kSkip, {"a", "b"}},
      {"   ", ",", kTrim, {""}},
      {"   ", ",", kTrim | kSkip, {}},
      {"   ", ",", 0, {"   "}},
      {"a b", " ", 0, {"a", "b"}},
      {"  a b", " ", kTrim, {"a", "b"}},  // a blank delimiter that starts a token is white space
      {"  a b", " ", 0, {"", "", "a", "b"}},
      {"x\ny", ",", kTrim, {"x\ny"}},
      {std::string("a\0b", 3), std::string("\0", 1), 0, {"a", "b"}},
      {"\xE9,\xFF", ",", kTrim, {"\xE9", "\xFF"}},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE("'" + c.text + "' options " + std::to_string(c.options));
    StringTokenizer tokenizer(c.text, c.delimiters, c.options);
    EXPECT_EQ(c.tokens, tokenizer.getTokens());
    EXPECT_EQ(c.tokens.size(), tokenizer.size());
  }
}

TEST(StringTokenizer, IndexingIsChecked) {
  StringTokenizer tokenizer("a,b", ",", 0);
  EXPECT_EQ("a", tokenizer[0]);
  EXPECT_EQ("b", tokenizer[1]);
  EXPECT_THROW(tokenizer[2], RangeException);
  EXPECT_EQ(Tokens({"a", "b"}), Tokens(tokenizer.begin(), tokenizer.end()));
}

}  // namespace
}  // namespace vyk
