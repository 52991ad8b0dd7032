#include "ztk/system/semaphore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <memory>
#include <vector>

#include "tests/support/failing_allocator.h"
#include "tests/system/threads.h"
#include "ztk/system/mutex.h"

using testing::ElementsAre;

TEST(ZTKSemaphorePosix, GivesAsManyAsItHas) {
  ZTKSemaphore semaphore(2, 3);
  EXPECT_TRUE(semaphore.IsOk());
  EXPECT_EQ(semaphore.Wait(), ZTK_SYNC_NO_ERROR);
  EXPECT_EQ(semaphore.TryWait(), ZTK_SYNC_NO_ERROR);
  EXPECT_EQ(semaphore.TryWait(), ZTK_SYNC_BUSY);
  EXPECT_EQ(semaphore.XPPost(), ZTK_SYNC_NO_ERROR);
  EXPECT_EQ(semaphore.XPWaitTimeout(1000), ZTK_SYNC_NO_ERROR);
  EXPECT_EQ(semaphore.XPWaitTimeout(0), ZTK_SYNC_TIMEOUT);
}

TEST(ZTKSemaphorePosix, APostAboveTheMaximumChangesNothing) {
  ZTKSemaphore semaphore(1, 2);
  EXPECT_EQ(semaphore.XPPost(), ZTK_SYNC_NO_ERROR);
  EXPECT_EQ(semaphore.XPPost(), ZTK_SYNC_MISC_ERROR);
  EXPECT_EQ(semaphore.TryWait(), ZTK_SYNC_NO_ERROR);
  EXPECT_EQ(semaphore.TryWait(), ZTK_SYNC_NO_ERROR);
  EXPECT_EQ(semaphore.TryWait(), ZTK_SYNC_BUSY);

  ZTKSemaphore largest(INT_MAX, INT_MAX);
  EXPECT_EQ(largest.XPPost(), ZTK_SYNC_MISC_ERROR);
}

TEST(ZTKSemaphorePosix, IsNotOkWithNumbersThatMakeNoSense) {
  const struct {
    int initial, max;
    bool isOk;
  } rows[] = {{0, 1, true},  {1, 1, true},  {0, INT_MAX, true}, {-1, 1, false},
              {2, 1, false}, {0, 0, false}, {0, -1, false},     {INT_MIN, INT_MAX, false},
              {1, 0, false}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.initial << " of " << row.max);
    ZTKSemaphore semaphore(row.initial, row.max);
    EXPECT_EQ(semaphore.IsOk(), row.isOk);
    if (row.isOk) continue;
    EXPECT_EQ(semaphore.Wait(), ZTK_SYNC_MISC_ERROR);
    EXPECT_EQ(semaphore.TryWait(), ZTK_SYNC_MISC_ERROR);
    EXPECT_EQ(semaphore.XPWaitTimeout(1), ZTK_SYNC_MISC_ERROR);
    EXPECT_EQ(semaphore.XPPost(), ZTK_SYNC_MISC_ERROR);
  }
}

TEST(ZTKSemaphorePosix, CanBeClosedAndMadeAgain) {
  ZTKSemaphore semaphore(1, 1);
  semaphore.XPClose();
  EXPECT_FALSE(semaphore.IsOk());
  semaphore.XPClose();
  EXPECT_EQ(semaphore.XPCreate(0, 4), ZTK_SYNC_NO_ERROR);
  EXPECT_EQ(semaphore.TryWait(), ZTK_SYNC_BUSY);
  EXPECT_EQ(semaphore.XPCreate(3, 2), ZTK_SYNC_MISC_ERROR);
  EXPECT_FALSE(semaphore.IsOk());
}

TEST(ZTKSemaphorePosix, ATimeOutIsNeverEarly) {
  for (unsigned long ms : {1ul, 20ul}) {
    ZTKSemaphore semaphore(0, 1);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(semaphore.XPWaitTimeout(ms), ZTK_SYNC_TIMEOUT);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(ms));
  }
}

TEST(ZTKSemaphorePosix, APostWakesAWaitingThread) {
  for (unsigned long timeout : {ZTK_WAIT_FOREVER, ZTK_WAIT_FOREVER - 1, ~0ul - 1}) {
    SCOPED_TRACE(timeout);
    ZTKSemaphore semaphore(0, 1);
    int result = -1;
    TestThread waiter([&] { result = semaphore.XPWaitTimeout(timeout); });
    waiter.AwaitSleep();
    EXPECT_EQ(semaphore.XPPost(), ZTK_SYNC_NO_ERROR);
    waiter.Join();
    EXPECT_EQ(result, ZTK_SYNC_NO_ERROR);
    EXPECT_EQ(semaphore.TryWait(), ZTK_SYNC_BUSY);
  }
}

TEST(ZTKSemaphorePosix, ServesThreadsInTheOrderInWhichTheyCame) {
  ZTKSemaphore semaphore(0, 10);
  ZTKSemaphore wokenUp(0, 10);
  ZTKMutex mutex(nullptr);
  std::vector<int> order;
  std::vector<std::unique_ptr<TestThread>> threads;
  for (int i = 0; i < 4; ++i) {
    threads.push_back(std::make_unique<TestThread>([&, i] {
      semaphore.Wait();
      mutex.Lock(0);
      order.push_back(i);
      mutex.UnLock();
      wokenUp.XPPost();
    }));
    threads.back()->AwaitSleep();
  }
  for (int i = 0; i < 4; ++i) {
    semaphore.XPPost();
    // What was posted belongs to the thread that waits, even if it has not run yet.
    EXPECT_EQ(semaphore.TryWait(), ZTK_SYNC_BUSY);
    wokenUp.Wait();
  }
  threads.clear();
  EXPECT_THAT(order, ElementsAre(0, 1, 2, 3));
}

TEST(ZTKSemaphorePosix, AThreadThatGaveUpLeavesTheQueue) {
  ZTKSemaphore semaphore(0, 10);
  int first = -1, last = -1;
  TestThread a([&] { first = semaphore.Wait(); });
  a.AwaitSleep();
  EXPECT_EQ(semaphore.XPWaitTimeout(1), ZTK_SYNC_TIMEOUT);  // From the end.
  TestThread b([&] { last = semaphore.Wait(); });
  b.AwaitSleep();
  EXPECT_EQ(semaphore.XPWaitTimeout(1), ZTK_SYNC_TIMEOUT);
  semaphore.XPPost();
  semaphore.XPPost();
  a.Join();
  b.Join();
  EXPECT_EQ(first, ZTK_SYNC_NO_ERROR);
  EXPECT_EQ(last, ZTK_SYNC_NO_ERROR);
  EXPECT_EQ(semaphore.TryWait(), ZTK_SYNC_BUSY);
}

TEST(ZTKSemaphorePosix, LosesAndInventsNothing) {
  constexpr int kRounds = 20'000;
  ZTKSemaphore semaphore(0, INT_MAX);
  std::atomic<int> taken{0};
  std::atomic<bool> done{false};
  {
    const auto take = [&](unsigned long timeout) {
      while (!done) {
        if (semaphore.XPWaitTimeout(timeout) == ZTK_SYNC_NO_ERROR) ++taken;
      }
    };
    TestThread a([&] { take(0); }), b([&] { take(1); });
    {
      const auto give = [&] {
        for (int i = 0; i < kRounds; ++i) semaphore.XPPost();
      };
      TestThread c(give), d(give);
    }
    done = true;
  }
  while (semaphore.TryWait() == ZTK_SYNC_NO_ERROR) ++taken;  // What they left.
  EXPECT_EQ(taken, 2 * kRounds);
}

TEST(ZTKSemaphorePosix, IsNotOkWithoutMemory) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  const failing_allocator::Scope scope(0);
  ZTKSemaphore semaphore(0, 1);
  EXPECT_FALSE(semaphore.IsOk());
  EXPECT_EQ(semaphore.XPPost(), ZTK_SYNC_MISC_ERROR);
}
