// Missing-value patterns, queries, conversions and the comparable byte form of FloatRepresentation.
#include "vyk/util/FloatRepresentation.h"

#include <gtest/gtest.h>

#include <array>
#include <tuple>

#include "numerics/FloatOracle.h"

namespace vyk {
namespace {

using oracle::MISSING_ROWS;
using u64 = std::uint64_t;
using FR = FloatRepresentation;

constexpr FR::Kind KINDS[] = {FR::Ieee, FR::Unix, FR::VykIbm, FR::DpsIbm};

u64 rowPattern(FR::Kind kind, int row) {
  return oracle::pattern(static_cast<oracle::Kind>(kind), MISSING_ROWS[row]);
}

// Each pattern reads back as its character, sorts in table order, and converts letter for letter.
TEST(FloatRepresentation, MissingPatternsOfEveryKind) {
  for (FR::Kind kind : KINDS) {
    FR const rep(kind);
    EXPECT_EQ(rowPattern(kind, 0), rep.missingUnderscore().bits());
    EXPECT_EQ(rowPattern(kind, 1), rep.missingDot().bits());
    for (int i = 0; i < 28; ++i) {
      SCOPED_TRACE(testing::Message() << "kind " << kind << " row " << MISSING_ROWS[i].c);
      FloatBits const bits(rowPattern(kind, i));
      if (i >= 2) {
        EXPECT_EQ(bits, rep.missingLetter(i - 1));
      }
      EXPECT_TRUE(rep.isMissing(bits) && !rep.isInfinite(bits));
      EXPECT_EQ(MISSING_ROWS[i].c, rep.getMissingChar(bits));
      for (int j = 0; j < 28; ++j)
        EXPECT_EQ(i < j ? -1 : (i > j ? 1 : 0), rep.compareMissings(bits, FloatBits(rowPattern(kind, j))));
      for (FR::Kind to : KINDS)
        EXPECT_EQ(rowPattern(to, i), FR::convertRepresentation(kind, to, bits).bits());
    }
  }
}

// The character of a pattern outside the tables; ' ' is a number.
TEST(FloatRepresentation, QueriesOnPatternsOutsideTheTables) {
  std::tuple<FR::Kind, u64, char> const cases[] = {{FR::Unix, 0xFFF8000000000000, ' '},
                                                   {FR::Unix, 0xFFFF800000000000, '.'},
                                                   {FR::Unix, 0xFFFFD20000000000, '.'},
                                                   {FR::Ieee, 0xFFFFBE00000000FF, 'A'},
                                                   {FR::VykIbm, 0x8000000000000000, ' '},
                                                   {FR::DpsIbm, 0x8000000000000000, '.'},
                                                   {FR::DpsIbm, 0, ' '},
                                                   {FR::VykIbm, 0x8100000000000000, '.'},
                                                   {FR::DpsIbm, 0x0700000000000000, '.'},
                                                   {FR::VykIbm, 0xFF00000000000000, '.'},
                                                   {FR::DpsIbm, 0xE9000000000000FF, ' '}};
  for (auto const& [kind, bits, c] : cases) {
    EXPECT_EQ(c, FR(kind).getMissingChar(FloatBits(bits))) << kind << std::hex << " " << bits;
    EXPECT_EQ(c != ' ', FR(kind).isMissing(FloatBits(bits))) << kind << std::hex << " " << bits;
  }
  EXPECT_TRUE(FR(FR::Unix).isInfinite(FloatBits(0xFFF0000000000000)));
  EXPECT_FALSE(FR(FR::VykIbm).isInfinite(FloatBits(0x7FF0000000000000)));
  for (FR::Kind kind : {FR::Ieee, FR::Unix, FR::VykIbm})
    EXPECT_EQ(0x8000000000000000u, FR(kind).minusZero().bits());
}

// The oracle covers the conversions between IEEE and IBM kinds (1/32, the clamps, truncation, minus zero
// are among its boundary classes); these are the conversions between the two IBM kinds, to which
// 0x8000000000000000 is a number in one kind and a missing value in the other.
TEST(FloatRepresentation, ConversionsOfNumbersAndEdges) {
  std::tuple<FR::Kind, FR::Kind, u64, u64> const cases[] = {
      {FR::VykIbm, FR::Ieee, 0x40FFFFFFFFFFFFFF, 0x3FEFFFFFFFFFFFFF},  // a number through the dispatch too
      {FR::DpsIbm, FR::Ieee, 0x8000000000000000, 0xFFFFD10000000000},
      {FR::VykIbm, FR::DpsIbm, 0x8000000000000000, 0},
      {FR::VykIbm, FR::DpsIbm, 0x7F00000000000000, 0x8000000000000000},
      {FR::VykIbm, FR::DpsIbm, 0xC110000000000000, 0xC110000000000000},
      {FR::DpsIbm, FR::VykIbm, 0x8000000000000000, 0x7F00000000000000},
      {FR::DpsIbm, FR::VykIbm, 0x7F00000000000000, 0x7F00000000000000},
      {FR::VykIbm, FR::VykIbm, 0x4100000000000000, 0x4100000000000000}};  // same kind: kept as it is
  for (auto const& [from, to, in, out] : cases)
    EXPECT_EQ(out, FR::convertRepresentation(from, to, FloatBits(in)).bits())
        << from << "->" << to << std::hex << " " << in;
  // The number steps alone leave values outside their domain to the rules of numbers.
  EXPECT_EQ(0x7FFFFFFFFFFFFFFFu, FR::normalAnyIeeeToAnyIbm(FloatBits(0x7FF0000000000000)).bits());
  EXPECT_EQ(0x4110000000000000u, FR::normalAnyIeeeToAnyIbm(FloatBits(0x3FF0000000000000)).bits());
  EXPECT_EQ(0u, FR::normalAnyIbmToAnyIeee(FloatBits(0xC100000000000000)).bits());
  EXPECT_EQ(0x3FF0000000000000u, FR::normalAnyIbmToAnyIeee(FloatBits(0x4110000000000000)).bits());
}

TEST(FloatRepresentationDeathTest, IllegalKindFails) {
  FloatBits const one(0x3FF0000000000000);
  for (int illegal : {0, 5}) {
    FR const rep(static_cast<FR::Kind>(illegal));
    EXPECT_EXIT(rep.missingDot(), testing::ExitedWithCode(99), "illegal float rep");
    EXPECT_EXIT(rep.isMissing(one), testing::ExitedWithCode(99), "illegal float rep");
    EXPECT_EXIT(FR::convertRepresentation(FR::Ieee, rep, one), testing::ExitedWithCode(99),
                "illegal float rep");
  }
  EXPECT_EXIT(FR(FR::DpsIbm).minusZero(), testing::ExitedWithCode(99), "illegal float rep");
  EXPECT_EXIT(FR(FR::Unix).missingLetter(27), testing::ExitedWithCode(99), "Assertion failed");
}

// Native bytes are little-endian; the comparable form is big-endian (that it sorts as the values do is
// checked with the order of compare).
TEST(FloatRepresentation, ComparableForms) {
  std::tuple<std::array<unsigned char, 8>, std::array<unsigned char, 8>, std::size_t> const cases[] = {
      {{0, 0, 0, 0, 0, 0, 0xF0, 0xBF}, {0x40, 0x0F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, 8},  // -1.0
      {{8, 7, 6, 5, 4, 3, 2, 1}, {0x81, 2, 3, 4, 5, 6, 7, 8}, 8},
      {{0x01, 0x80, 0xEE}, {0x7F, 0xFE, 0xEE}, 2},
      {{0x05, 0xEE, 0xEE}, {0x85, 0xEE, 0xEE}, 1},
      {{0xAA, 0xBB, 0xCC}, {0xAA, 0xBB, 0xCC}, 0}};
  for (auto const& [native, comparable, length] : cases) {
    std::array<unsigned char, 8> bytes = native;
    FR::nativeToComparable(bytes.data(), length);
    EXPECT_EQ(comparable, bytes) << length;
    FR::nativeFromComparable(bytes.data(), length);
    EXPECT_EQ(native, bytes) << length;
  }
  // Minus zero takes the form of plus zero, and comes back as plus zero.
  for (std::size_t length : {2, 8}) {
    std::array<unsigned char, 8> bytes = {};
    bytes[length - 1] = 0x80;
    FR::nativeToComparable(bytes.data(), length);
    EXPECT_EQ((std::array<unsigned char, 8>{0x80}), bytes) << length;
    FR::nativeFromComparable(bytes.data(), length);
    EXPECT_EQ((std::array<unsigned char, 8>{}), bytes) << length;
  }
}

}  // namespace
}  // namespace vyk
