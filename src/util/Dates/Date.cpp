// Day numbers: the reverse calendar reckoning, the week rules, the names and the printed form.
#include "vyk/util/Date.h"

#include <cmath>
#include <ostream>

#include "src/util/Dates/DateFormat.h"
#include "vyk/util/Exception.h"
#include "vyk/util/MillisTime.h"
#include "vyk/util/Portable.h"

namespace vyk {

namespace detail {
void throwNotAnInt(char const* what) {
  throw RangeException(what);
}
}  // namespace detail

using detail::kFirstDay;
using detail::kFirstYear;
using detail::kLastDay;
using detail::marchFirst;

namespace {

using detail::MarchSplit;
using detail::splitAtMarch;

inline int monthOfMarchDays(int days) {
  int const m = detail::marchMonth(days);
  return m > 12 ? m - 12 : m;
}

inline int calendarYear(MarchSplit s) {
  return s.days >= 306 ? s.year + 1 : s.year;
}

inline int dayOfYearOfSplit(MarchSplit s) {
  if (s.days > 305) return s.days - 305;
  return s.days + (Year::isLeapYear(s.year) ? 61 : 60);
}

// 0 Sunday .. 6 Saturday; day 0 was a Friday. Every Date value is above -700005.
inline int weekdayFromSunday(int dayNumber) {
  return (dayNumber + 700005) % 7;
}

// Day number of 1 January of any year from 1 up, without the range test: the week rules look one
// year beyond the ends of the range.
inline int firstOfJanuary(int year) {
  return marchFirst(year - 1) + 306;
}

}  // namespace

Date::Date(double dayNumber) : day_(kFirstDay - 1) {
  double const whole = std::floor(dayNumber);
  if (whole >= kFirstDay && whole <= kLastDay) day_ = static_cast<int>(whole);  // false for NaN
}

Date Date::utcDate() {
  unsigned long long posixMillis = 0;
  vyc_millitm(&posixMillis);
  long long const millis = static_cast<long long>(posixMillis) + 315619200000LL;
  long long const msPerDay = 86400000LL;
  long long days = millis / msPerDay;
  if (millis % msPerDay < 0) --days;
  return fromWide(days);
}

Date Date::localDate() {
  return MillisTime::localTime().date();
}

Date::MonthDay Date::monthDay() const {
  int const days = splitAtMarch(day_).days;
  int const m = monthOfMarchDays(days);
  return {m, detail::marchDay(days)};
}

int Date::quarter() const {
  return (month() - 1) / 3 + 1;
}

int Date::month() const {
  return monthOfMarchDays(splitAtMarch(day_).days);
}

int Date::day() const {
  return monthDay().day;
}

int Date::dayOfWeek() const {
  return weekdayFromSunday(day_) + 1;
}

void Date::yearAtAndDaysSinceLastMarch(int& year, int& days) const {
  MarchSplit const s = splitAtMarch(day_);
  year = s.year;
  days = s.days;
}

Date::YearMonth Date::yearMonth() const {
  MarchSplit const s = splitAtMarch(day_);
  return {calendarYear(s), monthOfMarchDays(s.days)};
}

int Date::year() const {
  return calendarYear(splitAtMarch(day_));
}

Date::YearDayOfYear Date::yearDayOfYear() const {
  MarchSplit const s = splitAtMarch(day_);
  return {calendarYear(s), dayOfYearOfSplit(s)};
}

Date::YearQuarter Date::yearQuarter() const {
  MarchSplit const s = splitAtMarch(day_);
  return {calendarYear(s), (monthOfMarchDays(s.days) - 1) / 3 + 1};
}

int Date::dayOfYear() const {
  return dayOfYearOfSplit(splitAtMarch(day_));
}

int Date::daysSinceLastMarch() const {
  return splitAtMarch(day_).days;
}

// 1 January 1582 is a Friday: the week that holds it starts below MIN, so that year counts from its
// first Sunday (3 January) or Monday (4 January). The marker, in 1581, is week 0 too.
Date::YearWeekDay Date::yearWeekUDay() const {
  int const y = year();
  int const k = weekdayFromSunday(day_);
  int week;
  if (y <= kFirstYear) {
    week = day_ < kFirstDay + 2 ? 0 : (day_ - (kFirstDay + 2)) / 7 + 1;
  } else {
    int const j = firstOfJanuary(y);
    int const kj = weekdayFromSunday(j);
    week = (day_ - (j - kj)) / 7 + (kj == 0 ? 1 : 0);
  }
  return {y, week, k + 1};
}

Date::YearWeekDay Date::yearWeekWDay() const {
  int const y = year();
  int const fromMonday = (weekdayFromSunday(day_) + 6) % 7;
  int week;
  if (y <= kFirstYear) {
    week = day_ < kFirstDay + 3 ? 0 : (day_ - (kFirstDay + 3)) / 7 + 1;
  } else {
    int const j = firstOfJanuary(y);
    int const kj = weekdayFromSunday(j);
    week = (day_ - (j - (kj + 6) % 7)) / 7 + (kj == 1 ? 1 : 0);
  }
  return {y, week, fromMonday + 1};
}

Date::YearWeekDay Date::yearWeekVDay() const {
  YearDayOfYear const yd = yearDayOfYear();
  int const weekday = (weekdayFromSunday(day_) + 6) % 7 + 1;
  int y = yd.year + (yd.dayOfYear > 358 ? 1 : 0);
  for (;;) {
    int const j = firstOfJanuary(y);
    // The Monday of week 1: the first Thursday on or after 1 January, less three days.
    int const monday = j + (11 - weekdayFromSunday(j)) % 7 - 3;
    if (monday <= day_) return {y, (day_ - monday) / 7 + 1, weekday};
    --y;
    if (y <= kFirstYear - 1) return {kFirstYear - 1, 53, weekday};
  }
}

int Year::expand2DigitYear(int year, int yearCutoff) {
  if (year < 0 || year > 99) return year;
  long long result = static_cast<long long>(yearCutoff / 100) * 100 + year;
  if (year < yearCutoff % 100) result += 100;
  if (result > 2147483647LL) detail::throwNotAnInt("Year::expand2DigitYear");
  return static_cast<int>(result);
}

namespace {
char const* const kMonthLong[13] = {"",     "January", "February",  "March",   "April",    "May",     "June",
                                    "July", "August",  "September", "October", "November", "December"};
char const* const kMonthShort[13] = {"",    "Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
char const* const kMonthUpper[13] = {"",    "JAN", "FEB", "MAR", "APR", "MAY", "JUN",
                                     "JUL", "AUG", "SEP", "OCT", "NOV", "DEC"};
int const kMonthLongLength[13] = {0, 7, 8, 5, 5, 3, 4, 4, 6, 9, 7, 8, 8};
char const* const kDayLong[8] = {"",          "Sunday",   "Monday", "Tuesday",
                                 "Wednesday", "Thursday", "Friday", "Saturday"};
char const* const kDayShort[8] = {"", "Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
int const kDayLongLength[8] = {0, 6, 6, 7, 9, 8, 6, 8};
}  // namespace

char const* Month::longName(int month) {
  return kMonthLong[month];
}
int Month::longNameLength(int month) {
  return kMonthLongLength[month];
}
char const* Month::shortName(int month) {
  return kMonthShort[month];
}
char const* Month::upperShortName(int month) {
  return kMonthUpper[month];
}

char const* DayOfWeek::longName(int day) {
  return kDayLong[day];
}
int DayOfWeek::longNameLength(int day) {
  return kDayLongLength[day];
}
char const* DayOfWeek::shortName(int day) {
  return kDayShort[day];
}

namespace detail {
void writeDate(std::ostream& text, Date const& date) {
  if (!date.isValid()) {
    text << "(Invalid date)";
    return;
  }
  Date::YearMonthDay const ymd = date.yearMonthDay();
  text << static_cast<char>('0' + ymd.day / 10) << static_cast<char>('0' + ymd.day % 10)
       << Month::shortName(ymd.month) << ymd.year;
}
}  // namespace detail

std::ostream& operator<<(std::ostream& out, Date const& date) {
  return detail::writeFormatted(out, [&](std::ostream& text) { detail::writeDate(text, date); });
}

}  // namespace vyk
