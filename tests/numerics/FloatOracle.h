// Test oracle: the missing-value patterns as literals, and slow conversions between IEEE and IBM
// layouts worked on the integer significand and exponent, one bit or one exponent at a time.
#ifndef VYK_TESTS_NUMERICS_FLOATORACLE_H
#define VYK_TESTS_NUMERICS_FLOATORACLE_H

#include <cmath>
#include <cstdint>
#include <cstring>

namespace vyk {
namespace oracle {

using u64 = std::uint64_t;

// The 28 missing values in their order. For Ieee and Unix the byte is bits 40 to 47 under 16 ones;
// for the IBM kinds it is the top byte over 56 zero bits.
struct MissingRow {
  char c;
  unsigned char ieee, unix, vykIbm, dpsIbm;
};
constexpr MissingRow MISSING_ROWS[28] = {
    {'_', 0xD2, 0xFF, 0x6D, 0x6D}, {'.', 0xD1, 0xFE, 0x7F, 0x80}, {'A', 0xBE, 0xFD, 0xC1, 0xC1},
    {'B', 0xBD, 0xFC, 0xC2, 0xC2}, {'C', 0xBC, 0xFB, 0xC3, 0xC3}, {'D', 0xBB, 0xFA, 0xC4, 0xC4},
    {'E', 0xBA, 0xF9, 0xC5, 0xC5}, {'F', 0xB9, 0xF8, 0xC6, 0xC6}, {'G', 0xB8, 0xF7, 0xC7, 0xC7},
    {'H', 0xB7, 0xF6, 0xC8, 0xC8}, {'I', 0xB6, 0xF5, 0xC9, 0xC9}, {'J', 0xB5, 0xF4, 0xD1, 0xD1},
    {'K', 0xB4, 0xF3, 0xD2, 0xD2}, {'L', 0xB3, 0xF2, 0xD3, 0xD3}, {'M', 0xB2, 0xF1, 0xD4, 0xD4},
    {'N', 0xB1, 0xF0, 0xD5, 0xD5}, {'O', 0xB0, 0xEF, 0xD6, 0xD6}, {'P', 0xAF, 0xEE, 0xD7, 0xD7},
    {'Q', 0xAE, 0xED, 0xD8, 0xD8}, {'R', 0xAD, 0xEC, 0xD9, 0xD9}, {'S', 0xAC, 0xEB, 0xE2, 0xE2},
    {'T', 0xAB, 0xEA, 0xE3, 0xE3}, {'U', 0xAA, 0xE9, 0xE4, 0xE4}, {'V', 0xA9, 0xE8, 0xE5, 0xE5},
    {'W', 0xA8, 0xE7, 0xE6, 0xE6}, {'X', 0xA7, 0xE6, 0xE7, 0xE7}, {'Y', 0xA6, 0xE5, 0xE8, 0xE8},
    {'Z', 0xA5, 0xE4, 0xE9, 0xE9},
};
constexpr int DOT_ROW = 1;

// Kinds numbered as the library numbers them.
enum Kind { IEEE = 1, UNIX = 2, VYK_IBM = 3, DPS_IBM = 4 };

inline u64 pattern(Kind kind, MissingRow const& row) {
  switch (kind) {
    case IEEE:
      return 0xFFFF000000000000ull | u64{row.ieee} << 40;
    case UNIX:
      return 0xFFFF000000000000ull | u64{row.unix} << 40;
    case VYK_IBM:
      return u64{row.vykIbm} << 56;
    case DPS_IBM:
      return u64{row.dpsIbm} << 56;
  }
  return 0;
}

// The row whose IEEE pattern of this kind has the same top 24 bits, or ".".
inline MissingRow const& ieeeRow(Kind kind, u64 bits) {
  for (MissingRow const& row : MISSING_ROWS) {
    if (bits >> 40 == pattern(kind, row) >> 40) return row;
  }
  return MISSING_ROWS[DOT_ROW];
}

// The row of an IBM zero-fraction pattern: the underscore bytes, an upper-case EBCDIC letter, or the
// same letter in lower case (0x40 below it); everything else is ".".
inline MissingRow const& ibmRow(unsigned topByte) {
  if (topByte == 0x07 || topByte == 0x60 || topByte == 0x6D) return MISSING_ROWS[0];
  for (int i = 2; i < 28; ++i) {
    if (topByte == MISSING_ROWS[i].vykIbm || topByte + 0x40 == MISSING_ROWS[i].vykIbm) return MISSING_ROWS[i];
  }
  return MISSING_ROWS[DOT_ROW];
}

// IEEE (kind IEEE or UNIX) to IBM (VYK_IBM or DPS_IBM).
inline u64 ieeeToIbm(Kind from, Kind to, u64 bits) {
  u64 const sign = bits & 0x8000000000000000ull;
  int const e = static_cast<int>(bits >> 52 & 0x7FF);
  u64 const f = bits & 0xFFFFFFFFFFFFFull;
  if (e == 2047) return pattern(to, ieeeRow(from, bits));
  if (e == 0 && f == 0) return 0;
  double value;
  std::memcpy(&value, &bits, sizeof value);
  if (std::fabs(value) >= std::ldexp(1.0, 252)) return sign | 0x7FFFFFFFFFFFFFFFull;
  if (std::fabs(value) < std::ldexp(1.0, -260)) return sign | 0x0010000000000000ull;
  // value = m * 2^q; IBM wants F * 16^(X - 78) with 16^13 <= F < 16^14, found by trying every X.
  u64 const m = e ? f | 1ull << 52 : f;
  int const q = e ? e - 1075 : -1074;
  for (int x = 0; x < 128; ++x) {
    int const s = q + 312 - 4 * x;  // F = m * 2^s
    if (s > 8 || s < -60) continue;
    u64 const fraction = s >= 0 ? m << s : m >> -s;
    bool const exact = s >= 0 || (m & ((1ull << -s) - 1)) == 0;
    if (exact && fraction >= 1ull << 52 && fraction < 1ull << 56) return sign | u64(x) << 56 | fraction;
  }
  return 0xDEADDEADDEADDEADull;  // no exact IBM form: a fault the comparison will show
}

// IBM to IEEE, truncating.
inline u64 ibmToIeee(Kind from, Kind to, u64 bits) {
  u64 const sign = bits & 0x8000000000000000ull;
  unsigned const topByte = static_cast<unsigned>(bits >> 56);
  u64 fraction = bits & 0x00FFFFFFFFFFFFFFull;
  if (fraction == 0) {
    if (topByte == 0 || (topByte == 0x80 && from == VYK_IBM)) return 0;
    return pattern(to, topByte == 0x80 ? MISSING_ROWS[DOT_ROW] : ibmRow(topByte));
  }
  int k = 4 * static_cast<int>(topByte & 0x7F) - 312;  // value = fraction * 2^k
  while (fraction < 1ull << 52) {
    fraction <<= 1;
    --k;
  }
  while (fraction >= 1ull << 53) {
    fraction >>= 1;
    ++k;
  }
  return sign | u64(k + 1075) << 52 | (fraction - (1ull << 52));
}

}  // namespace oracle
}  // namespace vyk

#endif
