// Calendar fields to a value and back, in a zone with daylight saving, beside what the C library
// takes for its part of the work. It follows a change of zone in `mktime` and `localtime`, as we
// do; `localtime_r`, which does not, is the limit.

#include "ztk/system/date_time.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <ctime>

#ifdef ZTK_BENCH_ABSEIL
#include <absl/time/time.h>
#endif

namespace {

constexpr const char* kZone = "Europe/Berlin";

// Times of the last years, two hours and a bit apart.
class Times {
 public:
  Times() {
    setenv("TZ", kZone, 1);
    tzset();
  }
  std::time_t Next() {
    constexpr std::time_t kStart = 1'577'833'200, kSpan = 150'000'000;
    m_offset = (m_offset + 7919) % kSpan;
    return kStart + m_offset;
  }
  // Valid fields, cheaply.
  std::tm NextFields() {
    ++m_number;
    std::tm fields{};
    fields.tm_year = 120 + m_number % 5;
    fields.tm_mon = m_number % 12;
    fields.tm_mday = 1 + m_number % 28;
    fields.tm_hour = m_number % 24;
    fields.tm_min = m_number % 60;
    fields.tm_isdst = -1;
    return fields;
  }

 private:
  std::time_t m_offset = 0;
  int m_number = 0;
};

void ToValueZtk(benchmark::State& state) {
  Times times;
  for (auto _ : state) {
    const std::tm fields = times.NextFields();
    const ZTKDateTime time(static_cast<unsigned short>(fields.tm_mday),
                           static_cast<ZTKDateTime::Month>(fields.tm_mon), 1900 + fields.tm_year,
                           static_cast<unsigned short>(fields.tm_hour),
                           static_cast<unsigned short>(fields.tm_min), 0, 0);
    benchmark::DoNotOptimize(time.GetValue());
  }
}
BENCHMARK(ToValueZtk)->Name("BM_FieldsToValue/ztk");

void ToValueLibc(benchmark::State& state) {
  Times times;
  for (auto _ : state) {
    std::tm fields = times.NextFields();
    benchmark::DoNotOptimize(std::mktime(&fields));
  }
}
BENCHMARK(ToValueLibc)->Name("BM_FieldsToValue/mktime");

void ToFieldsZtk(benchmark::State& state) {
  Times times;
  const ZTKDateTime::TimeZone local(ZTKDateTime::TZ_LOCAL);
  for (auto _ : state) {
    ZTKDateTime time;
    time.Set(static_cast<double>(times.Next()) * 86'400'000.0);
    benchmark::DoNotOptimize(time.XPGetTm(local));
  }
}
BENCHMARK(ToFieldsZtk)->Name("BM_ValueToFields/ztk");

void ToFieldsLibc(benchmark::State& state) {
  Times times;
  for (auto _ : state) {
    const std::time_t seconds = times.Next();
    benchmark::DoNotOptimize(*std::localtime(&seconds));
  }
}
BENCHMARK(ToFieldsLibc)->Name("BM_ValueToFields/localtime");

void ToFieldsOfAKnownZone(benchmark::State& state) {
  Times times;
  for (auto _ : state) {
    const std::time_t seconds = times.Next();
    std::tm fields;
    benchmark::DoNotOptimize(localtime_r(&seconds, &fields));
  }
}
BENCHMARK(ToFieldsOfAKnownZone)->Name("BM_ValueToFields/limit");

#ifdef ZTK_BENCH_ABSEIL
absl::TimeZone AbseilZone() {
  absl::TimeZone zone;
  absl::LoadTimeZone(kZone, &zone);
  return zone;
}

// Its own database of zones makes it faster than the C library, on which ours has to agree.
void ToValueAbseil(benchmark::State& state) {
  Times times;
  const absl::TimeZone zone = AbseilZone();
  for (auto _ : state) {
    const std::tm fields = times.NextFields();
    const absl::CivilSecond second(1900 + fields.tm_year, 1 + fields.tm_mon, fields.tm_mday,
                                   fields.tm_hour, fields.tm_min, 0);
    benchmark::DoNotOptimize(absl::ToUnixSeconds(absl::FromCivil(second, zone)));
  }
}
BENCHMARK(ToValueAbseil)->Name("BM_FieldsToValueAbseil/abseil");

void ToFieldsAbseil(benchmark::State& state) {
  Times times;
  const absl::TimeZone zone = AbseilZone();
  for (auto _ : state) {
    benchmark::DoNotOptimize(absl::ToCivilSecond(absl::FromUnixSeconds(times.Next()), zone));
  }
}
BENCHMARK(ToFieldsAbseil)->Name("BM_ValueToFields/abseil");
#endif

}  // namespace
