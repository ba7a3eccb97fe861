// The abstract record file: a sequence of records read and written one at a time.
#ifndef VYK_UTIL_RECORDFILE_H
#define VYK_UTIL_RECORDFILE_H

#include <string>
#include <vector>

#include "vyk/util/Export.h"
#include "vyk/util/RefCounted.h"

namespace vyk {

class CharEncoding;
class RecordFileProperty;

// How a record sits on the printed page.
enum CarriageControlType {
  CC_SINGLE = 0,     // next line
  CC_NEW_PAGE = 1,   // start of a new page
  CC_OVERPRINT = 2,  // no advance, print over the last line
  CC_DOUBLE = 3,     // one blank line first
  CC_TRIPLE = 4,     // two blank lines first
};

// Number of blank lines that a record with this control asks for before it is printed:
// 1 for CC_DOUBLE, 2 for CC_TRIPLE, 0 for every other control.
VYK_EXPORT int blankLinesForControlChar(CarriageControlType control);

// A sequence of records, each a run of bytes handed over by one write() or returned by one read().
// Not safe for use from two threads at once; the reference count is not atomic.
class VYK_EXPORT RecordFile : public RefCounted<int> {
 public:
  enum OpenMode {
    READ = 0,     // read only
    APPEND = 1,   // write only, created when missing, positioned at the end
    WRITE = 2,    // write only, created when missing, truncated
    REPLACE = 3,  // the same as WRITE
    UPDATE = 4,   // read and write, not created, not truncated
  };

  virtual std::string const& getFilename() const = 0;
  virtual void getProperties(std::vector<IntrusivePointer<RecordFileProperty>>& properties) const = 0;
  // Reads the next record into buffer, at most maxLength bytes, and returns its length (0 for an
  // empty record) with *eof 0; at the end of the input returns -1 with *eof 1.
  virtual int read(char* buffer, int maxLength, int* eof) = 0;
  // Goes back to the start; the default does nothing.
  virtual void rewind();
  // Bytes that tell() stores: 8 for formats with notes, 0 otherwise.
  virtual int note_length() const;
  // Stores the position of the record last read into note (note_length() bytes); false when there is
  // none. The default is a programming error ("Unsupported").
  virtual bool tell(void* note);
  // Goes back to a position stored by tell(). The default is a programming error ("Unsupported").
  virtual bool seek(void const* note);
  // Hands over one record; what a length above getRecordLength() does depends on the format.
  virtual void write(char const* record, int length, CarriageControlType control) = 0;
  virtual void flush() = 0;
  virtual int getRecordLength() const = 0;
  virtual bool attemptToChangeRecordLength(int length) = 0;
  // True when the format is the print format P.
  virtual bool isPrintRecordFormat() const;
  // True for a paged print file.
  virtual bool isPrintFile() const;
  // Page state of print files; programming errors ("Shouldn't get here") elsewhere.
  virtual int getLineOnPage() const;
  virtual int getLinesLeft() const;
  virtual int getAvailableLinesInPage() const;
  virtual bool isFixedWidth() const;
  virtual bool hasStreamSemantics() const;
  // The client's and the file's encodings of a converting file, null otherwise.
  virtual CharEncoding const* getClientEncoding() const;
  virtual CharEncoding const* getFileEncoding() const;

  // Bytes that a record of length bytes will take: length + 1 for formats that are not fixed width,
  // otherwise (blank lines of control + 1) times the process-wide default record length.
  unsigned long estimateSpaceUsed(unsigned long length, CarriageControlType control) const;
};

}  // namespace vyk

#endif
