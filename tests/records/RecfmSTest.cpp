// Stream-format records through standard streams and a memory device: blocks, ends of input,
// seeking, write modes; the open options and the record file contract.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "tests/records/RecordTestHelpers.h"
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
  struct Case {
    int bufferSize;
    std::vector<int> lengths;
  };
  Case const cases[] = {
      {1, {0, 1, 2, 3}}, {2, {1, 2, 3, 0, 5}}, {7, {7, 14, 6, 8}}, {8192, {8192, 8191, 1}}, {8192, {20000}},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.bufferSize);
    std::string expected;
    std::stringstream bytes;
    {
      OutputStreamRecordFile out(bytes, streamOptions(RecordFile::WRITE, c.bufferSize));
      for (int length : c.lengths) {
        std::string const record = pattern(length);
        out.write(record.data(), length, CC_SINGLE);
        expected += record;
      }
      size_t const sent = bytes.str().size();
      EXPECT_EQ(0u, sent % c.bufferSize);
      EXPECT_LE(expected.size() - sent, static_cast<size_t>(c.bufferSize));
    }
    EXPECT_EQ(expected, bytes.str());
    InputStreamRecordFile in(bytes, streamOptions(RecordFile::READ, c.bufferSize), "bytes");
    std::string got;
    for (std::string const& chunk : readAll(in, 5)) {
      ASSERT_LE(chunk.size(), 5u);
      got += chunk;
    }
    EXPECT_EQ(expected, got);
  }
}

TEST(RecfmS, AutoFlushHandsEachRecordOverAtOnce) {
  std::ostringstream sink;
  Options options = streamOptions(RecordFile::APPEND);
  options.autoFlush = true;
  OutputStreamRecordFile out(sink, options);
  out.write("abc", 3, CC_SINGLE);
  EXPECT_EQ("abc", sink.str());
  out.write("de", 2, CC_NEW_PAGE);
  EXPECT_EQ("abcde", sink.str());
}

TEST(RecfmS, EndOfInputGivesAnEmptyRecordOnlyAfterAFullOne) {
  struct Case {
    std::string input;
    Records records;  // read 4 bytes at a time, in blocks of 3
  };
  Case const cases[] = {
      {"", {"", "<end>"}},
      {"abcd", {"abcd", "", "<end>"}},
      {"abcde", {"abcd", "e", "<end>"}},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.input);
    std::istringstream source(c.input);
    InputStreamRecordFile in(source, streamOptions(RecordFile::READ, 3),
                             InputStreamRecordFile::DEFAULT_FILENAME);
    for (std::string const& record : c.records) EXPECT_EQ(record, nextRecord(in, 4));
  }
}

// A note inside the bytes the block holds moves no device position; one past them (even inside the
// block's capacity) goes to the device rather than to bytes never read.
TEST(RecfmS, SeekStaysInTheBlockOnlyForBytesItHolds) {
  struct Case {
    int bufferSize, maxFill;
    long long note;
    std::vector<long long> seeks;
    std::string next;
  };
  Case const cases[] = {
      {16, 0, 2, {}, "23456789"},
      {64, 4, 6, {6}, "6789"},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.note);
    MemoryRecordFile file("0123456789", streamOptions(RecordFile::READ, c.bufferSize), c.maxFill);
    ASSERT_EQ("01", nextRecord(file, 2));
    ASSERT_EQ("23", nextRecord(file, 2));
    long long note = c.note;
    ASSERT_TRUE(file.seek(&note));
    EXPECT_EQ(c.seeks, file.seeks);
    EXPECT_EQ(c.next, nextRecord(file, 8));
  }
}

TEST(RecfmS, WriteModesNeverReadTheDevice) {
  struct Case {
    RecordFile::OpenMode mode;
    std::vector<int> flushes;
    std::string after;
  };
  Case const cases[] = {{RecordFile::WRITE, {2, 2, 1}, "abcde"}, {RecordFile::APPEND, {2, 2, 1}, "oldabcde"}};
  for (Case const& c : cases) {
    MemoryRecordFile file("old", streamOptions(c.mode, 2));
    file.write("abcde", 5, CC_SINGLE);
    file.flush();
    EXPECT_EQ(c.after, file.bytes);
    EXPECT_TRUE(file.fills.empty());
    EXPECT_EQ(c.flushes, file.flushes);
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
  CarriageControlType const controls[] = {CC_SINGLE, CC_NEW_PAGE, CC_OVERPRINT, CC_DOUBLE, CC_TRIPLE};
  int const blankLines[] = {0, 0, 0, 1, 2};
  for (int i = 0; i < 5; ++i) EXPECT_EQ(blankLines[i], blankLinesForControlChar(controls[i])) << i;
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
