// The missing-value constants, the order of compare and its agreement with the comparable byte form.
#include "vyk/util/DpsNumeric.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>
#include <vector>

#include "numerics/FloatOracle.h"
#include "vyk/util/FloatRepresentation.h"

namespace vyk {
namespace {

using namespace dps_numeric;
using u64 = std::uint64_t;

double fromBits(u64 bits) {
  double value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

u64 bitsOf(double value) {
  u64 bits;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

double const INF = std::numeric_limits<double>::infinity();
double const NAN_PLUS = fromBits(0x7FF8000000000000);
double const NAN_MINUS = fromBits(0xFFF8000000000000);  // 13 leading ones: not missing

TEST(DpsNumeric, ConstantsHoldTheUnixPatterns) {
  double const* const constants[28] = {
      &MISSING__, &MISSING,   &MISSING_A, &MISSING_B, &MISSING_C, &MISSING_D, &MISSING_E,
      &MISSING_F, &MISSING_G, &MISSING_H, &MISSING_I, &MISSING_J, &MISSING_K, &MISSING_L,
      &MISSING_M, &MISSING_N, &MISSING_O, &MISSING_P, &MISSING_Q, &MISSING_R, &MISSING_S,
      &MISSING_T, &MISSING_U, &MISSING_V, &MISSING_W, &MISSING_X, &MISSING_Y, &MISSING_Z,
  };
  for (int i = 0; i < 28; ++i) {
    oracle::MissingRow const& row = oracle::MISSING_ROWS[i];
    SCOPED_TRACE(row.c);
    EXPECT_EQ(oracle::pattern(oracle::UNIX, row), bitsOf(*constants[i]));
    EXPECT_EQ(row.c, missingChar(*constants[i]));
    EXPECT_EQ(bitsOf(*constants[i]), bitsOf(getMissing(row.c)));
    if (i >= 2) {
      EXPECT_EQ(bitsOf(*constants[i]), bitsOf(getMissing(static_cast<char>(row.c + 32))));
    }
    std::ostringstream out;
    out << printable(*constants[i]);
    EXPECT_EQ(row.c == '.' ? std::string(".") : std::string(".") + row.c, out.str());
  }
}

TEST(DpsNumeric, CharactersAndTextOfOtherValues) {
  struct Case {
    u64 bits;
    char c;
    char const* text;
  };
  Case const cases[] = {
      {0x3FF8000000000000, ' ', "1.5"}, {0xBFF0000000000000, ' ', "-1"}, {0x7FF0000000000000, ' ', "inf"},
      {0xFFFF800000000000, '.', "."},   {0xFFFFD20000000000, '.', "."},  {0xFFFFFD0000000001, 'A', ".A"},
  };
  for (Case const& c : cases) {
    EXPECT_EQ(c.c, missingChar(fromBits(c.bits)));
    std::ostringstream out;
    out << printable(fromBits(c.bits));
    EXPECT_EQ(c.text, out.str());
  }
  for (char c : {'.', '1', ' ', '@', '[', '`', '{', '\0', '\xC1'})
    EXPECT_EQ(bitsOf(MISSING), bitsOf(getMissing(c)));
}

TEST(DpsNumeric, PairsWithNaNsZerosAndMissingValues) {
  struct Case {
    double a, b;
    int compare;
    bool less, lessEqual, equal;
  };
  Case const cases[] = {
      {MISSING, -INF, -1, true, true, false},
      {MISSING_Z, -1e308, -1, true, true, false},
      {MISSING__, MISSING, -1, true, true, false},
      {MISSING, MISSING_A, -1, true, true, false},
      {MISSING, MISSING, 0, false, true, true},
      {0.0, -0.0, 0, false, true, true},
      {1.0, 2.0, -1, true, true, false},
      {2.0, 1.0, 1, false, false, false},
      {NAN_PLUS, 1.0, 0, false, false, false},
      {1.0, NAN_PLUS, 0, false, false, false},
      {NAN_PLUS, NAN_PLUS, 0, false, false, true},
      {NAN_PLUS, MISSING, 1, false, false, false},
      {MISSING, NAN_PLUS, -1, true, true, false},
      {NAN_MINUS, MISSING_Z, 1, false, false, false},
      {NAN_MINUS, -INF, 0, false, false, false},
      {fromBits(0xFFFF800000000000), MISSING_Z, 1, false, false, false},
      {fromBits(0xFFFFFFFFFFFFFFFF), MISSING__, -1, true, true, false},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(testing::Message() << std::hex << bitsOf(c.a) << " vs " << bitsOf(c.b));
    EXPECT_EQ(c.compare, compare(c.a, c.b));
    EXPECT_EQ(c.less, isLessThan(c.a, c.b));
    EXPECT_EQ(c.lessEqual, isLessEqual(c.a, c.b));
    EXPECT_EQ(c.equal, isEqual(c.a, c.b));
  }
}

// The 28 missing values, one out of every table, and a spread of numbers, in ascending order.
std::vector<double> ascendingValues() {
  std::vector<double> values;
  for (oracle::MissingRow const& row : oracle::MISSING_ROWS)
    values.push_back(fromBits(oracle::pattern(oracle::UNIX, row)));
  values.push_back(fromBits(0xFFFF800000000000));
  for (double v :
       {-INF, -1e308, -1.0, -4.9e-324, 0.0, 4.9e-324, 2.2250738585072014e-308, 0.1, 1.0, 1e308, INF}) {
    values.push_back(v);
  }
  return values;
}

std::array<unsigned char, 8> comparableOf(double value) {
  std::array<unsigned char, 8> bytes;
  std::memcpy(bytes.data(), &value, 8);
  FloatRepresentation::nativeToComparable(bytes.data(), 8);
  return bytes;
}

int sign(int x) {
  return (x > 0) - (x < 0);
}

TEST(DpsNumeric, CompareAndComparableBytesAgreeOnTheOrder) {
  std::vector<double> const expected = ascendingValues();
  for (std::size_t i = 0; i < expected.size(); ++i) {
    for (std::size_t j = 0; j < expected.size(); ++j) {
      int const want = i < j ? -1 : (i > j ? 1 : 0);
      ASSERT_EQ(want, compare(expected[i], expected[j])) << i << " " << j;
      ASSERT_EQ(want,
                sign(std::memcmp(comparableOf(expected[i]).data(), comparableOf(expected[j]).data(), 8)));
    }
  }
  // Shuffle, with minus zero standing in for one plus zero; sort both ways.
  std::vector<double> shuffled = expected;
  shuffled.push_back(-0.0);
  std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(7));
  std::vector<double> byCompare = shuffled;
  std::stable_sort(byCompare.begin(), byCompare.end(), isLessThan);
  std::vector<std::array<unsigned char, 8>> byBytes;
  for (double v : shuffled) byBytes.push_back(comparableOf(v));
  std::sort(byBytes.begin(), byBytes.end());
  ASSERT_EQ(byCompare.size(), byBytes.size());
  for (std::size_t i = 0; i < byCompare.size(); ++i) {
    std::array<unsigned char, 8> bytes = byBytes[i];
    FloatRepresentation::nativeFromComparable(bytes.data(), 8);
    double back;
    std::memcpy(&back, bytes.data(), 8);
    EXPECT_TRUE(isEqual(byCompare[i], back)) << i;
    EXPECT_TRUE(isLessEqual(byCompare[i == 0 ? 0 : i - 1], byCompare[i])) << i;
  }
}

}  // namespace
}  // namespace vyk
