// Notes, positioning and end of input shared by the streamed formats.
#include "vyk/util/StreamedRecordFormat.h"

#include "vyk/util/Assert.h"

namespace vyk {

StreamedRecordFormat::StreamedRecordFormat(char const* name, BaseRecordFile* file,
                                           BaseRecordFile::OpenOptions const& options)
    : RecordFormat(name, file, options), recordPos_(-1), logicalEof_(false), padChar_(0x20) {}

bool StreamedRecordFormat::supportsNote() const {
  return true;
}

bool StreamedRecordFormat::tellpos(long long* position) {
  if (recordPos_ == -1) return false;
  *position = recordPos_;
  return true;
}

bool StreamedRecordFormat::seekpos(long long const& position) {
  stream_.seek(position);
  return true;
}

void StreamedRecordFormat::flush() {
  stream_.flush();
}

bool StreamedRecordFormat::eof() const {
  return logicalEof_ || stream_.atEnd();
}

void StreamedRecordFormat::clearEof() {
  logicalEof_ = false;
  stream_.reset();
}

int StreamedRecordFormat::readFixedLengthRecord(char* buffer, int maxLength) {
  if (maxLength < 0) VYK_FAIL("length>=0");
  markRecordStart();
  // A record length below 1 would give empty records forever without consuming a byte.
  if (lrecl_ < 1) return -1;
  int want = lrecl_ < maxLength ? lrecl_ : maxLength;
  int got = stream_.getchars(buffer, want);
  int skipped = stream_.skipchars(lrecl_ - want);
  // Nothing at all was left: the end, also when the caller asked for no bytes.
  if (got == 0 && skipped == 0) return -1;
  return got;
}

void StreamedRecordFormat::positionForWrite() {
  if (recordPos_ == -1) return;
  stream_.seek(recordPos_);
  recordPos_ = -1;
}

}  // namespace vyk
