// A weighted, asymmetric spelling distance between a query and a keyword.
#ifndef VYK_UTIL_SPELLINGDISTANCE_H
#define VYK_UTIL_SPELLINGDISTANCE_H

#include <string>

#include "vyk/util/Export.h"

namespace vyk {

// The cost of turning keyword into query, per byte of keyword, rounded down; exact bytes, no case
// folding. An error at the start costs more than one later, a doubled letter or two swapped
// letters less than other errors. 0 only for equal texts (and for an empty keyword); a real
// difference gives at least 1. Examples: ("abc", "abd") 33, ("abc", "acb") 16, ("", "abc") 133.
// Time grows with the product of the lengths, memory with the keyword's length.
VYK_EXPORT int spellingDistance(char const* query, int queryLen, char const* keyword, int keywordLen);
// The same; throws RangeException when keyword, then query, is 0x80000000 bytes or longer.
VYK_EXPORT int spellingDistance(std::string const& query, std::string const& keyword);

}  // namespace vyk

#endif
