// Whole milliseconds: conversions to days and seconds, the clocks, local time and the printed forms.
#include "vyk/util/MillisTime.h"

#include <time.h>

#include <ostream>

#include "src/util/Dates/DateFormat.h"
#include "vyk/util/Exception.h"
#include "vyk/util/Portable.h"

namespace vyk {

namespace {

constexpr long long kMsPerDay = 86400000LL;
constexpr long long kPosixOffsetMs = 315619200000LL;  // 3653 days

long long floorDiv(long long a, long long b) {
  return a / b - (a % b < 0 ? 1 : 0);
}
long long floorMod(long long a, long long b) {
  return a % b + (a % b < 0 ? b : 0);
}

// Days from 1 January 1970 to a date of the C library's calendar, the Gregorian one without the
// 4000-year rule, for any year that a struct tm can hold.
long long posixDaysFromCivil(long long year, long long month, long long day) {
  long long const y = month <= 2 ? year - 1 : year;
  long long const era = floorDiv(y, 400);
  long long const yearOfEra = y - era * 400;
  long long const dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  long long const dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + dayOfEra - 719468;
}

}  // namespace

MillisTime::MillisTime(Date const& date, MillisDuration const& timeOfDay)
    : value_(detail::wrappingAdd(static_cast<int>(date) * kMsPerDay, timeOfDay.totalMs())) {}

MillisTime::MillisTime(Datetime const& datetime) : value_(0) {
  double const ms = 1000.0 * static_cast<double>(datetime);
  if (ms >= -9223372036854775808.0 && ms < 9223372036854775808.0)
    value_ = static_cast<long long>(ms);  // the conversion truncates towards zero
  else
    value_ = ms < 0.0 ? -9223372036854775807LL - 1 : 9223372036854775807LL;  // NaN goes up
}

MillisTime MillisTime::fromPosixMillis(long long const& posixMillis) {
  return MillisTime(detail::wrappingAdd(posixMillis, kPosixOffsetMs));
}

long long MillisTime::toPosixMillis() const {
  return detail::wrappingSub(value_, kPosixOffsetMs);
}

MillisTime MillisTime::utcTime() {
  unsigned long long posixMillis = 0;
  vyc_millitm(&posixMillis);
  return fromPosixMillis(static_cast<long long>(posixMillis));
}

MillisTime MillisTime::localTime() {
  vyc_tm now;
  vyc_local_now(&now);
  long long const day = static_cast<int>(Date(now.tm_year + 1900, now.tm_mon + 1, now.tm_mday));
  return MillisTime((now.tm_hour * 3600LL + now.tm_min * 60LL + now.tm_sec + day * 86400LL) * 1000LL +
                    now.tm_msec);
}

Date MillisTime::date() const {
  // The range test comes before the narrowing, so that no 64-bit count wraps into the range.
  long long const day = floorDiv(value_, kMsPerDay);
  if (day < detail::kFirstDay || day > detail::kLastDay) return Date::INVALID;
  return Date(static_cast<int>(day));
}

Datetime MillisTime::datetime() const {
  return Datetime(static_cast<double>(value_) / 1000.0);
}

MillisDuration MillisTime::timeOfDay() const {
  return MillisDuration(floorMod(value_, kMsPerDay));
}

MillisTime MillisTime::UtcToLocal() const {
  long long const posixMillis = toPosixMillis();
  long long const seconds = posixMillis / 1000;  // truncated; the rest stays in the value
  time_t const instant = static_cast<time_t>(seconds);
  struct tm parts;
  tzset();
  if (localtime_r(&instant, &parts) == nullptr) return *this;
  // The wall-clock reading, counted on the same calendar as the system's, less the instant: the
  // zone's offset. Adding it to the value keeps the milliseconds and this library's own calendar.
  long long const localSeconds =
      posixDaysFromCivil(parts.tm_year + 1900LL, parts.tm_mon + 1LL, parts.tm_mday) * 86400LL +
      parts.tm_hour * 3600LL + parts.tm_min * 60LL + parts.tm_sec;
  return MillisTime(detail::wrappingAdd(value_, (localSeconds - seconds) * 1000LL));
}

MillisTime MillisTime::LocalToUtc() const {
  return MillisTime(detail::wrappingSub(detail::wrappingAdd(value_, value_), UtcToLocal().value_));
}

bool validForDps(MillisTime const& time) {
  return time >= MillisTime::DPS_MIN && time < MillisTime::DPS_MAX;
}

int MillisDuration::hours() const {
  unsigned long long const h = size() / 3600000ULL;
  if (value_ >= 0 ? h > 2147483647ULL : h > 2147483648ULL) detail::throwNotAnInt("MillisDuration::hours");
  return value_ >= 0 ? static_cast<int>(h) : static_cast<int>(0 - static_cast<long long>(h));
}

int MillisDuration::minutes() const {
  int const m = static_cast<int>(size() / 60000ULL % 60ULL);
  return value_ < 0 ? -m : m;
}

int MillisDuration::seconds() const {
  int const s = static_cast<int>(size() / 1000ULL % 60ULL);
  return value_ < 0 ? -s : s;
}

int MillisDuration::ms() const {
  int const m = static_cast<int>(size() % 1000ULL);
  return value_ < 0 ? -m : m;
}

long long MillisDuration::totalSeconds() const {
  long long const s = static_cast<long long>(size() / 1000ULL);  // at most 2^63 / 1000
  return value_ < 0 ? -s : s;
}

std::ostream& operator<<(std::ostream& out, MillisTime const& time) {
  return out << time.datetime();
}

std::ostream& operator<<(std::ostream& out, MillisDuration const& duration) {
  return detail::writeFormatted(out, [&](std::ostream& text) {
    unsigned long long const size = duration.totalMs() < 0
                                        ? 0 - static_cast<unsigned long long>(duration.totalMs())
                                        : static_cast<unsigned long long>(duration.totalMs());
    unsigned long long const hours = size / 3600000ULL;
    unsigned const minutes = static_cast<unsigned>(size / 60000ULL % 60ULL);
    unsigned const seconds = static_cast<unsigned>(size / 1000ULL % 60ULL);
    unsigned const ms = static_cast<unsigned>(size % 1000ULL);
    if (duration.totalMs() < 0) text << '-';
    if (hours < 10) text << '0';
    text << hours << ':' << static_cast<char>('0' + minutes / 10) << static_cast<char>('0' + minutes % 10)
         << ':' << static_cast<char>('0' + seconds / 10) << static_cast<char>('0' + seconds % 10) << '.'
         << static_cast<char>('0' + ms / 100) << static_cast<char>('0' + ms / 10 % 10)
         << static_cast<char>('0' + ms % 10);
  });
}

}  // namespace vyk
