// Seconds as doubles: the range test and its marker, NaN, splitting into days and parts, printing.
#include "vyk/util/Datetime.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <iomanip>
#include <limits>
#include <locale>
#include <sstream>
#include <string>

#include "vyk/util/Exception.h"

namespace vyk {
namespace {

double const kNaN = std::numeric_limits<double>::quiet_NaN();
double const kInf = std::numeric_limits<double>::infinity();

TEST(DatetimeRange, ConstantsAndTheEndsOfTheRange) {
  EXPECT_EQ(-11928470400.0, double(Datetime::MIN));
  EXPECT_EQ(-11928470401.0, double(Datetime::INVALID));
  EXPECT_EQ(0.0, double(Datetime::DPS_EPOCH));
  EXPECT_EQ(315619200.0, double(Datetime::POSIX_EPOCH));
  EXPECT_EQ(569318630400.0, std::nextafter(double(Datetime::MAX), kInf)) << "MAX is the last valid value";
  EXPECT_TRUE(Datetime::MAX.isValid());
  EXPECT_EQ(Date::MAX, Datetime::MAX.date());
  EXPECT_FALSE(Datetime::INVALID.isValid());

  struct Case {
    double in;
    bool valid;
  };
  Case const cases[] = {
      {569318630399.5, true},
      {569318630400.0, false},
      {-11928470400.0, true},
      {-11928470400.5, false},
      {-11928470401.0, false},
      {0.0, true},
      {-0.0, true},
      {kInf, false},
      {-kInf, false},
      {1e300, false},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.in);
    Datetime const t(c.in);
    EXPECT_EQ(c.valid, t.isValid());
    EXPECT_EQ(c.valid ? c.in : -11928470401.0, double(t));
  }
}

TEST(DatetimeRange, NanIsKeptButHasNoDate) {
  // A plain NaN and a missing-value pattern (top 16 bits all ones) both pass the range test.
  double missing;
  unsigned long long const bits = 0xFFFF410000000000ULL;
  std::memcpy(&missing, &bits, sizeof missing);
  for (double nan : {kNaN, missing}) {
    Datetime const t(nan);
    EXPECT_TRUE(t.isValid());
    EXPECT_TRUE(std::isnan(double(t)));
    EXPECT_FALSE(t.date().isValid());
    EXPECT_TRUE(std::isnan(t.timeOfDay().totalSeconds()));
    Datetime const moved = t + TimeDuration(1.0);
    EXPECT_TRUE(std::isnan(double(moved)));
    std::ostringstream text;
    text << t;
    EXPECT_EQ("(Invalid datetime)", text.str());
  }
}

TEST(DatetimeRange, ArithmeticAndConstructionEndInTheRangeTest) {
  EXPECT_EQ(Datetime::MIN, Datetime::INVALID + TimeDuration(1.0)) << "the marker is not sticky";
  EXPECT_FALSE((Datetime::MAX + TimeDuration(1.0)).isValid());
  EXPECT_FALSE((Datetime::MIN - TimeDuration(0.5)).isValid());
  Datetime t(100.0);
  t -= TimeDuration(50.0);
  EXPECT_EQ(50.0, double(t));
  t += TimeDuration(kInf);
  EXPECT_FALSE(t.isValid());
  EXPECT_EQ(-1.5, (Datetime(1.0) - Datetime(2.5)).totalSeconds());

  struct Case {
    Date day;
    double seconds;
    double value;  // -11928470401.0 for the marker
  };
  Case const cases[] = {
      {Date(1960, 1, 2), -1.0, 86399.0},
      {Date(1970, 1, 1), 0.5, 315619200.5},
      {Date::MAX, 86399.5, 569318630399.5},
      {Date::MAX, 86400.0, -11928470401.0},
      {Date::MIN, 0.0, -11928470400.0},
      {Date::MIN, -0.5, -11928470401.0},
      // The invalid date gives the marker even with a time that would reach the range.
      {Date::INVALID, 86400.0, -11928470401.0},
      {Date::INVALID, 2 * 86400.0, -11928470401.0},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(int(c.day));
    EXPECT_EQ(c.value, double(Datetime(c.day, TimeDuration(c.seconds))));
  }
}

TEST(DatetimeParts, DateAndTimeOfDayFloorNegativeValues) {
  struct Case {
    double value;
    int day;
    double timeOfDay;
  };
  Case const cases[] = {
      {-0.5, -1, 86399.5},
      {0.0, 0, 0.0},
      {86399.75, 0, 86399.75},
      {86400.0, 1, 0.0},
      {-86400.0, -1, 0.0},
      {-86400.25, -2, 86399.75},
      {-11928470400.0, -138061, 0.0},
      {569318630399.5, 6589335, 86399.5},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.value);
    Datetime const t(c.value);
    EXPECT_EQ(c.day, int(t.date()));
    EXPECT_EQ(c.timeOfDay, t.timeOfDay().totalSeconds());
  }
}

TEST(DatetimeParts, PosixMillisecondsKeepTheFraction) {
  struct Case {
    double value;
    double posixMillis;
  };
  Case const cases[] = {{315619200.0, 0.0},
                        {315619200.25, 250.0},
                        {0.0, -315619200000.0},
                        {-0.5, -315619200500.0},
                        {1000000000.125, 684380800125.0}};
  for (Case const& c : cases) EXPECT_EQ(c.posixMillis, Datetime(c.value).fromPosixMillis()) << c.value;
}

TEST(TimeDurationParts, TruncatedPartsCarryTheSign) {
  struct Case {
    double value;
    int hours, minutes, intSeconds;
    long long total;
    double frac, seconds;
  };
  Case const cases[] = {
      {-3661.5, -1, -1, -1, -3661, -0.5, -1.5}, {3661.5, 1, 1, 1, 3661, 0.5, 1.5},
      {360000.0, 100, 0, 0, 360000, 0.0, 0.0},  {86399.25, 23, 59, 59, 86399, 0.25, 59.25},
      {-0.75, 0, 0, 0, 0, -0.75, -0.75},        {7322.0, 2, 2, 2, 7322, 0.0, 2.0},
      {-7200.0, -2, 0, 0, -7200, 0.0, 0.0},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.value);
    TimeDuration const d(c.value);
    EXPECT_EQ(c.hours, d.hours());
    EXPECT_EQ(c.hours, d.hours64());
    EXPECT_EQ(c.minutes, d.minutes());
    EXPECT_EQ(c.intSeconds, d.intSeconds());
    EXPECT_EQ(c.total, d.totalIntSeconds());
    EXPECT_EQ(c.frac, d.fracSeconds());
    EXPECT_EQ(c.seconds, d.seconds());
    EXPECT_EQ(c.value, d.totalSeconds());
  }
}

TEST(TimeDurationParts, ValuesBeyondTheIntegersThrow) {
  TimeDuration const manyHours(3600.0 * 3e9);
  EXPECT_EQ(3000000000LL, manyHours.hours64());
  EXPECT_THROW(manyHours.hours(), RangeException);
  EXPECT_EQ(-2147483648, TimeDuration(-3600.0 * 2147483648.0).hours());
  for (double v : {kNaN, kInf, -kInf, 9.3e18, -9.3e18}) {
    SCOPED_TRACE(v);
    TimeDuration const d(v);
    EXPECT_THROW(d.hours64(), RangeException);
    EXPECT_THROW(d.minutes(), RangeException);
    EXPECT_THROW(d.seconds(), RangeException);
  }
  EXPECT_EQ(-9223372036854775807LL - 1, TimeDuration(-9223372036854775808.0).totalIntSeconds());
}

std::string printed(TimeDuration const& d) {
  std::ostringstream text;
  text << d;
  return text.str();
}

TEST(DatetimePrinting, FormsOfDatesDurationsAndTimes) {
  struct DurationCase {
    double seconds;
    char const* text;
  };
  DurationCase const durations[] = {
      {-3661.5, "-01:01:01.5"}, {0.0, "00:00:00"},     {360000.0, "100:00:00"}, {5.25, "00:00:05.25"},
      {59.0, "00:00:59"},       {32949.0, "09:09:09"}, {-0.5, "-00:00:00.5"},   {3661.5, "01:01:01.5"},
      {36000.0, "10:00:00"},    {-0.0, "00:00:00"},    {kInf, "inf"},           {-1e19, "-1e+19"},
  };
  for (DurationCase const& c : durations) EXPECT_EQ(c.text, printed(TimeDuration(c.seconds))) << c.seconds;

  struct DateCase {
    Date date;
    char const* text;
  };
  DateCase const dates[] = {{Date(1960, 1, 1), "01Jan1960"},   {Date(2021, 3, 5), "05Mar2021"},
                            {Date::MIN, "01Jan1582"},          {Date::MAX, "31Dec20000"},
                            {Date(1999, 11, 30), "30Nov1999"}, {Date::INVALID, "(Invalid date)"}};
  for (DateCase const& c : dates) {
    std::ostringstream text;
    text << c.date;
    EXPECT_EQ(c.text, text.str());
  }

  struct DatetimeCase {
    Datetime time;
    char const* text;
  };
  DatetimeCase const times[] = {
      {Datetime(0.0), "01Jan1960 00:00:00"},
      {Datetime(-0.5), "31Dec1959 23:59:59.5"},
      {Datetime(Date(2021, 3, 5), TimeDuration(13.0, 4.0, 5.0)), "05Mar2021 13:04:05"},
      {Datetime::MIN, "01Jan1582 00:00:00"},
      {Datetime(569318630399.0), "31Dec20000 23:59:59"},
      {Datetime::INVALID, "(Invalid datetime)"},
  };
  for (DatetimeCase const& c : times) {
    std::ostringstream text;
    text << c.time;
    EXPECT_EQ(c.text, text.str());
  }
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
  EXPECT_EQ('*', text.fill());
  EXPECT_EQ(3, text.precision());
  EXPECT_EQ(0, text.width());
}

}  // namespace
}  // namespace vyk
