// Small helpers around iconv shared by the encoding lookup and the converter factory.
#ifndef VYK_ENC_SRC_ICONVSUPPORT_H
#define VYK_ENC_SRC_ICONVSUPPORT_H

#include <iconv.h>

#include <string>

namespace vyk {
namespace enc_detail {

// The decoded form used for probing: UTF-32 low byte first, without a byte-order mark.
extern char const* const PROBE_FORM;

// Owns one iconv conversion descriptor; invalid when iconv_open failed.
class IconvHandle {
 public:
  IconvHandle(char const* to, char const* from) : cd_(iconv_open(to, from)) {}
  ~IconvHandle() {
    if (isOpen()) iconv_close(cd_);
  }
  IconvHandle(IconvHandle const&) = delete;
  IconvHandle& operator=(IconvHandle const&) = delete;

  bool isOpen() const { return cd_ != reinterpret_cast<iconv_t>(-1); }
  iconv_t get() const { return cd_; }
  // Back to the initial shift state.
  void reset() const { iconv(cd_, nullptr, nullptr, nullptr, nullptr); }

 private:
  iconv_t cd_;
};

// The outcome of converting a whole short text in one fresh run.
enum class WholeResult { Ok, Illegal, Incomplete };

// Converts in from the initial state and appends the result, with the closing shift sequence, to out.
WholeResult convertWhole(IconvHandle const& handle, std::string const& in, std::string& out);

}  // namespace enc_detail
}  // namespace vyk

#endif
