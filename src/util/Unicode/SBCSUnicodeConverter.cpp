// Single-byte encodings from a caller's table of 256 code units, with a lazily built reverse map.
#include <cstring>
#include <new>

#include "vyk/util/UnicodeConverter.h"

namespace vyk {

namespace {
constexpr unsigned long kReverseMapSize = 65536;
}

SBCSUnicodeConverter::SBCSUnicodeConverter(Trantab const& table) : fromUnicode_(nullptr) {
  for (int i = 0; i < 256; ++i)
    table_[i] = static_cast<unsigned short>((table.bytes[i] << 8) | table.bytes[256 + i]);
}

SBCSUnicodeConverter::SBCSUnicodeConverter(unsigned short const* table) : fromUnicode_(nullptr) {
  std::memcpy(table_, table, sizeof table_);
}

SBCSUnicodeConverter::~SBCSUnicodeConverter() {
  delete[] fromUnicode_.load();
}

void SBCSUnicodeConverter::populateFromUnicode() {
  reverseMap();
}

unsigned char const* SBCSUnicodeConverter::reverseMap() {
  unsigned char* map = fromUnicode_.load(std::memory_order_acquire);
  if (map != nullptr) return map;
  unsigned char* built = new unsigned char[kReverseMapSize]();
  built[table_[0]] = 0;
  for (int i = 1; i < 256; ++i) built[table_[i]] = static_cast<unsigned char>(i);  // the higher byte wins
  // Two threads may build at once: the first to publish wins and the other discards its copy.
  if (fromUnicode_.compare_exchange_strong(map, built, std::memory_order_acq_rel,
                                           std::memory_order_acquire)) {
    return built;
  }
  delete[] built;
  return map;
}

void SBCSUnicodeConverter::fromUnicode(unsigned short const** source, unsigned short const* sourceEnd,
                                       char** target, char const* targetEnd, ErrorCode& code) {
  unsigned char const* map = reverseMap();
  unsigned short const* s = *source;
  char* t = *target;
  code = Ok;
  while (s != sourceEnd) {
    if (t == targetEnd) {
      code = Overflow;
      break;
    }
    unsigned char r = map[*s];
    if (r != 0 || *s == 0) {
      *t++ = static_cast<char>(r);
      ++s;
      continue;
    }
    code = handleUnmappable(*s, &t, targetEnd);
    if (code != Ok) break;
    ++s;
  }
  *source = s;
  *target = t;
}

void SBCSUnicodeConverter::toUnicode(char const** source, char const* sourceEnd, unsigned short** target,
                                     unsigned short const* targetEnd, ErrorCode& code) {
  unsigned long sourceLeft = static_cast<unsigned long>(sourceEnd - *source);
  unsigned long room = static_cast<unsigned long>(targetEnd - *target);
  unsigned long n = sourceLeft < room ? sourceLeft : room;
  char const* s = *source;
  unsigned short* t = *target;
  for (unsigned long i = 0; i < n; ++i) t[i] = table_[static_cast<unsigned char>(s[i])];
  *source += n;
  *target += n;
  code = n < sourceLeft ? Overflow : Ok;
}

}  // namespace vyk
