// Reading and writing whole record files in memory, for the record format tests.
#ifndef VYK_TESTS_RECORDS_RECORDTESTHELPERS_H
#define VYK_TESTS_RECORDS_RECORDTESTHELPERS_H

#include <string>
#include <vector>

#include "tests/support/MemoryRecordFile.h"
#include "vyk/util/BaseRecordFile.h"
#include "vyk/util/RecfmV.h"

namespace vyk {
namespace testing {

using Options = BaseRecordFile::OpenOptions;
using Records = std::vector<std::string>;

// Options for mode with the given format, termstr and block size; everything else default.
inline Options optionsFor(RecordFile::OpenMode mode, BaseRecordFile::Recfm recfm, int termstr = 4,
                          int bufferSize = 8192) {
  Options options(mode);
  options.recfm = recfm;
  options.termstr = termstr;
  options.bufferSize = bufferSize;
  return options;
}

// Builds a V format of the given code unit and byte order, for MemoryRecordFile.
template <class CodeUnit, class ByteOrder>
RecordFormat* makeV(BaseRecordFile* file, Options const& options) {
  return new recfm::RecfmVBase<CodeUnit, ByteOrder>(file, options);
}
using MakeFormat = RecordFormat* (*)(BaseRecordFile*, Options const&);

// Every record of bytes, read with options (mode READ), each with at most maxLength bytes.
inline std::vector<std::string> readBytes(std::string const& bytes, Options options, int maxLength = 1 << 16,
                                          MakeFormat make = nullptr, int maxFill = 0) {
  options.mode = RecordFile::READ;
  if (make == nullptr) {
    MemoryRecordFile file(bytes, options, maxFill);
    return readAll(file, maxLength);
  }
  MemoryRecordFile file(bytes, options, maxFill, make);
  return readAll(file, maxLength);
}

// The bytes that writing records (each with control) through options (mode WRITE) leaves.
inline std::string writeRecords(std::vector<std::string> const& records, Options options,
                                CarriageControlType control = CC_SINGLE, MakeFormat make = nullptr) {
  options.mode = RecordFile::WRITE;
  auto run = [&](MemoryRecordFile& file) {
    for (std::string const& r : records) file.write(r.data(), static_cast<int>(r.size()), control);
    file.flush();
    return file.bytes;
  };
  if (make == nullptr) {
    MemoryRecordFile file("", options);
    return run(file);
  }
  MemoryRecordFile file("", options, 0, make);
  return run(file);
}

// Block sizes that put every terminator, and every unit of up to 4 bytes, across a block end.
inline std::vector<int> const& blockSizes() {
  static std::vector<int> const sizes = {1, 2, 3, 5, 7, 8192};
  return sizes;
}

}  // namespace testing
}  // namespace vyk

#endif
