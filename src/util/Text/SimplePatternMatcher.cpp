// Wildcard matching by one pass with a single resume point: the last anyString seen.
#include "vyk/util/SimplePatternMatcher.h"

namespace vyk {

namespace {

enum class Kind { End, AnyString, AnyChar, Literal };

struct Token {
  Kind kind;
  char byte;            // the literal byte
  unsigned long width;  // pattern bytes taken
};

struct Syntax {
  char anyString;
  char anyChar;
  bool useEscape;
  char escape;
};

// The token at position p. An escape as the last byte ends the pattern like its end does.
Token tokenAt(char const* pattern, unsigned long length, unsigned long p, Syntax const& syntax) {
  if (p >= length) return Token{Kind::End, 0, 0};
  char c = pattern[p];
  if (syntax.useEscape && c == syntax.escape) {
    if (p + 1 >= length) return Token{Kind::End, 0, 1};
    return Token{Kind::Literal, pattern[p + 1], 2};
  }
  if (c == syntax.anyString) return Token{Kind::AnyString, c, 1};
  if (c == syntax.anyChar) return Token{Kind::AnyChar, c, 1};
  return Token{Kind::Literal, c, 1};
}

}  // namespace

// Why one resume point is enough: the parts between anyStrings hold no wildcard for runs, so once
// the part after the last anyString seen has matched somewhere, the earliest place is the best,
// and giving an earlier anyString more text can only push the later parts further right. On a
// mismatch only the latest anyString takes one more byte; each byte of text is thus tried against
// each pattern position at most once per resume, text length times pattern length at worst.
bool SimplePatternMatcher::matchesPattern(char const* text, unsigned long textLen, char const* pattern,
                                          unsigned long patternLen, char anyString, char anyChar,
                                          bool useEscape, char escape) {
  if (patternLen == 0) return textLen == 0;
  Syntax const syntax{anyString, anyChar, useEscape, escape};
  unsigned long t = 0;
  unsigned long p = 0;
  bool resumable = false;
  unsigned long resumePattern = 0;
  unsigned long resumeText = 0;
  for (;;) {
    Token token = tokenAt(pattern, patternLen, p, syntax);
    if (token.kind == Kind::AnyString) {
      while (token.kind == Kind::AnyString) {
        p += token.width;
        token = tokenAt(pattern, patternLen, p, syntax);
      }
      if (p >= patternLen) return true;  // the anyString was the last pattern byte
      // Only a trailing escape follows, and it needs the text used up while the anyString must
      // leave a byte for it: nothing matches.
      if (token.kind == Kind::End) return false;
      if (t >= textLen) return false;
      resumable = true;
      resumePattern = p;
      resumeText = t;
      continue;
    }
    if (token.kind == Kind::End) {
      if (t == textLen) return true;
    } else if (t < textLen && (token.kind == Kind::AnyChar || text[t] == token.byte)) {
      p += token.width;
      ++t;
      continue;
    }
    // Mismatch: the last anyString takes one more byte, still leaving one for the rest.
    if (!resumable || resumeText + 1 >= textLen) return false;
    ++resumeText;
    t = resumeText;
    p = resumePattern;
  }
}

bool SimplePatternMatcher::matchesPattern(std::string const& text, std::string const& pattern, char anyString,
                                          char anyChar, bool useEscape, char escape) {
  return matchesPattern(text.data(), text.size(), pattern.data(), pattern.size(), anyString, anyChar,
                        useEscape, escape);
}

}  // namespace vyk
