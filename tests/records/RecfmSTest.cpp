// Stream-format records through standard streams and a memory device: blocks, ends of input,
// seeking, write modes; the open options and the record file contract.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/support/MemoryRecordFile.h"
#include "vyk/util/RecordFormat.h"
#include "vyk/util/StreamRecordFile.h"
#include "vyk/util/StreamedRecordFormat.h"

namespace vyk {
namespace testing {
namespace {

Options streamOptions(RecordFile::OpenMode mode, int bufferSize = 8192) {
  return optionsFor(mode, BaseRecordFile::RECFM_S, 4, bufferSize);
}

// Whole blocks reach the stream, at most one block stays behind until the close; reading gives the bytes back
// in pieces of at most 5.
TEST(RecfmS, RoundTripsThroughStringStreamsAtBlockBoundaries) {
  std::pair<int, std::vector<int>> const cases[] = {
      // bufferSize, record lengths
      {1, {0, 1, 2, 3}}, {2, {1, 2, 3, 0, 5}}, {7, {7, 14, 6, 8}}, {8192, {8192, 8191, 1}}, {8192, {20000}},
  };
  for (auto const& [bufferSize, lengths] : cases) {
    SCOPED_TRACE(bufferSize);
    std::string expected;
    std::stringstream bytes;
    {
      OutputStreamRecordFile out(bytes, streamOptions(RecordFile::WRITE, bufferSize));
      for (int length : lengths) {
        std::string const record = pattern(length);
        out.write(record.data(), length, CC_SINGLE);
        expected += record;
      }
      size_t const sent = bytes.str().size();
      EXPECT_EQ(0u, sent % bufferSize);
      EXPECT_LE(expected.size() - sent, static_cast<size_t>(bufferSize));
    }
    EXPECT_EQ(expected, bytes.str());
    InputStreamRecordFile in(bytes, streamOptions(RecordFile::READ, bufferSize), "bytes");
    std::string got;
    for (std::string const& chunk : readAll(in, 5)) {
      ASSERT_LE(chunk.size(), 5u);
      got += chunk;
    }
    EXPECT_EQ(expected, got);
  }
}

TEST(RecfmS, EndOfInputGivesAnEmptyRecordOnlyAfterAFullOne) {
  // input, and the records read 4 bytes at a time in blocks of 3
  std::pair<std::string, Records> const cases[] = {
      {"", {"", "<end>"}}, {"abcd", {"abcd", "", "<end>"}}, {"abcde", {"abcd", "e", "<end>"}}};
  for (auto const& [input, records] : cases) {
    SCOPED_TRACE(input);
    std::istringstream source(input);
    InputStreamRecordFile in(source, streamOptions(RecordFile::READ, 3),
                             InputStreamRecordFile::DEFAULT_FILENAME);
    for (std::string const& record : records) EXPECT_EQ(record, nextRecord(in, 4));
  }
}

// A note inside the bytes the block holds moves no device position; one past them (even inside the
// block's capacity) goes to the device rather than to bytes never read.
TEST(RecfmS, SeekStaysInTheBlockOnlyForBytesItHolds) {
  // bufferSize, maxFill, note, device seeks, next record
  std::tuple<int, int, long long, std::vector<long long>, std::string> const cases[] = {
      {16, 0, 2, {}, "23456789"}, {64, 4, 6, {6}, "6789"}};
  for (auto const& [bufferSize, maxFill, at, seeks, next] : cases) {
    SCOPED_TRACE(at);
    MemoryRecordFile file("0123456789", streamOptions(RecordFile::READ, bufferSize), maxFill);
    ASSERT_EQ("01", nextRecord(file, 2));
    ASSERT_EQ("23", nextRecord(file, 2));
    long long note = at;
    ASSERT_TRUE(file.seek(&note));
    EXPECT_EQ(seeks, file.seeks);
    EXPECT_EQ(next, nextRecord(file, 8));
  }
}

TEST(RecfmS, WriteModesNeverReadTheDevice) {
  std::pair<RecordFile::OpenMode, std::string> const cases[] = {{RecordFile::WRITE, "abcde"},
                                                                {RecordFile::APPEND, "oldabcde"}};
  for (auto const& [mode, after] : cases) {
    MemoryRecordFile file("old", streamOptions(mode, 2));
    file.write("abcde", 5, CC_SINGLE);
    file.flush();
    EXPECT_EQ(after, file.bytes);
    EXPECT_TRUE(file.fills.empty());
    EXPECT_EQ((std::vector<int>{2, 2, 1}), file.flushes);
  }
}

TEST(RecfmS, ClearEofLetsReadingGoOn) {
  MemoryRecordFile file("ab", streamOptions(RecordFile::READ));
  ASSERT_EQ("ab", nextRecord(file, 8));  // the short read found the end
  ASSERT_EQ("<end>", nextRecord(file, 8));
  file.bytes += "cd";
  file.clearEof();
  EXPECT_EQ("cd", nextRecord(file, 8));
}

TEST(OpenOptions, DefaultsAndTheProcessWideRecordLength) {
  Options before(RecordFile::READ);
  EXPECT_EQ(32767, before.lrecl);
  EXPECT_EQ(BaseRecordFile::RECFM_V, before.recfm);
  EXPECT_EQ(8192, before.bufferSize);
  EXPECT_EQ(4, before.termstr);
  EXPECT_FALSE(before.stopAtCtrlZ || before.autoFlush || before.writeBom || before.padToLrecl ||
               before.reserved);
  EXPECT_EQ(nullptr, before.bomEncoding);
  EXPECT_FALSE(before.conversion.isComplete());
  Options::setDefaultLrecl(80);
  Options after(RecordFile::WRITE);
  Options::setDefaultLrecl(32767);
  EXPECT_EQ(80, after.lrecl);
  EXPECT_EQ(32767, before.lrecl);
}

TEST(RecordFileContract, BlankLinesForEachControl) {
  EXPECT_EQ((std::vector<int>{0, 0, 0, 1, 2}),
            (std::vector<int>{blankLinesForControlChar(CC_SINGLE), blankLinesForControlChar(CC_NEW_PAGE),
                              blankLinesForControlChar(CC_OVERPRINT), blankLinesForControlChar(CC_DOUBLE),
                              blankLinesForControlChar(CC_TRIPLE)}));
}

TEST(RecordFileDeathTest, MisuseGoesToTheAssertionFailure) {
  std::ostringstream sink;
  OutputStreamRecordFile out(sink, streamOptions(RecordFile::WRITE));
  EXPECT_EXIT(out.write("abc", -1, CC_SINGLE), ::testing::ExitedWithCode(99), "Assertion failed: length>=0");
  EXPECT_EXIT(out.open(streamOptions(RecordFile::WRITE)), ::testing::ExitedWithCode(99),
              "Assertion failed: recfm_==0");
  // A read in a write mode finds the end at once: the device is not asked.
  EXPECT_EQ("", nextRecord(out, 4));
  EXPECT_EQ("<end>", nextRecord(out, 4));
  unsigned char buffer[4];
  EXPECT_EXIT(out.fill(buffer, 4), ::testing::ExitedWithCode(99), "Assertion failed: Unsupported");
  std::istringstream source("abc");
  InputStreamRecordFile in(source, streamOptions(RecordFile::READ), "in");
  int eof;
  EXPECT_EXIT(in.read(reinterpret_cast<char*>(buffer), -2, &eof), ::testing::ExitedWithCode(99),
              "Assertion failed: length>=0");
  EXPECT_EXIT(in.format()->stream().unget(), ::testing::ExitedWithCode(99), "Assertion failed: p_>buffer_");
  Options bad = streamOptions(RecordFile::READ);
  bad.recfm = static_cast<BaseRecordFile::Recfm>(11);
  EXPECT_EXIT(InputStreamRecordFile(source, bad, "x"), ::testing::ExitedWithCode(99),
              "Assertion failed: Unexpected value of recfm");
}

TEST(OutputStreamRecordFile, FailedStreamThrowsWriteFileException) {
  std::ostringstream sink;
  sink.setstate(std::ios::badbit);
  OutputStreamRecordFile out(sink, streamOptions(RecordFile::WRITE));
  out.write("abc", 3, CC_SINGLE);
  EXPECT_THROW(out.flush(), WriteFileException);
}

}  // namespace
}  // namespace testing
}  // namespace vyk
