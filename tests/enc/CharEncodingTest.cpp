// Encodings looked up by name: the flag words, the single-byte test and unknown names.
#include "vyk/enc/CharEncoding.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "vyk/util/CharConversionSpec.h"
#include "vyk/util/Exception.h"

namespace vyk {
namespace {

TEST(CharEncoding, FlagsAndWidthsOfKnownEncodings) {
  // A name, its flags, whether it is single-byte, and the name iconv is given.
  std::tuple<char const*, std::uint32_t, bool, char const*> const cases[] = {
      {"ISO-8859-1", 0x001, true, "ISO-8859-1"},
      {"latin1", 0x001, true, "LATIN1"},
      {"CP1252", 0x001, true, "CP1252"},
      // iconv's IBM-1047 writes line feed as 0x25, so records end with 0x25 as ENC_EBCDIC says.
      {"IBM-1047", 0x002, true, "IBM-1047"},
      {"IBM037", 0x002, true, "IBM037"},
      {"UTF-8", 0x021, false, "UTF-8"},
      {"utf8", 0x021, false, "UTF8"},
      {"UTF-16LE", 0x081, false, "UTF-16LE"},
      {"UTF-16BE", 0x101, false, "UTF-16BE"},
      {"UTF-32LE", 0x401, false, "UTF-32LE"},
      {"UTF-32BE", 0x801, false, "UTF-32BE"},
      // These names write a mark in the machine's order; they convert through the explicit form.
      {"UTF-16", 0x081, false, "UTF-16LE"},
      {"UTF-32", 0x401, false, "UTF-32LE"},
      {"EUC-JP", 0x001, false, "EUC-JP"},
  };
  for (auto const& [name, flags, singleByte, iconvName] : cases) {
    SCOPED_TRACE(name);
    CharEncoding const* encoding = CharEncoding::forName(name);
    ASSERT_NE(nullptr, encoding);
    EXPECT_EQ(flags, encoding->getFlags());
    EXPECT_EQ(flags, encodingFlags(reinterpret_cast<vyk::CharEncoding const*>(encoding)));
    EXPECT_EQ(singleByte, encoding->isSingleByte());
    EXPECT_EQ(singleByte ? 1 : 4, encoding->getMaxBytesPerChar());
    EXPECT_STREQ(iconvName, encoding->getIconvName());
  }
}

TEST(CharEncoding, SameNameInAnyCaseGivesTheSameObject) {
  CharEncoding const* upper = CharEncoding::forName("ISO-8859-1");
  EXPECT_EQ(upper, CharEncoding::forName("iso-8859-1"));
  EXPECT_EQ(upper, CharEncoding::tryForName("Iso-8859-1"));
  EXPECT_STREQ("ISO-8859-1", upper->getName());
}

TEST(CharEncoding, UnknownNamesFailClearly) {
  std::string const names[] = {"NO-SUCH-ENCODING",   "",         "ISO-8859-1//TRANSLIT", "UTF-8//IGNORE",
                               std::string(48, 'A'), "IBM-99999"};
  for (std::string const& name : names) {
    SCOPED_TRACE(name);
    EXPECT_EQ(nullptr, CharEncoding::tryForName(name));
    try {
      CharEncoding::forName(name);
      ADD_FAILURE() << "no exception";
    } catch (InvalidArgumentException const& e) {
      EXPECT_EQ("Unknown encoding", e.message());
      EXPECT_EQ(name, e.arg());
    }
  }
}

}  // namespace
}  // namespace vyk
