// Splitting a text at delimiter bytes into tokens, with optional trimming and skipping of empties.
#ifndef VYK_UTIL_STRINGTOKENIZER_H
#define VYK_UTIL_STRINGTOKENIZER_H

#include <string>
#include <vector>

#include "vyk/util/Export.h"

namespace vyk {

// Splits text at every byte that occurs in delimiters. An empty text gives no tokens; a delimiter
// at the start gives an empty first token, one at the end no empty last token, so "a,b," gives a
// and b and "," one empty token. Options, a bit set:
//  - TOKENS_SKIP_EMPTY leaves empty tokens out;
//  - TOKENS_TRIM removes white space (the session's class bit 0x08) around each token; a blank
//    that starts a token is skipped as white space even when it is also a delimiter.
// The tokens are made by the constructor and do not change.
//
//   StringTokenizer t(" a , b ", ",", StringTokenizer::TOKENS_TRIM);   // "a", "b"
class VYK_EXPORT StringTokenizer {
 public:
  enum Options { TOKENS_SKIP_EMPTY = 1, TOKENS_TRIM = 2 };

  StringTokenizer(std::string const& text, std::string const& delimiters, int options);

  std::vector<std::string> const& getTokens() const { return tokens_; }
  std::size_t size() const { return tokens_.size(); }
  bool empty() const { return tokens_.empty(); }
  // The token at index; an index at or beyond size() throws RangeException.
  std::string const& operator[](std::size_t index) const;
  std::vector<std::string>::const_iterator begin() const { return tokens_.begin(); }
  std::vector<std::string>::const_iterator end() const { return tokens_.end(); }

 private:
  std::vector<std::string> tokens_;
};

}  // namespace vyk

#endif
