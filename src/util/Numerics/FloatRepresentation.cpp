// Missing-value patterns of the four floating-point layouts and the conversions between them.
#include "vyk/util/FloatRepresentation.h"

#include <algorithm>

#include "vyk/util/Assert.h"
#include "vyk/util/CharRepresentation.h"

namespace vyk {
namespace {

using u64 = std::uint64_t;

constexpr u64 SIGN = 0x8000000000000000ull;
constexpr u64 IEEE_FRACTION = 0x000FFFFFFFFFFFFFull;
constexpr u64 IEEE_IMPLIED_ONE = 0x0010000000000000ull;
constexpr u64 IEEE_INFINITY = 0x7FF0000000000000ull;
constexpr u64 IBM_FRACTION = 0x00FFFFFFFFFFFFFFull;
constexpr u64 IBM_SMALLEST = 0x0010000000000000ull;  // 16^-65
constexpr u64 IBM_GREATEST = 0x7FFFFFFFFFFFFFFFull;  // almost 16^63
constexpr u64 IBM_UNDERSCORE = 0x6D00000000000000ull;
constexpr u64 VYK_IBM_DOT = 0x7F00000000000000ull;
constexpr u64 DPS_IBM_DOT = 0x8000000000000000ull;

// IEEE exponent fields 763 to 1274 hold exactly the magnitudes of the IBM range.
constexpr u64 IEEE_FIELD_OF_IBM_SMALLEST = 763;
constexpr u64 IBM_RANGE_FIELDS = 512;

// A missing value by its letter: 1 to 26 for A to Z, and two codes for "." and "._".
constexpr int DOT = 0;
constexpr int UNDERSCORE = 27;

// The missing patterns of an IEEE layout differ only in bits 40 to 51 (the sign and exponent above are
// all ones, the bits below zero). Letter n has the field letterA + 1 - n.
struct IeeeMissingFields {
  unsigned underscore, dot, letterA;
};
constexpr IeeeMissingFields IEEE_FIELDS = {4050, 4049, 4030};  // 0xFFFFD2, 0xFFFFD1, 0xFFFFBE - n + 1
constexpr IeeeMissingFields UNIX_FIELDS = {4095, 4094, 4093};  // 0xFFFFFF, 0xFFFFFE, 0xFFFFFD - n + 1

inline bool ieeeIsMissing(u64 bits) {
  return (bits >> 48) == 0xFFFF;
}

inline unsigned ieeeMissingField(u64 bits) {
  return static_cast<unsigned>(bits >> 40) & 0xFFF;
}

int ieeeMissingCode(IeeeMissingFields const& fields, unsigned field) {
  if (field == fields.underscore) return UNDERSCORE;
  if (field <= fields.letterA && field > fields.letterA - 26)
    return static_cast<int>(fields.letterA - field) + 1;
  return DOT;
}

u64 ieeeMissingPattern(IeeeMissingFields const& fields, int code) {
  unsigned const field = code == UNDERSCORE ? fields.underscore
                         : code == DOT      ? fields.dot
                                            : fields.letterA + 1 - static_cast<unsigned>(code);
  return 0xFFF0000000000000ull | static_cast<u64>(field) << 40;
}

u64 ibmMissingPattern(u64 dot, int code) {
  if (code == UNDERSCORE) return IBM_UNDERSCORE;
  if (code == DOT) return dot;
  return static_cast<u64>(CharRepresentation::EBCDIC_UPPER_CHARS[code - 1]) << 56;
}

// Base-36 value of an EBCDIC byte, or -1 for a byte that is neither digit nor letter. The table marks
// those with 0xFF, which must not be taken for a value.
int ebcdicAlphanumeric(unsigned topByte) {
  unsigned const value = CharRepresentation::EBCDIC_ALPHANUMERIC_TABLE[topByte & 0xFF];
  return value <= 35 ? static_cast<int>(value) : -1;
}

// The missing value that an IBM pattern with a zero fraction stands for, by its top byte.
int ibmMissingCode(unsigned topByte) {
  if (topByte == 0x07 || topByte == 0x60 || topByte == 0x6D) return UNDERSCORE;
  int const value = ebcdicAlphanumeric(topByte);
  return value > 9 ? value - 9 : DOT;
}

char ibmMissingChar(u64 bits) {
  unsigned const topByte = static_cast<unsigned>(bits >> 56);
  if (topByte == 0x6D) return '_';
  if (topByte < 0xC1) return '.';
  int const value = ebcdicAlphanumeric(topByte);
  return value > 9 ? static_cast<char>(value + 55) : '.';
}

// IEEE -> IBM for the numbers outside the IBM range, zeros, infinities, NaNs and missing values.
u64 ieeeToIbmEdge(u64 bits, IeeeMissingFields const& source, u64 targetDot) {
  u64 const sign = bits & SIGN;
  u64 const field = (bits >> 52) & 0x7FF;
  if (field == 0x7FF) {
    int const code = sign ? ieeeMissingCode(source, ieeeMissingField(bits)) : DOT;
    return ibmMissingPattern(targetDot, code);
  }
  if (field >= IEEE_FIELD_OF_IBM_SMALLEST + IBM_RANGE_FIELDS) return sign | IBM_GREATEST;
  if ((bits & ~SIGN) == 0) return 0;
  return sign | IBM_SMALLEST;
}

// The exact step: with u = field - 763, the value is 1.f * 2^(u - 260) = (1f << (u mod 4)) * 16^(u div 4 -
// 65), so the IBM exponent byte is u div 4 and the fraction is the significand shifted left by u mod 4. A
// 53-bit significand shifted by at most 3 fits the 56 fraction bits.
inline u64 ieeeToIbm(u64 bits, IeeeMissingFields const& source, u64 targetDot) {
  u64 const u = ((bits >> 52) & 0x7FF) - IEEE_FIELD_OF_IBM_SMALLEST;  // wraps to a huge value below 763
  if (u < IBM_RANGE_FIELDS) {
    return (bits & SIGN) | (u >> 2) << 56 | ((bits & IEEE_FRACTION) | IEEE_IMPLIED_ONE) << (u & 3);
  }
  return ieeeToIbmEdge(bits, source, targetDot);
}

// IBM number with a non-zero fraction -> IEEE. With p the position of the fraction's top set bit, the
// value is 1.xxx * 2^(p - 56) * 16^(X - 64), so the IEEE exponent field is 4X + 763 + p - 52 (711 to
// 1274: always in range). The fraction is moved so that its top bit stands at bit 55, then shifted right
// by 3 to put it on the implied-one position: the bits that fall off the right are dropped, truncating.
inline u64 ibmNumberToIeee(u64 bits) {
  u64 const fraction = bits & IBM_FRACTION;
  unsigned const top = 63 - static_cast<unsigned>(__builtin_clzll(fraction));
  u64 const field = ((bits >> 56) & 0x7F) * 4 + 763 + top - 52;
  u64 const significand = (fraction << (55 - top)) >> 3;
  return (bits & SIGN) | field << 52 | (significand & IEEE_FRACTION);
}

u64 ibmZeroFractionToIeee(u64 bits, bool dpsKind, IeeeMissingFields const& target) {
  unsigned const topByte = static_cast<unsigned>(bits >> 56);
  if (topByte == 0) return 0;
  if (topByte == 0x80) return dpsKind ? ieeeMissingPattern(target, DOT) : 0;
  return ieeeMissingPattern(target, ibmMissingCode(topByte));
}

inline u64 ibmToIeee(u64 bits, bool dpsKind, IeeeMissingFields const& target) {
  if (bits & IBM_FRACTION) return ibmNumberToIeee(bits);
  return ibmZeroFractionToIeee(bits, dpsKind, target);
}

inline u64 ieeeToIeee(u64 bits, IeeeMissingFields const& source, IeeeMissingFields const& target) {
  if (!ieeeIsMissing(bits)) return bits;
  return ieeeMissingPattern(target, ieeeMissingCode(source, ieeeMissingField(bits)));
}

bool isLegalKind(FloatRepresentation::Kind kind) {
  return kind >= FloatRepresentation::Ieee && kind <= FloatRepresentation::DpsIbm;
}

void checkKind(FloatRepresentation::Kind kind) {
  if (!isLegalKind(kind)) VYK_FAIL("illegal float rep");
}

bool isIeeeKind(FloatRepresentation::Kind kind) {
  checkKind(kind);
  return kind == FloatRepresentation::Ieee || kind == FloatRepresentation::Unix;
}

u64 missingPattern(FloatRepresentation::Kind kind, int code) {
  switch (kind) {
    case FloatRepresentation::Ieee:
      return ieeeMissingPattern(IEEE_FIELDS, code);
    case FloatRepresentation::Unix:
      return ieeeMissingPattern(UNIX_FIELDS, code);
    case FloatRepresentation::VykIbm:
      return ibmMissingPattern(VYK_IBM_DOT, code);
    case FloatRepresentation::DpsIbm:
      return ibmMissingPattern(DPS_IBM_DOT, code);
  }
  VYK_FAIL("illegal float rep");
}

}  // namespace

FloatBits FloatRepresentation::missingUnderscore() const {
  return FloatBits(missingPattern(kind_, UNDERSCORE));
}

FloatBits FloatRepresentation::missingDot() const {
  return FloatBits(missingPattern(kind_, DOT));
}

FloatBits FloatRepresentation::missingLetter(int n) const {
  checkKind(kind_);
  VYK_ASSERT(n >= 1 && n <= 26);
  return FloatBits(missingPattern(kind_, n));
}

FloatBits FloatRepresentation::minusZero() const {
  if (kind_ == DpsIbm) VYK_FAIL("illegal float rep");
  checkKind(kind_);
  return FloatBits(SIGN);
}

bool FloatRepresentation::isMissing(FloatBits const& bits) const {
  u64 const b = bits.bits();
  switch (kind_) {
    case Ieee:
    case Unix:
      return ieeeIsMissing(b);
    case VykIbm:
      return (b & IBM_FRACTION) == 0 && b != 0 && b != SIGN;
    case DpsIbm:
      return (b & IBM_FRACTION) == 0 && b != 0;
  }
  VYK_FAIL("illegal float rep");
}

bool FloatRepresentation::isInfinite(FloatBits const& bits) const {
  return isIeeeKind(kind_) && (bits.bits() & ~SIGN) == IEEE_INFINITY;
}

int FloatRepresentation::compareMissings(FloatBits const& a, FloatBits const& b) const {
  if (isIeeeKind(kind_)) return a.bits() > b.bits() ? -1 : (a.bits() < b.bits() ? 1 : 0);
  unsigned const byteA = static_cast<unsigned>(a.bits() >> 56), byteB = static_cast<unsigned>(b.bits() >> 56);
  return byteA < byteB ? -1 : (byteA > byteB ? 1 : 0);
}

char FloatRepresentation::getMissingChar(FloatBits const& bits) const {
  switch (kind_) {
    case Ieee:
      return ieeeGetMissingChar(bits);
    case Unix:
      return unixGetMissingChar(bits);
    case VykIbm:
      return vykIbmGetMissingChar(bits);
    case DpsIbm:
      return dpsIbmGetMissingChar(bits);
  }
  VYK_FAIL("illegal float rep");
}

char FloatRepresentation::ieeeGetMissingChar(FloatBits const& bits) {
  if (!ieeeIsMissing(bits.bits())) return ' ';
  unsigned const n = ieeeMissingField(bits.bits());
  if (n == 4050) return '_';
  if (n >= 4005 && n <= 4030) return static_cast<char>(~n & 0xFF);
  return '.';
}

char FloatRepresentation::unixGetMissingChar(FloatBits const& bits) {
  if (!ieeeIsMissing(bits.bits())) return ' ';
  unsigned const n = ieeeMissingField(bits.bits());
  if (n == 4095) return '_';
  if (n >= 4068 && n <= 4093) return static_cast<char>(4158 - n);
  return '.';
}

char FloatRepresentation::vykIbmGetMissingChar(FloatBits const& bits) {
  return FloatRepresentation(VykIbm).isMissing(bits) ? ibmMissingChar(bits.bits()) : ' ';
}

char FloatRepresentation::dpsIbmGetMissingChar(FloatBits const& bits) {
  return FloatRepresentation(DpsIbm).isMissing(bits) ? ibmMissingChar(bits.bits()) : ' ';
}

FloatBits FloatRepresentation::fromIeeeToUnix(FloatBits const& bits) {
  return FloatBits(ieeeToIeee(bits.bits(), IEEE_FIELDS, UNIX_FIELDS));
}

FloatBits FloatRepresentation::fromUnixToIeee(FloatBits const& bits) {
  return FloatBits(ieeeToIeee(bits.bits(), UNIX_FIELDS, IEEE_FIELDS));
}

FloatBits FloatRepresentation::fromIeeeToVykIbm(FloatBits const& bits) {
  return FloatBits(ieeeToIbm(bits.bits(), IEEE_FIELDS, VYK_IBM_DOT));
}

FloatBits FloatRepresentation::fromIeeeToDpsIbm(FloatBits const& bits) {
  return FloatBits(ieeeToIbm(bits.bits(), IEEE_FIELDS, DPS_IBM_DOT));
}

FloatBits FloatRepresentation::fromUnixToVykIbm(FloatBits const& bits) {
  return FloatBits(ieeeToIbm(bits.bits(), UNIX_FIELDS, VYK_IBM_DOT));
}

FloatBits FloatRepresentation::fromUnixToDpsIbm(FloatBits const& bits) {
  return FloatBits(ieeeToIbm(bits.bits(), UNIX_FIELDS, DPS_IBM_DOT));
}

FloatBits FloatRepresentation::fromVykIbmToIeee(FloatBits const& bits) {
  return FloatBits(ibmToIeee(bits.bits(), false, IEEE_FIELDS));
}

FloatBits FloatRepresentation::fromVykIbmToUnix(FloatBits const& bits) {
  return FloatBits(ibmToIeee(bits.bits(), false, UNIX_FIELDS));
}

FloatBits FloatRepresentation::fromDpsIbmToIeee(FloatBits const& bits) {
  return FloatBits(ibmToIeee(bits.bits(), true, IEEE_FIELDS));
}

FloatBits FloatRepresentation::fromDpsIbmToUnix(FloatBits const& bits) {
  return FloatBits(ibmToIeee(bits.bits(), true, UNIX_FIELDS));
}

FloatBits FloatRepresentation::fromVykIbmToDpsIbm(FloatBits const& bits) {
  if (bits.bits() == SIGN) return FloatBits(0);
  if (bits.bits() == VYK_IBM_DOT) return FloatBits(DPS_IBM_DOT);
  return bits;
}

FloatBits FloatRepresentation::fromDpsIbmToVykIbm(FloatBits const& bits) {
  return bits.bits() == DPS_IBM_DOT ? FloatBits(VYK_IBM_DOT) : bits;
}

FloatBits FloatRepresentation::normalAnyIeeeToAnyIbm(FloatBits const& bits) {
  u64 const b = bits.bits();
  u64 const field = (b >> 52) & 0x7FF;
  if (field >= IEEE_FIELD_OF_IBM_SMALLEST + IBM_RANGE_FIELDS) return FloatBits((b & SIGN) | IBM_GREATEST);
  return FloatBits(ieeeToIbm(b, IEEE_FIELDS, VYK_IBM_DOT));  // the field is below 2047: no missing value
}

FloatBits FloatRepresentation::normalAnyIbmToAnyIeee(FloatBits const& bits) {
  return FloatBits((bits.bits() & IBM_FRACTION) ? ibmNumberToIeee(bits.bits()) : 0);
}

FloatBits FloatRepresentation::convertRepresentation(FloatRepresentation from, FloatRepresentation to,
                                                     FloatBits const& bits) {
  checkKind(from.kind_);
  checkKind(to.kind_);
  if (from == to) return bits;
  switch (from.kind_ * 8 + to.kind_) {
    case Ieee * 8 + Unix:
      return fromIeeeToUnix(bits);
    case Ieee * 8 + VykIbm:
      return fromIeeeToVykIbm(bits);
    case Ieee * 8 + DpsIbm:
      return fromIeeeToDpsIbm(bits);
    case Unix * 8 + Ieee:
      return fromUnixToIeee(bits);
    case Unix * 8 + VykIbm:
      return fromUnixToVykIbm(bits);
    case Unix * 8 + DpsIbm:
      return fromUnixToDpsIbm(bits);
    case VykIbm * 8 + Ieee:
      return fromVykIbmToIeee(bits);
    case VykIbm * 8 + Unix:
      return fromVykIbmToUnix(bits);
    case VykIbm * 8 + DpsIbm:
      return fromVykIbmToDpsIbm(bits);
    case DpsIbm * 8 + Ieee:
      return fromDpsIbmToIeee(bits);
    case DpsIbm * 8 + Unix:
      return fromDpsIbmToUnix(bits);
    case DpsIbm * 8 + VykIbm:
      return fromDpsIbmToVykIbm(bits);
  }
  VYK_FAIL("illegal float rep");
}

void FloatRepresentation::nativeToComparable(unsigned char* bytes, std::size_t length) {
  if (length == 0) return;
  std::reverse(bytes, bytes + length);
  if (bytes[0] == 0x80 && std::all_of(bytes + 1, bytes + length, [](unsigned char b) { return b == 0; })) {
    return;  // minus zero: already the form that plus zero takes below
  }
  if (bytes[0] & 0x80) {
    for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<unsigned char>(~bytes[i]);
  } else {
    bytes[0] |= 0x80;
  }
}

void FloatRepresentation::nativeFromComparable(unsigned char* bytes, std::size_t length) {
  if (length == 0) return;
  if (bytes[0] & 0x80) {
    bytes[0] &= 0x7F;
  } else {
    for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<unsigned char>(~bytes[i]);
  }
  std::reverse(bytes, bytes + length);
}

}  // namespace vyk
