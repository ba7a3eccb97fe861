// The text that a value's stream operator writes.
#ifndef VYK_TESTS_SUPPORT_PRINTED_H
#define VYK_TESTS_SUPPORT_PRINTED_H

#include <sstream>
#include <string>

namespace vyk {
namespace test_support {

template <class T>
std::string printed(T const& value) {
  std::ostringstream text;
  text << value;
  return text.str();
}

}  // namespace test_support
}  // namespace vyk

#endif
