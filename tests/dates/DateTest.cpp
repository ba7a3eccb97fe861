// Day numbers: construction from parts, the range and its marker, arithmetic, calendar parts, names.
#include "vyk/util/Date.h"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <limits>
#include <string>
#include <tuple>

#include "vyk/util/Exception.h"

namespace vyk {
namespace {

int const kInvalid = -138062;

// Year, month, day, weekday (1 Sunday), day of the year, quarter, and the March-based year with the days
// since its 1 March: from the accessors of one part each, or from those that answer several parts.
std::array<int, 8> partsOf(Date const& d, bool composite) {
  int marchYear = 0, sinceMarch = 0;
  d.yearAtAndDaysSinceLastMarch(marchYear, sinceMarch);
  if (!composite)
    return {d.year(), d.month(), d.day(), d.dayOfWeek(), d.dayOfYear(), d.quarter(), marchYear, sinceMarch};
  return {d.yearMonth().year,          d.yearMonth().month,     d.monthDay().day, d.dayOfWeek(),
          d.yearDayOfYear().dayOfYear, d.yearQuarter().quarter, marchYear,        d.daysSinceLastMarch()};
}

// Worked by hand from 1 January 1960 (day 0, a Friday), 365 days a year plus the leap days in between;
// 29 February 4000 does not exist. The last row is the marker, which reads as 31 December 1581.
TEST(DateCalendar, HandCheckedDaysAndTheirParts) {
  std::tuple<int, std::array<int, 8>> const cases[] = {
      {-138061, {1582, 1, 1, 6, 1, 1, 1581, 306}},       {-131428, {1600, 2, 29, 3, 60, 1, 1599, 365}},
      {-21855, {1900, 3, 1, 5, 60, 1, 1900, 0}},         {0, {1960, 1, 1, 6, 1, 1, 1959, 306}},
      {14975, {2000, 12, 31, 1, 366, 4, 2000, 305}},     {51194, {2100, 3, 1, 2, 60, 1, 2100, 0}},
      {745153, {4000, 2, 28, 2, 59, 1, 3999, 364}},      {745154, {4000, 3, 1, 3, 60, 1, 4000, 0}},
      {6589335, {20000, 12, 31, 3, 365, 4, 20000, 305}}, {kInvalid, {1581, 12, 31, 5, 365, 4, 1581, 305}}};
  for (auto const& [number, parts] : cases) {
    Date const d = number == kInvalid ? Date::INVALID : Date(number);
    EXPECT_EQ(parts, partsOf(d, false)) << number;
    EXPECT_EQ(parts, partsOf(d, true)) << number;
    EXPECT_TRUE(d.monthDay().month == parts[1] && d.yearQuarter().year == parts[0] &&
                d.yearDayOfYear().year == parts[0]);
    EXPECT_EQ(number, int(Date(parts[0], parts[1], parts[2])));  // 31 December 1581 gives the marker too
  }
}

TEST(DateCalendar, ValuesOutsideTheCalendarGiveTheMarker) {
  std::tuple<int, int, int> const parts[] = {
      {20001, 1, 1}, {2001, 2, 29}, {2000, 13, 1},   {2000, 4, 31},      {1900, 2, 29},     {4000, 2, 29},
      {2000, 1, 0},  {-2000, 1, 1}, {INT_MIN, 1, 1}, {2000, INT_MIN, 1}, {2000, 2, INT_MAX}};
  for (auto const& [year, month, day] : parts)
    EXPECT_EQ(kInvalid, int(Date(year, month, day))) << year << " " << month << " " << day;
  // Year and day of the year: day 366 in leap years only, and 4000 is none.
  std::tuple<int, int> const yearDays[] = {{2001, 366}, {2000, 367}, {2000, 0}, {4000, 366}};
  for (auto const& [year, dayOfYear] : yearDays)
    EXPECT_EQ(kInvalid, int(Date(year, dayOfYear))) << year << " " << dayOfYear;
  for (int n : {-138062, 6589336, INT_MAX}) EXPECT_EQ(kInvalid, int(Date(n))) << n;
  // Doubles are floored, not truncated, and range-tested before they are narrowed.
  double const inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
  for (double v : {-138061.5, 6589336.0, -3e9, inf, -inf, nan, 4294967296.0 + 5})
    EXPECT_EQ(kInvalid, int(Date(v))) << v;
  std::tuple<double, int> const floors[] = {
      {0.5, 0}, {-0.5, -1}, {-138060.5, -138061}, {6589335.99, 6589335}};
  for (auto const& [in, out] : floors) EXPECT_EQ(out, int(Date(in))) << in;
}

TEST(DateArithmetic, RangeTestFollowsEveryStepAndDurationsThrowBeyondAnInt) {
  // from + days, or the marker
  std::tuple<int, int, int> const cases[] = {{kInvalid, 1, -138061},
                                             {6589335, 1, kInvalid},
                                             {6589335, INT_MAX, kInvalid},
                                             {-138061, INT_MIN + 1, kInvalid}};
  for (auto const& [from, days, sum] : cases) {
    Date const start = from == kInvalid ? Date::INVALID : Date(from);
    EXPECT_EQ(sum, int(start + DateDuration(days))) << from << " + " << days;
    EXPECT_EQ(sum, int(start - DateDuration(-days))) << from << " - " << -days;
  }
  EXPECT_EQ(6589335 - kInvalid, int(Date::MAX - Date::INVALID));
  DateDuration const top(INT_MAX), bottom(INT_MIN);
  EXPECT_THROW(top + DateDuration(1), RangeException);
  EXPECT_THROW(-bottom, RangeException);
  DateDuration d(5);
  EXPECT_THROW(d += top, RangeException);
  EXPECT_EQ(5, int(d)) << "a failed step leaves the value alone";
}

TEST(DateNames, LeapYearsTwoDigitYearsAndNames) {
  for (int year : {1600, 2000, 4400, -4}) EXPECT_TRUE(Year::isLeapYear(year)) << year;
  for (int year : {1900, 4000, 8000, 0}) EXPECT_FALSE(Year::isLeapYear(year)) << year;
  std::tuple<int, int, int> const cases[] = {
      {19, 1920, 2019}, {20, 1920, 1920}, {100, 1920, 100}, {-1, 1920, -1}, {99, 2147483500, 2147483599}};
  for (auto const& [year, cutoff, result] : cases)
    EXPECT_EQ(result, Year::expand2DigitYear(year, cutoff)) << year << " " << cutoff;
  EXPECT_THROW(Year::expand2DigitYear(99, INT_MAX), RangeException);
  EXPECT_THROW(Year::expand2DigitYear(48, 2147483599), RangeException);
  std::string months, days;
  for (int i = 0; i <= 12; ++i)
    months += std::string(Month::longName(i)) + std::to_string(Month::longNameLength(i)) +
              Month::shortName(i) + Month::upperShortName(i) + " ";
  for (int i = 0; i <= 7; ++i)
    days += std::string(DayOfWeek::longName(i)) + std::to_string(DayOfWeek::longNameLength(i)) +
            DayOfWeek::shortName(i) + " ";
  EXPECT_EQ(
      "0 January7JanJAN February8FebFEB March5MarMAR April5AprAPR May3MayMAY June4JunJUN July4JulJUL "
      "August6AugAUG September9SepSEP October7OctOCT November8NovNOV December8DecDEC ",
      months);
  EXPECT_EQ("0 Sunday6Sun Monday6Mon Tuesday7Tue Wednesday9Wed Thursday8Thu Friday6Fri Saturday8Sat ", days);
}

}  // namespace
}  // namespace vyk
