// The built-in translation tables: shape, spot values, and the differences from iconv's tables.
#include "vyk/util/TrantabTable.h"

#include <gtest/gtest.h>
#include <iconv.h>

#include <map>
#include <string>
#include <tuple>
#include <utility>

namespace vyk {
namespace {

TrantabTable const& toEbcdic() {
  return *TrantabTable::iso88591ToOpenEdition1047();
}
TrantabTable const& fromEbcdic() {
  return *TrantabTable::openEdition1047ToIso88591();
}

TEST(TrantabTable, OpenEditionTablesArePermutationsAndExactInverses) {
  EXPECT_TRUE(toEbcdic().isPermutation());
  EXPECT_TRUE(fromEbcdic().isPermutation());
  for (int b = 0; b < 256; ++b) {
    SCOPED_TRACE(b);
    unsigned char const c = static_cast<unsigned char>(b);
    EXPECT_EQ(c, fromEbcdic()[toEbcdic()[c]]);
    EXPECT_EQ(c, toEbcdic()[fromEbcdic()[c]]);
    EXPECT_EQ(c, (*TrantabTable::identity())[c]);
  }
}

TEST(TrantabTable, OpenEditionSpotValues) {
  // Line ends of the OpenEdition form, and the six characters where code page 1047 and code page 37
  // part ways: [ ] ^ not-sign Y-acute diaeresis (37 has them at BA BB B0 5F AD BD).
  // ISO 8859-1 byte, IBM-1047 byte.
  std::tuple<unsigned char, unsigned char> const cases[] = {
      {0x41, 0xC1}, {0x20, 0x40}, {0x0A, 0x15}, {0x85, 0x25}, {0xFF, 0xDF}, {0x00, 0x00}, {0x0D, 0x0D},
      {0x7F, 0x07}, {'0', 0xF0},  {'a', 0x81},  {'|', 0x4F},  {'!', 0x5A},  {'[', 0xAD},  {']', 0xBD},
      {'^', 0x5F},  {0xAC, 0xB0}, {0xDD, 0xBA}, {0xA8, 0xBB}, {0xA0, 0x41}, {0xE9, 0x51}, {0x9F, 0xFF},
  };
  for (auto const& [iso, ebcdic] : cases) {
    SCOPED_TRACE(static_cast<int>(iso));
    EXPECT_EQ(ebcdic, toEbcdic()[iso]);
    EXPECT_EQ(iso, fromEbcdic()[ebcdic]);
  }
}

TEST(TrantabTable, ValueOperations) {
  char bytes[256];
  for (int b = 0; b < 256; ++b) bytes[b] = static_cast<char>(255 - b);
  TrantabTable reversed(bytes), zero;
  EXPECT_FALSE(zero.isPermutation());
  reversed.swap(zero);
  EXPECT_EQ(0x00, reversed[0x00]);
  EXPECT_EQ(0xFF, zero[0x00]);
  EXPECT_EQ(0x7F, zero[0x80]);
  EXPECT_TRUE(zero.isPermutation());
  EXPECT_EQ('A', TrantabTable::inverseOf(toEbcdic())[0xC1]);
}

// Every byte where iconv's table for the named pair differs from ours: byte -> (ours, iconv's).
// Empty with a skip note when this iconv does not know the names.
std::map<int, std::pair<int, int>> differencesFromIconv(TrantabTable const& ours, char const* to,
                                                        char const* from) {
  std::map<int, std::pair<int, int>> differences;
  iconv_t cd = iconv_open(to, from);
  if (cd == reinterpret_cast<iconv_t>(-1)) return differences;
  for (int b = 0; b < 256; ++b) {
    char in = static_cast<char>(b);
    char out[8];
    char* inPtr = &in;
    char* outPtr = out;
    size_t inLeft = 1, outLeft = sizeof out;
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
    size_t const r = iconv(cd, &inPtr, &inLeft, &outPtr, &outLeft);
    int const theirs =
        (r == static_cast<size_t>(-1) || outPtr - out != 1) ? -1 : static_cast<unsigned char>(out[0]);
    int const mine = ours[static_cast<unsigned char>(b)];
    if (theirs != mine) differences[b] = std::make_pair(mine, theirs);
  }
  iconv_close(cd);
  return differences;
}

bool iconvKnows(char const* name) {
  iconv_t cd = iconv_open(name, "ISO-8859-1");
  if (cd == reinterpret_cast<iconv_t>(-1)) return false;
  iconv_close(cd);
  return true;
}

TEST(TrantabTable, DiffersFromIconvIbm1047OnlyInTheOpenEditionLineEnds) {
  if (!iconvKnows("IBM1047")) GTEST_SKIP() << "iconv has no IBM1047";
  // iconv keeps the other IBM-1047 form, where line feed is 0x25 and next line 0x15; ours is the
  // OpenEdition form, whose line feed 0x15 is what text files on that system end their lines with.
  std::map<int, std::pair<int, int>> const expectedForward = {{0x0A, {0x15, 0x25}}, {0x85, {0x25, 0x15}}};
  EXPECT_EQ(expectedForward, differencesFromIconv(toEbcdic(), "IBM1047", "ISO-8859-1"));
  std::map<int, std::pair<int, int>> const expectedBackward = {{0x15, {0x0A, 0x85}}, {0x25, {0x85, 0x0A}}};
  EXPECT_EQ(expectedBackward, differencesFromIconv(fromEbcdic(), "ISO-8859-1", "IBM1047"));
}

}  // namespace
}  // namespace vyk
