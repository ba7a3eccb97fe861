// Byte-to-byte conversion through the main library's Unicode converters.
#include "vyk/enc/UnicodeCharConverter.h"

#include <string>

#include "IconvSupport.h"

namespace vyk {
namespace {

using enc_detail::convertWhole;
using enc_detail::IconvHandle;
using enc_detail::PROBE_FORM;
using enc_detail::WholeResult;

enum { UNIT_BLOCK = 256 };

bool isHighSurrogate(unsigned short unit) {
  return unit >= 0xD800 && unit < 0xDC00;
}
bool isLowSurrogate(unsigned short unit) {
  return unit >= 0xDC00 && unit < 0xE000;
}

CharConverter::ErrorCode toCharCode(UnicodeConverter::ErrorCode code) {
  switch (code) {
    case UnicodeConverter::Ok:
      return CharConverter::Ok;
    case UnicodeConverter::Invalid:
      return CharConverter::Invalid;
    case UnicodeConverter::Unmappable:
      return CharConverter::Unmappable;
    case UnicodeConverter::Overflow:
      return CharConverter::Overflow;
  }
  return CharConverter::Invalid;
}

// The single-byte table through iconv; false when some byte is not one character of the BMP.
bool singleByteTable(CharEncoding const* encoding, unsigned short (&table)[256]) {
  IconvHandle const decoder(PROBE_FORM, encoding->getIconvName());
  if (!decoder.isOpen()) return false;
  for (int b = 0; b < 256; ++b) {
    std::string out;
    if (convertWhole(decoder, std::string(1, static_cast<char>(b)), out) != WholeResult::Ok ||
        out.size() != 4) {
      return false;
    }
    unsigned long const cp = static_cast<unsigned char>(out[0]) | static_cast<unsigned char>(out[1]) << 8 |
                             static_cast<unsigned long>(static_cast<unsigned char>(out[2])) << 16 |
                             static_cast<unsigned long>(static_cast<unsigned char>(out[3])) << 24;
    if (cp > 0xFFFF || (cp >= 0xD800 && cp < 0xE000)) return false;
    table[b] = static_cast<unsigned short>(cp);
  }
  return true;
}

}  // namespace

IntrusivePointer<UnicodeConverter> UnicodeCharConverter::unicodeConverterFor(CharEncoding const* encoding) {
  IntrusivePointer<UnicodeConverter> converter;
  std::uint32_t const wide = ENC_UTF32LE | ENC_UTF32BE;
  if (encoding->hasFlag(ENC_UTF8) && !encoding->isSingleByte()) {
    converter = UnicodeConverter::utf8ToUnicode();
  } else if (encoding->hasFlag(ENC_UTF16LE) && !encoding->hasFlag(wide)) {
    converter = UnicodeConverter::utf16LEToUnicode();
  } else if (encoding->hasFlag(ENC_UTF16BE) && !encoding->hasFlag(wide)) {
    converter = UnicodeConverter::utf16BEToUnicode();
  } else if (encoding->isSingleByte()) {
    unsigned short table[256];
    if (!singleByteTable(encoding, table)) return converter;
    SBCSUnicodeConverter* sbcs = new SBCSUnicodeConverter(table);
    converter = sbcs;
    sbcs->populateFromUnicode();  // built now, not by the first of several threads
  } else {
    return converter;
  }
  converter->setInvalidStrategy(UnicodeConverter::INVALID_FAIL);
  converter->setUnmappableStrategy(UnicodeConverter::UNMAPPABLE_FAIL);
  return converter;
}

UnicodeCharConverter::UnicodeCharConverter(IntrusivePointer<UnicodeConverter> from,
                                           IntrusivePointer<UnicodeConverter> to, int maxSourceBytesPerChar,
                                           int maxTargetBytesPerChar, ErrorHandler const* handler)
    : CharConverter(handler),
      from_(from),
      to_(to),
      maxSourceBytesPerChar_(maxSourceBytesPerChar),
      maxTargetBytesPerChar_(maxTargetBytesPerChar) {}

char const* UnicodeCharConverter::sourceAfterUnits(char const* start, char const* sourceEnd,
                                                   long units) const {
  unsigned short scratch[UNIT_BLOCK] = {};  // only written; zeroed to keep the compiler sure of it
  unsigned short* unitEnd = scratch;
  char const* s = start;
  UnicodeConverter::ErrorCode code;
  from_->toUnicode(&s, sourceEnd, &unitEnd, scratch + units, code);
  return s;
}

void UnicodeCharConverter::convert(char const** source, char const* sourceEnd, char** target,
                                   char const* targetEnd, bool, bool atEnd, ErrorCode& code, bool) const {
  unsigned short units[UNIT_BLOCK];
  code = Ok;
  while (*source != sourceEnd) {
    char const* const blockStart = *source;
    char const* s = blockStart;
    unsigned short* unitEnd = units;
    UnicodeConverter::ErrorCode in;
    from_->toUnicode(&s, sourceEnd, &unitEnd, units + UNIT_BLOCK, in);
    long produced = unitEnd - units;
    // A high surrogate that ends a full block waits for its partner in the next block.
    if (in == UnicodeConverter::Overflow && produced > 1 && isHighSurrogate(units[produced - 1])) {
      --produced;
      s = sourceAfterUnits(blockStart, sourceEnd, produced);
    }

    unsigned short const* written = units;
    char* t = *target;
    UnicodeConverter::ErrorCode out;
    to_->fromUnicode(&written, units + produced, &t, targetEnd, out);
    long done = written - units;
    if (done > 0 && done < produced && isHighSurrogate(units[done - 1]) && isLowSurrogate(units[done])) {
      // The target (UTF-16 passes surrogates singly) took half a pair: write again without it, so
      // that the pair goes whole or not at all.
      --done;
      written = units;
      t = *target;
      UnicodeConverter::ErrorCode again;
      to_->fromUnicode(&written, units + done, &t, targetEnd, again);
    }
    *target = t;
    if (done != produced) {
      // The target stopped in front of a unit: the source goes back to that character.
      *source = sourceAfterUnits(blockStart, sourceEnd, done);
      code = out == UnicodeConverter::Ok ? Overflow : toCharCode(out);
      return;
    }
    *source = s;
    if (in == UnicodeConverter::Invalid) {
      // Without the end of the source in view, a few bytes may be a character cut in two.
      code = !atEnd && sourceEnd - s < maxSourceBytesPerChar_ ? Ok : Invalid;
      return;
    }
    if (s == blockStart) {  // no progress without a fault: never loop
      code = Invalid;
      return;
    }
  }
}

unsigned long UnicodeCharConverter::maxRequiredOutputBufferLength(unsigned long sourceLength) const {
  // Every source byte yields at most one code unit. A single-byte target takes a byte per unit;
  // UTF-16 two, UTF-8 three (a surrogate pair, from at least two source bytes, four).
  return maxTargetBytesPerChar_ == 1 ? sourceLength : 3 * sourceLength;
}

}  // namespace vyk
