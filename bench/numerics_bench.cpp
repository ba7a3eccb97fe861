// IEEE <-> IBM conversion of 10 million doubles: the library against a plain frexp/ldexp form of the same
// rules (exact IEEE -> IBM, truncating IBM -> IEEE, clamping at both ends, "." for what has no number).
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "vyk/util/FloatRepresentation.h"

namespace {

using u64 = std::uint64_t;
using vyk::FloatBits;
using vyk::FloatRepresentation;

constexpr std::size_t COUNT = 10000000;

double toDouble(u64 bits) {
  double d;
  std::memcpy(&d, &bits, sizeof d);
  return d;
}

u64 toBits(double d) {
  u64 bits;
  std::memcpy(&bits, &d, sizeof bits);
  return bits;
}

unsigned char const EBCDIC_LETTERS[26] = {0xC1, 0xC2, 0xC3, 0xC4, 0xC5, 0xC6, 0xC7, 0xC8, 0xC9,
                                          0xD1, 0xD2, 0xD3, 0xD4, 0xD5, 0xD6, 0xD7, 0xD8, 0xD9,
                                          0xE2, 0xE3, 0xE4, 0xE5, 0xE6, 0xE7, 0xE8, 0xE9};

// The plain form, Ieee kind to VykIbm: classify with the C library, scale with frexp and ldexp.
u64 plainIeeeToIbm(u64 bits) {
  double const d = toDouble(bits);
  u64 const sign = std::signbit(d) ? 0x8000000000000000ull : 0;
  if (!std::isfinite(d)) {
    unsigned const field = static_cast<unsigned>(bits >> 40) & 0xFFF;
    if (sign && field == 4050) return 0x6D00000000000000ull;
    if (sign && field >= 4005 && field <= 4030) return u64{EBCDIC_LETTERS[4030 - field]} << 56;
    return 0x7F00000000000000ull;
  }
  double const magnitude = std::fabs(d);
  if (magnitude == 0) return 0;
  if (magnitude >= 0x1p252) return sign | 0x7FFFFFFFFFFFFFFFull;
  if (magnitude < 0x1p-260) return sign | 0x0010000000000000ull;
  int exponent;
  double const mantissa = std::frexp(magnitude, &exponent);  // magnitude = mantissa * 2^exponent
  int const hexExponent = exponent >= 0 ? (exponent + 3) / 4 : -(-exponent / 4);
  double const fraction = std::ldexp(mantissa, exponent - 4 * hexExponent);  // in [1/16, 1)
  return sign | u64(hexExponent + 64) << 56 | static_cast<u64>(std::ldexp(fraction, 56));
}

// The plain form, VykIbm to Ieee kind.
u64 plainIbmToIeee(u64 bits) {
  u64 fraction = bits & 0x00FFFFFFFFFFFFFFull;
  int const topByte = static_cast<int>(bits >> 56);
  if (fraction == 0) {
    if (topByte == 0 || topByte == 0x80) return 0;
    if (topByte == 0x07 || topByte == 0x60 || topByte == 0x6D) return 0xFFFFD20000000000ull;
    for (int i = 0; i < 26; ++i) {
      if (topByte == EBCDIC_LETTERS[i] || topByte + 0x40 == EBCDIC_LETTERS[i]) {
        return 0xFFFFBE0000000000ull - (u64(i) << 40);
      }
    }
    return 0xFFFFD10000000000ull;
  }
  int shift = 0;
  while (fraction >> 53) {  // keep 53 significant bits, truncating, so that the scaling is exact
    fraction >>= 1;
    ++shift;
  }
  double const magnitude =
      std::ldexp(static_cast<double>(fraction), 4 * ((topByte & 0x7F) - 64) - 56 + shift);
  return toBits(topByte & 0x80 ? -magnitude : magnitude);
}

// Doubles of every magnitude in the IBM range with random significands, and one value in a hundred
// outside it: zeros, too great, too small, infinities, missing values.
std::vector<u64> const& ieeeInput() {
  static std::vector<u64> const data = [] {
    std::vector<u64> values(COUNT);
    std::mt19937_64 random(42);
    u64 const specials[] = {0,
                            0x8000000000000000ull,
                            0x7E37E43C8800759Cull,
                            0x01A56E1FC2F8F359ull,
                            0x7FF0000000000000ull,
                            0xFFFFBE0000000000ull,
                            0xFFFFD10000000000ull};
    for (u64& v : values) {
      u64 const r = random();
      v = r % 100 == 0 ? specials[r / 100 % 7] : (r & 0x800FFFFFFFFFFFFFull) | (763 + (r >> 52) % 512) << 52;
    }
    return values;
  }();
  return data;
}

std::vector<u64> const& ibmInput() {
  static std::vector<u64> const data = [] {
    std::vector<u64> values(COUNT);
    for (std::size_t i = 0; i < COUNT; ++i)
      values[i] = FloatRepresentation::fromIeeeToVykIbm(FloatBits(ieeeInput()[i])).bits();
    return values;
  }();
  return data;
}

template <typename Convert>
void run(benchmark::State& state, std::vector<u64> const& input, Convert convert) {
  std::vector<u64> output(COUNT);
  for (auto _ : state) {
    for (std::size_t i = 0; i < COUNT; ++i) output[i] = convert(input[i]);
    benchmark::DoNotOptimize(output.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * COUNT));
}

// Both forms must agree on every input, or the comparison means nothing.
void checkAgreement() {
  for (std::size_t i = 0; i < COUNT; ++i) {
    u64 const ieee = ieeeInput()[i], ibm = ibmInput()[i];
    if (plainIeeeToIbm(ieee) != ibm ||
        plainIbmToIeee(ibm) != FloatRepresentation::fromVykIbmToIeee(FloatBits(ibm)).bits()) {
      std::fprintf(stderr, "plain and library forms disagree on %016llx\n",
                   static_cast<unsigned long long>(ieee));
      std::abort();
    }
  }
}

void BM_IeeeToIbm_Library(benchmark::State& state) {
  run(state, ieeeInput(), [](u64 b) { return FloatRepresentation::fromIeeeToVykIbm(FloatBits(b)).bits(); });
}
void BM_IeeeToIbm_Plain(benchmark::State& state) {
  run(state, ieeeInput(), plainIeeeToIbm);
}
void BM_IbmToIeee_Library(benchmark::State& state) {
  run(state, ibmInput(), [](u64 b) { return FloatRepresentation::fromVykIbmToIeee(FloatBits(b)).bits(); });
}
void BM_IbmToIeee_Plain(benchmark::State& state) {
  run(state, ibmInput(), plainIbmToIeee);
}

BENCHMARK(BM_IeeeToIbm_Library)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IeeeToIbm_Plain)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IbmToIeee_Library)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IbmToIeee_Plain)->Unit(benchmark::kMillisecond);

int const agreementChecked = (checkAgreement(), 0);

}  // namespace
