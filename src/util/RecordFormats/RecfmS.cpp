// The stream format: bytes as they come, no terminator, no length limit.
#include "vyk/util/StreamedRecordFormat.h"

namespace vyk {
namespace recfm {

RecfmS::RecfmS(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options)
    : StreamedRecordFormat("S", file, options) {}

bool RecfmS::hasStreamSemantics() const { return true; }

int RecfmS::readrec(char* buffer, int maxLength) {
  markRecordStart();
  return stream_.getchars(buffer, maxLength);
}

void RecfmS::writerec(char const* record, int length, CarriageControlType) {
  positionForWrite();
  stream_.putchars(record, length);
}

}  // namespace recfm
}  // namespace vyk
