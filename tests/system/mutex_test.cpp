#include "ztk/system/mutex.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <mutex>
#include <type_traits>

#include "tests/support/failing_allocator.h"
#include "tests/system/threads.h"

TEST(ZTKMutex, HasTheDescribedCodes) {
  EXPECT_EQ(ZTK_MUTEX_NO_ERROR, 0);
  EXPECT_EQ(ZTK_MUTEX_INVALID, 1);
  EXPECT_EQ(ZTK_MUTEX_DEAD_LOCK, 2);
  EXPECT_EQ(ZTK_MUTEX_UNLOCKED, 4);
  EXPECT_EQ(ZTK_MUTEX_MISC_ERROR, 5);
}

TEST(ZTKMutex, LocksAndUnlocks) {
  ZTKMutex mutex("a name that is not used");
  EXPECT_TRUE(mutex.IsOk());
  EXPECT_FALSE(mutex.IsLocked());
  EXPECT_EQ(mutex.Lock(0), ZTK_MUTEX_NO_ERROR);
  EXPECT_TRUE(mutex.IsLocked());
  EXPECT_EQ(mutex.UnLock(), ZTK_MUTEX_NO_ERROR);
  EXPECT_FALSE(mutex.IsLocked());
  EXPECT_EQ(mutex.Lock(ZTK_WAIT_FOREVER), ZTK_MUTEX_NO_ERROR);
  EXPECT_EQ(mutex.UnLock(), ZTK_MUTEX_NO_ERROR);
}

TEST(ZTKMutex, UnlockingWhatIsNotLockedIsRefused) {
  ZTKMutex mutex(nullptr);
  EXPECT_EQ(mutex.UnLock(), ZTK_MUTEX_UNLOCKED);
  mutex.Lock(0);
  mutex.UnLock();
  EXPECT_EQ(mutex.UnLock(), ZTK_MUTEX_UNLOCKED);
  EXPECT_EQ(mutex.Lock(0), ZTK_MUTEX_NO_ERROR);
  mutex.UnLock();
}

TEST(ZTKMutex, HasNoOwner) {
  if (kThreadSanitizer) GTEST_SKIP() << "the sanitizer reports it, rightly";
  ZTKMutex mutex(nullptr);
  mutex.Lock(0);
  TestThread([&] { EXPECT_EQ(mutex.UnLock(), ZTK_MUTEX_NO_ERROR); }).Join();
  EXPECT_FALSE(mutex.IsLocked());
  EXPECT_EQ(mutex.Lock(0), ZTK_MUTEX_NO_ERROR);
  mutex.UnLock();
}

TEST(ZTKMutex, LetsOneThreadInAtATime) {
  constexpr int kRounds = 250'000;
  ZTKMutex mutex(nullptr);
  int counter = 0;
  int flagWrong = 0;
  {
    const auto count = [&] {
      for (int i = 0; i < kRounds; ++i) {
        mutex.Lock(ZTK_WAIT_FOREVER);
        ++counter;
        if (!mutex.IsLocked()) ++flagWrong;
        mutex.UnLock();
      }
    };
    TestThread a(count), b(count), c(count), d(count);
  }
  EXPECT_EQ(counter, 4 * kRounds);
  EXPECT_EQ(flagWrong, 0);
  EXPECT_FALSE(mutex.IsLocked());
}

TEST(ZTKMutex, IsInvalidOnceClosed) {
  ZTKMutex mutex(nullptr);
  mutex.XPClose();
  EXPECT_FALSE(mutex.IsOk());
  EXPECT_EQ(mutex.Lock(0), ZTK_MUTEX_INVALID);
  EXPECT_EQ(mutex.UnLock(), ZTK_MUTEX_INVALID);
  EXPECT_FALSE(mutex.IsLocked());
  mutex.XPClose();
  EXPECT_EQ(mutex.XPCreate(nullptr), 0);
  EXPECT_EQ(mutex.Lock(0), ZTK_MUTEX_NO_ERROR);
  mutex.UnLock();
}

TEST(ZTKMutex, ClosingUnlocksFirst) {
  ZTKMutex mutex(nullptr);
  mutex.Lock(0);
  mutex.XPClose();
  EXPECT_FALSE(mutex.IsLocked());
  EXPECT_FALSE(mutex.IsOk());
}

TEST(ZTKMutex, CreatingAgainGivesAFreshUnlockedOne) {
  ZTKMutex mutex(nullptr);
  mutex.Lock(0);
  EXPECT_EQ(mutex.XPCreate("again"), 0);
  EXPECT_FALSE(mutex.IsLocked());
  EXPECT_EQ(mutex.Lock(0), ZTK_MUTEX_NO_ERROR);
  mutex.UnLock();
}

TEST(ZTKMutex, IsInvalidWithoutMemory) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  {
    const failing_allocator::Scope scope(0);
    ZTKMutex mutex(nullptr);
    EXPECT_FALSE(mutex.IsOk());
    EXPECT_EQ(mutex.Lock(0), ZTK_MUTEX_INVALID);
  }
  ZTKMutex mutex(nullptr);
  {
    const failing_allocator::Scope scope(0);
    EXPECT_EQ(mutex.XPCreate(nullptr), ENOMEM);
  }
  EXPECT_EQ(mutex.Lock(0), ZTK_MUTEX_INVALID);
  EXPECT_EQ(mutex.XPCreate(nullptr), 0);
  EXPECT_TRUE(mutex.IsOk());
}

TEST(ZTKMutex, IsNotCopied) {
  EXPECT_FALSE(std::is_copy_constructible_v<ZTKMutex>);
  EXPECT_FALSE(std::is_copy_assignable_v<ZTKMutex>);
}

TEST(ZTKCriticalSection, EntersAndLeaves) {
  ZTKCriticalSection section;
  EXPECT_EQ(section.Enter(), ZTK_MUTEX_NO_ERROR);
  EXPECT_TRUE(section.IsLocked());
  EXPECT_EQ(section.Leave(), ZTK_MUTEX_NO_ERROR);
  EXPECT_EQ(section.Leave(), ZTK_MUTEX_UNLOCKED);
  section.XPClose();
  EXPECT_EQ(section.Enter(), ZTK_MUTEX_INVALID);
  EXPECT_EQ(section.Leave(), ZTK_MUTEX_INVALID);
}

TEST(ZTKLockable, LetsStandardGuardsHoldAMutex) {
  ZTKMutex mutex(nullptr);
  {
    ZTKLockable lockable(mutex);
    const std::lock_guard guard(lockable);
    EXPECT_TRUE(mutex.IsLocked());
    EXPECT_EQ(lockable.GetResult(), ZTK_MUTEX_NO_ERROR);
  }
  EXPECT_FALSE(mutex.IsLocked());

  ZTKCriticalSection section;
  ZTKLockable lockable(section);
  std::unique_lock lock(lockable);
  EXPECT_TRUE(section.IsLocked());
  lock.unlock();
  EXPECT_FALSE(section.IsLocked());
}

TEST(ZTKLockable, DoesNotUnlockWhatItCouldNotLock) {
  ZTKMutex mutex(nullptr);
  mutex.XPClose();
  ZTKLockable lockable(mutex);
  {
    const std::lock_guard guard(lockable);
    EXPECT_EQ(lockable.GetResult(), ZTK_MUTEX_INVALID);
    mutex.XPCreate(nullptr);
    mutex.Lock(0);
  }
  EXPECT_TRUE(mutex.IsLocked());
  mutex.UnLock();
}
