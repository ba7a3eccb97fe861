// Fixed-length records and fixed-length reading of byte runs.
#include "vyk/util/RecfmF.h"

#include <algorithm>

#include "vyk/util/Assert.h"

namespace vyk {
namespace recfm {

RecfmF::RecfmF(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options)
    : StreamedRecordFormat("F", file, options) {}

bool RecfmF::isFixedWidth() const {
  return true;
}

int RecfmF::readrec(char* buffer, int maxLength) {
  return readFixedLengthRecord(buffer, maxLength);
}

void RecfmF::writerec(char const* record, int length, CarriageControlType) {
  positionForWrite();
  if (length < 0) VYK_FAIL("length>=0");
  // A record length below 1 writes nothing rather than a negative count.
  int n = std::max(0, std::min(lrecl_, length));
  stream_.putchars(record, n);
  if (lrecl_ > n) stream_.fillchars(lrecl_ - n, padChar_);
}

RecfmN::RecfmN(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options)
    : StreamedRecordFormat("N", file, options) {}

bool RecfmN::hasStreamSemantics() const {
  return true;
}

int RecfmN::readrec(char* buffer, int maxLength) {
  return readFixedLengthRecord(buffer, maxLength);
}

void RecfmN::writerec(char const* record, int length, CarriageControlType) {
  positionForWrite();
  stream_.putchars(record, length);
}

}  // namespace recfm
}  // namespace vyk
