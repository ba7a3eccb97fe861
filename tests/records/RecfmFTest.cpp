// Fixed-length records and fixed-length pieces: reading, cutting, padding, update and notes.
#include "vyk/util/RecfmF.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/records/RecordTestHelpers.h"

namespace vyk {
namespace testing {
namespace {

using namespace std::string_literals;

Options fixedOptions(RecordFile::OpenMode mode, BaseRecordFile::Recfm recfm, int lrecl, int bufferSize) {
  Options options = optionsFor(mode, recfm, 4, bufferSize);
  options.lrecl = lrecl;
  return options;
}

TEST(RecfmF, ReadsPiecesOfLreclBytesAndSkipsWhatTheBufferCannotHold) {
  struct Case {
    int line;
    int lrecl;
    int maxLength;
    std::string bytes;
    Records records;
  };
  Case const cases[] = {
      {__LINE__, 4, 100, "abcdefghij", {"abcd", "efgh", "ij"}},
      {__LINE__, 4, 2, "abcdefghij", {"ab", "ef", "ij"}},
      {__LINE__, 4, 100, "abcdefgh", {"abcd", "efgh"}},
      {__LINE__, 4, 100, "", {}},
      {__LINE__, 1, 100, "a\n\0"s, {"a", "\n", "\0"s}},
      {__LINE__, 3, 100, "\r\n\x1a\xff", {"\r\n\x1a", "\xff"}},
      // Asking for no bytes still passes over each record, and the end gives no extra record.
      {__LINE__, 4, 0, "abcdefgh", {"", ""}},
      {__LINE__, 4, 0, "abcdefghi", {"", "", ""}},
      // A record length below 1 has no records to give.
      {__LINE__, 0, 100, "abc", {}},
  };
  for (BaseRecordFile::Recfm recfm : {BaseRecordFile::RECFM_F, BaseRecordFile::RECFM_N}) {
    for (Case const& c : cases) {
      for (int size : blockSizes()) {
        SCOPED_TRACE("line " + std::to_string(c.line) + ", recfm " + std::to_string(recfm) + ", bufferSize " +
                     std::to_string(size));
        Options options = fixedOptions(RecordFile::READ, recfm, c.lrecl, size);
        EXPECT_EQ(c.records, readBytes(c.bytes, options, c.maxLength));
        EXPECT_EQ(c.records, readBytes(c.bytes, options, c.maxLength, nullptr, 1));
      }
    }
  }
}

TEST(RecfmF, WritesExactlyLreclBytesWhileRecfmNWritesWhatItIsGiven) {
  struct Case {
    int line;
    BaseRecordFile::Recfm recfm;
    int lrecl;
    Records records;
    std::string bytes;
  };
  Case const cases[] = {
      {__LINE__, BaseRecordFile::RECFM_F, 4, {"abcdef"}, "abcd"},
      {__LINE__, BaseRecordFile::RECFM_F, 4, {"a"}, "a   "},
      {__LINE__, BaseRecordFile::RECFM_F, 4, {"", "ab\n"}, "    ab\n "},
      {__LINE__, BaseRecordFile::RECFM_F, 0, {"ab"}, ""},
      {__LINE__, BaseRecordFile::RECFM_N, 4, {"abcdef", "a", ""}, "abcdefa"},
      {__LINE__, BaseRecordFile::RECFM_N, 2, {"\0\r\n"s}, "\0\r\n"s},
  };
  for (Case const& c : cases) {
    for (int size : blockSizes()) {
      SCOPED_TRACE("line " + std::to_string(c.line) + ", bufferSize " + std::to_string(size));
      // The carriage control plays no part in either format.
      for (CarriageControlType control : {CC_SINGLE, CC_NEW_PAGE, CC_TRIPLE}) {
        EXPECT_EQ(c.bytes,
                  writeRecords(c.records, fixedOptions(RecordFile::WRITE, c.recfm, c.lrecl, size), control));
      }
    }
  }
}

TEST(RecfmF, UpdateReplacesTheRecordReadAndNotesFindIt) {
  for (int size : blockSizes()) {
    SCOPED_TRACE(size);
    MemoryRecordFile file("aaaabbbbcc", fixedOptions(RecordFile::UPDATE, BaseRecordFile::RECFM_F, 4, size));
    char buffer[8];
    int eof = 0;
    ASSERT_EQ(4, file.read(buffer, 8, &eof));
    ASSERT_EQ(4, file.read(buffer, 8, &eof));
    long long note = 0;
    ASSERT_TRUE(file.tell(&note));
    EXPECT_EQ(4, note);
    file.write("XY", 2, CC_SINGLE);
    EXPECT_FALSE(file.tell(&note));
    EXPECT_EQ(2, file.read(buffer, 8, &eof));
    EXPECT_EQ("cc", std::string(buffer, 2));
    long long first = 0;
    ASSERT_TRUE(file.seek(&first));
    EXPECT_EQ(4, file.read(buffer, 8, &eof));
    EXPECT_EQ("aaaa", std::string(buffer, 4));
    file.flush();
    EXPECT_EQ("aaaaXY  cc", file.bytes);
  }
}

TEST(RecfmN, UpdateWritesOnlyTheGivenBytesOverTheRecordRead) {
  MemoryRecordFile file("aaaabbbbcc", fixedOptions(RecordFile::UPDATE, BaseRecordFile::RECFM_N, 4, 3));
  char buffer[8];
  int eof = 0;
  ASSERT_EQ(4, file.read(buffer, 8, &eof));
  file.write("XY", 2, CC_SINGLE);
  EXPECT_EQ(4, file.read(buffer, 8, &eof));
  EXPECT_EQ("aabb", std::string(buffer, 4));
  file.flush();
  EXPECT_EQ("XYaabbbbcc", file.bytes);
}

}  // namespace
}  // namespace testing
}  // namespace vyk
