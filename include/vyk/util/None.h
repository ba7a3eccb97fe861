// vyk::None: an exported object whose bytes are zero. Nothing in the library reads it.
#ifndef VYK_UTIL_NONE_H
#define VYK_UTIL_NONE_H

#include "vyk/util/Export.h"

namespace vyk {

struct NoneType {
  void* value;
};

VYK_EXPORT extern NoneType const None;

}  // namespace vyk

#endif
