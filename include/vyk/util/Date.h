// Day numbers from 1 January 1960 on the Gregorian calendar, their differences and calendar names.
#ifndef VYK_UTIL_DATE_H
#define VYK_UTIL_DATE_H

#include <cstdint>
#include <iosfwd>

#include "vyk/util/Export.h"

namespace vyk {

constexpr int SECONDS_PER_DAY = 86400;

namespace detail {
// Greatest day of each month (29 for February), index 1..12.
constexpr int kGreatestDay[13] = {0, 31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
// Days from the last 1 March to the first of each month, less one, index 1..12: adding the day of
// the month gives the days since that 1 March (1 March gives 0, 1 January gives 306).
constexpr int kOffsetFromMarch[13] = {0, 305, 336, -1, 30, 60, 91, 121, 152, 183, 213, 244, 274};
// The range of dates: 1 January 1582 to 31 December 20000.
constexpr int kFirstYear = 1582;
constexpr int kLastYear = 20000;
constexpr int kFirstDay = -138061;
constexpr int kLastDay = 6589335;
// 1 March of year 0 is day -715815.
constexpr int kMarchZero = 715815;

// Day number of the 1 March that ends year y - 1 on the March-based count, for y >= 0.
constexpr int marchFirst(int y) {
  return 365 * y + y / 4 - y / 100 + y / 400 - y / 4000 - kMarchZero;
}

// The year whose 1 March passed most recently, and the days since that 1 March (0..365).
struct MarchSplit {
  int year;
  int days;
};

// The reverse reckoning, without loops or branches. Every Date value, INVALID included, lies after
// 1 March of year 0, so the count is positive and unsigned. A 4000-year block is ten 400-year blocks
// whose very last day (29 February of the year divisible by 4000) is missing; since it is the last,
// the rest of the count splits into centuries and years as on a calendar without that rule.
// Centuries and years are found on a count of quarter days; 2939745 / 2^32 stands for 4 / 1461, exact
// over a century, so the high half of the product is the year and the low half the day within it.
inline MarchSplit splitAtMarch(int dayNumber) {
  std::uint32_t n = static_cast<std::uint32_t>(dayNumber + kMarchZero);
  std::uint32_t const blocks4000 = n / 1460969u;
  n -= blocks4000 * 1460969u;
  std::uint32_t const quarters = 4 * n + 3;
  std::uint32_t const centuries = quarters / 146097u;
  std::uint32_t const inCentury = quarters % 146097u / 4;
  std::uint64_t const product = std::uint64_t{2939745} * (4 * inCentury + 3);
  std::uint32_t const yearInCentury = static_cast<std::uint32_t>(product >> 32);
  std::uint32_t const days = static_cast<std::uint32_t>(product) / 2939745u / 4;
  return {static_cast<int>(blocks4000 * 4000 + centuries * 100 + yearInCentury), static_cast<int>(days)};
}

// Month and day of the days since 1 March: 2141 / 65536 stands for 5 / 153, exact over 0..365. The
// month counts 3 (March) to 14 (February of the next year).
inline int marchMonth(int days) {
  return (2141 * days + 197913) >> 16;
}
inline int marchDay(int days) {
  return ((2141 * days + 197913) & 0xFFFF) / 2141 + 1;
}

// Throws RangeException naming `what`: for results that do not fit an int.
[[noreturn]] VYK_EXPORT void throwNotAnInt(char const* what);
}  // namespace detail

// Leap years of the calendar and two-digit years.
class VYK_EXPORT Year {
 public:
  // Divisible by 4, and not by 100 unless by 400, and never when divisible by 4000.
  static constexpr bool isLeapYear(int year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0) && year % 4000 != 0;
  }
  // A year outside 0..99 comes back unchanged. Otherwise the year within the hundred years that
  // start at yearCutoff: expand2DigitYear(19, 1920) is 2019, expand2DigitYear(20, 1920) is 1920.
  // Throws RangeException when that year does not fit an int.
  static int expand2DigitYear(int year, int yearCutoff);
};

// Month names, index 1 January to 12 December; index 0 gives "" or 0. Other indexes are not checked.
class VYK_EXPORT Month {
 public:
  static char const* longName(int month);        // "January"
  static int longNameLength(int month);          // 7
  static char const* shortName(int month);       // "Jan"
  static char const* upperShortName(int month);  // "JAN"
};

// Weekday names, index 1 Sunday to 7 Saturday; index 0 gives "" or 0. Other indexes are not checked.
class VYK_EXPORT DayOfWeek {
 public:
  static char const* longName(int day);   // "Sunday"
  static int longNameLength(int day);     // 6
  static char const* shortName(int day);  // "Sun"
};

// A signed number of days, without range or marker. Results that do not fit an int throw
// RangeException.
class VYK_EXPORT DateDuration {
 public:
  constexpr explicit DateDuration(int days) : days_(days) {}

  DateDuration operator+(DateDuration const& other) const {
    return narrow(static_cast<long long>(days_) + other.days_);
  }
  DateDuration operator-(DateDuration const& other) const {
    return narrow(static_cast<long long>(days_) - other.days_);
  }
  DateDuration operator-() const { return narrow(-static_cast<long long>(days_)); }
  DateDuration& operator+=(DateDuration const& other) { return *this = *this + other; }
  DateDuration& operator-=(DateDuration const& other) { return *this = *this - other; }

  bool operator==(DateDuration const& o) const { return days_ == o.days_; }
  bool operator!=(DateDuration const& o) const { return days_ != o.days_; }
  bool operator<(DateDuration const& o) const { return days_ < o.days_; }
  bool operator<=(DateDuration const& o) const { return days_ <= o.days_; }
  bool operator>(DateDuration const& o) const { return days_ > o.days_; }
  bool operator>=(DateDuration const& o) const { return days_ >= o.days_; }

  constexpr operator int() const { return days_; }

 private:
  static DateDuration narrow(long long days) {
    if (days < -2147483647LL - 1 || days > 2147483647LL) detail::throwNotAnInt("DateDuration");
    return DateDuration(static_cast<int>(days));
  }
  int days_;
};

// A day: the number of days since 1 January 1960 (day 0), on the Gregorian calendar without a break
// and with one extra rule, that years divisible by 4000 are common years. Valid days run from MIN,
// 1 January 1582, to MAX, 31 December 20000. Out-of-range results never throw: they give INVALID,
// the day below MIN, and callers test isValid(). The marker takes part in arithmetic like any day
// (INVALID + 1 is MIN), and the calendar accessors read it as 31 December 1581.
//
// A value type without locks; the constants are fixed at load.
class VYK_EXPORT Date {
 public:
  struct MonthDay {
    int month;
    int day;
  };
  struct YearMonth {
    int year;
    int month;
  };
  struct YearMonthDay {
    int year;
    int month;
    int day;
  };
  struct YearDayOfYear {
    int year;
    int dayOfYear;
  };
  struct YearQuarter {
    int year;
    int quarter;
  };
  struct YearWeekDay {
    int year;
    int week;
    int weekday;
  };

  static const Date MIN;          // 1 January 1582, -138061
  static const Date MAX;          // 31 December 20000, 6589335
  static const Date INVALID;      // MIN less one
  static const Date DPS_EPOCH;    // 1 January 1960, 0
  static const Date POSIX_EPOCH;  // 1 January 1970, 3653

  // The day number; a value outside MIN..MAX gives INVALID.
  constexpr explicit Date(int dayNumber) : day_(inRange(dayNumber) ? dayNumber : detail::kFirstDay - 1) {}
  // The floor of the argument (-0.5 is day -1); NaN or a value outside MIN..MAX gives INVALID.
  explicit Date(double dayNumber);
  // INVALID unless 1582 <= year <= 20000, month is 1..12 and day exists in that month and year.
  constexpr Date(int year, int month, int day) : day_(fromYearMonthDay(year, month, day)) {}
  // Day dayOfYear (1..366) of the year; INVALID outside the year or the range.
  constexpr Date(int year, int dayOfYear) : day_(fromYearDayOfYear(year, dayOfYear)) {}

  // Today by the system clock in UTC, and by the local wall clock.
  static Date utcDate();
  static Date localDate();

  bool isValid() const { return day_ != detail::kFirstDay - 1; }

  // Day arithmetic, then the range test of Date(int).
  Date operator+(DateDuration const& d) const {
    return Date::fromWide(static_cast<long long>(day_) + int(d));
  }
  Date operator-(DateDuration const& d) const {
    return Date::fromWide(static_cast<long long>(day_) - int(d));
  }
  Date& operator+=(DateDuration const& d) { return *this = *this + d; }
  Date& operator-=(DateDuration const& d) { return *this = *this - d; }
  // The plain difference of the day numbers.
  DateDuration operator-(Date const& other) const { return DateDuration(day_ - other.day_); }

  bool operator==(Date const& o) const { return day_ == o.day_; }
  bool operator!=(Date const& o) const { return day_ != o.day_; }
  bool operator<(Date const& o) const { return day_ < o.day_; }
  bool operator<=(Date const& o) const { return day_ <= o.day_; }
  bool operator>(Date const& o) const { return day_ > o.day_; }
  bool operator>=(Date const& o) const { return day_ >= o.day_; }

  constexpr operator int() const { return day_; }
  constexpr operator double() const { return day_; }

  // Calendar parts. None tests validity.
  MonthDay monthDay() const;
  int quarter() const;    // 1..4
  int month() const;      // 1..12
  int day() const;        // 1..31
  int dayOfWeek() const;  // 1 Sunday .. 7 Saturday
  // The year whose 1 March passed most recently, and the days since then (0..365).
  void yearAtAndDaysSinceLastMarch(int& year, int& days) const;
  YearMonthDay yearMonthDay() const {
    detail::MarchSplit const s = detail::splitAtMarch(day_);
    int const m = detail::marchMonth(s.days);
    int const nextYear = m > 12 ? 1 : 0;
    return {s.year + nextYear, m - 12 * nextYear, detail::marchDay(s.days)};
  }
  YearMonth yearMonth() const;
  int year() const;
  YearDayOfYear yearDayOfYear() const;
  YearQuarter yearQuarter() const;
  // Weeks from Sunday; days before the first Sunday of the year are week 0. Weekday 1 Sunday..7.
  YearWeekDay yearWeekUDay() const;
  // Weeks from Monday; days before the first Monday of the year are week 0. Weekday 1 Monday..7.
  YearWeekDay yearWeekWDay() const;
  // ISO 8601 weeks: week 1 holds the first Thursday; the days before it belong to the last week of
  // the year before (1 to 3 January 1582 are week 53 of 1581). The last days of 20000 that fall in
  // week 1 of 20001 say so. Weekday 1 Monday..7.
  YearWeekDay yearWeekVDay() const;
  int dayOfYear() const;           // 1..366
  int daysSinceLastMarch() const;  // 0..365

 private:
  static constexpr bool inRange(long long day) { return day >= detail::kFirstDay && day <= detail::kLastDay; }
  static Date fromWide(long long day) {
    return Date(inRange(day) ? static_cast<int>(day) : detail::kFirstDay - 1);
  }
  static constexpr int fromYearMonthDay(int year, int month, int day) {
    if (year < detail::kFirstYear || year > detail::kLastYear || month < 1 || month > 12 || day < 1 ||
        day > detail::kGreatestDay[month])
      return detail::kFirstDay - 1;
    if (month == 2 && day == 29 && !Year::isLeapYear(year)) return detail::kFirstDay - 1;
    int const y = month <= 2 ? year - 1 : year;
    return day + detail::kOffsetFromMarch[month] + detail::marchFirst(y);
  }
  static constexpr int fromYearDayOfYear(int year, int dayOfYear) {
    if (year < detail::kFirstYear || year > detail::kLastYear || dayOfYear < 1) return detail::kFirstDay - 1;
    bool const leap = Year::isLeapYear(year);
    int const lastOfFebruary = leap ? 60 : 59;
    if (dayOfYear <= lastOfFebruary) return dayOfYear + 305 + detail::marchFirst(year - 1);
    if (dayOfYear < 366 || (dayOfYear == 366 && leap))
      return dayOfYear - lastOfFebruary - 1 + detail::marchFirst(year);
    return detail::kFirstDay - 1;
  }

  int day_;
};

// "01Jan1960": the day in two digits, the short month name and the year; "(Invalid date)" for the
// marker. The stream's width pads the whole text; its other format settings are left as they were.
VYK_EXPORT std::ostream& operator<<(std::ostream& out, Date const& date);

}  // namespace vyk

#endif
