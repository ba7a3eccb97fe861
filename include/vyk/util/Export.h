// The one macro that marks a class or function as part of the library's exported interface.
#ifndef VYK_UTIL_EXPORT_H
#define VYK_UTIL_EXPORT_H

// The library is built with hidden visibility; only what carries VYK_EXPORT is visible to its users.
#if defined(_WIN32)
#define VYK_EXPORT
#else
#define VYK_EXPORT __attribute__((visibility("default")))
#endif

#endif
