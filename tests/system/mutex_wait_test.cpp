// Threads that sleep until another one unlocks, seen asleep.
#include <gtest/gtest.h>

#include "tests/system/threads.h"
#include "ztk/system/mutex.h"

TEST(ZTKMutex, LockBlocksWhateverTheTimeOut) {
  for (unsigned long timeout : {0ul, 1ul, 0xFFFFFFFFul}) {
    SCOPED_TRACE(timeout);
    ZTKMutex mutex(nullptr);
    mutex.Lock(0);
    int value = 0;
    int seen = 0;
    TestThread other([&] {
      EXPECT_EQ(mutex.Lock(timeout), ZTK_MUTEX_NO_ERROR);
      seen = value;
      mutex.UnLock();
    });
    other.AwaitSleep();
    value = 1;
    mutex.UnLock();
    other.Join();
    EXPECT_EQ(seen, 1);
  }
}

TEST(ZTKCriticalSection, KeepsOthersOut) {
  ZTKCriticalSection section;
  section.Enter();
  int value = 0;
  int seen = 0;
  TestThread other([&] {
    section.Enter();
    seen = value;
    section.Leave();
  });
  other.AwaitSleep();
  value = 1;
  section.Leave();
  other.Join();
  EXPECT_EQ(seen, 1);
}
