// The description of a conversion between two encodings: two opaque encodings and a factory.
#ifndef VYK_UTIL_CHARCONVERSIONSPEC_H
#define VYK_UTIL_CHARCONVERSIONSPEC_H

#include "vyk/util/Export.h"
#include "vyk/util/RefCounted.h"

namespace vyk {

// An encoding, defined outside this library. The library reads only its flag word.
class CharEncoding;
class CharConverter;

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

  CharEncoding const* first;
  CharEncoding const* second;
  CharConverterFactory const* factory;
};

}  // namespace vyk

#endif
