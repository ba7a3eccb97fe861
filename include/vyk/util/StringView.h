// Non-owning views of bytes: StringView (unsigned long length) and WrappingConstStringValue (int).
#ifndef VYK_UTIL_STRINGVIEW_H
#define VYK_UTIL_STRINGVIEW_H

#include <cstring>
#include <string>

namespace vyk {

// A view of length bytes at data; no terminator needed, zero bytes allowed. The bytes must outlive
// the view.
class StringView {
 public:
  StringView() : data_(""), length_(0) {}
  StringView(char const* data, unsigned long length) : data_(data), length_(length) {}
  StringView(char const* text) : data_(text), length_(std::strlen(text)) {}  // NOLINT: implicit
  StringView(std::string const& text) : data_(text.data()), length_(text.size()) {}  // NOLINT: implicit

  char const* data() const { return data_; }
  unsigned long length() const { return length_; }
  unsigned long size() const { return length_; }
  bool empty() const { return length_ == 0; }
  char operator[](unsigned long i) const { return data_[i]; }
  char const* begin() const { return data_; }
  char const* end() const { return data_ + length_; }
  std::string str() const { return std::string(data_, length_); }

 private:
  char const* data_;
  unsigned long length_;
};

// A view of length bytes with an int length, the element of sorted string lists.
class WrappingConstStringValue {
 public:
  WrappingConstStringValue() : data_(""), length_(0) {}
  WrappingConstStringValue(char const* data, int length) : data_(data), length_(length) {}

  char const* data() const { return data_; }
  int length() const { return length_; }

 private:
  char const* data_;
  int length_;
};

}  // namespace vyk

#endif
