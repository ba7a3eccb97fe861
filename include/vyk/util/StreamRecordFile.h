// Record files on a standard stream: InputStreamRecordFile reads, OutputStreamRecordFile writes.
#ifndef VYK_UTIL_STREAMRECORDFILE_H
#define VYK_UTIL_STREAMRECORDFILE_H

#include <istream>
#include <ostream>
#include <string>

#include "vyk/util/BaseRecordFile.h"
#include "vyk/util/Export.h"

namespace vyk {

// Reads records from a std::istream, which must outlive it. Open it with READ.
class VYK_EXPORT InputStreamRecordFile : public BaseRecordFile {
 public:
  InputStreamRecordFile(std::istream& in, OpenOptions const& options, std::string const& name);
  ~InputStreamRecordFile() override;

  std::string const& getFilename() const override;
  void getProperties(std::vector<IntrusivePointer<RecordFileProperty>>& properties) const override;
  void flush(unsigned char const* bytes, int count) override;
  int fill(unsigned char* bytes, int count) override;
  bool fileseek(long long position) override;
  using BaseRecordFile::flush;

  // An empty name, for callers that have none.
  static std::string const DEFAULT_FILENAME;

 private:
  std::string name_;
  std::istream& in_;
};

// Writes records to a std::ostream, which must outlive it. Open it with APPEND, WRITE or REPLACE.
// A write that leaves the stream failed throws WriteFileException. The destructor flushes what is
// pending; call flush() first to see errors.
class VYK_EXPORT OutputStreamRecordFile : public BaseRecordFile {
 public:
  OutputStreamRecordFile(std::ostream& out, OpenOptions const& options);
  ~OutputStreamRecordFile() override;

  std::string const& getFilename() const override;
  void getProperties(std::vector<IntrusivePointer<RecordFileProperty>>& properties) const override;
  void flush(unsigned char const* bytes, int count) override;
  int fill(unsigned char* bytes, int count) override;
  bool fileseek(long long position) override;
  using BaseRecordFile::flush;

  static std::string const DEFAULT_FILENAME;

 private:
  std::ostream& out_;
};

}  // namespace vyk

#endif
