// The flat portable layer: libraries, case-blind comparison, error texts, clocks and sleeping.
#ifndef VYK_UTIL_PORTABLE_H
#define VYK_UTIL_PORTABLE_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "vyk/util/Export.h"

// Broken-down time with the sub-second parts: eight 32-bit integers in this order. The last six are
// those of the C library's struct tm: month from 0, year from 1900.
struct vyc_tm {
  std::int32_t tm_usec;  // microseconds within the millisecond, 0..999
  std::int32_t tm_msec;  // milliseconds within the second, 0..999
  std::int32_t tm_sec;
  std::int32_t tm_min;
  std::int32_t tm_hour;
  std::int32_t tm_mday;
  std::int32_t tm_mon;
  std::int32_t tm_year;
};

// None of these functions keeps state of its own; all are safe from any thread. The error state of
// vyc_dlerror is the system's.

// Loads a shared library with lazy binding; null when it cannot be loaded (vyc_dlerror says why).
VYK_EXPORT void* vyc_dlopen(const char* file);
// Releases a handle of vyc_dlopen; 0 on success.
VYK_EXPORT int vyc_dlclose(void* handle);
// Address of a symbol of a loaded library, or null.
VYK_EXPORT void* vyc_dlsym(void* handle, const char* symbol);
// Text of the last loading failure, or null when there was none since the last call.
VYK_EXPORT const char* vyc_dlerror();

// Compare two zero-terminated texts without regard to ASCII case: 0 when equal, otherwise the sign
// tells the order of the first differing pair of folded bytes.
VYK_EXPORT int vyc_stricmp(const char* a, const char* b);
// The same over at most `length` bytes.
VYK_EXPORT int vyc_strnicmp(const char* a, const char* b, size_t length);

// Writes the system's text for `error` into buffer[0..size), cut to fit and always zero-terminated
// when size > 0, and answers `buffer`. A size of 0 leaves the buffer alone.
VYK_EXPORT const char* vyc_strerror_r(int error, char* buffer, size_t size);

// Milliseconds since 1 January 1970, UTC, from the system clock.
VYK_EXPORT void vyc_millitm(unsigned long long* milliseconds);
// The current UTC time, broken down with its milliseconds and microseconds; answers `out`.
VYK_EXPORT vyc_tm* vyc_gmt_now(vyc_tm* out);
// The current local time in the zone of TZ (re-read at each call); answers `out`.
VYK_EXPORT vyc_tm* vyc_local_now(vyc_tm* out);

// Sleeps whole seconds; answers the seconds left unslept when a signal cut the sleep short.
VYK_EXPORT unsigned int vyc_sleep(unsigned int seconds);
// Sleeps the given milliseconds, resuming after a signal; 0 on success, -1 on failure.
VYK_EXPORT int vyc_sleepms(unsigned int milliseconds);
// User CPU time of the process in microseconds; answers 0.
VYK_EXPORT int vyc_cputimeused(unsigned long long* microseconds);
// Microseconds since 1 January 1970, UTC; vyc_fineclock_tickspersec gives the tick rate, 1000000.
VYK_EXPORT void vyc_fineclock(unsigned long long* ticks);
VYK_EXPORT void vyc_fineclock_tickspersec(unsigned long long* ticks);

namespace vyk {

// The system's text for `error`, through a buffer of 256 bytes.
VYK_EXPORT std::string vyc_strerror(int error);

}  // namespace vyk

#endif
