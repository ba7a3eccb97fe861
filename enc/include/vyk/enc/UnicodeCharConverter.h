// Byte-to-byte conversion through the main library's Unicode converters.
#ifndef VYK_ENC_UNICODECHARCONVERTER_H
#define VYK_ENC_UNICODECHARCONVERTER_H

#include "vyk/enc/CharEncoding.h"
#include "vyk/util/CharConverter.h"
#include "vyk/util/Export.h"
#include "vyk/util/UnicodeConverter.h"

namespace vyk {

// Converts bytes of one encoding into another through UTF-16: the source side's toUnicode, then
// the target side's fromUnicode, a block of units at a time. Stops in front of the first character
// that is malformed (Invalid), that the target cannot hold (Unmappable) or that does not fit
// (Overflow, nothing of it written). With atEnd false, a malformed sequence within the last few
// bytes may be a character cut by the end of the call: it is left unconsumed and the code is Ok.
// May serve several threads at once.
//
//   IntrusivePointer<UnicodeConverter> utf8 = UnicodeCharConverter::unicodeConverterFor(
//       CharEncoding::forName("UTF-8"));
class VYK_EXPORT UnicodeCharConverter : public CharConverter {
 public:
  using CharConverter::convert;

  // The main library's Unicode converter for an encoding, or null when it has none: UTF-8, UTF-16
  // in either byte order, and a single-byte encoding in which iconv reads every byte as one
  // character of the Basic Multilingual Plane (an SBCSUnicodeConverter over that table). The
  // converter reports malformed input and unmappable characters instead of replacing them.
  static IntrusivePointer<UnicodeConverter> unicodeConverterFor(CharEncoding const* encoding);

  UnicodeCharConverter(IntrusivePointer<UnicodeConverter> from, IntrusivePointer<UnicodeConverter> to,
                       int maxSourceBytesPerChar, int maxTargetBytesPerChar, ErrorHandler const* handler);

  void convert(char const** source, char const* sourceEnd, char** target, char const* targetEnd, bool atStart,
               bool atEnd, ErrorCode& code, bool reservedFlag) const override;
  unsigned long maxRequiredOutputBufferLength(unsigned long sourceLength) const override;
  int maxSourceBytesPerChar() const override { return maxSourceBytesPerChar_; }
  int maxTargetBytesPerChar() const override { return maxTargetBytesPerChar_; }

 private:
  // Where the source stands after the characters that make its first units code units.
  char const* sourceAfterUnits(char const* start, char const* sourceEnd, long units) const;

  IntrusivePointer<UnicodeConverter> from_;
  IntrusivePointer<UnicodeConverter> to_;
  int maxSourceBytesPerChar_;
  int maxTargetBytesPerChar_;
};

}  // namespace vyk

#endif
