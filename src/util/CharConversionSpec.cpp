// Out-of-line members of the conversion description.
#include "vyk/util/CharConversionSpec.h"

namespace vyk {

CharConverterFactory::~CharConverterFactory() {}

}  // namespace vyk
