#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <thread>
#include <vector>

#include "ztk/system/sync.h"

namespace {

template <class Condition>
void AwaitTrue(Condition condition) {
  while (!condition()) SwitchToThread();
}

}  // namespace

TEST(ZTKMutexWin32, OneThreadAtATimeHoldsIt) {
  constexpr int kRounds = 20'000;
  ZTKMutex mutex(nullptr);
  long count = 0;  // Unprotected but for the mutex.
  const auto work = [&] {
    for (int i = 0; i < kRounds; ++i) {
      EXPECT_EQ(mutex.Lock(0), ZTK_MUTEX_NO_ERROR);
      ++count;
      EXPECT_EQ(mutex.UnLock(), ZTK_MUTEX_NO_ERROR);
    }
  };
  std::thread a(work), b(work), c(work), d(work);
  a.join();
  b.join();
  c.join();
  d.join();
  EXPECT_EQ(count, 4 * kRounds);
  EXPECT_FALSE(mutex.IsLocked());
}

TEST(ZTKMutexWin32, AnyThreadMayUnlockIt) {
  ZTKMutex mutex(nullptr);
  ASSERT_EQ(mutex.Lock(0), ZTK_MUTEX_NO_ERROR);
  std::atomic<bool> isWaiting{false};
  std::thread waiter([&] {
    isWaiting = true;
    EXPECT_EQ(mutex.Lock(0), ZTK_MUTEX_NO_ERROR);
  });
  AwaitTrue([&] { return isWaiting.load(); });
  std::thread other([&] { EXPECT_EQ(mutex.UnLock(), ZTK_MUTEX_NO_ERROR); });
  other.join();
  waiter.join();
  EXPECT_TRUE(mutex.IsLocked());
  EXPECT_EQ(mutex.UnLock(), ZTK_MUTEX_NO_ERROR);
}

TEST(ZTKMutexWin32, UnlockingWhatIsFreeIsRefused) {
  ZTKMutex mutex(nullptr);
  EXPECT_EQ(mutex.UnLock(), ZTK_MUTEX_UNLOCKED);
  mutex.Lock(0);
  EXPECT_EQ(mutex.UnLock(), ZTK_MUTEX_NO_ERROR);
  EXPECT_EQ(mutex.UnLock(), ZTK_MUTEX_UNLOCKED);
  mutex.XPClose();
  EXPECT_EQ(mutex.UnLock(), ZTK_MUTEX_INVALID);
  EXPECT_EQ(mutex.Lock(0), ZTK_MUTEX_INVALID);
  EXPECT_EQ(mutex.XPCreate(nullptr), 0);
  EXPECT_EQ(mutex.Lock(0), ZTK_MUTEX_NO_ERROR);
}

TEST(ZTKSemaphoreWin32, CountsWithinItsBounds) {
  ZTKSemaphore semaphore(1, 2);
  EXPECT_EQ(semaphore.XPPost(), ZTK_SYNC_NO_ERROR);
  EXPECT_EQ(semaphore.XPPost(), ZTK_SYNC_MISC_ERROR);
  EXPECT_EQ(semaphore.Wait(), ZTK_SYNC_NO_ERROR);
  EXPECT_EQ(semaphore.TryWait(), ZTK_SYNC_NO_ERROR);
  EXPECT_EQ(semaphore.TryWait(), ZTK_SYNC_BUSY);
  const ULONGLONG begin = GetTickCount64();
  EXPECT_EQ(semaphore.XPWaitTimeout(50), ZTK_SYNC_TIMEOUT);
  EXPECT_GE(GetTickCount64() - begin + 16, 50u);  // By a clock of 16 ms.
  EXPECT_FALSE(ZTKSemaphore(2, 1).IsOk());
}

TEST(ZTKConditionWin32, BroadcastWakesEveryWaiter) {
  ZTKMutex mutex(nullptr);
  ZTKCondition condition(mutex);
  int waiting = 0;
  int woken = 0;
  const auto wait = [&] {
    mutex.Lock(0);
    ++waiting;
    EXPECT_EQ(condition.XPWait(), ZTK_SYNC_NO_ERROR);
    ++woken;
    mutex.UnLock();
  };
  std::thread a(wait), b(wait), c(wait);
  AwaitTrue([&] {
    mutex.Lock(0);
    const bool areAll = waiting == 3;  // Each is in the queue before it unlocks.
    mutex.UnLock();
    return areAll;
  });
  EXPECT_EQ(condition.Broadcast(), ZTK_SYNC_NO_ERROR);
  a.join();
  b.join();
  c.join();
  EXPECT_EQ(woken, 3);

  mutex.Lock(0);
  EXPECT_EQ(condition.XPWaitTimeout(1), ZTK_SYNC_TIMEOUT);
  EXPECT_TRUE(mutex.IsLocked());
}

TEST(ZTKConditionWin32, SignalsWakeInTheOrderOfWaiting) {
  ZTKMutex mutex(nullptr);
  ZTKCondition condition(mutex);
  int waiting = 0;
  std::vector<int> woken;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&, i] {
      mutex.Lock(0);
      ++waiting;
      condition.XPWait();
      woken.push_back(i);
      mutex.UnLock();
    });
    AwaitTrue([&] {
      mutex.Lock(0);
      const bool isIn = waiting == i + 1;
      mutex.UnLock();
      return isIn;
    });
  }
  for (size_t i = 0; i < threads.size(); ++i) {
    condition.Signal();
    AwaitTrue([&] {
      mutex.Lock(0);
      const bool isOut = woken.size() == i + 1;
      mutex.UnLock();
      return isOut;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_TRUE(std::is_sorted(woken.begin(), woken.end()));
}

TEST(CZTKMsgEventWin32, KeepsOneSignal) {
  CZTKMsgEvent event;
  EXPECT_EQ(event.XPWait(0), ZTK_SYNC_TIMEOUT);
  EXPECT_TRUE(event.XPSignal());
  EXPECT_TRUE(event.XPSignal());
  EXPECT_EQ(event.XPWait(ZTK_WAIT_FOREVER), ZTK_SYNC_NO_ERROR);
  EXPECT_EQ(event.XPWait(1), ZTK_SYNC_TIMEOUT);
  event.XPClose();
  EXPECT_FALSE(event.XPSignal());
  EXPECT_EQ(event.XPWait(1), ZTK_SYNC_MISC_ERROR);
}
