// Hexadecimal digit pairs to bytes.
#include "vyk/util/HexString.h"

#include <gtest/gtest.h>

#include <string>

namespace vyk {
namespace {

TEST(HexString, ReadsPairsAndSkipsCommasBetweenThem) {
  struct Case {
    char const* text;
    bool parses;
    std::string bytes;
  };
  Case const cases[] = {
      {"0aFF", true, "\x0a\xff"},
      {"0a,ff", true, "\x0a\xff"},
      {",,0a", true, "\x0a"},
      {"", true, ""},
      {",", true, ""},
      {"0a,", true, "\x0a"},
      {"00", true, std::string("\0", 1)},
      {"7f80", true, "\x7f\x80"},
      {"0,a", false, ""},
      {"0", false, ""},
      {"0g", false, ""},
      {"0a0", false, ""},
      {" 0a", false, ""},
      {"0A-FF", false, ""},
      {"x0", false, ""},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.text);
    if (c.parses) {
      EXPECT_EQ(c.bytes, parseHexString(c.text));
    } else {
      EXPECT_THROW(parseHexString(c.text), BadHexStringException);
    }
  }
  // The view's length bounds the text.
  EXPECT_EQ("\xab", parseHexString(StringView("abcd", 2)));
  EXPECT_THROW(parseHexString(StringView("ab\0", 3)), BadHexStringException);
}

}  // namespace
}  // namespace vyk
