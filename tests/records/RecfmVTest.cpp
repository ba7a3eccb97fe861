// Terminated records: every termstr and code unit, block boundaries, cutting, Ctrl-Z, writing, flags.
#include "vyk/util/RecfmV.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/records/RecordTestHelpers.h"

namespace vyk {
namespace testing {
namespace {

using namespace std::string_literals;

enum { NUL = 0, CR = 1, LF = 2, CRLF = 3, ANY = 4, NONE = 5 };
MakeFormat const B1 = nullptr;
MakeFormat const L16 = makeV<unsigned short, recfm::ByteOrderLE>;
MakeFormat const B16 = makeV<unsigned short, recfm::ByteOrderBE>;
MakeFormat const L32 = makeV<unsigned int, recfm::ByteOrderLE>;
MakeFormat const B32 = makeV<unsigned int, recfm::ByteOrderBE>;

Options vOptions(RecordFile::OpenMode mode, int termstr, int bufferSize) {
  return optionsFor(mode, BaseRecordFile::RECFM_V, termstr, bufferSize);
}

TEST(RecfmV, BytesReadIntoRecordsAtEveryBlockSize) {
  struct Case {
    int line;
    MakeFormat make;
    int termstr;
    bool ctrlZ;
    int maxLength;
    std::string bytes;
    Records records;
  };
  // clang-format off
  Case const cases[] = {
      {__LINE__, B1, ANY, false, 99, "a\r\nb\n", {"a", "b"}},
      {__LINE__, B1, ANY, false, 99, "a\rb\n", {"a\rb"}},
      {__LINE__, B1, ANY, false, 99, "a\r", {"a\r"}},
      {__LINE__, B1, ANY, false, 99, "a\n\nb", {"a", "", "b"}},
      {__LINE__, B1, ANY, false, 99, "a\r\r\n", {"a\r"}},
      {__LINE__, B1, ANY, false, 99, "\r\r\n\n", {"\r", ""}},
      {__LINE__, B1, ANY, false, 99, "a\0\xff\n\x1a"s, {"a\0\xff"s, "\x1a"}},
      {__LINE__, B1, LF, false, 99, "a\r\nb\n", {"a\r", "b"}},
      {__LINE__, B1, CR, false, 99, "a\nb\r", {"a\nb"}},
      {__LINE__, B1, CR, false, 99, "a\r\nb", {"a", "\nb"}},
      {__LINE__, B1, CRLF, false, 99, "a\nb\r\nc", {"a\nb", "c"}},
      {__LINE__, B1, CRLF, false, 99, "a\r\r\n", {"a\r"}},
      {__LINE__, B1, NUL, false, 99, "a\r\nb\0\0"s, {"a\r\nb", ""}},
      {__LINE__, B1, NONE, false, 99, "a\nb\r\n\0"s, {"a\nb\r\n\0"s}},
      // Ctrl-Z ends the file, wherever it stands.
      {__LINE__, B1, ANY, true, 99, "a\n\032b\n", {"a"}},
      {__LINE__, B1, ANY, true, 99, "a\r\032", {"a\r"}},
      {__LINE__, B1, ANY, true, 99, "a\rb\r\rc\n\rd\032e\n", {"a\rb\r\rc", "\rd"}},
      {__LINE__, B1, CRLF, true, 99, "\r\ra\n\r\nb\rc\032", {"\r\ra\n", "b\rc"}},
      // An overlong record is cut, and the next read starts at the next record, also when the
      // terminator comes right after a full caller buffer.
      {__LINE__, B1, ANY, false, 3, "abcde\nxy\n", {"abc", "xy"}},
      {__LINE__, B1, CRLF, false, 3, "abc\r\nde\r\n", {"abc", "de"}},
      {__LINE__, B1, ANY, false, 2, "ab\r\ncd\n", {"ab", "cd"}},
      {__LINE__, B1, ANY, false, 3, "abc\rx\nz", {"abc", "z"}},
      {__LINE__, B1, ANY, false, 0, "ab\n\ncd", {"", "", ""}},
      // Wider units compare whole units in the file's byte order; a partial unit at the end is dropped.
      {__LINE__, L16, ANY, false, 99, "a\0\r\0\n\0b\0"s, {"a\0"s, "b\0"s}},
      {__LINE__, L16, ANY, false, 99, "a\0\n\rb\0"s, {"a\0\n\rb\0"s}},
      {__LINE__, L16, ANY, false, 99, "a\0\n\0x"s, {"a\0"s}},
      {__LINE__, L16, NUL, false, 99, "\0a\0\0"s, {"\0a"s}},
      {__LINE__, L16, ANY, true, 99, "a\0\x1a\0b\0"s, {"a\0"s}},
      {__LINE__, L16, ANY, true, 99, "\x1a\x01\n\0"s, {"\x1a\x01"s}},
      {__LINE__, L16, CR, false, 99, "\0\r\r\0"s, {"\0\r"s}},
      {__LINE__, B16, CRLF, false, 99, "\0a\0\n\0\r\0\n"s, {"\0a\0\n"s}},
      {__LINE__, B16, LF, false, 99, "\n\0\0\n"s, {"\n\0"s}},
      {__LINE__, L32, ANY, false, 99, "a\0\0\0\n\0\0\1"s, {"a\0\0\0\n\0\0\1"s}},
      {__LINE__, L32, ANY, false, 99, "a\0\0\0\xff\xff\xff\xff" "b\0\0\0"s, {"a\0\0\0"s, "b\0\0\0"s}},
      {__LINE__, L32, ANY, false, 99, "\xff\xff\xff\xff" "b\0\0\0\n\0\0\0"s, {"b\0\0\0"s}},
      {__LINE__, L32, ANY, true, 99, "\x1a\0\0\0"s, {}},
      {__LINE__, B32, ANY, false, 99, "\0\0\0a\0\0\0\r\0\0\0\n\0\0\0b"s, {"\0\0\0a"s, "\0\0\0b"s}},
      {__LINE__, B32, ANY, false, 99, "\0\0\0a\0\0\0\r"s, {"\0\0\0a\0\0\0\r"s}},
      {__LINE__, B32, NUL, false, 99, "\0\0\0a\0\0\0\0\0\0\0\0"s, {"\0\0\0a"s, ""}},
      {__LINE__, L16, ANY, false, 3, "a\0b\0\n\0c\0"s, {"a\0"s, "c\0"s}},  // 3 bytes hold one unit
      {__LINE__, B32, ANY, false, 7, "\0\0\0a\0\0\0b\0\0\0\n"s, {"\0\0\0a"s}},
  };
  // clang-format on
  for (Case const& c : cases) {
    for (int size : blockSizes()) {
      SCOPED_TRACE("line " + std::to_string(c.line) + ", bufferSize " + std::to_string(size));
      Options options = vOptions(RecordFile::READ, c.termstr, size);
      options.stopAtCtrlZ = c.ctrlZ;
      for (int maxFill : {0, 1})
        EXPECT_EQ(c.records, readBytes(c.bytes, options, c.maxLength, c.make, maxFill));
    }
  }
}

TEST(RecfmV, CtrlZLeavesTheRestOfTheFileUnread) {
  Options options = vOptions(RecordFile::READ, ANY, 1);
  options.stopAtCtrlZ = true;
  MemoryRecordFile file("ab\032cdef", options);
  EXPECT_EQ("ab", nextRecord(file));
  EXPECT_EQ("<end>", nextRecord(file));
  EXPECT_EQ(3, file.position);  // the device gave 3 bytes, one per block
}

TEST(RecfmV, RecordsWrittenIntoExactBytes) {
  struct Case {
    int line;
    MakeFormat make;
    int termstr;
    CarriageControlType control;
    int lrecl;  // padded to it when below 0
    Records records;
    std::string bytes;
  };
  // clang-format off
  Case const cases[] = {
      {__LINE__, B1, NUL, CC_SINGLE, 80, {"a", "", "bc"}, "a\0\0bc\0"s},
      {__LINE__, B1, CR, CC_SINGLE, 80, {"a", "", "bc"}, "a\r\rbc\r"},
      {__LINE__, B1, LF, CC_SINGLE, 80, {"a", "", "bc"}, "a\n\nbc\n"},
      {__LINE__, B1, CRLF, CC_SINGLE, 80, {"a", "", "bc"}, "a\r\n\r\nbc\r\n"},
      {__LINE__, B1, NONE, CC_SINGLE, 80, {"a", "", "bc"}, "abc"},
      {__LINE__, B1, ANY, CC_NEW_PAGE, 80, {"x"}, "\fx\n"},
      {__LINE__, B1, ANY, CC_DOUBLE, 80, {"x"}, "\nx\n"},
      {__LINE__, B1, ANY, CC_OVERPRINT, 80, {"x"}, "x\n"},
      {__LINE__, B1, CRLF, CC_TRIPLE, 80, {"x"}, "\r\n\r\nx\r\n"},
      {__LINE__, B1, ANY, CC_SINGLE, 3, {"abcde"}, "abc\n"},
      {__LINE__, B1, ANY, CC_SINGLE, -4, {"ab", "abcdef", ""}, "ab  \nabcd\n    \n"},
      {__LINE__, L16, ANY, CC_SINGLE, 80, {"a\0"s}, "a\0\n\0"s},
      {__LINE__, B16, CRLF, CC_NEW_PAGE, 80, {"\0a"s}, "\0\f\0a\0\r\0\n"s},
      {__LINE__, L16, NUL, CC_DOUBLE, 80, {"a\0"s}, "\0\0a\0\0\0"s},
      {__LINE__, B32, CR, CC_SINGLE, 80, {""}, "\0\0\0\r"s},
      // Padding and cutting keep whole units: a remainder smaller than a unit stays out.
      {__LINE__, L16, ANY, CC_SINGLE, -6, {"a\0"s}, "a\0 \0 \0\n\0"s},
      {__LINE__, L16, ANY, CC_SINGLE, -5, {"a\0"s}, "a\0 \0\n\0"s},
      {__LINE__, B32, ANY, CC_SINGLE, -8, {"\0\0\0a"s}, "\0\0\0a\0\0\0 \0\0\0\n"s},
      {__LINE__, L16, ANY, CC_SINGLE, 3, {"a\0b\0"s}, "a\0\n\0"s},
      {__LINE__, L16, ANY, CC_SINGLE, 80, {"a\0b"s}, "a\0\n\0"s},
  };
  // clang-format on
  for (Case const& c : cases) {
    for (int size : blockSizes()) {
      SCOPED_TRACE("line " + std::to_string(c.line) + ", bufferSize " + std::to_string(size));
      Options options = vOptions(RecordFile::WRITE, c.termstr, size);
      options.lrecl = c.lrecl < 0 ? -c.lrecl : c.lrecl;
      options.padToLrecl = c.lrecl < 0;
      EXPECT_EQ(c.bytes, writeRecords(c.records, options, c.control, c.make));
    }
  }
}

// A CRLF text file converted to LF line ends and back, byte for byte; the oracle drops each CR of a
// CR LF pair.
TEST(RecfmV, CrlfSampleToLfAndBackIsByteForByte) {
  std::ifstream in(std::string(VYK_SOURCE_DIR) + "/tests/records/data/sample-crlf.txt", std::ios::binary);
  std::string const crlf{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  std::string lf = crlf;
  for (size_t at = lf.find("\r\n"); at != std::string::npos; at = lf.find("\r\n", at)) lf.erase(at, 1);
  ASSERT_NE(crlf, lf);
  auto convert = [](std::string const& bytes, int from, int to, int size) {
    return writeRecords(readBytes(bytes, vOptions(RecordFile::READ, from, size)),
                        vOptions(RecordFile::WRITE, to, size));
  };
  for (int size : blockSizes()) {
    SCOPED_TRACE(size);
    EXPECT_EQ(lf, convert(crlf, CRLF, LF, size));
    EXPECT_EQ(lf, convert(crlf, ANY, LF, size));
    EXPECT_EQ(crlf, convert(lf, LF, CRLF, size));
    EXPECT_EQ(crlf, convert(lf, ANY, CRLF, size));
  }
}

TEST(RecordFormat, FlagsSpaceEstimateAndRecordLengthChanges) {
  struct Case {
    BaseRecordFile::Recfm recfm;
    char const* name;
    bool fixed, stream, print;
    int noteLength;
    bool changesLength;
    unsigned long space;  // for 10 bytes and CC_TRIPLE: fixed width takes 3 lines of the default lrecl
  };
  Case const cases[] = {
      {BaseRecordFile::RECFM_V, "V", false, false, false, 8, true, 11},
      {BaseRecordFile::RECFM_P, "V", false, false, true, 8, true, 11},
      {BaseRecordFile::RECFM_F, "F", true, false, false, 8, false, 98301},
      {BaseRecordFile::RECFM_N, "N", false, true, false, 8, false, 11},
      {BaseRecordFile::RECFM_S, "S", false, true, false, 8, false, 11},
      {BaseRecordFile::RECFM_S370VB, "S370VB", false, false, false, 0, false, 11},
      {BaseRecordFile::RECFM_S370VSSTREAM, "S370VS", false, false, false, 0, false, 11},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.recfm);
    MemoryRecordFile file("", optionsFor(RecordFile::WRITE, c.recfm, ANY, 8192, 10));
    EXPECT_STREQ(c.name, file.format()->name());
    EXPECT_EQ(c.fixed, file.isFixedWidth());
    EXPECT_EQ(c.stream, file.hasStreamSemantics());
    EXPECT_EQ(c.print, file.isPrintRecordFormat());
    EXPECT_EQ(c.noteLength, file.note_length());
    EXPECT_EQ(c.space, file.estimateSpaceUsed(10, CC_TRIPLE));
    EXPECT_EQ(c.changesLength, file.attemptToChangeRecordLength(-3));
    EXPECT_EQ(c.changesLength ? -3 : 10, file.getRecordLength());
  }
}

// Records ending near the 16-byte steps in which long lines are searched and copied.
TEST(RecfmV, LongRecordsEndWhereverTheTerminatorFalls) {
  std::string const a15(15, 'a'), a16(16, 'a'), a20(20, 'a'), b20(20, 'b'), x31(31, 'x'), y40(40, 'y');
  struct Case {
    int line;
    int termstr;
    bool stopAtCtrlZ;
    int maxLength;
    std::string bytes;
    Records records;
  };
  Case const cases[] = {
      {__LINE__, ANY, false, 99, a15 + "\r\n" + b20 + "\n", {a15, b20}},
      {__LINE__, ANY, false, 99, a16 + "\rbbbbb\n", {a16 + "\rbbbbb"}},
      {__LINE__, ANY, false, 99, a16 + "\r\n", {a16}},
      {__LINE__, LF, false, 99, x31 + "\r\n", {x31 + "\r"}},
      {__LINE__, CRLF, false, 99, a20 + "\n" + b20 + "\r\nc", {a20 + "\n" + b20, "c"}},
      {__LINE__, CRLF, false, 99, "\n" + a20 + "\r\n", {"\n" + a20}},
      {__LINE__, ANY, false, 17, y40 + "\nz\n", {y40.substr(0, 17), "z"}},
      {__LINE__, ANY, false, 16, a16 + "\r\n" + y40 + "\r\n", {a16, y40.substr(0, 16)}},
      {__LINE__, ANY, false, 33, y40 + "\r\r\n", {y40.substr(0, 33)}},
      {__LINE__, ANY, true, 99, a20 + "\032" + b20 + "\n", {a20}},
      {__LINE__, ANY, true, 99, "\032" + x31 + "\n", {}},
      {__LINE__, CRLF, true, 99, a20 + "\n" + b20 + "\r\032\n", {a20 + "\n" + b20 + "\r"}},
  };
  for (Case const& c : cases) {
    for (int size : {1, 16, 17, 33, 8192}) {
      SCOPED_TRACE("line " + std::to_string(c.line) + ", bufferSize " + std::to_string(size));
      Options options = optionsFor(RecordFile::READ, BaseRecordFile::RECFM_V, c.termstr, size);
      options.stopAtCtrlZ = c.stopAtCtrlZ;
      EXPECT_EQ(c.records, readBytes(c.bytes, options, c.maxLength));
    }
  }
}

// The records of bytes, with the offset where each starts, read by the rules one byte at a time
// over the whole input: a test oracle that knows nothing of blocks.
std::vector<std::pair<long long, std::string>> referenceRecords(std::string bytes, int termstr,
                                                                bool stopAtCtrlZ, int maxLength) {
  if (stopAtCtrlZ) bytes = bytes.substr(0, bytes.find('\032'));
  std::vector<std::pair<long long, std::string>> records;
  std::string record;
  long long start = 0;
  bool open = false;
  for (size_t i = 0; i < bytes.size(); ++i) {
    char const c = bytes[i];
    bool const crlf = c == '\r' && i + 1 < bytes.size() && bytes[i + 1] == '\n';
    bool const ends = (termstr == NUL && c == '\0') || (termstr == CR && c == '\r') ||
                      ((termstr == LF || termstr == ANY) && c == '\n') ||
                      ((termstr == CRLF || termstr == ANY) && crlf);
    if (!ends) {
      if (!open) start = static_cast<long long>(i);
      open = true;
      record += c;
      continue;
    }
    if (!open) start = static_cast<long long>(i);
    records.emplace_back(start, record.substr(0, static_cast<size_t>(maxLength)));
    record.clear();
    open = false;
    if (crlf && termstr != CR) ++i;
  }
  if (open) records.emplace_back(start, record.substr(0, static_cast<size_t>(maxLength)));
  return records;
}

TEST(RecfmV, RandomFilesReadAsTheRulesSayAtAnyBlockAndBufferSize) {
  std::mt19937 random(4);
  char const* const separators[] = {"\n", "\r\n", "\r", "\r\r\n", "\n\r"};
  int const blockSizes[] = {1, 7, 16, 17, 31, 32, 33, 64, 100, 8192};
  int const maxLengths[] = {0, 1, 15, 16, 17, 31, 32, 33, 100, 1 << 16};
  for (int n = 0; n < 1000; ++n) {
    std::string bytes;
    for (int pieces = static_cast<int>(random() % 8); pieces > 0; --pieces) {
      for (int k = static_cast<int>(random() % 45); k > 0; --k)
        bytes += static_cast<char>('a' + random() % 26);
      bytes += random() % 6 == 5 ? std::string(1, '\0') : std::string(separators[random() % 5]);
    }
    bytes.append(random() % 20, 'z');
    if (n % 3 == 0 && !bytes.empty()) bytes[random() % bytes.size()] = '\032';
    int const blockSize = blockSizes[n % 10];
    int const maxLength = maxLengths[n / 10 % 10];
    for (int termstr = NUL; termstr <= ANY; ++termstr) {
      for (bool stopAtCtrlZ : {false, true}) {
        SCOPED_TRACE("case " + std::to_string(n) + ", termstr " + std::to_string(termstr) + ", Ctrl-Z " +
                     std::to_string(stopAtCtrlZ));
        Options options = optionsFor(RecordFile::READ, BaseRecordFile::RECFM_V, termstr, blockSize);
        options.stopAtCtrlZ = stopAtCtrlZ;
        MemoryRecordFile file(bytes, options, n % 4 == 3 ? 13 : 0);
        // Exactly maxLength bytes, so that the sanitizer sees a write beyond them.
        std::vector<char> buffer(static_cast<size_t>(maxLength));
        std::vector<std::pair<long long, std::string>> got;
        int eof = 0;
        for (int r; (r = file.read(buffer.data(), maxLength, &eof)) >= 0;) {
          long long note = -1;
          ASSERT_TRUE(file.tell(&note));
          got.emplace_back(note, std::string(buffer.data(), static_cast<size_t>(r)));
          ASSERT_LE(got.size(), bytes.size() + 1);
        }
        EXPECT_EQ(referenceRecords(bytes, termstr, stopAtCtrlZ, maxLength), got)
            << ::testing::PrintToString(bytes);
      }
    }
  }
}

}  // namespace
}  // namespace testing
}  // namespace vyk
