// The portable layer on POSIX systems.
#include "vyk/util/Portable.h"

#include <dlfcn.h>
#include <errno.h>
#include <strings.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

namespace {

// Copies `text` into buffer[0..size), cut to fit and zero-terminated; size is at least 1.
void copyCut(char const* text, char* buffer, size_t size) {
  size_t length = std::strlen(text);
  if (length >= size) length = size - 1;
  std::memmove(buffer, text, length);
  buffer[length] = '\0';
}

// The two forms of strerror_r. The GNU form answers a text that may be a static string, leaving the
// buffer untouched; the POSIX form answers 0 or an error number and fills the buffer itself.
[[maybe_unused]] void finishStrerror(char const* answer, char* buffer, size_t size, int /*error*/) {
  if (answer != buffer) copyCut(answer != nullptr ? answer : "", buffer, size);
  buffer[size - 1] = '\0';
}

[[maybe_unused]] void finishStrerror(int answer, char* buffer, size_t size, int error) {
  buffer[size - 1] = '\0';
  // An unknown number may leave the buffer empty; a short buffer (ERANGE) keeps what fits.
  if (answer != 0 && answer != ERANGE && buffer[0] == '\0') {
    char text[48];
    std::snprintf(text, sizeof text, "Unknown error %d", error);
    copyCut(text, buffer, size);
  }
}

void breakDown(struct tm const& parts, long microseconds, vyc_tm* out) {
  out->tm_usec = static_cast<std::int32_t>(microseconds % 1000);
  out->tm_msec = static_cast<std::int32_t>(microseconds / 1000);
  out->tm_sec = parts.tm_sec;
  out->tm_min = parts.tm_min;
  out->tm_hour = parts.tm_hour;
  out->tm_mday = parts.tm_mday;
  out->tm_mon = parts.tm_mon;
  out->tm_year = parts.tm_year;
}

unsigned long long monotonicMicros() {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<unsigned long long>(now.tv_sec) * 1000000ULL +
         static_cast<unsigned long long>(now.tv_nsec) / 1000ULL;
}

}  // namespace

void* vyc_dlopen(const char* file) {
  return dlopen(file, RTLD_LAZY);
}

int vyc_dlclose(void* handle) {
  return dlclose(handle);
}

void* vyc_dlsym(void* handle, const char* symbol) {
  return dlsym(handle, symbol);
}

const char* vyc_dlerror() {
  return dlerror();
}

int vyc_stricmp(const char* a, const char* b) {
  return strcasecmp(a, b);
}

int vyc_strnicmp(const char* a, const char* b, size_t length) {
  return strncasecmp(a, b, length);
}

const char* vyc_strerror_r(int error, char* buffer, size_t size) {
  if (buffer == nullptr || size == 0) return buffer;
  buffer[0] = '\0';
  finishStrerror(strerror_r(error, buffer, size), buffer, size, error);
  return buffer;
}

void vyc_millitm(unsigned long long* milliseconds) {
  struct timeval now;
  gettimeofday(&now, nullptr);
  *milliseconds = static_cast<unsigned long long>(now.tv_sec) * 1000ULL +
                  static_cast<unsigned long long>(now.tv_usec) / 1000ULL;
}

vyc_tm* vyc_gmt_now(vyc_tm* out) {
  struct timeval now;
  gettimeofday(&now, nullptr);
  time_t seconds = now.tv_sec;
  struct tm parts;
  gmtime_r(&seconds, &parts);
  breakDown(parts, static_cast<long>(now.tv_usec), out);
  return out;
}

vyc_tm* vyc_local_now(vyc_tm* out) {
  struct timeval now;
  gettimeofday(&now, nullptr);
  time_t seconds = now.tv_sec;
  struct tm parts;
  // localtime_r need not look at TZ again; tzset makes a changed zone count.
  tzset();
  localtime_r(&seconds, &parts);
  breakDown(parts, static_cast<long>(now.tv_usec), out);
  return out;
}

unsigned int vyc_sleep(unsigned int seconds) {
  return sleep(seconds);
}

int vyc_sleepms(unsigned int milliseconds) {
  // A time-out holds whole seconds and microseconds below one million; a signal resumes the wait
  // for what is left of it.
  unsigned long long const total = static_cast<unsigned long long>(milliseconds) * 1000ULL;
  unsigned long long const start = monotonicMicros();
  unsigned long long left = total;
  for (;;) {
    struct timeval timeout;
    timeout.tv_sec = static_cast<time_t>(left / 1000000ULL);
    timeout.tv_usec = static_cast<suseconds_t>(left % 1000000ULL);
    int const result = select(0, nullptr, nullptr, nullptr, &timeout);
    if (result >= 0) return 0;
    if (errno != EINTR) return -1;
    unsigned long long const spent = monotonicMicros() - start;
    if (spent >= total) return 0;
    left = total - spent;
  }
}

int vyc_cputimeused(unsigned long long* microseconds) {
  struct rusage usage;
  if (getrusage(RUSAGE_SELF, &usage) != 0) {
    *microseconds = 0;
    return 0;
  }
  *microseconds = static_cast<unsigned long long>(usage.ru_utime.tv_sec) * 1000000ULL +
                  static_cast<unsigned long long>(usage.ru_utime.tv_usec);
  return 0;
}

void vyc_fineclock(unsigned long long* ticks) {
  struct timeval now;
  gettimeofday(&now, nullptr);
  *ticks =
      static_cast<unsigned long long>(now.tv_sec) * 1000000ULL + static_cast<unsigned long long>(now.tv_usec);
}

void vyc_fineclock_tickspersec(unsigned long long* ticks) {
  *ticks = 1000000ULL;
}

namespace vyk {

std::string vyc_strerror(int error) {
  char buffer[256];
  return std::string(vyc_strerror_r(error, buffer, sizeof buffer));
}

}  // namespace vyk
