// Translation tables of 256 bytes: entry i is the target byte for source byte i.
#ifndef VYK_UTIL_TRANTABTABLE_H
#define VYK_UTIL_TRANTABTABLE_H

#include "vyk/util/Export.h"

namespace vyk {

// A value of exactly 256 bytes. The three process-wide tables below are constant data, ready before
// any code of the caller runs, and may be read from any thread.
//
//   TrantabTable const& toEbcdic = *TrantabTable::iso88591ToOpenEdition1047();
//   unsigned char e = toEbcdic['A'];  // 0xC1
class VYK_EXPORT TrantabTable {
 public:
  enum { SIZE = 256 };

  // All 256 entries 0.
  constexpr TrantabTable() : bytes_{} {}
  // Copies SIZE bytes from bytes, which must hold that many.
  explicit TrantabTable(char const* bytes);

  void swap(TrantabTable& other);

  // The target byte for source byte c.
  constexpr unsigned char operator[](unsigned char c) const { return bytes_[c]; }
  unsigned char const* data() const { return bytes_; }

  // True when every byte value appears exactly once as a target.
  bool isPermutation() const;

  // Entry i is i.
  static TrantabTable const* identity();
  // ISO 8859-1 to IBM code page 1047 in the z/OS OpenEdition form: line feed 0x0A becomes 0x15 and
  // the C1 next line 0x85 becomes 0x25. A permutation of the 256 byte values.
  static TrantabTable const* iso88591ToOpenEdition1047();
  // The exact inverse of iso88591ToOpenEdition1047(): a round trip through both restores every byte.
  static TrantabTable const* openEdition1047ToIso88591();

  // Builds a table from a constant array (for the process-wide tables, built at compile time).
  constexpr explicit TrantabTable(unsigned char const (&bytes)[SIZE]) : bytes_{} {
    for (int i = 0; i < SIZE; ++i) bytes_[i] = bytes[i];
  }
  // The inverse of a permutation: entry table[i] is i.
  static constexpr TrantabTable inverseOf(TrantabTable const& table) {
    TrantabTable inverse;
    for (int i = 0; i < SIZE; ++i) inverse.bytes_[table.bytes_[i]] = static_cast<unsigned char>(i);
    return inverse;
  }

 private:
  unsigned char bytes_[SIZE];
};

}  // namespace vyk

#endif
