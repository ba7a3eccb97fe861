// Record files converting through the iconv-backed encodings and factory.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "tests/support/MemoryRecordFile.h"
#include "vyk/enc/IconvConverterFactory.h"

namespace vyk {
namespace testing {
namespace {

using namespace std::string_literals;
using Records = std::vector<std::string>;

BaseRecordFile::OpenOptions options(RecordFile::OpenMode mode, BaseRecordFile::Recfm recfm,
                                    char const* file) {
  BaseRecordFile::OpenOptions o(mode);
  o.recfm = recfm;
  o.conversion = CharConversionSpec(CharEncoding::forName("ISO-8859-1"), CharEncoding::forName(file),
                                    IconvConverterFactory::instance());
  return o;
}

TEST(RecordConversion, Latin1RecordsThroughRealEncodings) {
  // The format, the file's encoding, whether a mark is written, and the file's bytes.
  Records const records = {"Hi,", "\xE9t\xE9"};
  std::tuple<BaseRecordFile::Recfm, char const*, bool, std::string> const cases[] = {
      // IBM-1047 through iconv: e-acute 51, t A3; the block holds two records of 3 bytes.
      {BaseRecordFile::RECFM_S370VB, "IBM-1047", false,
       "\x00\x12\x00\x00\x00\x07\x00\x00\xC8\x89\x6B\x00\x07\x00\x00\x51\xA3\x51"s},
      // iconv's IBM-1047 has line feed 0x25, blank 0x40.
      {BaseRecordFile::RECFM_V, "IBM-1047", false, "\xC8\x89\x6B\x25\x51\xA3\x51\x25"},
      {BaseRecordFile::RECFM_V, "UTF-8", true, "\xEF\xBB\xBFHi,\n\xC3\xA9t\xC3\xA9\n"},
      {BaseRecordFile::RECFM_V, "UTF-16LE", true, "\xFF\xFEH\0i\0,\0\n\0\xE9\0t\0\xE9\0\n\0"s},
      {BaseRecordFile::RECFM_V, "UTF-16BE", false, "\0H\0i\0,\0\n\0\xE9\0t\0\xE9\0\n"s},
      {BaseRecordFile::RECFM_V, "UTF-32BE", true,
       "\0\0\xFE\xFF\0\0\0H\0\0\0i\0\0\0,\0\0\0\n\0\0\0\xE9\0\0\0t\0\0\0\xE9\0\0\0\n"s},
  };
  for (auto const& [recfm, encoding, writeBom, bytes] : cases) {
    SCOPED_TRACE(encoding);
    BaseRecordFile::OpenOptions o = options(RecordFile::WRITE, recfm, encoding);
    o.writeBom = writeBom;
    {
      MemoryRecordFile file("", o);
      for (std::string const& r : records) file.write(r.data(), static_cast<int>(r.size()), CC_SINGLE);
      file.flush();
      EXPECT_EQ(bytes, file.bytes);
    }
    MemoryRecordFile reader(bytes, options(RecordFile::READ, recfm, encoding));
    EXPECT_EQ(records, readAll(reader));
  }
}

}  // namespace
}  // namespace testing
}  // namespace vyk
