// The delimiter tokeniser and its two options.
#include "vyk/util/StringTokenizer.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "vyk/util/Exception.h"

namespace vyk {
namespace {

using Tokens = std::vector<std::string>;
int const kSkip = StringTokenizer::TOKENS_SKIP_EMPTY;
int const kTrim = StringTokenizer::TOKENS_TRIM;

TEST(StringTokenizer, SplitsByEveryOption) {
  // A delimiter at the end of input adds no empty token; a blank delimiter that starts a token is
  // white space under kTrim.
  std::tuple<std::string, std::string, int, Tokens> const cases[] = {
      {"a,,b", ",", 0, {"a", "", "b"}},
      {"a,b,", ",", 0, {"a", "b"}},
      {",", ",", 0, {""}},
      {"", ",", 0, {}},
      {"abc", "", 0, {"abc"}},
      {"a;b,c", ",;", 0, {"a", "b", "c"}},
      {"a,,b", ",", kSkip, {"a", "b"}},
      {" a , , b ", ",", kTrim, {"a", "", "b"}},
      {" a , , b ", ",", kTrim | kSkip, {"a", "b"}},
      {"   ", ",", kTrim, {""}},
      {"   ", ",", kTrim | kSkip, {}},
      {"  a b", " ", kTrim, {"a", "b"}},
      {"  a b", " ", 0, {"", "", "a", "b"}},
      {"x\ny", ",", kTrim, {"x\ny"}},
      {std::string("a\0b", 3), std::string("\0", 1), 0, {"a", "b"}},
      {"\xE9,\xFF", ",", kTrim, {"\xE9", "\xFF"}}};
  for (auto const& [text, delimiters, options, tokens] : cases) {
    StringTokenizer tokenizer(text, delimiters, options);
    EXPECT_EQ(tokens, tokenizer.getTokens()) << "'" << text << "' options " << options;
    EXPECT_EQ(tokens.size(), tokenizer.size());
  }
  StringTokenizer tokenizer("a,b", ",", 0);
  EXPECT_EQ("b", tokenizer[1]);
  EXPECT_THROW(tokenizer[2], RangeException);
  EXPECT_EQ(Tokens({"a", "b"}), Tokens(tokenizer.begin(), tokenizer.end()));
}

}  // namespace
}  // namespace vyk
