// Converting record files over every base format, and byte-order marks written and detected.
#include "vyk/util/ConverterRecordFormat.h"

#include <gtest/gtest.h>

#include <string>
#include <typeinfo>
#include <vector>

#include "tests/records/RecordTestHelpers.h"
#include "tests/support/TestEncodings.h"

namespace vyk {
namespace testing {
namespace {

using namespace std::string_literals;
using recfm::BomDetector;
using recfm::ByteOrderBE;
using recfm::ByteOrderLE;
using recfm::ConverterRecordFormat;
using recfm::RecfmVBase;
using recfm::RecfmVConv;

TestConverterFactory const kFactory;

// Options that convert between the Latin-1 client and file, for format recfm.
Options converting(BaseRecordFile::Recfm recfm, TestEncoding const& file, int bufferSize = 8192,
                   TestEncoding const& client = kLatin1, CharConverterFactory const* factory = &kFactory) {
  Options options = optionsFor(RecordFile::READ, recfm, BaseRecordFile::TERMSTR_ANY, bufferSize);
  options.conversion = CharConversionSpec(client.get(), file.get(), factory);
  return options;
}

template <class T>
bool isExactly(RecordFormat* format) {
  return typeid(*format) == typeid(T);
}
using IsFormat = bool (*)(RecordFormat*);

TEST(ConverterRecordFormat, OpenChoosesTheClassByFormatAndEncoding) {
  using V16BE = BomDetector<ConverterRecordFormat<RecfmVBase<unsigned short, ByteOrderBE>>>;
  using V16LE = BomDetector<ConverterRecordFormat<RecfmVBase<unsigned short, ByteOrderLE>>>;
  using V32BE = BomDetector<ConverterRecordFormat<RecfmVBase<unsigned int, ByteOrderBE>>>;
  using V32LE = BomDetector<ConverterRecordFormat<RecfmVBase<unsigned int, ByteOrderLE>>>;
  TestEncoding const utf16AndUtf8{ENC_UTF16LE | ENC_UTF8 | ENC_ASCII_LINE_ENDS, TestEncoding::UTF8, "both"};
  TestEncoding const utf32Both{ENC_UTF32LE | ENC_UTF32BE, TestEncoding::UTF32BE, "both32"};
  struct Case {
    int line;
    BaseRecordFile::Recfm recfm;
    CharEncoding const* client;
    CharEncoding const* file;
    CharConverterFactory const* factory;
    CharEncoding const* bomEncoding;
    IsFormat is;
    bool converts;
  };
  BaseRecordFile::Recfm const V = BaseRecordFile::RECFM_V;
  CharEncoding const* const latin1 = kLatin1.get();
  Case const cases[] = {
      {__LINE__, V, latin1, kLatin1.get(), &kFactory, nullptr, isExactly<RecfmVConv>, true},
      {__LINE__, V, latin1, kEbcdic.get(), &kFactory, nullptr, isExactly<RecfmVConv>, true},
      {__LINE__, V, latin1, kUtf8.get(), &kFactory, nullptr, isExactly<BomDetector<RecfmVConv>>, true},
      {__LINE__, V, latin1, kUtf16BE.get(), &kFactory, nullptr, isExactly<V16BE>, true},
      {__LINE__, V, latin1, kUtf16LE.get(), &kFactory, nullptr, isExactly<V16LE>, true},
      {__LINE__, V, latin1, kUtf32BE.get(), &kFactory, nullptr, isExactly<V32BE>, true},
      {__LINE__, V, latin1, kUtf32LE.get(), &kFactory, nullptr, isExactly<V32LE>, true},
      {__LINE__, V, latin1, utf16AndUtf8.get(), &kFactory, nullptr, isExactly<BomDetector<RecfmVConv>>, true},
      {__LINE__, V, latin1, utf32Both.get(), &kFactory, nullptr, isExactly<V32BE>, true},
      // With conversion the mark follows the file encoding, not bomEncoding.
      {__LINE__, V, latin1, kLatin1.get(), &kFactory, kUtf8.get(), isExactly<RecfmVConv>, true},
      {__LINE__, BaseRecordFile::RECFM_F, latin1, kUtf16LE.get(), &kFactory, nullptr,
       isExactly<ConverterRecordFormat<recfm::RecfmF>>, true},
      {__LINE__, BaseRecordFile::RECFM_S, latin1, kUtf8.get(), &kFactory, nullptr,
       isExactly<ConverterRecordFormat<recfm::RecfmS>>, true},
      {__LINE__, BaseRecordFile::RECFM_S370V, latin1, kEbcdic.get(), &kFactory, nullptr,
       isExactly<ConverterRecordFormat<recfm::RecfmS370V>>, true},
      {__LINE__, BaseRecordFile::RECFM_S370VSTREAM, latin1, kEbcdic.get(), &kFactory, nullptr,
       isExactly<ConverterRecordFormat<recfm::RecfmS370VStreamed>>, true},
      {__LINE__, BaseRecordFile::RECFM_S370VB, latin1, kEbcdic.get(), &kFactory, nullptr,
       isExactly<ConverterRecordFormat<recfm::RecfmS370VB>>, true},
      {__LINE__, BaseRecordFile::RECFM_S370VS, latin1, kEbcdic.get(), &kFactory, nullptr,
       isExactly<ConverterRecordFormat<recfm::RecfmS370VS>>, true},
      {__LINE__, BaseRecordFile::RECFM_S370VSSTREAM, latin1, kEbcdic.get(), &kFactory, nullptr,
       isExactly<ConverterRecordFormat<recfm::RecfmS370VSStreamed>>, true},
      {__LINE__, BaseRecordFile::RECFM_S370VBS, latin1, kEbcdic.get(), &kFactory, nullptr,
       isExactly<ConverterRecordFormat<recfm::RecfmS370VBS>>, true},
      {__LINE__, BaseRecordFile::RECFM_N, latin1, kEbcdic.get(), &kFactory, nullptr, isExactly<recfm::RecfmN>,
       false},
      {__LINE__, BaseRecordFile::RECFM_P, latin1, kUtf16LE.get(), &kFactory, kUtf8.get(),
       isExactly<recfm::RecfmP>, false},
      // A triple with a member missing converts nothing.
      {__LINE__, V, latin1, kEbcdic.get(), nullptr, nullptr, isExactly<recfm::RecfmV>, false},
      {__LINE__, V, nullptr, kEbcdic.get(), &kFactory, nullptr, isExactly<recfm::RecfmV>, false},
      {__LINE__, BaseRecordFile::RECFM_F, latin1, nullptr, &kFactory, nullptr, isExactly<recfm::RecfmF>,
       false},
      // Without conversion only V looks at bomEncoding, and only for the five marks.
      {__LINE__, V, nullptr, nullptr, nullptr, kUtf8.get(), isExactly<BomDetector<recfm::RecfmV>>, false},
      {__LINE__, V, latin1, nullptr, &kFactory, kUtf32LE.get(), isExactly<BomDetector<recfm::RecfmV>>, false},
      {__LINE__, V, nullptr, nullptr, nullptr, kEbcdic.get(), isExactly<recfm::RecfmV>, false},
      {__LINE__, BaseRecordFile::RECFM_F, nullptr, nullptr, nullptr, kUtf8.get(), isExactly<recfm::RecfmF>,
       false},
      {__LINE__, BaseRecordFile::RECFM_P, nullptr, nullptr, nullptr, kUtf8.get(), isExactly<recfm::RecfmP>,
       false},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE("line " + std::to_string(c.line));
    Options options = optionsFor(RecordFile::READ, c.recfm);
    options.conversion = CharConversionSpec(c.client, c.file, c.factory);
    options.bomEncoding = c.bomEncoding;
    MemoryRecordFile file("", options);
    RecordFormat* format = file.format();
    EXPECT_TRUE(c.is(format)) << typeid(*format).name();
    EXPECT_EQ(c.converts ? c.client : nullptr, file.getClientEncoding());
    EXPECT_EQ(c.converts ? c.file : nullptr, file.getFileEncoding());
  }
}

// Records {"Ab", "a"} in IBM-1047 (A C1, b 82, a 81, blank 40, OpenEdition line feed 15) on each
// base format, and what reading those bytes gives back.
TEST(ConverterRecordFormat, EveryBaseFormatConvertsBothWays) {
  struct Case {
    int line;
    BaseRecordFile::Recfm recfm;
    std::string bytes;
    Records readBack;
  };
  Records const written = {"Ab", "a"};
  Case const cases[] = {
      {__LINE__, BaseRecordFile::RECFM_V, "\xC1\x82\x15\x81\x15", written},
      {__LINE__, BaseRecordFile::RECFM_F, "\xC1\x82\x40\x40\x81\x40\x40\x40", {"Ab  ", "a   "}},
      {__LINE__, BaseRecordFile::RECFM_S, "\xC1\x82\x81", {"Aba"}},
      {__LINE__, BaseRecordFile::RECFM_S370VSTREAM, "\x00\x06\x00\x00\xC1\x82\x00\x05\x00\x00\x81"s, written},
      {__LINE__, BaseRecordFile::RECFM_S370VSSTREAM, "\x00\x06\x00\x00\xC1\x82\x00\x05\x00\x00\x81"s,
       written},
      {__LINE__, BaseRecordFile::RECFM_S370VB,
       "\x00\x0F\x00\x00\x00\x06\x00\x00\xC1\x82\x00\x05\x00\x00\x81"s, written},
      {__LINE__, BaseRecordFile::RECFM_S370VBS,
       "\x00\x0F\x00\x00\x00\x06\x00\x00\xC1\x82\x00\x05\x00\x00\x81"s, written},
      {__LINE__, BaseRecordFile::RECFM_S370V,
       "\x00\x0A\x00\x00\x00\x06\x00\x00\xC1\x82\x00\x09\x00\x00\x00\x05\x00\x00\x81"s, written},
      {__LINE__, BaseRecordFile::RECFM_S370VS,
       "\x00\x0A\x00\x00\x00\x06\x00\x00\xC1\x82\x00\x09\x00\x00\x00\x05\x00\x00\x81"s, written},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE("line " + std::to_string(c.line));
    Options options = converting(c.recfm, kEbcdic);
    options.lrecl = 4;
    EXPECT_EQ(c.bytes, writeRecords(written, options));
    EXPECT_EQ(c.readBack, readBytes(c.bytes, options));
  }
}

// Records {"Ab", e-acute} in each Unicode file encoding, with and without the mark.
TEST(ConverterRecordFormat, UnicodeFilesWriteAndReadTheirMarks) {
  struct Case {
    int line;
    TestEncoding const& file;
    std::string mark;
    std::string body;
  };
  Case const cases[] = {
      {__LINE__, kUtf8, "\xEF\xBB\xBF", "Ab\n\xC3\xA9\n"},
      {__LINE__, kUtf16LE, "\xFF\xFE", "A\0b\0\n\0\xE9\0\n\0"s},
      {__LINE__, kUtf16BE, "\xFE\xFF", "\0A\0b\0\n\0\xE9\0\n"s},
      {__LINE__, kUtf32LE, "\xFF\xFE\0\0"s, "A\0\0\0b\0\0\0\n\0\0\0\xE9\0\0\0\n\0\0\0"s},
      {__LINE__, kUtf32BE, "\0\0\xFE\xFF"s, "\0\0\0A\0\0\0b\0\0\0\n\0\0\0\xE9\0\0\0\n"s},
  };
  Records const records = {"Ab", "\xE9"};
  for (Case const& c : cases) {
    for (int size : blockSizes()) {
      SCOPED_TRACE("line " + std::to_string(c.line) + ", bufferSize " + std::to_string(size));
      Options options = converting(BaseRecordFile::RECFM_V, c.file, size);
      EXPECT_EQ(c.body, writeRecords(records, options));
      options.writeBom = true;
      EXPECT_EQ(c.mark + c.body, writeRecords(records, options));
      EXPECT_EQ(records, readBytes(c.mark + c.body, options));
      EXPECT_EQ(records, readBytes(c.body, options));
      EXPECT_EQ(records, readBytes(c.mark + c.body, options, 1 << 16, nullptr, 1));
    }
  }
}

// The mark is looked for without conversion (bytes stay as they are) and with it; what is not a
// whole mark is data. Detection never moves the device.
TEST(BomDetector, OnlyAWholeMarkIsPassedOver) {
  struct Case {
    int line;
    TestEncoding const& encoding;
    bool convert;
    std::string bytes;
    Records records;
  };
  Case const cases[] = {
      {__LINE__, kUtf8, false, "\xEF\xBB\xBF\xC3\xA9\n", {"\xC3\xA9"}},
      {__LINE__, kUtf8, false, "ab\n", {"ab"}},
      {__LINE__, kUtf8, false, "\xEF\xBB", {"\xEF\xBB"}},
      {__LINE__, kUtf8, false, "\xEF", {"\xEF"}},
      {__LINE__, kUtf8, false, "", {}},
      {__LINE__, kUtf8, false, "\xEF\xBB\xBF", {}},
      {__LINE__, kUtf8, false, "\xEF\xBB\xBF\n", {""}},
      {__LINE__, kUtf8, false, "\xEF\xBB\xBF\xEF\xBB\xBFx", {"\xEF\xBB\xBFx"}},
      {__LINE__, kUtf8, false, "\xEF\xBBx\n", {"\xEF\xBBx"}},
      {__LINE__, kUtf8, false, "\n\xEF\xBB\xBF", {"", "\xEF\xBB\xBF"}},
      {__LINE__,
       kUtf16LE,
       false,
       "\xFF\xFE"
       "a\n",
       {"a"}},
      {__LINE__, kUtf16LE, false, "\xFF\xFE\0\0a\n"s, {"\0\0a"s}},
      {__LINE__, kUtf16LE, false, "\xFF", {"\xFF"}},
      {__LINE__, kUtf16BE, false, "\xFE\xFFx", {"x"}},
      {__LINE__, kUtf16BE, false, "\xFF\xFEx", {"\xFF\xFEx"}},
      {__LINE__, kUtf32BE, false, "\0\0\xFE\xFFx"s, {"x"}},
      {__LINE__, kUtf32BE, false, "\0\0\xFE"s, {"\0\0\xFE"s}},
      {__LINE__,
       kUtf32LE,
       false,
       "\xFF\xFE"
       "a\n",
       {"\xFF\xFE"
        "a"}},
      {__LINE__, kUtf8, true, "\xEF\xBB\xBF\xC3\xA9\n", {"\xE9"}},
      {__LINE__, kUtf8, true, "\xEF\xBB\xBF", {}},
      {__LINE__, kUtf8, true, "", {}},
      // A UTF-16LE reader takes the UTF-32LE mark's first half as its own and the rest as U+0000.
      {__LINE__, kUtf16LE, true, "\xFF\xFE\0\0A\0"s, {"\0A"s}},
      // A file of one byte makes no whole unit.
      {__LINE__, kUtf16LE, true, "\xFF", {}},
      {__LINE__, kUtf32LE, true, "\xFF\xFE\0", {}},
      {__LINE__, kUtf32BE, true, "\0\0\xFE\xFF\0\0\0x"s, {"x"}},
  };
  for (Case const& c : cases) {
    for (int size : blockSizes()) {
      for (int maxFill : {0, 1}) {
        SCOPED_TRACE("line " + std::to_string(c.line) + ", bufferSize " + std::to_string(size) +
                     ", maxFill " + std::to_string(maxFill));
        Options options = c.convert ? converting(BaseRecordFile::RECFM_V, c.encoding, size)
                                    : optionsFor(RecordFile::READ, BaseRecordFile::RECFM_V, 4, size);
        if (!c.convert) options.bomEncoding = c.encoding.get();
        MemoryRecordFile file(c.bytes, options, maxFill);
        EXPECT_EQ(c.records, readAll(file));
        EXPECT_TRUE(file.seeks.empty());
      }
    }
  }
}

TEST(BomDetector, BadBytesAfterOrInsteadOfTheMarkReachTheConverter) {
  struct Case {
    int line;
    TestEncoding const& encoding;
    std::string bytes;
  };
  Case const cases[] = {
      {__LINE__, kUtf8,
       "\xEF\xBB"
       "a\n"},  // partial mark, then malformed UTF-8
      {__LINE__, kUtf8,
       "\xFF\xFE"
       "a\n"},  // a UTF-16 mark in a UTF-8 file
      {__LINE__, kUtf32LE,
       "\xFF\xFE"
       "A\0"s},                                       // the UTF-16LE mark read as one UTF-32 unit
      {__LINE__, kUtf16BE, "\xFE\xFF\xDC\x00\0\n"s},  // a lone low surrogate
  };
  for (Case const& c : cases) {
    SCOPED_TRACE("line " + std::to_string(c.line));
    EXPECT_THROW(readBytes(c.bytes, converting(BaseRecordFile::RECFM_V, c.encoding)),
                 CharConverter::InvalidError);
  }
}

TEST(BomDetector, FirstNoteLiesBehindTheMark) {
  struct Case {
    int line;
    TestEncoding const& encoding;
    std::string bytes;
    long long firstNote;
    long long secondNote;
  };
  Case const cases[] = {
      {__LINE__, kUtf8,
       "\xEF\xBB\xBF"
       "a\nc\n",
       3, 5},
      {__LINE__, kUtf16LE,
       "\xFF\xFE"
       "a\0\n\0c\0\n\0"s,
       2, 6},
      {__LINE__, kUtf32BE, "\0\0\xFE\xFF\0\0\0a\0\0\0\n\0\0\0c"s, 4, 12},
  };
  for (Case const& c : cases) {
    for (int size : blockSizes()) {
      SCOPED_TRACE("line " + std::to_string(c.line) + ", bufferSize " + std::to_string(size));
      MemoryRecordFile file(c.bytes, converting(BaseRecordFile::RECFM_V, c.encoding, size));
      char buffer[16];
      int eof = 0;
      long long note = -1;
      ASSERT_EQ(1, file.read(buffer, 16, &eof));
      ASSERT_TRUE(file.tell(&note));
      EXPECT_EQ(c.firstNote, note);
      ASSERT_EQ(1, file.read(buffer, 16, &eof));
      ASSERT_TRUE(file.tell(&note));
      EXPECT_EQ(c.secondNote, note);
      long long const first = c.firstNote;
      ASSERT_TRUE(file.seek(&first));
      ASSERT_EQ(1, file.read(buffer, 16, &eof));
      EXPECT_EQ('a', buffer[0]);
    }
  }
}

// After indicateNewVolume the next read looks for a mark where the stream stands, and a missing
// mark consumes nothing: the data before it is not read a second time.
TEST(BomDetector, NewVolumeLooksForTheMarkWhereItsDataBegins) {
  struct Case {
    int line;
    std::string first;
    std::string next;
    bool replaceVolume;  // the next volume replaces the device's bytes, else follows them
    Records after;
  };
  Case const cases[] = {
      {__LINE__,
       "\xEF\xBB\xBF"
       "a\n",
       "\xEF\xBB\xBF"
       "b\n",
       true,
       {"b"}},
      {__LINE__,
       "\xEF\xBB\xBF"
       "a\n",
       "c\n",
       true,
       {"c"}},
      {__LINE__,
       "a\n",
       "\xEF\xBB\xBF"
       "b\nc\n",
       false,
       {"b", "c"}},
      {__LINE__,
       "\xEF\xBB\xBF"
       "a\n",
       "xy\n",
       false,
       {"xy"}},
      {__LINE__, "a\n", "\xEF\xBB", false, {"\xEF\xBB"}},
  };
  for (Case const& c : cases) {
    for (int size : blockSizes()) {
      SCOPED_TRACE("line " + std::to_string(c.line) + ", bufferSize " + std::to_string(size));
      Options options = optionsFor(RecordFile::READ, BaseRecordFile::RECFM_V, 4, size);
      options.bomEncoding = kUtf8.get();
      MemoryRecordFile file(c.replaceVolume ? c.first : c.first + c.next, options);
      char buffer[16];
      int eof = 0;
      ASSERT_EQ(1, file.read(buffer, 16, &eof));
      EXPECT_EQ('a', buffer[0]);
      if (c.replaceVolume) {
        EXPECT_EQ(Records{}, readAll(file));
        file.bytes = c.next;
        file.position = 0;
        file.clearEof();
      }
      file.indicateNewVolume();
      EXPECT_EQ(c.after, readAll(file));
      EXPECT_TRUE(file.seeks.empty());
    }
  }
}

// A rewind (back to position 0, then clearEof) reads the file as at open: the mark is no data.
TEST(BomDetector, RewoundFileGivesTheSameRecords) {
  for (TestEncoding const* encoding : {&kUtf8, &kUtf16BE, &kUtf32LE}) {
    for (int size : blockSizes()) {
      SCOPED_TRACE(std::string(encoding->name) + ", bufferSize " + std::to_string(size));
      Options options = converting(BaseRecordFile::RECFM_V, *encoding, size);
      options.writeBom = true;
      std::string const bytes = writeRecords({"\xE9", "b"}, options);
      MemoryRecordFile file(bytes, options);
      EXPECT_EQ((Records{"\xE9", "b"}), readAll(file));
      file.position = 0;
      file.clearEof();
      EXPECT_EQ((Records{"\xE9", "b"}), readAll(file));
    }
  }
}

TEST(ConverterRecordFormat, LineFeedAndPaddingFollowTheEncodingFlags) {
  struct Case {
    int line;
    BaseRecordFile::Recfm recfm;
    TestEncoding const& file;
    std::string written;  // the records "a" and "b\n" with lrecl 3
    std::string read;
    Records records;
  };
  Case const cases[] = {
      {__LINE__,
       BaseRecordFile::RECFM_V,
       kEbcdic,
       "\x81\x15\x82\x15\x15",
       "\x81\x25\x82\x15",
       {"a\x85"
        "b"}},
      {__LINE__, BaseRecordFile::RECFM_V, kEbcdic25, "\x81\x25\x82\x15\x25", "\x81\x15\x82\x25", {"a\nb"}},
      {__LINE__, BaseRecordFile::RECFM_V, kLatin1, "a\nb\n\n", "a\rb\r\n", {"a\rb"}},
      {__LINE__, BaseRecordFile::RECFM_F, kEbcdic, "\x81\x40\x40\x82\x15\x40", "\x81\x40\x40", {"a  "}},
      {__LINE__, BaseRecordFile::RECFM_F, kEbcdic25, "\x81\x40\x40\x82\x15\x40", "\x40\x15", {" \n"}},
      {__LINE__, BaseRecordFile::RECFM_F, kLatin1, "a  b\n ", "ab", {"ab"}},
      {__LINE__, BaseRecordFile::RECFM_F, kUtf16LE, "a\0 b\0\n"s, "a\0b\0 \0"s, {"a", "b", " "}},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE("line " + std::to_string(c.line));
    Options options = converting(c.recfm, c.file);
    options.lrecl = 3;
    EXPECT_EQ(c.written, writeRecords({"a", "b\n"}, options));
    if (c.recfm == BaseRecordFile::RECFM_F && c.file.form == TestEncoding::UTF16LE) options.lrecl = 2;
    EXPECT_EQ(c.records, readBytes(c.read, options));
  }
}

TEST(ConverterRecordFormatDeathTest, TerminatedFormNeedsALineFeed) {
  EXPECT_EXIT({ MemoryRecordFile file("", converting(BaseRecordFile::RECFM_V, kNoLineEnds)); },
              ::testing::ExitedWithCode(99), "UTF-16 not supported by this class");
}

TEST(ConverterRecordFormat, NAndPIgnoreTheConversion) {
  TestConverterFactory const counting;
  Options options = converting(BaseRecordFile::RECFM_N, kEbcdic, 8192, kLatin1, &counting);
  EXPECT_EQ("Ab", writeRecords({"A", "b"}, options));
  options = converting(BaseRecordFile::RECFM_P, kUtf16LE, 8192, kLatin1, &counting);
  EXPECT_EQ("A\nb\n", writeRecords({"A", "b"}, options));
  EXPECT_EQ((Records{"\xC1\x82"}), readBytes("\xC1\x82\n", options));
  EXPECT_EQ(0, counting.conversions.load());
}

// A converted record longer than the scratch buffer (lrecl times the widest file character) or the
// caller's buffer is an overflow; a fault in the bytes goes to the handler.
TEST(ConverterRecordFormat, OverlongAndBadRecordsGoToTheHandler) {
  enum Fault { NONE, OVERFLOW, INVALID, UNMAPPABLE };
  struct Case {
    int line;
    BaseRecordFile::Recfm recfm;
    TestEncoding const& client;
    TestEncoding const& file;
    int lrecl;
    std::string record;  // written
    Fault fault;
    std::string bytes;  // on the file after a handler that returns
  };
  BaseRecordFile::Recfm const V = BaseRecordFile::RECFM_V;
  Case const cases[] = {
      // UTF-8: W = 4, so lrecl 2 gives 8 bytes of scratch; V then cuts at lrecl file bytes.
      {__LINE__, V, kLatin1, kUtf8, 2, "\xE9\xE9\xE9\xE9", NONE, "\xC3\xA9\n"},
      {__LINE__, V, kLatin1, kUtf8, 2, "\xE9\xE9\xE9\xE9\xE9", OVERFLOW, "\xC3\xA9\n"},
      {__LINE__, BaseRecordFile::RECFM_F, kLatin1, kEbcdic, 3, "abc", NONE, "\x81\x82\x83"},
      {__LINE__, BaseRecordFile::RECFM_F, kLatin1, kEbcdic, 3, "abcd", OVERFLOW, "\x81\x82\x83"},
      {__LINE__, BaseRecordFile::RECFM_S370VB, kLatin1, kEbcdic, 3, "abcd", OVERFLOW,
       "\x00\x0B\x00\x00\x00\x07\x00\x00\x81\x82\x83"s},
      {__LINE__, V, kUtf16LE, kLatin1, 10,
       "A\0\x00\x01"
       "B\0"s,
       UNMAPPABLE, "A\n"},
      {__LINE__, V, kUtf8, kLatin1, 10,
       "a\xFF"
       "b",
       INVALID, "a\n"},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE("line " + std::to_string(c.line));
    Options options = converting(c.recfm, c.file, 8192, c.client);
    options.lrecl = c.lrecl;
    options.mode = RecordFile::WRITE;
    {
      MemoryRecordFile file("", options);
      auto write = [&] { file.write(c.record.data(), static_cast<int>(c.record.size()), CC_SINGLE); };
      switch (c.fault) {
        case NONE:
          write();
          break;
        case OVERFLOW:
          EXPECT_THROW(write(), CharConverter::OverflowError);
          break;
        case INVALID:
          EXPECT_THROW(write(), CharConverter::InvalidError);
          break;
        case UNMAPPABLE:
          EXPECT_THROW(write(), CharConverter::UnmappableError);
          break;
      }
      file.flush();
      if (c.fault != NONE) {
        EXPECT_EQ("", file.bytes);  // nothing of the failed record
      }
    }
    CountingErrorHandler handler;
    TestConverterFactory const lenient(&handler);
    options.conversion.factory = &lenient;
    EXPECT_EQ(c.bytes, writeRecords({c.record}, options));
    EXPECT_EQ(c.fault == OVERFLOW ? 1 : 0, handler.overflows);
    EXPECT_EQ(c.fault == INVALID ? 1 : 0, handler.invalids);
    EXPECT_EQ(c.fault == UNMAPPABLE ? 1 : 0, handler.unmappables);
  }
}

TEST(ConverterRecordFormat, ReadingFaultsConsumeTheRecord) {
  struct Case {
    int line;
    TestEncoding const& file;
    std::string bytes;  // a bad first record, then "x"
    int maxLength;
    char const* error;
    std::string lenientFirst;  // the first record under a handler that returns
  };
  Case const cases[] = {
      {__LINE__, kUtf8, "\xC3\xA9\xC3\xA9\nx\n", 1, "CharConverter::Overflow", "\xE9"},
      {__LINE__, kUtf8,
       "a\xFF"
       "b\nx\n",
       8, "CharConverter::Invalid", "a"},
      {__LINE__, kUtf16LE, "A\0\x00\x01\n\0x\0\n\0"s, 8, "CharConverter::Unmappable", "A"},
      {__LINE__, kUtf32BE, "\0\0\0A\0\x11\0\0\0\0\0\n\0\0\0x"s, 8, "CharConverter::Invalid", "A"},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE("line " + std::to_string(c.line));
    Options options = converting(BaseRecordFile::RECFM_V, c.file);
    {
      MemoryRecordFile file(c.bytes, options);
      char buffer[8];
      int eof = 0;
      try {
        file.read(buffer, c.maxLength, &eof);
        ADD_FAILURE() << "no error";
      } catch (CharConverter::Exception const& e) {
        EXPECT_STREQ(c.error, e.what());
      }
      ASSERT_EQ(1, file.read(buffer, c.maxLength, &eof));
      EXPECT_EQ('x', buffer[0]);
    }
    CountingErrorHandler handler;
    TestConverterFactory const lenient(&handler);
    options.conversion.factory = &lenient;
    EXPECT_EQ((Records{c.lenientFirst, "x"}), readBytes(c.bytes, options, c.maxLength));
  }
}

TEST(ConverterRecordFormat, EmptyRecordIsReadWithoutAConversion) {
  TestConverterFactory const counting;
  Options options = converting(BaseRecordFile::RECFM_V, kEbcdic, 8192, kLatin1, &counting);
  EXPECT_EQ((Records{"", "", "a"}), readBytes("\x15\x15\x81", options));
  EXPECT_EQ(1, counting.conversions.load());
}

TEST(BomDetector, MarkIsWrittenOnceWhereTheFirstRecordGoes) {
  struct Case {
    int line;
    RecordFile::OpenMode mode;
    std::string before;
    bool readFirst;
    std::string after;
  };
  Case const cases[] = {
      {__LINE__, RecordFile::WRITE, "old\n", false, "\xEF\xBB\xBFy\nz\n"},
      {__LINE__, RecordFile::APPEND, "x\n", false, "x\n\xEF\xBB\xBFy\nz\n"},
      // In UPDATE mode a read that looked for the mark cancels writing one over the data.
      {__LINE__, RecordFile::UPDATE,
       "\xEF\xBB\xBF"
       "ab\ncd\n",
       true, "\xEF\xBB\xBFy\nz\nd\n"},
      {__LINE__, RecordFile::UPDATE, "ab\ncd\n", true, "y\nz\nd\n"},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE("line " + std::to_string(c.line));
    Options options = converting(BaseRecordFile::RECFM_V, kUtf8);
    options.mode = c.mode;
    options.writeBom = true;
    MemoryRecordFile file(c.before, options);
    if (c.readFirst) {
      char buffer[8];
      int eof = 0;
      ASSERT_EQ(2, file.read(buffer, 8, &eof));
    }
    file.write("y", 1, CC_SINGLE);
    file.write("z", 1, CC_SINGLE);
    file.flush();
    EXPECT_EQ(c.after, file.bytes);
  }
}

}  // namespace
}  // namespace testing
}  // namespace vyk
