// A record file whose device is a string in memory, with a log of device calls, and helpers that
// read and write whole record files through it, for tests.
#ifndef VYK_TESTS_SUPPORT_MEMORYRECORDFILE_H
#define VYK_TESTS_SUPPORT_MEMORYRECORDFILE_H

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "vyk/util/BaseRecordFile.h"
#include "vyk/util/Exception.h"
#include "vyk/util/RecfmV.h"

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

using Options = BaseRecordFile::OpenOptions;
using Records = std::vector<std::string>;
using MakeFormat = RecordFormat* (*)(BaseRecordFile*, Options const&);

// Options for mode with the given format, termstr, block size and (when not negative) lrecl.
inline Options optionsFor(RecordFile::OpenMode mode, BaseRecordFile::Recfm recfm, int termstr = 4,
                          int bufferSize = 8192, int lrecl = -1) {
  Options options(mode);
  options.recfm = recfm;
  options.termstr = termstr;
  options.bufferSize = bufferSize;
  if (lrecl >= 0) options.lrecl = lrecl;
  return options;
}

// Builds a V format of the given code unit and byte order, for MemoryRecordFile.
template <class CodeUnit, class ByteOrder>
RecordFormat* makeV(BaseRecordFile* file, Options const& options) {
  return new recfm::RecfmVBase<CodeUnit, ByteOrder>(file, options);
}

// A memory file over bytes, with the format open() builds or, when given, make's.
inline std::unique_ptr<MemoryRecordFile> openMemory(std::string bytes, Options const& options,
                                                    int maxFill = 0, MakeFormat make = nullptr) {
  if (make == nullptr) return std::make_unique<MemoryRecordFile>(std::move(bytes), options, maxFill);
  return std::make_unique<MemoryRecordFile>(std::move(bytes), options, maxFill, make);
}

// Every record of bytes, read with options (mode READ), each with at most maxLength bytes.
inline Records readBytes(std::string const& bytes, Options options, int maxLength = 1 << 17,
                         MakeFormat make = nullptr, int maxFill = 0) {
  options.mode = RecordFile::READ;
  return readAll(*openMemory(bytes, options, maxFill, make), maxLength);
}

// The bytes that writing records (each with control) through options (mode WRITE) leaves.
inline std::string writeRecords(Records const& records, Options options,
                                CarriageControlType control = CC_SINGLE, MakeFormat make = nullptr) {
  options.mode = RecordFile::WRITE;
  auto file = openMemory("", options, 0, make);
  for (std::string const& r : records) file->write(r.data(), static_cast<int>(r.size()), control);
  file->flush();
  return file->bytes;
}

// The next record of file, "<end>" at the end, or a note of a result that contradicts its eof flag.
inline std::string nextRecord(RecordFile& file, int maxLength = 64) {
  std::vector<char> buffer(static_cast<size_t>(maxLength) + 1);
  int eof = -3;
  int n = file.read(buffer.data(), maxLength, &eof);
  if (n == -1 && eof == 1) return "<end>";
  if (n < 0 || eof != 0) return "<bad " + std::to_string(n) + "/" + std::to_string(eof) + ">";
  return std::string(buffer.data(), static_cast<size_t>(n));
}

// The message of the IOException that f throws, or "no exception".
template <typename F>
std::string ioFailure(F f) {
  try {
    f();
  } catch (IOException const& e) {
    return e.message();
  }
  return "no exception";
}

// n bytes of a pattern that differs from byte to byte, so that misplaced pieces show.
inline std::string pattern(int n, char base = 'a') {
  std::string s(static_cast<size_t>(n), ' ');
  for (int i = 0; i < n; ++i) s[static_cast<size_t>(i)] = static_cast<char>(base + i % 26);
  return s;
}

// Block sizes that put every terminator, and every unit of up to 4 bytes, across a block end.
inline std::vector<int> const& blockSizes() {
  static std::vector<int> const sizes = {1, 2, 3, 5, 7, 8192};
  return sizes;
}

}  // namespace testing
}  // namespace vyk

#endif
