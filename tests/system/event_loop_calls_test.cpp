// The loop between its expiries, by the calls that it makes of the system: that it sleeps and does
// not spin, whatever the system refuses, and for when it has itself woken.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <semaphore.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <sys/timerfd.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

#include "tests/support/scoped_process.h"
#include "ztk/system/event_loop.h"

namespace {

constexpr std::int64_t kMs = 1'000'000;
constexpr std::int64_t kNsPerSecond = 1'000'000'000;
constexpr std::int64_t kLong = 3'600'000 * kMs;

// What this thread's calls did and are to do.
thread_local long t_sleeps = 0;
thread_local long t_looksAtTheClock = 0;
thread_local long t_interruptions = 0;  // So many sleeps are still to be broken off at once.
thread_local std::int64_t t_now = 0;    // What the steady clock says, if it is not 0.
thread_local std::int64_t t_armedFor = 0;
thread_local long t_timersRefused = 0;  // So many descriptors are still to be refused.
thread_local long t_eventsRefused = 0;
constexpr long kAlways = 1'000'000;

#ifdef SYS_ppoll_time64
constexpr long kPpoll = SYS_ppoll_time64, kClock = SYS_clock_gettime64;
constexpr long kSetTimer = SYS_timerfd_settime64;
#else
constexpr long kPpoll = SYS_ppoll, kClock = SYS_clock_gettime, kSetTimer = SYS_timerfd_settime;
#endif

bool IsInterrupted() {
  ++t_sleeps;
  if (t_interruptions == 0) return false;
  --t_interruptions;
  errno = EINTR;
  return true;
}

bool IsRefused(long& nRefused) {
  if (nRefused == 0) return false;
  --nRefused;
  errno = EMFILE;
  return true;
}

std::int64_t Nanoseconds(const timespec& time) {
  return std::int64_t{time.tv_sec} * kNsPerSecond + time.tv_nsec;
}

}  // namespace

extern "C" {

int ppoll(pollfd* pWatched, nfds_t nCount, const timespec* pTimeout, const sigset_t* pSignals) {
  if (IsInterrupted()) return -1;
  if (t_now != 0) {
    // Asleep until the time is up, or the alarm goes off.
    t_now = pTimeout != nullptr ? t_now + Nanoseconds(*pTimeout) : std::max(t_now, t_armedFor);
    return 0;
  }
  timespec timeout = pTimeout != nullptr ? *pTimeout : timespec{};  // The system writes to it.
  return static_cast<int>(syscall(kPpoll, pWatched, nCount,
                                  pTimeout != nullptr ? &timeout : nullptr, pSignals, _NSIG / 8));
}

int sem_clockwait(sem_t* pSemaphore, clockid_t, const timespec* pUntil) {
  if (IsInterrupted()) return -1;
  for (;;) {
    if (sem_trywait(pSemaphore) == 0) return 0;
    timespec now{};
    syscall(kClock, CLOCK_MONOTONIC, &now);
    if (Nanoseconds(now) >= Nanoseconds(*pUntil)) break;
    sched_yield();
  }
  errno = ETIMEDOUT;
  return -1;
}

int clock_gettime(clockid_t clock, timespec* pNow) noexcept {
  if (clock != CLOCK_MONOTONIC) return static_cast<int>(syscall(kClock, clock, pNow));
  ++t_looksAtTheClock;
  if (t_now == 0) return static_cast<int>(syscall(kClock, clock, pNow));
  pNow->tv_sec = static_cast<time_t>(t_now / kNsPerSecond);
  pNow->tv_nsec = static_cast<long>(t_now % kNsPerSecond);
  return 0;
}

int timerfd_settime(int fd, int flags, const itimerspec* pNew, itimerspec* pOld) noexcept {
  t_armedFor = Nanoseconds(pNew->it_value);
  return static_cast<int>(syscall(kSetTimer, fd, flags, pNew, pOld));
}

int timerfd_create(clockid_t clock, int flags) noexcept {
  return IsRefused(t_timersRefused) ? -1
                                    : static_cast<int>(syscall(SYS_timerfd_create, clock, flags));
}

int eventfd(unsigned int nCount, int flags) noexcept {
  return IsRefused(t_eventsRefused) ? -1 : static_cast<int>(syscall(SYS_eventfd2, nCount, flags));
}

}  // extern "C"

namespace {

ZTKEventLoop& Loop() { return ZTKEventLoop::Main(); }

// A timer of the main loop that counts, and ends the run at last.
class CountingTimer {
 public:
  CountingTimer(std::int64_t nDelayNs, std::int64_t nIntervalNs, long nLast = -1)
      : m_left(nLast), m_timer(Loop().InstallTimer(nDelayNs, nIntervalNs, Fire, this)) {}
  ~CountingTimer() { Loop().RemoveTimer(m_timer); }
  CountingTimer(const CountingTimer&) = delete;
  CountingTimer& operator=(const CountingTimer&) = delete;

  long Count() const { return m_count; }

 private:
  static void Fire(ZTKEventLoopTimer, void* pUserData) {
    auto* const self = static_cast<CountingTimer*>(pUserData);
    ++self->m_count;
    if (--self->m_left == 0) Loop().Quit();
  }

  long m_count = 0;
  long m_left;
  ZTKEventLoopTimer m_timer;
};

// Between two sleeps the loop looks at the clock this often at most.
constexpr long kLooksPerSleep = 6;

void ForgetCalls() {
  t_sleeps = 0;
  t_looksAtTheClock = 0;
}

TEST(ZTKEventLoopCalls, RunSleepsOnceForEachExpiry) {
  const CountingTimer timer(1 * kMs, 1 * kMs, 20);
  ForgetCalls();
  Loop().Run();
  EXPECT_EQ(timer.Count(), 20);
  EXPECT_LE(t_sleeps, 20);
  EXPECT_LE(t_looksAtTheClock, 20 * kLooksPerSleep);
}

// From here on time passes in sleeps alone, however slow the machine is.
struct GivenTime {
  GivenTime() { t_now = kStart; }
  ~GivenTime() { t_now = 0; }
  static std::int64_t Passed() { return t_now - kStart; }
  static constexpr std::int64_t kStart = 1000 * kNsPerSecond;
};

TEST(ZTKEventLoopCalls, RunForSleepsOnceWithoutTimers) {
  ASSERT_GE(Loop().GetFd(), 0);
  const GivenTime time;
  ForgetCalls();
  Loop().RunFor(20);
  EXPECT_EQ(t_sleeps, 1);
  EXPECT_EQ(time.Passed(), 20 * kMs);
  EXPECT_LE(t_looksAtTheClock, 2 * kLooksPerSleep);
}

TEST(ZTKEventLoopCalls, RunWithManyTimersSleepsAtMostOnceForEachExpiry) {
  std::vector<std::unique_ptr<CountingTimer>> others;
  for (int i = 0; i < 300; ++i) {
    others.push_back(std::make_unique<CountingTimer>(kLong, kLong));
  }
  const CountingTimer timer(1 * kMs, 1 * kMs, 20);
  ForgetCalls();
  Loop().Run();
  // The first sleep ends at the first timer's time, before the loop has seen how many there are.
  EXPECT_LE(t_sleeps, 21);
  EXPECT_LE(t_looksAtTheClock, 21 * kLooksPerSleep);
}

TEST(ZTKEventLoopCalls, InterruptedSleepsAreTakenUpAgain) {
  ASSERT_GE(Loop().GetFd(), 0);
  const GivenTime time;
  const CountingTimer timer(5 * kMs, kLong, 1);
  ForgetCalls();
  t_interruptions = 10;
  Loop().Run();
  EXPECT_EQ(timer.Count(), 1);
  EXPECT_EQ(t_interruptions, 0);
  EXPECT_EQ(t_sleeps, 11);
}

TEST(ZTKEventLoopCalls, InterruptedSleepsDoNotEndRunForEarly) {
  ASSERT_GE(Loop().GetFd(), 0);
  const GivenTime time;
  ForgetCalls();
  t_interruptions = 10;
  Loop().RunFor(5);
  EXPECT_EQ(time.Passed(), 5 * kMs);
  EXPECT_EQ(t_sleeps, 11);
}

TEST(ZTKEventLoopCalls, AmongManyAPreciseTimerBehindALaxOneIsNotLate) {
  t_now = 1000 * kNsPerSecond;
  ASSERT_GE(Loop().GetFd(), 0);
  std::vector<std::unique_ptr<CountingTimer>> others;
  for (unsigned long i = 0; i < ZTKEventLoop::kCoalesceFrom; ++i) {
    others.push_back(std::make_unique<CountingTimer>(kLong, kLong));
  }
  // By itself the first could be served a millisecond late, as half a percent of its delay is more.
  const CountingTimer lax(10 * kNsPerSecond, kLong);
  Loop().Dispatch();
  EXPECT_EQ(t_armedFor, t_now + 10 * kNsPerSecond + ZTKEventLoop::kMaxSlackNs);

  const std::int64_t due = 10 * kNsPerSecond + 100'000;
  const CountingTimer precise(due, 2000);
  Loop().Dispatch();
  EXPECT_EQ(t_armedFor, t_now + due + 2000 / ZTKEventLoop::kSlackShare);
  t_now += due;
  EXPECT_EQ(Loop().Dispatch(), 2u);
  t_now = 0;
}

// Forks where so many new descriptors are refused. The child removes the timer, which must silence
// its own alarm alone, and ends with what it could do.
void ForkWithoutDescriptors(long nRefused, bool bKeepsDescriptor) {
  const int fd = Loop().GetFd();
  ASSERT_GE(fd, 0);
  auto timer = std::make_unique<CountingTimer>(5 * kMs, kLong);
  t_timersRefused = t_eventsRefused = nRefused;
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    timer.reset();
    const bool isSame = (Loop().GetFd() == fd) == bKeepsDescriptor;
    const CountingTimer own(1 * kMs, kLong, 1);
    Loop().Run();
    _exit(isSame && own.Count() == 1 ? 0 : 1);
  }
  t_timersRefused = t_eventsRefused = 0;
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  pollfd watched = {fd, POLLIN, 0};
  EXPECT_EQ(poll(&watched, 1, 10'000), 1);
  EXPECT_EQ(Loop().Dispatch(), 1u);
}

TEST(ZTKEventLoopCalls, ChildOfAForkWithoutAFurtherDescriptorHasAnAlarmOfItsOwn) {
  ForkWithoutDescriptors(1, true);
}

TEST(ZTKEventLoopCalls, ChildOfAForkWithoutAnyDescriptorLeavesTheParentsAlarmAlone) {
  ForkWithoutDescriptors(kAlways, false);
}

// In a process that has opened nothing yet; the watchdog ends one that waits for ever.
#define EXPECT_IN_NEW_PROCESS(statement)                 \
  GTEST_FLAG_SET(death_test_style, "threadsafe");        \
  EXPECT_EXIT(                                           \
      {                                                  \
        const ScopedWatchdog watchdog(60);               \
        statement;                                       \
        std::_Exit(testing::Test::HasFailure() ? 1 : 0); \
      },                                                 \
      testing::ExitedWithCode(0), "")

void ServeWithoutDescriptors() {
  t_timersRefused = t_eventsRefused = kAlways;
  EXPECT_EQ(Loop().GetFd(), -1);
  {
    const CountingTimer timer(1 * kMs, 1 * kMs, 20);
    ForgetCalls();
    t_interruptions = 5;
    Loop().Run();
    EXPECT_EQ(timer.Count(), 20);
    EXPECT_LE(t_sleeps, 25);
    EXPECT_LE(t_looksAtTheClock, 25 * kLooksPerSleep);
  }
  ForgetCalls();
  Loop().RunFor(5);
  EXPECT_EQ(t_sleeps, 1);
  t_timersRefused = t_eventsRefused = 0;
  EXPECT_GE(Loop().GetFd(), 0);
  const CountingTimer timer(1 * kMs, 1 * kMs, 2);
  Loop().Run();
  EXPECT_EQ(timer.Count(), 2);
}

TEST(ZTKEventLoopCallsDeathTest, WithoutDescriptorsTimersAreServedAndTheLoopSleeps) {
  EXPECT_IN_NEW_PROCESS(ServeWithoutDescriptors());
}

void QuitFromAnotherThread() {
  std::atomic<bool> ended{false};
  std::thread other([&ended] {
    // Again and again, because the first call may come before the loop runs.
    while (!ended) {
      Loop().Quit();
      std::this_thread::yield();
    }
  });
  ForgetCalls();
  Loop().Run();
  Loop().RunFor(3'600'000);
  ended = true;
  other.join();
}

void QuitWithoutDescriptors() {
  t_timersRefused = t_eventsRefused = kAlways;
  QuitFromAnotherThread();
}

TEST(ZTKEventLoopCallsDeathTest, WithoutDescriptorsQuitEndsALoopWithoutTimers) {
  EXPECT_IN_NEW_PROCESS(QuitWithoutDescriptors());
}

void QuitBySignalWithoutDescriptors() {
  t_timersRefused = t_eventsRefused = kAlways;
  std::signal(SIGUSR1, [](int) { Loop().Quit(); });
  const pthread_t runner = pthread_self();
  std::atomic<bool> ended{false};
  std::thread other([&ended, runner] {
    while (!ended) {
      pthread_kill(runner, SIGUSR1);
      std::this_thread::yield();
    }
  });
  Loop().Run();
  ended = true;
  other.join();
}

TEST(ZTKEventLoopCallsDeathTest, WithoutDescriptorsQuitInASignalHandlerEndsTheLoop) {
  EXPECT_IN_NEW_PROCESS(QuitBySignalWithoutDescriptors());
}

void ServeWithOneDescriptor() {
  t_eventsRefused = kAlways;
  EXPECT_GE(Loop().GetFd(), 0);
  const CountingTimer timer(1 * kMs, 1 * kMs, 20);
  ForgetCalls();
  Loop().Run();
  EXPECT_EQ(timer.Count(), 20);
  EXPECT_LE(t_sleeps, 20);
  t_eventsRefused = 0;
  QuitFromAnotherThread();
}

TEST(ZTKEventLoopCallsDeathTest, WithTheTimersDescriptorAloneTheLoopSleepsAndCanBeEnded) {
  EXPECT_IN_NEW_PROCESS(ServeWithOneDescriptor());
}

}  // namespace
