// Records of one fixed length (RecfmF) and byte runs read in fixed-length pieces (RecfmN).
#ifndef VYK_UTIL_RECFMF_H
#define VYK_UTIL_RECFMF_H

#include "vyk/util/Export.h"
#include "vyk/util/StreamedRecordFormat.h"

namespace vyk {
namespace recfm {

// Every record holds exactly lrecl_ bytes, with no terminator.
//  - readrec copies up to min(lrecl_, maxLength) bytes of the next record and passes over the rest
//    of it, so a short caller buffer loses the tail and the next read starts at the next record.
//    A last record that the file cuts short comes back short; -1 at the end of the input.
//  - writerec cuts a longer record to lrecl_ bytes and pads a shorter one with padChar_ (a blank);
//    the carriage control is ignored.
// Notes are the byte position of the record; UPDATE replaces the record last read in place.
class VYK_EXPORT RecfmF : public StreamedRecordFormat {
 public:
  RecfmF(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options);
  bool isFixedWidth() const override;
  int readrec(char* buffer, int maxLength) override;
  void writerec(char const* record, int length, CarriageControlType control) override;
};

// Reads like RecfmF, in pieces of lrecl_ bytes; writes like the stream format: each record's bytes
// as given, without padding, cutting or terminator. Has stream semantics.
class VYK_EXPORT RecfmN : public StreamedRecordFormat {
 public:
  RecfmN(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options);
  bool hasStreamSemantics() const override;
  int readrec(char* buffer, int maxLength) override;
  void writerec(char const* record, int length, CarriageControlType control) override;
};

}  // namespace recfm
}  // namespace vyk

#endif
