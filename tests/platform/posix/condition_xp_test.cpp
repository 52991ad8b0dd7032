#include "ztk/system/condition.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <vector>

#include "tests/support/failing_allocator.h"
#include "tests/system/threads.h"

using testing::ElementsAre;

TEST(ZTKConditionPosix, ATimeOutLocksTheMutexAgain) {
  ZTKMutex mutex(nullptr);
  ZTKCondition condition(mutex);
  EXPECT_TRUE(condition.IsOk());
  mutex.Lock(0);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(condition.XPWaitTimeout(20), ZTK_SYNC_TIMEOUT);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
  EXPECT_TRUE(mutex.IsLocked());
  EXPECT_EQ(condition.XPWaitTimeout(0), ZTK_SYNC_TIMEOUT);
  EXPECT_EQ(mutex.UnLock(), ZTK_MUTEX_NO_ERROR);
}

TEST(ZTKConditionPosix, ASignalLetsOneWaiterGoWithTheMutexLocked) {
  for (unsigned long timeout : {ZTK_WAIT_FOREVER, 0xFFFFFFFEul}) {
    SCOPED_TRACE(timeout);
    ZTKMutex mutex(nullptr);
    ZTKCondition condition(mutex);
    bool isReady = false;
    bool wasLocked = false;
    int result = -1;
    TestThread waiter([&] {
      mutex.Lock(0);
      while (!isReady) result = condition.XPWaitTimeout(timeout);
      wasLocked = mutex.IsLocked();
      mutex.UnLock();
    });
    waiter.AwaitSleep();
    mutex.Lock(0);  // To be had, as the waiter has given it away.
    isReady = true;
    EXPECT_EQ(condition.Signal(), ZTK_SYNC_NO_ERROR);
    mutex.UnLock();
    waiter.Join();
    EXPECT_EQ(result, ZTK_SYNC_NO_ERROR);
    EXPECT_TRUE(wasLocked);
  }
}

TEST(ZTKConditionPosix, SignalsWakeThreadsInTheOrderInWhichTheyCame) {
  ZTKMutex mutex(nullptr);
  ZTKCondition condition(mutex);
  std::vector<int> order;
  std::vector<std::unique_ptr<TestThread>> threads;
  for (int i = 0; i < 4; ++i) {
    threads.push_back(std::make_unique<TestThread>([&, i] {
      mutex.Lock(0);
      EXPECT_EQ(condition.XPWait(), ZTK_SYNC_NO_ERROR);
      order.push_back(i);
      mutex.UnLock();
    }));
    threads.back()->AwaitSleep();
  }
  for (size_t i = 0; i < 4; ++i) {
    condition.Signal();
    AwaitTrue([&] {
      mutex.Lock(0);
      const bool isThere = order.size() > i;
      mutex.UnLock();
      return isThere;
    });
  }
  threads.clear();
  EXPECT_THAT(order, ElementsAre(0, 1, 2, 3));
}

TEST(ZTKConditionPosix, ABroadcastLetsEveryWaiterGoButNoLaterOne) {
  ZTKMutex mutex(nullptr);
  ZTKCondition condition(mutex);
  std::atomic<int> woken{0};
  std::vector<std::unique_ptr<TestThread>> threads;
  for (int i = 0; i < 5; ++i) {
    threads.push_back(std::make_unique<TestThread>([&] {
      mutex.Lock(0);
      if (condition.XPWait() == ZTK_SYNC_NO_ERROR) ++woken;
      mutex.UnLock();
    }));
    threads.back()->AwaitSleep();
  }
  mutex.Lock(0);
  EXPECT_EQ(condition.Broadcast(), ZTK_SYNC_NO_ERROR);
  // The five have not had the mutex yet; what was meant for them is not for this thread.
  EXPECT_EQ(condition.XPWaitTimeout(0), ZTK_SYNC_TIMEOUT);
  mutex.UnLock();
  threads.clear();
  EXPECT_EQ(woken, 5);
}

TEST(ZTKConditionPosix, AThreadThatWaitsAgainCannotTakeTheSignalOfAnother) {
  ZTKMutex mutex(nullptr);
  ZTKCondition condition(mutex);
  bool isSecondsTurn = false;
  int roundsOfFirst = 0;
  bool stop = false;
  TestThread first([&] {  // Never finds what it waits for, and waits again at once.
    mutex.Lock(0);
    while (!stop) {
      condition.XPWait();
      ++roundsOfFirst;
    }
    mutex.UnLock();
  });
  first.AwaitSleep();
  TestThread second([&] {
    mutex.Lock(0);
    while (!isSecondsTurn) condition.XPWait();
    mutex.UnLock();
  });
  second.AwaitSleep();
  mutex.Lock(0);
  isSecondsTurn = true;
  condition.Broadcast();
  mutex.UnLock();
  second.Join();
  first.AwaitSleep();
  mutex.Lock(0);
  EXPECT_EQ(roundsOfFirst, 1);
  stop = true;
  condition.Broadcast();
  mutex.UnLock();
}

TEST(ZTKConditionPosix, HandsWorkOverWithoutLosingAny) {
  constexpr int kItems = 20'000;
  ZTKMutex mutex(nullptr);
  ZTKCondition isThere(mutex), isTaken(mutex);
  int queued = 0, taken = 0;
  {
    const auto consume = [&] {
      mutex.Lock(0);
      while (taken < kItems) {
        if (queued == 0) {
          isThere.XPWait();
          continue;
        }
        --queued;
        ++taken;
        isTaken.Signal();
      }
      isThere.Broadcast();
      mutex.UnLock();
    };
    TestThread a(consume), b(consume);
    for (int i = 0; i < kItems; ++i) {
      mutex.Lock(0);
      while (queued == 3) isTaken.XPWait();
      ++queued;
      isThere.Signal();
      mutex.UnLock();
    }
  }
  EXPECT_EQ(taken, kItems);
  EXPECT_EQ(queued, 0);
}

TEST(ZTKConditionPosix, SignalsThatMeetTimeOutsAreNeitherLostNorKept) {
  ZTKMutex mutex(nullptr);
  ZTKCondition condition(mutex);
  std::atomic<bool> stop{false};
  {
    const auto wait = [&](unsigned long timeout) {
      while (!stop) {
        mutex.Lock(0);
        condition.XPWaitTimeout(timeout);
        mutex.UnLock();
      }
    };
    TestThread a([&] { wait(0); }), b([&] { wait(1); }), c([&] { wait(1); });
    for (int i = 0; i < 20'000; ++i) i % 3 ? condition.Signal() : condition.Broadcast();
    stop = true;
    condition.Broadcast();
  }
  mutex.Lock(0);
  EXPECT_EQ(condition.XPWaitTimeout(0), ZTK_SYNC_TIMEOUT);
  mutex.UnLock();
  EXPECT_EQ(condition.Signal(), ZTK_SYNC_NO_ERROR);
  int result = -1;
  TestThread waiter([&] {
    mutex.Lock(0);
    result = condition.XPWait();
    mutex.UnLock();
  });
  waiter.AwaitSleep();
  condition.Signal();
  waiter.Join();
  EXPECT_EQ(result, ZTK_SYNC_NO_ERROR);
}

TEST(ZTKConditionPosix, IsNotOkWithoutMemory) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  ZTKMutex mutex(nullptr);
  mutex.Lock(0);
  for (long before = 0; before < 2; ++before) {
    const failing_allocator::Scope scope(before, 1);
    ZTKCondition condition(mutex);
    EXPECT_FALSE(condition.IsOk());
    EXPECT_EQ(condition.XPWait(), ZTK_SYNC_TIMEOUT);
    EXPECT_EQ(condition.Signal(), ZTK_SYNC_NO_ERROR);
  }
  mutex.UnLock();
}
