// What the system's mutex may answer, by its interface, though no implementation at hand does.

#include <gtest/gtest.h>

#include <cerrno>

#include "tests/support/mutex_calls.h"
#include "ztk/system/mutex.h"

namespace {

using mutex_calls::Call;
using mutex_calls::Refusal;

// The calls are made under a refusal and judged after it: gtest has mutexes of its own.

TEST(ZTKMutexRefusal, LockTellsADeadLockFromOtherErrors) {
  struct {
    int error;
    int result;
  } const rows[] = {
      {EDEADLK, ZTK_MUTEX_DEAD_LOCK},
      {EINVAL, ZTK_MUTEX_MISC_ERROR},
      {EAGAIN, ZTK_MUTEX_MISC_ERROR},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.error);
    ZTKMutex mutex(nullptr);
    int result = 0;
    {
      const Refusal refusal(Call::kLock, row.error);
      result = mutex.Lock(0);
    }
    EXPECT_EQ(result, row.result);
    EXPECT_FALSE(mutex.IsLocked());
    EXPECT_EQ(mutex.Lock(0), ZTK_MUTEX_NO_ERROR);
    EXPECT_EQ(mutex.UnLock(), ZTK_MUTEX_NO_ERROR);
  }
}

TEST(ZTKMutexRefusal, UnlockTellsAnotherOwnerFromOtherErrorsAndKeepsTheLock) {
  struct {
    int error;
    int result;
  } const rows[] = {
      {EPERM, ZTK_MUTEX_UNLOCKED},
      {EINVAL, ZTK_MUTEX_MISC_ERROR},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.error);
    ZTKMutex mutex(nullptr);
    ASSERT_EQ(mutex.Lock(0), ZTK_MUTEX_NO_ERROR);
    int result = 0;
    {
      const Refusal refusal(Call::kUnlock, row.error);
      result = mutex.UnLock();
    }
    EXPECT_EQ(result, row.result);
    EXPECT_TRUE(mutex.IsLocked());
    EXPECT_EQ(mutex.UnLock(), ZTK_MUTEX_NO_ERROR);
  }
}

TEST(ZTKMutexRefusal, CreationPassesTheErrorOnAndLeavesNoMutex) {
  ZTKMutex mutex(nullptr);
  int error = 0;
  {
    const Refusal refusal(Call::kInit, EAGAIN);
    error = mutex.XPCreate(nullptr);
  }
  EXPECT_EQ(error, EAGAIN);
  EXPECT_FALSE(mutex.IsOk());
  EXPECT_EQ(mutex.Lock(0), ZTK_MUTEX_INVALID);
  EXPECT_EQ(mutex.XPCreate(nullptr), 0);
  EXPECT_TRUE(mutex.IsOk());
}

}  // namespace
