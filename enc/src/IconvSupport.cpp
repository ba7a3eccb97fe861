// Whole-text conversion through iconv, for probing encodings and building tables.
#include "IconvSupport.h"

#include <cerrno>

namespace vyk {
namespace enc_detail {

char const* const PROBE_FORM = "UTF-32LE";

WholeResult convertWhole(IconvHandle const& handle, std::string const& in, std::string& out) {
  handle.reset();
  std::string input(in);
  char* inPtr = input.empty() ? nullptr : &input[0];
  std::size_t inLeft = input.size();
  char buffer[64];
  while (true) {
    char* outPtr = buffer;
    std::size_t outLeft = sizeof buffer;
    std::size_t const r = inLeft == 0 ? iconv(handle.get(), nullptr, nullptr, &outPtr, &outLeft)
                                      : iconv(handle.get(), &inPtr, &inLeft, &outPtr, &outLeft);
    int const error = errno;
    out.append(buffer, static_cast<std::size_t>(outPtr - buffer));
    if (r != static_cast<std::size_t>(-1)) {
      if (inLeft == 0 && outPtr == buffer) return WholeResult::Ok;
      continue;  // the closing shift sequence is written by the next round
    }
    if (error == E2BIG) continue;
    return error == EINVAL ? WholeResult::Incomplete : WholeResult::Illegal;
  }
}

}  // namespace enc_detail
}  // namespace vyk
