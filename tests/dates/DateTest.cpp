// Day numbers: construction from parts, the range and its marker, arithmetic, calendar parts, names.
#include "vyk/util/Date.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <sstream>
#include <string>

#include "vyk/util/Exception.h"

namespace vyk {
namespace {

int const kInvalid = -138062;

// Day numbers, weekdays and days of the year worked by hand from 1 January 1960 (day 0, a Friday),
// 365 days a year plus the leap days in between; 29 February 4000 does not exist.
TEST(DateCalendar, HandCheckedDaysAcrossTheRange) {
  struct Case {
    int year, month, day;
    int number;
    int weekday;  // 1 Sunday
    int dayOfYear;
  };
  Case const cases[] = {
      {1582, 1, 1, -138061, 6, 1},   {1582, 10, 4, -137785, 2, 277},   {1582, 10, 15, -137774, 6, 288},
      {1600, 2, 29, -131428, 3, 60}, {1900, 2, 28, -21856, 4, 59},     {1900, 3, 1, -21855, 5, 60},
      {1960, 1, 1, 0, 6, 1},         {1970, 1, 1, 3653, 5, 1},         {2000, 2, 29, 14669, 3, 60},
      {2000, 12, 31, 14975, 1, 366}, {2100, 2, 28, 51193, 1, 59},      {2100, 3, 1, 51194, 2, 60},
      {4000, 2, 28, 745153, 2, 59},  {4000, 3, 1, 745154, 3, 60},      {4000, 12, 31, 745459, 7, 365},
      {4400, 2, 29, 891250, 2, 60},  {20000, 12, 31, 6589335, 3, 365},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(std::to_string(c.year) + "-" + std::to_string(c.month) + "-" + std::to_string(c.day));
    Date const d(c.year, c.month, c.day);
    EXPECT_EQ(c.number, int(d));
    Date const back(c.number);
    Date::YearMonthDay const ymd = back.yearMonthDay();
    EXPECT_EQ(c.year, ymd.year);
    EXPECT_EQ(c.month, ymd.month);
    EXPECT_EQ(c.day, ymd.day);
    EXPECT_EQ(c.weekday, back.dayOfWeek());
    EXPECT_EQ(c.dayOfYear, back.dayOfYear());
    EXPECT_EQ(c.number, int(Date(c.year, c.dayOfYear)));
  }
}

TEST(DateCalendar, ConstantsAreTheEndsOfTheRange) {
  EXPECT_EQ(-138061, int(Date::MIN));
  EXPECT_EQ(6589335, int(Date::MAX));
  EXPECT_EQ(kInvalid, int(Date::INVALID));
  EXPECT_EQ(0, int(Date::DPS_EPOCH));
  EXPECT_EQ(3653, int(Date::POSIX_EPOCH));
  EXPECT_TRUE(Date::MIN.isValid());
  EXPECT_TRUE(Date::MAX.isValid());
  EXPECT_FALSE(Date::INVALID.isValid());
}

TEST(DateCalendar, PartsOutsideTheCalendarGiveTheMarker) {
  struct Case {
    int year, month, day;
  };
  Case const cases[] = {
      {1581, 12, 31},  {20001, 1, 1},      {2001, 2, 29},      {2000, 13, 1}, {2000, 4, 31},
      {2000, 0, 1},    {1900, 2, 29},      {4000, 2, 29},      {8000, 2, 29}, {20000, 2, 29},
      {2000, 1, 0},    {2000, 1, 32},      {-2000, 1, 1},      {0, 3, 1},     {INT_MAX, 12, 31},
      {INT_MIN, 1, 1}, {2000, INT_MIN, 1}, {2000, 2, INT_MAX},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(std::to_string(c.year) + "-" + std::to_string(c.month) + "-" + std::to_string(c.day));
    EXPECT_EQ(kInvalid, int(Date(c.year, c.month, c.day)));
  }
}

TEST(DateCalendar, DayOfYearConstruction) {
  struct Case {
    int year, dayOfYear;
    int number;  // kInvalid when refused
  };
  Case const cases[] = {
      {2000, 60, 14669},     {2001, 60, 15035},     {2000, 366, 14975},     {2001, 366, kInvalid},
      {2000, 367, kInvalid}, {2000, 0, kInvalid},   {2000, -1, kInvalid},   {1582, 1, -138061},
      {1581, 365, kInvalid}, {20000, 365, 6589335}, {20000, 366, kInvalid}, {4000, 366, kInvalid},
      {4000, 60, 745154},    {1960, 61, 60},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(std::to_string(c.year) + " day " + std::to_string(c.dayOfYear));
    EXPECT_EQ(c.number, int(Date(c.year, c.dayOfYear)));
  }
}

TEST(DateCalendar, DayNumbersOutsideTheRangeGiveTheMarker) {
  struct IntCase {
    int in, out;
  };
  IntCase const ints[] = {{-138061, -138061},  {-138062, kInvalid}, {6589335, 6589335},
                          {6589336, kInvalid}, {INT_MIN, kInvalid}, {INT_MAX, kInvalid}};
  for (IntCase const& c : ints) EXPECT_EQ(c.out, int(Date(c.in))) << c.in;

  double const inf = std::numeric_limits<double>::infinity();
  struct DoubleCase {
    double in;
    int out;
  };
  DoubleCase const doubles[] = {
      {0.5, 0},
      {-0.5, -1},
      {-1.0, -1},
      {-138061.0, -138061},
      {-138060.5, -138061},
      {-138061.5, kInvalid},
      {6589335.99, 6589335},
      {6589336.0, kInvalid},
      {3e9, kInvalid},
      {-3e9, kInvalid},
      {inf, kInvalid},
      {-inf, kInvalid},
      {std::nan(""), kInvalid},
      {4294967296.0 + 5, kInvalid},
  };
  for (DoubleCase const& c : doubles) EXPECT_EQ(c.out, int(Date(c.in))) << c.in;
}

TEST(DateArithmetic, RangeTestFollowsEveryStepAndTheMarkerIsNotSticky) {
  struct Case {
    int from;
    int days;
    int sum;  // from + days, or kInvalid
  };
  Case const cases[] = {
      {kInvalid, 1, -138061},
      {6589335, 1, kInvalid},
      {-138061, -1, kInvalid},
      {6589335, INT_MAX, kInvalid},
      {-138061, INT_MIN, kInvalid},
      {kInvalid, INT_MIN, kInvalid},
      {0, 3653, 3653},
      {745153, 1, 745154},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(std::to_string(c.from) + " + " + std::to_string(c.days));
    Date const from = c.from == kInvalid ? Date::INVALID : Date(c.from);
    EXPECT_EQ(c.sum, int(from + DateDuration(c.days)));
    Date moved = from;
    moved += DateDuration(c.days);
    EXPECT_EQ(c.sum, int(moved));
    if (c.days != INT_MIN) {
      EXPECT_EQ(c.sum, int(from - DateDuration(-c.days)));
    }
  }
  EXPECT_EQ(Date(4000, 3, 1), Date(4000, 2, 28) + DateDuration(1));
  EXPECT_EQ(6589335 - kInvalid, int(Date::MAX - Date::INVALID));
  EXPECT_TRUE(Date::INVALID < Date::MIN);
  EXPECT_TRUE(Date::MAX >= Date::MIN);
  EXPECT_FALSE(Date::MAX != Date(20000, 12, 31));
}

TEST(DateArithmetic, DurationsThatLeaveTheIntRangeThrow) {
  DateDuration const top(INT_MAX);
  DateDuration const bottom(INT_MIN);
  EXPECT_THROW(top + DateDuration(1), RangeException);
  EXPECT_THROW(bottom - DateDuration(1), RangeException);
  EXPECT_THROW(-bottom, RangeException);
  EXPECT_THROW(DateDuration(-2) - top, RangeException);
  DateDuration d(5);
  EXPECT_THROW(d += top, RangeException);
  EXPECT_EQ(5, int(d)) << "a failed step leaves the value alone";
  EXPECT_EQ(INT_MIN, int(DateDuration(-1) - top));
  EXPECT_EQ(-INT_MAX, int(-top));
  EXPECT_TRUE(DateDuration(-1) < DateDuration(0));
}

TEST(DateCalendar, PartsOfTheMarchBasedYear) {
  struct Case {
    int number;
    int marchYear, sinceMarch;
    int month, day, quarter, year, dayOfYear;
  };
  Case const cases[] = {
      {14669, 1999, 365, 2, 29, 1, 2000, 60},       // 29 February 2000
      {14670, 2000, 0, 3, 1, 1, 2000, 61},          // 1 March 2000
      {15035, 2001, 0, 3, 1, 1, 2001, 60},          // 1 March 2001
      {14975, 2000, 305, 12, 31, 4, 2000, 366},     // 31 December 2000
      {-138061, 1581, 306, 1, 1, 1, 1582, 1},       // the first day
      {kInvalid, 1581, 305, 12, 31, 4, 1581, 365},  // the marker reads as 31 December 1581
      {745153, 3999, 364, 2, 28, 1, 4000, 59},      // no 29 February in 4000
      {745154, 4000, 0, 3, 1, 1, 4000, 60},        {14792, 2000, 122, 7, 1, 3, 2000, 183},  // 1 July 2000
      {14884, 2000, 214, 10, 1, 4, 2000, 275},                                              // 1 October 2000
      {14700, 2000, 30, 3, 31, 1, 2000, 91},                                                // 31 March 2000
      {14701, 2000, 31, 4, 1, 2, 2000, 92},                                                 // 1 April 2000
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.number);
    Date const d = c.number == kInvalid ? Date::INVALID : Date(c.number);
    int marchYear = 0, sinceMarch = 0;
    d.yearAtAndDaysSinceLastMarch(marchYear, sinceMarch);
    EXPECT_EQ(c.marchYear, marchYear);
    EXPECT_EQ(c.sinceMarch, sinceMarch);
    EXPECT_EQ(c.sinceMarch, d.daysSinceLastMarch());
    EXPECT_EQ(c.month, d.month());
    EXPECT_EQ(c.day, d.day());
    EXPECT_EQ(c.month, d.monthDay().month);
    EXPECT_EQ(c.day, d.monthDay().day);
    EXPECT_EQ(c.quarter, d.quarter());
    EXPECT_EQ(c.year, d.year());
    EXPECT_EQ(c.dayOfYear, d.dayOfYear());
    EXPECT_EQ(c.year, d.yearDayOfYear().year);
    EXPECT_EQ(c.dayOfYear, d.yearDayOfYear().dayOfYear);
    EXPECT_EQ(c.year, d.yearMonth().year);
    EXPECT_EQ(c.month, d.yearMonth().month);
    EXPECT_EQ(c.year, d.yearQuarter().year);
    EXPECT_EQ(c.quarter, d.yearQuarter().quarter);
  }
}

TEST(DateCalendar, LeapYearRuleIncludesTheFourThousandYearRule) {
  struct Case {
    int year;
    bool leap;
  };
  Case const cases[] = {{1582, false}, {1600, true},  {1900, false}, {2000, true},  {2004, true},
                        {2100, false}, {4000, false}, {4400, true},  {8000, false}, {20000, false},
                        {0, false},    {-4, true},    {-100, false}, {-400, true}};
  for (Case const& c : cases) EXPECT_EQ(c.leap, Year::isLeapYear(c.year)) << c.year;
}

TEST(DateNames, ExpandTwoDigitYears) {
  struct Case {
    int year, cutoff, result;
  };
  Case const cases[] = {{19, 1920, 2019}, {20, 1920, 1920}, {99, 1920, 1999}, {100, 1920, 100},
                        {-1, 1920, -1},   {0, 1920, 2000},  {0, 2000, 2000},  {99, 2000, 2099},
                        {50, 1950, 1950}, {49, 1950, 2049}, {5, 0, 5},        {99, 2147483500, 2147483599}};
  for (Case const& c : cases)
    EXPECT_EQ(c.result, Year::expand2DigitYear(c.year, c.cutoff)) << c.year << " " << c.cutoff;
  EXPECT_THROW(Year::expand2DigitYear(99, INT_MAX), RangeException);
  EXPECT_THROW(Year::expand2DigitYear(48, 2147483599), RangeException);
}

TEST(DateNames, MonthAndWeekdayTables) {
  struct MonthCase {
    int index;
    char const* longName;
    int length;
    char const* shortName;
    char const* upper;
  };
  MonthCase const months[] = {
      {0, "", 0, "", ""},          {1, "January", 7, "Jan", "JAN"},   {2, "February", 8, "Feb", "FEB"},
      {5, "May", 3, "May", "MAY"}, {9, "September", 9, "Sep", "SEP"}, {12, "December", 8, "Dec", "DEC"}};
  for (MonthCase const& c : months) {
    SCOPED_TRACE(c.index);
    EXPECT_STREQ(c.longName, Month::longName(c.index));
    EXPECT_EQ(c.length, Month::longNameLength(c.index));
    EXPECT_STREQ(c.shortName, Month::shortName(c.index));
    EXPECT_STREQ(c.upper, Month::upperShortName(c.index));
  }
  struct DayCase {
    int index;
    char const* longName;
    int length;
    char const* shortName;
  };
  DayCase const days[] = {{0, "", 0, ""},
                          {1, "Sunday", 6, "Sun"},
                          {4, "Wednesday", 9, "Wed"},
                          {5, "Thursday", 8, "Thu"},
                          {7, "Saturday", 8, "Sat"}};
  for (DayCase const& c : days) {
    SCOPED_TRACE(c.index);
    EXPECT_STREQ(c.longName, DayOfWeek::longName(c.index));
    EXPECT_EQ(c.length, DayOfWeek::longNameLength(c.index));
    EXPECT_STREQ(c.shortName, DayOfWeek::shortName(c.index));
  }
}

}  // namespace
}  // namespace vyk
