// The block buffer between a record format and its record file's device.
#ifndef VYK_UTIL_FILESTREAM_H
#define VYK_UTIL_FILESTREAM_H

#include "vyk/util/Export.h"
#include "vyk/util/RecordFile.h"

namespace vyk {

class BaseRecordFile;

// One block of memory over a record file's device. Formats walk p_ and end_ directly in their loops;
// the block goes to the device only when it is full or when asked. Bytes are read from the device
// only in READ and UPDATE modes.
//
// Invariant: buffer_ <= p_ <= limit_ and buffer_ <= end_ <= limit_; bytes [buffer_, end_) are valid.
class VYK_EXPORT FileStream {
 public:
  FileStream(BaseRecordFile* file, RecordFile::OpenMode mode, int size);
  ~FileStream();
  FileStream(FileStream const&) = delete;
  FileStream& operator=(FileStream const&) = delete;

  bool readAllowed() const { return mode_ == RecordFile::READ || mode_ == RecordFile::UPDATE; }
  // Device position of the cursor.
  long long position() const { return bufferPos_ + (p_ - buffer_); }
  // True when the cursor stands at the end of the valid bytes and the device has nothing more.
  bool atEnd() const { return eof_ && p_ == end_; }

  void putch(unsigned char c);
  // Stores length bytes; a negative length is a programming error.
  void putchars(char const* bytes, int length);
  void fillchars(int count, unsigned char value);
  // Copies up to length bytes and returns how many; short only at the end of the input.
  int getchars(char* destination, int length);
  // Passes over length bytes without copying, across blocks; returns how many it passed.
  int skipchars(int length);
  // Puts back the byte before the cursor; the cursor must stand above buffer_.
  void unget();
  // Makes the next byte available at p_, refilling the block when it is used up; false at the end.
  bool ensureByte();
  // Makes the next count bytes lie together at p_ without consuming them, and returns how many are
  // there: count, or fewer only at the end of the input (or in a mode that may not read). Moves the
  // unread bytes to the block's start and reads more behind them, so it never repositions the device;
  // a block smaller than count grows to count bytes. A dirty block goes to the device first.
  int lookahead(int count);

  // Gives a dirty block to the device. When the cursor stands inside the valid bytes the block stays
  // (now clean) so that reading goes on where it stood; otherwise the block is emptied.
  void flush();
  // Reads the next block from the device; in modes that may not read, empties the block and sets eof_.
  void fill();
  // Moves the cursor to a device position: inside the valid bytes of the block only the cursor moves,
  // otherwise the block is flushed and the device repositioned.
  void seek(long long position);
  // Forgets the block and the end of input, and takes the position from the device.
  void reset();

  BaseRecordFile* file_;
  RecordFile::OpenMode mode_;
  int size_;
  long long bufferPos_;
  long long filePos_;
  unsigned char* buffer_;
  unsigned char* p_;
  unsigned char* limit_;
  unsigned char* end_;
  bool dirty_;
  bool eof_;

 private:
  void markWritten() {
    dirty_ = true;
    if (p_ > end_) end_ = p_;
  }
  void makeRoom() {
    flush();
    fill();
  }
};

}  // namespace vyk

#endif
