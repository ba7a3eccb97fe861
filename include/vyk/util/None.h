// vyk::None: an exported object holding a 32-bit zero. Nothing in the library reads it.
#ifndef VYK_UTIL_NONE_H
#define VYK_UTIL_NONE_H

#include <cstdint>

#include "vyk/util/Export.h"

namespace vyk {

struct NoneType {
  std::int32_t value;
};

VYK_EXPORT extern NoneType const None;

}  // namespace vyk

#endif
