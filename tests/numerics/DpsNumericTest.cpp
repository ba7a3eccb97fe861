// The missing-value constants, the order of compare and its agreement with the comparable byte form.
#include "vyk/util/DpsNumeric.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>
#include <tuple>
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

u64 fromBytes(std::array<unsigned char, 8> const& bytes) {
  u64 bits;
  std::memcpy(&bits, bytes.data(), sizeof bits);
  return bits;
}

std::string printed(double value) {
  std::ostringstream out;
  out << printable(value);
  return out.str();
}

double const INF = std::numeric_limits<double>::infinity();
double const NAN_PLUS = fromBits(0x7FF8000000000000);
double const NAN_MINUS = fromBits(0xFFF8000000000000);  // 13 leading ones: not missing

TEST(DpsNumeric, ConstantsCharactersAndTexts) {
  double const* const constants[28] = {
      &MISSING__, &MISSING,   &MISSING_A, &MISSING_B, &MISSING_C, &MISSING_D, &MISSING_E,
      &MISSING_F, &MISSING_G, &MISSING_H, &MISSING_I, &MISSING_J, &MISSING_K, &MISSING_L,
      &MISSING_M, &MISSING_N, &MISSING_O, &MISSING_P, &MISSING_Q, &MISSING_R, &MISSING_S,
      &MISSING_T, &MISSING_U, &MISSING_V, &MISSING_W, &MISSING_X, &MISSING_Y, &MISSING_Z,
  };
  for (int i = 0; i < 28; ++i) {
    char const c = oracle::MISSING_ROWS[i].c;
    SCOPED_TRACE(c);
    EXPECT_EQ(oracle::pattern(oracle::UNIX, oracle::MISSING_ROWS[i]), bitsOf(*constants[i]));
    EXPECT_EQ(c, missingChar(*constants[i]));
    EXPECT_EQ(bitsOf(*constants[i]), bitsOf(getMissing(c)));
    EXPECT_EQ(bitsOf(*constants[i]), bitsOf(getMissing(static_cast<char>(std::tolower(c)))));
    EXPECT_EQ(c == '.' ? std::string(".") : std::string(".") + c, printed(*constants[i]));
  }
  EXPECT_EQ("1.5", printed(1.5));
  EXPECT_EQ("inf", printed(INF));
  EXPECT_EQ(".", printed(fromBits(0xFFFF800000000000)));  // missing, but in no table
  EXPECT_EQ(".A", printed(fromBits(0xFFFFFD0000000001)));
  for (char c : {'.', '1', '@', '[', '`', '{', '\xC1'}) EXPECT_EQ(bitsOf(MISSING), bitsOf(getMissing(c)));
}

// compare, isLessThan, isLessEqual, isEqual; isLessEqual is no negation of isLessThan where NaNs come in.
TEST(DpsNumeric, PairsWithNaNsZerosAndMissingValues) {
  std::tuple<double, double, int, bool, bool, bool> const cases[] = {
      {MISSING, MISSING, 0, false, true, true},
      {0.0, -0.0, 0, false, true, true},
      {NAN_PLUS, 1.0, 0, false, false, false},
      {1.0, NAN_PLUS, 0, false, false, false},
      {NAN_PLUS, NAN_PLUS, 0, false, false, true},
      {NAN_PLUS, MISSING, 1, false, false, false},
      {NAN_MINUS, -INF, 0, false, false, false},
      {fromBits(0xFFFFFFFFFFFFFFFF), MISSING__, -1, true, true, false}};
  for (auto const& [a, b, order, less, lessEqual, equal] : cases) {
    EXPECT_EQ(std::make_tuple(order, less, lessEqual, equal),
              std::make_tuple(compare(a, b), isLessThan(a, b), isLessEqual(a, b), isEqual(a, b)))
        << std::hex << bitsOf(a) << " vs " << bitsOf(b);
  }
}

// The 28 missing values, one out of every table, and a spread of numbers, in ascending order. A shuffle
// sorted by isLessThan, and sorted by its comparable byte strings, gives them back in this order.
TEST(DpsNumeric, CompareAndComparableBytesAgreeOnTheOrder) {
  std::vector<double> expected;
  for (oracle::MissingRow const& row : oracle::MISSING_ROWS)
    expected.push_back(fromBits(oracle::pattern(oracle::UNIX, row)));
  for (double v : {fromBits(0xFFFF800000000000), -INF, -1e308, -1.0, -4.9e-324, 0.0, 4.9e-324,
                   2.2250738585072014e-308, 0.1, 1.0, 1e308, INF})
    expected.push_back(v);
  std::vector<double> byCompare = expected;
  std::shuffle(byCompare.begin(), byCompare.end(), std::mt19937(7));
  std::vector<std::array<unsigned char, 8>> byBytes(byCompare.size());
  for (std::size_t i = 0; i < byCompare.size(); ++i) {
    std::memcpy(byBytes[i].data(), &byCompare[i], 8);
    FloatRepresentation::nativeToComparable(byBytes[i].data(), 8);
  }
  std::sort(byCompare.begin(), byCompare.end(), isLessThan);
  std::sort(byBytes.begin(), byBytes.end());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    FloatRepresentation::nativeFromComparable(byBytes[i].data(), 8);
    EXPECT_EQ(bitsOf(expected[i]), bitsOf(byCompare[i])) << i;
    EXPECT_EQ(bitsOf(expected[i]), fromBytes(byBytes[i])) << i;
    if (i > 0) {
      EXPECT_EQ(-1, compare(expected[i - 1], expected[i])) << i;
    }
  }
}

}  // namespace
}  // namespace vyk
