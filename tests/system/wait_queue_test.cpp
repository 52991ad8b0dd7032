#include "ztk/system/internal/wait_queue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <deque>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include "ztk/system/internal/clock_xp.h"
#include "ztk/system/sync_result.h"

namespace {

using Waiter = ZTKWaitQueue::Waiter;

bool IsServed(ZTKWaitQueue& queue, Waiter& waiter) { return queue.Sleep(waiter, 0); }

}  // namespace

TEST(ZTKWaitQueue, ACountServesAtOnce) {
  ZTKWaitQueue queue(2, 2);
  Waiter first, second, third;
  queue.Enqueue(first);
  queue.Enqueue(second);
  queue.Enqueue(third);
  EXPECT_TRUE(IsServed(queue, first));
  EXPECT_TRUE(IsServed(queue, second));
  EXPECT_FALSE(IsServed(queue, third));
  EXPECT_TRUE(queue.Withdraw(third));
}

TEST(ZTKWaitQueue, ACountIsConsumedOnceAndNeverBeforeWhoeverWaits) {
  ZTKWaitQueue queue(1, 2);
  EXPECT_TRUE(queue.Consume());
  EXPECT_FALSE(queue.Consume());
  Waiter waiter;
  queue.Enqueue(waiter);
  EXPECT_TRUE(queue.Post());
  EXPECT_FALSE(queue.Consume());  // The post was the waiter's.
  EXPECT_TRUE(IsServed(queue, waiter));
  EXPECT_TRUE(queue.Post());
  EXPECT_TRUE(queue.Consume());
}

TEST(ZTKWaitQueue, CountsToItsMaximumAndNoFurther) {
  ZTKWaitQueue queue(INT_MAX - 1, INT_MAX);
  EXPECT_TRUE(queue.Post());
  EXPECT_FALSE(queue.Post());
}

TEST(ZTKWaitQueue, ServesInTheOrderOfEnteringWhoeverSleepsFirst) {
  ZTKWaitQueue queue(0, 1);
  Waiter first, second;
  queue.Enqueue(first);
  queue.Enqueue(second);
  EXPECT_FALSE(IsServed(queue, second));  // It sleeps first.
  EXPECT_TRUE(queue.Post());
  EXPECT_FALSE(IsServed(queue, second));
  EXPECT_TRUE(queue.Sleep(first, ZTK_WAIT_FOREVER));
  EXPECT_TRUE(queue.Post());
  EXPECT_TRUE(queue.Sleep(second, ZTK_WAIT_FOREVER));
}

TEST(ZTKWaitQueue, WhoWithdrewIsPassedOver) {
  for (int gone = 0; gone < 3; ++gone) {
    SCOPED_TRACE(gone);
    ZTKWaitQueue queue(0, 1);
    Waiter waiters[3];
    for (Waiter& waiter : waiters) queue.Enqueue(waiter);
    EXPECT_TRUE(queue.Withdraw(waiters[gone]));
    EXPECT_TRUE(queue.Post());
    EXPECT_TRUE(queue.Post());
    for (int i = 0; i < 3; ++i) EXPECT_EQ(IsServed(queue, waiters[i]), i != gone) << i;
    EXPECT_TRUE(queue.Post());
    EXPECT_FALSE(queue.Post());  // Nobody waits, so that was counted.
  }
}

TEST(ZTKWaitQueue, WhoWasServedBeforeItWithdrewKeepsWhatItGot) {
  ZTKWaitQueue queue(0, 1);
  Waiter waiter;
  queue.Enqueue(waiter);
  EXPECT_FALSE(queue.Sleep(waiter, 1));
  EXPECT_TRUE(queue.Post());
  EXPECT_FALSE(queue.Withdraw(waiter));
  EXPECT_TRUE(IsServed(queue, waiter));
}

TEST(ZTKWaitQueue, SleepsAsLongAsItIsTold) {
  ZTKWaitQueue queue(0, 1);
  Waiter waiter;
  queue.Enqueue(waiter);
  const std::int64_t begin = XPMonotonicNow();
  EXPECT_FALSE(queue.Sleep(waiter, 20));
  EXPECT_GE(XPMonotonicNow() - begin, 20'000'000);
  EXPECT_TRUE(queue.Withdraw(waiter));
}

// Against what the queue is said to be, over random sequences.
TEST(ZTKWaitQueue, DoesWhatItsModelDoes) {
  constexpr int kMax = 3;
  std::mt19937 random(20);
  for (int round = 0; round < 200; ++round) {
    ZTKWaitQueue queue(0, kMax);
    int count = 0;
    std::deque<Waiter*> waiting;
    std::vector<Waiter*> served;
    std::vector<std::unique_ptr<Waiter>> waiters;
    for (int step = 0; step < 100; ++step) {
      const auto action = random() % 6;
      if (action < 2) {
        EXPECT_EQ(queue.Post(), !waiting.empty() || count < kMax);
        if (!waiting.empty()) {
          served.push_back(waiting.front());
          waiting.pop_front();
        } else if (count < kMax) {
          ++count;
        }
      } else if (action < 4) {
        waiters.push_back(std::make_unique<Waiter>());
        queue.Enqueue(*waiters.back());
        if (count > 0) {
          --count;
          served.push_back(waiters.back().get());
        } else {
          waiting.push_back(waiters.back().get());
        }
      } else if (action == 4) {
        EXPECT_EQ(queue.Consume(), count > 0);
        if (count > 0) --count;
      } else if (!waiting.empty()) {
        const auto gone = waiting.begin() + static_cast<long>(random() % waiting.size());
        EXPECT_TRUE(queue.Withdraw(**gone));
        waiting.erase(gone);
      }
      for (Waiter* const waiter : served) ASSERT_TRUE(IsServed(queue, *waiter));
      for (Waiter* const waiter : waiting) ASSERT_FALSE(IsServed(queue, *waiter));
    }
  }
}

TEST(ZTKWaitQueue, LosesAndInventsNothingBetweenThreads) {
  constexpr int kPosts = 20'000;
  ZTKWaitQueue queue(0, INT_MAX);
  std::atomic<int> taken{0};
  const auto consume = [&] {
    for (std::mt19937 random(1); taken < kPosts;) {
      if (random() % 2 == 0) {
        if (queue.Consume()) ++taken;
        continue;
      }
      Waiter waiter;
      queue.Enqueue(waiter);
      if (queue.Sleep(waiter, random() % 2) || !queue.Withdraw(waiter)) ++taken;
    }
  };
  std::thread first(consume), second(consume), third(consume);
  for (int i = 0; i < kPosts; ++i) EXPECT_TRUE(queue.Post());
  first.join();
  second.join();
  third.join();
  EXPECT_EQ(taken, kPosts);
}
