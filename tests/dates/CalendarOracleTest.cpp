// The calendar against the C library's (gmtime_r, timegm, strftime), which knows no 4000-year rule.
#include <gtest/gtest.h>

#include <time.h>

#include <array>
#include <cstdio>
#include <random>
#include <string>

#include "vyk/util/Date.h"

namespace vyk {
namespace {

long long const kSecondsPerDay = 86400;
int const kPosixEpoch = 3653;  // 1 January 1970 on this library's count

long long posixDay(int year, int month, int day) {
  struct tm parts = {};
  parts.tm_year = year - 1900;
  parts.tm_mon = month - 1;
  parts.tm_mday = day;
  return timegm(&parts) / kSecondsPerDay;
}

// Checks one day of the C library's calendar, given by its day since 1970, against the library in both
// directions, with the three week rules of strftime (%U and %w, %W and %u, %G %V and %u). 29 February of
// the years divisible by 4000 exists there only, and every later date is one day nearer on this library's
// count (so that weekdays and weeks differ). Answers false for such a 29 February.
bool checkPosixDay(long long posix) {
  time_t const noon = static_cast<time_t>(posix * kSecondsPerDay + 43200);
  struct tm parts = {};
  EXPECT_NE(nullptr, gmtime_r(&noon, &parts)) << posix;
  int const year = parts.tm_year + 1900, month = parts.tm_mon + 1, day = parts.tm_mday;
  std::string const text = std::to_string(year) + "-" + std::to_string(month) + "-" + std::to_string(day);
  if (month == 2 && day == 29 && year % 4000 == 0) {
    EXPECT_FALSE(Date(year, month, day).isValid()) << text;
    return false;
  }
  int dropped = 0;
  for (int y = 4000; y <= 20000; y += 4000) dropped += year > y || (year == y && month >= 3) ? 1 : 0;
  int const expected = static_cast<int>(posix + kPosixEpoch - dropped);
  int const yearDays = parts.tm_yday + 1 - (year % 4000 == 0 && month >= 3 ? 1 : 0);
  Date const forward(year, month, day);
  Date::YearMonthDay const ymd = Date(expected).yearMonthDay();
  EXPECT_EQ(expected, int(forward)) << text;
  EXPECT_EQ(expected, int(Date(year, yearDays))) << text;
  EXPECT_TRUE(ymd.year == year && ymd.month == month && ymd.day == day) << text << " from " << expected;
  EXPECT_EQ(((parts.tm_wday - dropped) % 7 + 7) % 7 + 1, forward.dayOfWeek()) << text;
  EXPECT_EQ(yearDays, forward.dayOfYear()) << text;
  if (dropped == 0) {
    char want[64], got[64];
    strftime(want, sizeof want, "%Y %U %w, %Y %W %u, %G %V %u", &parts);
    Date::YearWeekDay const u = forward.yearWeekUDay(), w = forward.yearWeekWDay(),
                            v = forward.yearWeekVDay();
    std::snprintf(got, sizeof got, "%d %02d %d, %d %02d %d, %d %02d %d", u.year, u.week, u.weekday - 1,
                  w.year, w.week, w.weekday, v.year, v.week, v.weekday);
    EXPECT_STREQ(want, got) << text;
  }
  return true;
}

// Every year boundary from 1899 to 2101, with the week rules, and every day in between.
TEST(CalendarOracle, EveryDayFrom1899To2101) {
  EXPECT_EQ(-25567, posixDay(1900, 1, 1));  // the oracle itself, by hand
  int checked = 0;
  for (long long day = posixDay(1899, 1, 1); day <= posixDay(2101, 12, 31) && !HasFailure(); ++day)
    checked += checkPosixDay(day) ? 1 : 0;
  EXPECT_EQ(74144, checked);  // 203 years, 49 of them leap years
}

TEST(CalendarOracle, RandomDaysTheRangeEndsAndTheDroppedLeapDays) {
  long long const first = posixDay(1582, 1, 1), last = posixDay(20000, 12, 31);
  EXPECT_EQ(-138061 - kPosixEpoch, first);
  EXPECT_EQ(6589335 + 5 - kPosixEpoch, last);  // five 4000-year leap days are not here
  std::mt19937_64 random(20240607);
  std::uniform_int_distribution<long long> pick(first, last);
  int checked = 0;
  for (int i = 0; i < 100000 && !HasFailure(); ++i) checked += checkPosixDay(pick(random)) ? 1 : 0;
  EXPECT_LT(99990, checked);
  for (long long day = first; day < first + 10; ++day) EXPECT_TRUE(checkPosixDay(day));
  EXPECT_TRUE(checkPosixDay(last));
  for (int y = 4000; y <= 20000; y += 4000) {
    for (long long day = posixDay(y, 3, 1) - 3; day <= posixDay(y, 3, 1) + 2; ++day) checkPosixDay(day);
  }
}

// Year, week and weekday from Sunday (weekday 1 Sunday), from Monday and by ISO 8601 (weekday 1 Monday).
TEST(CalendarOracle, KnownWeekNumbers) {
  std::pair<Date, std::array<int, 9>> const cases[] = {
      {Date(2004, 12, 31), {2004, 52, 6, 2004, 52, 5, 2004, 53, 5}},
      {Date(2005, 1, 1), {2005, 0, 7, 2005, 0, 6, 2004, 53, 6}},
      {Date(2008, 12, 29), {2008, 52, 2, 2008, 52, 1, 2009, 1, 1}},
      {Date(1582, 1, 1), {1582, 0, 6, 1582, 0, 5, 1581, 53, 5}},  // its week starts before MIN
      {Date(1582, 1, 3), {1582, 1, 1, 1582, 0, 7, 1581, 53, 7}},
      {Date(20000, 12, 24), {20000, 51, 3, 20000, 51, 2, 20000, 52, 2}},
      {Date(20000, 12, 31), {20000, 52, 3, 20000, 52, 2, 20001, 1, 2}}};
  for (auto const& [d, weeks] : cases) {
    Date::YearWeekDay const u = d.yearWeekUDay(), w = d.yearWeekWDay(), v = d.yearWeekVDay();
    EXPECT_EQ(weeks, (std::array<int, 9>{u.year, u.week, u.weekday, w.year, w.week, w.weekday, v.year, v.week,
                                         v.weekday}))
        << int(d);
  }
}

}  // namespace
}  // namespace vyk
