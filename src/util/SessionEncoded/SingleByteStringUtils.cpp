// The single-byte session string operations, one table read per byte.
#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "SingleByteCompare.h"
#include "vyk/util/CharacterTables.h"
#include "vyk/util/StringUtilsSessionEncoded.h"

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

unsigned char const* upperTable() {
  return sbcs::detail::toupperTable_;
}
unsigned char const* lowerTable() {
  return sbcs::detail::tolowerTable_;
}

}  // namespace

// The byte-by-byte forms of the comparisons. Equal bytes fold equal under any table, so only
// bytes that differ are folded.
namespace detail {

std::size_t singleByteFirstFoldedDifferenceBytes(char const* s, char const* t, std::size_t k) {
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

int singleByteICompareBytes(char const* s, char const* t) {
  std::size_t i = firstStopPortable(s, t);
  return lower(s[i]) - lower(t[i]);
}

bool singleByteIEqualsBytes(char const* s, char const* t) {
  // The scan stops at the first 0 of either text, whatever the table makes of other bytes.
  std::size_t i = firstStopPortable(s, t);
  return s[i] == 0 && t[i] == 0;
}

unsigned long singleByteHash(char const* s) {
  std::uint64_t h = 0;
  for (; *s != 0; ++s) {
    // The folded byte enters as a signed char widened to 64 bits: bytes from 0x80 count negative.
    std::uint64_t v =
        static_cast<std::uint64_t>(static_cast<std::int64_t>(static_cast<signed char>(lower(*s))));
    h ^= v + 0x9E3779B9u + (h << 6) + (h >> 2);
  }
  return static_cast<unsigned long>(h);
}

}  // namespace detail

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
  return n == m && detail::singleByteFirstFoldedDifference(s, t, n) == n;
}

bool SingleByteEncodingStringUtilsSessionEncodedImpl::iequals(std::string const& s, char const* t) const {
  std::string::size_type n = s.size();
  for (std::string::size_type i = 0; i < n; ++i) {
    if (t[i] == 0 || lower(s[i]) != lower(t[i])) return false;
  }
  return t[n] == 0;
}

bool SingleByteEncodingStringUtilsSessionEncodedImpl::iequals(char const* s, char const* t) const {
  return detail::singleByteIEquals(s, t);
}

int SingleByteEncodingStringUtilsSessionEncodedImpl::icompare(char const* s, unsigned long n, char const* t,
                                                              unsigned long m) const {
  unsigned long k = n < m ? n : m;
  std::size_t i = detail::singleByteFirstFoldedDifference(s, t, k);
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
  return detail::singleByteICompare(s, t);
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
  return n >= m && detail::singleByteFirstFoldedDifference(s, t, m) == m;
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
  return n >= m && detail::singleByteFirstFoldedDifference(s + (n - m), t, m) == m;
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
  return detail::singleByteHash(s);
}

bool SingleByteEncodingStringUtilsSessionEncodedImpl::keyequal(char const* s, char const* t) const {
  return iequals(s, t);
}

}  // namespace session_encoded
}  // namespace vyk
