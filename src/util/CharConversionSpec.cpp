// Out-of-line members of the conversion description.
#include "vyk/util/CharConversionSpec.h"

#include <cstring>

namespace vyk {

CharConverterFactory::~CharConverterFactory() {}

std::uint32_t encodingFlags(CharEncoding const* encoding) {
  if (encoding == nullptr) return 0;
  std::uint32_t flags;
  std::memcpy(&flags, encoding, sizeof flags);
  return flags;
}

IntrusivePointer<CharConverter> CharConversionSpec::create1to2() const {
  if (!isComplete()) return IntrusivePointer<CharConverter>();
  return factory->create(first, second);
}

IntrusivePointer<CharConverter> CharConversionSpec::create2to1() const {
  if (!isComplete()) return IntrusivePointer<CharConverter>();
  return factory->create(second, first);
}

}  // namespace vyk
