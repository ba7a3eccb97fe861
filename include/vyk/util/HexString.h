// Reading text of hexadecimal digit pairs into raw bytes.
#ifndef VYK_UTIL_HEXSTRING_H
#define VYK_UTIL_HEXSTRING_H

#include <string>

#include "vyk/util/Export.h"
#include "vyk/util/StringView.h"

namespace vyk {

// Thrown by parseHexString for any malformed text. It carries nothing, not even a position, and
// stands outside the Exception tree.
class VYK_EXPORT BadHexStringException {};

// The bytes of text read as pairs of hexadecimal digits, first digit high, either case. Commas
// may stand between pairs, any number of them, but not inside a pair: "0a,,FF" gives 0x0A 0xFF,
// "0,a" throws. Any other byte, or a last pair with one digit, throws BadHexStringException. An
// empty text gives an empty result.
VYK_EXPORT std::string parseHexString(StringView const& text);

}  // namespace vyk

#endif
