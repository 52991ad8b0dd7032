#include "ztk/system/msg_event.h"

#include <gtest/gtest.h>

#include <chrono>

#include "tests/support/failing_allocator.h"
#include "tests/system/threads.h"

TEST(CZTKMsgEventPosix, KeepsOneSignalForOneWaiter) {
  CZTKMsgEvent event;
  EXPECT_EQ(event.XPWait(0), ZTK_SYNC_TIMEOUT);
  EXPECT_TRUE(event.XPSignal());
  EXPECT_TRUE(event.XPSignal());
  EXPECT_EQ(event.XPWait(ZTK_WAIT_FOREVER), ZTK_SYNC_NO_ERROR);
  EXPECT_EQ(event.XPWait(0), ZTK_SYNC_TIMEOUT);
}

TEST(CZTKMsgEventPosix, ATimeOutIsNeverEarly) {
  CZTKMsgEvent event;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(event.XPWait(20), ZTK_SYNC_TIMEOUT);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
}

TEST(CZTKMsgEventPosix, LetsOneWaiterThroughAtATime) {
  CZTKMsgEvent event;
  std::atomic<int> through{0};
  const auto wait = [&] {
    EXPECT_EQ(event.XPWait(ZTK_WAIT_FOREVER), ZTK_SYNC_NO_ERROR);
    ++through;
  };
  TestThread a(wait);
  a.AwaitSleep();
  TestThread b(wait);
  b.AwaitSleep();
  EXPECT_TRUE(event.XPSignal());
  a.Join();
  EXPECT_EQ(through, 1);
  b.AwaitSleep();
  EXPECT_TRUE(event.XPSignal());
  b.Join();
  EXPECT_EQ(through, 2);
}

TEST(CZTKMsgEventPosix, CanBeClosedAndMadeAgain) {
  CZTKMsgEvent event;
  event.XPSignal();
  EXPECT_EQ(event.XPCreate(), ZTK_SYNC_NO_ERROR);  // There is one already, and it stays.
  EXPECT_EQ(event.XPWait(0), ZTK_SYNC_NO_ERROR);
  event.XPClose();
  event.XPClose();
  EXPECT_FALSE(event.XPSignal());
  EXPECT_EQ(event.XPWait(ZTK_WAIT_FOREVER), ZTK_SYNC_MISC_ERROR);
  EXPECT_EQ(event.XPCreate(), ZTK_SYNC_NO_ERROR);
  EXPECT_EQ(event.XPWait(0), ZTK_SYNC_TIMEOUT);
  EXPECT_TRUE(event.XPSignal());
}

TEST(CZTKMsgEventPosix, ReportsThatThereIsNoMemory) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  for (long before = 0; before < 2; ++before) {
    CZTKMsgEvent event;
    event.XPClose();
    const failing_allocator::Scope scope(before, 1);
    EXPECT_EQ(event.XPCreate(), ZTK_SYNC_MISC_ERROR);
    EXPECT_FALSE(event.XPSignal());
    EXPECT_EQ(event.XPCreate(), ZTK_SYNC_NO_ERROR);
  }
}
