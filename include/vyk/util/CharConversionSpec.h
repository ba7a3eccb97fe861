// The description of a conversion between two encodings: two opaque encodings and a factory.
#ifndef VYK_UTIL_CHARCONVERSIONSPEC_H
#define VYK_UTIL_CHARCONVERSIONSPEC_H

#include <cstdint>

#include "vyk/util/CharConverter.h"
#include "vyk/util/Export.h"
#include "vyk/util/RefCounted.h"

namespace vyk {

// An encoding, defined outside this library. The library reads only its flag word: an encoding
// object starts with it, a 32-bit unsigned integer in the byte order of the machine.
class CharEncoding;

// Bits of an encoding's flag word.
enum CharEncodingFlag : std::uint32_t {
  ENC_ASCII_LINE_ENDS = 0x001,  // line feed is 0x0A
  ENC_EBCDIC = 0x002,           // line feed is 0x25, and the padding blank is 0x40
  ENC_EBCDIC_NL = 0x010,        // line feed is 0x15
  ENC_UTF8 = 0x020,             // the UTF-8 byte-order mark applies
  ENC_UTF16LE = 0x080,          // UTF-16 in low-byte-first order
  ENC_UTF16BE = 0x100,          // UTF-16 in high-byte-first order
  ENC_UTF32LE = 0x400,          // UTF-32 in low-byte-first order
  ENC_UTF32BE = 0x800           // UTF-32 in high-byte-first order
};

// The flag word at the start of encoding; 0 for null.
VYK_EXPORT std::uint32_t encodingFlags(CharEncoding const* encoding);

// Makes converters between two encodings; supplied by the caller, from outside the library.
class VYK_EXPORT CharConverterFactory {
 public:
  virtual ~CharConverterFactory();
  virtual IntrusivePointer<CharConverter> create(CharEncoding const* from, CharEncoding const* to) const = 0;
};

// A plain record of three pointers, none owned. In record files the first encoding is the client's
// and the second the file's. A conversion applies only when all three are set.
struct VYK_EXPORT CharConversionSpec {
  CharConversionSpec() : first(nullptr), second(nullptr), factory(nullptr) {}
  CharConversionSpec(CharEncoding const* firstEncoding, CharEncoding const* secondEncoding,
                     CharConverterFactory const* converterFactory)
      : first(firstEncoding), second(secondEncoding), factory(converterFactory) {}

  bool isComplete() const { return first != nullptr && second != nullptr && factory != nullptr; }

  // The factory's converter from first to second, and from second to first. A description with any
  // member null converts nothing: both then return a null pointer without calling the factory.
  IntrusivePointer<CharConverter> create1to2() const;
  IntrusivePointer<CharConverter> create2to1() const;

  CharEncoding const* first;
  CharEncoding const* second;
  CharConverterFactory const* factory;
};

}  // namespace vyk

#endif
