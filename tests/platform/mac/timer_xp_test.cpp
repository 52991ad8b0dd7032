#include "ztk/system/timer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <ctime>
#include <limits>

#include "tests/platform/mac/failing_calls.h"
#include "tests/system/fake_clock.h"
#include "ztk/platform/mac/services/event_timers.h"

using namespace ztk_mac_services;

namespace {

class CountingTimer : public ZTKTimer {
 public:
  void Notify() override { ++count; }
  int count = 0;
};

int s_calls = 0;
void* s_pUserData = nullptr;
void Record(EventLoopTimerRef /*timer*/, void* pUserData) {
  ++s_calls;
  s_pUserData = pUserData;
}

class EventTimersMac : public ::testing::Test {
 protected:
  void SetUp() override { s_calls = 0; }
  void TearDown() override { EXPECT_EQ(ZTKEventLoop::Main().GetTimerCount(), 0u); }

  FakeClock clock;
};

}  // namespace

TEST_F(EventTimersMac, CallAfterTheDelayAndThenAtEveryInterval) {
  EventLoopTimerRef timer = 0;
  int user = 0;
  ASSERT_EQ(InstallEventLoopTimer(GetMainEventLoop(), 0.02, 0.005, Record, &user, &timer), noErr);
  EXPECT_NE(timer, 0u);
  clock.Advance(19);
  EXPECT_EQ(s_calls, 0);
  clock.Advance(1);
  EXPECT_EQ(s_calls, 1);
  EXPECT_EQ(s_pUserData, &user);
  for (int i = 0; i < 4; ++i) clock.Advance(5);
  EXPECT_EQ(s_calls, 5);
  EXPECT_EQ(RemoveEventLoopTimer(timer), noErr);
  clock.Advance(50);
  EXPECT_EQ(s_calls, 5);
  EXPECT_EQ(RemoveEventLoopTimer(timer), paramErr);
}

TEST_F(EventTimersMac, TakeTimesThatAreNone) {
  const double times[] = {0,      -0.0,         -1,
                          -1e300, std::nan(""), -std::numeric_limits<double>::infinity()};
  for (const double time : times) {
    SCOPED_TRACE(time);
    EventLoopTimerRef timer = 0;
    s_calls = 0;
    ASSERT_EQ(InstallEventLoopTimer(GetMainEventLoop(), time, time, Record, nullptr, &timer),
              noErr);
    clock.Advance(0);
    clock.Advance(0);
    EXPECT_EQ(s_calls, 2);
    RemoveEventLoopTimer(timer);
  }
}

TEST_F(EventTimersMac, NeverCallAfterATimeThatCannotBeCounted) {
  for (const double time : {1e10, 1e18, 1e300, std::numeric_limits<double>::infinity()}) {
    SCOPED_TRACE(time);
    EventLoopTimerRef timer = 0;
    ASSERT_EQ(InstallEventLoopTimer(GetMainEventLoop(), time, time, Record, nullptr, &timer),
              noErr);
    clock.Advance(4'000'000'000);
    EXPECT_EQ(s_calls, 0);
    RemoveEventLoopTimer(timer);
  }
}

TEST_F(EventTimersMac, RefuseWhatIsMissing) {
  EventLoopTimerRef timer = 5;
  EXPECT_EQ(InstallEventLoopTimer(nullptr, 1, 1, Record, nullptr, &timer), paramErr);
  EXPECT_EQ(InstallEventLoopTimer(GetMainEventLoop(), 1, 1, nullptr, nullptr, &timer), paramErr);
  EXPECT_EQ(InstallEventLoopTimer(GetMainEventLoop(), 1, 1, Record, nullptr, nullptr), paramErr);
  EXPECT_EQ(timer, 5u);
  EXPECT_EQ(RemoveEventLoopTimer(0), paramErr);
}

// Milliseconds become seconds on the way to the loop, and must come back as what they were.
TEST_F(EventTimersMac, EveryNumberOfMillisecondsIsKeptExactly) {
  std::uint32_t ms = 1;
  for (int i = 0; i < 300; ++i) {
    SCOPED_TRACE(ms);
    CountingTimer timer;
    ASSERT_TRUE(timer.Start(ms, 0));
    clock.Advance(ms - 1);
    EXPECT_EQ(timer.count, 0);
    clock.Advance(1);
    ASSERT_EQ(timer.count, 1);
    clock.Advance(ms);
    ASSERT_EQ(timer.count, 2);
    ms = ms * 1664525u + 1013904223u;
    if (ms == 0) ms = 0xFFFFFFFFu;
    if (i % 3 == 0) ms >>= i % 29;
    if (ms == 0) ms = 1;
  }
}

// A timer that the system did not take runs all the same, as far as it knows; no calls come.
TEST_F(EventTimersMac, EveryFailingCallLeavesATimerThatCanBeStopped) {
  const unsigned long calls = WithEachCallFailing([&](bool fails) {
    CountingTimer timer;
    EXPECT_TRUE(timer.Start(10, 0));
    EXPECT_TRUE(timer.IsRunning());
    EXPECT_NE(timer.GetId(), 0u);
    EXPECT_EQ(ZTKEventLoop::Main().GetTimerCount(), fails ? 0u : 1u);
    clock.Advance(10);
    EXPECT_EQ(timer.count, fails ? 0 : 1);
    timer.Stop();
    EXPECT_FALSE(timer.IsRunning());
    EXPECT_EQ(ZTKEventLoop::Main().GetTimerCount(), 0u);
  });
  EXPECT_EQ(calls, 2u);  // The loop, and the installation.
}

TEST(TickCountMac, CountsTheTicksOfTheHost) {
  timespec before{};
  clock_gettime(CLOCK_BOOTTIME, &before);
  const unsigned long ticks = TickCount();
  const unsigned long later = ZTKGetTickCount();
  timespec after{};
  clock_gettime(CLOCK_BOOTTIME, &after);
  EXPECT_GE(ticks, static_cast<unsigned long>(before.tv_sec) * 60);
  EXPECT_LE(ticks, later);
  EXPECT_LE(later, static_cast<unsigned long>(after.tv_sec + 1) * 60);
}
