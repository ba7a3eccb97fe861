// Hexadecimal digit pairs to bytes.
#include "vyk/util/HexString.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace vyk {
namespace {

TEST(HexString, ReadsPairsAndSkipsCommasBetweenThem) {
  std::pair<char const*, std::string> const parsed[] = {{"0aFF", "\x0a\xff"}, {"0a,ff", "\x0a\xff"},
                                                        {",,0a", "\x0a"},     {",", ""},
                                                        {"0a,", "\x0a"},      {"00", std::string("\0", 1)}};
  for (auto const& [text, bytes] : parsed) EXPECT_EQ(bytes, parseHexString(text)) << text;
  for (char const* text : {"0,a", "0", "0g", "0a0", " 0a", "0A-FF", "x0"}) {
    EXPECT_THROW(parseHexString(text), BadHexStringException) << text;
  }
  // The view's length bounds the text.
  EXPECT_EQ("\xab", parseHexString(StringView("abcd", 2)));
  EXPECT_THROW(parseHexString(StringView("ab\0", 3)), BadHexStringException);
}

}  // namespace
}  // namespace vyk
