// UTF-8 to UTF-16 and back through the converters, in small target pieces, checked against ICU when
// it is there.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "vyk/util/UnicodeConverter.h"

#if defined(VYK_FUZZ_WITH_ICU)
#include <unicode/ucnv.h>
#endif

namespace {

using vyk::UnicodeConverter;
typedef std::basic_string<unsigned short> U16;

void check(bool condition) {
  if (!condition) std::abort();
}

// Converts in pieces of at most `room` units, resuming after each Overflow. Returns the final code
// and leaves the bytes consumed in `consumed`.
UnicodeConverter::ErrorCode decodeInPieces(UnicodeConverter& c, std::string const& bytes, size_t room,
                                           U16& out, size_t& consumed) {
  char const* s = bytes.data();
  char const* end = s + bytes.size();
  UnicodeConverter::ErrorCode code = UnicodeConverter::Ok;
  std::vector<unsigned short> piece(room);
  for (int calls = 0; calls < 100000; ++calls) {
    unsigned short* t = piece.data();
    char const* before = s;
    c.toUnicode(&s, end, &t, piece.data() + room, code);
    check(s >= before && s <= end);
    check(t >= piece.data() && t <= piece.data() + room);
    out.append(piece.data(), t);
    if (code != UnicodeConverter::Overflow) break;
    if (s == before && t == piece.data()) break;  // the next character needs more room than a piece
  }
  consumed = static_cast<size_t>(s - bytes.data());
  return code;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  if (size == 0) return 0;
  size_t room = 2 + data[0] % 9;
  std::string bytes(reinterpret_cast<char const*>(data) + 1, size - 1);

  vyk::Utf8Converter strict;
  U16 whole, pieces;
  size_t wholeConsumed = 0, piecesConsumed = 0;
  UnicodeConverter::ErrorCode wholeCode =
      decodeInPieces(strict, bytes, bytes.size() + 1, whole, wholeConsumed);
  UnicodeConverter::ErrorCode piecesCode = decodeInPieces(strict, bytes, room, pieces, piecesConsumed);
  // Stopping on a full target and resuming changes nothing.
  check(wholeCode == piecesCode);
  check(whole == pieces && wholeConsumed == piecesConsumed);
  check(wholeCode == UnicodeConverter::Ok || wholeCode == UnicodeConverter::Invalid);
  // What was decoded encodes back to exactly the bytes consumed.
  check(strict.fromUnicode(whole) == bytes.substr(0, wholeConsumed));

  // The strategies: skip gives the valid text, substitute adds one U+FFFD for each byte passed over.
  vyk::IntrusivePointer<UnicodeConverter> skipping = UnicodeConverter::utf8ToUnicode();
  skipping->setInvalidStrategy(UnicodeConverter::INVALID_SKIP);
  vyk::IntrusivePointer<UnicodeConverter> substituting = UnicodeConverter::utf8ToUnicode();
  substituting->setInvalidStrategy(UnicodeConverter::INVALID_SUBSTITUTE);
  U16 skipped = skipping->toUnicode(bytes);
  U16 substituted = substituting->toUnicode(bytes);
  size_t replacements = 0;
  for (unsigned short unit : substituted) replacements += unit == 0xFFFD ? 1 : 0;
  std::string valid = strict.fromUnicode(skipped);
  check(valid.size() <= bytes.size());
  check(substituted.size() == skipped.size() + (bytes.size() - valid.size()));
  check(replacements >= bytes.size() - valid.size());

  // The same bytes read as UTF-16 units: encode with substitution, and a text without lone
  // surrogates comes back whole.
  U16 units;
  for (size_t i = 0; i + 1 < bytes.size(); i += 2)
    units += static_cast<unsigned short>(static_cast<unsigned char>(bytes[i]) |
                                         (static_cast<unsigned char>(bytes[i + 1]) << 8));
  std::string encoded = substituting->fromUnicode(units);
  U16 decoded = substituting->toUnicode(encoded);
  bool lone = false;
  for (size_t i = 0; i < units.size(); ++i) {
    if (units[i] >= 0xD800 && units[i] <= 0xDBFF && i + 1 < units.size() && units[i + 1] >= 0xDC00 &&
        units[i + 1] <= 0xDFFF) {
      ++i;
    } else if (units[i] >= 0xD800 && units[i] <= 0xDFFF) {
      lone = true;
    }
  }
  if (!lone) check(decoded == units);

#if defined(VYK_FUZZ_WITH_ICU)
  // ICU stops at the same first fault with the same text before it, and skips to the same text.
  static UConverter* icu = [] {
    UErrorCode error = U_ZERO_ERROR;
    return ucnv_open("UTF-8", &error);
  }();
  for (bool skip : {false, true}) {
    ucnv_reset(icu);
    UErrorCode error = U_ZERO_ERROR;
    ucnv_setToUCallBack(icu, skip ? UCNV_TO_U_CALLBACK_SKIP : UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr,
                        nullptr, &error);
    std::vector<UChar> out(bytes.size() + 4);
    UChar* t = out.data();
    char const* s = bytes.data();
    ucnv_toUnicode(icu, &t, out.data() + out.size(), &s, bytes.data() + bytes.size(), nullptr, true, &error);
    U16 icuUnits(out.data(), t);
    if (skip) {
      check(icuUnits == skipped);
    } else {
      check(U_SUCCESS(error) == (wholeCode == UnicodeConverter::Ok));
      check(icuUnits == whole);
    }
  }
#endif
  return 0;
}
