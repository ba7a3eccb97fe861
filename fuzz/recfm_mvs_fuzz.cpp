// Arbitrary bytes read through the six S370 formats with small blocks and buffers; records cut from
// the same bytes written and read back.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "../tests/support/MemoryRecordFile.h"
#include "vyk/util/Exception.h"

namespace {

using vyk::BaseRecordFile;
using vyk::RecordFile;
using vyk::testing::MemoryRecordFile;

BaseRecordFile::Recfm const FORMATS[] = {
    BaseRecordFile::RECFM_S370V,  BaseRecordFile::RECFM_S370VSTREAM,  BaseRecordFile::RECFM_S370VB,
    BaseRecordFile::RECFM_S370VS, BaseRecordFile::RECFM_S370VSSTREAM, BaseRecordFile::RECFM_S370VBS,
};

bool isVariable(BaseRecordFile::Recfm recfm) {
  return recfm == BaseRecordFile::RECFM_S370V || recfm == BaseRecordFile::RECFM_S370VB;
}

void check(bool condition) {
  if (!condition) __builtin_trap();
}

BaseRecordFile::OpenOptions optionsFor(RecordFile::OpenMode mode, BaseRecordFile::Recfm recfm,
                                       int bufferSize) {
  BaseRecordFile::OpenOptions options(mode);
  options.recfm = recfm;
  options.bufferSize = bufferSize;
  return options;
}

// Reads every record; only IOException may stop it, and no read may return more than was asked.
void readArbitrary(std::string const& bytes, BaseRecordFile::Recfm recfm, int bufferSize, int maxLength,
                   int maxFill) {
  try {
    MemoryRecordFile file(bytes, optionsFor(RecordFile::READ, recfm, bufferSize), maxFill);
    std::vector<char> buffer(static_cast<size_t>(maxLength) + 1);
    int eof = 0;
    // Every record takes at least one byte of the input, so more reads than bytes mean a loop.
    for (size_t reads = 0;; ++reads) {
      check(reads <= bytes.size() + 1);
      int n = file.read(buffer.data(), maxLength, &eof);
      if (eof) {
        check(n == -1);
        break;
      }
      check(n >= 0 && n <= maxLength);
    }
  } catch (vyk::IOException const&) {
  }
}

// Cuts records from the bytes (a length byte, then that many bytes, three times longer for the
// spanned formats), writes them and checks that they come back.
void roundTrip(std::string const& bytes, BaseRecordFile::Recfm recfm, int bufferSize, int maxFill) {
  std::vector<std::string> records;
  for (size_t i = 0; i < bytes.size();) {
    size_t length = static_cast<unsigned char>(bytes[i++]);
    length = isVariable(recfm) ? length % 249 : length * 3;
    std::string record;
    for (size_t k = 0; k < length; ++k) record += bytes[(i + k) % bytes.size()];
    records.push_back(record);
    i += length / 3 + 1;
  }
  MemoryRecordFile out("", optionsFor(RecordFile::WRITE, recfm, bufferSize));
  for (std::string const& r : records) out.write(r.data(), static_cast<int>(r.size()), vyk::CC_SINGLE);
  out.flush();
  MemoryRecordFile in(out.bytes, optionsFor(RecordFile::READ, recfm, bufferSize), maxFill);
  check(vyk::testing::readAll(in, 1024) == records);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  if (size < 3) return 0;
  int bufferSize = 8 + data[0] * 2;  // 8 to 518 bytes: below and above the 256-byte block minimum
  int maxLength = data[1];
  int maxFill = 1 + data[2] % 16;
  std::string bytes(reinterpret_cast<char const*>(data) + 3, size - 3);
  for (BaseRecordFile::Recfm recfm : FORMATS) {
    readArbitrary(bytes, recfm, bufferSize, maxLength, maxFill);
    if (!bytes.empty()) roundTrip(bytes, recfm, bufferSize, maxFill);
  }
  return 0;
}
