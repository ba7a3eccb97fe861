// The single-byte implementation's case-insensitive comparisons and hash as plain functions: the
// free functions reach them without a virtual call while that implementation is active, and each
// comparison has a byte-by-byte form and a vector form that give the same results.
#ifndef VYK_SRC_UTIL_SESSIONENCODED_SINGLEBYTECOMPARE_H
#define VYK_SRC_UTIL_SESSIONENCODED_SINGLEBYTECOMPARE_H

#include <cstddef>

namespace vyk {
namespace session_encoded {
namespace detail {

// True when the processor has the vector instructions of the faster forms; may be called at any
// time. The constant is its answer, set while the library loads (false before, which only means the
// byte-by-byte forms).
bool singleByteVectorFormsAvailable();
extern bool const singleByteVectorCompare;

// Zero-terminated texts: the folded difference at the first position where either text ends or
// the folded bytes differ, and whether both end there with no difference before.
int singleByteICompareBytes(char const* s, char const* t);
bool singleByteIEqualsBytes(char const* s, char const* t);
int singleByteICompareVector(char const* s, char const* t);
bool singleByteIEqualsVector(char const* s, char const* t);

// Counted texts: the offset of the first of k bytes where the folded bytes differ, or k.
std::size_t singleByteFirstFoldedDifferenceBytes(char const* s, char const* t, std::size_t k);
std::size_t singleByteFirstFoldedDifferenceVector(char const* s, char const* t, std::size_t k);

// Inline, so that a caller reaches the chosen form in one jump.
inline int singleByteICompare(char const* s, char const* t) {
  return singleByteVectorCompare ? singleByteICompareVector(s, t) : singleByteICompareBytes(s, t);
}
inline bool singleByteIEquals(char const* s, char const* t) {
  return singleByteVectorCompare ? singleByteIEqualsVector(s, t) : singleByteIEqualsBytes(s, t);
}
inline std::size_t singleByteFirstFoldedDifference(char const* s, char const* t, std::size_t k) {
  return singleByteVectorCompare ? singleByteFirstFoldedDifferenceVector(s, t, k)
                                 : singleByteFirstFoldedDifferenceBytes(s, t, k);
}

// h = 0; for each folded byte read as signed char and widened: h ^= v + 0x9E3779B9 + (h << 6) + (h >> 2).
unsigned long singleByteHash(char const* s);

}  // namespace detail
}  // namespace session_encoded
}  // namespace vyk

#endif
