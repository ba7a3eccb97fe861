// Block, record and segment descriptor formats: hand-made golden files, bad input, round trips.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "support/MemoryRecordFile.h"
#include "vyk/util/Exception.h"
#include "vyk/util/RecordFormat.h"

namespace vyk {
namespace {

using namespace std::string_literals;
using testing::MemoryRecordFile;
using Options = BaseRecordFile::OpenOptions;
using Records = std::vector<std::string>;

constexpr BaseRecordFile::Recfm V = BaseRecordFile::RECFM_S370V;
constexpr BaseRecordFile::Recfm VB = BaseRecordFile::RECFM_S370VB;
constexpr BaseRecordFile::Recfm VS = BaseRecordFile::RECFM_S370VS;
constexpr BaseRecordFile::Recfm VBS = BaseRecordFile::RECFM_S370VBS;
constexpr BaseRecordFile::Recfm VSTREAM = BaseRecordFile::RECFM_S370VSTREAM;
constexpr BaseRecordFile::Recfm VSSTREAM = BaseRecordFile::RECFM_S370VSSTREAM;
constexpr BaseRecordFile::Recfm ALL[] = {V, VB, VS, VBS, VSTREAM, VSSTREAM};

Options optionsFor(RecordFile::OpenMode mode, BaseRecordFile::Recfm recfm, int bufferSize) {
  Options options(mode);
  options.recfm = recfm;
  options.bufferSize = bufferSize;
  return options;
}

std::string writeAll(Options const& options, Records const& records) {
  MemoryRecordFile file("", options);
  for (std::string const& r : records) file.write(r.data(), static_cast<int>(r.size()), CC_SINGLE);
  file.flush();
  return file.bytes;
}

std::string writeAll(BaseRecordFile::Recfm recfm, int bufferSize, Records const& records) {
  return writeAll(optionsFor(RecordFile::WRITE, recfm, bufferSize), records);
}

Records readBack(BaseRecordFile::Recfm recfm, int bufferSize, std::string const& bytes, int maxFill = 0,
                 int maxLength = 1 << 17) {
  MemoryRecordFile file(bytes, optionsFor(RecordFile::READ, recfm, bufferSize), maxFill);
  return testing::readAll(file, maxLength);
}

// n bytes of a pattern that differs from byte to byte, so that misplaced pieces show.
std::string pattern(int n, char base = 'a') {
  std::string s(static_cast<size_t>(n), ' ');
  for (int i = 0; i < n; ++i) s[static_cast<size_t>(i)] = static_cast<char>(base + i % 26);
  return s;
}

std::string hex(std::string const& bytes) {
  static char const digits[] = "0123456789ABCDEF";
  std::string out;
  for (size_t i = 0; i < bytes.size() && i < 64; ++i) {
    unsigned char c = static_cast<unsigned char>(bytes[i]);
    out += digits[c >> 4];
    out += digits[c & 15];
    out += ' ';
  }
  if (bytes.size() > 64) out += "... (" + std::to_string(bytes.size()) + " bytes)";
  return out;
}

// Runs f and returns the message of the IOException it throws, or "no exception".
template <typename F>
std::string ioFailure(F f) {
  try {
    f();
  } catch (IOException const& e) {
    return e.message();
  }
  return "no exception";
}

char const* nameOf(BaseRecordFile::Recfm recfm) {
  switch (recfm) {
    case V:
      return "S370V";
    case VB:
      return "S370VB";
    case VS:
      return "S370VS";
    case VBS:
      return "S370VBS";
    case VSTREAM:
      return "S370VSTREAM";
    case VSSTREAM:
      return "S370VSSTREAM";
    default:
      return "?";
  }
}

std::string const A248 = pattern(248);
std::string const S600 = pattern(600, 'A');
std::string const R100 = pattern(100, 'a');
std::string const MAX_V = pattern(65531);
std::string const LONG_S = pattern(70000, 'A');

struct Golden {
  char const* what;
  BaseRecordFile::Recfm recfm;
  int bufferSize;
  Records records;
  std::string bytes;
};

// Every golden file was laid out by hand from the descriptor layouts: each line is a block
// descriptor, or a record or segment descriptor followed by its data.
std::vector<Golden> const& goldens() {
  // clang-format off
  static std::vector<Golden> const cases = {
      {"one record", V, 256, {"abc"}, "\x00\x0B\x00\x00"s "\x00\x07\x00\x00"s "abc"},
      {"one record", VB, 256, {"abc"}, "\x00\x0B\x00\x00"s "\x00\x07\x00\x00"s "abc"},
      {"one record", VS, 256, {"abc"}, "\x00\x0B\x00\x00"s "\x00\x07\x00\x00"s "abc"},
      {"one record", VBS, 256, {"abc"}, "\x00\x0B\x00\x00"s "\x00\x07\x00\x00"s "abc"},
      {"one record", VSTREAM, 256, {"abc"}, "\x00\x07\x00\x00"s "abc"},
      {"one record", VSSTREAM, 256, {"abc"}, "\x00\x07\x00\x00"s "abc"},

      {"record fills block", V, 256, {A248}, "\x01\x00\x00\x00"s "\x00\xFC\x00\x00"s + A248},
      {"record fills block", VB, 256, {A248}, "\x01\x00\x00\x00"s "\x00\xFC\x00\x00"s + A248},
      {"record fills block", VS, 256, {A248}, "\x01\x00\x00\x00"s "\x00\xFC\x00\x00"s + A248},
      {"record fills block", VBS, 256, {A248}, "\x01\x00\x00\x00"s "\x00\xFC\x00\x00"s + A248},
      {"record fills block", VSTREAM, 256, {A248}, "\x00\xFC\x00\x00"s + A248},
      {"record fills block", VSSTREAM, 256, {A248}, "\x00\xFC\x00\x00"s + A248},

      {"one byte more", VS, 256, {A248 + "z"}, "\x01\x00\x00\x00"s "\x00\xFC\x01\x00"s + A248 +
       "\x00\x09\x00\x00"s "\x00\x05\x02\x00"s "z"},
      {"one byte more", VBS, 256, {A248 + "z"}, "\x01\x00\x00\x00"s "\x00\xFC\x01\x00"s + A248 +
       "\x00\x09\x00\x00"s "\x00\x05\x02\x00"s "z"},
      {"one byte more", VSTREAM, 256, {A248 + "z"}, "\x00\xFD\x00\x00"s + A248 + "z"},
      {"one byte more", VSSTREAM, 256, {A248 + "z"}, "\x00\xFC\x01\x00"s + A248 + "\x00\x05\x02\x00"s "z"},

      {"empty records", V, 256, {"", "", "a"}, "\x00\x08\x00\x00"s "\x00\x04\x00\x00"s "\x00\x08\x00\x00"s
       "\x00\x04\x00\x00"s "\x00\x09\x00\x00"s "\x00\x05\x00\x00"s "a"},
      {"empty records", VB, 256, {"", "", "a"}, "\x00\x11\x00\x00"s "\x00\x04\x00\x00"s "\x00\x04\x00\x00"s
       "\x00\x05\x00\x00"s "a"},
      {"empty records", VS, 256, {"", "", "a"}, "\x00\x08\x00\x00"s "\x00\x04\x00\x00"s "\x00\x08\x00\x00"s
       "\x00\x04\x00\x00"s "\x00\x09\x00\x00"s "\x00\x05\x00\x00"s "a"},
      {"empty records", VBS, 256, {"", "", "a"}, "\x00\x11\x00\x00"s "\x00\x04\x00\x00"s "\x00\x04\x00\x00"s
       "\x00\x05\x00\x00"s "a"},
      {"empty records", VSTREAM, 256, {"", "", "a"}, "\x00\x04\x00\x00"s "\x00\x04\x00\x00"s
       "\x00\x05\x00\x00"s "a"},
      {"empty records", VSSTREAM, 256, {"", "", "a"}, "\x00\x04\x00\x00"s "\x00\x04\x00\x00"s
       "\x00\x05\x00\x00"s "a"},

      {"three blocks", VS, 256, {S600}, "\x01\x00\x00\x00"s "\x00\xFC\x01\x00"s + S600.substr(0, 248) +
       "\x01\x00\x00\x00"s "\x00\xFC\x03\x00"s + S600.substr(248, 248) +
       "\x00\x70\x00\x00"s "\x00\x6C\x02\x00"s + S600.substr(496)},
      {"three blocks", VBS, 256, {S600}, "\x01\x00\x00\x00"s "\x00\xFC\x01\x00"s + S600.substr(0, 248) +
       "\x01\x00\x00\x00"s "\x00\xFC\x03\x00"s + S600.substr(248, 248) +
       "\x00\x70\x00\x00"s "\x00\x6C\x02\x00"s + S600.substr(496)},
      {"three blocks", VSSTREAM, 256, {S600}, "\x00\xFC\x01\x00"s + S600.substr(0, 248) +
       "\x00\xFC\x03\x00"s +
       S600.substr(248, 248) + "\x00\x6C\x02\x00"s + S600.substr(496)},

      // After a first record the spanned record starts in the rest of the block (VBS) or in a block
      // of its own (VS).
      {"span after a record", VS, 256, {R100, S600}, "\x00\x6C\x00\x00"s "\x00\x68\x00\x00"s + R100 +
       "\x01\x00\x00\x00"s "\x00\xFC\x01\x00"s + S600.substr(0, 248) + "\x01\x00\x00\x00"s
       "\x00\xFC\x03\x00"s +
       S600.substr(248, 248) + "\x00\x70\x00\x00"s "\x00\x6C\x02\x00"s + S600.substr(496)},
      {"span after a record", VBS, 256, {R100, S600}, "\x01\x00\x00\x00"s "\x00\x68\x00\x00"s + R100 +
       "\x00\x94\x01\x00"s + S600.substr(0, 144) + "\x01\x00\x00\x00"s "\x00\xFC\x03\x00"s +
       S600.substr(144, 248) + "\x00\xD8\x00\x00"s "\x00\xD4\x02\x00"s + S600.substr(392)},
      {"span after a record", VSSTREAM, 256, {R100, S600}, "\x00\x68\x00\x00"s + R100 + "\x00\x94\x01\x00"s +
       S600.substr(0, 144) + "\x00\xFC\x03\x00"s + S600.substr(144, 248) + "\x00\xD4\x02\x00"s +
       S600.substr(392)},
      // Descriptors count as used room in the imaginary blocks of the streamed spanned format.
      {"descriptors use room", VSSTREAM, 256, {R100, R100, R100}, "\x00\x68\x00\x00"s + R100 +
       "\x00\x68\x00\x00"s + R100 + "\x00\x2C\x01\x00"s + R100.substr(0, 40) + "\x00\x40\x02\x00"s +
       R100.substr(40)},

      {"two per block", VB, 256, {R100, R100, R100}, "\x00\xD4\x00\x00"s "\x00\x68\x00\x00"s + R100 +
       "\x00\x68\x00\x00"s + R100 + "\x00\x6C\x00\x00"s "\x00\x68\x00\x00"s + R100},
      {"a block per record", V, 256, {R100, "b"}, "\x00\x6C\x00\x00"s "\x00\x68\x00\x00"s + R100 +
       "\x00\x09\x00\x00"s "\x00\x05\x00\x00"s "b"},

      // Fewer than 4 bytes left: the block closes short of its memory.
      {"2 bytes left", VBS, 256, {pattern(246), "0123456789"}, "\x00\xFE\x00\x00"s "\x00\xFA\x00\x00"s +
       pattern(246) + "\x00\x12\x00\x00"s "\x00\x0E\x00\x00"s "0123456789"},
      // Exactly 4 bytes left: room for a descriptor only, so a record with data goes to a new block...
      {"4 bytes left", VBS, 256, {pattern(244), "0123456789"}, "\x00\xFC\x00\x00"s "\x00\xF8\x00\x00"s +
       pattern(244) + "\x00\x12\x00\x00"s "\x00\x0E\x00\x00"s "0123456789"},
      // ...and an empty record fills the block to the brim.
      {"4 bytes left, empty record", VBS, 256, {pattern(244), ""}, "\x01\x00\x00\x00"s "\x00\xF8\x00\x00"s +
       pattern(244) + "\x00\x04\x00\x00"s},
      {"4 bytes left", VSSTREAM, 256, {pattern(244), "0123456789", ""}, "\x00\xF8\x00\x00"s + pattern(244) +
       "\x00\x0E\x00\x00"s "0123456789" "\x00\x04\x00\x00"s},

      // The block descriptor changes form between 32760 and 32761 bytes.
      {"block of 32760", VB, 40000, {pattern(32752)}, "\x7F\xF8\x00\x00"s "\x7F\xF4\x00\x00"s +
       pattern(32752)},
      {"block of 32761", VB, 40000, {pattern(32753)}, "\x80\x00\x7F\xF9"s "\x7F\xF5\x00\x00"s +
       pattern(32753)},

      // Maximum lengths: 65531 data bytes in a record descriptor; spanned records have none, and
      // their segments are cut where a descriptor could no longer state the length.
      {"longest record", V, 65539, {MAX_V}, "\x80\x01\x00\x03"s "\xFF\xFF\x00\x00"s + MAX_V},
      {"longest record", VB, 65539, {MAX_V}, "\x80\x01\x00\x03"s "\xFF\xFF\x00\x00"s + MAX_V},
      {"longest record", VSTREAM, 256, {MAX_V}, "\xFF\xFF\x00\x00"s + MAX_V},
      {"long spanned record", VS, 100000, {LONG_S}, "\x80\x01\x00\x03"s "\xFF\xFF\x01\x00"s +
       LONG_S.substr(0, 65531) + "\x11\x7D\x00\x00"s "\x11\x79\x02\x00"s + LONG_S.substr(65531)},
      {"long spanned record", VBS, 100000, {LONG_S}, "\x80\x01\x00\x03"s "\xFF\xFF\x01\x00"s +
       LONG_S.substr(0, 65531) + "\x11\x7D\x00\x00"s "\x11\x79\x02\x00"s + LONG_S.substr(65531)},
      {"long spanned record", VSSTREAM, 100000, {LONG_S}, "\xFF\xFF\x01\x00"s + LONG_S.substr(0, 65531) +
       "\x11\x79\x02\x00"s + LONG_S.substr(65531)},
  };
  // clang-format on
  return cases;
}

TEST(MvsRecordFormat, WritesGoldenFiles) {
  for (Golden const& g : goldens()) {
    SCOPED_TRACE(std::string(nameOf(g.recfm)) + ": " + g.what);
    std::string written = writeAll(g.recfm, g.bufferSize, g.records);
    EXPECT_EQ(written, g.bytes) << "written:  " << hex(written) << "\nexpected: " << hex(g.bytes);
  }
}

TEST(MvsRecordFormat, ReadsGoldenFilesWholeAndInShortDeviceReads) {
  for (Golden const& g : goldens()) {
    SCOPED_TRACE(std::string(nameOf(g.recfm)) + ": " + g.what);
    EXPECT_EQ(readBack(g.recfm, g.bufferSize, g.bytes), g.records);
    EXPECT_EQ(readBack(g.recfm, 256, g.bytes, 7), g.records);
  }
}

// Files that the writers do not produce but a reader must take.
TEST(MvsRecordFormat, ReadsForeignLayouts) {
  struct Case {
    char const* what;
    BaseRecordFile::Recfm recfm;
    std::string bytes;
    Records records;
  };
  std::string const big = pattern(990);
  // clang-format off
  Case const cases[] = {
      {"block larger than the block memory", VB, "\x03\xE6\x00\x00"s "\x03\xE2\x00\x00"s + big, {big}},
      {"extended descriptor on a short block", VB, "\x80\x00\x00\x0B"s "\x00\x07\x00\x00"s "abc", {"abc"}},
      {"record descriptor bytes 2 and 3 not checked", VB, "\x00\x0B\x00\x00"s "\x00\x07\x12\x34"s
       "abc", {"abc"}},
      {"segment descriptor byte 3 not checked", VBS, "\x00\x0B\x00\x00"s "\x00\x07\x00\x99"s "abc", {"abc"}},
      {"V drops what follows the first record", V, "\x00\x10\x00\x00"s "\x00\x06\x00\x00"s "ab"
       "\x00\x06\x00\x00"s "cd" "\x00\x09\x00\x00"s "\x00\x05\x00\x00"s "e", {"ab", "e"}},
      {"VS drops what follows the record", VS, "\x00\x10\x00\x00"s "\x00\x06\x00\x00"s "ab"
       "\x00\x06\x00\x00"s "cd" "\x00\x09\x00\x00"s "\x00\x05\x00\x00"s "e", {"ab", "e"}},
      {"VBS reads every segment of a block", VBS, "\x00\x10\x00\x00"s "\x00\x06\x00\x00"s "ab"
       "\x00\x06\x00\x00"s "cd", {"ab", "cd"}},
      {"empty file", VB, "", {}},
      {"empty file", VSTREAM, "", {}},
      {"empty file", VSSTREAM, "", {}},
  };
  // clang-format on
  for (Case const& c : cases) {
    SCOPED_TRACE(std::string(nameOf(c.recfm)) + ": " + c.what);
    EXPECT_EQ(readBack(c.recfm, 256, c.bytes), c.records);
    EXPECT_EQ(readBack(c.recfm, 256, c.bytes, 3), c.records);
  }
}

TEST(MvsRecordFormat, MalformedInputThrowsItsMessageAfterTheGoodRecords) {
  struct Case {
    char const* what;
    BaseRecordFile::Recfm recfm;
    std::string bytes;
    Records before;  // the records that come out before the fault
    char const* message;
  };
  // clang-format off
  std::string const good = "\x00\x09\x00\x00"s "\x00\x05\x00\x00"s "g";
  std::string const goodStream = "\x00\x05\x00\x00"s "g";
  Case const cases[] = {
      {"1 byte of block descriptor", VB, good + "\x00"s, {"g"}, "Incomplete block descriptor word"},
      {"3 bytes of block descriptor", VBS, "\x00\x09\x00"s, {}, "Incomplete block descriptor word"},
      {"short form, non-zero byte 3", VB, "\x00\x09\x00\x01"s "\x00\x05\x00\x00"s
       "g", {}, "Invalid block descriptor word"},
      {"short form, non-zero byte 2", V, "\x00\x09\x01\x00"s "\x00\x05\x00\x00"s
       "g", {}, "Invalid block descriptor word"},
      {"zero-length block", VB, good + "\x00\x00\x00\x00"s, {"g"}, "Invalid block descriptor word"},
      {"block length 3", VS, "\x00\x03\x00\x00"s, {}, "Invalid block descriptor word"},
      {"extended length 2", VBS, "\x80\x00\x00\x02"s, {}, "Invalid block descriptor word"},
      {"file ends inside a block", VB, "\x00\x20\x00\x00"s "\x00\x05\x00\x00"s "g", {}, "Incomplete block"},
      {"huge block announced", VBS, "\xFF\xFF\xFF\xFF"s "\x00\x05\x00\x00"s "g", {}, "Incomplete block"},
      {"block holds only its descriptor", VB, good + "\x00\x04\x00\x00"s, {"g"}, "Invalid S370 file"},
      {"block holds only its descriptor", VS, "\x00\x04\x00\x00"s, {}, "Invalid S370 file"},
      {"block ends inside a record descriptor", VB, "\x00\x06\x00\x00"s "\x00\x05"s, {}, "Invalid S370 file"},
      {"record runs past its block", VB, "\x00\x0A\x00\x00"s "\x00\x10\x00\x00"s "gg", {}, "Invalid S370 file"},
      {"record runs past its block", V, "\x00\x0A\x00\x00"s "\x00\x07\x00\x00"s "gg", {}, "Invalid S370 file"},
      {"record length 3", VB, "\x00\x08\x00\x00"s "\x00\x03\x00\x00"s, {}, "Invalid S370 file"},
      {"segment length 3", VBS, "\x00\x08\x00\x00"s
       "\x00\x03\x00\x00"s, {}, "Invalid segment descriptor word"},
      {"first segment length 0", VS, "\x00\x08\x00\x00"s
       "\x00\x00\x01\x00"s, {}, "Invalid segment descriptor word"},
      {"middle segment with no first", VBS, "\x00\x09\x00\x00"s "\x00\x05\x03\x00"s
       "g", {}, "Badly formed S370VS file (unexpected control code)"},
      {"last segment with no first", VS, good + "\x00\x09\x00\x00"s "\x00\x05\x02\x00"s
       "g", {"g"}, "Badly formed S370VS file (unexpected control code)"},
      {"control code 7", VBS, "\x00\x09\x00\x00"s "\x00\x05\x07\x00"s
       "g", {}, "Badly formed S370VS file (unexpected control code)"},
      {"first segment twice", VBS, "\x00\x09\x00\x00"s "\x00\x05\x01\x00"s "g"
       "\x00\x09\x00\x00"s "\x00\x05\x01\x00"s "h", {}, "Badly formed S370VS file (unexpected control code)"},
      {"complete record inside a spanned one", VS, "\x00\x09\x00\x00"s "\x00\x05\x01\x00"s "g"
       "\x00\x09\x00\x00"s "\x00\x05\x00\x00"s "h", {}, "Badly formed S370VS file (unexpected control code)"},
      {"continuation length 2", VBS, "\x00\x09\x00\x00"s "\x00\x05\x01\x00"s "g"
       "\x00\x08\x00\x00"s "\x00\x02\x02\x00"s, {}, "Invalid segment descriptor word"},
      {"file ends inside a spanned record", VBS, good +
       "\x00\x09\x00\x00"s "\x00\x05\x01\x00"s "g", {"g"}, "Invalid S370 file"},
      {"file ends inside a spanned record", VS, "\x00\x09\x00\x00"s "\x00\x05\x01\x00"s
       "g", {}, "Invalid S370 file"},
      {"continuation block too short for a descriptor", VS, "\x00\x09\x00\x00"s "\x00\x05\x01\x00"s "g"
       "\x00\x06\x00\x00"s "\x00\x05"s, {}, "Invalid S370 file"},
      {"segment runs past its block", VBS, "\x00\x09\x00\x00"s "\x00\x06\x00\x00"s
       "g", {}, "Invalid S370 file"},

      {"3 bytes of record descriptor", VSTREAM, goodStream +
       "\x00\x05\x00"s, {"g"}, "Incomplete record descriptor word at end of file"},
      {"record length 2", VSTREAM, "\x00\x02\x00\x00"s, {}, "Invalid S370 file"},
      {"file ends inside a record", VSTREAM, goodStream +
       "\x00\x10\x00\x00"s "abc", {"g"}, "End of file encountered in record or segment"},
      {"1 byte of segment descriptor", VSSTREAM, goodStream +
       "\x00"s, {"g"}, "Incomplete segment descriptor word at end of file"},
      {"segment length 1", VSSTREAM, "\x00\x01\x00\x00"s, {}, "Invalid segment descriptor word"},
      {"middle segment with no first", VSSTREAM, "\x00\x05\x03\x00"s
       "g", {}, "Badly formed S370VS file (unexpected control code)"},
      {"first segment twice", VSSTREAM, "\x00\x05\x01\x00"s "g"
       "\x00\x05\x01\x00"s "h", {}, "Badly formed S370VS file (unexpected control code)"},
      {"file ends after a first segment", VSSTREAM, goodStream +
       "\x00\x05\x01\x00"s "g", {"g"}, "Incomplete spanned record encountered at end of file"},
      {"file ends inside a continuation descriptor", VSSTREAM, "\x00\x05\x01\x00"s "g"
       "\x00\x05"s, {}, "Incomplete segment descriptor word at end of file"},
      {"continuation length 3", VSSTREAM, "\x00\x05\x01\x00"s "g"
       "\x00\x03\x02\x00"s, {}, "Invalid segment descriptor word"},
      {"file ends inside a segment", VSSTREAM, "\x00\x05\x01\x00"s "g"
       "\x00\x09\x02\x00"s "h", {}, "End of file encountered in record or segment"},
  };
  // clang-format on
  for (Case const& c : cases) {
    for (int maxFill : {0, 1}) {
      SCOPED_TRACE(std::string(nameOf(c.recfm)) + ": " + c.what +
                   (maxFill ? ", 1 byte per device read" : ""));
      MemoryRecordFile file(c.bytes, optionsFor(RecordFile::READ, c.recfm, 256), maxFill);
      Records got;
      std::string message = ioFailure([&] {
        char buffer[300];
        int eof = 0;
        while (true) {
          int n = file.read(buffer, sizeof buffer, &eof);
          if (eof) break;
          got.emplace_back(buffer, static_cast<size_t>(n));
        }
      });
      EXPECT_EQ(message, c.message);
      EXPECT_EQ(got, c.before);
    }
  }
}

// A cut record: the rest of the record is passed over and the next read returns the next record.
TEST(MvsRecordFormat, ShortBufferCutsTheRecordAndKeepsTheNext) {
  struct Case {
    BaseRecordFile::Recfm recfm;
    int maxLength;
    std::string first;
  };
  // clang-format off
  Case const cases[] = {
      {V, 10, pattern(50)},   {VB, 10, pattern(50)},      {VS, 10, pattern(50)},
      {VBS, 10, pattern(50)}, {VSTREAM, 10, pattern(50)}, {VSSTREAM, 10, pattern(50)},
      {VS, 300, S600},        {VBS, 300, S600},           {VSSTREAM, 300, S600},
      {VBS, 0, S600},
  };
  // clang-format on
  for (Case const& c : cases) {
    SCOPED_TRACE(std::string(nameOf(c.recfm)) + " maxLength " + std::to_string(c.maxLength));
    std::string bytes = writeAll(c.recfm, 256, {c.first, "next"});
    size_t cut = static_cast<size_t>(c.maxLength);
    Records expected = {c.first.substr(0, cut), std::string("next").substr(0, cut)};
    EXPECT_EQ(readBack(c.recfm, 256, bytes, 0, c.maxLength), expected);
  }
}

TEST(MvsRecordFormat, OverlongWritesAreRefusedAndLeaveNothingBehind) {
  struct Case {
    char const* what;
    BaseRecordFile::Recfm recfm;
    int bufferSize;
    int lrecl;  // padded to it when not 0
    int length;
    char const* message;
    std::string fileAfter;  // the bytes after "abc" before and "xyz" after the failed write
  };
  // clang-format off
  Case const cases[] = {
      {"record longer than the block", V, 256, 0, 249, "Invalid S370 file",
       "\x00\x0B\x00\x00"s "\x00\x07\x00\x00"s "abc" "\x00\x0B\x00\x00"s "\x00\x07\x00\x00"s "xyz"},
      {"record longer than the block", VB, 256, 0, 249, "Invalid S370 file",
       "\x00\x12\x00\x00"s "\x00\x07\x00\x00"s "abc" "\x00\x07\x00\x00"s "xyz"},
      {"padded record longer than the block", VB, 256, 249, 3, "Invalid S370 file", ""},
      {"padded record longer than the block", V, 256, 249, 3, "Invalid S370 file", ""},
      {"record fits the block, not the descriptor", VB, 65540, 0, 65532, "Invalid S370 file",
       "\x00\x12\x00\x00"s "\x00\x07\x00\x00"s "abc" "\x00\x07\x00\x00"s "xyz"},
      {"record that no descriptor can state", VSTREAM, 256, 0, 65532,
       "Record too long for a record descriptor word",
       "\x00\x07\x00\x00"s "abc" "\x00\x07\x00\x00"s "xyz"},
  };
  // clang-format on
  for (Case const& c : cases) {
    SCOPED_TRACE(std::string(nameOf(c.recfm)) + ": " + c.what);
    Options options = optionsFor(RecordFile::WRITE, c.recfm, c.bufferSize);
    options.padToLrecl = c.lrecl != 0;
    if (c.lrecl != 0) options.lrecl = c.lrecl;
    MemoryRecordFile file("", options);
    std::string big(static_cast<size_t>(c.length), 'q');
    if (c.lrecl == 0) file.write("abc", 3, CC_SINGLE);
    EXPECT_EQ(ioFailure([&] { file.write(big.data(), c.length, CC_SINGLE); }), c.message);
    if (c.lrecl == 0) file.write("xyz", 3, CC_SINGLE);
    file.flush();
    EXPECT_EQ(file.bytes, c.fileAfter) << hex(file.bytes);
  }
}

TEST(MvsRecordFormat, PadsShortRecordsWithAsciiBlanks) {
  struct Case {
    BaseRecordFile::Recfm recfm;
    std::string bytes;
  };
  std::string const blanks(70, ' ');
  std::string const y90(90, 'y');
  // clang-format off
  Case const cases[] = {
      {V, "\x00\x58\x00\x00"s "\x00\x54\x00\x00"s "0123456789" + blanks +
       "\x00\x62\x00\x00"s "\x00\x5E\x00\x00"s + y90},
      {VB, "\x00\xB6\x00\x00"s "\x00\x54\x00\x00"s "0123456789" + blanks + "\x00\x5E\x00\x00"s + y90},
      // The streamed variable format does not pad.
      {VSTREAM, "\x00\x0E\x00\x00"s "0123456789" "\x00\x5E\x00\x00"s + y90},
  };
  // clang-format on
  for (Case const& c : cases) {
    SCOPED_TRACE(nameOf(c.recfm));
    Options options = optionsFor(RecordFile::WRITE, c.recfm, 256);
    options.lrecl = 80;
    options.padToLrecl = true;
    EXPECT_EQ(writeAll(options, {"0123456789", y90}), c.bytes) << hex(writeAll(options, {"0123456789", y90}));
  }
}

TEST(MvsRecordFormat, BlockMemoryIsAtLeast256Bytes) {
  // A block size of 16 still holds a 248-byte record in one block of 256.
  EXPECT_EQ(writeAll(VB, 16, {A248}), "\x01\x00\x00\x00\x00\xFC\x00\x00"s + A248);
  EXPECT_EQ(writeAll(VSSTREAM, 16, {A248}), "\x00\xFC\x00\x00"s + A248);
  EXPECT_EQ(readBack(VB, 16, "\x01\x00\x00\x00\x00\xFC\x00\x00"s + A248), Records{A248});
}

TEST(MvsRecordFormat, FlushClosesTheOpenBlock) {
  Options options = optionsFor(RecordFile::WRITE, VB, 256);
  options.autoFlush = true;
  std::string const oneBlockEach =
      "\x00\x09\x00\x00\x00\x05\x00\x00"s + "a" + "\x00\x09\x00\x00\x00\x05\x00\x00"s + "b";
  EXPECT_EQ(writeAll(options, {"a", "b"}), oneBlockEach);

  // Without autoFlush nothing reaches the device before the flush; a second flush adds nothing.
  MemoryRecordFile file("", optionsFor(RecordFile::WRITE, VBS, 256));
  file.write("a", 1, CC_SINGLE);
  EXPECT_TRUE(file.bytes.empty());
  file.flush();
  file.flush();
  EXPECT_EQ(file.bytes,
            "\x00\x09\x00\x00"s
            "\x00\x05\x00\x00"s
            "a");
}

TEST(MvsRecordFormat, SequentialFormatsWithoutNotesOrUpdate) {
  char const* const names[] = {"S370V", "S370VB", "S370VS", "S370VBS", "S370V", "S370VS"};
  int i = 0;
  for (BaseRecordFile::Recfm recfm : ALL) {
    SCOPED_TRACE(nameOf(recfm));
    std::string bytes = writeAll(recfm, 256, {"abc", "de"});
    MemoryRecordFile file(bytes, optionsFor(RecordFile::READ, recfm, 256));
    EXPECT_STREQ(file.format()->name(), names[i++]);
    EXPECT_EQ(file.note_length(), 0);
    char buffer[8];
    int eof = 0;
    EXPECT_EQ(file.read(buffer, 8, &eof), 3);
    long long note = 0;
    EXPECT_FALSE(file.tell(&note));
    EXPECT_FALSE(file.attemptToChangeRecordLength(10));

    std::string message =
        ioFailure([&] { MemoryRecordFile update(bytes, optionsFor(RecordFile::UPDATE, recfm, 256)); });
    EXPECT_EQ(message, "Update mode not supported");
  }
}

TEST(MvsRecordFormat, TenThousandRandomRecordsRoundTrip) {
  struct Case {
    BaseRecordFile::Recfm recfm;
    int bufferSize;
    int maxLength;  // longest record written
  };
  // clang-format off
  Case const cases[] = {
      {V, 1000, 992},   {VB, 1000, 992},   {VB, 300, 292},       {VS, 256, 2000},
      {VBS, 256, 2000}, {VBS, 4096, 9000}, {VSTREAM, 256, 3000}, {VSSTREAM, 300, 2000},
  };
  // clang-format on
  for (Case const& c : cases) {
    SCOPED_TRACE(std::string(nameOf(c.recfm)) + " block " + std::to_string(c.bufferSize));
    std::mt19937 random(12345u + static_cast<unsigned>(c.recfm));
    std::uniform_int_distribution<int> length(0, c.maxLength);
    std::uniform_int_distribution<int> byte(0, 255);
    Records records(10000);
    for (std::string& r : records) {
      r.resize(static_cast<size_t>(length(random)));
      for (char& ch : r) ch = static_cast<char>(byte(random));
    }
    std::string bytes = writeAll(c.recfm, c.bufferSize, records);
    Records back = readBack(c.recfm, c.bufferSize, bytes, 97);
    ASSERT_EQ(back.size(), records.size());
    EXPECT_TRUE(back == records);
  }
}

}  // namespace
}  // namespace vyk
