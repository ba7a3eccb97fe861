// The IBM-1047 tables, derived at compile time from the ISO 8859-1 to IBM-1047 permutation that the
// byte converters use.
#include "src/util/Unicode/Ebcdic1047Tables.h"

#include "src/util/Encodings/Ebcdic1047Table.h"

namespace vyk {
namespace unicode_detail {

namespace {

// ISO 8859-1 bytes are the code units U+0000 to U+00FF, so the inverse permutation is the table
// from IBM-1047 to UTF-16.
constexpr std::array<unsigned short, 256> invert() {
  std::array<unsigned short, 256> table{};
  for (int i = 0; i < 256; ++i) {
    table[encodings_detail::kIso88591ToOpenEdition1047[static_cast<unsigned char>(i)]] =
        static_cast<unsigned short>(i);
  }
  return table;
}

constexpr std::array<unsigned short, 256> swapNewlines(std::array<unsigned short, 256> table) {
  unsigned short lineFeed = table[0x15];
  table[0x15] = table[0x25];
  table[0x25] = lineFeed;
  return table;
}

constexpr std::array<unsigned short, 256> kOpenEdition = invert();
constexpr std::array<unsigned short, 256> kNewline = swapNewlines(invert());

static_assert(kOpenEdition[0x15] == 0x000A && kOpenEdition[0x25] == 0x0085, "line feed of OpenEdition");
static_assert(kNewline[0x15] == 0x0085 && kNewline[0x25] == 0x000A, "line feed of the newline variant");

}  // namespace

std::array<unsigned short, 256> const& openEdition1047ToUnicode() {
  return kOpenEdition;
}
std::array<unsigned short, 256> const& ebcdic1047NewlineToUnicode() {
  return kNewline;
}

}  // namespace unicode_detail
}  // namespace vyk
