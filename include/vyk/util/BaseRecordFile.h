// The record file that owns a record format and offers it the four device operations.
#ifndef VYK_UTIL_BASERECORDFILE_H
#define VYK_UTIL_BASERECORDFILE_H

#include <string>

#include "vyk/util/CharConversionSpec.h"
#include "vyk/util/Export.h"
#include "vyk/util/RecordFile.h"

namespace vyk {

class RecordFormat;

// Common implementation of record files: it builds the format in open() and forwards the record
// operations to it. Derived classes supply the device: flush(bytes, count) and fill(bytes, count),
// and where they can fileseek() and filetell().
class VYK_EXPORT BaseRecordFile : public RecordFile {
 public:
  enum Recfm {
    RECFM_V = 0,
    RECFM_F = 1,
    RECFM_N = 2,
    RECFM_S = 3,
    RECFM_P = 4,
    RECFM_S370V = 5,
    RECFM_S370VSTREAM = 6,
    RECFM_S370VB = 7,
    RECFM_S370VS = 8,
    RECFM_S370VSSTREAM = 9,
    RECFM_S370VBS = 10,
  };

  // Values of termstr: the terminators of the V formats.
  enum Termstr { TERMSTR_NUL = 0, TERMSTR_CR = 1, TERMSTR_LF = 2, TERMSTR_CRLF = 3, TERMSTR_ANY = 4 };

  // What open() needs to know. Built with the mode; every other field has its default.
  struct VYK_EXPORT OpenOptions {
    explicit OpenOptions(OpenMode openMode);

    // Sets the process-wide default record length (initially 32767) for options built afterwards.
    // Thread-safe.
    static void setDefaultLrecl(int lrecl);
    static int getDefaultLrecl();

    OpenMode mode;
    Recfm recfm;
    int lrecl;
    int bufferSize;  // the block of the FileStream; below 1 means the default 8192
    int termstr;
    bool stopAtCtrlZ;
    bool autoFlush;
    bool writeBom;
    bool padToLrecl;
    CharConversionSpec conversion;
    CharEncoding const* bomEncoding;
    bool reserved;
  };

  BaseRecordFile();
  explicit BaseRecordFile(OpenOptions const& options);
  // Deletes the format; writes nothing (derived classes flush in their destructors).
  ~BaseRecordFile() override;

  // Builds the format of options.recfm. Called once; a second call is a programming error.
  void open(OpenOptions const& options);
  void clearEof();

  // Turns a record format keyword ("V", "fb", "FOPEN_P", "S370VBS", ...) into its value. The three
  // FOPEN_ keywords match exactly; the others without regard to case. On no match returns false and
  // leaves result alone.
  static bool tryParseRecfm(std::string const& text, Recfm& result);

  int read(char* buffer, int maxLength, int* eof) override;
  int note_length() const override;
  bool tell(void* note) override;
  bool seek(void const* note) override;
  void write(char const* record, int length, CarriageControlType control) override;
  void flush() override;
  int getRecordLength() const override;
  bool attemptToChangeRecordLength(int length) override;
  bool isPrintRecordFormat() const override;
  int getLineOnPage() const override;
  int getLinesLeft() const override;
  int getAvailableLinesInPage() const override;
  bool isFixedWidth() const override;
  bool hasStreamSemantics() const override;
  CharEncoding const* getClientEncoding() const override;
  CharEncoding const* getFileEncoding() const override;

  virtual void indicateNewVolume();
  // The device: write count bytes, or read up to count bytes and return how many (below 1 is the end).
  virtual void flush(unsigned char const* bytes, int count) = 0;
  virtual int fill(unsigned char* bytes, int count) = 0;
  // Positions the device; false when it cannot. The default cannot.
  virtual bool fileseek(long long position);
  // The device's position; the default is 0.
  virtual long long filetell();

  // The format, null before open(). Owned by this record file.
  RecordFormat* format() const { return recfm_; }

 protected:
  RecordFormat* recfm_;
  bool autoFlush_;

 private:
  BaseRecordFile(BaseRecordFile const&) = delete;
  BaseRecordFile& operator=(BaseRecordFile const&) = delete;
};

}  // namespace vyk

#endif
