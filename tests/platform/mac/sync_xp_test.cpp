#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "tests/support/scoped_process.h"
#include "tests/system/threads.h"
#include "ztk/system/sync.h"

// What the classes answer on a system without semaphores, events and threads. Nothing here may
// wait, so a watchdog ends whoever does.

TEST(ZTKSemaphoreMac, IsAlwaysOkAndEveryWaitFailsAtOnce) {
  const ScopedWatchdog watchdog(20);
  for (const int initial : {0, 1, -1, INT_MAX, INT_MIN}) {
    for (const int max : {1, 0, -1, INT_MAX}) {
      SCOPED_TRACE(testing::Message() << initial << " of " << max);
      ZTKSemaphore semaphore(initial, max);
      EXPECT_TRUE(semaphore.IsOk());
      EXPECT_EQ(semaphore.Wait(), 5);
      EXPECT_EQ(semaphore.TryWait(), 5);
      EXPECT_EQ(semaphore.XPWaitTimeout(0), 5);
      EXPECT_EQ(semaphore.XPWaitTimeout(ZTK_WAIT_FOREVER), 5);
    }
  }
}

TEST(ZTKSemaphoreMac, PostingDoesNothing) {
  ZTKSemaphore semaphore(0, 1);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(semaphore.XPPost(), 0);  // Above the maximum, too.
  EXPECT_EQ(semaphore.TryWait(), 5);
}

TEST(ZTKSemaphoreMac, CreatingAndClosingDoNothing) {
  ZTKSemaphore semaphore(0, 1);
  EXPECT_EQ(semaphore.XPCreate(5, 1), 0);
  semaphore.XPClose();
  EXPECT_TRUE(semaphore.IsOk());
  EXPECT_EQ(semaphore.XPPost(), 0);
  semaphore.XPClose();
}

TEST(ZTKConditionMac, WaitsComeBackAtOnceWithTheMutexLocked) {
  const ScopedWatchdog watchdog(20);
  ZTKMutex mutex(nullptr);
  ZTKCondition condition(mutex);
  EXPECT_TRUE(condition.IsOk());
  ASSERT_EQ(mutex.Lock(0), ZTK_MUTEX_NO_ERROR);
  EXPECT_EQ(condition.XPWait(), 3);
  EXPECT_TRUE(mutex.IsLocked());
  for (const unsigned long timeout : {0ul, 100ul, ZTK_WAIT_FOREVER}) {
    EXPECT_EQ(condition.XPWaitTimeout(timeout), 3);
    EXPECT_TRUE(mutex.IsLocked());
  }
  EXPECT_EQ(mutex.UnLock(), ZTK_MUTEX_NO_ERROR);
}

TEST(ZTKConditionMac, WithoutASystemMutexEveryWaitTimesOut) {
  ZTKMutex mutex(nullptr);
  ZTKCondition condition(mutex);
  mutex.XPClose();
  EXPECT_EQ(condition.XPWait(), 3);
  EXPECT_EQ(condition.XPWaitTimeout(ZTK_WAIT_FOREVER), 3);
  EXPECT_FALSE(mutex.IsLocked());
}

// To the letter: the wait unlocks what it can and locks in any case.
TEST(ZTKConditionMac, AWaitLocksAMutexThatWasNotLocked) {
  ZTKMutex mutex(nullptr);
  ZTKCondition condition(mutex);
  EXPECT_EQ(condition.XPWaitTimeout(1), 3);
  EXPECT_TRUE(mutex.IsLocked());
  EXPECT_EQ(mutex.UnLock(), ZTK_MUTEX_NO_ERROR);
  EXPECT_EQ(condition.XPWait(), 3);
  EXPECT_TRUE(mutex.IsLocked());
}

TEST(ZTKConditionMac, SignalsFindNobodyAndPostNothing) {
  ZTKMutex mutex(nullptr);
  ZTKCondition condition(mutex);
  EXPECT_EQ(condition.Signal(), 0);
  EXPECT_EQ(condition.Broadcast(), 0);
  mutex.Lock(0);
  EXPECT_EQ(condition.XPWait(), 3);
  EXPECT_EQ(condition.Signal(), 0);
  mutex.UnLock();
}

TEST(ZTKConditionMac, WaitingThreadsGiveTheMutexToEachOther) {
  const ScopedWatchdog watchdog(60);
  ZTKMutex mutex(nullptr);
  ZTKCondition condition(mutex);
  int value = 0;
  {
    // A loop on a condition spins here; it comes to its end all the same.
    TestThread waiter([&] {
      mutex.Lock(0);
      while (value == 0) condition.XPWait();
      value = 2;
      mutex.UnLock();
    });
    mutex.Lock(0);
    value = 1;
    condition.Signal();
    mutex.UnLock();
  }
  EXPECT_EQ(value, 2);
}

TEST(CZTKMsgEventMac, IsAsIfAlwaysSignalled) {
  const ScopedWatchdog watchdog(20);
  CZTKMsgEvent event;
  for (const unsigned long timeout : {0ul, 1ul, ZTK_WAIT_FOREVER}) {
    EXPECT_EQ(event.XPWait(timeout), 0);
  }
  EXPECT_TRUE(event.XPSignal());
  event.XPClose();
  EXPECT_EQ(event.XPWait(ZTK_WAIT_FOREVER), 0);
  EXPECT_TRUE(event.XPSignal());
  EXPECT_EQ(event.XPCreate(), 0);
}

namespace {

class Witness : public ZTKThread {
 public:
  void Entry() override { ++runs; }
  using ZTKThread::CheckPoint;
  std::atomic<int> runs{0};
};

std::string StateOf(const ZTKThread& thread) {
  if (thread.IsRunning()) return thread.IsAlive() ? "running" : "?";
  if (thread.IsPaused()) return thread.IsAlive() ? "paused" : "?";
  return thread.IsAlive() ? "?" : "new";
}

}  // namespace

TEST(ZTKThreadMac, IsRunningOnceItIsRunAndNothingIsCalled) {
  Witness thread;
  EXPECT_EQ(StateOf(thread), "new");
  EXPECT_EQ(thread.Run(), 0);
  EXPECT_EQ(StateOf(thread), "running");
  EXPECT_EQ(thread.Run(), 2);
  EXPECT_EQ(StateOf(thread), "running");
  EXPECT_EQ(thread.runs, 0);
}

TEST(ZTKThreadMac, GoesBackAndForthBetweenRunningAndPaused) {
  Witness thread;
  EXPECT_EQ(thread.XPSuspend(), 0);
  EXPECT_EQ(StateOf(thread), "paused");
  EXPECT_EQ(thread.Run(), 2);
  EXPECT_EQ(thread.XPResume(), 0);
  EXPECT_EQ(StateOf(thread), "running");
  EXPECT_EQ(thread.XPSuspend(), 0);
  EXPECT_EQ(thread.XPSuspend(), 0);
  EXPECT_EQ(StateOf(thread), "paused");
  EXPECT_EQ(thread.XPResume(), 0);
  EXPECT_EQ(StateOf(thread), "running");
  EXPECT_EQ(thread.runs, 0);
}

TEST(ZTKThreadMac, KillingTellsTheStateAndChangesNothing) {
  Witness thread;
  EXPECT_EQ(thread.XPKill(), 3);
  EXPECT_EQ(StateOf(thread), "new");
  thread.Run();
  EXPECT_EQ(thread.XPKill(), 0);
  EXPECT_EQ(thread.XPKill(), 0);
  EXPECT_EQ(StateOf(thread), "running");
  thread.XPSuspend();
  EXPECT_EQ(thread.XPKill(), 3);
  EXPECT_EQ(StateOf(thread), "paused");
}

TEST(ZTKThreadMac, NothingEndsIt) {
  const ScopedWatchdog watchdog(20);
  Witness thread;
  EXPECT_EQ(thread.XPCreate(0), 0);
  EXPECT_EQ(thread.XPCreate(1u << 20), 0);
  thread.Run();
  EXPECT_EQ(thread.XPCreate(1), 0);
  thread.XPExit(42);
  thread.XPFree();
  EXPECT_EQ(StateOf(thread), "running");
  EXPECT_EQ(thread.GetExitCode(), 0u);
  EXPECT_EQ(thread.Wait(), 3);  // There is no thread to wait for.
  EXPECT_TRUE(thread.CheckPoint());
  EXPECT_EQ(thread.XPResume(), 0);
}

TEST(ZTKThreadMac, HasAPriorityAndNoId) {
  Witness thread;
  EXPECT_EQ(thread.XPSetPriority(99), 0);
  EXPECT_EQ(thread.GetPriority(), 99u);
  thread.Run();
  EXPECT_EQ(thread.GetId(), 0);
  EXPECT_EQ(ZTKThread::XPGetCurrentId(), 0u);
  thread.AddRef();
  thread.Release();
  EXPECT_EQ(thread.GetPriority(), 99u);
}

TEST(ZTKThreadMac, OfManyThatRunItOneSucceeds) {
  std::atomic<int> started{0};
  Witness thread;
  {
    const auto run = [&] {
      if (thread.Run() == ZTK_THREAD_NO_ERROR) ++started;
    };
    TestThread a(run), b(run), c(run);
  }
  EXPECT_EQ(started, 1);
}
