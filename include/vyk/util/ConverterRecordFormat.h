// Record formats that convert each record between the caller's encoding and the file's, and the
// byte-order mark at the start of a terminated file.
#ifndef VYK_UTIL_CONVERTERRECORDFORMAT_H
#define VYK_UTIL_CONVERTERRECORDFORMAT_H

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "vyk/util/Assert.h"
#include "vyk/util/CharConversionSpec.h"
#include "vyk/util/CharConverter.h"
#include "vyk/util/Export.h"
#include "vyk/util/MvsRecordFormat.h"
#include "vyk/util/RecfmF.h"
#include "vyk/util/RecfmV.h"
#include "vyk/util/ScopedPtr.h"
#include "vyk/util/StreamedRecordFormat.h"

namespace vyk {
namespace recfm {

// The byte-order mark of an encoding, chosen from its flags in the order ENC_UTF8, ENC_UTF16BE,
// ENC_UTF16LE, ENC_UTF32BE, ENC_UTF32LE:
//   UTF-8 EF BB BF, UTF-16BE FE FF, UTF-16LE FF FE, UTF-32BE 00 00 FE FF, UTF-32LE FF FE 00 00.
// length is 0 (and bytes null) for an encoding with none of these flags, and for null.
struct VYK_EXPORT ByteOrderMark {
  unsigned char const* bytes;
  int length;

  static ByteOrderMark forEncoding(CharEncoding const* encoding);
};

// Base (a record format of this library) with every record converted on its way through:
//   - reading: at most min(lrecl x W, maxLength x W) file bytes of one record are read into a scratch
//     buffer by Base's own rules (terminators, descriptors, cutting, notes), where W is the longest
//     character of the file's encoding; the record is converted into the caller's buffer and the
//     count of converted bytes returned. -1 and 0 pass without a conversion.
//   - writing: the record is converted into the scratch buffer of lrecl x W bytes (lrecl as at
//     open), and the converted bytes are written by Base's rules; lrecl_ then counts file bytes.
// Conversion goes through CharConverter::convert, so a fault reaches the converter's error handler:
// with the default handler the caller gets CharConverter::OverflowError (converted record longer
// than the scratch buffer, or than maxLength on reading), InvalidError or UnmappableError. On
// reading the record is consumed all the same; on writing nothing of it reaches the file. A handler
// that returns leaves what was converted up to the fault.
//
// A streamed Base pads fixed-length records with 0x40 when the file encoding has ENC_EBCDIC, else
// with 0x20. The converters come from options.conversion, which must be complete (all three set):
// the file's reader from create2to1(), the writer from create1to2().
template <class Base>
class VYK_EXPORT ConverterRecordFormat : public Base {
 public:
  ConverterRecordFormat(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options);

  int readrec(char* buffer, int maxLength) override;
  void writerec(char const* record, int length, CarriageControlType control) override;
  CharEncoding const* getClientEncoding() override { return clientEncoding_; }
  CharEncoding const* getFileEncoding() override { return fileEncoding_; }

  CharConverter const* readConverter() const { return readConverter_.get(); }
  CharConverter const* writeConverter() const { return writeConverter_.get(); }
  int scratchSize() const { return scratchSize_; }

 protected:
  CharEncoding const* clientEncoding_;
  CharEncoding const* fileEncoding_;
  IntrusivePointer<CharConverter> readConverter_;
  IntrusivePointer<CharConverter> writeConverter_;
  int maxBytesPerChar_;
  int scratchSize_;
  ScopedBuffer<char> scratch_;

 private:
  static int scratchSizeFor(int maxBytesPerChar, int lrecl);
};

// The terminated single-byte (or UTF-8) form with conversion: carriage return 0x0D, and the line
// feed of the file encoding, tested in this order: ENC_ASCII_LINE_ENDS 0x0A, ENC_EBCDIC_NL 0x15,
// ENC_EBCDIC 0x25. A file encoding with none of the three is a programming error ("UTF-16 not
// supported by this class").
class VYK_EXPORT RecfmVConv : public ConverterRecordFormat<RecfmVBase<char, ByteOrderInapplicable>> {
 public:
  RecfmVConv(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options);
};

// Base (a terminated format) with the byte-order mark of markEncoding (see ByteOrderMark):
//   - the first read after open, after indicateNewVolume() and after a clearEof() that leaves the
//     stream at position 0 (a rewind) looks at the next bytes:
//     when they are the mark they are passed over, otherwise nothing is consumed and the record is
//     read whole. A file shorter than the mark, a partial mark or the mark of another width is
//     data. Looking never repositions the device, so it works on streams that cannot seek. The
//     first record's note lies behind the mark;
//   - with options.writeBom the first write puts the mark before its record, where the file stands
//     (also at the end of a file opened with APPEND). In UPDATE mode a read that looked for the mark
//     cancels writing it, so that no data is overwritten by a second mark.
template <class Base>
class VYK_EXPORT BomDetector : public Base {
 public:
  BomDetector(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options,
              CharEncoding const* markEncoding);

  int readrec(char* buffer, int maxLength) override;
  void writerec(char const* record, int length, CarriageControlType control) override;
  // The next read looks for a mark again, where the new volume's data begins.
  void indicateNewVolume() override;
  // As Base's; when the stream then stands at the start of the file (a rewind), the next read looks
  // for the mark again, so that a rewound file does not give its mark as data.
  void clearEof() override;

  unsigned char const* bom() const { return bom_; }
  int bomLength() const { return bomLength_; }

 protected:
  bool detect_;
  bool writeBom_;
  unsigned char const* bom_;
  int bomLength_;
};

// --- implementation

template <class Base>
int ConverterRecordFormat<Base>::scratchSizeFor(int maxBytesPerChar, int lrecl) {
  long long const size = static_cast<long long>(maxBytesPerChar) * lrecl;
  if (size < 0) return 0;
  return size > 0x7FFFFFFF ? 0x7FFFFFFF : static_cast<int>(size);
}

template <class Base>
ConverterRecordFormat<Base>::ConverterRecordFormat(BaseRecordFile* file,
                                                   BaseRecordFile::OpenOptions const& options)
    : Base(file, options),
      clientEncoding_(options.conversion.first),
      fileEncoding_(options.conversion.second),
      readConverter_(options.conversion.create2to1()),
      writeConverter_(options.conversion.create1to2()),
      maxBytesPerChar_(readConverter_ ? readConverter_->maxSourceBytesPerChar() : 1),
      scratchSize_(scratchSizeFor(maxBytesPerChar_, this->lrecl_)),
      // One byte at least, so that the buffer is never null.
      scratch_(static_cast<unsigned long>(scratchSize_ > 0 ? scratchSize_ : 1)) {
  VYK_ASSERT(readConverter_ && writeConverter_);
  VYK_ASSERT(maxBytesPerChar_ > 0);
  if constexpr (std::is_base_of<StreamedRecordFormat, Base>::value) {
    this->padChar_ = (encodingFlags(fileEncoding_) & ENC_EBCDIC) != 0 ? 0x40 : 0x20;
  }
}

template <class Base>
int ConverterRecordFormat<Base>::readrec(char* buffer, int maxLength) {
  if (maxLength < 0) VYK_FAIL("length>=0");
  long long const asked = static_cast<long long>(maxLength) * maxBytesPerChar_;
  int const want = asked < scratchSize_ ? static_cast<int>(asked) : scratchSize_;
  int const result = Base::readrec(scratch_.get(), want);
  if (result < 1) return result;
  VYK_ASSERT(result <= want);
  return static_cast<int>(readConverter_->convert(scratch_.get(), static_cast<unsigned long>(result), buffer,
                                                  static_cast<unsigned long>(maxLength)));
}

template <class Base>
void ConverterRecordFormat<Base>::writerec(char const* record, int length, CarriageControlType control) {
  if (length < 0) VYK_FAIL("length>=0");
  unsigned long const n = writeConverter_->convert(record, static_cast<unsigned long>(length), scratch_.get(),
                                                   static_cast<unsigned long>(scratchSize_));
  Base::writerec(scratch_.get(), static_cast<int>(n), control);
}

template <class Base>
BomDetector<Base>::BomDetector(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options,
                               CharEncoding const* markEncoding)
    : Base(file, options), detect_(true), writeBom_(options.writeBom), bom_(nullptr), bomLength_(0) {
  ByteOrderMark const mark = ByteOrderMark::forEncoding(markEncoding);
  bom_ = mark.bytes;
  bomLength_ = mark.length;
}

template <class Base>
int BomDetector<Base>::readrec(char* buffer, int maxLength) {
  if (detect_) {
    detect_ = false;
    if (this->mode_ == RecordFile::UPDATE) writeBom_ = false;
    FileStream& s = this->stream_;
    if (bomLength_ > 0 && s.lookahead(bomLength_) == bomLength_ &&
        std::memcmp(s.p_, bom_, static_cast<size_t>(bomLength_)) == 0) {
      s.p_ += bomLength_;
    }
  }
  return Base::readrec(buffer, maxLength);
}

template <class Base>
void BomDetector<Base>::writerec(char const* record, int length, CarriageControlType control) {
  if (writeBom_) {
    writeBom_ = false;
    this->positionForWrite();
    this->stream_.putchars(reinterpret_cast<char const*>(bom_), bomLength_);
  }
  Base::writerec(record, length, control);
}

template <class Base>
void BomDetector<Base>::clearEof() {
  Base::clearEof();
  if (this->stream_.position() == 0) detect_ = true;
}

template <class Base>
void BomDetector<Base>::indicateNewVolume() {
  Base::indicateNewVolume();
  detect_ = true;
}

// The instances that BaseRecordFile::open builds live in the library.
extern template class ConverterRecordFormat<RecfmS>;
extern template class ConverterRecordFormat<RecfmF>;
extern template class ConverterRecordFormat<RecfmVBase<char, ByteOrderInapplicable>>;
extern template class ConverterRecordFormat<RecfmVBase<unsigned short, ByteOrderLE>>;
extern template class ConverterRecordFormat<RecfmVBase<unsigned short, ByteOrderBE>>;
extern template class ConverterRecordFormat<RecfmVBase<unsigned int, ByteOrderLE>>;
extern template class ConverterRecordFormat<RecfmVBase<unsigned int, ByteOrderBE>>;
extern template class ConverterRecordFormat<RecfmS370V>;
extern template class ConverterRecordFormat<RecfmS370VB>;
extern template class ConverterRecordFormat<RecfmS370VS>;
extern template class ConverterRecordFormat<RecfmS370VBS>;
extern template class ConverterRecordFormat<RecfmS370VStreamed>;
extern template class ConverterRecordFormat<RecfmS370VSStreamed>;
extern template class BomDetector<RecfmVBase<char, ByteOrderInapplicable>>;
extern template class BomDetector<RecfmVConv>;
extern template class BomDetector<ConverterRecordFormat<RecfmVBase<unsigned short, ByteOrderLE>>>;
extern template class BomDetector<ConverterRecordFormat<RecfmVBase<unsigned short, ByteOrderBE>>>;
extern template class BomDetector<ConverterRecordFormat<RecfmVBase<unsigned int, ByteOrderLE>>>;
extern template class BomDetector<ConverterRecordFormat<RecfmVBase<unsigned int, ByteOrderBE>>>;

}  // namespace recfm
}  // namespace vyk

#endif
