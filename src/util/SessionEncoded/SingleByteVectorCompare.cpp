// The vector forms of the single-byte comparisons: AVX-512 (BW, VL and VBMI) with the folding table
// in four registers, taken when the processor has those instructions. Elsewhere they are the
// byte-by-byte forms.
#include <cstdint>

#include "SingleByteCompare.h"
#include "vyk/util/CharacterTables.h"

#if defined(__GNUC__) && defined(__x86_64__)
// GCC 12 reports its own intrinsics that leave the upper part of a register undefined (the 256-bit
// insert and extract) as "may be used uninitialized"; the report is about the header, not this code.
#if !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>
#if !defined(__clang__)
#pragma GCC diagnostic pop
#endif
#define VYK_SBCS_VBMI 1
#endif

namespace vyk {
namespace session_encoded {

#if defined(VYK_SBCS_VBMI)

namespace {

#define VYK_SBCS_VBMI_TARGET __attribute__((target("avx512f,avx512bw,avx512vl,avx512vbmi")))

// Zero-terminated texts are read 32 bytes at a time while neither is within 32 bytes of the end of
// its page: bytes after a terminator may be read, but never a page that the texts do not reach, so
// no fault is possible. Nearer a page end the scan goes byte by byte. The sanitizers would report
// the bytes read after a terminator as read past the end of (or after) their object; they take no
// part in the result, so those checks are off for these functions.
#define VYK_SBCS_UNCHECKED_READS __attribute__((no_sanitize("address", "thread")))
#define VYK_SBCS_INLINE inline __attribute__((always_inline))

bool detectVbmi() {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
         __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vbmi");
}

inline int lower(char c) {
  return sbcs::detail::tolowerTable_[static_cast<unsigned char>(c)];
}

// The folding table as it is now, in four registers: it is read at every call, so a table that the
// application rewrites is followed at once.
struct FoldTable {
  __m512i part[4];
};

VYK_SBCS_VBMI_TARGET VYK_SBCS_INLINE FoldTable loadFoldTable() {
  unsigned char const* table = sbcs::detail::tolowerTable_;
  return {{_mm512_loadu_si512(table), _mm512_loadu_si512(table + 64), _mm512_loadu_si512(table + 128),
           _mm512_loadu_si512(table + 192)}};
}

// Each byte of v through the table: the low seven bits pick one of 128 entries from two registers,
// the high bit picks the half.
VYK_SBCS_VBMI_TARGET VYK_SBCS_INLINE __m512i fold(FoldTable const& f, __m512i v) {
  return _mm512_mask_blend_epi8(_mm512_movepi8_mask(v), _mm512_permutex2var_epi8(f.part[0], v, f.part[1]),
                                _mm512_permutex2var_epi8(f.part[2], v, f.part[3]));
}

inline bool within32OfPageEnd(char const* p) {
  return (reinterpret_cast<std::uintptr_t>(p) & 4095) > 4096 - 32;
}

// Bit k set where the 32-byte steps at s and t stop: either text has its 0, or the folded bytes
// differ. The 32 bytes of s and of t share one register, so one fold serves both.
VYK_SBCS_VBMI_TARGET VYK_SBCS_UNCHECKED_READS VYK_SBCS_INLINE std::uint32_t stopsIn32(FoldTable const& f,
                                                                                      char const* s,
                                                                                      char const* t) {
  __m256i a = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(s));
  __m256i b = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(t));
  __m512i folded = fold(f, _mm512_inserti64x4(_mm512_castsi256_si512(a), b, 1));
  __m256i smaller = _mm256_min_epu8(a, b);  // 0 where either text ends
  __mmask32 go =
      _mm256_mask_cmpeq_epi8_mask(_mm256_test_epi8_mask(smaller, smaller), _mm512_castsi512_si256(folded),
                                  _mm512_extracti64x4_epi64(folded, 1));
  return ~_cvtmask32_u32(go);
}

// The offset, from i on, where either text ends or the folded bytes differ.
VYK_SBCS_VBMI_TARGET VYK_SBCS_UNCHECKED_READS std::size_t firstStopFrom(char const* s, char const* t,
                                                                        std::size_t i) {
  FoldTable const f = loadFoldTable();
  for (;;) {
    if (!within32OfPageEnd(s + i) && !within32OfPageEnd(t + i)) {
      std::uint32_t stop = stopsIn32(f, s + i, t + i);
      if (stop != 0) return i + static_cast<std::size_t>(__builtin_ctz(stop));
      i += 32;
      continue;
    }
    unsigned char x = static_cast<unsigned char>(s[i]);
    unsigned char y = static_cast<unsigned char>(t[i]);
    if (x == 0 || y == 0 || (x != y && lower(s[i]) != lower(t[i]))) return i;
    ++i;
  }
}

// The answers of the two comparisons once the stop is known.
inline int foldedDifferenceAt(char const* s, char const* t, std::size_t i) {
  return lower(s[i]) - lower(t[i]);
}
inline bool bothEndAt(char const* s, char const* t, std::size_t i) {
  return s[i] == 0 && t[i] == 0;
}

template <typename Result, Result (*answerAt)(char const*, char const*, std::size_t)>
__attribute__((noinline)) Result compareFrom(char const* s, char const* t, std::size_t i) {
  return answerAt(s, t, firstStopFrom(s, t, i));
}

// The first 32-byte step runs straight, since most keys stop within it; longer texts and texts near
// a page end go on in the loop. Every other path is a tail call, so the straight one needs no frame.
template <typename Result, Result (*answerAt)(char const*, char const*, std::size_t)>
VYK_SBCS_VBMI_TARGET VYK_SBCS_UNCHECKED_READS VYK_SBCS_INLINE Result compare(char const* s, char const* t) {
  if (within32OfPageEnd(s) || within32OfPageEnd(t)) return compareFrom<Result, answerAt>(s, t, 0);
  FoldTable const f = loadFoldTable();
  std::uint32_t stop = stopsIn32(f, s, t);
  if (__builtin_expect(stop == 0, 0)) return compareFrom<Result, answerAt>(s, t, 32);
  return answerAt(s, t, static_cast<std::size_t>(__builtin_ctz(stop)));
}

inline std::uint64_t lowBits(std::size_t n) {
  return n >= 64 ? ~std::uint64_t(0) : (std::uint64_t(1) << n) - 1;
}

}  // namespace

namespace detail {

bool singleByteVectorFormsAvailable() {
  static bool const available = detectVbmi();
  return available;
}

VYK_SBCS_VBMI_TARGET VYK_SBCS_UNCHECKED_READS int singleByteICompareVector(char const* s, char const* t) {
  return compare<int, foldedDifferenceAt>(s, t);
}

VYK_SBCS_VBMI_TARGET VYK_SBCS_UNCHECKED_READS bool singleByteIEqualsVector(char const* s, char const* t) {
  return compare<bool, bothEndAt>(s, t);
}

// Counted texts use masked loads that read only their k bytes, 64 at a time.
VYK_SBCS_VBMI_TARGET std::size_t singleByteFirstFoldedDifferenceVector(char const* s, char const* t,
                                                                       std::size_t k) {
  FoldTable const f = loadFoldTable();
  for (std::size_t i = 0; i < k; i += 64) {
    __mmask64 valid = lowBits(k - i);
    __m512i a = _mm512_maskz_loadu_epi8(valid, s + i);
    __m512i b = _mm512_maskz_loadu_epi8(valid, t + i);
    __mmask64 differ = _mm512_cmpneq_epi8_mask(a, b);
    if (differ != 0) {
      differ &= _mm512_cmpneq_epi8_mask(fold(f, a), fold(f, b));
      if (differ != 0) return i + static_cast<std::size_t>(__builtin_ctzll(differ));
    }
  }
  return k;
}

}  // namespace detail

#else

namespace detail {

bool singleByteVectorFormsAvailable() {
  return false;
}

int singleByteICompareVector(char const* s, char const* t) {
  return singleByteICompareBytes(s, t);
}
bool singleByteIEqualsVector(char const* s, char const* t) {
  return singleByteIEqualsBytes(s, t);
}
std::size_t singleByteFirstFoldedDifferenceVector(char const* s, char const* t, std::size_t k) {
  return singleByteFirstFoldedDifferenceBytes(s, t, k);
}

}  // namespace detail

#endif

namespace detail {

bool const singleByteVectorCompare = singleByteVectorFormsAvailable();

}  // namespace detail

}  // namespace session_encoded
}  // namespace vyk
