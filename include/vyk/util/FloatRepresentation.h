// The four 64-bit floating-point layouts, their missing-value patterns and the conversions between them.
#ifndef VYK_UTIL_FLOATREPRESENTATION_H
#define VYK_UTIL_FLOATREPRESENTATION_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "vyk/util/Export.h"

namespace vyk {

// The 64 bits of one floating-point number of any layout, held as one integer. Bit 63 is the sign in
// every layout. Nothing here deals in byte order: a big-endian IBM number read from a file is assembled
// into the integer first, so that its sign and exponent byte stands in bits 56 to 63.
class FloatBits {
 public:
  constexpr FloatBits() : bits_(0) {}
  constexpr explicit FloatBits(std::uint64_t bits) : bits_(bits) {}

  // The bits of a native double, and back.
  static FloatBits fromDouble(double value) {
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return FloatBits(bits);
  }
  double toDouble() const {
    double value;
    std::memcpy(&value, &bits_, sizeof value);
    return value;
  }

  constexpr std::uint64_t bits() const { return bits_; }

  friend constexpr bool operator==(FloatBits a, FloatBits b) { return a.bits_ == b.bits_; }
  friend constexpr bool operator!=(FloatBits a, FloatBits b) { return a.bits_ != b.bits_; }

 private:
  std::uint64_t bits_;
};

// One of the four layouts, and everything that depends on the layout's missing-value patterns.
//
// Ieee and Unix are IEEE 754 doubles: they hold numbers in the same bits and differ in their missing
// patterns (a pattern whose top 16 bits are all ones, a negative NaN, is missing). VykIbm and DpsIbm are
// 8-byte IBM hexadecimal numbers (sign, exponent of 16 biased by 64 in bits 56 to 62, 14 hexadecimal
// digits of fraction without an implied digit); a zero fraction with a non-zero top byte is missing,
// and 0x8000000000000000 is minus zero in VykIbm but the missing value "." in DpsIbm.
//
// The missing values, in their order: "._", ".", ".A" ... ".Z". Letters are numbered n = 1 for A to
// 26 for Z.
//
// Every operation that works on the object's kind ends in vykFail("illegal float rep") when the kind is
// none of the four. The class has no state beyond its kind; every operation may be called from any
// thread.
class VYK_EXPORT FloatRepresentation {
 public:
  enum Kind : int { Ieee = 1, Unix = 2, VykIbm = 3, DpsIbm = 4 };

  constexpr FloatRepresentation(Kind kind) : kind_(kind) {}  // NOLINT: a kind is a representation
  constexpr Kind kind() const { return kind_; }
  friend constexpr bool operator==(FloatRepresentation a, FloatRepresentation b) {
    return a.kind_ == b.kind_;
  }
  friend constexpr bool operator!=(FloatRepresentation a, FloatRepresentation b) {
    return a.kind_ != b.kind_;
  }

  // The patterns of "._", "." and of letter n (1 for A to 26 for Z) in this kind. A letter number
  // outside 1..26 is a programming error and ends in vykFail.
  FloatBits missingUnderscore() const;
  FloatBits missingDot() const;
  FloatBits missingLetter(int n) const;
  // 0x8000000000000000. DpsIbm has no minus zero: for it this fails with "illegal float rep".
  FloatBits minusZero() const;

  // Ieee, Unix: the top 16 bits are all ones. VykIbm: the low 56 bits are zero and the value is neither
  // 0 nor 0x8000000000000000. DpsIbm: the low 56 bits are zero and the value is not 0.
  bool isMissing(FloatBits const& bits) const;
  // Ieee, Unix: the bits without the sign are 0x7FF0000000000000. Always false for the IBM kinds.
  bool isInfinite(FloatBits const& bits) const;
  // Order of two missing values of this kind: -1, 0 or 1 as a comes before, with or after b in the
  // order "._", ".", ".A" ... ".Z". Ieee, Unix: the greater unsigned pattern is the lesser. IBM kinds:
  // the lesser top byte is the lesser.
  int compareMissings(FloatBits const& a, FloatBits const& b) const;
  // ' ' for a value that is not missing, '_' for "._", the upper-case letter for a letter, and '.' for
  // "." and for every missing pattern that matches no letter.
  char getMissingChar(FloatBits const& bits) const;

  static char ieeeGetMissingChar(FloatBits const& bits);
  static char unixGetMissingChar(FloatBits const& bits);
  // The IBM forms read the letters through the EBCDIC alphanumeric table. They answer '.' for a top
  // byte below 0xC1, so the lower-case EBCDIC letters and the bytes 0x07 and 0x60 read as ".", although
  // the conversions to IEEE take them as letters and as "._".
  static char vykIbmGetMissingChar(FloatBits const& bits);
  static char dpsIbmGetMissingChar(FloatBits const& bits);

  // Conversions. Numbers go to numbers, missing values to the missing value of the same letter. None
  // fails on its data.
  //
  // Ieee <-> Unix: a value whose top 16 bits are not all ones passes unchanged (NaNs and infinities
  // included); a missing value is mapped by its top 24 bits, and a pattern in no table becomes ".".
  static FloatBits fromIeeeToUnix(FloatBits const& bits);
  static FloatBits fromUnixToIeee(FloatBits const& bits);

  // IEEE -> IBM, exact: every double in the IBM range is kept without rounding. Zeros of both signs
  // become 0. Magnitudes of 2^252 and above become the greatest IBM magnitude (0x7FFFFFFFFFFFFFFF with
  // the sign); magnitudes below 16^-65, subnormals included, become the smallest (0x0010000000000000
  // with the sign), never zero. Infinities, NaNs and missing patterns of no letter become ".".
  static FloatBits fromIeeeToVykIbm(FloatBits const& bits);
  static FloatBits fromIeeeToDpsIbm(FloatBits const& bits);
  static FloatBits fromUnixToVykIbm(FloatBits const& bits);
  static FloatBits fromUnixToDpsIbm(FloatBits const& bits);

  // IBM -> IEEE: numbers, normalised first if their leading digits are zero, are truncated to 53
  // significant bits (at most 3 bits are dropped; 0x40FFFFFFFFFFFFFF gives 0x3FEFFFFFFFFFFFFF). A zero
  // fraction gives plus zero for top byte 0x00 (and 0x80 in VykIbm), "._" for 0x07, 0x60 and 0x6D, the
  // letter for an EBCDIC letter of either case, and "." for everything else (0x80 in DpsIbm included).
  static FloatBits fromVykIbmToIeee(FloatBits const& bits);
  static FloatBits fromVykIbmToUnix(FloatBits const& bits);
  static FloatBits fromDpsIbmToIeee(FloatBits const& bits);
  static FloatBits fromDpsIbmToUnix(FloatBits const& bits);

  // VykIbm -> DpsIbm: minus zero becomes 0, "." (0x7F00000000000000) becomes 0x8000000000000000.
  // DpsIbm -> VykIbm: 0x8000000000000000 becomes 0x7F00000000000000. Other bits pass unchanged.
  static FloatBits fromVykIbmToDpsIbm(FloatBits const& bits);
  static FloatBits fromDpsIbmToVykIbm(FloatBits const& bits);

  // The number step of IEEE -> IBM alone, for a value that is neither NaN nor infinity (one given all
  // the same is clamped to the greatest magnitude).
  static FloatBits normalAnyIeeeToAnyIbm(FloatBits const& bits);
  // The number step of IBM -> IEEE alone, for a value whose fraction is not zero (one given all the
  // same gives plus zero).
  static FloatBits normalAnyIbmToAnyIeee(FloatBits const& bits);

  // The conversion from one kind to another; the bits unchanged when from and to are the same kind.
  // An illegal kind on either side ends in vykFail("illegal float rep").
  static FloatBits convertRepresentation(FloatRepresentation from, FloatRepresentation to,
                                         FloatBits const& bits);

  // Rewrites, in place, length bytes holding a number in little-endian order (a native double on this
  // platform, or its low-order bytes when length is below 8) into a big-endian byte string whose
  // memcmp order is the order of dps_numeric::compare: "._", ".", ".A" ... ".Z", then the numbers from
  // the smallest up. Plus and minus zero give the same bytes, 0x80 followed by zeros. NaNs that are not
  // missing values have no place in that order. Meant for up to 8 bytes; a length of 0 does nothing.
  static void nativeToComparable(unsigned char* bytes, std::size_t length);
  // The inverse of nativeToComparable for every value but minus zero, which comes back as plus zero.
  static void nativeFromComparable(unsigned char* bytes, std::size_t length);

 private:
  Kind kind_;
};

}  // namespace vyk

#endif
