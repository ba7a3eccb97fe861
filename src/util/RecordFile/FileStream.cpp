// The block buffer between record formats and the device of their record file.
#include "vyk/util/FileStream.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "vyk/util/Assert.h"
#include "vyk/util/BaseRecordFile.h"

namespace vyk {

FileStream::FileStream(BaseRecordFile* file, RecordFile::OpenMode mode, int size)
    : file_(file),
      mode_(mode),
      size_(size),
      bufferPos_(0),
      filePos_(0),
      buffer_(static_cast<unsigned char*>(checkedMalloc(static_cast<unsigned long>(size)))),
      p_(buffer_),
      limit_(buffer_ + size),
      end_(buffer_),
      dirty_(false),
      eof_(false) {
  VYK_ASSERT(size > 0);
  // Positions count from where the device stands at open, so that the first flush needs no seek.
  filePos_ = bufferPos_ = file_->filetell();
}

FileStream::~FileStream() {
  std::free(buffer_);
}

void FileStream::putch(unsigned char c) {
  if (p_ == limit_) makeRoom();
  *p_++ = c;
  markWritten();
}

void FileStream::putchars(char const* bytes, int length) {
  if (length < 0) VYK_FAIL("length>=0");
  while (true) {
    int k = std::min(static_cast<int>(limit_ - p_), length);
    if (k != 0) {
      std::memcpy(p_, bytes, static_cast<size_t>(k));
      p_ += k;
      bytes += k;
      length -= k;
      markWritten();
    }
    if (length == 0) return;
    makeRoom();
  }
}

void FileStream::fillchars(int count, unsigned char value) {
  if (count < 0) VYK_FAIL("length>=0");
  while (true) {
    int k = std::min(static_cast<int>(limit_ - p_), count);
    if (k != 0) {
      std::memset(p_, value, static_cast<size_t>(k));
      p_ += k;
      count -= k;
      markWritten();
    }
    if (count == 0) return;
    makeRoom();
  }
}

int FileStream::getchars(char* destination, int length) {
  if (length < 0) VYK_FAIL("length>=0");
  int copied = 0;
  while (copied < length) {
    if (eof_ && p_ == end_) break;
    int k = std::min(static_cast<int>(end_ - p_), length - copied);
    std::memcpy(destination + copied, p_, static_cast<size_t>(k));
    p_ += k;
    copied += k;
    if (copied == length) break;
    makeRoom();
  }
  return copied;
}

int FileStream::skipchars(int length) {
  if (length < 0) VYK_FAIL("length>=0");
  int skipped = 0;
  while (skipped < length) {
    if (eof_ && p_ == end_) break;
    int k = std::min(static_cast<int>(end_ - p_), length - skipped);
    p_ += k;
    skipped += k;
    if (skipped == length) break;
    makeRoom();
  }
  return skipped;
}

void FileStream::unget() {
  if (!(p_ > buffer_)) VYK_FAIL("p_>buffer_");
  --p_;
}

bool FileStream::ensureByte() {
  while (p_ == end_) {
    if (eof_) return false;
    makeRoom();
  }
  return true;
}

int FileStream::lookahead(int count) {
  if (count < 0) VYK_FAIL("length>=0");
  if (end_ - p_ >= count) return count;
  flush();
  if (count > size_) {
    // Grow the block, keeping its bytes and the cursor's place in them.
    unsigned char* bigger = static_cast<unsigned char*>(checkedMalloc(static_cast<unsigned long>(count)));
    std::memcpy(bigger, buffer_, static_cast<size_t>(end_ - buffer_));
    p_ = bigger + (p_ - buffer_);
    end_ = bigger + (end_ - buffer_);
    std::free(buffer_);
    buffer_ = bigger;
    size_ = count;
    limit_ = buffer_ + size_;
  }
  if (p_ != buffer_) {
    long long const consumed = p_ - buffer_;
    size_t const unread = static_cast<size_t>(end_ - p_);
    std::memmove(buffer_, p_, unread);
    bufferPos_ += consumed;
    p_ = buffer_;
    end_ = buffer_ + unread;
  }
  // The device stands after end_ (filePos_), so new bytes go there.
  while (end_ - p_ < count && !eof_ && readAllowed()) {
    int const room = static_cast<int>(limit_ - end_);
    int r = file_->fill(end_, room);
    if (r < 1) {
      eof_ = true;
      break;
    }
    if (r > room) r = room;
    end_ += r;
    filePos_ += r;
  }
  return static_cast<int>(std::min<long long>(count, end_ - p_));
}

void FileStream::flush() {
  if (!dirty_) return;
  if (filePos_ != bufferPos_ && file_->fileseek(bufferPos_)) filePos_ = bufferPos_;
  int n = static_cast<int>(end_ - buffer_);
  if (n != 0) file_->flush(buffer_, n);
  dirty_ = false;
  if (p_ < end_) {
    // The cursor stands inside bytes that are still to be read (UPDATE after a seek or an
    // explicit flush): keep them, so that no record is skipped.
    filePos_ = bufferPos_ + n;
    return;
  }
  p_ = end_ = buffer_;
  bufferPos_ += n;
  filePos_ = bufferPos_;
}

void FileStream::fill() {
  dirty_ = false;
  bufferPos_ = filePos_;
  if (!readAllowed()) {
    p_ = end_ = buffer_;
    eof_ = true;
    return;
  }
  int r = file_->fill(buffer_, size_);
  if (r < 1) {
    eof_ = true;
    r = 0;
  }
  if (r > size_) r = size_;
  filePos_ += r;
  p_ = buffer_;
  end_ = buffer_ + r;
}

void FileStream::seek(long long position) {
  if (position == this->position()) return;
  // Only the valid bytes of the block may be reached by moving the cursor: beyond end_ the block
  // holds nothing that the device has.
  if (position >= bufferPos_ && position <= bufferPos_ + (end_ - buffer_)) {
    p_ = buffer_ + (position - bufferPos_);
    return;
  }
  flush();
  if (file_->fileseek(position)) filePos_ = position;
  eof_ = false;
  p_ = end_ = buffer_;
  fill();
}

void FileStream::reset() {
  eof_ = false;
  p_ = end_ = buffer_;
  dirty_ = false;
  filePos_ = file_->filetell();
  bufferPos_ = filePos_;
}

}  // namespace vyk
