// UTF-8 to and from UTF-16: ASCII runs a block at a time, every other character on its own.
#include <cstdint>
#include <cstring>

#include "vyk/util/UnicodeConverter.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#define VYK_UTF8_SSE2 1
#endif
// Shuffle-based block conversion, compiled for SSSE3 and SSE4.1 and taken when the processor has them.
#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
#include <immintrin.h>
#define VYK_UTF8_SHUFFLE 1
#endif

namespace vyk {

namespace {

inline bool isTrail(std::uint8_t b) {
  return (b & 0xC0) == 0x80;
}

inline unsigned countTrailingZeros(std::uint32_t x) {
  return static_cast<unsigned>(__builtin_ctz(x));
}

// Widens the ASCII bytes at s into t, a block at a time, while both sides have a whole block left.
// Stops at the first byte above 0x7F, copying the ASCII bytes before it. Returns the bytes taken.
std::size_t widenAscii(std::uint8_t const* s, std::uint8_t const* end, std::uint16_t* t,
                       std::uint16_t const* tEnd) {
  std::uint8_t const* start = s;
#if defined(VYK_UTF8_SSE2)
  __m128i const zero = _mm_setzero_si128();
  while (end - s >= 16 && tEnd - t >= 16) {
    __m128i v = _mm_loadu_si128(reinterpret_cast<__m128i const*>(s));
    std::uint32_t high = static_cast<std::uint32_t>(_mm_movemask_epi8(v));
    if (high != 0) {
      unsigned k = countTrailingZeros(high);
      for (unsigned i = 0; i < k; ++i) t[i] = s[i];
      return static_cast<std::size_t>(s - start) + k;
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(t), _mm_unpacklo_epi8(v, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(t + 8), _mm_unpackhi_epi8(v, zero));
    s += 16;
    t += 16;
  }
#endif
  while (end - s >= 8 && tEnd - t >= 8) {
    std::uint64_t word;
    std::memcpy(&word, s, 8);
    if ((word & 0x8080808080808080ULL) != 0) break;
    for (int i = 0; i < 8; ++i) t[i] = s[i];
    s += 8;
    t += 8;
  }
  return static_cast<std::size_t>(s - start);
}

// Narrows the ASCII units at s into t, a block at a time, while both sides have a whole block left.
// Stops at the first unit above 0x7F, copying the ASCII units before it. Returns the units taken.
std::size_t narrowAscii(std::uint16_t const* s, std::uint16_t const* end, std::uint8_t* t,
                        std::uint8_t const* tEnd) {
  std::uint16_t const* start = s;
#if defined(VYK_UTF8_SSE2)
  __m128i const nonAscii = _mm_set1_epi16(static_cast<short>(0xFF80));
  __m128i const zero = _mm_setzero_si128();
  while (end - s >= 16 && tEnd - t >= 16) {
    __m128i a = _mm_loadu_si128(reinterpret_cast<__m128i const*>(s));
    __m128i b = _mm_loadu_si128(reinterpret_cast<__m128i const*>(s + 8));
    __m128i asciiA = _mm_cmpeq_epi16(_mm_and_si128(a, nonAscii), zero);
    __m128i asciiB = _mm_cmpeq_epi16(_mm_and_si128(b, nonAscii), zero);
    std::uint32_t ascii = static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_packs_epi16(asciiA, asciiB)));
    if (ascii != 0xFFFF) {
      unsigned k = countTrailingZeros(~ascii);
      for (unsigned i = 0; i < k; ++i) t[i] = static_cast<std::uint8_t>(s[i]);
      return static_cast<std::size_t>(s - start) + k;
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(t), _mm_packus_epi16(a, b));
    s += 16;
    t += 16;
  }
#endif
  while (end - s >= 4 && tEnd - t >= 4) {
    std::uint64_t word;
    std::memcpy(&word, s, 8);
    if ((word & 0xFF80FF80FF80FF80ULL) != 0) break;
    for (int i = 0; i < 4; ++i) t[i] = static_cast<std::uint8_t>(s[i]);
    s += 4;
    t += 4;
  }
  return static_cast<std::size_t>(s - start);
}

// Decodes one character at s (at least one byte left) into t, or reports why it cannot. Every byte
// gives at most one unit, so with kCheckRoom false (the caller saw room for a unit per source byte,
// or for two units) the room tests drop out.
template <bool kCheckRoom>
inline UnicodeConverter::ErrorCode decodeOne(std::uint8_t const*& s, std::uint8_t const* end,
                                             std::uint16_t*& t, std::uint16_t const* tEnd) {
  std::uint32_t b0 = *s;
  if (b0 < 0x80) {
    if (kCheckRoom && t == tEnd) return UnicodeConverter::Overflow;
    *t++ = static_cast<std::uint16_t>(b0);
    ++s;
    return UnicodeConverter::Ok;
  }
  // A multi-byte character: decode and validate it whole before looking at the room for it.
  std::size_t avail = static_cast<std::size_t>(end - s);
  if (b0 < 0xE0) {
    // C0 and C1 only start overlong forms; 80 to BF are stray continuation bytes.
    if (b0 < 0xC2 || avail < 2 || !isTrail(s[1])) return UnicodeConverter::Invalid;
    if (kCheckRoom && t == tEnd) return UnicodeConverter::Overflow;
    *t++ = static_cast<std::uint16_t>(((b0 & 0x1F) << 6) | (s[1] & 0x3Fu));
    s += 2;
  } else if (b0 < 0xF0) {
    if (avail < 3 || !isTrail(s[1]) || !isTrail(s[2])) return UnicodeConverter::Invalid;
    std::uint32_t cp = ((b0 & 0x0F) << 12) | ((s[1] & 0x3Fu) << 6) | (s[2] & 0x3Fu);
    if (cp < 0x800 || (cp >= 0xD800 && cp <= 0xDFFF)) return UnicodeConverter::Invalid;
    if (kCheckRoom && t == tEnd) return UnicodeConverter::Overflow;
    *t++ = static_cast<std::uint16_t>(cp);
    s += 3;
  } else {
    if (b0 >= 0xF8 || avail < 4 || !isTrail(s[1]) || !isTrail(s[2]) || !isTrail(s[3]))
      return UnicodeConverter::Invalid;
    std::uint32_t cp = ((b0 & 0x07) << 18) | ((s[1] & 0x3Fu) << 12) | ((s[2] & 0x3Fu) << 6) | (s[3] & 0x3Fu);
    if (cp < 0x10000 || cp > 0x10FFFF) return UnicodeConverter::Invalid;
    if (kCheckRoom && tEnd - t < 2) return UnicodeConverter::Overflow;
    unsigned int pair = utf8::make_surrogate_pair(cp);
    t[0] = static_cast<std::uint16_t>(pair & 0xFFFF);
    t[1] = static_cast<std::uint16_t>(pair >> 16);
    t += 2;
    s += 4;
  }
  return UnicodeConverter::Ok;
}

// Decodes UTF-8 from s into t until the source ends, the target is full or a fault.
template <bool kCheckRoom>
UnicodeConverter::ErrorCode decode(std::uint8_t const*& sRef, std::uint8_t const* end, std::uint16_t*& tRef,
                                   std::uint16_t const* tEnd) {
  std::uint8_t const* s = sRef;
  std::uint16_t* t = tRef;
  UnicodeConverter::ErrorCode code = UnicodeConverter::Ok;
  while (s < end) {
    if (*s < 0x80 && end - s >= 8 && tEnd - t >= 8) {  // perhaps a run of ASCII: a block at a time
      std::size_t n = widenAscii(s, end, t, tEnd);
      s += n;
      t += n;
      if (s == end) break;
    }
    code = decodeOne<kCheckRoom>(s, end, t, tEnd);
    if (code != UnicodeConverter::Ok) break;
  }
  sRef = s;
  tRef = t;
  return code;
}

// Encodes one character at s (one unit, or a surrogate pair) into t, or reports why it cannot. Every
// unit gives at most 3 bytes, so with kCheckRoom false (room for 3 bytes per source unit, or for 4
// bytes) the room tests drop out.
template <bool kCheckRoom>
inline UnicodeConverter::ErrorCode encodeOne(std::uint16_t const*& s, std::uint16_t const* end,
                                             std::uint8_t*& t, std::uint8_t const* tEnd) {
  std::uint32_t c = *s;
  if (c < 0x80) {
    if (kCheckRoom && t == tEnd) return UnicodeConverter::Overflow;
    *t++ = static_cast<std::uint8_t>(c);
    ++s;
  } else if (c < 0x800) {
    if (kCheckRoom && tEnd - t < 2) return UnicodeConverter::Overflow;
    t[0] = static_cast<std::uint8_t>(0xC0 | (c >> 6));
    t[1] = static_cast<std::uint8_t>(0x80 | (c & 0x3F));
    t += 2;
    s += 1;
  } else if (c < 0xD800 || c > 0xDBFF) {  // the rest of the basic plane, a lone low surrogate included
    if (kCheckRoom && tEnd - t < 3) return UnicodeConverter::Overflow;
    t[0] = static_cast<std::uint8_t>(0xE0 | (c >> 12));
    t[1] = static_cast<std::uint8_t>(0x80 | ((c >> 6) & 0x3F));
    t[2] = static_cast<std::uint8_t>(0x80 | (c & 0x3F));
    t += 3;
    s += 1;
  } else {
    // A high surrogate takes its low surrogate along, or is malformed; the pair is never split.
    if (end - s < 2 || s[1] < 0xDC00 || s[1] > 0xDFFF) return UnicodeConverter::Invalid;
    if (kCheckRoom && tEnd - t < 4) return UnicodeConverter::Overflow;
    std::uint32_t cp = 0x10000 + ((c - 0xD800) << 10) + (s[1] - 0xDC00u);
    t[0] = static_cast<std::uint8_t>(0xF0 | (cp >> 18));
    t[1] = static_cast<std::uint8_t>(0x80 | ((cp >> 12) & 0x3F));
    t[2] = static_cast<std::uint8_t>(0x80 | ((cp >> 6) & 0x3F));
    t[3] = static_cast<std::uint8_t>(0x80 | (cp & 0x3F));
    t += 4;
    s += 2;
  }
  return UnicodeConverter::Ok;
}

// Encodes UTF-16 from s into t, with the same rules.
template <bool kCheckRoom>
UnicodeConverter::ErrorCode encode(std::uint16_t const*& sRef, std::uint16_t const* end, std::uint8_t*& tRef,
                                   std::uint8_t const* tEnd) {
  std::uint16_t const* s = sRef;
  std::uint8_t* t = tRef;
  UnicodeConverter::ErrorCode code = UnicodeConverter::Ok;
  while (s < end) {
    if (*s < 0x80 && end - s >= 4 && tEnd - t >= 4) {
      std::size_t n = narrowAscii(s, end, t, tEnd);
      s += n;
      t += n;
      if (s == end) break;
    }
    code = encodeOne<kCheckRoom>(s, end, t, tEnd);
    if (code != UnicodeConverter::Ok) break;
  }
  sRef = s;
  tRef = t;
  return code;
}

#if defined(VYK_UTF8_SHUFFLE)
// Block decoding with byte shuffles. A window of 12 bytes is cut into characters by the positions of
// their last bytes (a byte is last when the next one is not a continuation byte); that 12-bit mask
// picks a shuffle that spreads the first six characters of one or two bytes into 16-bit lanes, or the
// first four characters of one to three bytes into 32-bit lanes. The lanes are then checked as whole
// characters (lead byte against length, overlong and surrogate forms); a window with anything else
// goes one character through decodeOne, which applies every rule.
struct Shuffle {
  std::uint8_t index[16];
};

constexpr int kSixOfTwo = 64;     // patterns 0..63: bit k set when character k has two bytes
constexpr int kFourOfThree = 81;  // patterns 64..144: sum of (length(k) - 1) * 3^k
constexpr std::uint8_t kNoPattern = 0xFF;

struct DecodeTables {
  Shuffle shuffles[kSixOfTwo + kFourOfThree];
  std::uint8_t pattern[4096];   // by mask of last bytes
  std::uint8_t consumed[4096];  // bytes the pattern takes
};

constexpr DecodeTables makeDecodeTables() {
  DecodeTables d{};
  for (int p = 0; p < kSixOfTwo; ++p) {
    int at = 0;
    for (int k = 0; k < 8; ++k) {
      bool two = k < 6 && (p >> k & 1) != 0;
      if (k >= 6) {
        d.shuffles[p].index[2 * k] = 0x80;
        d.shuffles[p].index[2 * k + 1] = 0x80;
      } else if (two) {
        d.shuffles[p].index[2 * k] = static_cast<std::uint8_t>(at + 1);  // the low byte: the last
        d.shuffles[p].index[2 * k + 1] = static_cast<std::uint8_t>(at);  // the high byte: the lead
        at += 2;
      } else {
        d.shuffles[p].index[2 * k] = static_cast<std::uint8_t>(at);
        d.shuffles[p].index[2 * k + 1] = 0x80;
        at += 1;
      }
    }
  }
  for (int q = 0; q < kFourOfThree; ++q) {
    Shuffle& sh = d.shuffles[kSixOfTwo + q];
    int at = 0;
    int rest = q;
    for (int k = 0; k < 4; ++k) {
      int length = rest % 3 + 1;
      rest /= 3;
      // Lane k holds the last byte lowest, then the one before it, then the lead of three.
      for (int j = 0; j < 4; ++j)
        sh.index[4 * k + j] = j < length ? static_cast<std::uint8_t>(at + length - 1 - j) : 0x80;
      at += length;
    }
  }
  for (int mask = 0; mask < 4096; ++mask) {
    int lengths[6] = {0, 0, 0, 0, 0, 0};
    int count = 0;
    int start = 0;
    for (int i = 0; i < 12 && count < 6; ++i) {
      if ((mask >> i & 1) != 0) {
        lengths[count++] = i - start + 1;
        start = i + 1;
      }
    }
    d.pattern[mask] = kNoPattern;
    bool six = count == 6;
    for (int k = 0; k < count; ++k) six = six && lengths[k] <= 2;
    if (six) {
      int p = 0;
      int bytes = 0;
      for (int k = 0; k < 6; ++k) {
        p |= (lengths[k] == 2 ? 1 : 0) << k;
        bytes += lengths[k];
      }
      d.pattern[mask] = static_cast<std::uint8_t>(p);
      d.consumed[mask] = static_cast<std::uint8_t>(bytes);
      continue;
    }
    bool four = count >= 4;
    for (int k = 0; k < 4 && k < count; ++k) four = four && lengths[k] <= 3;
    if (four) {
      int q = 0;
      int bytes = 0;
      for (int k = 3; k >= 0; --k) {
        q = q * 3 + lengths[k] - 1;
        bytes += lengths[k];
      }
      d.pattern[mask] = static_cast<std::uint8_t>(kSixOfTwo + q);
      d.consumed[mask] = static_cast<std::uint8_t>(bytes);
    }
  }
  return d;
}

constexpr DecodeTables kDecode = makeDecodeTables();

// Block encoding: eight units below U+0800 become one or two bytes each, four units of the basic
// plane outside the surrogates one to three bytes each; a shuffle picked by the units' lengths packs
// the bytes, a second one gives the tail so that exactly the bytes made are stored.
struct EncodeTables {
  Shuffle twoHead[256];  // by mask of ASCII units among eight 16-bit lanes
  Shuffle twoTail[256];  // the last 8 bytes of the same
  std::uint8_t twoLength[256];
  Shuffle threeHead[256];  // by (ASCII mask) | (three-byte mask << 4) among four 32-bit lanes
  Shuffle threeTail[256];  // the last 8 (12 bytes down to 8) or the last 4 (fewer than 8) bytes
  std::uint8_t threeLength[256];
};

constexpr EncodeTables makeEncodeTables() {
  EncodeTables e{};
  for (int mask = 0; mask < 256; ++mask) {
    std::uint8_t picked[16] = {};
    int n = 0;
    for (int k = 0; k < 8; ++k) {
      picked[n++] = static_cast<std::uint8_t>(2 * k);
      if ((mask >> k & 1) == 0) picked[n++] = static_cast<std::uint8_t>(2 * k + 1);
    }
    e.twoLength[mask] = static_cast<std::uint8_t>(n);
    for (int i = 0; i < 16; ++i) e.twoHead[mask].index[i] = i < n ? picked[i] : 0x80;
    for (int i = 0; i < 16; ++i) e.twoTail[mask].index[i] = i < 8 ? picked[n - 8 + i] : 0x80;
  }
  for (int index = 0; index < 256; ++index) {
    std::uint8_t picked[16] = {};
    int n = 0;
    for (int k = 0; k < 4; ++k) {
      bool one = (index >> k & 1) != 0;
      bool three = (index >> (k + 4) & 1) != 0;
      int length = one ? 1 : three ? 3 : 2;
      for (int j = 0; j < length; ++j) picked[n++] = static_cast<std::uint8_t>(4 * k + j);
    }
    e.threeLength[index] = static_cast<std::uint8_t>(n);
    int tail = n >= 8 ? 8 : 4;
    for (int i = 0; i < 16; ++i) {
      e.threeHead[index].index[i] = i < n ? picked[i] : 0x80;
      e.threeTail[index].index[i] = i < tail ? picked[n - tail + i] : 0x80;
    }
  }
  return e;
}

constexpr EncodeTables kEncode = makeEncodeTables();

#define VYK_SHUFFLE_TARGET __attribute__((target("ssse3,sse4.1")))

VYK_SHUFFLE_TARGET inline __m128i loadShuffle(Shuffle const& s) {
  return _mm_loadu_si128(reinterpret_cast<__m128i const*>(s.index));
}

VYK_SHUFFLE_TARGET inline void store32(void* t, __m128i v) {
  std::uint32_t w = static_cast<std::uint32_t>(_mm_cvtsi128_si32(v));
  std::memcpy(t, &w, 4);
}

// Decodes the window at s, whose mask of last bytes is given, into t when the pattern fits and every
// lane is a well-formed character. Returns the bytes taken (the units written are 6 or 4), or 0.
VYK_SHUFFLE_TARGET inline unsigned decodeWindow(std::uint8_t const* s, std::uint32_t lasts,
                                                std::uint16_t*& t) {
  __m128i in = _mm_loadu_si128(reinterpret_cast<__m128i const*>(s));
  std::uint32_t pattern = kDecode.pattern[lasts];
  if (pattern < static_cast<std::uint32_t>(kSixOfTwo)) {
    // 16-bit lanes: the last byte low, the lead of two high (else 0).
    __m128i v = _mm_shuffle_epi8(in, loadShuffle(kDecode.shuffles[pattern]));
    __m128i one =
        _mm_and_si128(_mm_cmpgt_epi16(v, _mm_set1_epi16(-1)), _mm_cmplt_epi16(v, _mm_set1_epi16(0x80)));
    __m128i two = _mm_and_si128(_mm_cmpgt_epi16(v, _mm_set1_epi16(static_cast<short>(0xC1FF))),
                                _mm_cmplt_epi16(v, _mm_set1_epi16(static_cast<short>(0xE000))));
    if (_mm_movemask_epi8(_mm_or_si128(one, two)) != 0xFFFF) return 0;
    __m128i units = _mm_or_si128(_mm_and_si128(v, _mm_set1_epi16(0x7F)),
                                 _mm_srli_epi16(_mm_and_si128(v, _mm_set1_epi16(0x1F00)), 2));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(t), units);
    store32(t + 4, _mm_srli_si128(units, 8));
    t += 6;
    return kDecode.consumed[lasts];
  }
  if (pattern == kNoPattern) return 0;
  // 32-bit lanes: the last byte lowest, then the one before, then the lead of three.
  __m128i v = _mm_shuffle_epi8(in, loadShuffle(kDecode.shuffles[pattern]));
  __m128i cp = _mm_or_si128(_mm_or_si128(_mm_and_si128(v, _mm_set1_epi32(0x7F)),
                                         _mm_srli_epi32(_mm_and_si128(v, _mm_set1_epi32(0x3F00)), 2)),
                            _mm_srli_epi32(_mm_and_si128(v, _mm_set1_epi32(0x0F0000)), 4));
  __m128i one = _mm_cmplt_epi32(v, _mm_set1_epi32(0x80));
  __m128i two =
      _mm_and_si128(_mm_cmpgt_epi32(v, _mm_set1_epi32(0xC1FF)), _mm_cmplt_epi32(v, _mm_set1_epi32(0xE000)));
  __m128i three = _mm_and_si128(_mm_cmpgt_epi32(v, _mm_set1_epi32(0xDFFFFF)),
                                _mm_cmplt_epi32(v, _mm_set1_epi32(0xF00000)));
  __m128i surrogate =
      _mm_and_si128(_mm_cmpgt_epi32(cp, _mm_set1_epi32(0xD7FF)), _mm_cmplt_epi32(cp, _mm_set1_epi32(0xE000)));
  three = _mm_andnot_si128(_mm_or_si128(surrogate, _mm_cmplt_epi32(cp, _mm_set1_epi32(0x800))), three);
  if (_mm_movemask_epi8(_mm_or_si128(_mm_or_si128(one, two), three)) != 0xFFFF) return 0;
  _mm_storel_epi64(reinterpret_cast<__m128i*>(t), _mm_packus_epi32(cp, cp));
  t += 4;
  return kDecode.consumed[lasts];
}

// Eight characters of three bytes each (the caller saw where they start): decoded into t when every
// one is well-formed.
VYK_SHUFFLE_TARGET inline bool decodeEightOfThree(std::uint8_t const* s, std::uint16_t*& t) {
  __m128i spread = loadShuffle(kDecode.shuffles[kSixOfTwo + kFourOfThree - 1]);
  __m128i v[2];
  __m128i cp[2];
  __m128i ok = _mm_set1_epi32(-1);
  for (int i = 0; i < 2; ++i) {
    v[i] = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<__m128i const*>(s + 12 * i)), spread);
    cp[i] = _mm_or_si128(_mm_or_si128(_mm_and_si128(v[i], _mm_set1_epi32(0x3F)),
                                      _mm_srli_epi32(_mm_and_si128(v[i], _mm_set1_epi32(0x3F00)), 2)),
                         _mm_srli_epi32(_mm_and_si128(v[i], _mm_set1_epi32(0x0F0000)), 4));
    __m128i lead = _mm_and_si128(_mm_cmpgt_epi32(v[i], _mm_set1_epi32(0xDFFFFF)),
                                 _mm_cmplt_epi32(v[i], _mm_set1_epi32(0xF00000)));
    __m128i surrogate = _mm_and_si128(_mm_cmpgt_epi32(cp[i], _mm_set1_epi32(0xD7FF)),
                                      _mm_cmplt_epi32(cp[i], _mm_set1_epi32(0xE000)));
    __m128i bad = _mm_or_si128(surrogate, _mm_cmplt_epi32(cp[i], _mm_set1_epi32(0x800)));
    ok = _mm_and_si128(ok, _mm_andnot_si128(bad, lead));
  }
  if (_mm_movemask_epi8(ok) != 0xFFFF) return false;
  _mm_storeu_si128(reinterpret_cast<__m128i*>(t), _mm_packus_epi32(cp[0], cp[1]));
  t += 8;
  return true;
}

// Bytes that are not continuation bytes (0x80..0xBF are -128..-65 as signed bytes) start a
// character, so the byte before each is the last of one.
VYK_SHUFFLE_TARGET inline std::uint32_t startMask(__m128i in) {
  return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpgt_epi8(in, _mm_set1_epi8(-65))));
}

VYK_SHUFFLE_TARGET inline void widen8(std::uint8_t const* s, std::uint16_t* t) {
  __m128i in = _mm_loadl_epi64(reinterpret_cast<__m128i const*>(s));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(t), _mm_unpacklo_epi8(in, _mm_setzero_si128()));
}

// Decodes while a whole window of 16 bytes and room for 16 units are left; stops on a fault.
// The masks of a 64-byte stretch are made at once, so that the step from one window to the next
// waits only on a shift and a table read.
VYK_SHUFFLE_TARGET UnicodeConverter::ErrorCode decodeBlocks(std::uint8_t const*& sRef,
                                                            std::uint8_t const* end, std::uint16_t*& tRef,
                                                            std::uint16_t const* tEnd) {
  std::uint8_t const* s = sRef;
  std::uint16_t* t = tRef;
  UnicodeConverter::ErrorCode code = UnicodeConverter::Ok;
  // A stretch: windows start at 0..48, read at most 64 bytes (a character through decodeOne at most
  // 52) and write no more units than they take bytes.
  while (end - s >= 64 && tEnd - t >= 64) {
    std::uint64_t high = 0;
    std::uint64_t starts = 0;
    for (int i = 0; i < 4; ++i) {
      __m128i in = _mm_loadu_si128(reinterpret_cast<__m128i const*>(s + 16 * i));
      high |= static_cast<std::uint64_t>(static_cast<std::uint32_t>(_mm_movemask_epi8(in))) << (16 * i);
      starts |= static_cast<std::uint64_t>(startMask(in)) << (16 * i);
    }
    if (high == 0) {  // 64 ASCII bytes
      for (int i = 0; i < 64; i += 8) widen8(s + i, t + i);
      s += 64;
      t += 64;
      continue;
    }
    std::size_t pos = 0;
    while (pos <= 48) {
      std::uint64_t h = high >> pos;
      if ((h & 0xFFFF) == 0) {  // 16 ASCII bytes
        widen8(s + pos, t);
        widen8(s + pos + 8, t + 8);
        pos += 16;
        t += 16;
        continue;
      }
      if ((h & 0xFF) == 0) {  // 8 ASCII bytes first
        widen8(s + pos, t);
        pos += 8;
        t += 8;
        continue;
      }
      if (pos <= 36 && ((starts >> pos) & 0x1FFFFFF) == 0x1249249 && decodeEightOfThree(s + pos, t)) {
        pos += 24;
        continue;
      }
      unsigned taken = decodeWindow(s + pos, static_cast<std::uint32_t>(starts >> (pos + 1)) & 0xFFF, t);
      if (taken != 0) {
        pos += taken;
        continue;
      }
      std::uint8_t const* at = s + pos;
      code = decodeOne<false>(at, end, t, tEnd);
      if (code != UnicodeConverter::Ok) {
        sRef = at;
        tRef = t;
        return code;
      }
      pos = static_cast<std::size_t>(at - s);
    }
    s += pos;
  }
  while (end - s >= 16 && tEnd - t >= 16) {
    __m128i in = _mm_loadu_si128(reinterpret_cast<__m128i const*>(s));
    if (_mm_movemask_epi8(in) == 0) {
      widen8(s, t);
      widen8(s + 8, t + 8);
      s += 16;
      t += 16;
      continue;
    }
    unsigned taken = decodeWindow(s, (startMask(in) >> 1) & 0xFFF, t);
    if (taken != 0) {
      s += taken;
      continue;
    }
    code = decodeOne<false>(s, end, t, tEnd);
    if (code != UnicodeConverter::Ok) break;
  }
  sRef = s;
  tRef = t;
  return code;
}

// Encodes while 8 units and room for 24 bytes are left; stops on a fault.
VYK_SHUFFLE_TARGET UnicodeConverter::ErrorCode encodeBlocks(std::uint16_t const*& sRef,
                                                            std::uint16_t const* end, std::uint8_t*& tRef,
                                                            std::uint8_t const* tEnd) {
  std::uint16_t const* s = sRef;
  std::uint8_t* t = tRef;
  UnicodeConverter::ErrorCode code = UnicodeConverter::Ok;
  __m128i const zero = _mm_setzero_si128();
  while (end - s >= 8 && tEnd - t >= 24) {
    __m128i v = _mm_loadu_si128(reinterpret_cast<__m128i const*>(s));
    if (_mm_testz_si128(v, _mm_set1_epi16(static_cast<short>(0xFF80)))) {  // 8 ASCII units
      if (end - s >= 16) {
        __m128i next = _mm_loadu_si128(reinterpret_cast<__m128i const*>(s + 8));
        if (_mm_testz_si128(next, _mm_set1_epi16(static_cast<short>(0xFF80)))) {  // 16
          _mm_storeu_si128(reinterpret_cast<__m128i*>(t), _mm_packus_epi16(v, next));
          s += 16;
          t += 16;
          continue;
        }
      }
      _mm_storel_epi64(reinterpret_cast<__m128i*>(t), _mm_packus_epi16(v, v));
      s += 8;
      t += 8;
      continue;
    }
    if (_mm_testz_si128(v, _mm_set1_epi16(static_cast<short>(0xF800)))) {  // all below U+0800
      __m128i ascii = _mm_cmpeq_epi16(_mm_and_si128(v, _mm_set1_epi16(static_cast<short>(0xFF80))), zero);
      std::uint32_t mask = static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_packs_epi16(ascii, zero)));
      // Lead 110xxxxx in the low byte, continuation 10xxxxxx in the high byte.
      __m128i lead = _mm_or_si128(_mm_srli_epi16(v, 6), _mm_set1_epi16(0xC0));
      __m128i trail =
          _mm_slli_epi16(_mm_or_si128(_mm_and_si128(v, _mm_set1_epi16(0x3F)), _mm_set1_epi16(0x80)), 8);
      __m128i lanes = _mm_blendv_epi8(_mm_or_si128(lead, trail), v, ascii);
      unsigned n = kEncode.twoLength[mask];
      _mm_storel_epi64(reinterpret_cast<__m128i*>(t),
                       _mm_shuffle_epi8(lanes, loadShuffle(kEncode.twoHead[mask])));
      _mm_storel_epi64(reinterpret_cast<__m128i*>(t + n - 8),
                       _mm_shuffle_epi8(lanes, loadShuffle(kEncode.twoTail[mask])));
      s += 8;
      t += n;
      continue;
    }
    __m128i surrogates = _mm_cmpeq_epi16(_mm_and_si128(v, _mm_set1_epi16(static_cast<short>(0xF800))),
                                         _mm_set1_epi16(static_cast<short>(0xD800)));
    if (_mm_movemask_epi8(surrogates) != 0) {  // pairs and faults go one character at a time
      code = encodeOne<false>(s, end, t, tEnd);
      if (code != UnicodeConverter::Ok) break;
      continue;
    }
    for (int half = 0; half < 2; ++half) {
      __m128i c = _mm_cvtepu16_epi32(half == 0 ? v : _mm_srli_si128(v, 8));
      __m128i one = _mm_cmplt_epi32(c, _mm_set1_epi32(0x80));
      __m128i three = _mm_cmpgt_epi32(c, _mm_set1_epi32(0x7FF));
      __m128i last = _mm_or_si128(_mm_and_si128(c, _mm_set1_epi32(0x3F)), _mm_set1_epi32(0x80));
      __m128i lead2 = _mm_or_si128(_mm_srli_epi32(c, 6), _mm_set1_epi32(0xC0));
      __m128i lead3 = _mm_or_si128(_mm_srli_epi32(c, 12), _mm_set1_epi32(0xE0));
      __m128i middle3 =
          _mm_or_si128(_mm_and_si128(_mm_srli_epi32(c, 6), _mm_set1_epi32(0x3F)), _mm_set1_epi32(0x80));
      __m128i two = _mm_or_si128(lead2, _mm_slli_epi32(last, 8));
      __m128i threeBytes =
          _mm_or_si128(_mm_or_si128(lead3, _mm_slli_epi32(middle3, 8)), _mm_slli_epi32(last, 16));
      __m128i lanes = _mm_blendv_epi8(_mm_blendv_epi8(two, threeBytes, three), c, one);
      std::uint32_t index = static_cast<std::uint32_t>(_mm_movemask_ps(_mm_castsi128_ps(one))) |
                            static_cast<std::uint32_t>(_mm_movemask_ps(_mm_castsi128_ps(three))) << 4;
      unsigned n = kEncode.threeLength[index];
      __m128i head = _mm_shuffle_epi8(lanes, loadShuffle(kEncode.threeHead[index]));
      __m128i tail = _mm_shuffle_epi8(lanes, loadShuffle(kEncode.threeTail[index]));
      if (n >= 8) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(t), head);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(t + n - 8), tail);
      } else {
        store32(t, head);
        store32(t + n - 4, tail);
      }
      t += n;
    }
    s += 8;
  }
  sRef = s;
  tRef = t;
  return code;
}

bool haveShuffles() {
  static bool const have = __builtin_cpu_supports("ssse3") && __builtin_cpu_supports("sse4.1");
  return have;
}
#endif

}  // namespace

void Utf8Converter::toUnicode(char const** source, char const* sourceEnd, unsigned short** target,
                              unsigned short const* targetEnd, ErrorCode& code) {
  std::uint8_t const* s = reinterpret_cast<std::uint8_t const*>(*source);
  std::uint8_t const* const end = reinterpret_cast<std::uint8_t const*>(sourceEnd);
  std::uint16_t* t = *target;
#if defined(VYK_UTF8_SHUFFLE)
  if (haveShuffles()) {
    code = decodeBlocks(s, end, t, targetEnd);
    if (code != Ok) {
      *source = reinterpret_cast<char const*>(s);
      *target = t;
      return;
    }
  }
#endif
  bool roomForAll = targetEnd - t >= end - s;
  code = roomForAll ? decode<false>(s, end, t, targetEnd) : decode<true>(s, end, t, targetEnd);
  *source = reinterpret_cast<char const*>(s);
  *target = t;
}

void Utf8Converter::fromUnicode(unsigned short const** source, unsigned short const* sourceEnd, char** target,
                                char const* targetEnd, ErrorCode& code) {
  std::uint16_t const* s = *source;
  std::uint8_t* t = reinterpret_cast<std::uint8_t*>(*target);
  std::uint8_t const* const tEnd = reinterpret_cast<std::uint8_t const*>(targetEnd);
#if defined(VYK_UTF8_SHUFFLE)
  if (haveShuffles()) {
    code = encodeBlocks(s, sourceEnd, t, tEnd);
    if (code != Ok) {
      *source = s;
      *target = reinterpret_cast<char*>(t);
      return;
    }
  }
#endif
  bool roomForAll = (tEnd - t) / 3 >= sourceEnd - s;
  code = roomForAll ? encode<false>(s, sourceEnd, t, tEnd) : encode<true>(s, sourceEnd, t, tEnd);
  *source = s;
  *target = reinterpret_cast<char*>(t);
}

}  // namespace vyk
