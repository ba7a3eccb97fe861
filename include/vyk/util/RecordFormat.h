// The layout of records in bytes: the interface that every record format implements.
#ifndef VYK_UTIL_RECORDFORMAT_H
#define VYK_UTIL_RECORDFORMAT_H

#include "vyk/util/BaseRecordFile.h"
#include "vyk/util/Export.h"
#include "vyk/util/FileStream.h"

namespace vyk {

// A record format, created once by BaseRecordFile::open and owned by the record file. It holds the
// FileStream with its block.
class VYK_EXPORT RecordFormat {
 public:
  RecordFormat(char const* name, BaseRecordFile* file, BaseRecordFile::OpenOptions const& options);
  virtual ~RecordFormat();

  virtual bool attemptToChangeRecordLength(int length);
  virtual CharEncoding const* getClientEncoding();
  virtual CharEncoding const* getFileEncoding();
  virtual bool isPrintFile() const;
  virtual int getLineOnPage() const;
  virtual int getLinesLeft() const;
  virtual int getAvailableLinesInPage() const;
  virtual bool isFixedWidth() const;
  virtual bool hasStreamSemantics() const;
  // Reads one record into buffer (at most maxLength bytes); -1 at the end of the input.
  virtual int readrec(char* buffer, int maxLength) = 0;
  virtual void writerec(char const* record, int length, CarriageControlType control) = 0;
  virtual bool supportsNote() const;
  virtual bool tellpos(long long* position);
  virtual bool seekpos(long long const& position);
  virtual void flush() = 0;
  virtual bool eof() const = 0;
  virtual void clearEof() = 0;
  virtual void indicateNewVolume();

  // The name that the format reports ("V", "F", "S370VB", ...).
  char const* name() const { return name_; }
  int lrecl() const { return lrecl_; }
  int bufferSize() const { return bufferSize_; }
  FileStream& stream() { return stream_; }

 protected:
  char const* name_;
  RecordFile::OpenMode mode_;
  int lrecl_;
  int bufferSize_;
  FileStream stream_;

 private:
  RecordFormat(RecordFormat const&) = delete;
  RecordFormat& operator=(RecordFormat const&) = delete;
};

}  // namespace vyk

#endif
