// The zero-valued None object.
#include "vyk/util/None.h"

namespace vyk {

static_assert(sizeof(NoneType) == 4, "None is a 32-bit zero");

NoneType const None = {0};

}  // namespace vyk
