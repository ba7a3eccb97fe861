// The translation table value and the three tables built into the library.
#include "vyk/util/TrantabTable.h"

#include <algorithm>
#include <cstring>

#include "src/util/Encodings/Ebcdic1047Table.h"

namespace vyk {

namespace {

struct IdentityBytes {
  constexpr IdentityBytes() : bytes{} {
    for (int i = 0; i < TrantabTable::SIZE; ++i) bytes[i] = static_cast<unsigned char>(i);
  }
  unsigned char bytes[TrantabTable::SIZE];
};
constexpr IdentityBytes kIdentityBytes;

// Constant-initialised: no constructor runs at load, so the tables are usable from any static
// initialiser of any library.
constexpr TrantabTable kIdentity(kIdentityBytes.bytes);
constexpr TrantabTable kOpenEdition1047ToIso88591 =
    TrantabTable::inverseOf(encodings_detail::kIso88591ToOpenEdition1047);

}  // namespace

TrantabTable::TrantabTable(char const* bytes) {
  std::memcpy(bytes_, bytes, SIZE);
}

void TrantabTable::swap(TrantabTable& other) {
  std::swap(bytes_, other.bytes_);
}

bool TrantabTable::isPermutation() const {
  bool seen[SIZE] = {};
  for (unsigned char b : bytes_) {
    if (seen[b]) return false;
    seen[b] = true;
  }
  return true;
}

TrantabTable const* TrantabTable::identity() {
  return &kIdentity;
}
TrantabTable const* TrantabTable::iso88591ToOpenEdition1047() {
  return &encodings_detail::kIso88591ToOpenEdition1047;
}
TrantabTable const* TrantabTable::openEdition1047ToIso88591() {
  return &kOpenEdition1047ToIso88591;
}

}  // namespace vyk
