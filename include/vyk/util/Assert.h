// The assertion failure for programming errors, the replaceable abend handler and checkedMalloc.
#ifndef VYK_UTIL_ASSERT_H
#define VYK_UTIL_ASSERT_H

#include "vyk/util/Export.h"

namespace vyk {

// Ends the process for a programming error: writes a banner, the line
// "Assertion failed: <condition> at file: <file> line <line>" and the banner again to stderr, then
// exit(99). It neither throws nor calls the abend handler.
[[noreturn]] VYK_EXPORT void vykFail(char const* condition, char const* file, int line);

// Calls the current abend handler with code and returns if the handler returns. The initial
// handler calls exit(code). Nothing in the library calls abend.
VYK_EXPORT void abend(int code);
// Replaces the abend handler; handler must not be null. Not synchronised with abend().
VYK_EXPORT void set_abend_handler(void (*handler)(int));

// malloc(size) that throws std::bad_alloc instead of returning null.
VYK_EXPORT void* checkedMalloc(unsigned long size);

}  // namespace vyk

// Checks a condition that only a programming error can break; on failure calls vykFail with the
// condition's source text. Unlike assert(), it stays in release builds.
#define VYK_ASSERT(condition) \
  ((condition) ? static_cast<void>(0) : ::vyk::vykFail(#condition, __FILE__, __LINE__))

// Fails with a fixed text in place of a condition, e.g. VYK_FAIL("Unsupported").
#define VYK_FAIL(text) ::vyk::vykFail(text, __FILE__, __LINE__)

#endif
