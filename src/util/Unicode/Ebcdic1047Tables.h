// The IBM-1047 tables of the UnicodeConverter factories, in code units for each EBCDIC byte.
#ifndef VYK_SRC_UTIL_UNICODE_EBCDIC1047TABLES_H
#define VYK_SRC_UTIL_UNICODE_EBCDIC1047TABLES_H

#include <array>

namespace vyk {
namespace unicode_detail {

// OpenEdition variant: byte 0x15 is U+000A (line feed) and 0x25 is U+0085.
std::array<unsigned short, 256> const& openEdition1047ToUnicode();
// Newline variant: the same but for 0x15, which is U+0085 (next line), and 0x25, which is U+000A.
std::array<unsigned short, 256> const& ebcdic1047NewlineToUnicode();

}  // namespace unicode_detail
}  // namespace vyk

#endif
