// The portable layer: case-blind comparison, error texts, loading, clocks and sleeping.
#include "vyk/util/Portable.h"

#include <gtest/gtest.h>

#include <errno.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

#include <cstring>
#include <string>

namespace {

int sign(int v) {
  return (v > 0) - (v < 0);
}

TEST(PortableCompare, FoldsAsciiCaseAndKeepsOrder) {
  struct Case {
    char const* a;
    char const* b;
    size_t length;  // for vyc_strnicmp
    int whole;      // sign of vyc_stricmp
    int prefix;     // sign of vyc_strnicmp
  };
  Case const cases[] = {
      {"ABC", "abc", 3, 0, 0},       {"abc", "ABD", 3, -1, -1},   {"abd", "ABC", 2, 1, 0},
      {"abc", "ab", 2, 1, 0},        {"ab", "abc", 3, -1, -1},    {"", "", 0, 0, 0},
      {"", "a", 1, -1, -1},          {"Zebra", "apple", 0, 1, 0}, {"a[", "A{", 2, -1, -1},
      {"HELLO", "hello!", 5, -1, 0},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(std::string(c.a) + " / " + c.b);
    EXPECT_EQ(c.whole, sign(vyc_stricmp(c.a, c.b)));
    EXPECT_EQ(c.prefix, sign(vyc_strnicmp(c.a, c.b, c.length)));
  }
}

TEST(PortableErrorText, AnswersTheBufferHoldingTheText) {
  struct Case {
    int error;
    char const* text;
  };
  Case const cases[] = {
      {ENOENT, "No such file or directory"},
      {EACCES, "Permission denied"},
      {EINVAL, "Invalid argument"},
      {ENOSPC, "No space left on device"},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.error);
    char buffer[64];
    std::memset(buffer, 'x', sizeof buffer);
    EXPECT_EQ(buffer, vyc_strerror_r(c.error, buffer, sizeof buffer));
    EXPECT_STREQ(c.text, buffer);
    EXPECT_EQ(c.text, vyk::vyc_strerror(c.error));
  }
}

TEST(PortableErrorText, UnknownNumberStillGivesText) {
  char buffer[64];
  std::memset(buffer, 'x', sizeof buffer);
  EXPECT_EQ(buffer, vyc_strerror_r(123456, buffer, sizeof buffer));
  // The C library's own text is the oracle for numbers it does not know.
  EXPECT_STREQ(strerror(123456), buffer);
  EXPECT_NE(nullptr, std::strstr(buffer, "123456"));
}

TEST(PortableErrorText, ShortBufferIsCutAndTerminated) {
  struct Case {
    size_t size;
    char const* text;
  };
  Case const cases[] = {{8, "No such"}, {2, "N"}, {1, ""}};
  for (Case const& c : cases) {
    SCOPED_TRACE(c.size);
    char buffer[16];
    std::memset(buffer, 'x', sizeof buffer);
    EXPECT_EQ(buffer, vyc_strerror_r(ENOENT, buffer, c.size));
    EXPECT_STREQ(c.text, buffer);
    EXPECT_EQ('x', buffer[c.size]) << "wrote past the given size";
  }
  char untouched[4] = {'x', 'x', 'x', 'x'};
  EXPECT_EQ(untouched, vyc_strerror_r(ENOENT, untouched, 0));
  EXPECT_EQ('x', untouched[0]);
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
  ASSERT_NE(nullptr, why);
  EXPECT_NE(nullptr, std::strstr(why, "libnothing"));
}

// Sets TZ for the life of the object and puts the old value back.
class ZoneSetting {
 public:
  explicit ZoneSetting(char const* zone) {
    char const* old = getenv("TZ");
    had_ = old != nullptr;
    if (had_) old_ = old;
    setenv("TZ", zone, 1);
    tzset();
  }
  ~ZoneSetting() {
    if (had_)
      setenv("TZ", old_.c_str(), 1);
    else
      unsetenv("TZ");
    tzset();
  }

 private:
  bool had_;
  std::string old_;
};

long long secondsOfDay(vyc_tm const& t) {
  return t.tm_hour * 3600LL + t.tm_min * 60LL + t.tm_sec;
}

TEST(PortableClocks, BrokenDownTimesAgreeWithTheCLibrary) {
  time_t before = time(nullptr);
  vyc_tm gmt;
  EXPECT_EQ(&gmt, vyc_gmt_now(&gmt));
  time_t after = time(nullptr);
  struct tm first;
  gmtime_r(&before, &first);
  struct tm last;
  gmtime_r(&after, &last);
  EXPECT_TRUE(gmt.tm_year == first.tm_year || gmt.tm_year == last.tm_year) << gmt.tm_year;
  EXPECT_GE(gmt.tm_year, 124) << "year counts from 1900";
  EXPECT_TRUE(gmt.tm_mon == first.tm_mon || gmt.tm_mon == last.tm_mon) << "month counts from 0";
  EXPECT_TRUE(gmt.tm_mday == first.tm_mday || gmt.tm_mday == last.tm_mday);
  EXPECT_LE(0, gmt.tm_msec);
  EXPECT_GT(1000, gmt.tm_msec);
  EXPECT_LE(0, gmt.tm_usec);
  EXPECT_GT(1000, gmt.tm_usec);
}

TEST(PortableClocks, LocalTimeFollowsAChangedZone) {
  // Fixed zones without daylight saving: POSIX writes the offset west of Greenwich.
  struct Case {
    char const* zone;
    long long eastSeconds;
  };
  Case const cases[] = {{"UTC0", 0}, {"XYZ-3", 3 * 3600}, {"ABC+5:30", -(5 * 3600 + 1800)}};
  for (Case const& c : cases) {
    SCOPED_TRACE(c.zone);
    ZoneSetting zone(c.zone);
    vyc_tm gmt;
    vyc_tm local;
    for (int attempt = 0; attempt < 3; ++attempt) {
      vyc_gmt_now(&gmt);
      EXPECT_EQ(&local, vyc_local_now(&local));
      if (gmt.tm_sec == local.tm_sec) break;  // both in the same second
    }
    long long const day = 86400;
    long long const shift = ((secondsOfDay(local) - secondsOfDay(gmt)) % day + day) % day;
    EXPECT_EQ((c.eastSeconds % day + day) % day, shift);
  }
}

TEST(PortableClocks, MillisecondAndFineClocksAgree) {
  unsigned long long perSecond = 0;
  vyc_fineclock_tickspersec(&perSecond);
  EXPECT_EQ(1000000ULL, perSecond);

  unsigned long long fineBefore = 0, millis = 0, fineAfter = 0;
  vyc_fineclock(&fineBefore);
  vyc_millitm(&millis);
  vyc_fineclock(&fineAfter);
  EXPECT_LE(fineBefore / 1000, millis);
  EXPECT_GE(fineAfter / 1000, millis);
  time_t now = time(nullptr);
  EXPECT_LE(static_cast<unsigned long long>(now - 2), fineAfter / perSecond);
  EXPECT_GE(static_cast<unsigned long long>(now + 2), fineAfter / perSecond);
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

TEST(PortableClocks, CpuTimeGrowsWithWork) {
  unsigned long long start = 0;
  EXPECT_EQ(0, vyc_cputimeused(&start));
  unsigned long long wallStart = 0;
  vyc_fineclock(&wallStart);
  unsigned long long now = start;
  volatile unsigned long long sink = 0;
  unsigned long long wall = wallStart;
  while (now < start + 20000 && wall < wallStart + 10000000ULL) {
    for (int i = 0; i < 100000; ++i) sink = sink + static_cast<unsigned long long>(i);
    EXPECT_EQ(0, vyc_cputimeused(&now));
    vyc_fineclock(&wall);
  }
  EXPECT_GE(now, start + 20000) << "20 ms of user time within 10 s of busy work";
}

}  // namespace
