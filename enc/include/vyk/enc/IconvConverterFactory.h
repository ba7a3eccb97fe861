// The converter factory for encodings of CharEncoding, computed and run through iconv.
#ifndef VYK_ENC_ICONVCONVERTERFACTORY_H
#define VYK_ENC_ICONVCONVERTERFACTORY_H

#include "vyk/enc/CharEncoding.h"
#include "vyk/util/CharConversionSpec.h"
#include "vyk/util/CharConverter.h"
#include "vyk/util/Export.h"

namespace vyk {

// Makes converters between two CharEncoding objects:
//   - the same encoding on both sides, or two single-byte encodings whose table is the identity: an
//     IdentityConverter;
//   - two single-byte encodings: a TrantabCharConverter over a 256-byte table computed once through
//     iconv. When some source bytes have no counterpart (Unmappable) or are undefined in the source
//     (Invalid), the converter stops in front of the first such byte with that code;
//   - UTF-8 or UTF-16 (either byte order) on one side, and on the other UTF-8, UTF-16 or a
//     single-byte encoding whose every byte iconv reads as one character of the Basic Multilingual
//     Plane: a converter through the main library's UnicodeConverter (the single-byte side an
//     SBCSUnicodeConverter over a table computed through iconv). It stops in front of a malformed
//     source character (Invalid) or one the target cannot hold (Unmappable). Unlike iconv it passes
//     a lone low surrogate from UTF-16 into UTF-8 as three bytes, as the library's UTF-8 converter
//     does; with atEnd false a malformed sequence within the last bytes waits for the next call;
//   - otherwise a converter that calls iconv, with a fresh conversion state at every call. It
//     reports Invalid for a malformed source sequence, also for an incomplete one when atEnd is true;
//     with atEnd false an incomplete character at the end is left unconsumed for the next call, and
//     the code is Ok. Its shift state ends with each call.
// Every converter may serve several threads at once, as may the factory.
//
//   CharConversionSpec spec(CharEncoding::forName("ISO-8859-1"), CharEncoding::forName("IBM-1047"),
//                           IconvConverterFactory::instance());
//   IntrusivePointer<CharConverter> toFile = spec.create1to2();
class VYK_EXPORT IconvConverterFactory : public CharConverterFactory {
 public:
  // The converters made get handler (not owned; null for the default handler).
  explicit IconvConverterFactory(CharConverter::ErrorHandler const* handler = nullptr);
  ~IconvConverterFactory() override;

  // from and to must be objects of CharEncoding; a null one throws InvalidArgumentException.
  IntrusivePointer<CharConverter> create(CharEncoding const* from, CharEncoding const* to) const override;

  // A process-wide factory with the default handler.
  static IconvConverterFactory const* instance();

 private:
  CharConverter::ErrorHandler const* handler_;
};

}  // namespace vyk

#endif
