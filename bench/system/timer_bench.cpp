// Timers beside those of other main loops: starting and stopping, the work of a firing, and how
// well a repeating timer keeps its schedule.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "bench/system/timer_peers.h"

namespace {

using timer_peers::Firings;
using timer_peers::SteadyNow;

// Delays from 1 to 1,000 seconds, in no order: nothing fires while starts and stops are measured.
unsigned LongDelay(unsigned i) { return 1000 * (1 + i * 7919 % 1000); }

template <class Loop>
void StartAndStop(benchmark::State& state) {
  Loop loop;
  Firings firings;
  std::vector<std::unique_ptr<typename Loop::Timer>> running;
  for (unsigned i = 0; i < 1000; ++i) {
    running.push_back(std::make_unique<typename Loop::Timer>(loop, firings));
    running.back()->Start(LongDelay(i));
  }
  typename Loop::Timer timer(loop, firings);
  unsigned i = 0;
  for (auto _ : state) {
    timer.Start(LongDelay(i));
    timer.Stop();
    if (++i % 1024 == 0) loop.Settle();
  }
}

// Timers that stop and start in turn, as time-outs of connections do: the oldest goes first.
template <class Loop>
void RestartOldest(benchmark::State& state) {
  Loop loop;
  Firings firings;
  std::vector<std::unique_ptr<typename Loop::Timer>> running;
  for (unsigned i = 0; i < 1000; ++i) {
    running.push_back(std::make_unique<typename Loop::Timer>(loop, firings));
    running.back()->Start(1'000'000);
  }
  unsigned i = 0;
  for (auto _ : state) {
    running[i % 1000]->Stop();
    running[i % 1000]->Start(1'000'000);
    if (++i % 1024 == 0) loop.Settle();
  }
}

constexpr long kMany = 10'000;
constexpr unsigned kManyPeriodMs = 100;

// An iteration is as many firings as there are timers; they are due one every `nStepNs`.
template <class Loop>
void Fire(benchmark::State& state, std::int64_t nStepNs) {
  Loop loop;
  Firings firings;
  std::vector<std::unique_ptr<typename Loop::Timer>> timers;
  const std::int64_t begin = SteadyNow();
  for (long i = 0; i < kMany; ++i) {
    while (SteadyNow() < begin + i * nStepNs) {
    }
    loop.Settle();
    timers.push_back(std::make_unique<typename Loop::Timer>(loop, firings));
    timers.back()->Start(kManyPeriodMs);
  }
  for (auto _ : state) {
    firings.Expect(kMany, [&] { loop.Quit(); });
    loop.Run();
  }
  state.SetItemsProcessed(state.iterations() * kMany);
}

template <class Loop>
void FireTogether(benchmark::State& state) {
  Fire<Loop>(state, 0);
}

template <class Loop>
void FireSpread(benchmark::State& state) {
  Fire<Loop>(state, std::int64_t{kManyPeriodMs} * 1'000'000 / kMany);
}

// How late a timer of 1 ms fires, over a second, measured against start + n * 1 ms. Every expiry is
// charged, whoever serves it: a loop that merges those a stalled machine missed serves all of them
// with the next firing, others serve one after the other.
template <class Loop>
void Lateness(benchmark::State& state) {
  constexpr long kFirings = 1000;
  constexpr std::int64_t kPeriodNs = 1'000'000;
  Loop loop;
  Firings firings;
  typename Loop::Timer timer(loop, firings);
  for (auto _ : state) {
    std::vector<std::int64_t> times;
    times.reserve(kFirings);
    firings.Record(&times);
    firings.Expect(kFirings, [&] { loop.Quit(); });
    loop.Settle();
    const std::int64_t start = SteadyNow();
    timer.Start(kPeriodNs / 1'000'000);
    loop.Run();
    timer.Stop();

    std::vector<std::int64_t> late;
    for (const std::int64_t time : times) {
      const std::int64_t due = (time - start) / kPeriodNs;
      do {
        const auto expiry = static_cast<std::int64_t>(late.size()) + 1;
        late.push_back(time - start - expiry * kPeriodNs);
      } while (Loop::kMergesMissed && static_cast<std::int64_t>(late.size()) < due);
    }
    const auto merged = static_cast<double>(late.size()) - kFirings;
    // The median of the last expiries over that of the first: what has added up on the way.
    const auto median = [&late](size_t first) {
      std::vector<std::int64_t> part(late.begin() + static_cast<long>(first),
                                     late.begin() + static_cast<long>(first) + 100);
      std::sort(part.begin(), part.end());
      return static_cast<double>(part[50]);
    };
    const size_t tail = late.size() - 100;
    const double drift = (median(tail) - median(0)) / static_cast<double>(tail);
    std::sort(late.begin(), late.end());
    const auto p99 = static_cast<double>(late[late.size() * 99 / 100]);
    state.SetIterationTime(p99 * 1e-9);
    state.counters["p50_us"] = static_cast<double>(late[late.size() / 2]) / 1e3;
    state.counters["p99_us"] = p99 / 1e3;
    state.counters["earliest_us"] = static_cast<double>(late.front()) / 1e3;
    state.counters["drift_us"] = drift / 1e3;  // Per expiry.
    state.counters["merged"] = merged;
    state.counters["figure_ns"] = p99;
  }
}

}  // namespace

#define ZTK_TIMER_BENCH(Loop, who)                                                               \
  BENCHMARK(StartAndStop<timer_peers::Loop>)->Name("BM_TimerStartStop1000/" who);                \
  BENCHMARK(RestartOldest<timer_peers::Loop>)->Name("BM_TimerRestartOldest1000/" who);           \
  BENCHMARK(FireTogether<timer_peers::Loop>)                                                     \
      ->Name("BM_TimerFire10000Together/" who)                                                   \
      ->Iterations(5);                                                                           \
  BENCHMARK(FireSpread<timer_peers::Loop>)->Name("BM_TimerFire10000Spread/" who)->Iterations(5); \
  BENCHMARK(Lateness<timer_peers::Loop>)                                                         \
      ->Name("BM_TimerLatenessP99/" who)                                                         \
      ->Iterations(1)                                                                            \
      ->UseManualTime()

ZTK_TIMER_BENCH(ZtkLoop, "ztk");
#ifdef ZTK_BENCH_UV
ZTK_TIMER_BENCH(UvLoop, "libuv");
#endif
#ifdef ZTK_BENCH_ASIO
ZTK_TIMER_BENCH(AsioLoop, "asio");
#endif
#ifdef ZTK_BENCH_GLIB
ZTK_TIMER_BENCH(GlibLoop, "glib");
#endif
#ifdef ZTK_BENCH_QT
ZTK_TIMER_BENCH(QtLoop, "qt");
#endif
