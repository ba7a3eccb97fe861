// The single-byte session string operations, one table read per byte.
#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "vyk/util/CharacterTables.h"
#include "vyk/util/StringUtilsSessionEncoded.h"

// Comparison 64 bytes at a time with the folding table in four vector registers, compiled for
// AVX-512 (BW and VBMI) and taken when the processor has it.
#if defined(__GNUC__) && defined(__x86_64__)
#include <immintrin.h>
#define VYK_SBCS_VBMI 1
#endif

namespace vyk {
namespace session_encoded {

namespace {

inline int lower(char c) {
  return sbcs::detail::tolowerTable_[static_cast<unsigned char>(c)];
}

// Rewrites n bytes in place through a 256-byte table.
inline void mapInPlace(unsigned char const* table, char* s, unsigned long n) {
  for (unsigned long i = 0; i < n; ++i) s[i] = static_cast<char>(table[static_cast<unsigned char>(s[i])]);
}

inline void mapToTerminator(unsigned char const* table, char* s) {
  for (; *s != 0; ++s) *s = static_cast<char>(table[static_cast<unsigned char>(*s)]);
}

inline void mapAppend(unsigned char const* table, char const* src, unsigned long n, std::string& dst) {
  std::string::size_type start = dst.size();
  dst.append(src, n);
  mapInPlace(table, &dst[0] + start, n);
}

std::string mapCopy(unsigned char const* table, char const* s, int n) {
  // The standard library's own text for a length that cannot be appended.
  if (n < 0) throw std::length_error("basic_string::append");
  std::string result;
  mapAppend(table, s, static_cast<unsigned long>(n), result);
  return result;
}

// True when the n bytes at s and t are equal under the table.
inline bool equalFolded(char const* s, char const* t, unsigned long n) {
  for (unsigned long i = 0; i < n; ++i) {
    if (lower(s[i]) != lower(t[i])) return false;
  }
  return true;
}

// Equal bytes fold equal under any table, so only bytes that differ are folded.

// The offset of the first position of the zero-terminated s and t where either ends or the folded
// bytes differ.
std::size_t firstStopPortable(char const* s, char const* t) {
  for (std::size_t i = 0;; ++i) {
    unsigned char a = static_cast<unsigned char>(s[i]);
    unsigned char b = static_cast<unsigned char>(t[i]);
    if (a == b) {
      if (a == 0) return i;
      continue;
    }
    if (a == 0 || b == 0 || lower(s[i]) != lower(t[i])) return i;
  }
}

// The offset of the first of k bytes where the folded bytes of s and t differ, or k.
std::size_t firstFoldedDifferencePortable(char const* s, char const* t, std::size_t k) {
  std::size_t i = 0;
  for (; k - i >= 8; i += 8) {
    std::uint64_t a;
    std::uint64_t b;
    std::memcpy(&a, s + i, 8);
    std::memcpy(&b, t + i, 8);
    if (a == b) continue;
    for (std::size_t j = i; j < i + 8; ++j) {
      if (lower(s[j]) != lower(t[j])) return j;
    }
  }
  for (; i < k; ++i) {
    if (s[i] != t[i] && lower(s[i]) != lower(t[i])) return i;
  }
  return k;
}

#if defined(VYK_SBCS_VBMI)
#define VYK_SBCS_VBMI_TARGET __attribute__((target("avx512f,avx512bw,avx512vbmi")))

bool detectVbmi() {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
         __builtin_cpu_supports("avx512vbmi");
}
// Set while the library loads; false until then, which only means the portable path.
bool const haveVbmi = detectVbmi();

// The folding table as it is now, in four registers.
struct FoldTable {
  __m512i part[4];
};

VYK_SBCS_VBMI_TARGET inline FoldTable loadFoldTable() {
  unsigned char const* table = sbcs::detail::tolowerTable_;
  return {{_mm512_loadu_si512(table), _mm512_loadu_si512(table + 64), _mm512_loadu_si512(table + 128),
           _mm512_loadu_si512(table + 192)}};
}

// Each byte of v through the table: the low seven bits pick one of 128 entries from two registers,
// the high bit picks the half.
VYK_SBCS_VBMI_TARGET inline __m512i fold(FoldTable const& f, __m512i v) {
  return _mm512_mask_blend_epi8(_mm512_movepi8_mask(v), _mm512_permutex2var_epi8(f.part[0], v, f.part[1]),
                                _mm512_permutex2var_epi8(f.part[2], v, f.part[3]));
}

inline std::uint64_t lowBits(std::size_t n) {
  return n >= 64 ? ~std::uint64_t(0) : (std::uint64_t(1) << n) - 1;
}

// As firstStopPortable. While neither text is within 64 bytes of the end of its page, each step
// reads 64 bytes of both: bytes after a terminator may be read, but never a page that the texts do
// not reach, so no fault is possible. Nearer a page end it goes byte by byte. The sanitizers
// would report the bytes read after a terminator as read past the end of (or after) their object;
// they take no part in the result, so those checks are off for this function.
#define VYK_SBCS_UNCHECKED_READS __attribute__((no_sanitize("address", "thread")))

VYK_SBCS_VBMI_TARGET VYK_SBCS_UNCHECKED_READS inline __attribute__((always_inline)) std::size_t firstStopVbmi(
    char const* s, char const* t) {
  FoldTable const f = loadFoldTable();
  std::size_t i = 0;
  for (;;) {
    std::uintptr_t sp = reinterpret_cast<std::uintptr_t>(s + i);
    std::uintptr_t tp = reinterpret_cast<std::uintptr_t>(t + i);
    if ((((sp ^ (sp + 31)) | (tp ^ (tp + 31))) & 4096) == 0) {  // both 32 bytes in one page
      // The upper halves of the registers are left as they come: only the low 32 lanes count.
      __m512i a = _mm512_castsi256_si512(_mm256_loadu_si256(reinterpret_cast<__m256i const*>(s + i)));
      __m512i b = _mm512_castsi256_si512(_mm256_loadu_si256(reinterpret_cast<__m256i const*>(t + i)));
      __mmask64 stop = _mm512_cmpneq_epi8_mask(fold(f, a), fold(f, b)) | _mm512_testn_epi8_mask(a, a) |
                       _mm512_testn_epi8_mask(b, b);
      stop &= 0xFFFFFFFFu;
      if (stop != 0) return i + static_cast<std::size_t>(__builtin_ctzll(stop));
      i += 32;
      continue;
    }
    unsigned char x = static_cast<unsigned char>(s[i]);
    unsigned char y = static_cast<unsigned char>(t[i]);
    if (x == 0 || y == 0 || (x != y && lower(s[i]) != lower(t[i]))) return i;
    ++i;
  }
}

// The whole comparisons, in one function each so that the common path makes no further call.
VYK_SBCS_VBMI_TARGET VYK_SBCS_UNCHECKED_READS int icompareVbmi(char const* s, char const* t) {
  std::size_t i = firstStopVbmi(s, t);
  return lower(s[i]) - lower(t[i]);
}

VYK_SBCS_VBMI_TARGET VYK_SBCS_UNCHECKED_READS bool iequalsVbmi(char const* s, char const* t) {
  std::size_t i = firstStopVbmi(s, t);
  return s[i] == 0 && t[i] == 0;
}

// As firstFoldedDifferencePortable, reading only the k bytes.
VYK_SBCS_VBMI_TARGET std::size_t firstFoldedDifferenceVbmi(char const* s, char const* t, std::size_t k) {
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
#endif

inline std::size_t firstFoldedDifference(char const* s, char const* t, std::size_t k) {
#if defined(VYK_SBCS_VBMI)
  if (haveVbmi) return firstFoldedDifferenceVbmi(s, t, k);
#endif
  return firstFoldedDifferencePortable(s, t, k);
}

unsigned char const* upperTable() {
  return sbcs::detail::toupperTable_;
}
unsigned char const* lowerTable() {
  return sbcs::detail::tolowerTable_;
}

}  // namespace

SingleByteEncodingStringUtilsSessionEncodedImpl::~SingleByteEncodingStringUtilsSessionEncodedImpl() {}

bool SingleByteEncodingStringUtilsSessionEncodedImpl::isSingleByteImpl() const {
  return true;
}

void SingleByteEncodingStringUtilsSessionEncodedImpl::to_upper(char* s) const {
  mapToTerminator(upperTable(), s);
}

void SingleByteEncodingStringUtilsSessionEncodedImpl::to_upper(char* s, unsigned long n) const {
  mapInPlace(upperTable(), s, n);
}

void SingleByteEncodingStringUtilsSessionEncodedImpl::to_upper(std::string& s) const {
  mapInPlace(upperTable(), &s[0], s.size());
}

void SingleByteEncodingStringUtilsSessionEncodedImpl::to_upper(char const* src, unsigned long n,
                                                               char* dst) const {
  std::memmove(dst, src, n);
  mapInPlace(upperTable(), dst, n);
}

void SingleByteEncodingStringUtilsSessionEncodedImpl::to_upper(std::string const& src,
                                                               std::string& dst) const {
  mapAppend(upperTable(), src.data(), src.size(), dst);
}

std::string SingleByteEncodingStringUtilsSessionEncodedImpl::to_upper_copy(std::string const& s) const {
  std::string result;
  mapAppend(upperTable(), s.data(), s.size(), result);
  return result;
}

std::string SingleByteEncodingStringUtilsSessionEncodedImpl::to_upper_copy(char const* s, int n) const {
  return mapCopy(upperTable(), s, n);
}

void SingleByteEncodingStringUtilsSessionEncodedImpl::to_lower(char* s) const {
  mapToTerminator(lowerTable(), s);
}

void SingleByteEncodingStringUtilsSessionEncodedImpl::to_lower(char* s, unsigned long n) const {
  mapInPlace(lowerTable(), s, n);
}

void SingleByteEncodingStringUtilsSessionEncodedImpl::to_lower(std::string& s) const {
  mapInPlace(lowerTable(), &s[0], s.size());
}

void SingleByteEncodingStringUtilsSessionEncodedImpl::to_lower(char const* src, unsigned long n,
                                                               char* dst) const {
  std::memmove(dst, src, n);
  mapInPlace(lowerTable(), dst, n);
}

void SingleByteEncodingStringUtilsSessionEncodedImpl::to_lower(std::string const& src,
                                                               std::string& dst) const {
  mapAppend(lowerTable(), src.data(), src.size(), dst);
}

std::string SingleByteEncodingStringUtilsSessionEncodedImpl::to_lower_copy(std::string const& s) const {
  std::string result;
  mapAppend(lowerTable(), s.data(), s.size(), result);
  return result;
}

std::string SingleByteEncodingStringUtilsSessionEncodedImpl::to_lower_copy(char const* s, int n) const {
  return mapCopy(lowerTable(), s, n);
}

bool SingleByteEncodingStringUtilsSessionEncodedImpl::vyk_strisupper(char const* s) const {
  return sbcs::vyk_strisupper(s);
}

bool SingleByteEncodingStringUtilsSessionEncodedImpl::vyk_strislower(char const* s) const {
  return sbcs::vyk_strislower(s);
}

bool SingleByteEncodingStringUtilsSessionEncodedImpl::iequals(char const* s, unsigned long n, char const* t,
                                                              unsigned long m) const {
  return n == m && firstFoldedDifference(s, t, n) == n;
}

bool SingleByteEncodingStringUtilsSessionEncodedImpl::iequals(std::string const& s, char const* t) const {
  std::string::size_type n = s.size();
  for (std::string::size_type i = 0; i < n; ++i) {
    if (t[i] == 0 || lower(s[i]) != lower(t[i])) return false;
  }
  return t[n] == 0;
}

bool SingleByteEncodingStringUtilsSessionEncodedImpl::iequals(char const* s, char const* t) const {
  // The scan stops at the first 0 of either text, whatever the table makes of other bytes.
#if defined(VYK_SBCS_VBMI)
  if (haveVbmi) return iequalsVbmi(s, t);
#endif
  std::size_t i = firstStopPortable(s, t);
  return s[i] == 0 && t[i] == 0;
}

int SingleByteEncodingStringUtilsSessionEncodedImpl::icompare(char const* s, unsigned long n, char const* t,
                                                              unsigned long m) const {
  unsigned long k = n < m ? n : m;
  std::size_t i = firstFoldedDifference(s, t, k);
  if (i < k) return lower(s[i]) - lower(t[i]);
  return static_cast<int>(n - m);
}

int SingleByteEncodingStringUtilsSessionEncodedImpl::icompare(std::string const& s, char const* t) const {
  std::string::size_type n = s.size();
  for (std::string::size_type i = 0; i < n; ++i) {
    if (t[i] == 0) return 1;
    int d = lower(s[i]) - lower(t[i]);
    if (d != 0) return d;
  }
  return t[n] != 0 ? -1 : 0;
}

int SingleByteEncodingStringUtilsSessionEncodedImpl::icompare(char const* s, char const* t) const {
#if defined(VYK_SBCS_VBMI)
  if (haveVbmi) return icompareVbmi(s, t);
#endif
  std::size_t i = firstStopPortable(s, t);
  return lower(s[i]) - lower(t[i]);
}

int SingleByteEncodingStringUtilsSessionEncodedImpl::icomparen(std::string const& s, std::string const& t,
                                                               unsigned long limit) const {
  return sbcs::icomparen(s.data(), s.size(), t.data(), t.size(), limit);
}

int SingleByteEncodingStringUtilsSessionEncodedImpl::icomparen(char const* s, std::string const& t,
                                                               unsigned long limit) const {
  return -sbcs::icomparen(t, s, limit);
}

int SingleByteEncodingStringUtilsSessionEncodedImpl::icomparen(char const* s, unsigned long n, char const* t,
                                                               unsigned long m, unsigned long limit) const {
  return sbcs::icomparen(s, n, t, m, limit);
}

int SingleByteEncodingStringUtilsSessionEncodedImpl::icomparen(std::string const& s, char const* t,
                                                               unsigned long limit) const {
  return sbcs::icomparen(s, t, limit);
}

int SingleByteEncodingStringUtilsSessionEncodedImpl::icomparen(char const* s, char const* t,
                                                               unsigned long limit) const {
  return sbcs::icomparen(s, t, limit);
}

bool SingleByteEncodingStringUtilsSessionEncodedImpl::istarts_with(char const* s, unsigned long n,
                                                                   char const* t, unsigned long m) const {
  return n >= m && firstFoldedDifference(s, t, m) == m;
}

bool SingleByteEncodingStringUtilsSessionEncodedImpl::istarts_with(std::string const& s,
                                                                   char const* t) const {
  std::string::size_type n = s.size();
  for (std::string::size_type i = 0; i < n; ++i) {
    if (t[i] == 0) return true;
    if (lower(s[i]) != lower(t[i])) return false;
  }
  return t[n] == 0;
}

bool SingleByteEncodingStringUtilsSessionEncodedImpl::istarts_with(char const* s, char const* t) const {
  for (;; ++s, ++t) {
    if (*t == 0) return true;
    if (*s == 0 || lower(*s) != lower(*t)) return false;
  }
}

bool SingleByteEncodingStringUtilsSessionEncodedImpl::iends_with(char const* s, unsigned long n,
                                                                 char const* t, unsigned long m) const {
  return n >= m && firstFoldedDifference(s + (n - m), t, m) == m;
}

unsigned long SingleByteEncodingStringUtilsSessionEncodedImpl::ifind(char const* s, unsigned long n,
                                                                     char const* t, unsigned long m,
                                                                     unsigned long from) const {
  if (from > n || m > n - from) return std::string::npos;
  if (m == 0) return from;
  int first = lower(t[0]);
  for (unsigned long p = from, last = n - m; p <= last; ++p) {
    if (lower(s[p]) == first && equalFolded(s + p + 1, t + 1, m - 1)) return p;
  }
  return std::string::npos;
}

unsigned long SingleByteEncodingStringUtilsSessionEncodedImpl::ifind(std::string const& s,
                                                                     std::string const& t,
                                                                     unsigned long from) const {
  return ifind(s.data(), s.size(), t.data(), t.size(), from);
}

unsigned long SingleByteEncodingStringUtilsSessionEncodedImpl::hash(char const* s) const {
  std::uint64_t h = 0;
  for (; *s != 0; ++s) {
    // The folded byte enters as a signed char widened to 64 bits: bytes from 0x80 count negative.
    std::uint64_t v =
        static_cast<std::uint64_t>(static_cast<std::int64_t>(static_cast<signed char>(lower(*s))));
    h ^= v + 0x9E3779B9u + (h << 6) + (h >> 2);
  }
  return static_cast<unsigned long>(h);
}

bool SingleByteEncodingStringUtilsSessionEncodedImpl::keyequal(char const* s, char const* t) const {
  return iequals(s, t);
}

}  // namespace session_encoded
}  // namespace vyk
