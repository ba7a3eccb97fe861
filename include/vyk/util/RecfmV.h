// Variable-length records ended by a terminator, in 1-, 2- and 4-byte code units, and the print form.
#ifndef VYK_UTIL_RECFMV_H
#define VYK_UTIL_RECFMV_H

#include "vyk/util/Export.h"
#include "vyk/util/StreamedRecordFormat.h"

namespace vyk {
namespace recfm {

// Byte-order policies: how one code unit of the file lies in its bytes. load() reads a unit from
// sizeof(Unit) bytes, store() writes it.
struct VYK_EXPORT ByteOrderInapplicable {
  template <class Unit>
  static Unit load(unsigned char const* bytes) {
    static_assert(sizeof(Unit) == 1, "byte order matters for units wider than a byte");
    return static_cast<Unit>(bytes[0]);
  }
  template <class Unit>
  static void store(Unit unit, unsigned char* bytes) {
    static_assert(sizeof(Unit) == 1, "byte order matters for units wider than a byte");
    bytes[0] = static_cast<unsigned char>(unit);
  }
};

// Low byte first.
struct VYK_EXPORT ByteOrderLE {
  template <class Unit>
  static Unit load(unsigned char const* bytes) {
    Unit unit = 0;
    for (unsigned i = 0; i < sizeof(Unit); ++i)
      unit = static_cast<Unit>(unit | static_cast<Unit>(bytes[i]) << (8 * i));
    return unit;
  }
  template <class Unit>
  static void store(Unit unit, unsigned char* bytes) {
    for (unsigned i = 0; i < sizeof(Unit); ++i) bytes[i] = static_cast<unsigned char>(unit >> (8 * i));
  }
};

// High byte first.
struct VYK_EXPORT ByteOrderBE {
  template <class Unit>
  static Unit load(unsigned char const* bytes) {
    Unit unit = 0;
    for (unsigned i = 0; i < sizeof(Unit); ++i)
      unit = static_cast<Unit>(unit << 8 | static_cast<Unit>(bytes[i]));
    return unit;
  }
  template <class Unit>
  static void store(Unit unit, unsigned char* bytes) {
    for (unsigned i = 0; i < sizeof(Unit); ++i)
      bytes[sizeof(Unit) - 1 - i] = static_cast<unsigned char>(unit >> (8 * i));
  }
};

// Records separated by a terminator (the option termstr), in code units of CodeUnit's width:
// char with ByteOrderInapplicable, unsigned short or unsigned int with ByteOrderLE or ByteOrderBE.
// These five instances exist; the library builds the char one for RECFM_V, the wider ones serve
// encoded files.
//
// Reading (readrec): a record ends at the terminator that termstr_ names:
//   TERMSTR_NUL  a zero unit            TERMSTR_CR  cr_          TERMSTR_LF  lf_
//   TERMSTR_CRLF cr_ directly followed by lf_
//   TERMSTR_ANY  lf_, or cr_ directly followed by lf_ (the default)
// A cr_ not directly followed by lf_ is data, also at the end of the input; so is every unit that
// the termstr does not name. With stopAtCtrlZ_ a unit 0x1A ends the input (what follows is never
// read). In the 4-byte instances a unit 0xFFFFFFFF ends a record like the end of input; a marker
// that comes before any byte of a record is passed over. The units are copied as raw bytes in the
// file's byte order, and only whole units: maxLength and the result count bytes, a unit is stored
// only when all its bytes fit, the rest of an over-long record is dropped up to its terminator, and
// bytes that do not make a whole unit at the end of the input are dropped. The last record needs no
// terminator; a file that ends directly after one gives no empty record. -1 at the end. The bytes
// of buffer beyond the length returned (up to maxLength) are left undefined: a record that lies in
// the block is searched and copied 16 bytes at a time.
//
// Writing (writerec): the carriage control first (CC_NEW_PAGE: ff_; CC_DOUBLE: one terminator;
// CC_TRIPLE: two), then at most lrecl_ bytes of the record, in whole units; with padToLrecl_ the
// blank 0x20, written as whole units, up to lrecl_ bytes; then one terminator (TERMSTR_ANY writes
// lf_ alone; a termstr above 4 writes none).
//
// A derived or wrapping class may change the line ends with setLineEnds(), e.g. for an encoding
// whose line feed is not 0x0A; reading and writing use them from the next call on.
template <class CodeUnit, class ByteOrder>
class VYK_EXPORT RecfmVBase : public StreamedRecordFormat, public ByteOrder {
 public:
  static constexpr int UNIT_SIZE = static_cast<int>(sizeof(CodeUnit));

  RecfmVBase(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options);

  // Stores length as the record length, without a test of the value; true.
  bool attemptToChangeRecordLength(int length) override;
  int readrec(char* buffer, int maxLength) override;
  void writerec(char const* record, int length, CarriageControlType control) override;

  // Writes one terminator of the kind termstr_ names.
  void writeTermstr();
  // Writes one code unit in the file's byte order.
  void putch(CodeUnit unit);

  void setLineEnds(CodeUnit cr, CodeUnit lf) {
    cr_ = cr;
    lf_ = lf;
  }
  CodeUnit cr() const { return cr_; }
  CodeUnit lf() const { return lf_; }
  CodeUnit ff() const { return ff_; }
  int termstr() const { return termstr_; }

 protected:
  int termstr_;
  bool stopAtCtrlZ_;
  CodeUnit cr_;
  CodeUnit lf_;
  CodeUnit ff_;
  bool padToLrecl_;

 private:
  // readrec() for every case that its inline scan of the block leaves open. Kept out of line so
  // that readrec() stays small.
  [[gnu::noinline]] int readRecord(char* buffer, int maxLength);
  // The record unit by unit, across block ends, after readRecord() has marked its start.
  int readUnits(char* buffer, int maxLength);
  // Takes the next whole unit across block ends; false at the end of the input, where bytes that
  // do not make a whole unit are consumed and dropped.
  bool takeUnit(CodeUnit& unit);
  void storeUnit(char* buffer, int& count, int capacity, CodeUnit unit);
};

extern template class RecfmVBase<char, ByteOrderInapplicable>;
extern template class RecfmVBase<unsigned short, ByteOrderLE>;
extern template class RecfmVBase<unsigned short, ByteOrderBE>;
extern template class RecfmVBase<unsigned int, ByteOrderLE>;
extern template class RecfmVBase<unsigned int, ByteOrderBE>;

// The plain byte form, built for RECFM_V.
using RecfmV = RecfmVBase<char, ByteOrderInapplicable>;

// Print files: reads and writes as RecfmV (carriage controls become form feeds and blank lines)
// and reports itself as a print format, so that the record file's isPrintRecordFormat() is true.
// Its name is "V".
class VYK_EXPORT RecfmP : public RecfmVBase<char, ByteOrderInapplicable> {
 public:
  RecfmP(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options);
  bool isPrintFile() const override;
};

}  // namespace recfm
}  // namespace vyk

#endif
