// Seconds as doubles: spans split into parts, points in time from the clocks, and the printed forms.
#include "vyk/util/Datetime.h"

#include <cmath>
#include <ostream>

#include "src/util/Dates/DateFormat.h"
#include "vyk/util/Exception.h"
#include "vyk/util/Portable.h"

namespace vyk {

long long TimeDuration::truncated() const {
  // -2^63 and 2^63 are exact doubles; the test is false for a NaN.
  if (!(value_ >= -9223372036854775808.0 && value_ < 9223372036854775808.0))
    throw RangeException("TimeDuration seconds beyond 64 bits");
  return static_cast<long long>(value_);
}

int TimeDuration::hours() const {
  long long const h = hours64();
  if (h < -2147483647LL - 1 || h > 2147483647LL) detail::throwNotAnInt("TimeDuration::hours");
  return static_cast<int>(h);
}

long long TimeDuration::hours64() const {
  return truncated() / 3600;
}

int TimeDuration::minutes() const {
  return static_cast<int>(truncated() / 60 % 60);
}

int TimeDuration::intSeconds() const {
  return static_cast<int>(truncated() % 60);
}

long long TimeDuration::totalIntSeconds() const {
  return truncated();
}

double TimeDuration::fracSeconds() const {
  return value_ - static_cast<double>(truncated());
}

double TimeDuration::seconds() const {
  long long const t = truncated();
  return (value_ - static_cast<double>(t)) + static_cast<double>(t % 60);
}

Datetime::Datetime(Date const& date, TimeDuration const& timeOfDay)
    : value_(date.isValid() ? checked(static_cast<int>(date) * 86400.0 + timeOfDay.totalSeconds())
                            : detail::kInvalidSecond) {}

Datetime Datetime::utcTime() {
  unsigned long long posixMillis = 0;
  vyc_millitm(&posixMillis);
  return Datetime(static_cast<double>(posixMillis) / 1000.0 + 315619200.0);
}

Datetime Datetime::localTime() {
  vyc_tm now;
  vyc_local_now(&now);
  Date const day(now.tm_year + 1900, now.tm_mon + 1, now.tm_mday);
  double const seconds =
      now.tm_hour * 3600.0 + now.tm_min * 60.0 + now.tm_sec + now.tm_msec / 1000.0 + now.tm_usec / 1000000.0;
  return Datetime(day, TimeDuration(seconds));
}

TimeDuration Datetime::timeOfDay() const {
  double const rest = value_ - static_cast<int>(date()) * 86400.0;
  return TimeDuration(rest < 0.0 ? 0.0 : rest);
}

double Datetime::fromPosixMillis() const {
  double whole = 0.0;
  double const fraction = std::modf(value_, &whole);
  double seconds = whole - 315619200.0;
  if (fraction != 0.0) seconds += fraction;
  return seconds * 1000.0;
}

namespace detail {
void writeTimeDuration(std::ostream& text, TimeDuration const& duration) {
  double const value = duration.totalSeconds();
  double const size = std::fabs(value);
  if (!(size < 9223372036854775808.0)) {  // infinite, NaN, or beyond 64-bit seconds
    text << value;
    return;
  }
  TimeDuration const positive(size);
  if (value < 0.0) text << '-';
  long long const hours = positive.hours64();
  int const minutes = positive.minutes();
  double const seconds = positive.seconds();
  if (hours < 10) text << '0';
  text << hours << ':' << static_cast<char>('0' + minutes / 10) << static_cast<char>('0' + minutes % 10)
       << ':';
  if (seconds < 10.0) text << '0';
  text << seconds;
}
}  // namespace detail

std::ostream& operator<<(std::ostream& out, TimeDuration const& duration) {
  return detail::writeFormatted(out, [&](std::ostream& text) { detail::writeTimeDuration(text, duration); });
}

std::ostream& operator<<(std::ostream& out, Datetime const& datetime) {
  return detail::writeFormatted(out, [&](std::ostream& text) {
    Date const day = datetime.date();
    if (!datetime.isValid() || !day.isValid()) {
      text << "(Invalid datetime)";
      return;
    }
    detail::writeDate(text, day);
    text << ' ';
    detail::writeTimeDuration(text, datetime.timeOfDay());
  });
}

}  // namespace vyk
