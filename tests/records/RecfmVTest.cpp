// Terminated records: every termstr, block boundaries, cutting, Ctrl-Z, wide units, writing, update.
#include "vyk/util/RecfmV.h"

#include <gtest/gtest.h>

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

struct ReadCase {
  int line;
  int termstr;
  bool stopAtCtrlZ;
  std::string bytes;
  Records records;
};

void checkReadsAtEveryBlockSize(ReadCase const& c, MakeFormat make, int maxLength = 1 << 16) {
  for (int size : blockSizes()) {
    SCOPED_TRACE("line " + std::to_string(c.line) + ", bufferSize " + std::to_string(size));
    Options options = optionsFor(RecordFile::READ, BaseRecordFile::RECFM_V, c.termstr, size);
    options.stopAtCtrlZ = c.stopAtCtrlZ;
    EXPECT_EQ(c.records, readBytes(c.bytes, options, maxLength, make));
    // Short device reads put the block ends elsewhere again.
    EXPECT_EQ(c.records, readBytes(c.bytes, options, maxLength, make, 1));
  }
}

TEST(RecfmV, BytesReadIntoRecordsForEveryTermstr) {
  ReadCase const cases[] = {
      {__LINE__, ANY, false, "a\r\nb\n", {"a", "b"}},
      {__LINE__, ANY, false, "a\rb\n", {"a\rb"}},
      {__LINE__, ANY, false, "a\r", {"a\r"}},
      {__LINE__, ANY, false, "", {}},
      {__LINE__, ANY, false, "\n", {""}},
      {__LINE__, ANY, false, "a\n\nb", {"a", "", "b"}},
      {__LINE__, ANY, false, "a\r\r\n", {"a\r"}},
      {__LINE__, ANY, false, "\r\r\n\n", {"\r", ""}},
      {__LINE__, ANY, false, "a\0b\n"s, {"a\0b"s}},
      {__LINE__, ANY, false, "\xff\x80\n\x1a", {"\xff\x80", "\x1a"}},
      {__LINE__, LF, false, "a\r\nb\n", {"a\r", "b"}},
      {__LINE__, LF, false, "a\rb", {"a\rb"}},
      {__LINE__, CR, false, "a\nb\r", {"a\nb"}},
      {__LINE__, CR, false, "a\rb\rc", {"a", "b", "c"}},
      {__LINE__, CR, false, "a\r\nb", {"a", "\nb"}},
      {__LINE__, CRLF, false, "a\nb\r\nc", {"a\nb", "c"}},
      {__LINE__, CRLF, false, "a\r\r\n", {"a\r"}},
      {__LINE__, CRLF, false, "a\rb", {"a\rb"}},
      {__LINE__, CRLF, false, "a\n", {"a\n"}},
      {__LINE__, CRLF, false, "a\r", {"a\r"}},
      {__LINE__, NUL, false, "a\0b\0"s, {"a", "b"}},
      {__LINE__, NUL, false, "a\nb\r\nc\0"s, {"a\nb\r\nc"}},
      {__LINE__, NUL, false, "\0\0"s, {"", ""}},
      {__LINE__, NONE, false, "a\nb\r\n\0"s, {"a\nb\r\n\0"s}},
      {__LINE__, ANY, true, "a\032b", {"a"}},
      {__LINE__, ANY, true, "a\n\032b\n", {"a"}},
      {__LINE__, ANY, true, "\032", {}},
      {__LINE__, ANY, true, "a\r\032", {"a\r"}},
      {__LINE__, ANY, true, "a\rb\r\rc\n\rd\032e\n", {"a\rb\r\rc", "\rd"}},
      {__LINE__, CRLF, true, "\r\ra\n\r\nb\rc\032", {"\r\ra\n", "b\rc"}},
      {__LINE__, ANY, false, "a\032b", {"a\032b"}},
  };
  for (ReadCase const& c : cases) checkReadsAtEveryBlockSize(c, nullptr);
}

TEST(RecfmV, WideUnitsCompareWholeUnitsInTheirByteOrder) {
  MakeFormat const le16 = makeV<unsigned short, recfm::ByteOrderLE>;
  MakeFormat const be16 = makeV<unsigned short, recfm::ByteOrderBE>;
  MakeFormat const le32 = makeV<unsigned int, recfm::ByteOrderLE>;
  MakeFormat const be32 = makeV<unsigned int, recfm::ByteOrderBE>;
  struct Case {
    MakeFormat make;
    ReadCase read;
  };
  Case const cases[] = {
      {le16, {__LINE__, ANY, false, "a\0\r\0\n\0b\0"s, {"a\0"s, "b\0"s}}},
      {le16,
       {__LINE__,
        ANY,
        false,
        "a\0\n\r"s
        "b\0"s,
        {"a\0\n\rb\0"s}}},
      {le16, {__LINE__, ANY, false, "a\0\n\0x"s, {"a\0"s}}},
      {le16, {__LINE__, ANY, false, "x"s, {}}},
      {le16, {__LINE__, ANY, false, "a\0\r\0\n"s, {"a\0\r\0"s}}},
      {le16, {__LINE__, ANY, false, "\r\0a\0\n\0"s, {"\r\0a\0"s}}},
      {le16, {__LINE__, NUL, false, "a\0\0\0b\0"s, {"a\0"s, "b\0"s}}},
      {le16, {__LINE__, NUL, false, "\0a\0\0"s, {"\0a"s}}},
      {le16, {__LINE__, ANY, true, "a\0\x1a\0b\0"s, {"a\0"s}}},
      {le16, {__LINE__, ANY, true, "\x1a\x01\n\0"s, {"\x1a\x01"s}}},
      {le16, {__LINE__, CR, false, "\0\r\r\0"s, {"\0\r"s}}},
      {be16, {__LINE__, ANY, false, "\0a\0\r\0\n\0b"s, {"\0a"s, "\0b"s}}},
      {be16, {__LINE__, CRLF, false, "\0a\0\n\0\r\0\n"s, {"\0a\0\n"s}}},
      {be16, {__LINE__, LF, false, "\n\0\0\n"s, {"\n\0"s}}},
      {le32, {__LINE__, ANY, false, "a\0\0\0\n\0\0\0b\0\0"s, {"a\0\0\0"s}}},
      {le32, {__LINE__, ANY, false, "a\0\0\0\n\0\0\1"s, {"a\0\0\0\n\0\0\1"s}}},
      {le32,
       {__LINE__,
        ANY,
        false,
        "a\0\0\0\xff\xff\xff\xff"
        "b\0\0\0"s,
        {"a\0\0\0"s, "b\0\0\0"s}}},
      {le32,
       {__LINE__,
        ANY,
        false,
        "\xff\xff\xff\xff"
        "b\0\0\0\n\0\0\0"s,
        {"b\0\0\0"s}}},
      {le32, {__LINE__, ANY, false, "\xff\xff\xff\xff"s, {}}},
      {le32, {__LINE__, ANY, true, "\x1a\0\0\0"s, {}}},
      {be32, {__LINE__, ANY, false, "\0\0\0a\0\0\0\r\0\0\0\n\0\0\0b"s, {"\0\0\0a"s, "\0\0\0b"s}}},
      {be32, {__LINE__, ANY, false, "\0\0\0a\0\0\0\r"s, {"\0\0\0a\0\0\0\r"s}}},
      {be32, {__LINE__, NUL, false, "\0\0\0a\0\0\0\0\0\0\0\0"s, {"\0\0\0a"s, ""}}},
  };
  for (Case const& c : cases) checkReadsAtEveryBlockSize(c.read, c.make);
}

TEST(RecfmV, OverlongRecordsAreCutAndTheNextReadStartsAtTheNextRecord) {
  struct Case {
    int line;
    int termstr;
    int maxLength;
    std::string bytes;
    Records records;
    MakeFormat make;
  };
  Case const cases[] = {
      {__LINE__, ANY, 3, "abcde\nxy\n", {"abc", "xy"}, nullptr},
      // The terminator is found also when the caller's buffer is full.
      {__LINE__, CRLF, 3, "abc\r\nde\r\n", {"abc", "de"}, nullptr},
      {__LINE__, ANY, 2, "ab\r\ncd\n", {"ab", "cd"}, nullptr},
      {__LINE__, ANY, 3, "abc\rx\nz", {"abc", "z"}, nullptr},
      {__LINE__, ANY, 0, "ab\n\ncd", {"", "", ""}, nullptr},
      // Only whole units fit: 3 bytes hold one 2-byte unit.
      {__LINE__, ANY, 3, "a\0b\0\n\0c\0"s, {"a\0"s, "c\0"s}, makeV<unsigned short, recfm::ByteOrderLE>},
      {__LINE__, ANY, 7, "\0\0\0a\0\0\0b\0\0\0\n"s, {"\0\0\0a"s}, makeV<unsigned int, recfm::ByteOrderBE>},
  };
  for (Case const& c : cases) {
    checkReadsAtEveryBlockSize({c.line, c.termstr, false, c.bytes, c.records}, c.make, c.maxLength);
  }
}

TEST(RecfmV, CtrlZLeavesTheRestOfTheFileUnread) {
  Options options = optionsFor(RecordFile::READ, BaseRecordFile::RECFM_V, ANY, 1);
  options.stopAtCtrlZ = true;
  MemoryRecordFile file("ab\032cdef", options);
  EXPECT_EQ((Records{"ab"}), readAll(file));
  EXPECT_EQ(3, file.position);  // the device gave 3 bytes, one per block
  char buffer[8];
  int eof = 0;
  EXPECT_EQ(-1, file.read(buffer, 8, &eof));
  EXPECT_EQ(1, eof);
}

TEST(RecfmV, ReadReportsEmptyRecordsAndTheEnd) {
  MemoryRecordFile file("\n", optionsFor(RecordFile::READ, BaseRecordFile::RECFM_V));
  char buffer[4];
  int eof = 7;
  EXPECT_EQ(0, file.read(buffer, 4, &eof));
  EXPECT_EQ(0, eof);
  EXPECT_EQ(-1, file.read(buffer, 4, &eof));
  EXPECT_EQ(1, eof);
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

struct WriteCase {
  int line;
  int termstr;
  CarriageControlType control;
  int lrecl;
  bool pad;
  Records records;
  std::string bytes;
};

void checkWritesAtEveryBlockSize(WriteCase const& c, MakeFormat make) {
  for (int size : blockSizes()) {
    SCOPED_TRACE("line " + std::to_string(c.line) + ", bufferSize " + std::to_string(size));
    Options options = optionsFor(RecordFile::WRITE, BaseRecordFile::RECFM_V, c.termstr, size);
    options.lrecl = c.lrecl;
    options.padToLrecl = c.pad;
    EXPECT_EQ(c.bytes, writeRecords(c.records, options, c.control, make));
  }
}

TEST(RecfmV, RecordsWrittenIntoExactBytes) {
  WriteCase const cases[] = {
      {__LINE__, NUL, CC_SINGLE, 80, false, {"a", "", "bc"}, "a\0\0bc\0"s},
      {__LINE__, CR, CC_SINGLE, 80, false, {"a", "", "bc"}, "a\r\rbc\r"},
      {__LINE__, LF, CC_SINGLE, 80, false, {"a", "", "bc"}, "a\n\nbc\n"},
      {__LINE__, CRLF, CC_SINGLE, 80, false, {"a", "", "bc"}, "a\r\n\r\nbc\r\n"},
      {__LINE__, ANY, CC_SINGLE, 80, false, {"a", "", "bc"}, "a\n\nbc\n"},
      {__LINE__, NONE, CC_SINGLE, 80, false, {"a", "", "bc"}, "abc"},
      {__LINE__, ANY, CC_NEW_PAGE, 80, false, {"x"}, "\fx\n"},
      {__LINE__, ANY, CC_DOUBLE, 80, false, {"x"}, "\nx\n"},
      {__LINE__, ANY, CC_TRIPLE, 80, false, {"x"}, "\n\nx\n"},
      {__LINE__, ANY, CC_OVERPRINT, 80, false, {"x"}, "x\n"},
      {__LINE__, CRLF, CC_TRIPLE, 80, false, {"x"}, "\r\n\r\nx\r\n"},
      {__LINE__, ANY, CC_SINGLE, 3, false, {"abcde"}, "abc\n"},
      {__LINE__, ANY, CC_SINGLE, 4, true, {"ab", "abcdef", ""}, "ab  \nabcd\n    \n"},
      {__LINE__, ANY, CC_SINGLE, 0, true, {"ab"}, "\n"},
  };
  for (WriteCase const& c : cases) checkWritesAtEveryBlockSize(c, nullptr);
}

TEST(RecfmV, WideUnitsWrittenInTheFilesByteOrder) {
  MakeFormat const le16 = makeV<unsigned short, recfm::ByteOrderLE>;
  MakeFormat const be16 = makeV<unsigned short, recfm::ByteOrderBE>;
  MakeFormat const le32 = makeV<unsigned int, recfm::ByteOrderLE>;
  MakeFormat const be32 = makeV<unsigned int, recfm::ByteOrderBE>;
  struct Case {
    MakeFormat make;
    WriteCase write;
  };
  Case const cases[] = {
      {le16, {__LINE__, ANY, CC_SINGLE, 80, false, {"a\0"s}, "a\0\n\0"s}},
      {be16, {__LINE__, CRLF, CC_SINGLE, 80, false, {"\0a"s}, "\0a\0\r\0\n"s}},
      {be16, {__LINE__, ANY, CC_NEW_PAGE, 80, false, {"\0a"s}, "\0\f\0a\0\n"s}},
      {le16, {__LINE__, NUL, CC_DOUBLE, 80, false, {"a\0"s}, "\0\0a\0\0\0"s}},
      {le32, {__LINE__, ANY, CC_SINGLE, 80, false, {"a\0\0\0"s}, "a\0\0\0\n\0\0\0"s}},
      {be32, {__LINE__, CR, CC_SINGLE, 80, false, {""}, "\0\0\0\r"s}},
      // Padding: blank units up to lrecl bytes; a remainder smaller than a unit stays out.
      {le16, {__LINE__, ANY, CC_SINGLE, 6, true, {"a\0"s}, "a\0 \0 \0\n\0"s}},
      {le16, {__LINE__, ANY, CC_SINGLE, 5, true, {"a\0"s}, "a\0 \0\n\0"s}},
      {be32, {__LINE__, ANY, CC_SINGLE, 8, true, {"\0\0\0a"s}, "\0\0\0a\0\0\0 \0\0\0\n"s}},
      // Cutting keeps whole units: lrecl 3 holds one 2-byte unit, and a half unit is left out.
      {le16, {__LINE__, ANY, CC_SINGLE, 3, false, {"a\0b\0"s}, "a\0\n\0"s}},
      {le16, {__LINE__, ANY, CC_SINGLE, 80, false, {"a\0b"s}, "a\0\n\0"s}},
  };
  for (Case const& c : cases) checkWritesAtEveryBlockSize(c.write, c.make);
}

TEST(RecfmV, WriteAfterReadReplacesTheRecordReadInUpdateMode) {
  struct Case {
    int line;
    std::string initial;
    int readsFirst;
    std::string replacement;
    std::string after;
    std::string nextRecord;  // what the read after the write returns; "<end>" for the end
  };
  Case const cases[] = {
      {__LINE__, "aaa\nbbb\nccc\n", 1, "XXX", "XXX\nbbb\nccc\n", "bbb"},
      {__LINE__, "aaa\nbbb\nccc\n", 2, "YYY", "aaa\nYYY\nccc\n", "ccc"},
      {__LINE__, "aaa\nbbb\nccc\n", 3, "ZZZ", "aaa\nbbb\nZZZ\n", "<end>"},
      // A longer record overwrites what follows; a shorter one leaves old bytes in place.
      {__LINE__, "aaa\nbbb\nccc\n", 1, "XXXXX", "XXXXX\nb\nccc\n", "b"},
      {__LINE__, "aaa\nbbb\nccc\n", 1, "X", "X\na\nbbb\nccc\n", "a"},
      {__LINE__, "aaa\r\nbbb\r\n", 1, "XXX", "XXX\n\nbbb\r\n", ""},
  };
  for (Case const& c : cases) {
    for (int size : blockSizes()) {
      SCOPED_TRACE("line " + std::to_string(c.line) + ", bufferSize " + std::to_string(size));
      MemoryRecordFile file(c.initial, optionsFor(RecordFile::UPDATE, BaseRecordFile::RECFM_V, ANY, size));
      char buffer[16];
      int eof = 0;
      for (int i = 0; i < c.readsFirst; ++i) ASSERT_GE(file.read(buffer, 16, &eof), 0);
      file.write(c.replacement.data(), static_cast<int>(c.replacement.size()), CC_SINGLE);
      int n = file.read(buffer, 16, &eof);
      EXPECT_EQ(c.nextRecord, eof ? std::string("<end>") : std::string(buffer, static_cast<size_t>(n)));
      file.flush();
      EXPECT_EQ(c.after, file.bytes);
    }
  }
}

TEST(RecfmV, NotesLeadBackToTheStartOfEachRecord) {
  std::string const bytes = "ab\ncd\r\n\ref\n\n";
  Records const records = {"ab", "cd", "\ref", ""};
  long long const starts[] = {0, 3, 7, 11};
  for (int size : blockSizes()) {
    SCOPED_TRACE(size);
    MemoryRecordFile file(bytes, optionsFor(RecordFile::READ, BaseRecordFile::RECFM_V, ANY, size));
    ASSERT_EQ(8, file.note_length());
    long long note = -5;
    EXPECT_FALSE(file.tell(&note));
    std::vector<long long> notes;
    char buffer[8];
    int eof = 0;
    for (size_t i = 0; i < records.size(); ++i) {
      int n = file.read(buffer, 8, &eof);
      ASSERT_EQ(records[i], std::string(buffer, static_cast<size_t>(n)));
      ASSERT_TRUE(file.tell(&note));
      EXPECT_EQ(starts[i], note);
      notes.push_back(note);
    }
    EXPECT_EQ(-1, file.read(buffer, 8, &eof));
    // Back to each note, in reverse order, after the end of the input.
    for (size_t i = records.size(); i-- > 0;) {
      ASSERT_TRUE(file.seek(&notes[i]));
      int n = file.read(buffer, 8, &eof);
      EXPECT_EQ(records[i], std::string(buffer, static_cast<size_t>(n > 0 ? n : 0)));
    }
  }
}

TEST(RecfmV, FormatFlagsAndRecordLengthChanges) {
  struct Case {
    BaseRecordFile::Recfm recfm;
    char const* name;
    bool fixed, stream, print, changesLength;
  };
  Case const cases[] = {
      {BaseRecordFile::RECFM_V, "V", false, false, false, true},
      {BaseRecordFile::RECFM_P, "V", false, false, true, true},
      {BaseRecordFile::RECFM_F, "F", true, false, false, false},
      {BaseRecordFile::RECFM_N, "N", false, true, false, false},
      {BaseRecordFile::RECFM_S, "S", false, true, false, false},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.recfm);
    Options options = optionsFor(RecordFile::WRITE, c.recfm);
    options.lrecl = 10;
    MemoryRecordFile file("", options);
    EXPECT_STREQ(c.name, file.format()->name());
    EXPECT_EQ(c.fixed, file.isFixedWidth());
    EXPECT_EQ(c.stream, file.hasStreamSemantics());
    EXPECT_EQ(c.print, file.isPrintRecordFormat());
    EXPECT_EQ(8, file.note_length());
    EXPECT_EQ(c.changesLength, file.attemptToChangeRecordLength(-3));
    EXPECT_EQ(c.changesLength ? -3 : 10, file.getRecordLength());
  }
}

TEST(RecfmV, PrintFormatWritesCarriageControlsAndReadsLikeV) {
  Options options = optionsFor(RecordFile::WRITE, BaseRecordFile::RECFM_P, CRLF, 2);
  MemoryRecordFile out("", options);
  struct Line {
    char const* text;
    CarriageControlType control;
  };
  Line const lines[] = {{"title", CC_NEW_PAGE},
                        {"one", CC_SINGLE},
                        {"two", CC_DOUBLE},
                        {"three", CC_TRIPLE},
                        {"over", CC_OVERPRINT}};
  for (Line const& l : lines) out.write(l.text, static_cast<int>(std::string(l.text).size()), l.control);
  out.flush();
  EXPECT_EQ("\ftitle\r\none\r\n\r\ntwo\r\n\r\n\r\nthree\r\nover\r\n", out.bytes);
  EXPECT_EQ((Records{"\ftitle", "one", "", "two", "", "", "three", "over"}),
            readBytes(out.bytes, optionsFor(RecordFile::READ, BaseRecordFile::RECFM_P, CRLF, 3)));
}

}  // namespace
}  // namespace testing
}  // namespace vyk
