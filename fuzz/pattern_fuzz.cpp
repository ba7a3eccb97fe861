// Fuzzes the wildcard matcher and the tokeniser. Input: one byte of options, one byte that says
// where the pattern ends, then the pattern and the text. Checks invariants that can fail: a
// pattern without wildcards matches exactly its own bytes, a lone anyString matches everything, a
// recursive reference agrees on short inputs, and the tokens rebuild the text.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "support/ReferencePatternMatcher.h"
#include "vyk/util/CharacterTables.h"
#include "vyk/util/SimplePatternMatcher.h"
#include "vyk/util/StringTokenizer.h"

namespace {

using vyk::testing::reference;
using vyk::testing::Syntax;

bool match(std::string const& text, std::string const& pattern, Syntax const& s) {
  return vyk::SimplePatternMatcher::matchesPattern(text.data(), text.size(), pattern.data(), pattern.size(),
                                                   s.anyString, s.anyChar, s.useEscape, s.escape);
}

void check(bool condition) {
  if (!condition) std::abort();
}

void fuzzMatcher(std::string const& pattern, std::string const& text, std::uint8_t options) {
  Syntax const s{'*', (options & 1) ? '*' : '?', (options & 2) != 0, (options & 4) ? '*' : '\\'};
  bool result = match(text, pattern, s);
  if (pattern.size() <= 8 && text.size() <= 10) check(result == reference(text, 0, pattern, 0, s));
  // A lone anyString matches everything, unless the same byte is the escape: then it is a
  // trailing escape and matches only the empty text.
  bool loneIsEscape = s.useEscape && s.escape == s.anyString;
  check(match(text, std::string(1, s.anyString), s) == (!loneIsEscape || text.empty()));
  bool plain = pattern.find_first_of(std::string{s.anyString, s.anyChar, s.escape}) == std::string::npos;
  if (plain) {
    check(match(pattern, pattern, s));
    check(result == (text == pattern));
  }
}

void fuzzTokenizer(std::string const& delimiters, std::string const& text, int options) {
  vyk::StringTokenizer tokenizer(text, delimiters, options);
  auto isDelimiter = [&](char c) { return delimiters.find(c) != std::string::npos; };
  for (std::string const& token : tokenizer.getTokens()) {
    for (char c : token) check(!isDelimiter(c));
    if (options & vyk::StringTokenizer::TOKENS_SKIP_EMPTY) check(!token.empty());
    if ((options & vyk::StringTokenizer::TOKENS_TRIM) && !token.empty()) {
      check(!vyk::sbcs::hasClass(token.front(), vyk::sbcs::CT_SPACE));
      check(!vyk::sbcs::hasClass(token.back(), vyk::sbcs::CT_SPACE));
    }
  }
  if (options != 0) return;
  // Without options the tokens and single delimiters rebuild the text exactly.
  std::size_t pos = 0;
  for (std::string const& token : tokenizer.getTokens()) {
    check(text.compare(pos, token.size(), token) == 0);
    pos += token.size();
    if (pos < text.size()) {
      check(isDelimiter(text[pos]));
      ++pos;
    }
  }
  check(pos == text.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  if (size < 2) return 0;
  std::uint8_t options = data[0];
  std::size_t rest = size - 2;
  std::size_t split = rest == 0 ? 0 : data[1] % (rest + 1);
  std::string pattern(reinterpret_cast<char const*>(data + 2), split);
  std::string text(reinterpret_cast<char const*>(data + 2 + split), rest - split);
  fuzzMatcher(pattern, text, options);
  fuzzTokenizer(pattern, text, (options >> 3) & 3);
  return 0;
}
