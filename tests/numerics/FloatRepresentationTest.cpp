// Missing-value patterns, queries, conversions and the comparable byte form of FloatRepresentation.
#include "vyk/util/FloatRepresentation.h"

#include <gtest/gtest.h>

#include <array>

#include "numerics/FloatOracle.h"

namespace vyk {
namespace {

using oracle::MISSING_ROWS;
using oracle::MissingRow;
using oracle::pattern;
using u64 = std::uint64_t;
using FR = FloatRepresentation;

constexpr FR::Kind KINDS[] = {FR::Ieee, FR::Unix, FR::VykIbm, FR::DpsIbm};

u64 rowPattern(FR::Kind kind, MissingRow const& row) {
  return pattern(static_cast<oracle::Kind>(kind), row);
}

TEST(FloatRepresentation, MissingPatternsOfEveryKindReadBackAsTheirCharacter) {
  for (FR::Kind kind : KINDS) {
    FR const rep(kind);
    EXPECT_EQ(rowPattern(kind, MISSING_ROWS[0]), rep.missingUnderscore().bits());
    EXPECT_EQ(rowPattern(kind, MISSING_ROWS[1]), rep.missingDot().bits());
    for (int i = 0; i < 28; ++i) {
      SCOPED_TRACE(testing::Message() << "kind " << kind << " row " << MISSING_ROWS[i].c);
      FloatBits const bits(rowPattern(kind, MISSING_ROWS[i]));
      if (i >= 2) {
        EXPECT_EQ(bits, rep.missingLetter(i - 1));
      }
      EXPECT_TRUE(rep.isMissing(bits));
      EXPECT_FALSE(rep.isInfinite(bits));
      EXPECT_EQ(MISSING_ROWS[i].c, rep.getMissingChar(bits));
      for (int j = 0; j < 28; ++j) {
        EXPECT_EQ(i < j ? -1 : (i > j ? 1 : 0),
                  rep.compareMissings(bits, FloatBits(rowPattern(kind, MISSING_ROWS[j]))));
      }
    }
  }
}

TEST(FloatRepresentation, EveryConversionMapsMissingValuesLetterForLetter) {
  for (MissingRow const& row : MISSING_ROWS) {
    for (FR::Kind from : KINDS) {
      for (FR::Kind to : KINDS) {
        SCOPED_TRACE(testing::Message() << row.c << " from " << from << " to " << to);
        EXPECT_EQ(rowPattern(to, row),
                  FR::convertRepresentation(from, to, FloatBits(rowPattern(from, row))).bits());
      }
    }
  }
}

TEST(FloatRepresentation, QueriesOnPatternsOutsideTheTables) {
  struct Case {
    FR::Kind kind;
    u64 bits;
    bool missing, infinite;
    char c;
  };
  Case const cases[] = {
      {FR::Unix, 0xFFF0000000000000, false, true, ' '},
      {FR::Ieee, 0x7FF0000000000000, false, true, ' '},
      {FR::Unix, 0xFFF8000000000000, false, false, ' '},
      {FR::Unix, 0xFFFF800000000000, true, false, '.'},
      {FR::Ieee, 0xFFFFFF0000000000, true, false, '.'},
      {FR::Unix, 0xFFFFD20000000000, true, false, '.'},
      {FR::Ieee, 0xFFFFBE00000000FF, true, false, 'A'},
      {FR::Unix, 0x3FF0000000000000, false, false, ' '},
      {FR::VykIbm, 0x8000000000000000, false, false, ' '},
      {FR::DpsIbm, 0x8000000000000000, true, false, '.'},
      {FR::VykIbm, 0, false, false, ' '},
      {FR::DpsIbm, 0, false, false, ' '},
      {FR::VykIbm, 0x4100000000000000, true, false, '.'},
      {FR::VykIbm, 0x7FF0000000000000, false, false, ' '},
      {FR::VykIbm, 0x8100000000000000, true, false, '.'},
      {FR::DpsIbm, 0x0700000000000000, true, false, '.'},
      {FR::VykIbm, 0xF100000000000000, true, false, '.'},
      {FR::VykIbm, 0xFF00000000000000, true, false, '.'},
      {FR::DpsIbm, 0xCA00000000000000, true, false, '.'},
      {FR::DpsIbm, 0xE9000000000000FF, false, false, ' '},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(testing::Message() << "kind " << c.kind << std::hex << " bits " << c.bits);
    FR const rep(c.kind);
    EXPECT_EQ(c.missing, rep.isMissing(FloatBits(c.bits)));
    EXPECT_EQ(c.infinite, rep.isInfinite(FloatBits(c.bits)));
    EXPECT_EQ(c.c, rep.getMissingChar(FloatBits(c.bits)));
  }
  EXPECT_EQ(1, FR(FR::Unix).compareMissings(FloatBits(0xFFFF800000000000), FloatBits(0xFFFFE40000000000)));
  for (FR::Kind kind : {FR::Ieee, FR::Unix, FR::VykIbm})
    EXPECT_EQ(0x8000000000000000u, FR(kind).minusZero().bits());
}

TEST(FloatRepresentation, ConversionsOfNumbersAndEdges) {
  struct Case {
    FR::Kind from, to;
    u64 in, out;
  };
  Case const cases[] = {
      {FR::Ieee, FR::VykIbm, 0x3FF0000000000000, 0x4110000000000000},  // 1.0
      {FR::Ieee, FR::DpsIbm, 0xBFF0000000000000, 0xC110000000000000},  // -1.0
      {FR::Unix, FR::VykIbm, 0x4059000000000000, 0x4264000000000000},  // 100.0
      {FR::Ieee, FR::VykIbm, 0x3FB999999999999A, 0x401999999999999A},  // 0.1
      {FR::Ieee, FR::VykIbm, 0x3FE0000000000000, 0x4080000000000000},  // 0.5
      {FR::Ieee, FR::VykIbm, 0x3FB0000000000000, 0x4010000000000000},  // 1/16
      {FR::Ieee, FR::VykIbm, 0x3FA0000000000000, 0x3F80000000000000},  // 1/32: exponent step below zero
      {FR::Ieee, FR::VykIbm, 0xBF9FFFFFFFFFFFFF, 0xBF7FFFFFFFFFFFFC},  // magnitude just under 1/32
      {FR::Ieee, FR::VykIbm, 0x4FA0000000000000, 0x7F80000000000000},  // field 1274, kept
      {FR::Ieee, FR::VykIbm, 0x4FB0000000000000, 0x7FFFFFFFFFFFFFFF},  // field 1275, clamped
      {FR::Ieee, FR::VykIbm, 0x7E37E43C8800759C, 0x7FFFFFFFFFFFFFFF},  // 1e300
      {FR::Ieee, FR::DpsIbm, 0xFE37E43C8800759C, 0xFFFFFFFFFFFFFFFF},  // -1e300
      {FR::Ieee, FR::VykIbm, 0x2FB0000000000000, 0x0010000000000000},  // field 763, kept
      {FR::Ieee, FR::VykIbm, 0x2FAFFFFFFFFFFFFF, 0x0010000000000000},  // field 762, clamped
      {FR::Ieee, FR::VykIbm, 0x01A56E1FC2F8F359, 0x0010000000000000},  // 1e-300
      {FR::Ieee, FR::DpsIbm, 0x81A56E1FC2F8F359, 0x8010000000000000},  // -1e-300, not zero
      {FR::Unix, FR::VykIbm, 0x8000000000000001, 0x8010000000000000},  // subnormal
      {FR::Ieee, FR::VykIbm, 0x8000000000000000, 0},                   // minus zero
      {FR::Ieee, FR::DpsIbm, 0x8000000000000000, 0},
      {FR::Ieee, FR::VykIbm, 0x7FF0000000000000, 0x7F00000000000000},  // infinities and NaNs: "."
      {FR::Ieee, FR::DpsIbm, 0xFFF0000000000000, 0x8000000000000000},
      {FR::Unix, FR::DpsIbm, 0x7FF8000000000000, 0x8000000000000000},
      {FR::Unix, FR::VykIbm, 0xFFFFBE0000000000, 0x7F00000000000000},  // Ieee's .A is no Unix letter
      {FR::Ieee, FR::VykIbm, 0xFFFFBE0000000001, 0xC100000000000000},  // low bits of a missing value
      {FR::Unix, FR::Ieee, 0xFFFF800000000000, 0xFFFFD10000000000},    // missing, in no table
      {FR::Ieee, FR::Unix, 0xFFFFBE0000000001, 0xFFFFFD0000000000},
      {FR::Ieee, FR::Unix, 0xFFF8000000000000, 0xFFF8000000000000},  // not missing: passes
      {FR::Unix, FR::Ieee, 0xFFF0000000000000, 0xFFF0000000000000},
      {FR::Unix, FR::Ieee, 0x3FF0000000000000, 0x3FF0000000000000},
      {FR::VykIbm, FR::Unix, 0x7F00000000000000, 0xFFFFFE0000000000},
      {FR::VykIbm, FR::Ieee, 0x8000000000000000, 0},
      {FR::DpsIbm, FR::Ieee, 0x8000000000000000, 0xFFFFD10000000000},
      {FR::DpsIbm, FR::Unix, 0x8000000000000000, 0xFFFFFE0000000000},
      {FR::VykIbm, FR::Ieee, 0x0700000000000000, 0xFFFFD20000000000},
      {FR::VykIbm, FR::Unix, 0x6000000000000000, 0xFFFFFF0000000000},
      {FR::VykIbm, FR::Ieee, 0x8100000000000000, 0xFFFFBE0000000000},  // lower-case a
      {FR::DpsIbm, FR::Unix, 0xA900000000000000, 0xFFFFE40000000000},  // lower-case z
      {FR::DpsIbm, FR::Unix, 0x9100000000000000, 0xFFFFF40000000000},  // lower-case j
      {FR::VykIbm, FR::Ieee, 0xFF00000000000000, 0xFFFFD10000000000},  // no entry in the table
      {FR::VykIbm, FR::Ieee, 0xF500000000000000, 0xFFFFD10000000000},  // a digit
      {FR::VykIbm, FR::Unix, 0x4100000000000000, 0xFFFFFE0000000000},  // unnormalised zero
      {FR::VykIbm, FR::Ieee, 0x4101000000000000, 0x3FB0000000000000},  // 0.0625, unnormalised
      {FR::VykIbm, FR::Ieee, 0x40FFFFFFFFFFFFFF, 0x3FEFFFFFFFFFFFFF},  // truncated
      {FR::DpsIbm, FR::Ieee, 0xC0FFFFFFFFFFFFFF, 0xBFEFFFFFFFFFFFFF},
      {FR::VykIbm, FR::Ieee, 0x0010000000000000, 0x2FB0000000000000},  // smallest normal
      {FR::VykIbm, FR::Ieee, 0x7FFFFFFFFFFFFFFF, 0x4FAFFFFFFFFFFFFF},  // greatest
      {FR::VykIbm, FR::Ieee, 0x0000000000000001, 0x2C70000000000000},  // least unnormalised
      {FR::VykIbm, FR::DpsIbm, 0x8000000000000000, 0},
      {FR::VykIbm, FR::DpsIbm, 0x7F00000000000000, 0x8000000000000000},
      {FR::VykIbm, FR::DpsIbm, 0xC110000000000000, 0xC110000000000000},
      {FR::DpsIbm, FR::VykIbm, 0x8000000000000000, 0x7F00000000000000},
      {FR::DpsIbm, FR::VykIbm, 0x7F00000000000000, 0x7F00000000000000},
      {FR::DpsIbm, FR::VykIbm, 0, 0},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(testing::Message() << c.from << "->" << c.to << std::hex << " in " << c.in);
    EXPECT_EQ(c.out, FR::convertRepresentation(c.from, c.to, FloatBits(c.in)).bits());
  }
}

TEST(FloatRepresentation, NumberStepsAloneOnValuesOutsideTheirDomain) {
  EXPECT_EQ(0x7FFFFFFFFFFFFFFFu, FR::normalAnyIeeeToAnyIbm(FloatBits(0x7FF0000000000000)).bits());
  EXPECT_EQ(0xFFFFFFFFFFFFFFFFu, FR::normalAnyIeeeToAnyIbm(FloatBits(0xFFFFBE0000000000)).bits());
  EXPECT_EQ(0u, FR::normalAnyIeeeToAnyIbm(FloatBits(0x8000000000000000)).bits());
  EXPECT_EQ(0x4110000000000000u, FR::normalAnyIeeeToAnyIbm(FloatBits(0x3FF0000000000000)).bits());
  EXPECT_EQ(0u, FR::normalAnyIbmToAnyIeee(FloatBits(0xC100000000000000)).bits());
  EXPECT_EQ(0x3FF0000000000000u, FR::normalAnyIbmToAnyIeee(FloatBits(0x4110000000000000)).bits());
}

TEST(FloatRepresentation, SameKindConversionKeepsEvenIllegalPatterns) {
  for (FR::Kind kind : KINDS) {
    for (u64 bits :
         {0x8000000000000000ull, 0xFFFF800000000000ull, 0x4100000000000000ull, 0x7F00000000000000ull}) {
      EXPECT_EQ(bits, FR::convertRepresentation(kind, kind, FloatBits(bits)).bits());
    }
  }
}

TEST(FloatRepresentationDeathTest, IllegalKindFails) {
  for (int illegal : {0, 5}) {
    FR const rep(static_cast<FR::Kind>(illegal));
    FloatBits const one(0x3FF0000000000000);
    EXPECT_EXIT(rep.missingDot(), testing::ExitedWithCode(99), "illegal float rep");
    EXPECT_EXIT(rep.missingUnderscore(), testing::ExitedWithCode(99), "illegal float rep");
    EXPECT_EXIT(rep.missingLetter(1), testing::ExitedWithCode(99), "illegal float rep");
    EXPECT_EXIT(rep.minusZero(), testing::ExitedWithCode(99), "illegal float rep");
    EXPECT_EXIT(rep.isMissing(one), testing::ExitedWithCode(99), "illegal float rep");
    EXPECT_EXIT(rep.isInfinite(one), testing::ExitedWithCode(99), "illegal float rep");
    EXPECT_EXIT(rep.compareMissings(one, one), testing::ExitedWithCode(99), "illegal float rep");
    EXPECT_EXIT(rep.getMissingChar(one), testing::ExitedWithCode(99), "illegal float rep");
    EXPECT_EXIT(FR::convertRepresentation(rep, rep, one), testing::ExitedWithCode(99), "illegal float rep");
    EXPECT_EXIT(FR::convertRepresentation(FR::Ieee, rep, one), testing::ExitedWithCode(99),
                "illegal float rep");
  }
  EXPECT_EXIT(FR(FR::DpsIbm).minusZero(), testing::ExitedWithCode(99), "illegal float rep");
  EXPECT_EXIT(FR(FR::Unix).missingLetter(27), testing::ExitedWithCode(99), "Assertion failed");
  EXPECT_EXIT(FR(FR::VykIbm).missingLetter(0), testing::ExitedWithCode(99), "Assertion failed");
}

TEST(FloatRepresentation, ComparableBytesOfSampleValues) {
  struct Case {
    u64 native;
    std::array<unsigned char, 8> comparable;
    bool roundTrips;
  };
  Case const cases[] = {
      {0x3FF0000000000000, {0xBF, 0xF0, 0, 0, 0, 0, 0, 0}, true},
      {0xBFF0000000000000, {0x40, 0x0F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, true},
      {0x0000000000000000, {0x80, 0, 0, 0, 0, 0, 0, 0}, true},
      {0x8000000000000000, {0x80, 0, 0, 0, 0, 0, 0, 0}, false},
      {0xFFFFFF0000000000, {0x00, 0x00, 0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, true},
      {0x0102030405060708, {0x81, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08}, true},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(testing::Message() << std::hex << c.native);
    std::array<unsigned char, 8> bytes;
    for (int i = 0; i < 8; ++i) bytes[i] = static_cast<unsigned char>(c.native >> (8 * i));  // little-endian
    std::array<unsigned char, 8> const original = bytes;
    FR::nativeToComparable(bytes.data(), 8);
    EXPECT_EQ(c.comparable, bytes);
    FR::nativeFromComparable(bytes.data(), 8);
    EXPECT_EQ((c.roundTrips ? original : std::array<unsigned char, 8>{}), bytes);
  }
}

TEST(FloatRepresentation, ComparableFormOfShortLengths) {
  struct Case {
    std::array<unsigned char, 3> in, out;
    std::size_t length;
  };
  Case const cases[] = {
      {{0x34, 0x12, 0xEE}, {0x92, 0x34, 0xEE}, 2}, {{0x01, 0x80, 0xEE}, {0x7F, 0xFE, 0xEE}, 2},
      {{0x00, 0x80, 0xEE}, {0x80, 0x00, 0xEE}, 2}, {{0x05, 0xEE, 0xEE}, {0x85, 0xEE, 0xEE}, 1},
      {{0xC1, 0xB2, 0xA3}, {0x5C, 0x4D, 0x3E}, 3}, {{0xAA, 0xBB, 0xCC}, {0xAA, 0xBB, 0xCC}, 0},
  };
  for (Case const& c : cases) {
    std::array<unsigned char, 3> bytes = c.in;
    FR::nativeToComparable(bytes.data(), c.length);
    EXPECT_EQ(c.out, bytes);
    FR::nativeFromComparable(bytes.data(), c.length);
    if (c.out[0] != 0x80 || c.out[1] != 0 || c.length != 2) {  // all but minus zero come back
      EXPECT_EQ(c.in, bytes);
    }
  }
}

}  // namespace
}  // namespace vyk
