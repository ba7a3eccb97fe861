// The zero-valued None object.
#include "vyk/util/None.h"

namespace vyk {

NoneType const None = {nullptr};

}  // namespace vyk
