// A record file whose device is a string in memory, with a log of device calls, for tests.
#ifndef VYK_TESTS_SUPPORT_MEMORYRECORDFILE_H
#define VYK_TESTS_SUPPORT_MEMORYRECORDFILE_H

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "vyk/util/BaseRecordFile.h"

namespace vyk {
namespace testing {

// Reads and writes `bytes` at a device position, like a file: a write past the end extends it.
// Every flush and fill is logged with its byte count. Optionally gives at most maxFill bytes per
// fill, to test records that cross block ends.
class MemoryRecordFile : public BaseRecordFile {
 public:
  MemoryRecordFile(std::string initial, OpenOptions const& options, int maxFill = 0)
      : bytes(std::move(initial)), maxFill_(maxFill) {
    applyMode(options.mode);
    open(options);
  }
  // Takes its format from makeFormat(this, options) instead of open(), for format classes that open()
  // does not build by itself (the wider code-unit instances, wrapped formats).
  template <class MakeFormat>
  MemoryRecordFile(std::string initial, OpenOptions const& options, int maxFill, MakeFormat makeFormat)
      : bytes(std::move(initial)), maxFill_(maxFill) {
    applyMode(options.mode);
    autoFlush_ = options.autoFlush;
    recfm_ = makeFormat(this, options);
  }
  ~MemoryRecordFile() override {
    if (recfm_) BaseRecordFile::flush();
  }

  std::string const& getFilename() const override { return name_; }
  void getProperties(std::vector<IntrusivePointer<RecordFileProperty>>&) const override {}

  void flush(unsigned char const* data, int count) override {
    flushes.push_back(count);
    size_t at = static_cast<size_t>(position);
    if (bytes.size() < at + count) bytes.resize(at + count);
    std::memcpy(&bytes[at], data, static_cast<size_t>(count));
    position += count;
  }
  int fill(unsigned char* data, int count) override {
    int available = static_cast<int>(std::max<long long>(0, static_cast<long long>(bytes.size()) - position));
    int n = std::min(count, available);
    if (maxFill_ > 0) n = std::min(n, maxFill_);
    if (n > 0) std::memcpy(data, bytes.data() + position, static_cast<size_t>(n));
    position += n;
    fills.push_back(n);
    return n;
  }
  bool fileseek(long long to) override {
    seeks.push_back(to);
    position = to;
    return true;
  }
  long long filetell() override { return position; }
  using BaseRecordFile::flush;

  std::string bytes;
  long long position = 0;
  std::vector<int> flushes;
  std::vector<int> fills;
  std::vector<long long> seeks;

 private:
  void applyMode(OpenMode mode) {
    if (mode == APPEND) position = static_cast<long long>(bytes.size());
    if (mode == WRITE || mode == REPLACE) bytes.clear();
  }

  std::string name_ = "memory";
  int maxFill_;
};

// Reads every record of a file until the end, each with at most maxLength bytes.
inline std::vector<std::string> readAll(RecordFile& file, int maxLength = 1 << 16) {
  std::vector<std::string> records;
  std::vector<char> buffer(static_cast<size_t>(maxLength) + 1);
  int eof = 0;
  while (true) {
    int n = file.read(buffer.data(), maxLength, &eof);
    if (eof) break;
    records.emplace_back(buffer.data(), static_cast<size_t>(n));
  }
  return records;
}

}  // namespace testing
}  // namespace vyk

#endif
