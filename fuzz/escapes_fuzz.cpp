// The UESC, UNCR and UPAREN parsers on arbitrary text with small targets, and parse(generate(x)).
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "vyk/util/UnicodeEscapes.h"

namespace {

using vyk::UnicodeConverter;
typedef std::basic_string<unsigned short> U16;
typedef int (*Whole)(U16 const&, vyk::IntrusivePointer<UnicodeConverter>, char*, int);

void check(bool condition) {
  if (!condition) std::abort();
}

// Runs f into a heap buffer of exactly targetLen bytes, so that a write past it is caught.
std::string run(Whole f, U16 const& text, vyk::IntrusivePointer<UnicodeConverter> const& converter,
                int targetLen) {
  std::unique_ptr<char[]> target(new char[static_cast<size_t>(targetLen) + (targetLen == 0 ? 1 : 0)]);
  int n = f(text, converter, target.get(), targetLen);
  check(n >= 0 && n <= targetLen);
  return std::string(target.get(), static_cast<size_t>(n));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  if (size < 2) return 0;
  int targetLen = data[0] % 64;
  bool wide = (data[1] & 1) != 0;
  // The text, as bytes widened to units or as pairs of bytes, in a buffer of exactly its size.
  U16 text;
  if (wide) {
    for (size_t i = 2; i + 1 < size; i += 2)
      text += static_cast<unsigned short>(data[i] | (data[i + 1] << 8));
  } else {
    for (size_t i = 2; i < size; ++i) text += data[i];
  }
  vyk::IntrusivePointer<UnicodeConverter> converters[] = {UnicodeConverter::iso88591ToUnicode(),
                                                          UnicodeConverter::utf8ToUnicode(),
                                                          UnicodeConverter::openEdition1047ToUnicode()};
  vyk::IntrusivePointer<UnicodeConverter> const& converter = converters[(data[1] >> 1) % 3];
  for (Whole parse : {vyk::parseUESC, vyk::parseUNCR, vyk::parseUPAREN}) {
    try {
      run(parse, text, converter, targetLen);
    } catch (UnicodeConverter::Exception const&) {
      // A lone surrogate or a character that does not fit in UTF-8: the converter's answer.
    }
  }
  // The one-character steps on a source that ends exactly where the text ends.
  std::unique_ptr<unsigned short[]> exact(new unsigned short[text.size() + 1]);
  std::copy(text.begin(), text.end(), exact.get());
  for (auto step : {vyk::parseUESCencoding, vyk::parseUNCRencoding}) {
    for (size_t at = 0; at < text.size(); ++at) {
      unsigned short const* s = exact.get() + at;
      char buffer[8];
      char* t = buffer;
      try {
        int n = step(s, exact.get() + text.size(), converter, t, buffer + sizeof buffer);
        check(n >= -1 && n <= 8);
        check(s >= exact.get() + at && s <= exact.get() + text.size());
        check(n == -1 ? t == buffer && s == exact.get() + at : t == buffer + n);
      } catch (UnicodeConverter::Exception const&) {
      }
    }
  }
  // Round trips through the generated forms, with room for every form.
  bool surrogates = false;
  for (unsigned short u : text) surrogates = surrogates || (u >= 0xD800 && u <= 0xDFFF);
  int room = static_cast<int>(8 * text.size() + 8);
  vyk::IntrusivePointer<UnicodeConverter> utf8 = UnicodeConverter::utf8ToUnicode();
  if (!surrogates) {
    std::string uesc = run(vyk::generateUESC, text, utf8, room);
    check(run(vyk::parseUESC, utf8->toUnicode(uesc), utf8, room) == utf8->fromUnicode(text));
  }
  bool latin1 = true;
  for (unsigned short u : text) latin1 = latin1 && u <= 0xFF;
  if (latin1) {
    vyk::IntrusivePointer<UnicodeConverter> iso = UnicodeConverter::iso88591ToUnicode();
    std::string expected = iso->fromUnicode(text);
    check(run(vyk::parseUNCR, iso->toUnicode(run(vyk::generateUNCR, text, iso, room)), iso, room) ==
          expected);
    check(run(vyk::parseUPAREN, iso->toUnicode(run(vyk::generateUPAREN, text, iso, room)), iso, room) ==
          expected);
  }
  return 0;
}
