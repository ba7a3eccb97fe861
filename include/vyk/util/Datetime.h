// Seconds from midnight, 1 January 1960, as doubles: the point in time and the span.
#ifndef VYK_UTIL_DATETIME_H
#define VYK_UTIL_DATETIME_H

#include <iosfwd>

#include "vyk/util/Date.h"
#include "vyk/util/Export.h"

namespace vyk {

namespace detail {
constexpr double kFirstSecond = -11928470400.0;  // the first second of Date::MIN
constexpr double kEndSecond = 569318630400.0;    // the first second after Date::MAX
constexpr double kInvalidSecond = kFirstSecond - 1.0;
}  // namespace detail

// A signed span of seconds, fractions allowed, without range or marker.
//
// Every accessor but totalSeconds() starts from the value truncated towards zero, t; every part of a
// negative span is zero or negative. They throw RangeException when t does not fit 64 bits (a NaN
// included) or, for hours(), when the hours do not fit an int.
class VYK_EXPORT TimeDuration {
 public:
  constexpr explicit TimeDuration(double const& seconds) : value_(seconds) {}
  // 3600 * hours + 60 * minutes + seconds.
  constexpr TimeDuration(double const& hours, double const& minutes, double const& seconds)
      : value_(3600.0 * hours + 60.0 * minutes + seconds) {}

  static TimeDuration days(double const& n) { return TimeDuration(n * 86400.0); }
  static TimeDuration hours(double const& n) { return TimeDuration(n * 3600.0); }
  static TimeDuration minutes(double const& n) { return TimeDuration(n * 60.0); }
  static TimeDuration seconds(double const& n) { return TimeDuration(n); }
  static TimeDuration ms(double const& n) { return TimeDuration(n * 0.001); }
  static TimeDuration us(double const& n) { return TimeDuration(n * 1e-6); }
  static TimeDuration ns(double const& n) { return TimeDuration(n * 1e-9); }

  TimeDuration operator+(TimeDuration const& o) const { return TimeDuration(value_ + o.value_); }
  TimeDuration operator-(TimeDuration const& o) const { return TimeDuration(value_ - o.value_); }
  TimeDuration operator-() const { return TimeDuration(-value_); }
  TimeDuration& operator+=(TimeDuration const& o) { return *this = *this + o; }
  TimeDuration& operator-=(TimeDuration const& o) { return *this = *this - o; }

  bool operator==(TimeDuration const& o) const { return value_ == o.value_; }
  bool operator!=(TimeDuration const& o) const { return value_ != o.value_; }
  bool operator<(TimeDuration const& o) const { return value_ < o.value_; }
  bool operator<=(TimeDuration const& o) const { return value_ <= o.value_; }
  bool operator>(TimeDuration const& o) const { return value_ > o.value_; }
  bool operator>=(TimeDuration const& o) const { return value_ >= o.value_; }

  int hours() const;                  // t / 3600, not reduced modulo 24
  long long hours64() const;          // t / 3600
  int minutes() const;                // (t / 60) % 60
  int intSeconds() const;             // t % 60
  long long totalIntSeconds() const;  // t
  double fracSeconds() const;         // value - t
  double seconds() const;             // (value - t) + t % 60
  double totalSeconds() const { return value_; }

 private:
  long long truncated() const;
  double value_;
};

// A point in time: seconds since midnight, 1 January 1960. Valid values run from MIN, the first
// second of Date::MIN, up to but not including 569318630400.0, the first second after Date::MAX.
// Every constructor and operation ends with that range test: a value below MIN or not below the end
// gives INVALID, one second below MIN. A NaN passes the test (neither comparison holds): it is kept,
// isValid() is true, and its date() is Date::INVALID.
class VYK_EXPORT Datetime {
 public:
  static const Datetime MIN;          // -11928470400.0
  static const Datetime MAX;          // the greatest valid value, just below 569318630400.0
  static const Datetime INVALID;      // MIN less one second
  static const Datetime DPS_EPOCH;    // 0.0
  static const Datetime POSIX_EPOCH;  // 315619200.0

  explicit Datetime(double const& seconds) : value_(checked(seconds)) {}
  // date * 86400 + timeOfDay, then the range test; an invalid date gives INVALID whatever the time.
  Datetime(Date const& date, TimeDuration const& timeOfDay);

  // Now by the system clock in UTC, and by the local wall clock, to the microsecond.
  static Datetime utcTime();
  static Datetime localTime();

  bool isValid() const { return value_ != detail::kInvalidSecond; }

  Datetime operator+(TimeDuration const& d) const { return Datetime(value_ + d.totalSeconds()); }
  Datetime operator-(TimeDuration const& d) const { return Datetime(value_ - d.totalSeconds()); }
  Datetime& operator+=(TimeDuration const& d) { return *this = *this + d; }
  Datetime& operator-=(TimeDuration const& d) { return *this = *this - d; }
  TimeDuration operator-(Datetime const& other) const { return TimeDuration(value_ - other.value_); }

  bool operator==(Datetime const& o) const { return value_ == o.value_; }
  bool operator!=(Datetime const& o) const { return value_ != o.value_; }
  bool operator<(Datetime const& o) const { return value_ < o.value_; }
  bool operator<=(Datetime const& o) const { return value_ <= o.value_; }
  bool operator>(Datetime const& o) const { return value_ > o.value_; }
  bool operator>=(Datetime const& o) const { return value_ >= o.value_; }

  // The floor of value / 86400, then the range test of Date(int).
  Date date() const { return Date(value_ / 86400.0); }
  // The value less date() * 86400; a negative result becomes 0.
  TimeDuration timeOfDay() const;
  constexpr operator double() const { return value_; }
  // The value as milliseconds since 1 January 1970 (the whole seconds are moved to that epoch
  // before the fraction is added back).
  double fromPosixMillis() const;

 private:
  struct Unchecked {};
  constexpr Datetime(Unchecked, double seconds) : value_(seconds) {}
  static constexpr double checked(double v) {
    return v < detail::kFirstSecond || v >= detail::kEndSecond ? detail::kInvalidSecond : v;
  }

  double value_;
};

// "-" for a negative span, then of its size: hours in at least two digits (not reduced modulo 24),
// ":", minutes in two digits, ":", a "0" when the seconds are below 10, and the seconds with their
// fraction in the stream's floating-point format: "-01:01:01.5". A span whose size is not finite or
// has no 64-bit whole seconds prints as the plain double.
VYK_EXPORT std::ostream& operator<<(std::ostream& out, TimeDuration const& duration);
// date(), a blank and timeOfDay(): "01Jan1960 00:00:00"; "(Invalid datetime)" for INVALID and for a
// value without a date (a NaN). The stream's width pads the whole text; its other settings stay.
VYK_EXPORT std::ostream& operator<<(std::ostream& out, Datetime const& datetime);

}  // namespace vyk

#endif
