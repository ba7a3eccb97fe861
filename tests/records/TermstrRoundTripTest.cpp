// A CRLF text file converted to LF line ends and back through the V format, byte for byte.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/records/RecordTestHelpers.h"

namespace vyk {
namespace testing {
namespace {

std::string readSample(char const* name) {
  std::string path = std::string(VYK_SOURCE_DIR) + "/tests/records/data/" + name;
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in.good()) << path;
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The independent oracle: every CR LF pair becomes LF.
std::string withLfLineEnds(std::string text) {
  for (size_t at = text.find("\r\n"); at != std::string::npos; at = text.find("\r\n", at)) text.erase(at, 1);
  return text;
}

std::string convert(std::string const& bytes, int fromTermstr, int toTermstr, int bufferSize) {
  Records records =
      readBytes(bytes, optionsFor(RecordFile::READ, BaseRecordFile::RECFM_V, fromTermstr, bufferSize));
  return writeRecords(records, optionsFor(RecordFile::WRITE, BaseRecordFile::RECFM_V, toTermstr, bufferSize));
}

TEST(TermstrRoundTrip, CrlfSampleToLfAndBackIsByteForByte) {
  std::string const crlf = readSample("sample-crlf.txt");
  ASSERT_NE(std::string::npos, crlf.find("\r\n"));
  std::string const lf = withLfLineEnds(crlf);
  ASSERT_NE(crlf, lf);
  struct Case {
    int toLf, fromLf;  // termstr used to read the CRLF file, and to read the LF file back
  };
  Case const cases[] = {{3, 2}, {4, 2}, {3, 4}, {4, 4}};
  for (Case const& c : cases) {
    for (int size : blockSizes()) {
      SCOPED_TRACE(std::to_string(c.toLf) + "/" + std::to_string(c.fromLf) + ", bufferSize " +
                   std::to_string(size));
      std::string const converted = convert(crlf, c.toLf, 2, size);
      EXPECT_EQ(lf, converted);
      EXPECT_EQ(crlf, convert(converted, c.fromLf, 3, size));
    }
  }
}

}  // namespace
}  // namespace testing
}  // namespace vyk
