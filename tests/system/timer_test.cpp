#include "ztk/system/timer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/failing_allocator.h"
#include "tests/system/fake_clock.h"

namespace {

using ::testing::ElementsAre;

// Counts its notifications and does what a test wants done in them.
class TestTimer : public ZTKTimer {
 public:
  TestTimer() = default;
  explicit TestTimer(std::function<void()> action) : m_action(std::move(action)) {}
  void Notify() override {
    ++m_count;
    if (m_action) {
      const std::function<void()> action = m_action;  // The timer may delete itself.
      action();
    }
  }
  void Do(std::function<void()> action) { m_action = std::move(action); }
  int Count() const { return m_count; }

  using ZTKTimer::XPKillTimer;
  using ZTKTimer::XPSetTimer;

 private:
  std::function<void()> m_action;
  int m_count = 0;
};

// Started before main(), so it is the first of the process.
struct StaticTimer {
  StaticTimer() {
    timer.Start(1, 1);
    firstId = timer.GetId();
  }
  TestTimer timer;
  std::uint32_t firstId = 0;
} s_static;

class ZTKTimerTest : public ::testing::Test {
 protected:
  void SetUp() override { s_static.timer.Stop(); }
  void TearDown() override { EXPECT_EQ(ZTKEventLoop::Main().GetTimerCount(), 0u); }
  FakeClock clock;
};

// Keeps the counter of ids as it is for the other tests.
class ScopedIds {
 public:
  explicit ScopedIds(std::uint32_t nNext) : m_old(ZTKTimer::s_uInitTime) {
    ZTKTimer::s_uInitTime = nNext;
  }
  ~ScopedIds() { ZTKTimer::s_uInitTime = m_old; }

 private:
  std::uint32_t m_old;
};

TEST_F(ZTKTimerTest, NewTimerIsNotRunning) {
  const ZTKTimer timer;
  EXPECT_FALSE(timer.IsRunning());
  EXPECT_EQ(timer.GetId(), 0u);
  EXPECT_EQ(timer.GetInterval(), 0u);
  EXPECT_FALSE(timer.IsOneShot());
}

TEST_F(ZTKTimerTest, FirstTimerOfTheProcessGetsId1) { EXPECT_EQ(s_static.firstId, 1u); }

TEST_F(ZTKTimerTest, IdsCountStartsAndAreNeverReused) {
  const std::uint32_t next = ZTKTimer::s_uInitTime;
  TestTimer a;
  TestTimer b;
  ASSERT_TRUE(a.Start(10, 0));
  EXPECT_EQ(a.GetId(), next);
  a.Stop();
  ASSERT_TRUE(b.Start(10, 0));
  EXPECT_EQ(b.GetId(), next + 1);
  ASSERT_TRUE(a.Start(10, 0));
  EXPECT_EQ(a.GetId(), next + 2);
  EXPECT_EQ(ZTKTimer::s_uInitTime, next + 3);
}

TEST_F(ZTKTimerTest, RestartTakesANewIdAndForgetsTheOld) {
  TestTimer timer;
  ASSERT_TRUE(timer.Start(10, 0));
  const std::uint32_t old = timer.GetId();
  ASSERT_TRUE(timer.Start(20, 1));
  EXPECT_EQ(timer.GetId(), old + 1);
  EXPECT_EQ(timer.GetInterval(), 20u);
  EXPECT_TRUE(timer.IsOneShot());
  EXPECT_EQ(ZTKEventLoop::Main().GetTimerCount(), 1u);

  ZTKTimer::TimerProc(static_cast<unsigned long>(old));
  EXPECT_EQ(timer.Count(), 0);
  ZTKTimer::TimerProc(static_cast<unsigned long>(old + 1));
  EXPECT_EQ(timer.Count(), 1);
}

TEST_F(ZTKTimerTest, OneShotTimerFiresOnceAndIsStoppedInsideItsNotification) {
  TestTimer timer;
  bool ran = true;
  timer.Do([&] { ran = timer.IsRunning(); });
  ASSERT_TRUE(timer.Start(100, 1));
  clock.Advance(99);
  EXPECT_EQ(timer.Count(), 0);
  clock.Advance(1);
  EXPECT_EQ(timer.Count(), 1);
  EXPECT_FALSE(ran);
  EXPECT_EQ(timer.GetId(), 0u);
  clock.Advance(1000);
  EXPECT_EQ(timer.Count(), 1);
}

TEST_F(ZTKTimerTest, RepeatingTimerFiresAtEachPeriodUntilItIsStopped) {
  TestTimer timer;
  ASSERT_TRUE(timer.Start(50, 0));
  for (int i = 0; i < 200; ++i) clock.Advance(5);
  EXPECT_EQ(timer.Count(), 20);
  EXPECT_TRUE(timer.IsRunning());
  timer.Stop();
  EXPECT_FALSE(timer.IsRunning());
  clock.Advance(1000);
  EXPECT_EQ(timer.Count(), 20);
}

TEST_F(ZTKTimerTest, StopOfATimerThatIsNotRunningDoesNothing) {
  TestTimer timer;
  timer.Stop();
  timer.Stop();
  EXPECT_FALSE(timer.IsRunning());
  EXPECT_TRUE(timer.Start(1, 1));
}

TEST_F(ZTKTimerTest, DestructorStopsTheTimer) {
  auto timer = std::make_unique<TestTimer>();
  ASSERT_TRUE(timer->Start(1, 0));
  const unsigned long id = timer->GetId();
  timer.reset();
  clock.Advance(10);
  ZTKTimer::TimerProc(id);
  EXPECT_EQ(ZTKEventLoop::Main().GetTimerCount(), 0u);
}

TEST_F(ZTKTimerTest, BaseNotificationDoesNothing) {
  ZTKTimer timer;
  ASSERT_TRUE(timer.Start(5, 0));
  EXPECT_EQ(clock.Advance(5), 1u);
  EXPECT_TRUE(timer.IsRunning());
}

TEST_F(ZTKTimerTest, TimersFireInTheOrderOfTheirDueTimesThenOfTheirIds) {
  std::string order;
  TestTimer a([&] { order += 'a'; });
  TestTimer b([&] { order += 'b'; });
  TestTimer c([&] { order += 'c'; });
  TestTimer d([&] { order += 'd'; });
  d.Start(30, 1);
  b.Start(20, 1);
  a.Start(20, 1);
  c.Start(10, 1);
  b.Start(20, 1);  // Takes a higher id than a's.
  clock.Advance(100);
  EXPECT_EQ(order, "cabd");
}

TEST_F(ZTKTimerTest, ExpiriesKeepTheirPhaseAndMissedOnesAreDeliveredAsOne) {
  TestTimer timer;
  ASSERT_TRUE(timer.Start(10, 0));
  clock.Advance(37);  // 10, 20 and 30 are one notification.
  EXPECT_EQ(timer.Count(), 1);
  clock.Advance(2);  // 39
  EXPECT_EQ(timer.Count(), 1);
  clock.Advance(1);  // 40: no later, although the last one was served at 37.
  EXPECT_EQ(timer.Count(), 2);
  clock.Advance(10);
  EXPECT_EQ(timer.Count(), 3);
}

TEST_F(ZTKTimerTest, TenThousandLateServingsDoNotDrift) {
  TestTimer timer;
  ASSERT_TRUE(timer.Start(10, 0));
  clock.Pass(3);
  for (int i = 1; i <= 10'000; ++i) {
    clock.Advance(10);  // Always 3 ms late.
    ASSERT_EQ(timer.Count(), i);
  }
  timer.Stop();
}

TEST_F(ZTKTimerTest, ZeroPeriodFiresOncePerDispatch) {
  TestTimer zero;
  TestTimer other;
  ASSERT_TRUE(zero.Start(0, 0));
  ASSERT_TRUE(other.Start(10, 0));
  EXPECT_EQ(clock.Advance(0), 1u);
  EXPECT_EQ(clock.Advance(0), 1u);
  EXPECT_EQ(zero.Count(), 2);
  EXPECT_EQ(clock.Advance(10), 2u);
  EXPECT_EQ(zero.Count(), 3);
  EXPECT_EQ(other.Count(), 1);
}

TEST_F(ZTKTimerTest, ZeroOneShotFiresInTheNextDispatch) {
  TestTimer timer;
  ASSERT_TRUE(timer.Start(0, 1));
  EXPECT_EQ(timer.Count(), 0);
  clock.Advance(0);
  clock.Advance(0);
  EXPECT_EQ(timer.Count(), 1);
}

TEST_F(ZTKTimerTest, StartedInsideANotificationItFiresInTheNextDispatch) {
  TestTimer child;
  TestTimer parent([&] { child.Start(0, 1); });
  ASSERT_TRUE(parent.Start(5, 1));
  EXPECT_EQ(clock.Advance(5), 1u);
  EXPECT_EQ(child.Count(), 0);
  EXPECT_EQ(clock.Advance(0), 1u);
  EXPECT_EQ(child.Count(), 1);
}

TEST_F(ZTKTimerTest, OneShotMayStartItselfAgain) {
  TestTimer timer;
  timer.Do([&] {
    if (timer.Count() < 3) timer.Start(10, 1);
  });
  ASSERT_TRUE(timer.Start(10, 1));
  for (int i = 0; i < 10; ++i) clock.Advance(10);
  EXPECT_EQ(timer.Count(), 3);
}

TEST_F(ZTKTimerTest, RestartInsideANotificationBeginsANewPhase) {
  TestTimer timer;
  timer.Do([&] {
    if (timer.Count() == 1) timer.Start(7, 0);
  });
  ASSERT_TRUE(timer.Start(10, 0));
  clock.Advance(12);
  clock.Advance(6);
  EXPECT_EQ(timer.Count(), 1);
  clock.Advance(1);
  EXPECT_EQ(timer.Count(), 2);
}

TEST_F(ZTKTimerTest, StoppedInItsOwnNotificationItFiresNoMore) {
  TestTimer timer;
  timer.Do([&] { timer.Stop(); });
  ASSERT_TRUE(timer.Start(10, 0));
  clock.Advance(10);
  clock.Advance(100);
  EXPECT_EQ(timer.Count(), 1);
}

TEST_F(ZTKTimerTest, DeletesItselfInItsNotification) {
  for (const int oneShot : {0, 1}) {
    SCOPED_TRACE(oneShot);
    int fired = 0;
    auto* const timer = new TestTimer;
    timer->Do([&fired, timer] {
      ++fired;
      delete timer;
    });
    ASSERT_TRUE(timer->Start(10, oneShot));
    clock.Advance(10);
    clock.Advance(100);
    EXPECT_EQ(fired, 1);
  }
}

TEST_F(ZTKTimerTest, TimerStoppedByOneDueAtTheSameTimeDoesNotFire) {
  TestTimer second;
  TestTimer first([&] { second.Stop(); });
  ASSERT_TRUE(first.Start(10, 1));
  ASSERT_TRUE(second.Start(10, 1));
  EXPECT_EQ(clock.Advance(10), 1u);
  EXPECT_EQ(second.Count(), 0);
}

TEST_F(ZTKTimerTest, TimerDeletedByOneDueAtTheSameTimeDoesNotFire) {
  int fired = 0;
  auto second = std::make_unique<TestTimer>([&] { ++fired; });
  TestTimer first([&] { second.reset(); });
  ASSERT_TRUE(first.Start(10, 0));
  ASSERT_TRUE(second->Start(10, 0));
  clock.Advance(10);
  clock.Advance(10);
  EXPECT_EQ(fired, 0);
  EXPECT_EQ(first.Count(), 2);
}

TEST_F(ZTKTimerTest, TimerRestartedByOneDueAtTheSameTimeFiresAtItsNewTime) {
  TestTimer second;
  TestTimer first([&] { second.Start(10, 1); });
  ASSERT_TRUE(first.Start(10, 1));
  ASSERT_TRUE(second.Start(10, 1));
  EXPECT_EQ(clock.Advance(15), 1u);
  EXPECT_EQ(second.Count(), 0);
  clock.Advance(9);
  EXPECT_EQ(second.Count(), 0);
  clock.Advance(1);
  EXPECT_EQ(second.Count(), 1);
}

TEST_F(ZTKTimerTest, AllTimersStoppedAndDeletedFromOneNotification) {
  std::vector<std::unique_ptr<TestTimer>> timers;
  int fired = 0;
  for (int i = 0; i < 100; ++i) {
    timers.push_back(std::make_unique<TestTimer>([&] {
      ++fired;
      timers.clear();
    }));
    ASSERT_TRUE(timers.back()->Start(10, i % 2));
  }
  clock.Advance(10);
  EXPECT_EQ(fired, 1);
}

TEST_F(ZTKTimerTest, LoopRunInsideANotificationServesTheOthers) {
  std::string order;
  TestTimer inner([&] { order += 'i'; });
  TestTimer last([&] { order += 'l'; });
  TestTimer outer([&] {
    order += '(';
    clock.Advance(10);
    order += ')';
  });
  ASSERT_TRUE(outer.Start(10, 1));
  ASSERT_TRUE(inner.Start(10, 0));
  ASSERT_TRUE(last.Start(15, 1));
  clock.Advance(10);
  EXPECT_EQ(order, "(il)");
}

TEST_F(ZTKTimerTest, TimerProcOfNoTimerDoesNothing) {
  ZTKTimer::TimerProc(static_cast<ZTKTimer*>(nullptr));
  ZTKTimer::TimerProc(0UL);
  ZTKTimer::TimerProc(4'000'000'000UL);
  ZTKProcessTimer(0, nullptr);
  EXPECT_EQ(clock.Advance(10), 0u);
}

TEST_F(ZTKTimerTest, TimerProcOfAnIdStopsAOneShotTimerAndNotifies) {
  TestTimer oneShot;
  TestTimer repeating;
  ASSERT_TRUE(oneShot.Start(10, 1));
  ASSERT_TRUE(repeating.Start(10, 0));
  ZTKTimer::TimerProc(static_cast<unsigned long>(oneShot.GetId()));
  ZTKTimer::TimerProc(static_cast<unsigned long>(repeating.GetId()));
  EXPECT_FALSE(oneShot.IsRunning());
  EXPECT_TRUE(repeating.IsRunning());
  ZTKProcessTimer(0, &repeating);
  EXPECT_EQ(oneShot.Count(), 1);
  EXPECT_EQ(repeating.Count(), 2);
}

TEST_F(ZTKTimerTest, StartThatWouldTakeId0FailsAndLeavesNothingRunning) {
  const ScopedIds ids(0xFFFFFFFF);
  TestTimer last;
  TestTimer zero;
  TestTimer first;
  EXPECT_TRUE(last.Start(10, 0));
  EXPECT_EQ(last.GetId(), 0xFFFFFFFF);
  EXPECT_FALSE(zero.Start(10, 0));
  EXPECT_FALSE(zero.IsRunning());
  EXPECT_EQ(ZTKEventLoop::Main().GetTimerCount(), 1u);
  EXPECT_TRUE(first.Start(10, 0));
  EXPECT_EQ(first.GetId(), 1u);
  clock.Advance(10);
  EXPECT_EQ(zero.Count(), 0);
  EXPECT_EQ(first.Count(), 1);
}

TEST_F(ZTKTimerTest, StartFailsWhileARunningTimerHasItsId) {
  TestTimer holder;
  ASSERT_TRUE(holder.Start(10, 0));
  const ScopedIds ids(holder.GetId());
  TestTimer late;
  EXPECT_FALSE(late.Start(10, 0));
  EXPECT_EQ(late.GetId(), 0u);
  EXPECT_EQ(ZTKEventLoop::Main().GetTimerCount(), 1u);
  clock.Advance(10);
  EXPECT_EQ(late.Count(), 0);
  EXPECT_EQ(holder.Count(), 1);
  EXPECT_TRUE(late.Start(10, 0));  // The id after it is free.
}

TEST_F(ZTKTimerTest, FirstDelayIsTheArgumentAndThePeriodItsLow32Bits) {
  if (sizeof(unsigned long) == 4) GTEST_SKIP() << "the argument has 32 bits";
  TestTimer timer;
  const auto beyond = static_cast<unsigned long>((std::uint64_t{1} << 32) + 5);
  ASSERT_TRUE(timer.Start(beyond, 0));
  EXPECT_EQ(timer.GetInterval(), 5u);
  clock.Advance(static_cast<std::int64_t>(beyond) - 1);
  EXPECT_EQ(timer.Count(), 0);
  clock.Advance(1);
  EXPECT_EQ(timer.Count(), 1);
  clock.Advance(5);
  EXPECT_EQ(timer.Count(), 2);
}

TEST_F(ZTKTimerTest, LongestDelayNeverComes) {
  TestTimer timer;
  ASSERT_TRUE(timer.Start(ULONG_MAX, 1));
  clock.Advance(1'000'000'000);
  EXPECT_EQ(timer.Count(), 0);
  EXPECT_TRUE(timer.IsRunning());
}

// Its Stop() forgets to call the base's.
class NeverStops : public TestTimer {
 public:
  void Stop() override { ++stops; }
  int stops = 0;
};

TEST_F(ZTKTimerTest, OverriddenStopIsCalledByRestartAndByTheOneShotExpiry) {
  NeverStops timer;
  ASSERT_TRUE(timer.Start(10, 1));
  clock.Advance(10);
  EXPECT_EQ(timer.stops, 1);
  EXPECT_TRUE(timer.IsRunning());  // Nobody stopped it, so the system timer repeats.
  clock.Advance(10);
  EXPECT_EQ(timer.stops, 2);
  EXPECT_EQ(timer.Count(), 2);

  ASSERT_TRUE(timer.Start(10, 0));
  EXPECT_EQ(timer.stops, 3);
  EXPECT_EQ(ZTKEventLoop::Main().GetTimerCount(), 1u);
  clock.Advance(10);
  EXPECT_EQ(timer.Count(), 3);
}

// Overrides the two other virtual operations.
class Contrary : public TestTimer {
 public:
  bool IsRunning() const override { return false; }
};

TEST_F(ZTKTimerTest, TimerThatDeniesRunningLeavesNoSecondOneBehind) {
  Contrary timer;
  ASSERT_TRUE(timer.Start(10, 0));
  ASSERT_TRUE(timer.Start(10, 0));
  EXPECT_EQ(ZTKEventLoop::Main().GetTimerCount(), 1u);
  EXPECT_EQ(clock.Advance(10), 1u);
}

TEST_F(ZTKTimerTest, AMillionStartsAndStopsLeaveNothingBehind) {
  TestTimer timer;
  ASSERT_TRUE(timer.Start(10, 0));
  timer.Stop();
  const bool countable = failing_allocator::Available();
  const int rounds = countable ? 1'000'000 : 10'000;
  long asked = 0;
  for (int i = 0; i < rounds; ++i) {
    // From the second round on: the record of the timer and nothing else.
    if (countable && i == rounds - 1) {
      const failing_allocator::Scope scope(LONG_MAX);
      ASSERT_TRUE(timer.Start(10, 0));
      asked = scope.Asked();
    } else {
      ASSERT_TRUE(timer.Start(10, i % 2));
    }
    timer.Stop();
  }
  if (countable) {
    EXPECT_EQ(asked, 1);
  }
  EXPECT_EQ(ZTKEventLoop::Main().GetTimerCount(), 0u);
}

TEST_F(ZTKTimerTest, ManyTimersStoppedInAnyOrderFireInOrder) {
  std::vector<int> fired;
  std::vector<std::unique_ptr<TestTimer>> timers;
  unsigned random = 12345;
  const auto next = [&] { return random = random * 1103515245 + 12345; };
  std::vector<unsigned long> due;
  for (int i = 0; i < 3000; ++i) {
    due.push_back(1 + (next() >> 16) % 500);
    timers.push_back(std::make_unique<TestTimer>([&fired, i] { fired.push_back(i); }));
    ASSERT_TRUE(timers.back()->Start(due.back(), 1));
  }
  for (int i = 0; i < 2000; ++i) timers[(next() >> 16) % 3000]->Stop();
  std::vector<int> expected;
  for (unsigned long time = 1; time <= 500; ++time) {
    for (size_t i = 0; i < 3000; ++i) {
      if (due[i] == time && timers[i]->IsRunning()) expected.push_back(static_cast<int>(i));
    }
  }
  clock.Advance(250);
  clock.Advance(250);
  EXPECT_EQ(fired, expected);
}

TEST_F(ZTKTimerTest, WithoutMemoryForItsRecordATimerRunsButNeverFires) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer owns the allocator";
  TestTimer timer;
  TestTimer warm;
  ASSERT_TRUE(warm.Start(10, 0));
  warm.Stop();
  {
    const failing_allocator::Scope scope(0);
    EXPECT_TRUE(timer.Start(10, 0));
    EXPECT_TRUE(scope.Failed());
  }
  EXPECT_TRUE(timer.IsRunning());
  clock.Advance(100);
  EXPECT_EQ(timer.Count(), 0);
  timer.Stop();
  EXPECT_TRUE(timer.Start(10, 1));
  clock.Advance(10);
  EXPECT_EQ(timer.Count(), 1);
}

TEST_F(ZTKTimerTest, EveryFailingAllocationLeavesTimersThatCanBeStopped) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer owns the allocator";
  std::vector<std::unique_ptr<TestTimer>> timers;
  for (int i = 0; i < 2000; ++i) timers.push_back(std::make_unique<TestTimer>());
  long failures = 0;
  for (size_t i = 0; i < timers.size(); ++i) {
    const failing_allocator::Scope scope(static_cast<long>(i % 3), 1);
    ASSERT_TRUE(timers[i]->Start(10, 0));
    if (scope.Failed()) ++failures;
  }
  EXPECT_GT(failures, 600);
  const unsigned long installed = ZTKEventLoop::Main().GetTimerCount();
  EXPECT_LT(installed, timers.size());
  EXPECT_EQ(clock.Advance(10), installed);
}

}  // namespace
