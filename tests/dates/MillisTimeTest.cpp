// Whole milliseconds: conversions with floors and truncation, 64-bit spans, local time, printing.
#include "vyk/util/MillisTime.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/ZoneSetting.h"
#include "vyk/util/Exception.h"
#include "vyk/util/Portable.h"

namespace vyk {
namespace {

long long const kMin64 = LLONG_MIN;
long long const kMax64 = LLONG_MAX;
int const kInvalidDay = -138062;

TEST(MillisTimeConversions, ConstantsAndEpochs) {
  EXPECT_EQ(-11928470400000LL, (long long)MillisTime::DPS_MIN);
  EXPECT_EQ(569318630400000LL, (long long)MillisTime::DPS_MAX);
  EXPECT_EQ(kMax64, (long long)MillisTime::MAX);
  EXPECT_EQ(-315619200000LL, MillisTime().toPosixMillis());
  EXPECT_EQ(3653, int(MillisTime::fromPosixMillis(0).date()));
  EXPECT_EQ(315619200000LL, (long long)MillisTime::fromPosixMillis(0));
  EXPECT_EQ(86401500LL, (long long)MillisTime(Date(1960, 1, 2), MillisDuration(1500)));
  EXPECT_EQ(1500LL, MillisTime(Date(1960, 1, 2), MillisDuration(1500)).timeOfDay().totalMs());
}

TEST(MillisTimeConversions, DaysRoundDownAndAreRangeTestedBeforeNarrowing) {
  long long const day = 86400000LL;
  struct Case {
    long long value;
    int date;
    long long timeOfDay;
  };
  Case const cases[] = {
      {0, 0, 0},
      {-1, -1, 86399999},
      {-day, -1, 0},
      {-day - 1, -2, 86399999},
      {day - 1, 0, 86399999},
      {-11928470400000LL, -138061, 0},
      {-11928470400001LL, kInvalidDay, 86399999},
      {569318630400000LL - 1, 6589335, 86399999},
      {569318630400000LL, kInvalidDay, 0},
      // 2^32 days and five: narrowing first would wrap to day 5.
      {day * 4294967296LL + 5 * day, kInvalidDay, 0},
      {-day * 4294967296LL + 5 * day, kInvalidDay, 0},
      {kMax64, kInvalidDay, kMax64 % day},
      {kMin64, kInvalidDay, kMin64 % day + day},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.value);
    MillisTime const t(c.value);
    EXPECT_EQ(c.date, int(t.date()));
    EXPECT_EQ(c.timeOfDay, t.timeOfDay().totalMs());
  }
}

TEST(MillisTimeConversions, ToAndFromDatetime) {
  double const nan = std::numeric_limits<double>::quiet_NaN();
  struct FromCase {
    double seconds;
    long long ms;
  };
  FromCase const from[] = {
      {1.5, 1500},
      {-0.0005, 0},
      {-1.9999, -1999},
      {0.0009, 0},
      {-0.5, -500},
      {569318630399.5, 569318630399500LL},
      {-11928470400.0, -11928470400000LL},
      {-11928470401.0, -11928470401000LL},  // the marker gives a plain count
  };
  for (FromCase const& c : from) EXPECT_EQ(c.ms, (long long)MillisTime(Datetime(c.seconds))) << c.seconds;
  EXPECT_EQ(kMax64, (long long)MillisTime(Datetime(nan)));

  struct ToCase {
    long long ms;
    double seconds;  // -11928470401.0 for the marker
  };
  ToCase const to[] = {{1500, 1.5},
                       {-1, -0.001},
                       {569318630399999LL, 569318630399.999},
                       {569318630400000LL, -11928470401.0},
                       {-11928470400000LL, -11928470400.0},
                       {-11928470400001LL, -11928470401.0},
                       {kMax64, -11928470401.0},
                       {kMin64, -11928470401.0}};
  for (ToCase const& c : to) EXPECT_EQ(c.seconds, double(MillisTime(c.ms).datetime())) << c.ms;
}

TEST(MillisTimeConversions, ValidForDpsIsTheHalfOpenRange) {
  struct Case {
    MillisTime time;
    bool valid;
  };
  Case const cases[] = {{MillisTime::DPS_MIN, true},  {MillisTime::DPS_MIN - MillisDuration(1), false},
                        {MillisTime::DPS_MAX, false}, {MillisTime::DPS_MAX - MillisDuration(1), true},
                        {MillisTime::MAX, false},     {MillisTime(kMin64), false},
                        {MillisTime(), true}};
  for (Case const& c : cases) EXPECT_EQ(c.valid, validForDps(c.time)) << (long long)c.time;
}

TEST(MillisTimeArithmetic, SixtyFourBitsThroughoutAndWrappingAtTheEnds) {
  EXPECT_EQ(3600000000LL, MillisDuration::hours(1000).totalMs());
  EXPECT_EQ(7730941129200000LL, MillisDuration::hours(INT_MAX).totalMs());
  EXPECT_EQ(-128849018880000LL, MillisDuration::minutes(INT_MIN).totalMs());
  EXPECT_EQ(2147483647000LL, MillisDuration::seconds(INT_MAX).totalMs());
  EXPECT_EQ(3723004LL, MillisDuration(1, 2, 3, 4).totalMs());
  EXPECT_EQ(7730941129200000LL + 128849018820000LL + 2147483647000LL + 2147483647LL,
            MillisDuration(INT_MAX, INT_MAX, INT_MAX, INT_MAX).totalMs());

  MillisTime t(1000);
  t += MillisDuration::hours(1000);
  EXPECT_EQ(3600001000LL, (long long)t);
  t -= MillisDuration(1000);
  EXPECT_EQ(MillisDuration::hours(1000), t - MillisTime(0));
  EXPECT_EQ(kMin64, (long long)(MillisTime::MAX + MillisDuration(1)));
  EXPECT_EQ(kMax64, (long long)(MillisTime(kMin64) - MillisDuration(1)));
  EXPECT_EQ(kMin64, (-MillisDuration(kMin64)).totalMs());
  EXPECT_EQ(kMax64, (MillisTime::MAX - MillisTime(0)).totalMs());
  EXPECT_EQ(-1LL, (MillisTime(kMax64) - MillisTime(kMin64)).totalMs());
  EXPECT_EQ(kMin64 + 315619199999LL, (long long)MillisTime::fromPosixMillis(kMax64));
  EXPECT_EQ(kMax64, MillisTime::fromPosixMillis(kMax64).toPosixMillis());
  EXPECT_TRUE(MillisTime(-1) < MillisTime());
  EXPECT_TRUE(MillisDuration(-1) < MillisDuration(0));
}

TEST(MillisDurationParts, SignedPartsOfTheSize) {
  struct Case {
    long long value;
    int hours, minutes, seconds, ms;
    long long totalSeconds;
    char const* text;
  };
  Case const cases[] = {
      {3723004, 1, 2, 3, 4, 3723, "01:02:03.004"},
      {-3723004, -1, -2, -3, -4, -3723, "-01:02:03.004"},
      {0, 0, 0, 0, 0, 0, "00:00:00.000"},
      {360000000, 100, 0, 0, 0, 360000, "100:00:00.000"},
      {-1, 0, 0, 0, -1, 0, "-00:00:00.001"},
      {86399999, 23, 59, 59, 999, 86399, "23:59:59.999"},
      {32949050, 9, 9, 9, 50, 32949, "09:09:09.050"},
      {-7730941132800000LL, INT_MIN, 0, 0, 0, -7730941132800LL, "-2147483648:00:00.000"},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.value);
    MillisDuration const d(c.value);
    EXPECT_EQ(c.hours, d.hours());
    EXPECT_EQ(c.minutes, d.minutes());
    EXPECT_EQ(c.seconds, d.seconds());
    EXPECT_EQ(c.ms, d.ms());
    EXPECT_EQ(c.totalSeconds, d.totalSeconds());
    EXPECT_EQ(c.value, d.totalMs());
    std::ostringstream text;
    text << d;
    EXPECT_EQ(c.text, text.str());
  }
}

TEST(MillisDurationParts, HoursBeyondAnIntThrowButPrint) {
  MillisDuration const most(kMin64);
  EXPECT_THROW(most.hours(), RangeException);
  EXPECT_THROW(MillisDuration(7730941132800000LL).hours(), RangeException);  // 2^31 hours
  EXPECT_EQ(-12, most.minutes());
  EXPECT_EQ(-55, most.seconds());
  EXPECT_EQ(-808, most.ms());
  EXPECT_EQ(-9223372036854775LL, most.totalSeconds());
  std::ostringstream text;
  text << most << ' ' << MillisDuration(kMax64);
  EXPECT_EQ("-2562047788015:12:55.808 2562047788015:12:55.807", text.str());
}

TEST(MillisTimePrinting, AsTheDatetimeOfTheValue) {
  struct Case {
    MillisTime time;
    char const* text;
  };
  Case const cases[] = {
      {MillisTime(500), "01Jan1960 00:00:00.5"},
      {MillisTime(), "01Jan1960 00:00:00"},
      {MillisTime(-1), "31Dec1959 23:59:59.999"},
      {MillisTime(Date(2021, 3, 5), MillisDuration(13, 4, 5, 6)), "05Mar2021 13:04:05.006"},
      {MillisTime::MAX, "(Invalid datetime)"},
      {MillisTime::DPS_MAX, "(Invalid datetime)"},
      {MillisTime::DPS_MIN, "01Jan1582 00:00:00"},
  };
  for (Case const& c : cases) {
    std::ostringstream text;
    text << c.time;
    EXPECT_EQ(c.text, text.str());
  }
}

TEST(MillisTimeLocal, FixedZonesShiftAndShiftBack) {
  struct Case {
    char const* zone;
    long long eastMs;
  };
  Case const zones[] = {{"UTC0", 0}, {"XYZ-3", 3 * 3600000LL}, {"ABC+5:30", -(5 * 3600000LL + 1800000LL)}};
  long long const instants[] = {
      (long long)MillisTime(Date(2021, 3, 5), MillisDuration(13, 4, 5, 6)),
      -1500,                                                                // before the epoch, with a rest
      -315619200000LL - 1,                                                  // just before 1970
      (long long)MillisTime(Date(4000, 3, 1), MillisDuration(1, 0, 0, 0)),  // after the dropped leap day
      (long long)MillisTime(Date(20000, 12, 31), MillisDuration(23, 0, 0, 0)),
      (long long)MillisTime(Date(1582, 1, 1), MillisDuration(0, 30, 0, 999)),
  };
  for (Case const& z : zones) {
    test_support::ZoneSetting zone(z.zone);
    for (long long instant : instants) {
      SCOPED_TRACE(std::string(z.zone) + " at " + std::to_string(instant));
      MillisTime const utc(instant);
      MillisTime const local = utc.UtcToLocal();
      EXPECT_EQ(instant + z.eastMs, (long long)local);
      EXPECT_EQ(instant, (long long)local.LocalToUtc());
    }
  }
}

TEST(MillisTimeLocal, ConversionsFromSeveralThreadsAgree) {
  test_support::ZoneSetting zone("XYZ-3");
  std::vector<int> wrong(4, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t, &wrong] {
      for (long long i = 0; i < 2000; ++i) {
        MillisTime const utc(i * 86399999LL * (t + 1));
        vyc_tm now;
        vyc_local_now(&now);
        if ((long long)utc.UtcToLocal() - (long long)utc != 3 * 3600000LL || now.tm_year < 100) ++wrong[t];
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(std::vector<int>(4, 0), wrong);
}

TEST(MillisTimeLocal, ClocksAgreeWithEachOtherAndTheZone) {
  test_support::ZoneSetting zone("XYZ-3");
  unsigned long long before = 0, after = 0;
  vyc_millitm(&before);
  MillisTime const utc = MillisTime::utcTime();
  MillisTime const local = MillisTime::localTime();
  Datetime const utcSeconds = Datetime::utcTime();
  Datetime const localSeconds = Datetime::localTime();
  Date const utcDay = Date::utcDate();
  Date const localDay = Date::localDate();
  vyc_millitm(&after);
  long long const offset = 315619200000LL;
  EXPECT_LE((long long)before + offset, (long long)utc);
  EXPECT_GE((long long)after + offset, (long long)utc);
  EXPECT_NEAR(3 * 3600000.0, double((long long)local - (long long)utc), 2000.0);
  EXPECT_NEAR(double((long long)utc) / 1000.0, double(utcSeconds), 2.0);
  EXPECT_NEAR(3 * 3600.0, double(localSeconds) - double(utcSeconds), 2.0);
  EXPECT_TRUE(utcDay == MillisTime((long long)before + offset).date() ||
              utcDay == MillisTime((long long)after + offset).date());
  EXPECT_TRUE(localDay == (MillisTime((long long)before + offset) + MillisDuration::hours(3)).date() ||
              localDay == (MillisTime((long long)after + offset) + MillisDuration::hours(3)).date());
}

}  // namespace
}  // namespace vyk
