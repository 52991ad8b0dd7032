#include "ztk/system/event_loop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <map>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/failing_allocator.h"
#include "tests/support/wait_handle.h"
#include "tests/system/fake_clock.h"
#include "tests/system/loop_timer.h"

namespace {

TEST(ZTKEventLoop, MainIsTheOnlyLoop) { EXPECT_EQ(&ZTKEventLoop::Main(), &ZTKEventLoop::Main()); }

TEST(ZTKEventLoop, ReadsTheSteadyClockInNanoseconds) {
  const std::int64_t before = SteadyNow();
  const std::int64_t now = Loop().Now();
  EXPECT_GE(now, before);
  EXPECT_LE(now, SteadyNow());
}

TEST(ZTKEventLoop, HandleIsSignalledWhileATimerIsDueAndNotBefore) {
  const std::intptr_t handle = Loop().GetWaitHandle();
  EXPECT_FALSE(IsSignalled(handle, 0));
  const std::int64_t start = SteadyNow();
  const LoopTimer timer(20 * kMs, kLong);
  ASSERT_TRUE(IsSignalled(handle, 10'000));
  EXPECT_GE(SteadyNow() - start, 20 * kMs);
  EXPECT_TRUE(IsSignalled(handle, 0));  // Until it is served.
  EXPECT_EQ(Loop().Dispatch(), 1u);
  EXPECT_FALSE(IsSignalled(handle, 0));
}

TEST(ZTKEventLoop, HandleFollowsAnEarlierTimer) {
  const std::intptr_t handle = Loop().GetWaitHandle();
  const LoopTimer late(kLong, kLong);
  const LoopTimer soon(1 * kMs, kLong);
  ASSERT_TRUE(IsSignalled(handle, 10'000));
  EXPECT_EQ(Loop().Dispatch(), 1u);
  EXPECT_EQ(soon.Count(), 1);
}

TEST(ZTKEventLoop, HandleIsQuietAgainWhenTheLastTimerIsRemoved) {
  const std::intptr_t handle = Loop().GetWaitHandle();
  LoopTimer timer(0, 0);
  ASSERT_TRUE(IsSignalled(handle, 10'000));
  EXPECT_TRUE(timer.Remove());
  EXPECT_FALSE(IsSignalled(handle, 0));
}

TEST(ZTKEventLoop, WakeUpForARemovedTimerFiresNothingAndEnds) {
  const std::intptr_t handle = Loop().GetWaitHandle();
  const LoopTimer other(kLong, kLong);
  LoopTimer gone(1 * kMs, 1 * kMs);
  EXPECT_TRUE(gone.Remove());
  EXPECT_TRUE(IsSignalled(handle, 10'000));
  EXPECT_EQ(Loop().Dispatch(), 0u);
  EXPECT_FALSE(IsSignalled(handle, 0));
}

TEST(ZTKEventLoop, TimerInstalledBeforeTheHandleIsAskedForSignalsIt) {
  // In a process of its own nothing has opened it yet.
  const LoopTimer timer(1 * kMs, kLong);
  ASSERT_TRUE(IsSignalled(Loop().GetWaitHandle(), 10'000));
  EXPECT_EQ(Loop().Dispatch(), 1u);
}

TEST(ZTKEventLoop, TimerInstalledInACallbackBehindALoopOfTheCallbackWakesThatLoop) {
  // A modal dialog: inside a notification it runs a loop of its own over the handle.
  const std::intptr_t handle = Loop().GetWaitHandle();
  bool served = false;
  const LoopTimer modal(1 * kMs, kLong, [&] {
    const LoopTimer first(1 * kMs, kLong);
    while (first.Count() == 0 && IsSignalled(handle, 10'000)) Loop().Dispatch();
    const LoopTimer second(1 * kMs, kLong);
    while (second.Count() == 0 && IsSignalled(handle, 10'000)) Loop().Dispatch();
    served = second.Count() == 1;
  });
  ASSERT_TRUE(IsSignalled(handle, 10'000));
  Loop().Dispatch();
  EXPECT_TRUE(served);
}

TEST(ZTKEventLoop, InstallRefusesNoCallback) {
  EXPECT_EQ(Loop().InstallTimer(0, 0, nullptr, nullptr), 0u);
  EXPECT_EQ(Loop().GetTimerCount(), 0u);
}

TEST(ZTKEventLoop, NegativeTimesCountAsZero) {
  const FakeClock clock;
  const LoopTimer timer(-1, std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(Loop().Dispatch(), 1u);
  EXPECT_EQ(Loop().Dispatch(), 1u);
}

TEST(ZTKEventLoop, TimesBeyondTheClockNeverCome) {
  constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
  FakeClock clock;
  const LoopTimer never(kMax, kMax);
  const LoopTimer once(1 * kMs, kMax);
  EXPECT_EQ(clock.Advance(1), 1u);
  EXPECT_EQ(clock.Advance(1'000'000'000'000), 0u);
  EXPECT_EQ(once.Count(), 1);
}

TEST(ZTKEventLoop, NamesOfNoTimerAreRefused) {
  LoopTimer timer(kLong, kLong);
  const ZTKEventLoopTimer name = timer.Name();
  EXPECT_FALSE(Loop().RemoveTimer(0));
  EXPECT_FALSE(Loop().RemoveTimer(name + 1));
  EXPECT_FALSE(Loop().RemoveTimer(name + (std::uint64_t{1} << 32)));
  EXPECT_FALSE(Loop().RemoveTimer(std::numeric_limits<ZTKEventLoopTimer>::max()));
  EXPECT_TRUE(timer.Remove());
  EXPECT_FALSE(timer.Remove());
  // The generation that a freed slot has now.
  EXPECT_FALSE(Loop().RemoveTimer(name + (std::uint64_t{1} << 32)));
}

TEST(ZTKEventLoop, NameOfARemovedTimerDoesNotNameItsSuccessor) {
  LoopTimer first(kLong, kLong);
  const ZTKEventLoopTimer old = first.Name();
  first.Remove();
  const LoopTimer second(kLong, kLong);
  EXPECT_NE(second.Name(), old);
  EXPECT_FALSE(Loop().RemoveTimer(old));
  EXPECT_EQ(Loop().GetTimerCount(), 1u);
}

TEST(ZTKEventLoop, NestedDispatchCountsAsTheNextOneForEveryTimer) {
  FakeClock clock;
  LoopTimer zero(0, 0);
  bool nested = false;
  const LoopTimer outer(1 * kMs, 1 * kMs, [&] {
    if (nested) return;
    nested = true;
    EXPECT_EQ(clock.Advance(1), 2u);  // Both, this one among them.
  });
  clock.Advance(1);
  EXPECT_EQ(zero.Count(), 2);
  EXPECT_EQ(outer.Count(), 2);
}

TEST(ZTKEventLoop, DeferredTimerMayBeRemoved) {
  FakeClock clock;
  LoopTimer zeroA(0, 0);
  LoopTimer zeroB(0, 0);
  LoopTimer zeroC(0, 0);
  // Due last, so that the others have fired and wait for the next dispatch.
  const LoopTimer last(1 * kMs, kLong, [&] {
    zeroA.Remove();
    zeroC.Remove();
  });
  EXPECT_EQ(clock.Advance(1), 4u);
  EXPECT_EQ(Loop().GetTimerCount(), 2u);
  EXPECT_EQ(clock.Advance(0), 1u);
  EXPECT_EQ(zeroB.Count(), 2);
}

TEST(ZTKEventLoop, ExceptionOfACallbackLeavesTheLoopWhole) {
  FakeClock clock;
  const LoopTimer zero(0, 0);
  bool thrown = false;
  const LoopTimer thrower(1 * kMs, 1 * kMs, [&] {
    if (!std::exchange(thrown, true)) throw std::runtime_error("of the application");
  });
  const LoopTimer other(1 * kMs, 1 * kMs);
  EXPECT_THROW(clock.Advance(1), std::runtime_error);
  EXPECT_EQ(other.Count(), 0);
  EXPECT_EQ(clock.Advance(1), 3u);
  EXPECT_EQ(other.Count(), 1);
}

// The model: what is due, by time and then by installation.
TEST(ZTKEventLoop, TenThousandRandomInstallsAndRemovalsKeepTheOrder) {
  FakeClock clock;
  struct Fired {
    static void Callback(ZTKEventLoopTimer nTimer, void* pUserData) {
      static_cast<std::vector<ZTKEventLoopTimer>*>(pUserData)->push_back(nTimer);
    }
  };
  std::vector<ZTKEventLoopTimer> fired;
  std::map<std::pair<std::int64_t, int>, ZTKEventLoopTimer> model;
  std::uint32_t random = 1;
  const auto next = [&random](std::uint32_t nLimit) {
    random = random * 1664525 + 1013904223;
    return (random >> 8) % nLimit;
  };
  for (int step = 0; step < 10'000; ++step) {
    const std::uint32_t what = next(10);
    if (what < 6) {
      const std::int64_t delay = next(50) * kMs;
      const ZTKEventLoopTimer timer = Loop().InstallTimer(delay, kLong, Fired::Callback, &fired);
      ASSERT_NE(timer, 0u);
      model.emplace(std::pair(Loop().Now() + delay, step), timer);
    } else if (what < 8 && !model.empty()) {
      auto victim = model.begin();
      std::advance(victim, next(static_cast<std::uint32_t>(model.size())));
      ASSERT_TRUE(Loop().RemoveTimer(victim->second));
      model.erase(victim);
    } else {
      fired.clear();
      clock.Advance(next(8));
      std::vector<ZTKEventLoopTimer> expected;
      while (!model.empty() && model.begin()->first.first <= Loop().Now()) {
        expected.push_back(model.begin()->second);
        model.erase(model.begin());
      }
      ASSERT_EQ(fired, expected);
      for (const ZTKEventLoopTimer timer : fired) ASSERT_TRUE(Loop().RemoveTimer(timer));
    }
    ASSERT_EQ(Loop().GetTimerCount(), model.size());
  }
  for (const auto& [due, timer] : model) ASSERT_TRUE(Loop().RemoveTimer(timer));
}

TEST(ZTKEventLoop, RunServesTimersOnTheCallingThreadUntilQuit) {
  int left = 5;
  bool elsewhere = false;
  const std::thread::id here = std::this_thread::get_id();
  const LoopTimer timer(1 * kMs, 1 * kMs, [&] {
    elsewhere = elsewhere || std::this_thread::get_id() != here;
    if (--left == 0) Loop().Quit();
  });
  Loop().Run();
  EXPECT_EQ(left, 0);
  EXPECT_FALSE(elsewhere);
}

TEST(ZTKEventLoop, QuitLetsTheDispatchFinish) {
  FakeClock clock;
  const LoopTimer first(1 * kMs, kLong, [] { Loop().Quit(); });
  const LoopTimer second(1 * kMs, kLong);
  clock.Pass(1);
  Loop().Run();
  EXPECT_EQ(second.Count(), 1);
}

TEST(ZTKEventLoop, QuitEndsTheInnermostRunAlone) {
  const FakeClock clock;
  bool ran = false;
  int quits = 0;
  int quitsAtTheEndOfTheInnerRun = 0;
  // Always due, so that each fires once in every dispatch, in this order.
  const LoopTimer runner(0, 0, [&] {
    if (std::exchange(ran, true)) return;
    Loop().RunFor(3'600'000);
    quitsAtTheEndOfTheInnerRun = quits;
  });
  const LoopTimer quitter(0, 0, [&] {
    ++quits;
    Loop().Quit();
  });
  Loop().Run();
  EXPECT_EQ(quitsAtTheEndOfTheInnerRun, 1);
  EXPECT_EQ(quits, 2);
}

TEST(ZTKEventLoop, QuitIsNotLostToARunThatBeginsInTheSameDispatch) {
  FakeClock clock;
  int nested = 0;
  const LoopTimer quitter(1 * kMs, kLong, [] { Loop().Quit(); });
  const LoopTimer runner(1 * kMs, kLong, [&] {
    Loop().RunFor(0);
    ++nested;
  });
  clock.Pass(1);
  Loop().Run();
  EXPECT_EQ(nested, 1);
}

TEST(ZTKEventLoop, QuitBeforeARunDoesNothing) {
  Loop().Quit();
  int count = 0;
  const LoopTimer timer(1 * kMs, 1 * kMs, [&] {
    if (++count == 3) Loop().Quit();
  });
  Loop().Run();
  EXPECT_EQ(count, 3);
}

TEST(ZTKEventLoop, QuitFromAnotherThreadEndsALoopWithoutTimers) {
  std::atomic<bool> ended{false};
  std::thread other([&] {
    // Again and again, because the first call may come before the loop runs.
    while (!ended) {
      Loop().Quit();
      std::this_thread::yield();
    }
  });
  Loop().Run();
  ended = true;
  other.join();
}

TEST(ZTKEventLoop, RunForEndsByItselfAndNotEarly) {
  const std::int64_t start = SteadyNow();
  const LoopTimer timer(1 * kMs, kLong);
  Loop().RunFor(20);
  EXPECT_GE(SteadyNow() - start, 20 * kMs);
  EXPECT_EQ(timer.Count(), 1);
}

TEST(ZTKEventLoop, RunForServesATimerThatIsDueAtItsEnd) {
  const LoopTimer timer(15 * kMs, kLong);
  Loop().RunFor(15);
  EXPECT_EQ(timer.Count(), 1);
}

TEST(ZTKEventLoop, RunForZeroDispatchesOnce) {
  const LoopTimer timer(0, 0);
  Loop().RunFor(0);
  EXPECT_EQ(timer.Count(), 1);
}

TEST(ZTKEventLoop, QuitEndsTheLongestRunFor) {
  const LoopTimer timer(1 * kMs, kLong, [] { Loop().Quit(); });
  Loop().RunFor(std::numeric_limits<unsigned long>::max());
  EXPECT_EQ(timer.Count(), 1);
}

TEST(ZTKEventLoop, ZeroIntervalsDoNotStarveTheOthersNorQuit) {
  const FakeClock clock;
  const LoopTimer busy(0, 0, [] { FakeClock::Pass(1); });
  const LoopTimer quitter(5 * kMs, kLong, [] { Loop().Quit(); });
  Loop().Run();
  EXPECT_EQ(busy.Count(), 5);
  EXPECT_EQ(quitter.Count(), 1);
}

TEST(ZTKEventLoop, RepeatingTimerIsNeverEarlyAndKeepsItsScheduleOnTheRealClock) {
  constexpr int kFirings = 500;
  std::vector<std::int64_t> times;
  const std::int64_t start = SteadyNow();
  const LoopTimer timer(1 * kMs, 1 * kMs, [&] {
    times.push_back(SteadyNow());
    if (times.size() == kFirings) Loop().Quit();
  });
  Loop().Run();
  const std::int64_t installed = SteadyNow() - start;
  EXPECT_GE(installed, kFirings * kMs);
  int bunched = 0;
  for (size_t i = 0; i < times.size(); ++i) {
    // Firing i belongs to expiry i + 1 at the earliest: later when a busy machine missed some.
    ASSERT_GE(times[i] - start, static_cast<std::int64_t>(i + 1) * kMs);
    if (i > 0 && times[i] - times[i - 1] < kMs / 10) ++bunched;
  }
  EXPECT_LT(bunched, kFirings / 2);  // Missed expiries do not come in bursts.
}

TEST(ZTKEventLoop, CoalescedTimersAreAllServedAndNoneEarly) {
  constexpr size_t kTimers = 1000;
  struct Expiry {
    std::int64_t due;
    bool early = false;
    int count = 0;
  };
  std::vector<Expiry> expiries(kTimers);
  std::vector<ZTKEventLoopTimer> timers;
  for (size_t i = 0; i < kTimers; ++i) {
    const std::int64_t delay = static_cast<std::int64_t>(i) * 20'000;
    expiries[i].due = SteadyNow() + delay;
    timers.push_back(Loop().InstallTimer(
        delay, kLong,
        [](ZTKEventLoopTimer, void* pUserData) {
          auto* const one = static_cast<Expiry*>(pUserData);
          ++one->count;
          one->early = SteadyNow() < one->due;
        },
        &expiries[i]));
  }
  Loop().RunFor(40);
  for (size_t i = 0; i < kTimers; ++i) {
    ASSERT_EQ(expiries[i].count, 1) << i;
    ASSERT_FALSE(expiries[i].early) << i;
    EXPECT_TRUE(Loop().RemoveTimer(timers[i]));
  }
}

void InstallWhileMemoryRunsOut() {
  std::vector<ZTKEventLoopTimer> timers;
  timers.reserve(5000);
  int refused = 0;
  for (int i = 0; i < 5000; ++i) {
    const failing_allocator::Scope scope(i % 3);
    const ZTKEventLoopTimer timer = Loop().InstallTimer(
        kLong, kLong, [](ZTKEventLoopTimer, void*) {}, nullptr);
    if (timer != 0) timers.push_back(timer);
    refused += timer == 0;
  }
  EXPECT_GT(refused, 0);
  EXPECT_EQ(Loop().GetTimerCount(), timers.size());
  for (const ZTKEventLoopTimer timer : timers) EXPECT_TRUE(Loop().RemoveTimer(timer));
}

TEST(ZTKEventLoop, InstallFailsCleanlyWhenMemoryRunsOut) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer owns the allocator";
  // In a process of its own: the loop keeps the memory it once had, and needs no more of it then.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        InstallWhileMemoryRunsOut();
        std::exit(testing::Test::HasFailure() ? 1 : 0);
      },
      testing::ExitedWithCode(0), "");
}

TEST(ZTKEventLoop, NextDelayIsTheTimeToTheNextExpiry) {
  const FakeClock clock;
  EXPECT_EQ(Loop().GetNextDelay(), -1);
  const LoopTimer later(kLong, kLong);
  EXPECT_EQ(Loop().GetNextDelay(), kLong);
  {
    const LoopTimer sooner(5 * kMs, 7 * kMs);
    EXPECT_EQ(Loop().GetNextDelay(), 5 * kMs);
    FakeClock::Pass(2);
    EXPECT_EQ(Loop().GetNextDelay(), 3 * kMs);
    FakeClock::Pass(4);
    EXPECT_EQ(Loop().GetNextDelay(), 0);
    EXPECT_EQ(Loop().Dispatch(), 1u);
    EXPECT_EQ(Loop().GetNextDelay(), 6 * kMs);
  }
  FakeClock::Advance(10);
  EXPECT_EQ(Loop().GetNextDelay(), kLong - 16 * kMs);
}

TEST(ZTKEventLoop, NextDelayIsNoneAgainWhenTheLastTimerIsRemoved) {
  const FakeClock clock;
  LoopTimer only(5 * kMs, kLong);
  ASSERT_TRUE(only.Remove());
  EXPECT_EQ(Loop().GetNextDelay(), -1);
}

TEST(ZTKEventLoop, NextDelayIsZeroWhileATimerHasNoInterval) {
  const FakeClock clock;
  const LoopTimer always(0, 0);
  EXPECT_EQ(Loop().GetNextDelay(), 0);
  EXPECT_EQ(Loop().Dispatch(), 1u);
  EXPECT_EQ(Loop().GetNextDelay(), 0);
}

TEST(ZTKEventLoop, NextDelayHasALoopInsideACallbackServeTheOthers) {
  const FakeClock clock;
  const LoopTimer always(0, 0);
  std::int64_t inside = -2;
  unsigned long served = 0;
  const LoopTimer modal(0, kLong, [&] {
    inside = Loop().GetNextDelay();
    served = Loop().Dispatch();
  });
  EXPECT_EQ(Loop().Dispatch(), 2u);
  EXPECT_EQ(inside, 0);
  EXPECT_EQ(served, 1u);
}

TEST(ZTKEventLoop, NextDelayOfCoalescedTimersEndsAtTheEarliestDeadline) {
  const FakeClock clock;
  std::vector<std::unique_ptr<LoopTimer>> timers;
  for (unsigned long i = 0; i < ZTKEventLoop::kCoalesceFrom; ++i) {
    timers.push_back(std::make_unique<LoopTimer>(100 * kMs, 100 * kMs));
  }
  EXPECT_EQ(Loop().GetNextDelay(), 100 * kMs);
  EXPECT_EQ(Loop().Dispatch(), 0u);
  EXPECT_EQ(Loop().GetNextDelay(), 100 * kMs + 100 * kMs / ZTKEventLoop::kSlackShare);
  timers.pop_back();
  EXPECT_EQ(Loop().Dispatch(), 0u);
  EXPECT_EQ(Loop().GetNextDelay(), 100 * kMs);
}

// A loop that has nothing to watch: it sleeps by the delay alone.
TEST(ZTKEventLoop, SleepingForTheNextDelayServesEveryExpiryInTime) {
  const FakeClock clock;
  const LoopTimer fast(3 * kMs, 3 * kMs);
  const LoopTimer slow(10 * kMs, 10 * kMs);
  int turns = 0;
  for (std::int64_t passed = 0; passed < 30; ++turns) {
    const std::int64_t delay = Loop().GetNextDelay();
    ASSERT_GT(delay, 0);
    passed += delay / kMs;
    EXPECT_GT(FakeClock::Advance(delay / kMs), 0u) << passed;
  }
  EXPECT_EQ(fast.Count(), 10);
  EXPECT_EQ(slow.Count(), 3);
  EXPECT_EQ(turns, 12);
}

TEST(ZTKEventLoop, ClockOfATestSignalsTheHandleForDueTimers) {
  const std::intptr_t handle = Loop().GetWaitHandle();
  {
    const FakeClock clock;
    const LoopTimer later(kLong, kLong);
    EXPECT_FALSE(IsSignalled(handle, 0));
    const LoopTimer due(0, kLong);
    EXPECT_TRUE(IsSignalled(handle, 10'000));
    EXPECT_EQ(Loop().Dispatch(), 1u);
    EXPECT_FALSE(IsSignalled(handle, 0));
  }
  EXPECT_FALSE(IsSignalled(handle, 0));
}

}  // namespace
