// Day number to year, month, day and back: the library against gmtime_r and timegm, on the same days.
#include <benchmark/benchmark.h>

#include <time.h>

#include <cstdint>
#include <random>
#include <vector>

#include "vyk/util/Date.h"

namespace {

constexpr int kCount = 10000000;
constexpr int kPosixEpoch = 3653;  // 1 January 1970 on the library's count

struct Ymd {
  std::int16_t year;
  std::int8_t month;
  std::int8_t day;
};

// Random days from 1600 to 3999, where the C library's calendar and the library's agree.
struct Sample {
  std::vector<int> days;
  std::vector<Ymd> dates;
  Sample() : days(kCount), dates(kCount) {
    std::mt19937 random(7);
    std::uniform_int_distribution<int> pick(int(vyk::Date(1600, 1, 1)), int(vyk::Date(3999, 12, 31)));
    for (int i = 0; i < kCount; ++i) {
      days[i] = pick(random);
      vyk::Date::YearMonthDay const ymd = vyk::Date(days[i]).yearMonthDay();
      dates[i] = {static_cast<std::int16_t>(ymd.year), static_cast<std::int8_t>(ymd.month),
                  static_cast<std::int8_t>(ymd.day)};
    }
  }
};

Sample const& sample() {
  static Sample const s;
  return s;
}

void DayToYmd_Library(benchmark::State& state) {
  Sample const& s = sample();
  for (auto _ : state) {
    long long sum = 0;
    for (int day : s.days) {
      vyk::Date::YearMonthDay const ymd = vyk::Date(day).yearMonthDay();
      sum += ymd.year + ymd.month + ymd.day;
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kCount);
}

void DayToYmd_Gmtime(benchmark::State& state) {
  Sample const& s = sample();
  for (auto _ : state) {
    long long sum = 0;
    for (int day : s.days) {
      time_t const seconds = static_cast<time_t>(day - kPosixEpoch) * 86400;
      struct tm parts;
      gmtime_r(&seconds, &parts);
      sum += parts.tm_year + 1900 + parts.tm_mon + 1 + parts.tm_mday;
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kCount);
}

void YmdToDay_Library(benchmark::State& state) {
  Sample const& s = sample();
  for (auto _ : state) {
    long long sum = 0;
    for (Ymd const& d : s.dates) sum += int(vyk::Date(d.year, d.month, d.day));
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kCount);
}

void YmdToDay_Timegm(benchmark::State& state) {
  Sample const& s = sample();
  for (auto _ : state) {
    long long sum = 0;
    for (Ymd const& d : s.dates) {
      struct tm parts = {};
      parts.tm_year = d.year - 1900;
      parts.tm_mon = d.month - 1;
      parts.tm_mday = d.day;
      sum += timegm(&parts) / 86400 + kPosixEpoch;
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kCount);
}

BENCHMARK(DayToYmd_Library)->Unit(benchmark::kMillisecond);
BENCHMARK(DayToYmd_Gmtime)->Unit(benchmark::kMillisecond);
BENCHMARK(YmdToDay_Library)->Unit(benchmark::kMillisecond);
BENCHMARK(YmdToDay_Timegm)->Unit(benchmark::kMillisecond);

}  // namespace
