// Numbers as doubles with 28 missing values, and the order that puts the missing values below all numbers.
#ifndef VYK_UTIL_DPSNUMERIC_H
#define VYK_UTIL_DPSNUMERIC_H

#include <cstdint>
#include <cstring>
#include <iosfwd>

#include "vyk/util/Export.h"

namespace vyk {
namespace dps_numeric {

// The missing values as doubles, in the patterns of the running system (FloatRepresentation kind Unix):
// "." is MISSING, "._" is MISSING__, ".A" to ".Z" are MISSING_A to MISSING_Z. Written when the library
// is loaded; code running in the load phase of another library must not read them before that.
VYK_EXPORT extern double const MISSING;
VYK_EXPORT extern double const MISSING__;
VYK_EXPORT extern double const MISSING_A, MISSING_B, MISSING_C, MISSING_D, MISSING_E, MISSING_F, MISSING_G,
    MISSING_H, MISSING_I, MISSING_J, MISSING_K, MISSING_L, MISSING_M, MISSING_N, MISSING_O, MISSING_P,
    MISSING_Q, MISSING_R, MISSING_S, MISSING_T, MISSING_U, MISSING_V, MISSING_W, MISSING_X, MISSING_Y,
    MISSING_Z;

namespace detail {
inline std::uint64_t bitsOf(double value) {
  std::uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}
// Any double whose top 16 bits are all ones is missing, whatever its other bits hold.
inline bool isMissingBits(std::uint64_t bits) {
  return bits >= 0xFFFF000000000000ull;
}
}  // namespace detail

// The order of all doubles: missing values first, the greater bit pattern (as an unsigned integer) the
// lesser, so "._" < "." < ".A" < ... < ".Z"; then the numbers by the floating-point comparison, negative
// infinity included. A NaN that is not missing sorts above every missing value and is neither less nor
// greater than any number. Hot: used as the comparator of sorts.

// -1, 0 or 1. 0 for two zeros of any signs, and for a non-missing NaN against any number.
inline int compare(double a, double b) {
  std::uint64_t const ua = detail::bitsOf(a), ub = detail::bitsOf(b);
  bool const ma = detail::isMissingBits(ua), mb = detail::isMissingBits(ub);
  if (ma || mb) {
    if (ma && mb) return ua > ub ? -1 : (ua < ub ? 1 : 0);
    return ma ? -1 : 1;
  }
  return a < b ? -1 : (b < a ? 1 : 0);
}

inline bool isLessThan(double a, double b) {
  std::uint64_t const ua = detail::bitsOf(a), ub = detail::bitsOf(b);
  bool const ma = detail::isMissingBits(ua), mb = detail::isMissingBits(ub);
  if (ma || mb) return ma && mb ? ua > ub : ma;
  return a < b;
}

// Not the negation of isLessThan(b, a): with a non-missing NaN and a number it is false both ways.
inline bool isLessEqual(double a, double b) {
  std::uint64_t const ua = detail::bitsOf(a), ub = detail::bitsOf(b);
  bool const ma = detail::isMissingBits(ua), mb = detail::isMissingBits(ub);
  if (ma || mb) return ma && mb ? ua >= ub : ma;
  return a <= b;
}

// The bit patterns are equal (a NaN equals itself here), or both are zeros of any signs.
inline bool isEqual(double a, double b) {
  std::uint64_t const ua = detail::bitsOf(a), ub = detail::bitsOf(b);
  return ua == ub || ((ua | ub) << 1) == 0;
}

// ' ' if value is not missing, '_' for "._", '.' for "." and for missing patterns of no letter, the
// upper-case letter for a letter.
VYK_EXPORT char missingChar(double value);

// The missing value of a letter of either case, MISSING__ for '_', MISSING for any other character.
VYK_EXPORT double getMissing(char c);

// A double for stream output: a number prints as the stream prints a double, a missing value as "."
// followed by its character unless that is '.': "._", ".", ".A".
struct printable {
  explicit printable(double v) : value(v) {}
  double value;
};

VYK_EXPORT std::ostream& operator<<(std::ostream& out, printable const& p);

}  // namespace dps_numeric
}  // namespace vyk

#endif
