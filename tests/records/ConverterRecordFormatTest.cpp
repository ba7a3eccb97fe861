// Converting record files over every base format, and byte-order marks written and detected.
#include "vyk/util/ConverterRecordFormat.h"

#include <gtest/gtest.h>

#include <string>
#include <typeinfo>
#include <vector>

#include "tests/support/MemoryRecordFile.h"
#include "tests/support/TestEncodings.h"

namespace vyk {
namespace testing {
namespace {

using namespace std::string_literals;
using recfm::BomDetector;
using recfm::ConverterRecordFormat;

TestConverterFactory const kFactory;
constexpr BaseRecordFile::Recfm V = BaseRecordFile::RECFM_V, F = BaseRecordFile::RECFM_F;
std::string const BOM8 = "\xEF\xBB\xBF";

// Options that convert between client (Latin-1 unless given) and file, for format recfm.
Options converting(BaseRecordFile::Recfm recfm, TestEncoding const& file, int bufferSize = 8192,
                   TestEncoding const& client = kLatin1, CharConverterFactory const* factory = &kFactory) {
  Options options = optionsFor(RecordFile::READ, recfm, BaseRecordFile::TERMSTR_ANY, bufferSize);
  options.conversion = CharConversionSpec(client.get(), file.get(), factory);
  return options;
}

// The name of the conversion error that f throws, or "none".
template <typename F>
std::string conversionError(F f) {
  try {
    f();
  } catch (CharConverter::Exception const& e) {
    return e.what();
  }
  return "none";
}

using Wide32BE = BomDetector<ConverterRecordFormat<recfm::RecfmVBase<unsigned int, recfm::ByteOrderBE>>>;

template <class T>
bool isExactly(RecordFormat* format) {
  return typeid(*format) == typeid(T);
}

TEST(ConverterRecordFormat, OpenChoosesTheClassByFormatAndEncoding) {
  TestEncoding const utf16AndUtf8{ENC_UTF16LE | ENC_UTF8 | ENC_ASCII_LINE_ENDS, TestEncoding::UTF8, "both"};
  TestEncoding const utf32Both{ENC_UTF32LE | ENC_UTF32BE, TestEncoding::UTF32BE, "both32"};
  CharEncoding const *const l1 = kLatin1.get(), *const ebc = kEbcdic.get(), *const u8 = kUtf8.get();
  CharConverterFactory const* const fac = &kFactory;
  // clang-format off
  struct Case { int line; BaseRecordFile::Recfm recfm; CharEncoding const *client, *file; CharConverterFactory const* factory; CharEncoding const* bomEncoding; bool (*is)(RecordFormat*); bool converts; };
  Case const cases[] = {
      {__LINE__, V, l1, l1, fac, nullptr, isExactly<recfm::RecfmVConv>, true},
      {__LINE__, V, l1, kUtf32BE.get(), fac, nullptr, isExactly<Wide32BE>, true},
      {__LINE__, V, l1, utf16AndUtf8.get(), fac, nullptr, isExactly<BomDetector<recfm::RecfmVConv>>, true},
      {__LINE__, V, l1, utf32Both.get(), fac, nullptr, isExactly<Wide32BE>, true},
      // With conversion the mark follows the file encoding, not bomEncoding.
      {__LINE__, V, l1, l1, fac, u8, isExactly<recfm::RecfmVConv>, true},
      {__LINE__, BaseRecordFile::RECFM_N, l1, ebc, fac, nullptr, isExactly<recfm::RecfmN>, false},
      {__LINE__, BaseRecordFile::RECFM_P, l1, kUtf16LE.get(), fac, u8, isExactly<recfm::RecfmP>, false},
      // A triple with a member missing converts nothing.
      {__LINE__, V, l1, ebc, nullptr, nullptr, isExactly<recfm::RecfmV>, false},
      // Without conversion only V looks at bomEncoding, and only for the five marks.
      {__LINE__, V, nullptr, nullptr, nullptr, u8, isExactly<BomDetector<recfm::RecfmV>>, false},
      {__LINE__, V, l1, nullptr, fac, kUtf32LE.get(), isExactly<BomDetector<recfm::RecfmV>>, false},
      {__LINE__, BaseRecordFile::RECFM_P, nullptr, nullptr, nullptr, u8, isExactly<recfm::RecfmP>, false},
  };
  // clang-format on
  for (Case const& c : cases) {
    SCOPED_TRACE("line " + std::to_string(c.line));
    Options options = optionsFor(RecordFile::READ, c.recfm);
    options.conversion = CharConversionSpec(c.client, c.file, c.factory);
    options.bomEncoding = c.bomEncoding;
    MemoryRecordFile file("", options);
    RecordFormat& format = *file.format();
    EXPECT_TRUE(c.is(&format)) << typeid(format).name();
    EXPECT_EQ(c.converts ? c.client : nullptr, file.getClientEncoding());
    EXPECT_EQ(c.converts ? c.file : nullptr, file.getFileEncoding());
  }
}

// Records {"Ab", "a"} in IBM-1047 (A C1, b 82, a 81, blank 40, line feed 15) on each base format,
// with lrecl 4, and what reading those bytes gives back.
TEST(ConverterRecordFormat, EveryBaseFormatConvertsBothWays) {
  // clang-format off
  struct Case { int line; std::vector<BaseRecordFile::Recfm> recfms; std::string bytes; Records readBack; };
  Records const written = {"Ab", "a"};
  Case const cases[] = {
      {__LINE__, {V}, "\xC1\x82\x15\x81\x15", written},
      {__LINE__, {F}, "\xC1\x82\x40\x40\x81\x40\x40\x40", {"Ab  ", "a   "}},
      {__LINE__, {BaseRecordFile::RECFM_S}, "\xC1\x82\x81", {"Aba"}},
      {__LINE__, {BaseRecordFile::RECFM_S370VSTREAM, BaseRecordFile::RECFM_S370VSSTREAM},
       "\x00\x06\x00\x00\xC1\x82\x00\x05\x00\x00\x81"s, written},
      {__LINE__, {BaseRecordFile::RECFM_S370VB, BaseRecordFile::RECFM_S370VBS},
       "\x00\x0F\x00\x00\x00\x06\x00\x00\xC1\x82\x00\x05\x00\x00\x81"s, written},
      {__LINE__, {BaseRecordFile::RECFM_S370V, BaseRecordFile::RECFM_S370VS},
       "\x00\x0A\x00\x00\x00\x06\x00\x00\xC1\x82\x00\x09\x00\x00\x00\x05\x00\x00\x81"s, written},
  };
  // clang-format on
  for (Case const& c : cases) {
    for (BaseRecordFile::Recfm recfm : c.recfms) {
      SCOPED_TRACE("line " + std::to_string(c.line) + ", recfm " + std::to_string(recfm));
      Options options = converting(recfm, kEbcdic);
      options.lrecl = 4;
      EXPECT_EQ(c.bytes, writeRecords(written, options));
      EXPECT_EQ(c.readBack, readBytes(c.bytes, options));
    }
  }
}

// Records {"Ab", e-acute} in each Unicode file encoding, with and without the mark, read again
// after a rewind. The notes of the two records lie behind the mark.
TEST(ConverterRecordFormat, UnicodeFilesWriteAndReadTheirMarks) {
  // clang-format off
  struct Case { TestEncoding const& file; std::string mark, body; std::vector<long long> notes; };
  Case const cases[] = {
      {kUtf8, BOM8, "Ab\n\xC3\xA9\n", {3, 6}},
      {kUtf16LE, "\xFF\xFE", "A\0b\0\n\0\xE9\0\n\0"s, {2, 8}},
      {kUtf16BE, "\xFE\xFF", "\0A\0b\0\n\0\xE9\0\n"s, {2, 8}},
      {kUtf32LE, "\xFF\xFE\0\0"s, "A\0\0\0b\0\0\0\n\0\0\0\xE9\0\0\0\n\0\0\0"s, {4, 16}},
      {kUtf32BE, "\0\0\xFE\xFF"s, "\0\0\0A\0\0\0b\0\0\0\n\0\0\0\xE9\0\0\0\n"s, {4, 16}},
  };
  // clang-format on
  Records const records = {"Ab", "\xE9"};
  for (Case const& c : cases) {
    for (int size : blockSizes()) {
      SCOPED_TRACE(std::string(c.file.name) + ", bufferSize " + std::to_string(size));
      Options options = converting(V, c.file, size);
      EXPECT_EQ(c.body, writeRecords(records, options));
      options.writeBom = true;
      EXPECT_EQ(c.mark + c.body, writeRecords(records, options));
      EXPECT_EQ(records, readBytes(c.body, options));
      for (int maxFill : {0, 1}) {
        auto file = openMemory(c.mark + c.body, options, maxFill);
        EXPECT_EQ(records, readAll(*file));
        file->position = 0;  // a rewind reads the file as at open: the mark is no data
        file->clearEof();
        EXPECT_EQ(records, readAll(*file));
      }
      MemoryRecordFile file(c.mark + c.body, options);
      std::vector<long long> notes(2, -1);
      for (long long& note : notes) {
        nextRecord(file);
        ASSERT_TRUE(file.tell(&note));
      }
      EXPECT_EQ(c.notes, notes);
      ASSERT_TRUE(file.seek(&notes[0]));
      EXPECT_EQ("Ab", nextRecord(file));
    }
  }
}

// The mark is looked for without conversion (bytes stay as they are) and with it; what is not a
// whole mark is data (a partial UTF-8 mark: see the new-volume test). Detection never moves the device.
TEST(BomDetector, OnlyAWholeMarkIsPassedOver) {
  // clang-format off
  struct Case { int line; TestEncoding const& encoding; bool convert; std::string bytes; Records records; };
  Case const cases[] = {
      {__LINE__, kUtf8, false, BOM8 + "\xC3\xA9\n", {"\xC3\xA9"}},
      {__LINE__, kUtf8, false, BOM8, {}},
      {__LINE__, kUtf8, false, BOM8 + BOM8 + "x", {BOM8 + "x"}},
      {__LINE__, kUtf8, false, "\n" + BOM8, {"", BOM8}},
      {__LINE__, kUtf16LE, false, "\xFF\xFE\0\0a\n"s, {"\0\0a"s}},
      {__LINE__, kUtf16BE, false, "\xFF\xFEx", {"\xFF\xFEx"}},
      {__LINE__, kUtf32LE, false, "\xFF\xFE" "a\n", {"\xFF\xFE" "a"}},
      // A UTF-16LE reader takes the UTF-32LE mark's first half as its own and the rest as U+0000.
      {__LINE__, kUtf16LE, true, "\xFF\xFE\0\0A\0"s, {"\0A"s}},
      // A file of one byte, or of a partial mark, makes no whole unit.
      {__LINE__, kUtf16LE, true, "\xFF", {}},
      {__LINE__, kUtf32LE, true, "\xFF\xFE\0", {}},
  };
  // clang-format on
  for (Case const& c : cases) {
    for (int size : blockSizes()) {
      for (int maxFill : {0, 1}) {
        SCOPED_TRACE("line " + std::to_string(c.line) + ", bufferSize " + std::to_string(size) +
                     ", maxFill " + std::to_string(maxFill));
        Options options =
            c.convert ? converting(V, c.encoding, size) : optionsFor(RecordFile::READ, V, 4, size);
        if (!c.convert) options.bomEncoding = c.encoding.get();
        MemoryRecordFile file(c.bytes, options, maxFill);
        EXPECT_EQ(c.records, readAll(file));
        EXPECT_TRUE(file.seeks.empty());
      }
    }
  }
}

// After indicateNewVolume the next read looks for a mark where the stream stands, and a missing
// mark consumes nothing: the data before it is not read a second time.
TEST(BomDetector, NewVolumeLooksForTheMarkWhereItsDataBegins) {
  // replaceVolume: the next volume replaces the device's bytes, else follows them
  // clang-format off
  struct Case { int line; std::string first, next; bool replaceVolume; Records after; };
  Case const cases[] = {
      {__LINE__, BOM8 + "a\n", BOM8 + "b\n", true, {"b"}},   {__LINE__, BOM8 + "a\n", "c\n", true, {"c"}},
      {__LINE__, "a\n", BOM8 + "b\nc\n", false, {"b", "c"}}, {__LINE__, BOM8 + "a\n", "xy\n", false, {"xy"}},
      {__LINE__, "a\n", "\xEF\xBB", false, {"\xEF\xBB"}},
  };
  // clang-format on
  for (Case const& c : cases) {
    for (int size : blockSizes()) {
      SCOPED_TRACE("line " + std::to_string(c.line) + ", bufferSize " + std::to_string(size));
      Options options = optionsFor(RecordFile::READ, V, 4, size);
      options.bomEncoding = kUtf8.get();
      MemoryRecordFile file(c.replaceVolume ? c.first : c.first + c.next, options);
      ASSERT_EQ("a", nextRecord(file));
      if (c.replaceVolume) {
        ASSERT_EQ("<end>", nextRecord(file));
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

TEST(ConverterRecordFormat, LineFeedAndPaddingFollowTheEncodingFlags) {
  // written: the records "a" and "b\n" with lrecl 3; records: read back with lrecl 3 (2 for UTF-16)
  // clang-format off
  struct Case { int line; BaseRecordFile::Recfm recfm; TestEncoding const& file; std::string written; std::string read; Records records; };
  Case const cases[] = {
      {__LINE__, V, kEbcdic, "\x81\x15\x82\x15\x15", "\x81\x25\x82\x15", {"a\x85" "b"}},
      {__LINE__, V, kEbcdic25, "\x81\x25\x82\x15\x25", "\x81\x15\x82\x25", {"a\nb"}},
      {__LINE__, V, kLatin1, "a\nb\n\n", "a\rb\r\n", {"a\rb"}},
      {__LINE__, F, kEbcdic, "\x81\x40\x40\x82\x15\x40", "\x81\x40\x40", {"a  "}},
      {__LINE__, F, kEbcdic25, "\x81\x40\x40\x82\x15\x40", "\x40\x15", {" \n"}},
      {__LINE__, F, kLatin1, "a  b\n ", "ab", {"ab"}},
      {__LINE__, F, kUtf16LE, "a\0 b\0\n"s, "a\0b\0 \0"s, {"a", "b", " "}},
  };
  // clang-format on
  for (Case const& c : cases) {
    SCOPED_TRACE("line " + std::to_string(c.line));
    Options options = converting(c.recfm, c.file);
    options.lrecl = 3;
    EXPECT_EQ(c.written, writeRecords({"a", "b\n"}, options));
    if (c.file.form == TestEncoding::UTF16LE) options.lrecl = 2;
    EXPECT_EQ(c.records, readBytes(c.read, options));
  }
}

TEST(ConverterRecordFormatDeathTest, TerminatedFormNeedsALineFeed) {
  EXPECT_EXIT({ MemoryRecordFile file("", converting(V, kNoLineEnds)); }, ::testing::ExitedWithCode(99),
              "UTF-16 not supported by this class");
}

// An empty record is read without a conversion (that N and P never convert is in the open test).
TEST(ConverterRecordFormat, EmptyRecordsAreReadWithoutAConversion) {
  TestConverterFactory const counting;
  EXPECT_EQ((Records{"", "", "a"}),
            readBytes("\x15\x15\x81", converting(V, kEbcdic, 8192, kLatin1, &counting)));
  EXPECT_EQ(1, counting.conversions.load());
}

// A converted record longer than the scratch buffer (lrecl times the widest file character) is an
// overflow; a fault in the bytes goes to the handler. The default handler throws and nothing of the
// record is written; a handler that returns gets the record cut or with the fault left out.
TEST(ConverterRecordFormat, OverlongAndBadRecordsGoToTheHandlerWhenWritten) {
  // bytes: what is written under a handler that returns
  // clang-format off
  struct Case { int line; BaseRecordFile::Recfm recfm; TestEncoding const &client, &file; int lrecl; std::string record; char const* error; std::string bytes; };
  Case const cases[] = {
      // UTF-8: 4 bytes a character, so lrecl 2 gives 8 bytes of scratch; V then cuts at lrecl file bytes.
      {__LINE__, V, kLatin1, kUtf8, 2, "\xE9\xE9\xE9\xE9", "none", "\xC3\xA9\n"},
      {__LINE__, V, kLatin1, kUtf8, 2, "\xE9\xE9\xE9\xE9\xE9", "CharConverter::Overflow", "\xC3\xA9\n"},
      {__LINE__, F, kLatin1, kEbcdic, 3, "abcd", "CharConverter::Overflow", "\x81\x82\x83"},
      {__LINE__, BaseRecordFile::RECFM_S370VB, kLatin1, kEbcdic, 3, "abcd", "CharConverter::Overflow",
       "\x00\x0B\x00\x00\x00\x07\x00\x00\x81\x82\x83"s},
      {__LINE__, V, kUtf16LE, kLatin1, 10, "A\0\x00\x01" "B\0"s, "CharConverter::Unmappable", "A\n"},
      {__LINE__, V, kUtf8, kLatin1, 10, "a\xFF" "b", "CharConverter::Invalid", "a\n"},
  };
  // clang-format on
  for (Case const& c : cases) {
    SCOPED_TRACE("line " + std::to_string(c.line));
    Options options = converting(c.recfm, c.file, 8192, c.client);
    options.lrecl = c.lrecl;
    options.mode = RecordFile::WRITE;
    MemoryRecordFile file("", options);
    EXPECT_EQ(c.error, conversionError([&] {
                file.write(c.record.data(), static_cast<int>(c.record.size()), CC_SINGLE);
              }));
    file.flush();
    bool const clean = std::string(c.error) == "none";
    EXPECT_EQ(clean ? c.bytes : "", file.bytes);
    CountingErrorHandler handler;
    TestConverterFactory const lenient(&handler);
    options.conversion.factory = &lenient;
    EXPECT_EQ(c.bytes, writeRecords({c.record}, options));
    EXPECT_EQ(clean ? 0 : 1, handler.overflows + handler.invalids + handler.unmappables);
  }
}

TEST(ConverterRecordFormat, ReadingFaultsConsumeTheRecord) {
  // bytes: a bad first record, then "x"; lenientFirst: that record under a handler that returns
  // clang-format off
  struct Case { TestEncoding const& file; std::string bytes; int maxLength; char const* error; std::string lenientFirst; };
  Case const cases[] = {
      {kUtf8, "\xC3\xA9\xC3\xA9\nx\n", 1, "CharConverter::Overflow", "\xE9"},
      {kUtf8, "a\xFF" "b\nx\n", 8, "CharConverter::Invalid", "a"},
      {kUtf16LE, "A\0\x00\x01\n\0x\0\n\0"s, 8, "CharConverter::Unmappable", "A"},
      // Bad bytes after or instead of the mark reach the converter.
      {kUtf8, "\xEF\xBB" "a\nx\n", 8, "CharConverter::Invalid", ""},  // partial mark, then malformed UTF-8
      {kUtf32LE, "\xFF\xFE" "A\0\n\0\0\0x\0\0\0"s, 8, "CharConverter::Invalid", ""},  // UTF-16LE mark as a unit
      {kUtf16BE, "\xFE\xFF\xDC\x00\0\n\0x"s, 8, "CharConverter::Invalid", ""},  // a lone low surrogate
  };
  // clang-format on
  for (Case const& c : cases) {
    SCOPED_TRACE("row " + std::to_string(&c - cases));
    Options options = converting(V, c.file);
    MemoryRecordFile file(c.bytes, options);
    EXPECT_EQ(c.error, conversionError([&] { nextRecord(file, c.maxLength); }));
    EXPECT_EQ("x", nextRecord(file, c.maxLength));
    CountingErrorHandler handler;
    TestConverterFactory const lenient(&handler);
    options.conversion.factory = &lenient;
    EXPECT_EQ((Records{c.lenientFirst, "x"}), readBytes(c.bytes, options, c.maxLength));
  }
}

TEST(BomDetector, MarkIsWrittenOnceWhereTheFirstRecordGoes) {
  // clang-format off
  struct Case { RecordFile::OpenMode mode; std::string before; bool readFirst; std::string after; };
  Case const cases[] = {
      {RecordFile::WRITE, "old\n", false, BOM8 + "y\nz\n"},
      {RecordFile::APPEND, "x\n", false, "x\n" + BOM8 + "y\nz\n"},
      // In UPDATE mode a read that looked for the mark cancels writing one over the data.
      {RecordFile::UPDATE, BOM8 + "ab\ncd\n", true, BOM8 + "y\nz\nd\n"},
      {RecordFile::UPDATE, "ab\ncd\n", true, "y\nz\nd\n"},
  };
  // clang-format on
  for (Case const& c : cases) {
    SCOPED_TRACE(c.after);
    Options options = converting(V, kUtf8);
    options.mode = c.mode;
    options.writeBom = true;
    MemoryRecordFile file(c.before, options);
    if (c.readFirst) {
      ASSERT_EQ("ab", nextRecord(file));
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
