// Terminated records: every termstr and code unit, block boundaries, cutting, Ctrl-Z, writing, flags.
#include "vyk/util/RecfmV.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/support/MemoryRecordFile.h"

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

// Single bytes under every termstr, Ctrl-Z, cutting and lone CRs are read by the random test below
// against its oracle; the rows here are what it does not generate: high and NUL bytes under ANY, no
// terminator at all, and the wider units.
TEST(RecfmV, BytesReadIntoRecordsAtEveryBlockSize) {
  // clang-format off
  std::tuple<int, MakeFormat, int, bool, int, std::string, Records> const cases[] = {
      {__LINE__, B1, ANY, false, 99, "a\0\xff\n\x1a"s, {"a\0\xff"s, "\x1a"}},
      {__LINE__, B1, NONE, false, 99, "a\nb\r\n\0"s, {"a\nb\r\n\0"s}},
      // Wider units compare whole units in the file's byte order; a partial unit at the end is dropped.
      {__LINE__, L16, ANY, false, 99, "a\0\r\0\n\0b\0"s, {"a\0"s, "b\0"s}},
      {__LINE__, L16, ANY, false, 99, "a\0\n\rb\0"s, {"a\0\n\rb\0"s}},
      {__LINE__, L16, ANY, false, 99, "a\0\n\0x"s, {"a\0"s}},
      {__LINE__, L16, ANY, true, 99, "a\0\x1a\0b\0"s, {"a\0"s}},
      {__LINE__, L16, ANY, true, 99, "\x1a\x01\n\0"s, {"\x1a\x01"s}},
      {__LINE__, B16, CRLF, false, 99, "\0a\0\n\0\r\0\n"s, {"\0a\0\n"s}},
      {__LINE__, B16, LF, false, 99, "\n\0\0\n"s, {"\n\0"s}},
      {__LINE__, L32, ANY, false, 99, "a\0\0\0\xff\xff\xff\xff" "b\0\0\0"s, {"a\0\0\0"s, "b\0\0\0"s}},
      {__LINE__, L32, ANY, false, 99, "\xff\xff\xff\xff" "b\0\0\0\n\0\0\0"s, {"b\0\0\0"s}},
      {__LINE__, L32, ANY, true, 99, "\x1a\0\0\0"s, {}},
      {__LINE__, B32, ANY, false, 99, "\0\0\0a\0\0\0\r\0\0\0\n\0\0\0b"s, {"\0\0\0a"s, "\0\0\0b"s}},
      {__LINE__, B32, NUL, false, 99, "\0\0\0a\0\0\0\0\0\0\0\0"s, {"\0\0\0a"s, ""}},
      {__LINE__, L16, ANY, false, 3, "a\0b\0\n\0c\0"s, {"a\0"s, "c\0"s}},  // 3 bytes hold one unit
      {__LINE__, B32, ANY, false, 7, "\0\0\0a\0\0\0b\0\0\0\n"s, {"\0\0\0a"s}},
  };
  // clang-format on
  for (auto const& [line, make, termstr, ctrlZ, maxLength, bytes, records] : cases) {
    for (int size : blockSizes()) {
      SCOPED_TRACE("line " + std::to_string(line) + ", bufferSize " + std::to_string(size));
      Options options = vOptions(RecordFile::READ, termstr, size);
      options.stopAtCtrlZ = ctrlZ;
      for (int maxFill : {0, 1}) EXPECT_EQ(records, readBytes(bytes, options, maxLength, make, maxFill));
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
  // lrecl: records are padded to it when it is given below 0
  // clang-format off
  std::tuple<int, MakeFormat, int, CarriageControlType, int, Records, std::string> const cases[] = {
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
  for (auto const& [line, make, termstr, control, lrecl, records, bytes] : cases) {
    for (int size : blockSizes()) {
      SCOPED_TRACE("line " + std::to_string(line) + ", bufferSize " + std::to_string(size));
      Options options = vOptions(RecordFile::WRITE, termstr, size);
      options.lrecl = lrecl < 0 ? -lrecl : lrecl;
      options.padToLrecl = lrecl < 0;
      EXPECT_EQ(bytes, writeRecords(records, options, control, make));
    }
  }
}

// The space estimate for 10 bytes and CC_TRIPLE: fixed width takes 3 lines of the default lrecl.
TEST(RecordFormat, FlagsSpaceEstimateAndRecordLengthChanges) {
  // recfm, name, fixed width, stream semantics, print format, note length, changes length, space
  // clang-format off
  std::tuple<BaseRecordFile::Recfm, char const*, bool, bool, bool, int, bool, unsigned long> const cases[] = {
      {BaseRecordFile::RECFM_V, "V", false, false, false, 8, true, 11},
      {BaseRecordFile::RECFM_P, "V", false, false, true, 8, true, 11},
      {BaseRecordFile::RECFM_F, "F", true, false, false, 8, false, 98301},
      {BaseRecordFile::RECFM_N, "N", false, true, false, 8, false, 11},
      {BaseRecordFile::RECFM_S, "S", false, true, false, 8, false, 11},
      {BaseRecordFile::RECFM_S370VB, "S370VB", false, false, false, 0, false, 11},
      {BaseRecordFile::RECFM_S370VSSTREAM, "S370VS", false, false, false, 0, false, 11},
  };
  // clang-format on
  for (auto const& [recfm, name, fixed, stream, print, noteLength, changesLength, space] : cases) {
    SCOPED_TRACE(recfm);
    MemoryRecordFile file("", optionsFor(RecordFile::WRITE, recfm, ANY, 8192, 10));
    EXPECT_STREQ(name, file.format()->name());
    EXPECT_EQ((std::make_tuple(fixed, stream, print, noteLength, space)),
              std::make_tuple(file.isFixedWidth(), file.hasStreamSemantics(), file.isPrintRecordFormat(),
                              file.note_length(), file.estimateSpaceUsed(10, CC_TRIPLE)));
    EXPECT_EQ(changesLength, file.attemptToChangeRecordLength(-3));
    EXPECT_EQ(changesLength ? -3 : 10, file.getRecordLength());
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
