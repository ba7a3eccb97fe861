// Formats that lay records one after another in a byte stream, with notes and in-place update.
#ifndef VYK_UTIL_STREAMEDRECORDFORMAT_H
#define VYK_UTIL_STREAMEDRECORDFORMAT_H

#include "vyk/util/Export.h"
#include "vyk/util/RecordFormat.h"

namespace vyk {

// Base of the streamed formats. Each readrec stores where its record began (a note); a writerec
// after a readrec puts its bytes there, so that in UPDATE mode it replaces the record read.
class VYK_EXPORT StreamedRecordFormat : public RecordFormat {
 public:
  StreamedRecordFormat(char const* name, BaseRecordFile* file, BaseRecordFile::OpenOptions const& options);

  bool supportsNote() const override;
  // Stores where the record last read began; false when none was read since the last write.
  bool tellpos(long long* position) override;
  // Moves to a note; always true.
  bool seekpos(long long const& position) override;
  void flush() override;
  bool eof() const override;
  void clearEof() override;

  // Moves back to the start of the record last read, if any, and forgets it. Every writerec of a
  // streamed format begins with it.
  void positionForWrite();

 protected:
  // Every readrec begins with it: remembers where the record starts.
  void markRecordStart() { recordPos_ = stream_.position(); }
  // Reads one piece of lrecl_ bytes: copies up to min(lrecl_, maxLength) of them and passes over the
  // rest without copying. Returns the bytes copied (short for a last piece that the file cuts), or -1
  // when the input had nothing left or lrecl_ is below 1.
  int readFixedLengthRecord(char* buffer, int maxLength);

  long long recordPos_;
  bool logicalEof_;
  unsigned char padChar_;
};

namespace recfm {

// The stream format: a record is whatever bytes one write hands over; a read returns up to
// maxLength bytes. No terminator, length limit or padding. At the end of input a read returns 0
// once, and the next read finds the end.
class VYK_EXPORT RecfmS : public StreamedRecordFormat {
 public:
  RecfmS(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options);
  bool hasStreamSemantics() const override;
  int readrec(char* buffer, int maxLength) override;
  void writerec(char const* record, int length, CarriageControlType control) override;
};

}  // namespace recfm
}  // namespace vyk

#endif
