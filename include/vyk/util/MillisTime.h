// Whole milliseconds from midnight, 1 January 1960, in 64 bits: the point in time and the span.
#ifndef VYK_UTIL_MILLISTIME_H
#define VYK_UTIL_MILLISTIME_H

#include <iosfwd>

#include "vyk/util/Date.h"
#include "vyk/util/Datetime.h"
#include "vyk/util/Export.h"

namespace vyk {

namespace detail {
// Two's complement sums and differences: the unsigned arithmetic wraps, and the conversion back to a
// signed value is modular, so no overflow is undefined.
constexpr long long wrappingAdd(long long a, long long b) {
  return static_cast<long long>(static_cast<unsigned long long>(a) + static_cast<unsigned long long>(b));
}
constexpr long long wrappingSub(long long a, long long b) {
  return static_cast<long long>(static_cast<unsigned long long>(a) - static_cast<unsigned long long>(b));
}
}  // namespace detail

// A signed span of milliseconds. Arithmetic wraps around inside the 64 bits and never throws.
// The accessors work on the size of the span and give their result its sign.
class VYK_EXPORT MillisDuration {
 public:
  constexpr explicit MillisDuration(long long const& milliseconds) : value_(milliseconds) {}
  // The sum in 64 bits: MillisDuration(1, 2, 3, 4) is 3723004.
  constexpr MillisDuration(int hours, int minutes, int seconds, int milliseconds)
      : value_(hours * 3600000LL + minutes * 60000LL + seconds * 1000LL + milliseconds) {}

  static MillisDuration hours(int n) { return MillisDuration(n * 3600000LL); }
  static MillisDuration minutes(int n) { return MillisDuration(n * 60000LL); }
  static MillisDuration seconds(int n) { return MillisDuration(n * 1000LL); }

  MillisDuration operator+(MillisDuration const& o) const {
    return MillisDuration(detail::wrappingAdd(value_, o.value_));
  }
  MillisDuration operator-(MillisDuration const& o) const {
    return MillisDuration(detail::wrappingSub(value_, o.value_));
  }
  MillisDuration operator-() const { return MillisDuration(detail::wrappingSub(0, value_)); }
  MillisDuration& operator+=(MillisDuration const& o) { return *this = *this + o; }
  MillisDuration& operator-=(MillisDuration const& o) { return *this = *this - o; }

  bool operator==(MillisDuration const& o) const { return value_ == o.value_; }
  bool operator!=(MillisDuration const& o) const { return value_ != o.value_; }
  bool operator<(MillisDuration const& o) const { return value_ < o.value_; }
  bool operator<=(MillisDuration const& o) const { return value_ <= o.value_; }
  bool operator>(MillisDuration const& o) const { return value_ > o.value_; }
  bool operator>=(MillisDuration const& o) const { return value_ >= o.value_; }

  // Whole hours, not reduced modulo 24; RangeException when they do not fit an int.
  int hours() const;
  int minutes() const;             // whole minutes modulo 60
  int seconds() const;             // whole seconds modulo 60
  int ms() const;                  // milliseconds modulo 1000
  long long totalSeconds() const;  // whole seconds
  long long totalMs() const { return value_; }

 private:
  // The size of the span; correct for the most negative value too.
  unsigned long long size() const {
    unsigned long long const bits = static_cast<unsigned long long>(value_);
    return value_ < 0 ? 0 - bits : bits;
  }
  long long value_;
};

// A point in time: whole milliseconds since midnight, 1 January 1960. Every value is valid; the
// conversions to Date and Datetime apply their range tests, and validForDps tells whether a value
// lies in their range. Arithmetic wraps around inside the 64 bits and never throws.
class VYK_EXPORT MillisTime {
 public:
  static const MillisTime DPS_MIN;  // Date::MIN in milliseconds: -11928470400000
  static const MillisTime DPS_MAX;  // the first millisecond after Date::MAX: 569318630400000
  static const MillisTime MAX;      // 9223372036854775807

  constexpr MillisTime() : value_(0) {}
  constexpr explicit MillisTime(long long const& milliseconds) : value_(milliseconds) {}
  // date * 86400000 + timeOfDay, with no range test.
  MillisTime(Date const& date, MillisDuration const& timeOfDay);
  // 1000 * seconds, truncated towards zero (-0.0005 s is 0). A NaN, which has no count, gives MAX.
  explicit MillisTime(Datetime const& datetime);

  static MillisTime fromPosixMillis(long long const& posixMillis);
  long long toPosixMillis() const;
  // Now by the system clock in UTC, and by the local wall clock, to the millisecond.
  static MillisTime utcTime();
  static MillisTime localTime();

  MillisTime operator+(MillisDuration const& d) const {
    return MillisTime(detail::wrappingAdd(value_, d.totalMs()));
  }
  MillisTime operator-(MillisDuration const& d) const {
    return MillisTime(detail::wrappingSub(value_, d.totalMs()));
  }
  MillisTime& operator+=(MillisDuration const& d) { return *this = *this + d; }
  MillisTime& operator-=(MillisDuration const& d) { return *this = *this - d; }
  MillisDuration operator-(MillisTime const& o) const {
    return MillisDuration(detail::wrappingSub(value_, o.value_));
  }

  bool operator==(MillisTime const& o) const { return value_ == o.value_; }
  bool operator!=(MillisTime const& o) const { return value_ != o.value_; }
  bool operator<(MillisTime const& o) const { return value_ < o.value_; }
  bool operator<=(MillisTime const& o) const { return value_ <= o.value_; }
  bool operator>(MillisTime const& o) const { return value_ > o.value_; }
  bool operator>=(MillisTime const& o) const { return value_ >= o.value_; }

  // The day, rounding towards minus infinity (-1 ms is day -1); Date::INVALID outside the range.
  Date date() const;
  // value / 1000, then the range test of Datetime.
  Datetime datetime() const;
  // Milliseconds since the start of the day, 0..86399999, also for negative values.
  MillisDuration timeOfDay() const;
  operator long long() const { return value_; }

  // The local wall-clock reading of this instant read as UTC, by the zone of TZ. Instants that the
  // system cannot break down come back unchanged.
  MillisTime UtcToLocal() const;
  // 2 * value less UtcToLocal(): undoes UtcToLocal in a zone with a fixed offset. Near a change of
  // daylight saving time the offset taken can be that of the other side.
  MillisTime LocalToUtc() const;

 private:
  long long value_;
};

// MillisTime::DPS_MIN <= time < MillisTime::DPS_MAX.
VYK_EXPORT bool validForDps(MillisTime const& time);

// As the Datetime of datetime(): "01Jan1960 00:00:00.5"; "(Invalid datetime)" outside the range.
VYK_EXPORT std::ostream& operator<<(std::ostream& out, MillisTime const& time);
// "-" for a negative span, then hours, minutes and seconds each in at least two digits and the
// milliseconds in three, with ":" and ".": "01:02:03.004". Hours are not reduced modulo 24.
VYK_EXPORT std::ostream& operator<<(std::ostream& out, MillisDuration const& duration);

}  // namespace vyk

#endif
