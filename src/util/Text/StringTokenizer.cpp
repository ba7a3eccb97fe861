// The delimiter tokeniser.
#include "vyk/util/StringTokenizer.h"

#include "vyk/util/CharacterTables.h"
#include "vyk/util/Exception.h"

namespace vyk {

namespace {
bool isWhite(char c) {
  return sbcs::hasClass(c, sbcs::CT_SPACE);
}
}  // namespace

StringTokenizer::StringTokenizer(std::string const& text, std::string const& delimiters, int options) {
  bool isDelimiter[256] = {};
  for (char d : delimiters) isDelimiter[static_cast<unsigned char>(d)] = true;
  bool const trim = (options & TOKENS_TRIM) != 0;
  bool const skipEmpty = (options & TOKENS_SKIP_EMPTY) != 0;
  std::size_t const n = text.size();
  std::size_t pos = 0;
  while (pos < n) {
    std::size_t start = pos;
    if (trim) {
      while (start < n && isWhite(text[start])) ++start;
    }
    std::size_t delimiter = start;
    while (delimiter < n && !isDelimiter[static_cast<unsigned char>(text[delimiter])]) ++delimiter;
    std::size_t end = delimiter;
    if (trim) {
      while (end > start && isWhite(text[end - 1])) --end;
    }
    if (end > start || !skipEmpty) tokens_.emplace_back(text, start, end - start);
    // The end of the text, or a delimiter as its last byte, ends the walk: no empty last token.
    if (delimiter + 1 >= n) break;
    pos = delimiter + 1;
  }
}

std::string const& StringTokenizer::operator[](std::size_t index) const {
  if (index >= tokens_.size()) throw RangeException("Token index out of range");
  return tokens_[index];
}

}  // namespace vyk
