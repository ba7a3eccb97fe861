// UnicodeConverter: the bulk operations of each encoding, the strategies and the overloads around them.
#include "vyk/util/UnicodeConverter.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>
#include <vector>

namespace vyk {
namespace {

typedef std::basic_string<unsigned short> U16;
typedef UnicodeConverter UC;

// One call of a bulk operation with `room` target elements; the `pad` elements behind the room must
// stay untouched.
template <class Src, class Dst>
struct Result {
  UC::ErrorCode code;
  long consumed;
  std::basic_string<Dst> out;
};
template <class Src, class Dst>
Result<Src, Dst> call(UC& c, std::basic_string<Src> const& in, unsigned long room, unsigned long pad = 1) {
  Dst const guard = static_cast<Dst>(0x5A);
  std::vector<Dst> out(room + pad, guard);
  Src const* s = in.data();
  Dst* t = out.data();
  UC::ErrorCode code = UC::Ok;
  if constexpr (sizeof(Src) == 1) {
    c.toUnicode(&s, in.data() + in.size(), &t, out.data() + room, code);
  } else {
    c.fromUnicode(&s, in.data() + in.size(), &t, out.data() + room, code);
  }
  EXPECT_EQ(std::basic_string<Dst>(pad, guard), std::basic_string<Dst>(out.data() + room, pad))
      << "wrote past";
  return {code, s - in.data(), std::basic_string<Dst>(out.data(), t)};
}

// Valid and invalid UTF-8 over every code point is compared with ICU elsewhere, and full targets
// below; these pin where a fault or a full target leaves the source, in UTF-8 and both UTF-16 orders.
TEST(UnicodeConverter, FaultsAndRoomBothWays) {
  enum Form { UTF8, BE, LE };
  struct Case {
    Form form;
    bool decode;
    std::string bytes;
    U16 units;
    unsigned long room;
    UC::ErrorCode code;
    long consumed;
  };
  Case const cases[] = {
      {UTF8, true, "\xC0\x80", {}, 0, UC::Invalid, 0},  // malformed is told before a full target
      {UTF8, false, "\xED\xB0\x80", {0xDC00, 0xD800}, 8, UC::Invalid, 1},  // a high one at the end is not
      {BE, true, std::string("\0A\x20", 3), {0x41}, 4, UC::Invalid, 2},    // an odd byte at the end
      {BE, true, std::string("\0A\x20", 3), {0x41}, 1, UC::Overflow, 2},   // room is told before it
      {BE, false, std::string("\0A", 2), {0x41, 0x42}, 3, UC::Overflow, 1},
      {BE, true, std::string("\0A\x20\xAC\xDC\x00", 6), {0x41, 0x20AC, 0xDC00}, 3, UC::Ok, 6},
      {BE, false, std::string("\0A\x20\xAC\xDC\x00", 6), {0x41, 0x20AC, 0xDC00}, 6, UC::Ok, 3},
      {LE, true, std::string("A\0\xAC\x20\x00\xD8", 6), {0x41, 0x20AC, 0xD800}, 3, UC::Ok, 6},
      {LE, false, std::string("A\0\xAC\x20\x00\xD8", 6), {0x41, 0x20AC, 0xD800}, 6, UC::Ok, 3},
  };
  IntrusivePointer<UC> const converters[] = {UC::utf8ToUnicode(), UC::utf16BEToUnicode(),
                                             UC::utf16LEToUnicode()};
  for (Case const& c : cases) {
    SCOPED_TRACE(&c - cases);
    UC& conv = *converters[c.form];
    if (c.decode) {
      auto r = call<char, unsigned short>(conv, c.bytes, c.room);
      EXPECT_EQ(c.code, r.code);
      EXPECT_EQ(c.consumed, r.consumed);
      EXPECT_EQ(c.units, r.out);
    } else {
      auto r = call<unsigned short, char>(conv, c.units, c.room);
      EXPECT_EQ(c.code, r.code);
      EXPECT_EQ(c.consumed, r.consumed);
      EXPECT_EQ(c.bytes, r.out);
    }
  }
  EXPECT_EQ(std::string("A\0", 2), UC::utf16ToUnicode()->fromUnicode(0x41))
      << "plain UTF-16 is little-endian";
}

// Every target length over a source whose characters end at `srcEnds`, giving a target whose
// characters end at `dstEnds`: whole characters are written and the source stops right behind them.
template <class Src, class Dst>
void checkEveryRoom(UC& c, std::basic_string<Src> const& src, std::basic_string<Dst> const& dst,
                    std::vector<long> const& srcEnds, std::vector<long> const& dstEnds) {
  for (unsigned long room = 0; room <= dst.size() + 1; ++room) {
    SCOPED_TRACE(std::to_string(sizeof(Src)) + " room " + std::to_string(room));
    size_t k = 0;  // the last character that fits
    while (k + 1 < dstEnds.size() && dstEnds[k + 1] <= static_cast<long>(room)) ++k;
    auto r = call<Src, Dst>(c, src, room, 24);
    EXPECT_EQ(k + 1 == dstEnds.size() ? UC::Ok : UC::Overflow, r.code);
    EXPECT_EQ(srcEnds[k], r.consumed);
    ASSERT_EQ(dst.substr(0, static_cast<size_t>(dstEnds[k])), r.out);
  }
}

// A long text in runs of one kind of character, so that the block paths meet a full target at every
// place: each piece is one character, its UTF-8 bytes and its units.
TEST(Utf8Converter, FullTargetAtEveryLengthStopsOnACharacter) {
  struct Piece {
    char const* utf8;
    U16 units;
  } const pieces[] = {{"a", {0x61}},
                      {"\xC3\xA9", {0xE9}},
                      {"\xD0\x96", {0x416}},
                      {"\xE4\xB8\xAD", {0x4E2D}},
                      {"\xEF\xBF\xBF", {0xFFFF}},
                      {"\xF0\x9F\x98\x80", {0xD83D, 0xDE00}}};
  int const runs[][2] = {{0, 20}, {1, 9}, {2, 13}, {0, 3}, {3, 11}, {5, 2},  {4, 1},  {3, 9},
                         {1, 1},  {0, 1}, {2, 1},  {3, 1}, {5, 1},  {0, 17}, {2, 30}, {3, 12}};
  std::string bytes;
  U16 units;
  std::vector<long> byteEnds(1, 0), unitEnds(1, 0);
  for (auto const& run : runs) {
    for (int i = 0; i < run[1]; ++i) {
      bytes += pieces[run[0]].utf8;
      units += pieces[run[0]].units;
      byteEnds.push_back(static_cast<long>(bytes.size()));
      unitEnds.push_back(static_cast<long>(units.size()));
    }
  }
  Utf8Converter utf8;
  checkEveryRoom(utf8, units, bytes, unitEnds, byteEnds);
  checkEveryRoom(utf8, bytes, units, byteEnds, unitEnds);
}

U16 const kMixedUnits = {0x61, 0xE9, 0x20AC, 0xD800, 0xDC00, 0x62, 0x416, 0xD83D, 0xDE00, 0x7A};
std::string const kMixedUtf8 = "a\xC3\xA9\xE2\x82\xAC\xF0\x90\x80\x80\x62\xD0\x96\xF0\x9F\x98\x80z";

TEST(UnicodeConverter, TruncRetSrcUseFillsAFixedTargetAndResumes) {
  IntrusivePointer<UC> utf8 = UC::utf8ToUnicode();
  for (unsigned long room = 2; room <= 6; ++room) {
    U16 all;
    std::vector<unsigned short> block(room);
    for (unsigned long at = 0, calls = 0, used = 0; at < kMixedUtf8.size() && calls < 20; ++calls) {
      at += utf8->toUnicodeTruncRetSrcUse(kMixedUtf8.data() + at, kMixedUtf8.size() - at, block.data(), room,
                                          used);
      all.append(block.data(), used);
    }
    EXPECT_EQ(kMixedUnits, all) << room;
  }
  unsigned short four[4];
  unsigned long used = 99;
  EXPECT_EQ(0u, utf8->toUnicodeTruncRetSrcUse("\xF0\x90\x80\x80", 4, four, 1, used));  // the pair stays whole
  EXPECT_EQ(0u, used);
  utf8->setInvalidStrategy(UC::INVALID_SUBSTITUTE);  // replacements count as written units
  EXPECT_EQ(3u, utf8->toUnicodeTruncRetSrcUse("a\xE2\x82", 3, four, 4, used));
  EXPECT_EQ(3u, used);
  utf8->setInvalidStrategy(UC::INVALID_FAIL);  // a throw still sets dstUsed
  EXPECT_THROW(utf8->toUnicodeTruncRetSrcUse("ab\xFF", 3, four, 4, used), UC::InvalidError);
  EXPECT_EQ(2u, used);
}

// Skipping and substituting on the way in are compared with ICU elsewhere, and substituting on the
// way out at the block ends below; 7 is an unknown strategy and fails.
TEST(UnicodeConverter, InvalidStrategies) {
  for (int strategy : {static_cast<int>(UC::INVALID_FAIL), 7}) {
    IntrusivePointer<UC> utf8 = UC::utf8ToUnicode();
    utf8->setInvalidStrategy(strategy);
    EXPECT_THROW(utf8->toUnicode("ok\x80"), UC::InvalidError) << strategy;
    EXPECT_THROW(utf8->fromUnicode(U16{0x41, 0xD800}), UC::InvalidError) << strategy;
  }
  IntrusivePointer<UC> skipping = UC::utf8ToUnicode();
  skipping->setInvalidStrategy(UC::INVALID_SKIP);
  EXPECT_EQ("A", skipping->fromUnicode(U16{0xD800, 0x41, 0xD800}));
  IntrusivePointer<UC> big = UC::utf16BEToUnicode();
  big->setInvalidStrategy(UC::INVALID_SUBSTITUTE);
  EXPECT_EQ((U16{0x41, 0xFFFD}), big->toUnicode(std::string("\0A\x20", 3)));
}

TEST(UnicodeConverter, UnmappableStrategiesWriteTheirTextInTheTargetEncoding) {
  // The strategy, its text on ISO 8859-1 and on IBM-1047 (nullptr: throws).
  std::tuple<int, char const*, char const*> const cases[] = {
      {UC::UNMAPPABLE_SUBSTITUTE, "\x1A", "\x3F"},
      {UC::UNMAPPABLE_SKIP, "", ""},
      {UC::UNMAPPABLE_NCR, "&#8364;", "\x50\x7B\xF8\xF3\xF6\xF4\x5E"},
      {UC::UNMAPPABLE_PAREN, "<u20AC>", "\x4C\xA4\xF2\xF0\xC1\xC3\x6E"},
      {UC::UNMAPPABLE_UESC, "\\u20AC", "\xE0\xA4\xF2\xF0\xC1\xC3"},
      {UC::UNMAPPABLE_FAIL, nullptr, nullptr},
      {6, nullptr, nullptr},
  };
  U16 const text = {0x41, 0x20AC, 0x42};
  for (auto const& [strategy, latin1Text, ebcdicText] : cases) {
    SCOPED_TRACE(strategy);
    IntrusivePointer<UC> latin1 = UC::iso88591ToUnicode(), ebcdic = UC::openEdition1047ToUnicode();
    latin1->setUnmappableStrategy(strategy);
    ebcdic->setUnmappableStrategy(strategy);
    if (latin1Text == nullptr) {
      char buf[8];
      EXPECT_THROW(latin1->fromUnicode(text, buf, sizeof buf), UC::UnmappableError);
      EXPECT_THROW(latin1->fromUnicode(text), UC::UnmappableError);
      continue;
    }
    EXPECT_EQ(std::string("A") + latin1Text + "B", latin1->fromUnicode(text));
    EXPECT_EQ(std::string("\xC1") + ebcdicText + "\xC2", ebcdic->fromUnicode(text));
  }
}

TEST(UnicodeConverter, OverflowIsToldBeforeUnmappableAndTextsAreWholeOrNothing) {
  CopyUnicodeConverter<127> ascii;
  ascii.setUnmappableStrategy(UC::UNMAPPABLE_FAIL);
  auto full = call<unsigned short, char>(ascii, U16{0x41, 0x20AC}, 1);
  EXPECT_EQ(UC::Overflow, full.code);
  EXPECT_EQ(1, full.consumed);
  ascii.setUnmappableStrategy(UC::UNMAPPABLE_NCR);
  for (unsigned long room = 1; room <= 7; ++room) {  // "&#8364;" needs 7 bytes
    auto r = call<unsigned short, char>(ascii, U16{0x20AC}, room);
    EXPECT_EQ(room < 7 ? UC::Overflow : UC::Ok, r.code) << room;
    EXPECT_EQ(room < 7 ? "" : "&#8364;", r.out) << room;
  }
}

// The string overloads convert through 256-byte blocks: a strategy text or a replacement that meets a
// block end must be neither lost nor doubled (the 128-unit blocks of the way in are compared with ICU).
TEST(UnicodeConverter, StrategyTextsSurviveBlockEnds) {
  IntrusivePointer<UC> latin1 = UC::iso88591ToUnicode(), utf8 = UC::utf8ToUnicode();
  latin1->setUnmappableStrategy(UC::UNMAPPABLE_NCR);
  utf8->setInvalidStrategy(UC::INVALID_SUBSTITUTE);
  for (size_t lead = 245; lead <= 256; ++lead) {
    SCOPED_TRACE(lead);
    EXPECT_EQ(std::string(lead, 'a') + "&#8364;&#8364;b",
              latin1->fromUnicode(U16(lead, 'a') + U16{0x20AC, 0x20AC, 'b'}));
    EXPECT_EQ(std::string(lead, 'a') + "\xEF\xBF\xBD\xEF\xBF\xBD\x62",
              utf8->fromUnicode(U16(lead, 'a') + U16{0xD800, 0xD800, 'b'}));
  }
}

// An encoding that cannot hold a strategy's own text: the strategy falls back to U+001A, then to
// '?', then reports the character, and never recurses.
TEST(UnicodeConverter, StrategyTextsTheEncodingCannotHoldFallBack) {
  // Whether the encoding has U+001A and '?', the strategy, the bytes written (nullptr: throws).
  std::tuple<bool, bool, int, char const*> const cases[] = {
      {true, true, UC::UNMAPPABLE_NCR, "\x05"},    {true, true, UC::UNMAPPABLE_UESC, "\x05"},
      {false, true, UC::UNMAPPABLE_PAREN, "\x06"}, {false, true, UC::UNMAPPABLE_SUBSTITUTE, "\x06"},
      {false, false, UC::UNMAPPABLE_NCR, nullptr}, {false, false, UC::UNMAPPABLE_SKIP, ""},
  };
  for (auto const& [hasSubstitute, hasQuestionMark, strategy, bytes] : cases) {
    SCOPED_TRACE(strategy);
    unsigned short table[256];  // byte i is U+0100+i, but 'A' at 0x41 and the fall-backs where asked
    for (int i = 0; i < 256; ++i) table[i] = static_cast<unsigned short>(0x100 + i);
    table[0x41] = 'A';
    if (hasSubstitute) table[0x05] = 0x1A;
    if (hasQuestionMark) table[0x06] = '?';
    SBCSUnicodeConverter sbcs(table);
    sbcs.setUnmappableStrategy(strategy);
    if (bytes == nullptr) {
      EXPECT_THROW(sbcs.fromUnicode(U16{0x41, 0x20AC}), UC::UnmappableError);
    } else {
      EXPECT_EQ(std::string("A") + bytes, sbcs.fromUnicode(U16{0x41, 0x20AC}));
    }
  }
}

TEST(SingleByteConverters, MapBytesAndUnits) {
  // The factory, a byte and its unit.
  std::tuple<IntrusivePointer<UC> (*)(), unsigned char, unsigned short> const cases[] = {
      {UC::usasciiToUnicode, 0x7F, 0x7F},         {UC::iso88591ToUnicode, 0xFF, 0xFF},
      {UC::openEdition1047ToUnicode, 0xC1, 0x41}, {UC::openEdition1047ToUnicode, 0x15, 0x0A},
      {UC::openEdition1047ToUnicode, 0x25, 0x85}, {UC::ebcdic1047ToUnicode, 0x15, 0x85},
      {UC::ebcdic1047ToUnicode, 0x25, 0x0A},      {UC::ebcdic1047ToUnicode, 0xAD, 0x5B},
  };
  for (auto const& [factory, value, unit] : cases) {
    SCOPED_TRACE(value);
    IntrusivePointer<UC> conv = factory();
    char byte = static_cast<char>(value);
    EXPECT_EQ(U16(1, unit), conv->toUnicode(&byte, 1));
    EXPECT_EQ(std::string(1, byte), conv->fromUnicode(unit));
  }
  // US-ASCII reads every byte in but writes only up to 0x7F.
  EXPECT_EQ(U16(1, 0x80), UC::usasciiToUnicode()->toUnicode("\x80"));
  EXPECT_EQ("\x1A", UC::usasciiToUnicode()->fromUnicode(0x80));
  EXPECT_EQ("\x1A", UC::iso88591ToUnicode()->fromUnicode(0x100));
  std::string all;  // both IBM-1047 variants are permutations of Latin-1
  for (int i = 0; i < 256; ++i) all += static_cast<char>(i);
  for (auto factory : {UC::openEdition1047ToUnicode, UC::ebcdic1047ToUnicode}) {
    U16 units = factory()->toUnicode(all);
    std::vector<int> seen(256, 0);
    for (unsigned short u : units) ++seen.at(u);
    EXPECT_EQ(std::vector<int>(256, 1), seen);
    EXPECT_EQ(all, factory()->fromUnicode(units));
  }
}

TEST(SBCSUnicodeConverter, ReverseMapRules) {
  SBCSUnicodeConverter::Trantab stored;  // the 256 high bytes first, then the 256 low bytes
  std::memset(stored.bytes, 0, sizeof stored.bytes);
  for (int i = 0; i < 256; ++i) stored.bytes[256 + i] = static_cast<unsigned char>(i);
  stored.bytes[0x80] = 0x20;  // byte 0x80 is U+20AC
  stored.bytes[256 + 0x80] = 0xAC;
  stored.bytes[256 + 0x90] = 'A';   // bytes 0x41 and 0x90 both give 'A': the higher wins
  stored.bytes[256 + 0x00] = 'X';   // entry 0 is not U+0000 ...
  stored.bytes[256 + 0x58] = 0x00;  // ... and byte 0x58 gives U+0000
  SBCSUnicodeConverter sbcs(stored);
  EXPECT_EQ("\x80\x90\x1A", sbcs.fromUnicode(U16{0x20AC, 'A', 'X'}));
  EXPECT_EQ("\x58\x1A", sbcs.fromUnicode(U16{0x0000, 0x0100}));
  EXPECT_EQ((U16{'X', 0x20AC, 'A', 'A', 0}), sbcs.toUnicode(std::string("\x00\x80\x41\x90\x58", 5)));
  // Nothing maps to U+0000: its reverse entry stays 0 and it is still written, as byte 0.
  unsigned short table[256];
  for (int i = 0; i < 256; ++i) table[i] = static_cast<unsigned short>(0x100 + i);
  EXPECT_EQ(std::string(1, '\0'), SBCSUnicodeConverter(table).fromUnicode(static_cast<unsigned short>(0)));
}

TEST(UnicodeConverter, OverloadsAgree) {
  IntrusivePointer<UC> utf8 = UC::utf8ToUnicode();
  U16 const text = {0x47, 0x72, 0xFC, 0xDF, 0x20AC};
  std::string const bytes = "Gr\xC3\xBC\xC3\x9F\xE2\x82\xAC";
  unsigned short const zeroTerminated[] = {0x47, 0x72, 0xFC, 0xDF, 0x20AC, 0, 0x41};
  std::string str = "old";  // the output overloads replace what was there
  utf8->fromUnicode(zeroTerminated, str);
  EXPECT_EQ(bytes, str);
  char buf[16];
  UC::ErrorCode code = UC::Ok;
  EXPECT_EQ(0u, utf8->fromUnicode(static_cast<unsigned short>(0x20AC), buf, 2, code));
  EXPECT_EQ(UC::Overflow, code);
  EXPECT_EQ(0u, utf8->fromUnicode(static_cast<unsigned short>(0xD800), buf, 4, code));
  EXPECT_EQ(UC::Invalid, code);
  EXPECT_THROW(utf8->fromUnicode(text, buf, 8), UC::OverflowError);
  U16 units = {0x99};
  utf8->toUnicode(bytes.c_str(), units);
  EXPECT_EQ(text, units);
  unsigned short ubuf[8];
  EXPECT_EQ(5u, utf8->toUnicode(bytes, ubuf, 8));
  EXPECT_THROW(utf8->toUnicode(bytes, ubuf, 4), UC::OverflowError);
  EXPECT_THROW(UC::convertError(UC::Unmappable), UC::UnmappableError);
  // One unit at a time: a character that needs a pair does not fit; a fault throws whatever the strategy.
  utf8->setInvalidStrategy(UC::INVALID_SUBSTITUTE);
  char const one[] = "\xE2\x82\xAC!\xF0\x90\x80\x80\xC0\x80";
  char const* s = one;
  EXPECT_EQ(0x20AC, utf8->getNextUChar(&s, one + 4, code));
  EXPECT_EQ(UC::Overflow, code);
  EXPECT_EQ('!', utf8->getNextUChar(&s, one + 4, code));
  EXPECT_EQ(UC::Ok, code);
  EXPECT_EQ(0, utf8->getNextUChar(&s, one + 8, code));
  EXPECT_EQ(UC::Overflow, code);
  EXPECT_EQ(one + 4, s);
  s = one + 8;
  EXPECT_THROW(utf8->getNextUChar(&s, one + 10, code), UC::InvalidError);
  EXPECT_EQ(one + 8, s);
  EXPECT_NO_THROW(UC::convertError(UC::Ok));
}

}  // namespace
}  // namespace vyk
