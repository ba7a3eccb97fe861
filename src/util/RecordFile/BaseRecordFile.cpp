// The record file that owns a format: forwarding of record operations and the read protocol.
#include "vyk/util/BaseRecordFile.h"

#include <algorithm>

#include "vyk/util/Assert.h"
#include "vyk/util/RecordFormat.h"
#include "src/util/RecordFile/MakeRecordFormat.h"

namespace vyk {

BaseRecordFile::BaseRecordFile() : recfm_(nullptr), autoFlush_(false) {}

BaseRecordFile::BaseRecordFile(OpenOptions const& options) : recfm_(nullptr), autoFlush_(false) {
  open(options);
}

BaseRecordFile::~BaseRecordFile() { delete recfm_; }

void BaseRecordFile::open(OpenOptions const& options) {
  if (recfm_ != nullptr) VYK_FAIL("recfm_==0");
  autoFlush_ = options.autoFlush;
  recfm_ = detail::makeRecordFormat(this, options);
}

void BaseRecordFile::clearEof() { recfm_->clearEof(); }

int BaseRecordFile::read(char* buffer, int maxLength, int* eof) {
  if (recfm_->eof()) {
    *eof = 1;
    return -1;
  }
  *eof = 0;
  int result = recfm_->readrec(buffer, maxLength);
  if (result == -1) *eof = 1;
  return result;
}

int BaseRecordFile::note_length() const { return recfm_->supportsNote() ? 8 : 0; }

bool BaseRecordFile::tell(void* note) { return recfm_->tellpos(static_cast<long long*>(note)); }

bool BaseRecordFile::seek(void const* note) { return recfm_->seekpos(*static_cast<long long const*>(note)); }

void BaseRecordFile::write(char const* record, int length, CarriageControlType control) {
  recfm_->writerec(record, length, control);
  if (autoFlush_) recfm_->flush();
}

void BaseRecordFile::flush() { recfm_->flush(); }
int BaseRecordFile::getRecordLength() const { return recfm_->lrecl(); }
bool BaseRecordFile::attemptToChangeRecordLength(int length) { return recfm_->attemptToChangeRecordLength(length); }
bool BaseRecordFile::isPrintRecordFormat() const { return recfm_->isPrintFile(); }
int BaseRecordFile::getLineOnPage() const { return recfm_->getLineOnPage(); }
int BaseRecordFile::getLinesLeft() const { return recfm_->getLinesLeft(); }
int BaseRecordFile::getAvailableLinesInPage() const { return recfm_->getAvailableLinesInPage(); }
bool BaseRecordFile::isFixedWidth() const { return recfm_->isFixedWidth(); }
bool BaseRecordFile::hasStreamSemantics() const { return recfm_->hasStreamSemantics(); }
CharEncoding const* BaseRecordFile::getClientEncoding() const { return recfm_->getClientEncoding(); }
CharEncoding const* BaseRecordFile::getFileEncoding() const { return recfm_->getFileEncoding(); }
void BaseRecordFile::indicateNewVolume() { recfm_->indicateNewVolume(); }
bool BaseRecordFile::fileseek(long long) { return false; }
long long BaseRecordFile::filetell() { return 0; }

}  // namespace vyk
