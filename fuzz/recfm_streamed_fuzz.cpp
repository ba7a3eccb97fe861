// Arbitrary bytes read through every terminated instance and the fixed formats with small blocks.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "../tests/support/MemoryRecordFile.h"
#include "vyk/util/RecfmF.h"
#include "vyk/util/RecfmV.h"

namespace {

using vyk::BaseRecordFile;
using vyk::RecordFormat;
using vyk::testing::MemoryRecordFile;
using Options = BaseRecordFile::OpenOptions;
using Make = RecordFormat* (*)(BaseRecordFile*, Options const&);

template <class Format>
RecordFormat* make(BaseRecordFile* file, Options const& options) {
  return new Format(file, options);
}

struct Kind {
  Make make;
  int unitSize;
  bool fixed;  // reads lrecl-sized pieces
};

Kind const kKinds[] = {
    {make<vyk::recfm::RecfmVBase<char, vyk::recfm::ByteOrderInapplicable>>, 1, false},
    {make<vyk::recfm::RecfmVBase<unsigned short, vyk::recfm::ByteOrderLE>>, 2, false},
    {make<vyk::recfm::RecfmVBase<unsigned short, vyk::recfm::ByteOrderBE>>, 2, false},
    {make<vyk::recfm::RecfmVBase<unsigned int, vyk::recfm::ByteOrderLE>>, 4, false},
    {make<vyk::recfm::RecfmVBase<unsigned int, vyk::recfm::ByteOrderBE>>, 4, false},
    {make<vyk::recfm::RecfmF>, 1, true},
    {make<vyk::recfm::RecfmN>, 1, true},
};

void check(bool condition) {
  if (!condition) std::abort();
}

// Reads every record; each read must consume input, so the count of reads is bounded.
std::vector<std::string> readAll(std::string const& bytes, Options const& options, Kind const& kind,
                                 int maxLength, int maxFill) {
  MemoryRecordFile file(bytes, options, maxFill, kind.make);
  std::vector<std::string> records;
  std::vector<char> buffer(static_cast<size_t>(maxLength) + 1);
  int eof = 0;
  for (size_t reads = 0;; ++reads) {
    check(reads <= bytes.size() + 1);
    int n = file.read(buffer.data(), maxLength, &eof);
    if (eof) {
      check(n == -1);
      break;
    }
    check(n >= 0 && n <= maxLength);
    check(n % kind.unitSize == 0);
    if (kind.fixed) check(n <= options.lrecl);
    records.emplace_back(buffer.data(), static_cast<size_t>(n));
  }
  return records;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  if (size < 4) return 0;
  Kind const& kind = kKinds[data[0] % (sizeof kKinds / sizeof kKinds[0])];
  Options options(vyk::RecordFile::READ);
  options.termstr = data[1] % 6;  // 5: no terminator
  options.stopAtCtrlZ = (data[1] & 0x80) != 0;
  options.bufferSize = 1 + data[2] % 9;
  options.lrecl = 1 + data[3] % 12;
  int const maxLength = data[3] >> 4;  // 0-15
  int const maxFill = (data[2] & 0x80) ? 1 + (data[2] >> 4 & 7) : 0;
  std::string const bytes(reinterpret_cast<char const*>(data) + 4, size - 4);

  std::vector<std::string> records = readAll(bytes, options, kind, maxLength, maxFill);

  // NUL, CR and LF terminators: the records written back read back the same, since none of them
  // holds its terminator unit (nor, after reading, a stop unit).
  if (!kind.fixed && options.termstr <= BaseRecordFile::TERMSTR_LF) {
    Options out(vyk::RecordFile::WRITE);
    out.termstr = options.termstr;
    out.bufferSize = options.bufferSize;
    MemoryRecordFile writer("", out, 0, kind.make);
    for (std::string const& r : records) writer.write(r.data(), static_cast<int>(r.size()), vyk::CC_SINGLE);
    writer.flush();
    Options again = options;
    again.stopAtCtrlZ = false;
    std::vector<std::string> reread = readAll(writer.bytes, again, kind, maxLength, maxFill);
    check(reread == records);
  }
  return 0;
}
