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
  for (unsigned char b : bytes) {
    std::snprintf(buf, sizeof buf, "%02X ", b);
    out += buf;
  }
  return out;
}

// One call of the virtual toUnicode with `room` units of target.
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

// One call of the virtual fromUnicode with `room` bytes of target.
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

TEST(Utf8Converter, DecodesAndRejectsSequences) {
  struct Case {
    char const* bytes;
    unsigned long room;
    UC::ErrorCode code;
    long consumed;
    U16 units;
  };
  Case const cases[] = {
      {"A", 1, UC::Ok, 1, {0x41}},
      {"AB", 1, UC::Overflow, 1, {0x41}},
      {"\xC2\x80", 1, UC::Ok, 2, {0x80}},
      {"\xDF\xBF", 1, UC::Ok, 2, {0x7FF}},
      {"\xE0\xA0\x80", 1, UC::Ok, 3, {0x800}},
      {"\xED\x9F\xBF", 1, UC::Ok, 3, {0xD7FF}},
      {"\xEE\x80\x80", 1, UC::Ok, 3, {0xE000}},
      {"\xEF\xBF\xBF", 1, UC::Ok, 3, {0xFFFF}},
      {"\xF0\x90\x80\x80", 2, UC::Ok, 4, {0xD800, 0xDC00}},
      {"\xF4\x8F\xBF\xBF", 2, UC::Ok, 4, {0xDBFF, 0xDFFF}},
      {"\xF0\x90\x80\x80", 1, UC::Overflow, 0, {}},       // a pair does not fit in one unit
      {"a\xF0\x9F\x98\x80", 2, UC::Overflow, 1, {0x61}},  // nor in what is left
      {"\xC0\x80", 4, UC::Invalid, 0, {}},                // overlong NUL
      {"\xC1\xBF", 4, UC::Invalid, 0, {}},                // overlong
      {"\xE0\x9F\xBF", 4, UC::Invalid, 0, {}},            // overlong three-byte
      {"\xF0\x80\x80\x80", 4, UC::Invalid, 0, {}},        // overlong four-byte
      {"\xED\xA0\x80", 4, UC::Invalid, 0, {}},            // encoded high surrogate
      {"\xED\xBF\xBF", 4, UC::Invalid, 0, {}},            // encoded low surrogate
      {"\xF4\x90\x80\x80", 4, UC::Invalid, 0, {}},        // above U+10FFFF
      {"\xF5\x80\x80\x80", 4, UC::Invalid, 0, {}},        // above U+10FFFF
      {"\xF8\x88\x80\x80\x80", 4, UC::Invalid, 0, {}},    // five-byte form
      {"\xFF", 4, UC::Invalid, 0, {}},
      {"ab\x80", 4, UC::Invalid, 2, {0x61, 0x62}},  // stray continuation byte
      {"a\xE2\x82", 4, UC::Invalid, 1, {0x61}},     // cut off by the end
      {"\xC3\x41", 4, UC::Invalid, 0, {}},          // missing continuation byte
      {"\xE2\x28\xA1", 4, UC::Invalid, 0, {}},
      {"\xC0\x80", 0, UC::Invalid, 0, {}},  // malformed is told before a full target
      {"A", 0, UC::Overflow, 0, {}},
      {"", 0, UC::Ok, 0, {}},
  };
  Utf8Converter utf8;
  for (Case const& c : cases) {
    SCOPED_TRACE(hex(c.bytes));
    InResult r = callToUnicode(utf8, c.bytes, c.room);
    EXPECT_EQ(c.code, r.code);
    EXPECT_EQ(c.consumed, r.consumed);
    EXPECT_EQ(c.units, r.units);
  }
}

TEST(Utf8Converter, EncodesAndKeepsSurrogatePairsWhole) {
  struct Case {
    U16 units;
    unsigned long room;
    UC::ErrorCode code;
    long consumed;
    std::string bytes;
  };
  Case const cases[] = {
      {{0x7F}, 1, UC::Ok, 1, "\x7F"},
      {{0x80}, 2, UC::Ok, 1, "\xC2\x80"},
      {{0x7FF}, 2, UC::Ok, 1, "\xDF\xBF"},
      {{0x800}, 3, UC::Ok, 1, "\xE0\xA0\x80"},
      {{0xFFFF}, 3, UC::Ok, 1, "\xEF\xBF\xBF"},
      {{0xD800, 0xDC00}, 4, UC::Ok, 2, "\xF0\x90\x80\x80"},
      {{0xDBFF, 0xDFFF}, 4, UC::Ok, 2, "\xF4\x8F\xBF\xBF"},
      {{0xDC00}, 3, UC::Ok, 1, "\xED\xB0\x80"},               // a lone low surrogate is written
      {{0xDC00, 0xD800}, 8, UC::Invalid, 1, "\xED\xB0\x80"},  // a high one at the end is not
      {{0xD800}, 8, UC::Invalid, 0, ""},
      {{0xD800, 0x41}, 8, UC::Invalid, 0, ""},
      {{0xD800, 0xD800}, 8, UC::Invalid, 0, ""},
      {{0xD800, 0xDC00}, 3, UC::Overflow, 0, ""},  // the pair meets the end: whole
      {{0x41, 0xD800, 0xDC00}, 4, UC::Overflow, 1, "A"},
      {{0x20AC}, 2, UC::Overflow, 0, ""},
      {{0xE9}, 1, UC::Overflow, 0, ""},
      {{0x41, 0x42}, 1, UC::Overflow, 1, "A"},
      {{}, 0, UC::Ok, 0, ""},
  };
  Utf8Converter utf8;
  for (Case const& c : cases) {
    SCOPED_TRACE(hex(c.bytes));
    OutResult r = callFromUnicode(utf8, c.units, c.room);
    EXPECT_EQ(c.code, r.code);
    EXPECT_EQ(c.consumed, r.consumed);
    EXPECT_EQ(c.bytes, r.bytes);
  }
}

// The block paths must stop exactly at the first non-ASCII character wherever it stands in a block,
// and at the end of a short target.
TEST(Utf8Converter, AsciiBlocksStopAtEveryPosition) {
  Utf8Converter utf8;
  for (int position = 0; position <= 40; ++position) {
    SCOPED_TRACE(position);
    std::string bytes = std::string(static_cast<size_t>(position), 'x') + "\xC3\xA9" + std::string(20, 'y');
    U16 units = U16(static_cast<size_t>(position), 'x') + U16(1, 0xE9) + U16(20, 'y');
    EXPECT_EQ(units, utf8.toUnicode(bytes));
    EXPECT_EQ(bytes, utf8.fromUnicode(units));
    InResult in = callToUnicode(utf8, bytes, static_cast<unsigned long>(position));
    EXPECT_EQ(UC::Overflow, in.code);
    EXPECT_EQ(position, in.consumed);
    OutResult out = callFromUnicode(utf8, units, static_cast<unsigned long>(position) + 1);
    EXPECT_EQ(UC::Overflow, out.code);
    EXPECT_EQ(position, out.consumed);
    EXPECT_EQ(std::string(static_cast<size_t>(position), 'x'), out.bytes);
  }
}

// A mixed text, and the places where a character of it ends in each encoding.
U16 const kMixedUnits = {0x61, 0xE9, 0x20AC, 0xD800, 0xDC00, 0x62, 0x416, 0xD83D, 0xDE00, 0x7A};
std::string const kMixedUtf8 =
    "a\xC3\xA9\xE2\x82\xAC\xF0\x90\x80\x80"
    "b\xD0\x96\xF0\x9F\x98\x80z";
long const kUtf8Ends[] = {0, 1, 3, 6, 10, 11, 13, 17, 18};
long const kUnitEnds[] = {0, 1, 2, 3, 5, 6, 7, 9, 10};

TEST(Utf8Converter, OverflowAtEveryTargetLengthStopsOnACharacterAndResumes) {
  Utf8Converter utf8;
  for (unsigned long room = 0; room <= kMixedUtf8.size(); ++room) {
    SCOPED_TRACE(room);
    // Every output length: the conversion stops on a character boundary, and calling again with
    // the rest of the source and `room` bytes each time gives the whole text.
    std::string all;
    U16 rest = kMixedUnits;
    for (int calls = 0; !rest.empty() && calls < 40; ++calls) {
      OutResult r = callFromUnicode(utf8, rest, room);
      all += r.bytes;
      rest.erase(0, static_cast<size_t>(r.consumed));
      EXPECT_EQ(rest.empty() ? UC::Ok : UC::Overflow, r.code);
      if (room < 4 && r.consumed == 0) break;  // the next character cannot fit
    }
    if (room >= 4) {
      EXPECT_EQ(kMixedUtf8, all);
    }
    OutResult once = callFromUnicode(utf8, kMixedUnits, room);
    long expected = 0;
    for (long end : kUtf8Ends)
      if (end <= static_cast<long>(room)) expected = end;
    EXPECT_EQ(kMixedUtf8.substr(0, static_cast<size_t>(expected)), once.bytes);
  }
  for (unsigned long room = 0; room <= kMixedUnits.size(); ++room) {
    SCOPED_TRACE(room);
    InResult once = callToUnicode(utf8, kMixedUtf8, room);
    long expected = 0;
    for (long end : kUnitEnds)
      if (end <= static_cast<long>(room)) expected = end;
    EXPECT_EQ(kMixedUnits.substr(0, static_cast<size_t>(expected)), once.units);
    EXPECT_EQ(room >= kMixedUnits.size() ? UC::Ok : UC::Overflow, once.code);
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
    unsigned long at = 0;
    for (int calls = 0; at < kMixedUtf8.size() && calls < 20; ++calls) {
      std::vector<unsigned short> block(room);
      unsigned long used = 99;
      at += utf8->toUnicodeTruncRetSrcUse(kMixedUtf8.data() + at, kMixedUtf8.size() - at, block.data(), room,
                                          used);
      all.append(block.data(), used);
    }
    EXPECT_EQ(kMixedUnits, all);
  }
  // A pair that meets the end of the target stays whole, and the count tells where to resume.
  unsigned short one[1];
  unsigned long used = 99;
  EXPECT_EQ(0u, utf8->toUnicodeTruncRetSrcUse("\xF0\x90\x80\x80", 4, one, 1, used));
  EXPECT_EQ(0u, used);
  // Replacements count as written units; a fault under the fail strategy throws with dstUsed set.
  unsigned short four[4];
  utf8->setInvalidStrategy(UC::INVALID_SUBSTITUTE);
  EXPECT_EQ(3u, utf8->toUnicodeTruncRetSrcUse("a\xE2\x82", 3, four, 4, used));
  EXPECT_EQ(3u, used);
  utf8->setInvalidStrategy(UC::INVALID_FAIL);
  EXPECT_THROW(utf8->toUnicodeTruncRetSrcUse("ab\xFF", 3, four, 4, used), UC::InvalidError);
  EXPECT_EQ(2u, used);
}

TEST(UnicodeConverter, InvalidStrategiesOnTheWayIn) {
  struct Case {
    int strategy;
    char const* bytes;
    bool throws;
    U16 units;
  };
  Case const cases[] = {
      {UC::INVALID_SUBSTITUTE, "\xE2\x82", false, {0xFFFD, 0xFFFD}},  // one replacement per byte
      {UC::INVALID_SUBSTITUTE, "a\xF0\x90\x80", false, {0x61, 0xFFFD, 0xFFFD, 0xFFFD}},
      {UC::INVALID_SUBSTITUTE, "\xC0\x80z", false, {0xFFFD, 0xFFFD, 0x7A}},
      {UC::INVALID_SKIP,
       "a\xC0\x80"
       "b\xFF",
       false,
       {0x61, 0x62}},
      {UC::INVALID_SKIP, "\xED\xA0\x80\xE2\x82\xAC", false, {0x20AC}},
      {UC::INVALID_FAIL, "ok\x80", true, {}},
      {7, "ok\x80", true, {}},  // unknown strategies fail
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(hex(c.bytes));
    IntrusivePointer<UC> utf8 = UC::utf8ToUnicode();
    utf8->setInvalidStrategy(c.strategy);
    if (c.throws) {
      EXPECT_THROW(utf8->toUnicode(c.bytes), UC::InvalidError);
      unsigned short buf[8];
      EXPECT_THROW(utf8->toUnicode(c.bytes, std::strlen(c.bytes), buf, 8), UC::InvalidError);
    } else {
      EXPECT_EQ(c.units, utf8->toUnicode(c.bytes));
      unsigned short buf[8];
      unsigned long n = utf8->toUnicode(c.bytes, std::strlen(c.bytes), buf, 8);
      EXPECT_EQ(c.units, U16(buf, n));
    }
  }
}

TEST(UnicodeConverter, InvalidStrategiesOnTheWayOut) {
  struct Case {
    int strategy;
    U16 units;
    bool throws;
    std::string bytes;
  };
  Case const cases[] = {
      {UC::INVALID_SUBSTITUTE,
       {0xD800, 0x41},
       false,
       "\xEF\xBF\xBD"
       "A"},
      {UC::INVALID_SUBSTITUTE, {0x41, 0xDBFF}, false, "A\xEF\xBF\xBD"},
      {UC::INVALID_SKIP, {0xD800, 0x41, 0xD800}, false, "A"},
      {UC::INVALID_FAIL, {0x41, 0xD800}, true, ""},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.strategy);
    IntrusivePointer<UC> utf8 = UC::utf8ToUnicode();
    utf8->setInvalidStrategy(c.strategy);
    if (c.throws) {
      EXPECT_THROW(utf8->fromUnicode(c.units), UC::InvalidError);
    } else {
      EXPECT_EQ(c.bytes, utf8->fromUnicode(c.units));
      char buf[16];
      EXPECT_EQ(c.bytes, std::string(buf, utf8->fromUnicode(c.units, buf, sizeof buf)));
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
    IntrusivePointer<UC> latin1 = UC::iso88591ToUnicode();
    latin1->setUnmappableStrategy(c.strategy);
    EXPECT_EQ(std::string("A") + c.latin1 + "B", latin1->fromUnicode(text));
    IntrusivePointer<UC> ebcdic = UC::openEdition1047ToUnicode();
    ebcdic->setUnmappableStrategy(c.strategy);
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
    SCOPED_TRACE(room);
    OutResult r = callFromUnicode(ascii, {0x20AC}, room);
    EXPECT_EQ(UC::Overflow, r.code);
    EXPECT_EQ(0, r.consumed);
    EXPECT_EQ("", r.bytes);
  }
  EXPECT_EQ("&#8364;", callFromUnicode(ascii, {0x20AC}, 7).bytes);
  char buf[6];
  EXPECT_THROW(ascii.fromUnicode(U16{0x20AC}, buf, sizeof buf), UC::OverflowError);
}

// The string overloads convert through 256-byte and 128-unit blocks: a strategy text or a
// replacement that meets a block end must be neither lost nor doubled.
TEST(UnicodeConverter, StrategyTextsSurviveBlockEnds) {
  IntrusivePointer<UC> latin1 = UC::iso88591ToUnicode();
  latin1->setUnmappableStrategy(UC::UNMAPPABLE_NCR);
  IntrusivePointer<UC> utf8 = UC::utf8ToUnicode();
  utf8->setInvalidStrategy(UC::INVALID_SUBSTITUTE);
  for (size_t lead = 245; lead <= 256; ++lead) {
    SCOPED_TRACE(lead);
    U16 text = U16(lead, 'a') + U16{0x20AC, 0x20AC, 0x62};
    EXPECT_EQ(std::string(lead, 'a') + "&#8364;&#8364;b", latin1->fromUnicode(text));
    U16 lone = U16(lead, 'a') + U16{0xD800, 0xD800, 0x62};
    EXPECT_EQ(std::string(lead, 'a') +
                  "\xEF\xBF\xBD\xEF\xBF\xBD"
                  "b",
              utf8->fromUnicode(lone));
  }
  for (size_t lead = 120; lead <= 130; ++lead) {
    SCOPED_TRACE(lead);
    std::string bytes = std::string(lead, 'a') +
                        "\xE2\x82"
                        "\xF0\x9F\x98\x80"
                        "b";
    EXPECT_EQ(U16(lead, 'a') + U16({0xFFFD, 0xFFFD, 0xD83D, 0xDE00, 0x62}), utf8->toUnicode(bytes));
  }
}

// An encoding that cannot hold a strategy's own text: the strategy falls back to U+001A, then to
// '?', then reports the character, and never recurses.
TEST(UnicodeConverter, StrategyTextsTheEncodingCannotHoldFallBack) {
  struct Case {
    bool hasSubstitute, hasQuestionMark;
    int strategy;
    bool throws;
    char const* bytes;
  };
  Case const cases[] = {
      {true, true, UC::UNMAPPABLE_NCR, false, "\x05"},
      {true, true, UC::UNMAPPABLE_UESC, false, "\x05"},
      {false, true, UC::UNMAPPABLE_PAREN, false, "\x06"},
      {false, true, UC::UNMAPPABLE_SUBSTITUTE, false, "\x06"},
      {false, false, UC::UNMAPPABLE_NCR, true, ""},
      {false, false, UC::UNMAPPABLE_SUBSTITUTE, true, ""},
      {false, false, UC::UNMAPPABLE_SKIP, false, ""},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.strategy);
    // Letters only: byte i is U+0100+i, 'A' at 0x41, and the two fall-backs where asked.
    unsigned short table[256];
    for (int i = 0; i < 256; ++i) table[i] = static_cast<unsigned short>(0x100 + i);
    table[0x41] = 'A';
    if (c.hasSubstitute) table[0x05] = 0x1A;
    if (c.hasQuestionMark) table[0x06] = '?';
    SBCSUnicodeConverter sbcs(table);
    sbcs.setUnmappableStrategy(c.strategy);
    if (c.throws) {
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
      {UC::usasciiToUnicode, 0x41, 0x41},         {UC::usasciiToUnicode, 0x7F, 0x7F},
      {UC::iso88591ToUnicode, 0xFF, 0xFF},        {UC::iso88591ToUnicode, 0x80, 0x80},
      {UC::openEdition1047ToUnicode, 0xC1, 0x41}, {UC::openEdition1047ToUnicode, 0x40, 0x20},
      {UC::openEdition1047ToUnicode, 0xDF, 0xFF}, {UC::openEdition1047ToUnicode, 0x15, 0x0A},
      {UC::openEdition1047ToUnicode, 0x25, 0x85}, {UC::openEdition1047ToUnicode, 0x4A, 0xA2},
      {UC::openEdition1047ToUnicode, 0xE0, 0x5C}, {UC::openEdition1047ToUnicode, 0x00, 0x00},
      {UC::ebcdic1047ToUnicode, 0x15, 0x85},      {UC::ebcdic1047ToUnicode, 0x25, 0x0A},
      {UC::ebcdic1047ToUnicode, 0xF0, 0x30},      {UC::ebcdic1047ToUnicode, 0xAD, 0x5B},
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
  IntrusivePointer<UC> ascii = UC::usasciiToUnicode();
  EXPECT_EQ(U16(1, 0x80), ascii->toUnicode("\x80"));
  EXPECT_EQ("\x1A", ascii->fromUnicode(0x80));
  EXPECT_EQ("\x1A", UC::iso88591ToUnicode()->fromUnicode(0x100));
}

TEST(SingleByteConverters, BothIbm1047VariantsArePermutationsOfLatin1) {
  for (auto factory : {UC::openEdition1047ToUnicode, UC::ebcdic1047ToUnicode}) {
    IntrusivePointer<UC> conv = factory();
    std::string all;
    for (int i = 0; i < 256; ++i) all += static_cast<char>(i);
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
  // Trantab: the 256 high bytes first, then the 256 low bytes.
  SBCSUnicodeConverter::Trantab stored;
  std::memset(stored.bytes, 0, sizeof stored.bytes);
  for (int i = 0; i < 256; ++i) stored.bytes[256 + i] = static_cast<unsigned char>(i);
  stored.bytes[0x80] = 0x20;  // byte 0x80 is U+20AC
  stored.bytes[256 + 0x80] = 0xAC;
  stored.bytes[256 + 0x90] = 'A';   // bytes 0x41 and 0x90 both give 'A': the higher wins
  stored.bytes[256 + 0x00] = 'X';   // entry 0 is not U+0000 ...
  stored.bytes[256 + 0x58] = 0x00;  // ... and byte 0x58 gives U+0000
  SBCSUnicodeConverter sbcs(stored);
  struct Case {
    unsigned short unit;
    char const* bytes;
  };
  Case const cases[] = {
      {0x20AC, "\x80"}, {'A', "\x90"}, {'X', "\x1A"}, {0x0000, "\x58"}, {0x0100, "\x1A"},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.unit);
    EXPECT_EQ(c.bytes, sbcs.fromUnicode(c.unit));
  }
  EXPECT_EQ((U16{'X', 0x20AC, 'A', 'A', 0}), sbcs.toUnicode(std::string("\x00\x80\x41\x90\x58", 5)));
  // Nothing maps to U+0000: its reverse entry stays 0 and it is still written, as byte 0.
  unsigned short table[256];
  for (int i = 0; i < 256; ++i) table[i] = static_cast<unsigned short>(0x100 + i);
  SBCSUnicodeConverter none(table);
  EXPECT_EQ(std::string(1, '\0'), none.fromUnicode(static_cast<unsigned short>(0)));
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
  struct Case {
    IntrusivePointer<UC> (*factory)();
    U16 units;
    std::string bytes;
  };
  Case const cases[] = {
      {UC::utf16LEToUnicode, {0x0041, 0x20AC, 0xD800}, std::string("A\0\xAC\x20\x00\xD8", 6)},
      {UC::utf16ToUnicode, {0x0041, 0x20AC, 0xD800}, std::string("A\0\xAC\x20\x00\xD8", 6)},
      {UC::utf16BEToUnicode, {0x0041, 0x20AC, 0xDC00}, std::string("\0A\x20\xAC\xDC\x00", 6)},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(hex(c.bytes));
    IntrusivePointer<UC> conv = c.factory();
    EXPECT_EQ(c.units, conv->toUnicode(c.bytes));
    EXPECT_EQ(c.bytes, conv->fromUnicode(c.units));
    EXPECT_EQ(2, conv->maxBytesPerChar());
    EXPECT_EQ(2, conv->minBytesPerChar());
  }
  Utf16Converter<true> be;
  InResult odd = callToUnicode(be, std::string("\0A\x20", 3), 4);
  EXPECT_EQ(UC::Invalid, odd.code);
  EXPECT_EQ(2, odd.consumed);
  InResult full = callToUnicode(be, std::string("\0A\x20", 3), 1);
  EXPECT_EQ(UC::Overflow, full.code);  // room is checked before the odd byte
  OutResult oneByte = callFromUnicode(be, {0x41, 0x42}, 3);
  EXPECT_EQ(UC::Overflow, oneByte.code);
  EXPECT_EQ(std::string("\0A", 2), oneByte.bytes);
  be.setInvalidStrategy(UC::INVALID_SUBSTITUTE);
  EXPECT_EQ((U16{0x41, 0xFFFD}), be.toUnicode(std::string("\0A\x20", 3)));
  unsigned char first, second;
  Utf16Converter<false>::splitChar(0x1234, first, second);
  EXPECT_EQ(0x34, first);
  EXPECT_EQ(0x12, second);
  EXPECT_EQ(0x1234, Utf16Converter<true>::combineChar(0x12, 0x34));
}

TEST(UnicodeConverter, GetNextUChar) {
  struct Case {
    std::string bytes;
    unsigned short unit;
    UC::ErrorCode code;
    long advance;
  };
  Case const cases[] = {
      {"A", 'A', UC::Ok, 1},
      {"AB", 'A', UC::Overflow, 1},
      {"\xE2\x82\xAC!", 0x20AC, UC::Overflow, 3},
      {"\xF0\x90\x80\x80", 0, UC::Overflow, 0},  // a pair does not fit in one unit
  };
  IntrusivePointer<UC> utf8 = UC::utf8ToUnicode();
  for (Case const& c : cases) {
    SCOPED_TRACE(hex(c.bytes));
    char const* s = c.bytes.data();
    UC::ErrorCode code = UC::Ok;
    EXPECT_EQ(c.unit, utf8->getNextUChar(&s, c.bytes.data() + c.bytes.size(), code));
    EXPECT_EQ(c.code, code);
    EXPECT_EQ(c.advance, s - c.bytes.data());
  }
  utf8->setInvalidStrategy(UC::INVALID_SUBSTITUTE);  // the strategy plays no part here
  char const bad[] = "\xC0\x80";
  char const* s = bad;
  UC::ErrorCode code = UC::Ok;
  EXPECT_THROW(utf8->getNextUChar(&s, bad + 2, code), UC::InvalidError);
  EXPECT_EQ(bad, s);
}

TEST(UnicodeConverter, OverloadsAgree) {
  IntrusivePointer<UC> utf8 = UC::utf8ToUnicode();
  U16 const text = {0x47, 0x72, 0xFC, 0xDF, 0x20AC};
  std::string const bytes = "Gr\xC3\xBC\xC3\x9F\xE2\x82\xAC";
  unsigned short const zeroTerminated[] = {0x47, 0x72, 0xFC, 0xDF, 0x20AC, 0, 0x41};
  std::string out = "old";
  utf8->fromUnicode(text.data(), text.size(), out);
  EXPECT_EQ(bytes, out);
  utf8->fromUnicode(zeroTerminated, out);
  EXPECT_EQ(bytes, out);
  utf8->fromUnicode(text, out);
  EXPECT_EQ(bytes, out);
  utf8->fromUnicode(static_cast<unsigned short>(0xFC), out);
  EXPECT_EQ("\xC3\xBC", out);
  EXPECT_EQ(bytes, utf8->fromUnicode(zeroTerminated));
  EXPECT_EQ(bytes, utf8->fromUnicode(text.data(), text.size()));
  EXPECT_EQ("\xE2\x82\xAC", utf8->fromUnicode(static_cast<unsigned short>(0x20AC)));
  char buf[16];
  EXPECT_EQ(3u, utf8->fromUnicode(static_cast<unsigned short>(0x20AC), buf, 3));
  UC::ErrorCode code = UC::Ok;
  EXPECT_EQ(0u, utf8->fromUnicode(static_cast<unsigned short>(0x20AC), buf, 2, code));
  EXPECT_EQ(UC::Overflow, code);
  EXPECT_EQ(0u, utf8->fromUnicode(static_cast<unsigned short>(0xD800), buf, 4, code));
  EXPECT_EQ(UC::Invalid, code);
  EXPECT_EQ(0u, utf8->fromUnicode(text.data(), 0, buf, 0));
  EXPECT_THROW(utf8->fromUnicode(text, buf, 8), UC::OverflowError);

  U16 units = {0x99};
  utf8->toUnicode(bytes.data(), bytes.size(), units);
  EXPECT_EQ(text, units);
  utf8->toUnicode(bytes.c_str(), units);
  EXPECT_EQ(text, units);
  utf8->toUnicode(bytes, units);
  EXPECT_EQ(text, units);
  EXPECT_EQ(text, utf8->toUnicode(bytes.data(), bytes.size()));
  EXPECT_EQ(text, utf8->toUnicode(bytes.c_str()));
  unsigned short ubuf[8];
  EXPECT_EQ(5u, utf8->toUnicode(bytes, ubuf, 8));
  EXPECT_THROW(utf8->toUnicode(bytes, ubuf, 4), UC::OverflowError);
  EXPECT_EQ(U16(), utf8->toUnicode(""));
}

TEST(UnicodeConverter, ExceptionsAndTheirTexts) {
  struct Case {
    UC::ErrorCode code;
    char const* what;
  };
  Case const cases[] = {{UC::Overflow, "UnicodeConverter::Overflow"},
                        {UC::Invalid, "UnicodeConverter::Invalid"},
                        {UC::Unmappable, "UnicodeConverter::Unmappable"}};
  for (Case const& c : cases) {
    try {
      UC::convertError(c.code);
      ADD_FAILURE() << "no exception for " << c.code;
    } catch (UC::Exception const& e) {
      EXPECT_STREQ(c.what, e.what());
    }
  }
  EXPECT_NO_THROW(UC::convertError(UC::Ok));
  EXPECT_NO_THROW(UC::convertError(static_cast<UC::ErrorCode>(9)));
  EXPECT_EQ(UC::UNMAPPABLE_SUBSTITUTE, UC::utf8ToUnicode()->getUnmappableStrategy());
  EXPECT_EQ(UC::INVALID_FAIL, UC::utf8ToUnicode()->getInvalidStrategy());
  EXPECT_EQ(0xDC00D800u, utf8::make_surrogate_pair(0x10000));
  EXPECT_EQ(0xDFFFDBFFu, utf8::make_surrogate_pair(0x10FFFF));
  EXPECT_TRUE(utf8::detail::is_trail('\xBF'));
  EXPECT_FALSE(utf8::detail::is_trail('\xC0'));
  EXPECT_EQ(0xFFu, utf8::detail::mask8('\xFF'));
}

}  // namespace
}  // namespace vyk
