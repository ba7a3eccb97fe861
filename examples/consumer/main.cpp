// Writes records in the stream format to memory, reads them back, and catches a library exception.
#include <cstdio>
#include <sstream>
#include <string>

#include "vyk/util/Exception.h"
#include "vyk/util/StreamRecordFile.h"

int main() {
  std::stringstream bytes;
  vyk::BaseRecordFile::OpenOptions options(vyk::RecordFile::WRITE);
  options.recfm = vyk::BaseRecordFile::RECFM_S;
  {
    vyk::OutputStreamRecordFile out(bytes, options);
    out.write("hello, ", 7, vyk::CC_SINGLE);
    out.write("records", 7, vyk::CC_SINGLE);
  }
  options.mode = vyk::RecordFile::READ;
  vyk::InputStreamRecordFile in(bytes, options, "memory");
  char buffer[64];
  int eof = 0;
  int length = in.read(buffer, sizeof buffer, &eof);
  std::string text(buffer, length > 0 ? length : 0);
  try {
    throw vyk::FileNotFoundException("a.txt", "open");
  } catch (vyk::FileException const& e) {
    std::printf("%s | %s\n", text.c_str(), e.what());
  }
  return text == "hello, records" ? 0 : 1;
}
