#include "ztk/system/event.h"

#include <gtest/gtest.h>

#include <chrono>
#include <type_traits>

#include "tests/support/failing_allocator.h"
#include "tests/system/threads.h"
#include "ztk/system/msg_event.h"

TEST(CZTKMsgEvent, KeepsOneSignalForOneWaiter) {
  CZTKMsgEvent event;
  EXPECT_EQ(event.XPWait(0), ZTK_SYNC_TIMEOUT);
  EXPECT_TRUE(event.XPSignal());
  EXPECT_TRUE(event.XPSignal());
  EXPECT_EQ(event.XPWait(ZTK_WAIT_FOREVER), ZTK_SYNC_NO_ERROR);
  EXPECT_EQ(event.XPWait(0), ZTK_SYNC_TIMEOUT);
}

TEST(CZTKMsgEvent, ATimeOutIsNeverEarly) {
  CZTKMsgEvent event;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(event.XPWait(20), ZTK_SYNC_TIMEOUT);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
}

TEST(CZTKMsgEvent, LetsOneWaiterThroughAtATime) {
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

TEST(CZTKMsgEvent, CanBeClosedAndMadeAgain) {
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

TEST(CZTKMsgEvent, ReportsThatThereIsNoMemory) {
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

TEST(CZTKMsgEvent, IsNotCopied) { EXPECT_FALSE(std::is_copy_constructible_v<CZTKMsgEvent>); }

TEST(ZTKEvent, KeepsItsNumbersInTheSecondAndFourthField) {
  const ZTKEvent event(11, 22);
  const int expected[] = {0, 22, 0, 11, 0, 0, 0};
  const ZTKEvent copy(event);
  ZTKEvent assigned(1, 2);
  assigned = event;
  for (int i = 0; i < ZTKEvent::kFields; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(event.GetField(i), expected[i]);
    EXPECT_EQ(copy.GetField(i), expected[i]);
    EXPECT_EQ(assigned.GetField(i), expected[i]);
  }
  EXPECT_EQ(event.GetField(-1), 0);
  EXPECT_EQ(event.GetField(7), 0);
}

TEST(ZTKEvent, CopiesEveryField) {
  class Numbered : public ZTKEvent {
   public:
    Numbered() : ZTKEvent(0, 0) {
      for (int i = 0; i < kFields; ++i) m_field[i] = i + 1;
    }
  };
  const Numbered original;
  const ZTKEvent copy(original);
  for (int i = 0; i < ZTKEvent::kFields; ++i) EXPECT_EQ(copy.GetField(i), i + 1);
}

TEST(ZTKEvent, IsDeletedThroughItsBase) {
  static bool s_wasDeleted;
  s_wasDeleted = false;
  class Derived : public ZTKEvent {
   public:
    using ZTKEvent::ZTKEvent;
    ~Derived() override { s_wasDeleted = true; }
  };
  ZTKEvent* const event = new Derived(1, 2);
  delete event;
  EXPECT_TRUE(s_wasDeleted);
}
