// UnicodeConverter: the bulk operations of each encoding, the strategies and the overloads around them.
#include "vyk/util/UnicodeConverter.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace vyk {
namespace {

typedef std::basic_string<unsigned short> U16;
typedef UnicodeConverter UC;

std::string hex(std::string const& bytes) {
  std::string out;
  char buf[4];
  for (unsigned char b : bytes) out += (std::snprintf(buf, sizeof buf, "%02X ", b), buf);
  return out;
}

// One call of the virtual operations with `room` units or bytes of target, guarded past its end.
struct InResult {
  UC::ErrorCode code;
  long consumed;
  U16 units;
};
InResult callToUnicode(UC& c, std::string const& bytes, unsigned long room) {
  std::vector<unsigned short> out(room + 1, 0xBEEF);
  char const* s = bytes.data();
  unsigned short* t = out.data();
  UC::ErrorCode code = UC::Ok;
  c.toUnicode(&s, bytes.data() + bytes.size(), &t, out.data() + room, code);
  EXPECT_EQ(0xBEEF, out[room]) << "wrote past the end of the target";
  return {code, s - bytes.data(), U16(out.data(), t)};
}
struct OutResult {
  UC::ErrorCode code;
  long consumed;
  std::string bytes;
};
OutResult callFromUnicode(UC& c, U16 const& units, unsigned long room) {
  std::vector<char> out(room + 1, '\x5A');
  unsigned short const* s = units.data();
  char* t = out.data();
  UC::ErrorCode code = UC::Ok;
  c.fromUnicode(&s, units.data() + units.size(), &t, out.data() + room, code);
  EXPECT_EQ('\x5A', out[room]) << "wrote past the end of the target";
  return {code, s - units.data(), std::string(out.data(), t)};
}

// Valid and invalid forms over every code point are compared with ICU elsewhere; these pin the room
// checks and where a fault leaves the source. Decoding takes the bytes and gives the units, encoding
// the other way round.
TEST(Utf8Converter, RoomAndFaultsBothWays) {
  struct Case {
    bool decode;
    std::string bytes;
    U16 units;
    unsigned long room;
    UC::ErrorCode code;
    long consumed;
  };
  Case const cases[] = {
      {true, "A", {}, 0, UC::Overflow, 0},
      {true, "\xF4\x8F\xBF\xBF", {0xDBFF, 0xDFFF}, 2, UC::Ok, 4},
      {true, "\xF0\x90\x80\x80", {}, 1, UC::Overflow, 0},       // a pair does not fit in one unit
      {true, "a\xF0\x9F\x98\x80", {0x61}, 2, UC::Overflow, 1},  // nor in what is left
      {true, "\xC0\x80", {}, 4, UC::Invalid, 0},                // overlong NUL
      {true, "\xE0\x9F\xBF", {}, 4, UC::Invalid, 0},            // overlong three-byte
      {true, "\xF0\x80\x80\x80", {}, 4, UC::Invalid, 0},        // overlong four-byte
      {true, "\xED\xA0\x80", {}, 4, UC::Invalid, 0},            // encoded surrogate
      {true, "\xF4\x90\x80\x80", {}, 4, UC::Invalid, 0},        // above U+10FFFF
      {true, "\xF8\x88\x80\x80\x80", {}, 4, UC::Invalid, 0},    // five-byte form
      {true, "ab\x80", {0x61, 0x62}, 4, UC::Invalid, 2},        // stray continuation byte
      {true, "a\xE2\x82", {0x61}, 4, UC::Invalid, 1},           // cut off by the end
      {true, "\xC3\x41", {}, 4, UC::Invalid, 0},                // missing continuation byte
      {true, "\xC0\x80", {}, 0, UC::Invalid, 0},                // malformed is told before a full target
      {true, "", {}, 0, UC::Ok, 0},
      {false, "\xED\xB0\x80", {0xDC00}, 3, UC::Ok, 1},               // a lone low surrogate is written
      {false, "\xED\xB0\x80", {0xDC00, 0xD800}, 8, UC::Invalid, 1},  // a high one at the end is not
      {false, "", {0xD800, 0x41}, 8, UC::Invalid, 0},
      {false, "", {0xD800, 0xD800}, 8, UC::Invalid, 0},
      {false, "", {0xD800, 0xDC00}, 3, UC::Overflow, 0},  // the pair meets the end: whole
      {false, "A", {0x41, 0xD800, 0xDC00}, 4, UC::Overflow, 1},
      {false, "", {0x20AC}, 2, UC::Overflow, 0},
      {false, "", {0xE9}, 1, UC::Overflow, 0},
  };
  Utf8Converter utf8;
  for (Case const& c : cases) {
    SCOPED_TRACE(hex(c.bytes));
    if (c.decode) {
      InResult r = callToUnicode(utf8, c.bytes, c.room);
      EXPECT_EQ(c.code, r.code);
      EXPECT_EQ(c.consumed, r.consumed);
      EXPECT_EQ(c.units, r.units);
    } else {
      OutResult r = callFromUnicode(utf8, c.units, c.room);
      EXPECT_EQ(c.code, r.code);
      EXPECT_EQ(c.consumed, r.consumed);
      EXPECT_EQ(c.bytes, r.bytes);
    }
  }
}

// The block paths must stop exactly at the first non-ASCII character wherever it stands in a block,
// and at the end of a short target.
TEST(Utf8Converter, AsciiBlocksStopAtEveryPosition) {
  Utf8Converter utf8;
  for (size_t position = 0; position <= 40; ++position) {
    SCOPED_TRACE(position);
    std::string bytes = std::string(position, 'x') + "\xC3\xA9" + std::string(20, 'y');
    U16 units = U16(position, 'x') + U16(1, 0xE9) + U16(20, 'y');
    EXPECT_EQ(units, utf8.toUnicode(bytes));
    EXPECT_EQ(bytes, utf8.fromUnicode(units));
    InResult in = callToUnicode(utf8, bytes, position);
    EXPECT_EQ(UC::Overflow, in.code);
    EXPECT_EQ(static_cast<long>(position), in.consumed);
    OutResult out = callFromUnicode(utf8, units, position + 1);
    EXPECT_EQ(UC::Overflow, out.code);
    EXPECT_EQ(static_cast<long>(position), out.consumed);
    EXPECT_EQ(std::string(position, 'x'), out.bytes);
  }
}

// A mixed text, and where each of its characters ends in units and in UTF-8 bytes.
U16 const kMixedUnits = {0x61, 0xE9, 0x20AC, 0xD800, 0xDC00, 0x62, 0x416, 0xD83D, 0xDE00, 0x7A};
std::string const kMixedUtf8 = "a\xC3\xA9\xE2\x82\xAC\xF0\x90\x80\x80\x62\xD0\x96\xF0\x9F\x98\x80z";
long const kUnitEnds[] = {0, 1, 2, 3, 5, 6, 7, 9, 10};
long const kUtf8Ends[] = {0, 1, 3, 6, 10, 11, 13, 17, 18};

// Every target length, both ways: the whole characters that fit are written, the source stops right
// behind them, and the code is Overflow until the whole text fits.
TEST(Utf8Converter, OverflowAtEveryTargetLength) {
  Utf8Converter utf8;
  for (bool toBytes : {true, false}) {
    long const* targetEnds = toBytes ? kUtf8Ends : kUnitEnds;
    long const* sourceEnds = toBytes ? kUnitEnds : kUtf8Ends;
    for (long room = 0; room <= targetEnds[8]; ++room) {
      SCOPED_TRACE(std::to_string(toBytes) + " room " + std::to_string(room));
      size_t k = 0;
      while (k < 8 && targetEnds[k + 1] <= room) ++k;
      UC::ErrorCode const code = k == 8 ? UC::Ok : UC::Overflow;
      if (toBytes) {
        OutResult r = callFromUnicode(utf8, kMixedUnits, static_cast<unsigned long>(room));
        EXPECT_EQ(kMixedUtf8.substr(0, static_cast<size_t>(targetEnds[k])), r.bytes);
        EXPECT_EQ(sourceEnds[k], r.consumed);
        EXPECT_EQ(code, r.code);
      } else {
        InResult r = callToUnicode(utf8, kMixedUtf8, static_cast<unsigned long>(room));
        EXPECT_EQ(kMixedUnits.substr(0, static_cast<size_t>(targetEnds[k])), r.units);
        EXPECT_EQ(sourceEnds[k], r.consumed);
        EXPECT_EQ(code, r.code);
      }
    }
  }
}

// A long text in runs of one kind of character, so that the block paths meet a full target at every
// place: each piece is one character, its UTF-8 bytes and its units.
struct Piece {
  char const* utf8;
  U16 units;
};
Piece const kPieces[] = {{"a", {0x61}},
                         {"\xC3\xA9", {0xE9}},
                         {"\xD0\x96", {0x416}},
                         {"\xE4\xB8\xAD", {0x4E2D}},
                         {"\xEF\xBF\xBF", {0xFFFF}},
                         {"\xF0\x9F\x98\x80", {0xD83D, 0xDE00}}};
int const kRuns[][2] = {{0, 20}, {1, 9}, {2, 13}, {0, 3}, {3, 11}, {5, 2},  {4, 1},  {3, 9},
                        {1, 1},  {0, 1}, {2, 1},  {3, 1}, {5, 1},  {0, 17}, {2, 30}, {3, 12}};

TEST(Utf8Converter, FullTargetInLongTextsStopsOnACharacterAndWritesNoFurther) {
  std::string bytes;
  U16 units;
  std::vector<long> byteEnds(1, 0), unitEnds(1, 0);
  for (auto const& run : kRuns) {
    for (int i = 0; i < run[1]; ++i) {
      bytes += kPieces[run[0]].utf8;
      units += kPieces[run[0]].units;
      byteEnds.push_back(static_cast<long>(bytes.size()));
      unitEnds.push_back(static_cast<long>(units.size()));
    }
  }
  Utf8Converter utf8;
  for (unsigned long room = 0; room <= bytes.size() + 1; ++room) {
    SCOPED_TRACE(room);
    size_t k = 0;  // the last character that fits
    while (k + 1 < byteEnds.size() && byteEnds[k + 1] <= static_cast<long>(room)) ++k;
    std::vector<char> out(room + 24, '\x5A');
    unsigned short const* s = units.data();
    char* t = out.data();
    UC::ErrorCode code = UC::Ok;
    utf8.fromUnicode(&s, units.data() + units.size(), &t, out.data() + room, code);
    EXPECT_EQ(k + 1 == byteEnds.size() ? UC::Ok : UC::Overflow, code);
    EXPECT_EQ(unitEnds[k], s - units.data());
    ASSERT_EQ(bytes.substr(0, static_cast<size_t>(byteEnds[k])), std::string(out.data(), t));
    EXPECT_EQ(std::string(out.size() - static_cast<size_t>(byteEnds[k]), '\x5A'),
              std::string(t, out.data() + out.size()));
  }
  for (unsigned long room = 0; room <= units.size() + 1; ++room) {
    SCOPED_TRACE(room);
    size_t k = 0;
    while (k + 1 < unitEnds.size() && unitEnds[k + 1] <= static_cast<long>(room)) ++k;
    std::vector<unsigned short> out(room + 24, 0xBEEF);
    char const* s = bytes.data();
    unsigned short* t = out.data();
    UC::ErrorCode code = UC::Ok;
    utf8.toUnicode(&s, bytes.data() + bytes.size(), &t, out.data() + room, code);
    EXPECT_EQ(k + 1 == unitEnds.size() ? UC::Ok : UC::Overflow, code);
    EXPECT_EQ(byteEnds[k], s - bytes.data());
    ASSERT_EQ(units.substr(0, static_cast<size_t>(unitEnds[k])), U16(out.data(), t));
    EXPECT_EQ(U16(out.size() - static_cast<size_t>(unitEnds[k]), 0xBEEF), U16(t, out.data() + out.size()));
  }
}

TEST(UnicodeConverter, TruncRetSrcUseFillsAFixedTargetAndResumes) {
  IntrusivePointer<UC> utf8 = UC::utf8ToUnicode();
  for (unsigned long room = 2; room <= 6; ++room) {
    SCOPED_TRACE(room);
    U16 all;
    std::vector<unsigned short> block(room);
    for (unsigned long at = 0, calls = 0; at < kMixedUtf8.size() && calls < 20; ++calls) {
      unsigned long used = 99;
      at += utf8->toUnicodeTruncRetSrcUse(kMixedUtf8.data() + at, kMixedUtf8.size() - at, block.data(), room,
                                          used);
      all.append(block.data(), used);
    }
    EXPECT_EQ(kMixedUnits, all);
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

// Invalid input under each strategy, both ways; 7 is an unknown strategy and fails.
TEST(UnicodeConverter, InvalidStrategies) {
  struct Case {
    int strategy;
    std::string bytes;
    U16 units;
    bool throws;
    bool fromUnits;  // convert units to bytes rather than bytes to units
  };
  Case const cases[] = {
      {UC::INVALID_SUBSTITUTE, "\xE2\x82", {0xFFFD, 0xFFFD}, false, false},  // one per byte passed
      {UC::INVALID_SUBSTITUTE, "\xC0\x80z", {0xFFFD, 0xFFFD, 0x7A}, false, false},
      {UC::INVALID_SKIP, "a\xC0\x80\x62\xFF", {0x61, 0x62}, false, false},
      {UC::INVALID_SKIP, "\xED\xA0\x80\xE2\x82\xAC", {0x20AC}, false, false},
      {UC::INVALID_FAIL, "ok\x80", {}, true, false},
      {7, "ok\x80", {}, true, false},
      {UC::INVALID_SUBSTITUTE, "\xEF\xBF\xBD\x41", {0xD800, 0x41}, false, true},
      {UC::INVALID_SUBSTITUTE, "A\xEF\xBF\xBD", {0x41, 0xDBFF}, false, true},
      {UC::INVALID_SKIP, "A", {0xD800, 0x41, 0xD800}, false, true},
      {UC::INVALID_FAIL, "", {0x41, 0xD800}, true, true},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(hex(c.bytes));
    IntrusivePointer<UC> utf8 = UC::utf8ToUnicode();
    utf8->setInvalidStrategy(c.strategy);
    char bytes[16];
    unsigned short units[8];
    if (c.fromUnits && c.throws) {
      EXPECT_THROW(utf8->fromUnicode(c.units), UC::InvalidError);
    } else if (c.fromUnits) {
      EXPECT_EQ(c.bytes, utf8->fromUnicode(c.units));
      EXPECT_EQ(c.bytes, std::string(bytes, utf8->fromUnicode(c.units, bytes, sizeof bytes)));
    } else if (c.throws) {
      EXPECT_THROW(utf8->toUnicode(c.bytes), UC::InvalidError);
      EXPECT_THROW(utf8->toUnicode(c.bytes, units, 8), UC::InvalidError);
    } else {
      EXPECT_EQ(c.units, utf8->toUnicode(c.bytes));
      EXPECT_EQ(c.units, U16(units, utf8->toUnicode(c.bytes, units, 8)));
    }
  }
}

TEST(UnicodeConverter, UnmappableStrategiesWriteTheirTextInTheTargetEncoding) {
  struct Case {
    int strategy;
    char const* latin1;  // on ISO 8859-1
    char const* ebcdic;  // the same text on IBM-1047
  };
  Case const cases[] = {
      {UC::UNMAPPABLE_SUBSTITUTE, "\x1A", "\x3F"},
      {UC::UNMAPPABLE_SKIP, "", ""},
      {UC::UNMAPPABLE_NCR, "&#8364;", "\x50\x7B\xF8\xF3\xF6\xF4\x5E"},
      {UC::UNMAPPABLE_PAREN, "<u20AC>", "\x4C\xA4\xF2\xF0\xC1\xC3\x6E"},
      {UC::UNMAPPABLE_UESC, "\\u20AC", "\xE0\xA4\xF2\xF0\xC1\xC3"},
  };
  U16 const text = {0x41, 0x20AC, 0x42};
  for (Case const& c : cases) {
    SCOPED_TRACE(c.strategy);
    IntrusivePointer<UC> latin1 = UC::iso88591ToUnicode(), ebcdic = UC::openEdition1047ToUnicode();
    latin1->setUnmappableStrategy(c.strategy);
    ebcdic->setUnmappableStrategy(c.strategy);
    EXPECT_EQ(std::string("A") + c.latin1 + "B", latin1->fromUnicode(text));
    EXPECT_EQ(std::string("\xC1") + c.ebcdic + "\xC2", ebcdic->fromUnicode(text));
  }
  for (int strategy : {static_cast<int>(UC::UNMAPPABLE_FAIL), 6, -1}) {
    SCOPED_TRACE(strategy);
    IntrusivePointer<UC> latin1 = UC::iso88591ToUnicode();
    latin1->setUnmappableStrategy(strategy);
    char buf[8];
    EXPECT_THROW(latin1->fromUnicode(text, buf, sizeof buf), UC::UnmappableError);
    EXPECT_THROW(latin1->fromUnicode(text), UC::UnmappableError);
  }
}

TEST(UnicodeConverter, OverflowIsToldBeforeUnmappableAndTextsAreWholeOrNothing) {
  CopyUnicodeConverter<127> ascii;
  ascii.setUnmappableStrategy(UC::UNMAPPABLE_FAIL);
  OutResult full = callFromUnicode(ascii, {0x41, 0x20AC}, 1);
  EXPECT_EQ(UC::Overflow, full.code);
  EXPECT_EQ(1, full.consumed);
  ascii.setUnmappableStrategy(UC::UNMAPPABLE_NCR);
  for (unsigned long room = 1; room < 7; ++room) {  // "&#8364;" needs 7 bytes
    OutResult r = callFromUnicode(ascii, {0x20AC}, room);
    EXPECT_EQ(UC::Overflow, r.code) << room;
    EXPECT_EQ(0, r.consumed) << room;
    EXPECT_EQ("", r.bytes) << room;
  }
  EXPECT_EQ("&#8364;", callFromUnicode(ascii, {0x20AC}, 7).bytes);
}

// The string overloads convert through 256-byte and 128-unit blocks: a strategy text or a
// replacement that meets a block end must be neither lost nor doubled.
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
  for (size_t lead = 120; lead <= 130; ++lead) {
    EXPECT_EQ(U16(lead, 'a') + U16({0xFFFD, 0xFFFD, 0xD83D, 0xDE00, 0x62}),
              utf8->toUnicode(std::string(lead, 'a') + "\xE2\x82\xF0\x9F\x98\x80\x62"))
        << lead;
  }
}

// An encoding that cannot hold a strategy's own text: the strategy falls back to U+001A, then to
// '?', then reports the character, and never recurses.
TEST(UnicodeConverter, StrategyTextsTheEncodingCannotHoldFallBack) {
  struct Case {
    bool hasSubstitute, hasQuestionMark;
    int strategy;
    char const* bytes;  // nullptr: throws
  };
  Case const cases[] = {
      {true, true, UC::UNMAPPABLE_NCR, "\x05"},    {true, true, UC::UNMAPPABLE_UESC, "\x05"},
      {false, true, UC::UNMAPPABLE_PAREN, "\x06"}, {false, true, UC::UNMAPPABLE_SUBSTITUTE, "\x06"},
      {false, false, UC::UNMAPPABLE_NCR, nullptr}, {false, false, UC::UNMAPPABLE_SUBSTITUTE, nullptr},
      {false, false, UC::UNMAPPABLE_SKIP, ""},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.strategy);
    unsigned short table[256];  // letters only: byte i is U+0100+i, 'A' at 0x41, the fall-backs where asked
    for (int i = 0; i < 256; ++i) table[i] = static_cast<unsigned short>(0x100 + i);
    table[0x41] = 'A';
    if (c.hasSubstitute) table[0x05] = 0x1A;
    if (c.hasQuestionMark) table[0x06] = '?';
    SBCSUnicodeConverter sbcs(table);
    sbcs.setUnmappableStrategy(c.strategy);
    if (c.bytes == nullptr) {
      EXPECT_THROW(sbcs.fromUnicode(U16{0x41, 0x20AC}), UC::UnmappableError);
    } else {
      EXPECT_EQ(std::string("A") + c.bytes, sbcs.fromUnicode(U16{0x41, 0x20AC}));
    }
  }
}

TEST(SingleByteConverters, MapBytesAndUnits) {
  struct Case {
    IntrusivePointer<UC> (*factory)();
    unsigned char byte;
    unsigned short unit;
  };
  Case const cases[] = {
      {UC::usasciiToUnicode, 0x7F, 0x7F},         {UC::iso88591ToUnicode, 0xFF, 0xFF},
      {UC::iso88591ToUnicode, 0x80, 0x80},        {UC::openEdition1047ToUnicode, 0xC1, 0x41},
      {UC::openEdition1047ToUnicode, 0xDF, 0xFF}, {UC::openEdition1047ToUnicode, 0x15, 0x0A},
      {UC::openEdition1047ToUnicode, 0x25, 0x85}, {UC::openEdition1047ToUnicode, 0x4A, 0xA2},
      {UC::ebcdic1047ToUnicode, 0x15, 0x85},      {UC::ebcdic1047ToUnicode, 0x25, 0x0A},
      {UC::ebcdic1047ToUnicode, 0xAD, 0x5B},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.byte);
    IntrusivePointer<UC> conv = c.factory();
    char byte = static_cast<char>(c.byte);
    EXPECT_EQ(U16(1, c.unit), conv->toUnicode(&byte, 1));
    EXPECT_EQ(std::string(1, byte), conv->fromUnicode(c.unit));
    EXPECT_EQ(1, conv->maxBytesPerChar());
    EXPECT_EQ(1, conv->minBytesPerChar());
  }
  // US-ASCII reads every byte in but writes only up to 0x7F.
  EXPECT_EQ(U16(1, 0x80), UC::usasciiToUnicode()->toUnicode("\x80"));
  EXPECT_EQ("\x1A", UC::usasciiToUnicode()->fromUnicode(0x80));
  EXPECT_EQ("\x1A", UC::iso88591ToUnicode()->fromUnicode(0x100));
}

TEST(SingleByteConverters, BothIbm1047VariantsArePermutationsOfLatin1) {
  std::string all;
  for (int i = 0; i < 256; ++i) all += static_cast<char>(i);
  for (auto factory : {UC::openEdition1047ToUnicode, UC::ebcdic1047ToUnicode}) {
    IntrusivePointer<UC> conv = factory();
    U16 units = conv->toUnicode(all);
    ASSERT_EQ(256u, units.size());
    std::vector<bool> seen(256, false);
    for (unsigned short u : units) {
      ASSERT_LT(u, 256);
      EXPECT_FALSE(seen[u]) << u;
      seen[u] = true;
    }
    EXPECT_EQ(all, conv->fromUnicode(units));
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

TEST(SBCSUnicodeConverter, ReverseMapIsBuiltOnceFromManyThreads) {
  IntrusivePointer<UC> conv = UC::ebcdic1047ToUnicode();
  U16 text;
  for (unsigned short u = 0x20; u < 0x7F; ++u) text += u;
  std::string expected = UC::ebcdic1047ToUnicode()->fromUnicode(text);
  std::vector<std::thread> threads;
  std::vector<int> ok(8, 0);
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&conv, &text, &expected, &ok, i] {
      IntrusivePointer<UC> mine = conv;
      for (int round = 0; round < 50; ++round) ok[i] += mine->fromUnicode(text) == expected ? 1 : 0;
    });
  }
  for (std::thread& t : threads) t.join();
  for (int i = 0; i < 8; ++i) EXPECT_EQ(50, ok[i]);
}

TEST(Utf16Converter, BothByteOrders) {
  std::string const le("A\0\xAC\x20\x00\xD8", 6), be("\0A\x20\xAC\xDC\x00", 6);
  U16 const leUnits = {0x0041, 0x20AC, 0xD800}, beUnits = {0x0041, 0x20AC, 0xDC00};
  EXPECT_EQ(leUnits, UC::utf16LEToUnicode()->toUnicode(le));
  EXPECT_EQ(le, UC::utf16ToUnicode()->fromUnicode(leUnits));
  EXPECT_EQ(beUnits, UC::utf16BEToUnicode()->toUnicode(be));
  EXPECT_EQ(be, UC::utf16BEToUnicode()->fromUnicode(beUnits));
  Utf16Converter<true> big;
  InResult odd = callToUnicode(big, std::string("\0A\x20", 3), 4);
  EXPECT_EQ(UC::Invalid, odd.code);
  EXPECT_EQ(2, odd.consumed);
  EXPECT_EQ(UC::Overflow, callToUnicode(big, std::string("\0A\x20", 3), 1).code);  // room before the odd byte
  OutResult oneByte = callFromUnicode(big, {0x41, 0x42}, 3);
  EXPECT_EQ(UC::Overflow, oneByte.code);
  EXPECT_EQ(std::string("\0A", 2), oneByte.bytes);
  big.setInvalidStrategy(UC::INVALID_SUBSTITUTE);
  EXPECT_EQ((U16{0x41, 0xFFFD}), big.toUnicode(std::string("\0A\x20", 3)));
}

// One unit at a time: a character that needs a pair does not fit; a fault throws whatever the strategy.
TEST(UnicodeConverter, GetNextUChar) {
  IntrusivePointer<UC> utf8 = UC::utf8ToUnicode();
  utf8->setInvalidStrategy(UC::INVALID_SUBSTITUTE);
  char const text[] = "\xE2\x82\xAC!\xF0\x90\x80\x80\xC0\x80";
  char const* s = text;
  UC::ErrorCode code = UC::Ok;
  EXPECT_EQ(0x20AC, utf8->getNextUChar(&s, text + 4, code));
  EXPECT_EQ(UC::Overflow, code);
  EXPECT_EQ('!', utf8->getNextUChar(&s, text + 4, code));
  EXPECT_EQ(UC::Ok, code);
  EXPECT_EQ(0, utf8->getNextUChar(&s, text + 8, code));
  EXPECT_EQ(UC::Overflow, code);
  EXPECT_EQ(text + 4, s);
  s = text + 8;
  EXPECT_THROW(utf8->getNextUChar(&s, text + 10, code), UC::InvalidError);
  EXPECT_EQ(text + 8, s);
}

TEST(UnicodeConverter, OverloadsAgree) {
  IntrusivePointer<UC> utf8 = UC::utf8ToUnicode();
  U16 const text = {0x47, 0x72, 0xFC, 0xDF, 0x20AC};
  std::string const bytes = "Gr\xC3\xBC\xC3\x9F\xE2\x82\xAC";
  unsigned short const zeroTerminated[] = {0x47, 0x72, 0xFC, 0xDF, 0x20AC, 0, 0x41};
  std::string out = "old";  // the output overloads replace what was there
  utf8->fromUnicode(zeroTerminated, out);
  EXPECT_EQ(bytes, out);
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
}

TEST(UnicodeConverter, ExceptionsAndDefaults) {
  UC::ErrorCode const codes[] = {UC::Overflow, UC::Invalid, UC::Unmappable};
  char const* const texts[] = {"UnicodeConverter::Overflow", "UnicodeConverter::Invalid",
                               "UnicodeConverter::Unmappable"};
  for (int i = 0; i < 3; ++i) {
    try {
      UC::convertError(codes[i]);
      ADD_FAILURE() << "no exception for " << codes[i];
    } catch (UC::Exception const& e) {
      EXPECT_STREQ(texts[i], e.what());
    }
  }
  EXPECT_NO_THROW(UC::convertError(UC::Ok));
  EXPECT_EQ(UC::UNMAPPABLE_SUBSTITUTE, UC::utf8ToUnicode()->getUnmappableStrategy());
  EXPECT_EQ(UC::INVALID_FAIL, UC::utf8ToUnicode()->getInvalidStrategy());
}

}  // namespace
}  // namespace vyk
