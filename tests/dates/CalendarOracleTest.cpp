// The calendar against the C library's (gmtime_r, timegm, strftime), which knows no 4000-year rule.
#include <gtest/gtest.h>

#include <time.h>

#include <cstdio>
#include <random>
#include <string>

#include "vyk/util/Date.h"

namespace vyk {
namespace {

long long const kSecondsPerDay = 86400;
int const kPosixEpoch = 3653;  // 1 January 1970 on this library's count

// 29 February of the years divisible by 4000 exists in the C library's calendar only: every date
// after it is one day nearer on this library's count.
int droppedLeapDays(int year, int month) {
  int n = 0;
  for (int y = 4000; y <= 20000; y += 4000) n += (year > y || (year == y && month >= 3)) ? 1 : 0;
  return n;
}

long long posixDay(int year, int month, int day) {
  struct tm parts = {};
  parts.tm_year = year - 1900;
  parts.tm_mon = month - 1;
  parts.tm_mday = day;
  parts.tm_hour = 0;  // midnight: the seconds divide exactly
  return timegm(&parts) / kSecondsPerDay;
}

// Checks one day of the C library's calendar, given by its day since 1970, against the library in
// both directions. Answers false when that day has no counterpart here.
bool checkPosixDay(long long posix) {
  time_t const noon = static_cast<time_t>(posix * kSecondsPerDay + 43200);
  struct tm parts;
  if (gmtime_r(&noon, &parts) == nullptr) {
    ADD_FAILURE() << "gmtime_r refused day " << posix;
    return false;
  }
  int const year = parts.tm_year + 1900, month = parts.tm_mon + 1, day = parts.tm_mday;
  if (month == 2 && day == 29 && year % 4000 == 0) {
    EXPECT_FALSE(Date(year, month, day).isValid()) << year;
    return false;
  }
  int const dropped = droppedLeapDays(year, month);
  long long const expected = posix + kPosixEpoch - dropped;
  Date const forward(year, month, day);
  if (int(forward) != expected) {
    ADD_FAILURE() << year << "-" << month << "-" << day << ": " << int(forward) << " != " << expected;
    return true;
  }
  Date::YearMonthDay const ymd = Date(static_cast<int>(expected)).yearMonthDay();
  EXPECT_TRUE(ymd.year == year && ymd.month == month && ymd.day == day)
      << expected << " gave " << ymd.year << "-" << ymd.month << "-" << ymd.day;
  EXPECT_EQ(((parts.tm_wday - dropped) % 7 + 7) % 7 + 1, forward.dayOfWeek()) << expected;
  int const yearDays = parts.tm_yday + 1 - (year % 4000 == 0 && month >= 3 ? 1 : 0);
  EXPECT_EQ(yearDays, forward.dayOfYear()) << expected;
  EXPECT_EQ(int(forward), int(Date(year, yearDays))) << expected;
  return true;
}

TEST(CalendarOracle, EveryDayFrom1899To2101) {
  long long const first = posixDay(1899, 1, 1), last = posixDay(2101, 12, 31);
  EXPECT_EQ(-25567, posixDay(1900, 1, 1));  // the oracle itself, by hand
  int checked = 0;
  for (long long day = first; day <= last && !HasFailure(); ++day) checked += checkPosixDay(day) ? 1 : 0;
  EXPECT_EQ(74144, checked);  // 203 years, 49 of them leap years
}

TEST(CalendarOracle, RandomDaysAcrossTheWholeRange) {
  long long const first = posixDay(1582, 1, 1), last = posixDay(20000, 12, 31);
  EXPECT_EQ(-138061 - kPosixEpoch, first);
  EXPECT_EQ(6589335 + 5 - kPosixEpoch, last);  // five 4000-year leap days are not here
  std::mt19937_64 random(20240607);
  std::uniform_int_distribution<long long> pick(first, last);
  int checked = 0;
  for (int i = 0; i < 100000 && !HasFailure(); ++i) checked += checkPosixDay(pick(random)) ? 1 : 0;
  EXPECT_LT(99990, checked);
  // Both ends, and the days around each dropped leap day.
  long long const edges[] = {first, first + 1, last - 1, last};
  for (long long day : edges) EXPECT_TRUE(checkPosixDay(day));
  for (int y = 4000; y <= 20000; y += 4000) {
    long long const march = posixDay(y, 3, 1);
    for (long long day = march - 3; day <= march + 2; ++day) checkPosixDay(day);
  }
}

// strftime's %U, %W, %G, %V, %w and %u are the three week rules of the C library.
struct OracleWeeks {
  int year, sundayWeek, mondayWeek, isoYear, isoWeek, sundayWeekday, mondayWeekday;
};

OracleWeeks strftimeWeeks(long long posix) {
  time_t const noon = static_cast<time_t>(posix * kSecondsPerDay + 43200);
  struct tm parts;
  gmtime_r(&noon, &parts);
  char text[64];
  strftime(text, sizeof text, "%Y %U %W %G %V %w %u", &parts);
  OracleWeeks w = {};
  std::sscanf(text, "%d %d %d %d %d %d %d", &w.year, &w.sundayWeek, &w.mondayWeek, &w.isoYear, &w.isoWeek,
              &w.sundayWeekday, &w.mondayWeekday);
  return w;
}

TEST(CalendarOracle, WeekRulesAtEveryYearBoundary1960To2040) {
  for (int year = 1960; year <= 2040 && !HasFailure(); ++year) {
    long long const newYear = posixDay(year, 1, 1);
    for (long long posix = newYear - 10; posix <= newYear + 10; ++posix) {
      OracleWeeks const w = strftimeWeeks(posix);
      Date const d(static_cast<int>(posix + kPosixEpoch));
      SCOPED_TRACE(std::to_string(w.year) + " day " + std::to_string(posix));
      Date::YearWeekDay const u = d.yearWeekUDay(), m = d.yearWeekWDay(), v = d.yearWeekVDay();
      EXPECT_EQ(w.year, u.year);
      EXPECT_EQ(w.sundayWeek, u.week);
      EXPECT_EQ(w.sundayWeekday + 1, u.weekday);
      EXPECT_EQ(w.year, m.year);
      EXPECT_EQ(w.mondayWeek, m.week);
      EXPECT_EQ(w.mondayWeekday, m.weekday);
      EXPECT_EQ(w.isoYear, v.year);
      EXPECT_EQ(w.isoWeek, v.week);
      EXPECT_EQ(w.mondayWeekday, v.weekday);
    }
  }
}

TEST(CalendarOracle, KnownWeekNumbers) {
  struct Case {
    int year, month, day;
    int uYear, uWeek, uDay;  // weeks from Sunday
    int wYear, wWeek, wDay;  // weeks from Monday
    int vYear, vWeek, vDay;  // ISO 8601
  };
  Case const cases[] = {
      {2004, 12, 31, 2004, 52, 6, 2004, 52, 5, 2004, 53, 5},
      {2005, 1, 1, 2005, 0, 7, 2005, 0, 6, 2004, 53, 6},
      {2005, 1, 2, 2005, 1, 1, 2005, 0, 7, 2004, 53, 7},
      {2005, 1, 3, 2005, 1, 2, 2005, 1, 1, 2005, 1, 1},
      {2008, 12, 29, 2008, 52, 2, 2008, 52, 1, 2009, 1, 1},
      {2021, 1, 1, 2021, 0, 6, 2021, 0, 5, 2020, 53, 5},
      {1960, 1, 1, 1960, 0, 6, 1960, 0, 5, 1959, 53, 5},
      {2007, 1, 1, 2007, 0, 2, 2007, 1, 1, 2007, 1, 1},
      {2017, 1, 1, 2017, 1, 1, 2017, 0, 7, 2016, 52, 7},
      {1582, 1, 1, 1582, 0, 6, 1582, 0, 5, 1581, 53, 5},
      {1582, 1, 3, 1582, 1, 1, 1582, 0, 7, 1581, 53, 7},
      {1582, 1, 4, 1582, 1, 2, 1582, 1, 1, 1582, 1, 1},
      {1582, 12, 31, 1582, 52, 6, 1582, 52, 5, 1582, 52, 5},
      // The last days of the range: 31 December 20000 is a Tuesday, in week 1 of 20001.
      {20000, 12, 31, 20000, 52, 3, 20000, 52, 2, 20001, 1, 2},
      {20000, 12, 24, 20000, 51, 3, 20000, 51, 2, 20000, 52, 2},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(std::to_string(c.year) + "-" + std::to_string(c.month) + "-" + std::to_string(c.day));
    Date const d(c.year, c.month, c.day);
    Date::YearWeekDay const u = d.yearWeekUDay(), w = d.yearWeekWDay(), v = d.yearWeekVDay();
    EXPECT_EQ(c.uYear, u.year);
    EXPECT_EQ(c.uWeek, u.week);
    EXPECT_EQ(c.uDay, u.weekday);
    EXPECT_EQ(c.wYear, w.year);
    EXPECT_EQ(c.wWeek, w.week);
    EXPECT_EQ(c.wDay, w.weekday);
    EXPECT_EQ(c.vYear, v.year);
    EXPECT_EQ(c.vWeek, v.week);
    EXPECT_EQ(c.vDay, v.weekday);
  }
}

}  // namespace
}  // namespace vyk
