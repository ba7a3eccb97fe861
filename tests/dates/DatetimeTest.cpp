// Seconds as doubles: the range test and its marker, NaN, splitting into days and parts, printing.
#include "vyk/util/Datetime.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <iomanip>
#include <limits>
#include <locale>
#include <sstream>
#include <tuple>

#include "support/Printed.h"
#include "vyk/util/Exception.h"

namespace vyk {
namespace {

double const kNaN = std::numeric_limits<double>::quiet_NaN();
double const kInf = std::numeric_limits<double>::infinity();
double const kMarker = -11928470401.0;

using test_support::printed;

TEST(DatetimeRange, ConstructionAndArithmeticEndInTheRangeTest) {
  EXPECT_EQ(569318630400.0, std::nextafter(double(Datetime::MAX), kInf)) << "MAX is the last valid value";
  for (double valid : {569318630399.5, -11928470400.0, -0.0}) EXPECT_EQ(valid, double(Datetime(valid)));
  for (double invalid : {569318630400.0, -11928470400.5, kInf, -kInf})
    EXPECT_EQ(kMarker, double(Datetime(invalid))) << invalid;
  EXPECT_EQ(Datetime::MIN, Datetime::INVALID + TimeDuration(1.0)) << "the marker is not sticky";
  EXPECT_EQ(kMarker, double(Datetime::MIN - TimeDuration(0.5)));
  // From a date and a time of day; the invalid date gives the marker even with a time that would reach
  // the range.
  std::tuple<Date, double, double> const cases[] = {
      {Date(1960, 1, 2), -1.0, 86399.0}, {Date::MAX, 86400.0, kMarker}, {Date::INVALID, 86400.0, kMarker}};
  for (auto const& [day, seconds, value] : cases)
    EXPECT_EQ(value, double(Datetime(day, TimeDuration(seconds)))) << int(day) << " " << seconds;
}

TEST(DatetimeRange, NanIsKeptButHasNoDate) {
  // A plain NaN and a missing-value pattern (top 16 bits all ones) both pass the range test.
  double missing;
  unsigned long long const bits = 0xFFFF410000000000ULL;
  std::memcpy(&missing, &bits, sizeof missing);
  for (double nan : {kNaN, missing}) {
    Datetime const t(nan);
    EXPECT_TRUE(t.isValid());
    EXPECT_TRUE(std::isnan(double(t + TimeDuration(1.0))));
    EXPECT_FALSE(t.date().isValid());
    EXPECT_TRUE(std::isnan(t.timeOfDay().totalSeconds()));
    EXPECT_EQ("(Invalid datetime)", printed(t));
  }
}

// Days and time of day are floored; the milliseconds since 1970 keep the fraction.
TEST(DatetimeParts, DaysTimeOfDayAndPosixMilliseconds) {
  std::tuple<double, int, double, double> const cases[] = {
      {-0.5, -1, 86399.5, -315619200500.0},
      {-86400.25, -2, 86399.75, -315705600250.0},
      {569318630399.5, 6589335, 86399.5, 569003011199500.0},
      {315619200.25, 3653, 0.25, 250.0}};
  for (auto const& [value, day, timeOfDay, posixMillis] : cases) {
    Datetime const t(value);
    EXPECT_EQ(day, int(t.date())) << value;
    EXPECT_EQ(timeOfDay, t.timeOfDay().totalSeconds()) << value;
    EXPECT_EQ(posixMillis, t.fromPosixMillis()) << value;
  }
}

TEST(TimeDurationParts, TruncatedPartsCarryTheSignAndThrowBeyondTheIntegers) {
  // hours, hours64, minutes, intSeconds, totalIntSeconds, fracSeconds, seconds
  std::tuple<double, std::array<double, 7>> const cases[] = {
      {-3661.5, {-1, -1, -1, -1, -3661, -0.5, -1.5}},
      {-0.75, {0, 0, 0, 0, 0, -0.75, -0.75}},
      {86399.25, {23, 23, 59, 59, 86399, 0.25, 59.25}}};
  for (auto const& [value, parts] : cases) {
    TimeDuration const d(value);
    EXPECT_EQ(parts, (std::array<double, 7>{double(d.hours()), double(d.hours64()), double(d.minutes()),
                                            double(d.intSeconds()), double(d.totalIntSeconds()),
                                            d.fracSeconds(), d.seconds()}))
        << value;
  }
  EXPECT_EQ(3000000000LL, TimeDuration(3600.0 * 3e9).hours64());
  EXPECT_THROW(TimeDuration(3600.0 * 3e9).hours(), RangeException);
  for (double v : {kNaN, kInf, 9.3e18, -9.3e18}) EXPECT_THROW(TimeDuration(v).seconds(), RangeException) << v;
  EXPECT_EQ(-9223372036854775807LL - 1, TimeDuration(-9223372036854775808.0).totalIntSeconds());
}

TEST(DatetimePrinting, FormsOfDatesDurationsAndTimes) {
  std::tuple<std::string, char const*> const cases[] = {
      {printed(TimeDuration(-3661.5)), "-01:01:01.5"},
      {printed(TimeDuration(32949.0)), "09:09:09"},
      {printed(TimeDuration(-0.5)), "-00:00:00.5"},
      {printed(TimeDuration(-1e19)), "-1e+19"},
      {printed(Date::MAX), "31Dec20000"},
      {printed(Date::INVALID), "(Invalid date)"},
      {printed(Datetime(-0.5)), "31Dec1959 23:59:59.5"},
      {printed(Datetime(Date(2021, 3, 5), TimeDuration(13.0, 4.0, 5.0))), "05Mar2021 13:04:05"},
      {printed(Datetime::INVALID), "(Invalid datetime)"}};
  for (auto const& [text, expected] : cases) EXPECT_EQ(expected, text);
}

// A locale that groups thousands: years and hours must not pick up separators.
struct Grouping : std::numpunct<char> {
  char do_thousands_sep() const override { return ','; }
  std::string do_grouping() const override { return "\3"; }
};

TEST(DatetimePrinting, StreamSettingsSurviveAndApplyOnlyWhereTheyShould) {
  std::ostringstream text;
  text.imbue(std::locale(std::locale::classic(), new Grouping));
  text << std::setfill('*') << std::hex << std::fixed << std::setprecision(3);
  text << TimeDuration(3600000.5) << '|' << Date::MAX << '|' << std::setw(12) << Date(1960, 1, 1) << '|'
       << 255 << '|' << 1.5 << '|' << std::setw(4) << 7;
  EXPECT_EQ("1000:00:00.500|31Dec20000|***01Jan1960|ff|1.500|***7", text.str());
}

}  // namespace
}  // namespace vyk
