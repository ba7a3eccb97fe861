// Stream-format records through standard streams and a memory device: blocks, ends of input, notes
// and update in place.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "support/MemoryRecordFile.h"
#include "vyk/util/Exception.h"
#include "vyk/util/RecordFormat.h"
#include "vyk/util/StreamRecordFile.h"
#include "vyk/util/StreamedRecordFormat.h"

namespace vyk {
namespace {

using testing::MemoryRecordFile;
using testing::readAll;

BaseRecordFile::OpenOptions streamOptions(RecordFile::OpenMode mode, int bufferSize = 8192) {
  BaseRecordFile::OpenOptions options(mode);
  options.recfm = BaseRecordFile::RECFM_S;
  options.bufferSize = bufferSize;
  return options;
}

std::string pattern(size_t length) {
  std::string text(length, '\0');
  for (size_t i = 0; i < length; ++i) text[i] = static_cast<char>('a' + i % 23);
  return text;
}

TEST(RecfmS, RoundTripsThroughStringStreamsAtBlockBoundaries) {
  struct Case {
    int bufferSize;
    std::vector<size_t> lengths;
  };
  Case const cases[] = {
      {1, {0, 1, 2, 3}},         {2, {1, 2, 3, 0, 5}},     {7, {7, 14, 6, 8}},
      {8192, {8192, 8191, 1}},   {8192, {20000}},          {16, {100, 0, 0, 33}},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.bufferSize);
    std::string expected;
    std::stringstream bytes;
    {
      OutputStreamRecordFile out(bytes, streamOptions(RecordFile::WRITE, c.bufferSize));
      for (size_t length : c.lengths) {
        std::string record = pattern(length);
        out.write(record.data(), static_cast<int>(record.size()), CC_SINGLE);
        expected += record;
      }
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

TEST(RecfmS, WritesReachTheStreamInWholeBlocksAndTheRestAtFlush) {
  std::ostringstream sink;
  std::string record = pattern(20000);
  {
    OutputStreamRecordFile out(sink, streamOptions(RecordFile::WRITE));
    out.write(record.data(), static_cast<int>(record.size()), CC_SINGLE);
    EXPECT_EQ(2u * 8192u, sink.str().size());
  }
  EXPECT_EQ(record, sink.str());
}

TEST(RecfmS, AutoFlushHandsEachRecordOverAtOnce) {
  std::ostringstream sink;
  BaseRecordFile::OpenOptions options = streamOptions(RecordFile::APPEND);
  options.autoFlush = true;
  OutputStreamRecordFile out(sink, options);
  out.write("abc", 3, CC_SINGLE);
  EXPECT_EQ("abc", sink.str());
  out.write("de", 2, CC_NEW_PAGE);
  EXPECT_EQ("abcde", sink.str());
}

TEST(RecfmS, EndOfInputGivesAnEmptyRecordBeforeMinusOne) {
  struct Case {
    std::string input;
    int maxLength;
    std::vector<int> results;  // each read's result; the last is -1
  };
  Case const cases[] = {
      {"", 10, {0, -1}},
      {"abcd", 4, {4, 0, -1}},
      {"abcde", 4, {4, 1, -1}},
      {"abcdefgh", 4, {4, 4, 0, -1}},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.input);
    std::istringstream source(c.input);
    InputStreamRecordFile in(source, streamOptions(RecordFile::READ, 3), InputStreamRecordFile::DEFAULT_FILENAME);
    char buffer[16];
    for (int expected : c.results) {
      int eof = -7;
      EXPECT_EQ(expected, in.read(buffer, c.maxLength, &eof));
      EXPECT_EQ(expected == -1 ? 1 : 0, eof);
    }
  }
}

TEST(RecfmS, InputFileEndingMidRecordReturnsTheShortTail) {
  std::istringstream source("0123456789");
  InputStreamRecordFile in(source, streamOptions(RecordFile::READ, 4), "x");
  std::vector<std::string> records = readAll(in, 6);
  ASSERT_EQ(2u, records.size());
  EXPECT_EQ("012345", records[0]);
  EXPECT_EQ("6789", records[1]);
}

TEST(RecfmS, StreamSemanticsAndOptionsOfTheFormat) {
  std::istringstream source("x");
  InputStreamRecordFile in(source, streamOptions(RecordFile::READ), "name");
  EXPECT_TRUE(in.hasStreamSemantics());
  EXPECT_FALSE(in.isFixedWidth());
  EXPECT_FALSE(in.isPrintRecordFormat());
  EXPECT_EQ(8, in.note_length());
  EXPECT_EQ("name", in.getFilename());
  EXPECT_STREQ("S", in.format()->name());
  EXPECT_EQ(11u, in.estimateSpaceUsed(10, CC_TRIPLE));
  EXPECT_FALSE(in.attemptToChangeRecordLength(80));
}

TEST(RecfmS, NotesSayWhereTheLastReadRecordBegan) {
  BaseRecordFile::OpenOptions options = streamOptions(RecordFile::UPDATE, 4);
  MemoryRecordFile file("abcdefghij", options);
  long long note = -5;
  EXPECT_FALSE(file.tell(&note));
  char buffer[8];
  int eof;
  ASSERT_EQ(3, file.read(buffer, 3, &eof));
  ASSERT_EQ(3, file.read(buffer, 3, &eof));
  ASSERT_TRUE(file.tell(&note));
  EXPECT_EQ(3, note);
  ASSERT_EQ(3, file.read(buffer, 3, &eof));
  EXPECT_EQ("ghi", std::string(buffer, 3));
  ASSERT_TRUE(file.seek(&note));
  ASSERT_EQ(3, file.read(buffer, 3, &eof));
  EXPECT_EQ("def", std::string(buffer, 3));
  file.write("XYZ", 3, CC_SINGLE);
  EXPECT_FALSE(file.tell(&note));
}

TEST(RecfmS, UpdateReplacesTheRecordReadAndKeepsTheRest) {
  struct Case {
    int bufferSize;
    bool flushBetween;
  };
  Case const cases[] = {{4, false}, {4, true}, {3, true}, {64, false}, {64, true}, {1, true}};
  for (Case const& c : cases) {
    SCOPED_TRACE(c.bufferSize * 10 + c.flushBetween);
    MemoryRecordFile file("aaaabbbbccccdddd", streamOptions(RecordFile::UPDATE, c.bufferSize));
    char buffer[8];
    int eof;
    ASSERT_EQ(4, file.read(buffer, 4, &eof));
    ASSERT_EQ(4, file.read(buffer, 4, &eof));
    file.write("BBBB", 4, CC_SINGLE);
    if (c.flushBetween) file.flush();
    ASSERT_EQ(4, file.read(buffer, 4, &eof));
    EXPECT_EQ("cccc", std::string(buffer, 4));
    file.flush();
    EXPECT_EQ("aaaaBBBBccccdddd", file.bytes);
    ASSERT_EQ(4, file.read(buffer, 4, &eof));
    EXPECT_EQ("dddd", std::string(buffer, 4));
  }
}

TEST(RecfmS, SeekInsideTheBlockMovesNoDevicePosition) {
  MemoryRecordFile file("0123456789", streamOptions(RecordFile::READ, 16));
  char buffer[8];
  int eof;
  ASSERT_EQ(2, file.read(buffer, 2, &eof));
  ASSERT_EQ(2, file.read(buffer, 2, &eof));
  long long note;
  ASSERT_TRUE(file.tell(&note));
  ASSERT_EQ(5, file.read(buffer, 5, &eof));
  ASSERT_TRUE(file.seek(&note));
  EXPECT_TRUE(file.seeks.empty());
  EXPECT_EQ(1u, file.fills.size());
  ASSERT_EQ(3, file.read(buffer, 3, &eof));
  EXPECT_EQ("234", std::string(buffer, 3));
}

TEST(RecfmS, SeekBeyondTheValidBytesGoesToTheDevice) {
  // A note past the bytes the block holds (but inside its capacity) must not move the cursor into
  // bytes that were never read.
  MemoryRecordFile file("0123456789", streamOptions(RecordFile::READ, 64), 4);
  char buffer[8];
  int eof;
  ASSERT_EQ(2, file.read(buffer, 2, &eof));  // the block holds 4 bytes
  long long note = 6;
  ASSERT_TRUE(file.seek(&note));
  EXPECT_EQ(std::vector<long long>{6}, file.seeks);
  ASSERT_EQ(4, file.read(buffer, 8, &eof));
  EXPECT_EQ("6789", std::string(buffer, 4));
}

TEST(RecfmS, WriteModesNeverReadTheDevice) {
  MemoryRecordFile file("old", streamOptions(RecordFile::WRITE, 2));
  file.write("abcde", 5, CC_SINGLE);
  file.flush();
  EXPECT_EQ("abcde", file.bytes);
  EXPECT_TRUE(file.fills.empty());
  EXPECT_EQ((std::vector<int>{2, 2, 1}), file.flushes);
}

TEST(RecfmS, AppendWritesAfterTheExistingBytes) {
  MemoryRecordFile file("old", streamOptions(RecordFile::APPEND));
  file.write("new", 3, CC_SINGLE);
  file.flush();
  EXPECT_EQ("oldnew", file.bytes);
}

TEST(RecfmS, ClearEofLetsReadingGoOn) {
  MemoryRecordFile file("ab", streamOptions(RecordFile::READ));
  char buffer[8];
  int eof;
  ASSERT_EQ(2, file.read(buffer, 8, &eof));  // the short read found the end
  ASSERT_EQ(-1, file.read(buffer, 8, &eof));
  file.bytes += "cd";
  file.clearEof();
  ASSERT_EQ(2, file.read(buffer, 8, &eof));
  EXPECT_EQ("cd", std::string(buffer, 2));
}

TEST(OpenOptions, DefaultsAndTheProcessWideRecordLength) {
  BaseRecordFile::OpenOptions before(RecordFile::READ);
  EXPECT_EQ(32767, before.lrecl);
  EXPECT_EQ(BaseRecordFile::RECFM_V, before.recfm);
  EXPECT_EQ(8192, before.bufferSize);
  EXPECT_EQ(4, before.termstr);
  EXPECT_FALSE(before.stopAtCtrlZ || before.autoFlush || before.writeBom || before.padToLrecl || before.reserved);
  EXPECT_EQ(nullptr, before.bomEncoding);
  EXPECT_FALSE(before.conversion.isComplete());

  BaseRecordFile::OpenOptions::setDefaultLrecl(80);
  BaseRecordFile::OpenOptions after(RecordFile::WRITE);
  BaseRecordFile::OpenOptions::setDefaultLrecl(32767);
  EXPECT_EQ(80, after.lrecl);
  EXPECT_EQ(32767, before.lrecl);
}

TEST(RecordFileContract, BlankLinesForEachControl) {
  EXPECT_EQ(0, blankLinesForControlChar(CC_SINGLE));
  EXPECT_EQ(0, blankLinesForControlChar(CC_NEW_PAGE));
  EXPECT_EQ(0, blankLinesForControlChar(CC_OVERPRINT));
  EXPECT_EQ(1, blankLinesForControlChar(CC_DOUBLE));
  EXPECT_EQ(2, blankLinesForControlChar(CC_TRIPLE));
}

class FixedWidthFile : public MemoryRecordFile {
 public:
  FixedWidthFile() : MemoryRecordFile("", streamOptions(RecordFile::WRITE)) {}
  bool isFixedWidth() const override { return true; }
};

TEST(RecordFileContract, SpaceEstimateOfFixedWidthFilesUsesTheDefaultLength) {
  FixedWidthFile file;
  EXPECT_EQ(98301u, file.estimateSpaceUsed(10, CC_TRIPLE));
  EXPECT_EQ(32767u, file.estimateSpaceUsed(10, CC_NEW_PAGE));
}

TEST(RecordFileDeathTest, MisuseGoesToTheAssertionFailure) {
  std::ostringstream sink;
  OutputStreamRecordFile out(sink, streamOptions(RecordFile::WRITE));
  EXPECT_EXIT(out.write("abc", -1, CC_SINGLE), ::testing::ExitedWithCode(99), "Assertion failed: length>=0");
  EXPECT_EXIT(out.open(streamOptions(RecordFile::WRITE)), ::testing::ExitedWithCode(99), "Assertion failed: recfm_==0");
  char buffer[4];
  int eof;
  // A read in a write mode finds the end at once: the device is not asked.
  EXPECT_EQ(0, out.read(buffer, 4, &eof));
  EXPECT_EQ(-1, out.read(buffer, 4, &eof));
  EXPECT_EXIT(out.fill(reinterpret_cast<unsigned char*>(buffer), 4), ::testing::ExitedWithCode(99),
              "Assertion failed: Unsupported");
  std::istringstream source("abc");
  InputStreamRecordFile in(source, streamOptions(RecordFile::READ), "in");
  EXPECT_EXIT(in.read(buffer, -2, &eof), ::testing::ExitedWithCode(99), "Assertion failed: length>=0");
  EXPECT_EXIT(in.format()->stream().unget(), ::testing::ExitedWithCode(99), "Assertion failed: p_>buffer_");
  BaseRecordFile::OpenOptions bad = streamOptions(RecordFile::READ);
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
}  // namespace vyk
