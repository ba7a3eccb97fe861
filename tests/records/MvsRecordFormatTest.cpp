// Block, record and segment descriptor formats: hand-made golden files, bad input, round trips.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "tests/support/MemoryRecordFile.h"
#include "vyk/util/RecordFormat.h"

namespace vyk {
namespace testing {
namespace {

using namespace std::string_literals;
using Recfms = std::vector<BaseRecordFile::Recfm>;

constexpr BaseRecordFile::Recfm V = BaseRecordFile::RECFM_S370V, VB = BaseRecordFile::RECFM_S370VB,
                                VS = BaseRecordFile::RECFM_S370VS, VBS = BaseRecordFile::RECFM_S370VBS,
                                VSTREAM = BaseRecordFile::RECFM_S370VSTREAM,
                                VSSTREAM = BaseRecordFile::RECFM_S370VSSTREAM;
Recfms const ALL = {V, VB, VS, VBS, VSTREAM, VSSTREAM};

Options mvs(RecordFile::OpenMode mode, BaseRecordFile::Recfm recfm, int bufferSize = 256) {
  return optionsFor(mode, recfm, 4, bufferSize);
}

std::string const A248 = pattern(248), S600 = pattern(600, 'A'), R100 = pattern(100), MAX_V = pattern(65531),
                  LONG_S = pattern(70000, 'A');
std::string const BDW_FULL = "\x01\x00\x00\x00"s;  // a block of 256 bytes

// Laid out by hand from the descriptor layouts: a block descriptor, then record or segment
// descriptors each followed by its data. With an lrecl, records are padded to it (not read back).
TEST(MvsRecordFormat, GoldenFilesWrittenAndReadBack) {
  std::string const y90(90, 'y'), padded = "0123456789" + std::string(70, ' ');
  // clang-format off
  struct Golden { char const* what; Recfms recfms; int bufferSize; Records records; std::string bytes; int lrecl = 0; };
  std::vector<Golden> const goldens = {
      {"one record", {V, VB, VS, VBS}, 256, {"abc"}, "\x00\x0B\x00\x00"s "\x00\x07\x00\x00"s "abc"},
      {"one record", {VSTREAM, VSSTREAM}, 256, {"abc"}, "\x00\x07\x00\x00"s "abc"},
      // A block size of 16 still gives blocks of 256 bytes.
      {"record fills block", {V, VB, VS, VBS}, 16, {A248}, BDW_FULL + "\x00\xFC\x00\x00"s + A248},
      {"record fills block", {VSSTREAM}, 16, {A248}, "\x00\xFC\x00\x00"s + A248},
      {"one byte more", {VS, VBS}, 256, {A248 + "z"}, BDW_FULL + "\x00\xFC\x01\x00"s + A248 +
       "\x00\x09\x00\x00"s "\x00\x05\x02\x00"s "z"},
      {"one byte more", {VSTREAM}, 256, {A248 + "z"}, "\x00\xFD\x00\x00"s + A248 + "z"},
      {"one byte more", {VSSTREAM}, 256, {A248 + "z"}, "\x00\xFC\x01\x00"s + A248 + "\x00\x05\x02\x00"s "z"},
      {"empty records", {V, VS}, 256, {"", "", "a"}, "\x00\x08\x00\x00"s "\x00\x04\x00\x00"s
       "\x00\x08\x00\x00"s "\x00\x04\x00\x00"s "\x00\x09\x00\x00"s "\x00\x05\x00\x00"s "a"},
      {"empty records", {VB, VBS}, 256, {"", "", "a"}, "\x00\x11\x00\x00"s "\x00\x04\x00\x00"s
       "\x00\x04\x00\x00"s "\x00\x05\x00\x00"s "a"},
      {"empty records", {VSTREAM, VSSTREAM}, 256, {"", "", "a"}, "\x00\x04\x00\x00"s "\x00\x04\x00\x00"s
       "\x00\x05\x00\x00"s "a"},
      {"three blocks", {VS, VBS}, 256, {S600}, BDW_FULL + "\x00\xFC\x01\x00"s + S600.substr(0, 248) +
       BDW_FULL + "\x00\xFC\x03\x00"s + S600.substr(248, 248) + "\x00\x70\x00\x00"s "\x00\x6C\x02\x00"s +
       S600.substr(496)},
      {"three blocks", {VSSTREAM}, 256, {S600}, "\x00\xFC\x01\x00"s + S600.substr(0, 248) +
       "\x00\xFC\x03\x00"s + S600.substr(248, 248) + "\x00\x6C\x02\x00"s + S600.substr(496)},
      // After a first record a spanned record starts in a block of its own (VS) or in the rest of
      // the block (VBS, and the imaginary blocks of VSSTREAM, where descriptors use room too).
      {"span after a record", {VS}, 256, {R100, S600}, "\x00\x6C\x00\x00"s "\x00\x68\x00\x00"s + R100 +
       BDW_FULL + "\x00\xFC\x01\x00"s + S600.substr(0, 248) + BDW_FULL + "\x00\xFC\x03\x00"s +
       S600.substr(248, 248) + "\x00\x70\x00\x00"s "\x00\x6C\x02\x00"s + S600.substr(496)},
      {"span after a record", {VBS}, 256, {R100, S600}, BDW_FULL + "\x00\x68\x00\x00"s + R100 +
       "\x00\x94\x01\x00"s + S600.substr(0, 144) + BDW_FULL + "\x00\xFC\x03\x00"s + S600.substr(144, 248) +
       "\x00\xD8\x00\x00"s "\x00\xD4\x02\x00"s + S600.substr(392)},
      {"span after a record", {VSSTREAM}, 256, {R100, S600}, "\x00\x68\x00\x00"s + R100 + "\x00\x94\x01\x00"s +
       S600.substr(0, 144) + "\x00\xFC\x03\x00"s + S600.substr(144, 248) + "\x00\xD4\x02\x00"s +
       S600.substr(392)},
      // Fewer than 4 bytes left closes the block short; exactly 4 hold an empty record only.
      {"2 bytes left", {VBS}, 256, {pattern(246), "0123456789"}, "\x00\xFE\x00\x00"s "\x00\xFA\x00\x00"s +
       pattern(246) + "\x00\x12\x00\x00"s "\x00\x0E\x00\x00"s "0123456789"},
      {"4 bytes left", {VBS}, 256, {pattern(244), "0123456789"}, "\x00\xFC\x00\x00"s "\x00\xF8\x00\x00"s +
       pattern(244) + "\x00\x12\x00\x00"s "\x00\x0E\x00\x00"s "0123456789"},
      {"4 bytes left, empty record", {VBS}, 256, {pattern(244), ""}, BDW_FULL + "\x00\xF8\x00\x00"s +
       pattern(244) + "\x00\x04\x00\x00"s},
      {"4 bytes left", {VSSTREAM}, 256, {pattern(244), "0123456789", ""}, "\x00\xF8\x00\x00"s + pattern(244) +
       "\x00\x0E\x00\x00"s "0123456789" "\x00\x04\x00\x00"s},
      // The block descriptor changes form between 32760 and 32761 bytes.
      {"block of 32760", {VB}, 40000, {pattern(32752)}, "\x7F\xF8\x00\x00"s "\x7F\xF4\x00\x00"s + pattern(32752)},
      {"block of 32761", {VB}, 40000, {pattern(32753)}, "\x80\x00\x7F\xF9"s "\x7F\xF5\x00\x00"s + pattern(32753)},
      // 65531 data bytes at most in a record descriptor; spanned records cut their segments there.
      {"longest record", {V, VB}, 65539, {MAX_V}, "\x80\x01\x00\x03"s "\xFF\xFF\x00\x00"s + MAX_V},
      {"longest record", {VSTREAM}, 256, {MAX_V}, "\xFF\xFF\x00\x00"s + MAX_V},
      {"long spanned record", {VS, VBS}, 100000, {LONG_S}, "\x80\x01\x00\x03"s "\xFF\xFF\x01\x00"s +
       LONG_S.substr(0, 65531) + "\x11\x7D\x00\x00"s "\x11\x79\x02\x00"s + LONG_S.substr(65531)},
      {"long spanned record", {VSSTREAM}, 100000, {LONG_S}, "\xFF\xFF\x01\x00"s + LONG_S.substr(0, 65531) +
       "\x11\x79\x02\x00"s + LONG_S.substr(65531)},
      // Padding uses ASCII blanks, and streamed V does not pad.
      {"padded", {V}, 256, {"0123456789", y90}, "\x00\x58\x00\x00\x00\x54\x00\x00"s + padded +
       "\x00\x62\x00\x00\x00\x5E\x00\x00"s + y90, 80},
      {"padded", {VB}, 256, {"0123456789", y90}, "\x00\xB6\x00\x00\x00\x54\x00\x00"s + padded + "\x00\x5E\x00\x00"s + y90, 80},
      {"padded", {VSTREAM}, 256, {"0123456789", y90}, "\x00\x0E\x00\x00"s "0123456789" "\x00\x5E\x00\x00"s + y90, 80},
  };
  // clang-format on
  for (Golden const& g : goldens) {
    for (BaseRecordFile::Recfm recfm : g.recfms) {
      SCOPED_TRACE(std::string(g.what) + ", recfm " + std::to_string(recfm));
      Options options = mvs(RecordFile::WRITE, recfm, g.bufferSize);
      options.lrecl = g.lrecl != 0 ? g.lrecl : options.lrecl;
      options.padToLrecl = g.lrecl != 0;
      EXPECT_TRUE(g.bytes == writeRecords(g.records, options));
      if (g.lrecl != 0) continue;
      EXPECT_TRUE(g.records == readBytes(g.bytes, mvs(RecordFile::READ, recfm, g.bufferSize)));
      EXPECT_TRUE(g.records == readBytes(g.bytes, mvs(RecordFile::READ, recfm), 1 << 17, nullptr, 7));
    }
  }
}

// Files that the writers do not produce but a reader must take.
TEST(MvsRecordFormat, ReadsForeignLayouts) {
  // clang-format off
  struct Case { char const* what; Recfms recfms; std::string bytes; Records records; };
  std::string const big = pattern(990), twoInABlock = "\x00\x10\x00\x00\x00\x06\x00\x00"s "ab" "\x00\x06\x00\x00"s "cd";
  Case const cases[] = {
      {"block larger than the block memory", {VB}, "\x03\xE6\x00\x00"s "\x03\xE2\x00\x00"s + big, {big}},
      {"extended descriptor on a short block", {VB}, "\x80\x00\x00\x0B"s "\x00\x07\x00\x00"s "abc", {"abc"}},
      {"descriptor bytes 2 and 3 not checked", {VB, VBS}, "\x00\x0B\x00\x00"s "\x00\x07\x00\x99"s "abc", {"abc"}},
      {"unblocked drops the rest of a block", {V, VS}, twoInABlock + "\x00\x09\x00\x00"s "\x00\x05\x00\x00"s "e",
       {"ab", "e"}},
      {"VBS reads every segment of a block", {VBS}, twoInABlock, {"ab", "cd"}},
      {"empty file", ALL, "", {}},
  };
  // clang-format on
  for (Case const& c : cases) {
    for (BaseRecordFile::Recfm recfm : c.recfms) {
      SCOPED_TRACE(std::string(c.what) + ", recfm " + std::to_string(recfm));
      for (int maxFill : {0, 3})
        EXPECT_EQ(c.records, readBytes(c.bytes, mvs(RecordFile::READ, recfm), 1 << 17, nullptr, maxFill));
    }
  }
}

TEST(MvsRecordFormat, MalformedInputThrowsItsMessageAfterTheGoodRecords) {
  // clang-format off
  struct Case { char const* what; BaseRecordFile::Recfm recfm; std::string bytes; Records before; char const* message; };  // before: what is read first
  std::string const goodStream = "\x00\x05\x00\x00g"s, good = "\x00\x09\x00\x00"s + goodStream;
  std::string const firstStream = "\x00\x05\x01\x00g"s, first = "\x00\x09\x00\x00"s + firstStream;
  char const *const BDW = "Invalid block descriptor word", *const SDW = "Invalid segment descriptor word",
             *const S370 = "Invalid S370 file", *const END = "End of file encountered in record or segment",
             *const CONTROL = "Badly formed S370VS file (unexpected control code)";
  Case const cases[] = {
      {"1 byte of block descriptor", VB, good + "\x00"s, {"g"}, "Incomplete block descriptor word"},
      {"short form, non-zero byte 3", VB, "\x00\x09\x00\x01"s "\x00\x05\x00\x00"s "g", {}, BDW},
      {"zero-length block", VB, good + "\x00\x00\x00\x00"s, {"g"}, BDW},
      {"extended length 2", VBS, "\x80\x00\x00\x02"s, {}, BDW},
      {"file ends inside a block", VB, "\x00\x20\x00\x00"s "\x00\x05\x00\x00"s "g", {}, "Incomplete block"},
      {"huge block announced", VBS, "\xFF\xFF\xFF\xFF"s "\x00\x05\x00\x00"s "g", {}, "Incomplete block"},
      {"block holds only its descriptor", VB, good + "\x00\x04\x00\x00"s, {"g"}, S370},
      {"block ends inside a record descriptor", VB, "\x00\x06\x00\x00"s "\x00\x05"s, {}, S370},
      {"record runs past its block", VB, "\x00\x0A\x00\x00"s "\x00\x10\x00\x00"s "gg", {}, S370},
      {"record length 3", VB, "\x00\x08\x00\x00"s "\x00\x03\x00\x00"s, {}, S370},
      {"segment length 3", VBS, "\x00\x08\x00\x00"s "\x00\x03\x00\x00"s, {}, SDW},
      {"middle segment with no first", VBS, "\x00\x09\x00\x00"s "\x00\x05\x03\x00"s "g", {}, CONTROL},
      {"last segment with no first", VS, good + "\x00\x09\x00\x00"s "\x00\x05\x02\x00"s "g", {"g"}, CONTROL},
      {"control code 7", VBS, "\x00\x09\x00\x00"s "\x00\x05\x07\x00"s "g", {}, CONTROL},
      {"first segment twice", VBS, first + first, {}, CONTROL},
      {"complete record inside a spanned one", VS, first + good, {}, CONTROL},
      {"continuation length 2", VBS, first + "\x00\x08\x00\x00"s "\x00\x02\x02\x00"s, {}, SDW},
      {"file ends inside a spanned record", VBS, good + first, {"g"}, S370},
      {"continuation block too short for a descriptor", VS, first + "\x00\x06\x00\x00"s "\x00\x05"s, {}, S370},
      {"segment runs past its block", VBS, "\x00\x09\x00\x00"s "\x00\x06\x00\x00"s "g", {}, S370},
      {"3 bytes of record descriptor", VSTREAM, goodStream + "\x00\x05\x00"s, {"g"},
       "Incomplete record descriptor word at end of file"},
      {"record length 2", VSTREAM, "\x00\x02\x00\x00"s, {}, S370},
      {"file ends inside a record", VSTREAM, goodStream + "\x00\x10\x00\x00"s "abc", {"g"}, END},
      {"1 byte of segment descriptor", VSSTREAM, goodStream + "\x00"s, {"g"},
       "Incomplete segment descriptor word at end of file"},
      {"segment length 1", VSSTREAM, "\x00\x01\x00\x00"s, {}, SDW},
      {"middle segment with no first", VSSTREAM, "\x00\x05\x03\x00"s "g", {}, CONTROL},
      {"first segment twice", VSSTREAM, firstStream + firstStream, {}, CONTROL},
      {"file ends after a first segment", VSSTREAM, goodStream + firstStream, {"g"},
       "Incomplete spanned record encountered at end of file"},
      {"file ends inside a continuation descriptor", VSSTREAM, firstStream + "\x00\x05"s, {},
       "Incomplete segment descriptor word at end of file"},
      {"continuation length 3", VSSTREAM, firstStream + "\x00\x03\x02\x00"s, {}, SDW},
      {"file ends inside a segment", VSSTREAM, firstStream + "\x00\x09\x02\x00"s "h", {}, END},
  };
  // clang-format on
  for (Case const& c : cases) {
    for (int maxFill : {0, 1}) {
      SCOPED_TRACE(std::string(c.what) + ", recfm " + std::to_string(c.recfm) + ", maxFill " +
                   std::to_string(maxFill));
      MemoryRecordFile file(c.bytes, mvs(RecordFile::READ, c.recfm), maxFill);
      Records got;
      EXPECT_EQ(c.message, ioFailure([&] {
                  for (std::string r = nextRecord(file, 300); r != "<end>"; r = nextRecord(file, 300))
                    got.push_back(r);
                }));
      EXPECT_EQ(c.before, got);
    }
  }
}

// The rest of a cut record is passed over: the next read returns the next record.
TEST(MvsRecordFormat, ShortBufferCutsTheRecordAndKeepsTheNext) {
  std::tuple<Recfms, int, std::string> const cases[] = {
      {ALL, 10, pattern(50)}, {{VS, VBS, VSSTREAM}, 300, S600}, {{VBS}, 0, S600}};
  for (auto const& [recfms, maxLength, first] : cases) {
    for (BaseRecordFile::Recfm recfm : recfms) {
      SCOPED_TRACE("recfm " + std::to_string(recfm) + ", maxLength " + std::to_string(maxLength));
      std::string const bytes = writeRecords({first, "next"}, mvs(RecordFile::WRITE, recfm));
      size_t const cut = static_cast<size_t>(maxLength);
      Records const expected = {first.substr(0, cut), std::string("next").substr(0, cut)};
      EXPECT_EQ(expected, readBytes(bytes, mvs(RecordFile::READ, recfm), maxLength));
    }
  }
}

// A record (padded, when asked) that does not fit is refused before anything of it is written.
TEST(MvsRecordFormat, OverlongWritesAreRefusedAndLeaveNothingBehind) {
  // clang-format off
  // lrecl: padded to it when not 0; fileAfter: after "abc" before and "xyz" after the failed write.
  struct Case { char const* what; BaseRecordFile::Recfm recfm; int bufferSize, lrecl, length; char const* message; std::string fileAfter; };
  std::string const abc = "\x00\x07\x00\x00"s "abc", xyz = "\x00\x07\x00\x00"s "xyz";
  char const* const S370 = "Invalid S370 file";
  std::string const inOneBlock = "\x00\x12\x00\x00"s + abc + xyz;
  Case const cases[] = {
      {"record longer than the block", V, 256, 0, 249, S370, "\x00\x0B\x00\x00"s + abc + "\x00\x0B\x00\x00"s + xyz},
      {"record longer than the block", VB, 256, 0, 249, S370, inOneBlock},
      {"padded record longer than the block", VB, 256, 249, 3, S370, ""},
      {"padded record longer than the block", V, 256, 249, 3, S370, ""},
      {"record fits the block, not the descriptor", VB, 65540, 0, 65532, S370, inOneBlock},
      {"record that no descriptor can state", VSTREAM, 256, 0, 65532, "Record too long for a record descriptor word", abc + xyz},
  };
  // clang-format on
  for (Case const& c : cases) {
    SCOPED_TRACE(std::string(c.what) + ", recfm " + std::to_string(c.recfm));
    Options options = optionsFor(RecordFile::WRITE, c.recfm, 4, c.bufferSize, c.lrecl != 0 ? c.lrecl : -1);
    options.padToLrecl = c.lrecl != 0;
    MemoryRecordFile file("", options);
    std::string const big(static_cast<size_t>(c.length), 'q');
    if (c.lrecl == 0) file.write("abc", 3, CC_SINGLE);
    EXPECT_EQ(c.message, ioFailure([&] { file.write(big.data(), c.length, CC_SINGLE); }));
    if (c.lrecl == 0) file.write("xyz", 3, CC_SINGLE);
    file.flush();
    EXPECT_EQ(c.fileAfter, file.bytes);
  }
}

TEST(MvsRecordFormat, FlushClosesTheOpenBlock) {
  Options options = mvs(RecordFile::WRITE, VB);
  options.autoFlush = true;
  std::string const a = "\x00\x09\x00\x00\x00\x05\x00\x00"s + "a";
  EXPECT_EQ(a + "\x00\x09\x00\x00\x00\x05\x00\x00"s + "b", writeRecords({"a", "b"}, options));
  // Without autoFlush nothing reaches the device before the flush; a second flush adds nothing.
  MemoryRecordFile file("", mvs(RecordFile::WRITE, VBS));
  file.write("a", 1, CC_SINGLE);
  EXPECT_EQ("", file.bytes);
  file.flush();
  file.flush();
  EXPECT_EQ(a, file.bytes);
}

TEST(MvsRecordFormat, SequentialFormatsWithoutNotesOrUpdate) {
  for (BaseRecordFile::Recfm recfm : ALL) {
    SCOPED_TRACE(recfm);
    std::string const bytes = writeRecords({"abc", "de"}, mvs(RecordFile::WRITE, recfm));
    MemoryRecordFile file(bytes, mvs(RecordFile::READ, recfm));
    EXPECT_EQ("abc", nextRecord(file));
    long long note = 0;
    EXPECT_FALSE(file.tell(&note));
    EXPECT_EQ("Update mode not supported",
              ioFailure([&] { MemoryRecordFile update(bytes, mvs(RecordFile::UPDATE, recfm)); }));
  }
}

TEST(MvsRecordFormat, TenThousandRandomRecordsRoundTrip) {
  // clang-format off
  struct Case { BaseRecordFile::Recfm recfm; int bufferSize, longest; };
  Case const cases[] = {{V, 1000, 992}, {VB, 300, 292}, {VS, 256, 2000}, {VBS, 256, 2000},
                        {VBS, 4096, 9000}, {VSTREAM, 256, 3000}, {VSSTREAM, 300, 2000}};
  // clang-format on
  for (Case const& c : cases) {
    SCOPED_TRACE("recfm " + std::to_string(c.recfm) + ", block " + std::to_string(c.bufferSize));
    std::mt19937 random(12345u + static_cast<unsigned>(c.recfm));
    std::uniform_int_distribution<int> length(0, c.longest), byte(0, 255);
    Records records(10000);
    for (std::string& r : records) {
      r.resize(static_cast<size_t>(length(random)));
      for (char& ch : r) ch = static_cast<char>(byte(random));
    }
    std::string const bytes = writeRecords(records, mvs(RecordFile::WRITE, c.recfm, c.bufferSize));
    EXPECT_TRUE(records ==
                readBytes(bytes, mvs(RecordFile::READ, c.recfm, c.bufferSize), 1 << 17, nullptr, 97));
  }
}

}  // namespace
}  // namespace testing
}  // namespace vyk
