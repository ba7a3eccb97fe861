// A stream buffer that converts what is written to it and passes the result to another stream.
#ifndef VYK_UTIL_CHARCONVERTEROUTPUTSTREAMBUF_H
#define VYK_UTIL_CHARCONVERTEROUTPUTSTREAMBUF_H

#include <ostream>
#include <streambuf>

#include "vyk/util/CharConverter.h"
#include "vyk/util/Export.h"
#include "vyk/util/RefCounted.h"

namespace vyk {
namespace output_stream_detail {

// Collects up to 1024 bytes, converts them in steps of at most 1024 target bytes and writes each step
// to the target stream with write(). sync() converts what is pending with atEnd true and does not
// flush the target stream; the destructor does the same and swallows any failure. Errors go to the
// converter's handler: if it returns, the rest of the pending bytes is dropped. Single-threaded, like
// any stream buffer; the target stream must outlive this object.
//
//   CharConverterOutputStreamBuf buf(SingleByteCharConverter::iso88591ToOpenEd1047(), file);
//   std::ostream out(&buf);
//   out << "HELLO";  // reaches file as C8 C5 D3 D3 D6 at the next sync or at destruction
class VYK_EXPORT CharConverterOutputStreamBuf : public std::basic_streambuf<char> {
 public:
  enum { BUFFER_SIZE = 1024 };

  CharConverterOutputStreamBuf(IntrusivePointer<CharConverter> converter, std::ostream& out);
  ~CharConverterOutputStreamBuf() override;

  CharConverterOutputStreamBuf(CharConverterOutputStreamBuf const&) = delete;
  CharConverterOutputStreamBuf& operator=(CharConverterOutputStreamBuf const&) = delete;

 protected:
  // Converts the pending bytes, then starts a new put area holding c unless c is end-of-file.
  // Returns c, or not_eof(c) for end-of-file, which the stream takes as success.
  int_type overflow(int_type c) override;
  // overflow(end-of-file); returns 0.
  int sync() override;

 private:
  IntrusivePointer<CharConverter> converter_;
  std::ostream& out_;
  bool first_;
  char* buffer_;
};

}  // namespace output_stream_detail
}  // namespace vyk

#endif
