// UTF-8 to and from UTF-16: ASCII runs a block at a time, every other character on its own.
#include <cstdint>
#include <cstring>

#include "vyk/util/UnicodeConverter.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#define VYK_UTF8_SSE2 1
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

// Decodes UTF-8 from s into t until the source ends, the target is full or a fault. Every byte gives
// at most one unit, so with kCheckRoom false (the caller saw room for a unit per source byte) the
// room tests drop out of the loop.
template <bool kCheckRoom>
UnicodeConverter::ErrorCode decode(std::uint8_t const*& sRef, std::uint8_t const* end, std::uint16_t*& tRef,
                                   std::uint16_t const* tEnd) {
  std::uint8_t const* s = sRef;
  std::uint16_t* t = tRef;
  UnicodeConverter::ErrorCode code = UnicodeConverter::Ok;
  while (s < end) {
    std::uint32_t b0 = *s;
    if (b0 < 0x80) {
      if (kCheckRoom && t == tEnd) {
        code = UnicodeConverter::Overflow;
        break;
      }
      *t++ = static_cast<std::uint16_t>(b0);
      ++s;
      if (s < end && *s < 0x80) {  // a run of ASCII: a block at a time
        std::size_t n = widenAscii(s, end, t, tEnd);
        s += n;
        t += n;
      }
      continue;
    }
    // A multi-byte character: decode and validate it whole before looking at the room for it.
    std::size_t avail = static_cast<std::size_t>(end - s);
    if (b0 < 0xE0) {
      // C0 and C1 only start overlong forms; 80 to BF are stray continuation bytes.
      if (b0 < 0xC2 || avail < 2 || !isTrail(s[1])) {
        code = UnicodeConverter::Invalid;
        break;
      }
      if (kCheckRoom && t == tEnd) {
        code = UnicodeConverter::Overflow;
        break;
      }
      *t++ = static_cast<std::uint16_t>(((b0 & 0x1F) << 6) | (s[1] & 0x3Fu));
      s += 2;
    } else if (b0 < 0xF0) {
      if (avail < 3 || !isTrail(s[1]) || !isTrail(s[2])) {
        code = UnicodeConverter::Invalid;
        break;
      }
      std::uint32_t cp = ((b0 & 0x0F) << 12) | ((s[1] & 0x3Fu) << 6) | (s[2] & 0x3Fu);
      if (cp < 0x800 || (cp >= 0xD800 && cp <= 0xDFFF)) {
        code = UnicodeConverter::Invalid;
        break;
      }
      if (kCheckRoom && t == tEnd) {
        code = UnicodeConverter::Overflow;
        break;
      }
      *t++ = static_cast<std::uint16_t>(cp);
      s += 3;
    } else {
      if (b0 >= 0xF8 || avail < 4 || !isTrail(s[1]) || !isTrail(s[2]) || !isTrail(s[3])) {
        code = UnicodeConverter::Invalid;
        break;
      }
      std::uint32_t cp =
          ((b0 & 0x07) << 18) | ((s[1] & 0x3Fu) << 12) | ((s[2] & 0x3Fu) << 6) | (s[3] & 0x3Fu);
      if (cp < 0x10000 || cp > 0x10FFFF) {
        code = UnicodeConverter::Invalid;
        break;
      }
      if (kCheckRoom && tEnd - t < 2) {
        code = UnicodeConverter::Overflow;
        break;
      }
      unsigned int pair = utf8::make_surrogate_pair(cp);
      t[0] = static_cast<std::uint16_t>(pair & 0xFFFF);
      t[1] = static_cast<std::uint16_t>(pair >> 16);
      t += 2;
      s += 4;
    }
  }
  sRef = s;
  tRef = t;
  return code;
}

// Encodes UTF-16 from s into t, with the same rules; every unit gives at most 3 bytes, so with
// kCheckRoom false (room for 3 bytes per source unit) the room tests drop out.
template <bool kCheckRoom>
UnicodeConverter::ErrorCode encode(std::uint16_t const*& sRef, std::uint16_t const* end, std::uint8_t*& tRef,
                                   std::uint8_t const* tEnd) {
  std::uint16_t const* s = sRef;
  std::uint8_t* t = tRef;
  UnicodeConverter::ErrorCode code = UnicodeConverter::Ok;
  while (s < end) {
    std::uint32_t c = *s;
    if (c < 0x80) {
      if (kCheckRoom && t == tEnd) {
        code = UnicodeConverter::Overflow;
        break;
      }
      *t++ = static_cast<std::uint8_t>(c);
      ++s;
      if (s < end && *s < 0x80) {
        std::size_t n = narrowAscii(s, end, t, tEnd);
        s += n;
        t += n;
      }
      continue;
    }
    if (c < 0x800) {
      if (kCheckRoom && tEnd - t < 2) {
        code = UnicodeConverter::Overflow;
        break;
      }
      t[0] = static_cast<std::uint8_t>(0xC0 | (c >> 6));
      t[1] = static_cast<std::uint8_t>(0x80 | (c & 0x3F));
      t += 2;
      s += 1;
    } else if (c < 0xD800 || c > 0xDBFF) {  // the rest of the basic plane, a lone low surrogate included
      if (kCheckRoom && tEnd - t < 3) {
        code = UnicodeConverter::Overflow;
        break;
      }
      t[0] = static_cast<std::uint8_t>(0xE0 | (c >> 12));
      t[1] = static_cast<std::uint8_t>(0x80 | ((c >> 6) & 0x3F));
      t[2] = static_cast<std::uint8_t>(0x80 | (c & 0x3F));
      t += 3;
      s += 1;
    } else {
      // A high surrogate takes its low surrogate along, or is malformed; the pair is never split.
      if (end - s < 2 || s[1] < 0xDC00 || s[1] > 0xDFFF) {
        code = UnicodeConverter::Invalid;
        break;
      }
      if (kCheckRoom && tEnd - t < 4) {
        code = UnicodeConverter::Overflow;
        break;
      }
      std::uint32_t cp = 0x10000 + ((c - 0xD800) << 10) + (s[1] - 0xDC00u);
      t[0] = static_cast<std::uint8_t>(0xF0 | (cp >> 18));
      t[1] = static_cast<std::uint8_t>(0x80 | ((cp >> 12) & 0x3F));
      t[2] = static_cast<std::uint8_t>(0x80 | ((cp >> 6) & 0x3F));
      t[3] = static_cast<std::uint8_t>(0x80 | (cp & 0x3F));
      t += 4;
      s += 2;
    }
  }
  sRef = s;
  tRef = t;
  return code;
}

}  // namespace

void Utf8Converter::toUnicode(char const** source, char const* sourceEnd, unsigned short** target,
                              unsigned short const* targetEnd, ErrorCode& code) {
  std::uint8_t const* s = reinterpret_cast<std::uint8_t const*>(*source);
  std::uint8_t const* const end = reinterpret_cast<std::uint8_t const*>(sourceEnd);
  std::uint16_t* t = *target;
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
  bool roomForAll = (tEnd - t) / 3 >= sourceEnd - s;
  code = roomForAll ? encode<false>(s, sourceEnd, t, tEnd) : encode<true>(s, sourceEnd, t, tEnd);
  *source = s;
  *target = reinterpret_cast<char*>(t);
}

}  // namespace vyk
