// The IEEE <-> IBM conversions against the slow oracle: boundary classes, random patterns, and (disabled
// in CI, run by hand) the round trip of every float32 value.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "numerics/FloatOracle.h"
#include "vyk/util/FloatRepresentation.h"

namespace vyk {
namespace {

using u64 = std::uint64_t;
using FR = FloatRepresentation;

struct Conversion {
  oracle::Kind from, to;
  FloatBits (*convert)(FloatBits const&);
};
// From the IEEE kinds: four to IBM, then two between IEEE kinds.
Conversion const FROM_IEEE[] = {{oracle::IEEE, oracle::VYK_IBM, FR::fromIeeeToVykIbm},
                                {oracle::IEEE, oracle::DPS_IBM, FR::fromIeeeToDpsIbm},
                                {oracle::UNIX, oracle::VYK_IBM, FR::fromUnixToVykIbm},
                                {oracle::UNIX, oracle::DPS_IBM, FR::fromUnixToDpsIbm},
                                {oracle::IEEE, oracle::UNIX, FR::fromIeeeToUnix},
                                {oracle::UNIX, oracle::IEEE, FR::fromUnixToIeee}};
Conversion const FROM_IBM[] = {{oracle::VYK_IBM, oracle::IEEE, FR::fromVykIbmToIeee},
                               {oracle::VYK_IBM, oracle::UNIX, FR::fromVykIbmToUnix},
                               {oracle::DPS_IBM, oracle::IEEE, FR::fromDpsIbmToIeee},
                               {oracle::DPS_IBM, oracle::UNIX, FR::fromDpsIbmToUnix}};

u64 expectedOf(Conversion const& c, u64 bits) {
  if (c.from == oracle::VYK_IBM || c.from == oracle::DPS_IBM) return oracle::ibmToIeee(c.from, c.to, bits);
  if (c.to == oracle::VYK_IBM || c.to == oracle::DPS_IBM) return oracle::ieeeToIbm(c.from, c.to, bits);
  if (bits >> 48 != 0xFFFF) return bits;
  return oracle::pattern(c.to, oracle::ieeeRow(c.from, bits));
}

// Counts the disagreements with the oracle and reports the first few.
struct Disagreements {
  int count = 0;
  void check(Conversion const& c, u64 bits) {
    u64 const want = expectedOf(c, bits), got = c.convert(FloatBits(bits)).bits();
    if (want != got && ++count <= 5) {
      ADD_FAILURE() << std::hex << "kind " << c.from << "->" << c.to << " of 0x" << bits << ": want 0x"
                    << want << ", got 0x" << got;
    }
  }
};

u64 const IEEE_FRACTIONS[] = {
    0, 1, 2, 7, 8, 0x5555555555555, 0x8000000000000, 0xFFFFFFFFFFFFE, 0xFFFFFFFFFFFFF};
u64 const IEEE_FIELDS[] = {0,    1,    2,    761,  762,  763,  764,  765,  766,  767,  1018, 1019, 1020,
                           1021, 1022, 1023, 1024, 1271, 1272, 1273, 1274, 1275, 1276, 2045, 2046, 2047};
u64 const IBM_FRACTIONS[] = {0x0000000000000000, 0x0000000000000001, 0x0000000000000008, 0x000000000000000F,
                             0x0000000000000010, 0x000F0F0F0F0F0F0F, 0x000FFFFFFFFFFFFF, 0x0010000000000000,
                             0x001FFFFFFFFFFFFF, 0x0020000000000000, 0x007FFFFFFFFFFFFF, 0x0080000000000000,
                             0x00FFFFFFFFFFFFFF};
u64 const IBM_EXPONENTS[] = {0, 1, 2, 63, 64, 65, 126, 127};

TEST(FloatConversionOracle, BoundaryClassesAgree) {
  Disagreements disagreements;
  for (u64 sign : {0ull, 1ull}) {
    for (u64 field : IEEE_FIELDS) {
      for (u64 fraction : IEEE_FRACTIONS) {
        for (Conversion const& c : FROM_IEEE) disagreements.check(c, sign << 63 | field << 52 | fraction);
      }
    }
    for (u64 exponent : IBM_EXPONENTS) {
      for (u64 fraction : IBM_FRACTIONS) {
        for (Conversion const& c : FROM_IBM) disagreements.check(c, sign << 63 | exponent << 56 | fraction);
      }
    }
  }
  for (u64 topByte = 0; topByte < 256; ++topByte) {
    for (Conversion const& c : FROM_IBM) disagreements.check(c, topByte << 56);
  }
  // Every missing pattern of both IEEE kinds, clean and with low bits set; then next to the tables: one
  // past each end of the letters, around "." and "._", and positive twins.
  for (Conversion const& c : FROM_IEEE) {
    for (oracle::MissingRow const& row : oracle::MISSING_ROWS) {
      for (u64 low : {0ull, 1ull, 0xFFFFFFFFFFull})
        disagreements.check(c, oracle::pattern(c.from, row) | low);
    }
    for (u64 top : {0xFFFFA4ull, 0xFFFFBFull, 0xFFFFC0ull, 0xFFFFD0ull, 0xFFFFD3ull, 0xFFFFE3ull, 0xFFFF00ull,
                    0xFFFEFFull, 0x7FFFBEull, 0x7FFFFDull})
      disagreements.check(c, top << 40);
  }
  EXPECT_EQ(0, disagreements.count);
}

// A quarter of the patterns are uniform over all 64 bits; the rest keep their exponent near the edges
// of the IBM range (IEEE) or have leading zero digits and zero fractions (IBM).
constexpr int RANDOM_PATTERNS = 1000000;

TEST(FloatConversionOracle, RandomPatternsAgree) {
  std::mt19937_64 random(20240601);
  Disagreements disagreements;
  for (int i = 0; i < RANDOM_PATTERNS; ++i) {
    u64 bits = random();
    if (i % 4 != 0)
      bits = (bits & 0x800FFFFFFFFFFFFFull) | (700 + random() % 640) << 52;  // both clamping edges
    disagreements.check(FROM_IEEE[i % 4], bits);
    bits = random();
    if (i % 4 != 0) bits = (bits & 0xFF00000000000000ull) | (bits & 0x00FFFFFFFFFFFFFFull) >> random() % 57;
    disagreements.check(FROM_IBM[i % 4], bits);
    disagreements.check(FROM_IEEE[4 + i % 2], random() | (i % 2 != 0 ? 0xFFFF000000000000ull : 0));
  }
  EXPECT_EQ(0, disagreements.count);
}

// Every float32 pattern widened to double goes IEEE -> IBM -> IEEE: numbers come back exactly (minus
// zero as plus zero), infinities and NaNs come back as the missing value they map to. About 2^32 * 4
// conversions: run by hand with --gtest_also_run_disabled_tests.
TEST(FloatConversionOracle, DISABLED_ExhaustiveFloatRoundTrip) {
  u64 failures = 0;
  for (u64 pattern = 0; pattern <= 0xFFFFFFFFull; ++pattern) {
    std::uint32_t const narrow = static_cast<std::uint32_t>(pattern);
    float single;
    std::memcpy(&single, &narrow, sizeof single);
    double const wide = single;
    u64 bits;
    std::memcpy(&bits, &wide, sizeof bits);
    u64 want = bits == 0x8000000000000000ull ? 0 : bits;
    if ((narrow & 0x7F800000u) == 0x7F800000u)
      want = oracle::pattern(oracle::IEEE, oracle::ieeeRow(oracle::IEEE, bits));
    u64 const viaVyk = FR::fromVykIbmToIeee(FR::fromIeeeToVykIbm(FloatBits(bits))).bits();
    u64 const viaDps = FR::fromDpsIbmToIeee(FR::fromIeeeToDpsIbm(FloatBits(bits))).bits();
    if ((viaVyk != want || viaDps != want) && ++failures <= 5) {
      ADD_FAILURE() << std::hex << "float 0x" << narrow << ": want 0x" << want << ", got 0x" << viaVyk
                    << " and 0x" << viaDps;
    }
  }
  EXPECT_EQ(0u, failures);
}

}  // namespace
}  // namespace vyk
