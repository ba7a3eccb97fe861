// Fixed-length records and pieces; update in place and notes over the F, N, V and S formats.
#include "vyk/util/RecfmF.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "tests/support/MemoryRecordFile.h"

namespace vyk {
namespace testing {
namespace {

using namespace std::string_literals;
constexpr BaseRecordFile::Recfm F = BaseRecordFile::RECFM_F, N = BaseRecordFile::RECFM_N,
                                V = BaseRecordFile::RECFM_V, S = BaseRecordFile::RECFM_S;

TEST(RecfmF, ReadsPiecesOfLreclBytesAndSkipsWhatTheBufferCannotHold) {
  std::tuple<int, int, int, std::string, Records> const cases[] = {
      // line, lrecl, maxLength, bytes, records
      {__LINE__, 4, 100, "abcdefghij", {"abcd", "efgh", "ij"}},
      {__LINE__, 4, 2, "abcdefghij", {"ab", "ef", "ij"}},
      {__LINE__, 4, 100, "", {}},
      {__LINE__, 3, 100, "\r\n\0\xff"s, {"\r\n\0"s, "\xff"}},
      {__LINE__, 4, 0, "abcdefgh", {"", ""}},  // no extra record at the end
      {__LINE__, 4, 0, "abcdefghi", {"", "", ""}},
      {__LINE__, 0, 100, "abc", {}},
  };
  for (BaseRecordFile::Recfm recfm : {F, N}) {
    for (auto const& [line, lrecl, maxLength, bytes, records] : cases) {
      for (int size : blockSizes()) {
        SCOPED_TRACE("line " + std::to_string(line) + ", recfm " + std::to_string(recfm) + ", bufferSize " +
                     std::to_string(size));
        Options options = optionsFor(RecordFile::READ, recfm, 4, size, lrecl);
        for (int maxFill : {0, 1}) EXPECT_EQ(records, readBytes(bytes, options, maxLength, nullptr, maxFill));
      }
    }
  }
}

TEST(RecfmF, WritesExactlyLreclBytesWhileRecfmNWritesWhatItIsGiven) {
  std::tuple<int, BaseRecordFile::Recfm, int, Records, std::string> const cases[] = {
      {__LINE__, F, 4, {"abcdef"}, "abcd"},
      {__LINE__, F, 4, {"", "ab\n"}, "    ab\n "},
      {__LINE__, F, 0, {"ab"}, ""},
      {__LINE__, N, 4, {"abcdef", "a", ""}, "abcdefa"},
      {__LINE__, N, 2, {"\0\r\n"s}, "\0\r\n"s},
  };
  for (auto const& [line, recfm, lrecl, records, bytes] : cases) {
    for (int size : blockSizes()) {
      SCOPED_TRACE("line " + std::to_string(line) + ", bufferSize " + std::to_string(size));
      Options const options = optionsFor(RecordFile::WRITE, recfm, 4, size, lrecl);
      EXPECT_EQ(bytes, writeRecords(records, options, size == 1 ? CC_TRIPLE : CC_NEW_PAGE));
    }
  }
}

// A write after reads replaces the record last read; the next read goes on after it, and a flush
// between the two changes nothing.
TEST(RecordUpdate, WriteAfterReadReplacesTheRecordRead) {
  // line, recfm, maxLength of each read (also the lrecl), initial bytes, reads before the write,
  // the record written, the next record read, the bytes after
  std::tuple<int, BaseRecordFile::Recfm, int, std::string, int, std::string, std::string, std::string> const
      cases[] = {
          {__LINE__, F, 4, "aaaabbbbcc", 2, "XY", "cc", "aaaaXY  cc"},
          {__LINE__, N, 4, "aaaabbbbcc", 1, "XY", "aabb", "XYaabbbbcc"},
          {__LINE__, S, 4, "aaaabbbbccccdddd", 2, "BBBB", "cccc", "aaaaBBBBccccdddd"},
          {__LINE__, V, 16, "aaa\nbbb\nccc\n", 2, "YYY", "ccc", "aaa\nYYY\nccc\n"},
          {__LINE__, V, 16, "aaa\nbbb\nccc\n", 3, "ZZZ", "<end>", "aaa\nbbb\nZZZ\n"},
          // A longer record overwrites what follows; a shorter one leaves old bytes in place.
          {__LINE__, V, 16, "aaa\nbbb\nccc\n", 1, "XXXXX", "b", "XXXXX\nb\nccc\n"},
          {__LINE__, V, 16, "aaa\nbbb\nccc\n", 1, "X", "a", "X\na\nbbb\nccc\n"},
          {__LINE__, V, 16, "aaa\r\nbbb\r\n", 1, "XXX", "", "XXX\n\nbbb\r\n"},
      };
  for (auto const& [line, recfm, maxLength, initial, reads, replacement, next, after] : cases) {
    for (int size : blockSizes()) {
      for (bool flushBetween : {false, true}) {
        SCOPED_TRACE("line " + std::to_string(line) + ", bufferSize " + std::to_string(size) +
                     (flushBetween ? ", flush" : ""));
        MemoryRecordFile file(initial, optionsFor(RecordFile::UPDATE, recfm, 4, size, maxLength));
        for (int i = 0; i < reads; ++i) ASSERT_NE("<end>", nextRecord(file, maxLength));
        file.write(replacement.data(), static_cast<int>(replacement.size()), CC_SINGLE);
        long long note = 0;
        EXPECT_FALSE(file.tell(&note));
        if (flushBetween) file.flush();
        EXPECT_EQ(next, nextRecord(file, maxLength));
        file.flush();
        EXPECT_EQ(after, file.bytes);
      }
    }
  }
}

// tell answers false before the first read, then where the record last read began; after the end,
// seeking to each note in reverse order reads its record again.
TEST(RecordNotes, LeadBackToTheStartOfEachRecord) {
  std::tuple<int, BaseRecordFile::Recfm, int, std::string, Records, std::vector<long long>> const cases[] = {
      {__LINE__, V, 8, "ab\ncd\r\n\ref\n\n", {"ab", "cd", "\ref", ""}, {0, 3, 7, 11}},
      {__LINE__, F, 4, "aaaabbbbcc", {"aaaa", "bbbb", "cc"}, {0, 4, 8}},
      {__LINE__, S, 3, "abcdefghij", {"abc", "def", "ghi", "j"}, {0, 3, 6, 9}},
  };
  for (auto const& [line, recfm, maxLength, bytes, records, starts] : cases) {
    for (int size : blockSizes()) {
      SCOPED_TRACE("line " + std::to_string(line) + ", bufferSize " + std::to_string(size));
      MemoryRecordFile file(bytes, optionsFor(RecordFile::READ, recfm, 4, size, maxLength));
      long long note = -5;
      EXPECT_FALSE(file.tell(&note));
      std::vector<long long> notes;
      for (std::string const& record : records) {
        ASSERT_EQ(record, nextRecord(file, maxLength));
        ASSERT_TRUE(file.tell(&note));
        notes.push_back(note);
      }
      EXPECT_EQ(starts, notes);
      EXPECT_EQ("<end>", nextRecord(file, maxLength));
      for (size_t i = records.size(); i-- > 0;) {
        ASSERT_TRUE(file.seek(&notes[i]));
        EXPECT_EQ(records[i], nextRecord(file, maxLength));
      }
    }
  }
}

}  // namespace
}  // namespace testing
}  // namespace vyk
