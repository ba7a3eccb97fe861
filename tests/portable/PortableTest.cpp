// The portable layer: case-blind comparison, error texts, loading, clocks and sleeping.
#include "vyk/util/Portable.h"

#include <gtest/gtest.h>

#include <errno.h>
#include <time.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <tuple>

#include "support/ZoneSetting.h"

namespace {

int sign(int v) {
  return (v > 0) - (v < 0);
}

TEST(PortableCompare, FoldsAsciiCaseAndKeepsOrder) {
  // a, b, length for vyc_strnicmp, signs of vyc_stricmp and vyc_strnicmp
  std::tuple<char const*, char const*, size_t, int, int> const cases[] = {
      {"ABC", "abc", 3, 0, 0},      {"abc", "ABD", 3, -1, -1},   {"abd", "ABC", 2, 1, 0},
      {"ab", "abc", 3, -1, -1},     {"Zebra", "apple", 0, 1, 0}, {"a[", "A{", 2, -1, -1},
      {"HELLO", "hello!", 5, -1, 0}};
  for (auto const& [a, b, length, whole, prefix] : cases) {
    EXPECT_EQ(whole, sign(vyc_stricmp(a, b))) << a << " / " << b;
    EXPECT_EQ(prefix, sign(vyc_strnicmp(a, b, length))) << a << " / " << b;
  }
}

// The text lands in the caller's buffer even where strerror_r answers a static text instead, cut and
// terminated within the given size.
TEST(PortableErrorText, AnswersTheBufferHoldingTheText) {
  std::string const unknown = strerror(123456);  // the C library's text for a number it does not know
  std::tuple<int, size_t, char const*> const cases[] = {{ENOENT, 64, "No such file or directory"},
                                                        {EACCES, 64, "Permission denied"},
                                                        {ENOENT, 8, "No such"},
                                                        {ENOENT, 1, ""},
                                                        {123456, 64, unknown.c_str()}};
  for (auto const& [error, size, text] : cases) {
    char buffer[65];
    std::memset(buffer, 'x', sizeof buffer);
    EXPECT_EQ(buffer, vyc_strerror_r(error, buffer, size));
    EXPECT_STREQ(text, buffer) << error;
    EXPECT_EQ('x', buffer[size]) << "wrote past the given size";
    if (size == 64) {
      EXPECT_EQ(text, vyk::vyc_strerror(error));
    }
  }
  char untouched = 'x';
  EXPECT_EQ(&untouched, vyc_strerror_r(ENOENT, &untouched, 0));
  EXPECT_EQ('x', untouched);
}

TEST(PortableLibraries, LoadsFindsAndReportsFailure) {
  void* self = vyc_dlopen(nullptr);
  ASSERT_NE(nullptr, self);
  EXPECT_EQ(reinterpret_cast<void*>(&getpid), vyc_dlsym(self, "getpid"));
  EXPECT_EQ(nullptr, vyc_dlsym(self, "no_such_symbol_in_any_library_here"));
  EXPECT_NE(nullptr, vyc_dlerror());
  EXPECT_EQ(nullptr, vyc_dlerror()) << "the error state is cleared by reading it";
  EXPECT_EQ(0, vyc_dlclose(self));
  EXPECT_EQ(nullptr, vyc_dlopen("/nonexistent/libnothing.so"));
  char const* why = vyc_dlerror();
  EXPECT_TRUE(why != nullptr && std::strstr(why, "libnothing") != nullptr);
}

long long secondsOfDay(vyc_tm const& t) {
  return t.tm_hour * 3600LL + t.tm_min * 60LL + t.tm_sec;
}

TEST(PortableClocks, BrokenDownTimesCountAsTheCLibraryAndFollowTheZone) {
  vyc_tm gmt;
  EXPECT_EQ(&gmt, vyc_gmt_now(&gmt));
  struct tm parts = {};
  parts.tm_year = gmt.tm_year;  // from 1900
  parts.tm_mon = gmt.tm_mon;    // from 0
  parts.tm_mday = gmt.tm_mday;
  parts.tm_hour = gmt.tm_hour;
  parts.tm_min = gmt.tm_min;
  parts.tm_sec = gmt.tm_sec;
  EXPECT_NEAR(double(time(nullptr)), double(timegm(&parts)), 2.0);
  EXPECT_TRUE(0 <= gmt.tm_msec && gmt.tm_msec < 1000 && 0 <= gmt.tm_usec && gmt.tm_usec < 1000);
  // Fixed zones without daylight saving: POSIX writes the offset west of Greenwich.
  std::tuple<char const*, long long> const zones[] = {
      {"UTC0", 0}, {"XYZ-3", 3 * 3600}, {"ABC+5:30", 86400 - (5 * 3600 + 1800)}};
  for (auto const& [name, eastSeconds] : zones) {
    vyk::test_support::ZoneSetting zone(name);
    vyc_tm local;
    for (int attempt = 0; attempt < 3; ++attempt) {
      vyc_gmt_now(&gmt);
      EXPECT_EQ(&local, vyc_local_now(&local));
      if (gmt.tm_sec == local.tm_sec) break;  // both in the same second
    }
    EXPECT_EQ(eastSeconds, ((secondsOfDay(local) - secondsOfDay(gmt)) % 86400 + 86400) % 86400) << name;
  }
}

TEST(PortableClocks, MillisecondFineAndCpuClocksAgree) {
  unsigned long long perSecond = 0, fineBefore = 0, millis = 0, fineAfter = 0;
  vyc_fineclock_tickspersec(&perSecond);
  vyc_fineclock(&fineBefore);
  vyc_millitm(&millis);
  vyc_fineclock(&fineAfter);
  EXPECT_EQ(1000000ULL, perSecond);
  EXPECT_TRUE(fineBefore / 1000 <= millis && millis <= fineAfter / 1000);
  EXPECT_NEAR(double(time(nullptr)), double(fineAfter / perSecond), 2.0);
  // User time grows by 20 ms within 10 s of busy work.
  unsigned long long start = 0, used = 0, wall = fineAfter;
  EXPECT_EQ(0, vyc_cputimeused(&start));
  volatile unsigned long long sink = 0;
  for (used = start; used < start + 20000 && wall < fineAfter + 10000000ULL; vyc_fineclock(&wall)) {
    for (int i = 0; i < 100000; ++i) sink = sink + static_cast<unsigned long long>(i);
    EXPECT_EQ(0, vyc_cputimeused(&used));
  }
  EXPECT_GE(used, start + 20000);
}

TEST(PortableClocks, SleepLastsAtLeastTheTimeAskedAcrossASecond) {
  // 1100 ms needs a time-out of 1 s and 100000 us: a single microsecond field would be refused.
  unsigned long long before = 0, after = 0;
  vyc_fineclock(&before);
  EXPECT_EQ(0, vyc_sleepms(1100));
  vyc_fineclock(&after);
  EXPECT_GE(after - before, 1100000ULL);
  EXPECT_EQ(0u, vyc_sleep(0));
}

}  // namespace
