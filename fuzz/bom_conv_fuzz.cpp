// Arbitrary bytes read through the byte-order mark detection and the converting V formats.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "../tests/support/MemoryRecordFile.h"
#include "../tests/support/TestEncodings.h"
#include "vyk/util/CharConverter.h"

namespace {

using vyk::BaseRecordFile;
using vyk::RecordFile;
using vyk::testing::MemoryRecordFile;
using vyk::testing::TestEncoding;
using Options = BaseRecordFile::OpenOptions;
using Records = std::vector<std::string>;

TestEncoding const* const kEncodings[] = {
    &vyk::testing::kUtf8,    &vyk::testing::kUtf16LE, &vyk::testing::kUtf16BE, &vyk::testing::kUtf32LE,
    &vyk::testing::kUtf32BE, &vyk::testing::kEbcdic,  &vyk::testing::kLatin1};

void check(bool condition) {
  if (!condition) std::abort();
}

// Reads every record; a conversion fault loses its record and reading goes on. Each read consumes
// input, so the number of reads is bounded.
Records readAll(MemoryRecordFile& file, size_t inputSize, int maxLength) {
  Records records;
  std::vector<char> buffer(static_cast<size_t>(maxLength) + 1);
  for (size_t reads = 0;; ++reads) {
    check(reads <= inputSize + 2);
    int eof = 0;
    int n;
    try {
      n = file.read(buffer.data(), maxLength, &eof);
    } catch (vyk::CharConverter::Exception const&) {
      continue;
    }
    if (eof) {
      check(n == -1);
      return records;
    }
    check(n >= 0 && n <= maxLength);
    records.emplace_back(buffer.data(), static_cast<size_t>(n));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  if (size < 3) return 0;
  TestEncoding const& encoding = *kEncodings[data[0] % (sizeof kEncodings / sizeof kEncodings[0])];
  bool const convert = (data[0] & 0x80) != 0;
  Options options(RecordFile::READ);
  options.recfm = BaseRecordFile::RECFM_V;
  options.bufferSize = 1 + data[1] % 9;
  int const maxFill = (data[1] & 0x80) ? 1 + (data[1] >> 4 & 7) : 0;
  options.termstr = (data[2] & 0x80) ? BaseRecordFile::TERMSTR_LF : BaseRecordFile::TERMSTR_ANY;
  int const maxLength = data[2] & 0x3F;
  std::string const bytes(reinterpret_cast<char const*>(data) + 3, size - 3);

  if (!convert) {
    // Without conversion the mark is passed over and every other byte stays: the same records as a
    // plain V reader of the bytes without their mark.
    options.bomEncoding = encoding.get();
    MemoryRecordFile detecting(bytes, options, maxFill);
    Records const records = readAll(detecting, bytes.size(), maxLength);
    check(detecting.seeks.empty());
    std::string const mark = encoding.form == TestEncoding::UTF8      ? "\xEF\xBB\xBF"
                             : encoding.form == TestEncoding::UTF16LE ? "\xFF\xFE"
                             : encoding.form == TestEncoding::UTF16BE ? "\xFE\xFF"
                             : encoding.form == TestEncoding::UTF32LE ? std::string("\xFF\xFE\0\0", 4)
                             : encoding.form == TestEncoding::UTF32BE ? std::string("\0\0\xFE\xFF", 4)
                                                                      : "";
    std::string stripped = bytes;
    if (!mark.empty() && bytes.compare(0, mark.size(), mark) == 0) stripped.erase(0, mark.size());
    options.bomEncoding = nullptr;
    MemoryRecordFile plain(stripped, options, maxFill);
    check(records == readAll(plain, stripped.size(), maxLength));
    return 0;
  }

  // With conversion into Latin-1, under a handler that keeps what converted; then the records
  // written back with a mark must read back the same (the line feed cannot stand inside a record).
  vyk::testing::CountingErrorHandler handler;
  vyk::testing::TestConverterFactory const factory(&handler);
  options.conversion = vyk::CharConversionSpec(vyk::testing::kLatin1.get(), encoding.get(), &factory);
  Records records;
  {
    MemoryRecordFile file(bytes, options, maxFill);
    records = readAll(file, bytes.size(), maxLength);
  }
  if (options.termstr != BaseRecordFile::TERMSTR_LF || maxLength == 0) return 0;
  Options writing = options;
  writing.mode = RecordFile::WRITE;
  writing.writeBom = true;
  std::string written;
  {
    MemoryRecordFile file("", writing);
    for (std::string const& r : records) file.write(r.data(), static_cast<int>(r.size()), vyk::CC_SINGLE);
    file.flush();
    written = file.bytes;
  }
  int const faultsBefore = handler.overflows + handler.invalids + handler.unmappables;
  MemoryRecordFile reread(written, options, maxFill);
  Records const again = readAll(reread, written.size(), maxLength);
  check(handler.overflows + handler.invalids + handler.unmappables == faultsBefore);
  check(again == records);
  return 0;
}
