// Notes, positioning and end of input shared by the streamed formats.
#include "vyk/util/StreamedRecordFormat.h"

namespace vyk {

StreamedRecordFormat::StreamedRecordFormat(char const* name, BaseRecordFile* file,
                                           BaseRecordFile::OpenOptions const& options)
    : RecordFormat(name, file, options), recordPos_(-1), logicalEof_(false), padChar_(0x20) {}

bool StreamedRecordFormat::supportsNote() const { return true; }

bool StreamedRecordFormat::tellpos(long long* position) {
  if (recordPos_ == -1) return false;
  *position = recordPos_;
  return true;
}

bool StreamedRecordFormat::seekpos(long long const& position) {
  stream_.seek(position);
  return true;
}

void StreamedRecordFormat::flush() { stream_.flush(); }

bool StreamedRecordFormat::eof() const { return logicalEof_ || stream_.atEnd(); }

void StreamedRecordFormat::clearEof() {
  logicalEof_ = false;
  stream_.reset();
}

void StreamedRecordFormat::positionForWrite() {
  if (recordPos_ == -1) return;
  stream_.seek(recordPos_);
  recordPos_ = -1;
}

}  // namespace vyk
