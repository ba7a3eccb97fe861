// Record files whose device is a standard stream.
#include "vyk/util/StreamRecordFile.h"

#include "vyk/util/Assert.h"
#include "vyk/util/Exception.h"
#include "vyk/util/RecordFormat.h"

namespace vyk {

std::string const InputStreamRecordFile::DEFAULT_FILENAME;
std::string const OutputStreamRecordFile::DEFAULT_FILENAME;

InputStreamRecordFile::InputStreamRecordFile(std::istream& in, OpenOptions const& options, std::string const& name)
    : name_(name), in_(in) {
  open(options);
}

InputStreamRecordFile::~InputStreamRecordFile() {}

std::string const& InputStreamRecordFile::getFilename() const { return name_; }

void InputStreamRecordFile::getProperties(std::vector<IntrusivePointer<RecordFileProperty>>&) const {}

void InputStreamRecordFile::flush(unsigned char const*, int) { VYK_FAIL("Unsupported"); }

int InputStreamRecordFile::fill(unsigned char* bytes, int count) {
  in_.read(reinterpret_cast<char*>(bytes), count);
  return static_cast<int>(in_.gcount());
}

bool InputStreamRecordFile::fileseek(long long) { VYK_FAIL("Unsupported"); }

OutputStreamRecordFile::OutputStreamRecordFile(std::ostream& out, OpenOptions const& options) : out_(out) {
  open(options);
}

// A destructor cannot report a failed write; callers who need to know flush first.
OutputStreamRecordFile::~OutputStreamRecordFile() {
  try {
    if (recfm_) recfm_->flush();
  } catch (...) {
  }
}

std::string const& OutputStreamRecordFile::getFilename() const { return DEFAULT_FILENAME; }

void OutputStreamRecordFile::getProperties(std::vector<IntrusivePointer<RecordFileProperty>>&) const {}

void OutputStreamRecordFile::flush(unsigned char const* bytes, int count) {
  if (count == 0) return;
  out_.write(reinterpret_cast<char const*>(bytes), count);
  if (!out_) throw WriteFileException("the output stream refused the bytes");
}

int OutputStreamRecordFile::fill(unsigned char*, int) { VYK_FAIL("Unsupported"); }

bool OutputStreamRecordFile::fileseek(long long) { VYK_FAIL("Unsupported"); }

}  // namespace vyk
