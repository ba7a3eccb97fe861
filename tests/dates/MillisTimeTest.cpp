// Whole milliseconds: conversions with floors and truncation, 64-bit spans, local time, printing.
#include "vyk/util/MillisTime.h"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <limits>
#include <sstream>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "support/Printed.h"
#include "support/ZoneSetting.h"
#include "vyk/util/Exception.h"

namespace vyk {
namespace {

long long const kMin64 = LLONG_MIN;
long long const kMax64 = LLONG_MAX;
long long const kDay = 86400000LL;
int const kInvalidDay = -138062;
double const kMarker = -11928470401.0;

using test_support::printed;

TEST(MillisTimeConversions, DaysRoundDownAndAreRangeTestedBeforeNarrowing) {
  EXPECT_EQ(-315619200000LL, MillisTime().toPosixMillis());
  EXPECT_EQ(86401500LL, (long long)MillisTime(Date(1960, 1, 2), MillisDuration(1500)));
  // value, day, time of day, valid for DPS (DPS_MIN to DPS_MAX, half open)
  std::tuple<long long, int, long long, bool> const cases[] = {
      {-1, -1, 86399999, true},
      {-kDay, -1, 0, true},
      {-11928470400001LL, kInvalidDay, 86399999, false},
      {569318630399999LL, 6589335, 86399999, true},
      {569318630400000LL, kInvalidDay, 0, false},
      {kDay * 4294967296LL + 5 * kDay, kInvalidDay, 0, false},  // narrowing first would wrap to day 5
      {kMax64, kInvalidDay, 25975807, false},
      {kMin64, kInvalidDay, 60424192, false}};
  for (auto const& [value, day, timeOfDay, valid] : cases) {
    MillisTime const t(value);
    EXPECT_EQ(day, int(t.date())) << value;
    EXPECT_EQ(timeOfDay, t.timeOfDay().totalMs()) << value;
    EXPECT_EQ(valid, validForDps(t)) << value;
  }
}

TEST(MillisTimeConversions, ToAndFromDatetime) {
  // Seconds to milliseconds truncate towards zero; the marker gives a plain count.
  std::tuple<double, long long> const from[] = {
      {-0.0005, 0}, {-1.9999, -1999}, {569318630399.5, 569318630399500LL}, {kMarker, -11928470401000LL}};
  for (auto const& [seconds, ms] : from) EXPECT_EQ(ms, (long long)MillisTime(Datetime(seconds))) << seconds;
  EXPECT_EQ(kMax64, (long long)MillisTime(Datetime(std::numeric_limits<double>::quiet_NaN())));
  std::tuple<long long, double> const to[] = {
      {-1, -0.001}, {569318630399999LL, 569318630399.999}, {569318630400000LL, kMarker}, {kMin64, kMarker}};
  for (auto const& [ms, seconds] : to) EXPECT_EQ(seconds, double(MillisTime(ms).datetime())) << ms;
}

TEST(MillisTimeArithmetic, SixtyFourBitsThroughoutAndWrappingAtTheEnds) {
  EXPECT_EQ(7730941129200000LL, MillisDuration::hours(INT_MAX).totalMs());
  EXPECT_EQ(-128849018880000LL, MillisDuration::minutes(INT_MIN).totalMs());
  EXPECT_EQ(7730941129200000LL + 128849018820000LL + 2147483647000LL + 2147483647LL,
            MillisDuration(INT_MAX, INT_MAX, INT_MAX, INT_MAX).totalMs());
  EXPECT_EQ(3600000000LL, (MillisTime(1000) + MillisDuration::hours(1000) - MillisTime(1000)).totalMs());
  EXPECT_EQ(kMin64, (long long)(MillisTime::MAX + MillisDuration(1)));
  EXPECT_EQ(kMax64, (long long)(MillisTime(kMin64) - MillisDuration(1)));
  EXPECT_EQ(kMin64, (-MillisDuration(kMin64)).totalMs());
  EXPECT_EQ(-1LL, (MillisTime(kMax64) - MillisTime(kMin64)).totalMs());
}

TEST(MillisDurationParts, SignedPartsAndPrintedForms) {
  // hours, minutes, seconds, ms, total seconds
  std::tuple<long long, std::array<long long, 5>, char const*> const cases[] = {
      {-3723004, {-1, -2, -3, -4, -3723}, "-01:02:03.004"},
      {360000000, {100, 0, 0, 0, 360000}, "100:00:00.000"},
      {-1, {0, 0, 0, -1, 0}, "-00:00:00.001"},
      {32949050, {9, 9, 9, 50, 32949}, "09:09:09.050"},
      {-7730941132800000LL, {INT_MIN, 0, 0, 0, -7730941132800LL}, "-2147483648:00:00.000"}};
  for (auto const& [value, parts, text] : cases) {
    MillisDuration const d(value);
    EXPECT_EQ(parts,
              (std::array<long long, 5>{d.hours(), d.minutes(), d.seconds(), d.ms(), d.totalSeconds()}))
        << value;
    EXPECT_EQ(text, printed(d));
  }
  // Hours beyond an int throw, but the other parts and the printed form hold.
  MillisDuration const most(kMin64);
  EXPECT_THROW(most.hours(), RangeException);
  EXPECT_THROW(MillisDuration(7730941132800000LL).hours(), RangeException);  // 2^31 hours
  EXPECT_EQ((std::array<long long, 4>{-12, -55, -808, -9223372036854775LL}),
            (std::array<long long, 4>{most.minutes(), most.seconds(), most.ms(), most.totalSeconds()}));
  EXPECT_EQ("-2562047788015:12:55.808", printed(most));
  // Times print as the Datetime of their value.
  EXPECT_EQ("05Mar2021 13:04:05.006", printed(MillisTime(Date(2021, 3, 5), MillisDuration(13, 4, 5, 6))));
  EXPECT_EQ("(Invalid datetime)", printed(MillisTime::DPS_MAX));
}

TEST(MillisTimeLocal, FixedZonesShiftAndShiftBack) {
  std::tuple<char const*, long long> const zones[] = {
      {"UTC0", 0}, {"XYZ-3", 3 * 3600000LL}, {"ABC+5:30", -(5 * 3600000LL + 1800000LL)}};
  // Before the epoch with a rest, just before 1970, after the dropped leap day of 4000, the last day.
  long long const instants[] = {-1500, -315619200000LL - 1,
                                (long long)MillisTime(Date(4000, 3, 1), MillisDuration(0)),
                                (long long)MillisTime(Date(20000, 12, 31), MillisDuration(23, 0, 0, 0))};
  for (auto const& [name, eastMs] : zones) {
    test_support::ZoneSetting zone(name);
    for (long long instant : instants) {
      MillisTime const local = MillisTime(instant).UtcToLocal();
      EXPECT_EQ(instant + eastMs, (long long)local) << name << " at " << instant;
      EXPECT_EQ(instant, (long long)local.LocalToUtc()) << name << " at " << instant;
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
        wrong[t] += (long long)utc.UtcToLocal() - (long long)utc != 3 * 3600000LL;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(std::vector<int>(4, 0), wrong);
}

}  // namespace
}  // namespace vyk
