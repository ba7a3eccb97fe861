// Stream output through a converter, in steps of 1024 bytes.
#include "vyk/util/CharConverterOutputStreamBuf.h"

#include <cstdlib>

#include "vyk/util/Assert.h"

namespace vyk {
namespace output_stream_detail {

CharConverterOutputStreamBuf::CharConverterOutputStreamBuf(IntrusivePointer<CharConverter> converter,
                                                           std::ostream& out)
    : converter_(converter),
      out_(out),
      first_(true),
      buffer_(static_cast<char*>(checkedMalloc(BUFFER_SIZE))) {
  VYK_ASSERT(converter_.get() != nullptr);
  setp(buffer_, buffer_ + BUFFER_SIZE);
}

CharConverterOutputStreamBuf::~CharConverterOutputStreamBuf() {
  try {
    overflow(traits_type::eof());
  } catch (...) {
    // A destructor must not throw: what the handler refused is lost, as the caller did not sync.
  }
  std::free(buffer_);
}

CharConverterOutputStreamBuf::int_type CharConverterOutputStreamBuf::overflow(int_type c) {
  bool const atEnd = traits_type::eq_int_type(c, traits_type::eof());
  char const* source = pbase();
  char const* const sourceEnd = pptr();
  CharConverter::ErrorCode code = CharConverter::Ok;
  for (;;) {
    char converted[BUFFER_SIZE];
    char* target = converted;
    char const* const before = source;
    code = CharConverter::Ok;
    converter_->convert(&source, sourceEnd, &target, converted + BUFFER_SIZE, first_, atEnd, code, false);
    first_ = false;
    out_.write(converted, target - converted);
    if (code != CharConverter::Overflow) break;
    // A step that moves nothing would repeat forever: one character does not fit 1024 bytes.
    if (source == before && target == converted) break;
  }
  // The put area starts afresh before the handler runs, so a throwing handler does not leave the
  // bytes already written pending for a second time.
  setp(buffer_, buffer_ + BUFFER_SIZE);
  CharConverter::ErrorHandler const* handler = converter_->getErrorHandler();
  if (code == CharConverter::Unmappable) handler->onUnmappable();
  if (code == CharConverter::Invalid) handler->onInvalid();
  if (code == CharConverter::Overflow) handler->onOverflow();
  if (atEnd) return traits_type::not_eof(c);
  *pptr() = traits_type::to_char_type(c);
  pbump(1);
  return c;
}

int CharConverterOutputStreamBuf::sync() {
  overflow(traits_type::eof());
  return 0;
}

}  // namespace output_stream_detail
}  // namespace vyk
