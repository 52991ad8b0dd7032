#include "ztk/system/condition.h"

#include <gtest/gtest.h>

#include <type_traits>

TEST(ZTKCondition, IsOkAndComesBackWithTheMutexLocked) {
  ZTKMutex mutex(nullptr);
  ZTKCondition condition(mutex);
  EXPECT_TRUE(condition.IsOk());
  mutex.Lock(0);
  EXPECT_EQ(condition.XPWaitTimeout(1), ZTK_SYNC_TIMEOUT);
  EXPECT_TRUE(mutex.IsLocked());
  EXPECT_EQ(mutex.UnLock(), ZTK_MUTEX_NO_ERROR);
}

TEST(ZTKCondition, ASignalWithoutWaitersIsNotKept) {
  ZTKMutex mutex(nullptr);
  ZTKCondition condition(mutex);
  EXPECT_EQ(condition.Signal(), ZTK_SYNC_NO_ERROR);
  EXPECT_EQ(condition.Broadcast(), ZTK_SYNC_NO_ERROR);
  mutex.Lock(0);
  EXPECT_EQ(condition.XPWaitTimeout(0), ZTK_SYNC_TIMEOUT);
  EXPECT_EQ(condition.XPWaitTimeout(1), ZTK_SYNC_TIMEOUT);
  mutex.UnLock();
  EXPECT_EQ(condition.Signal(), ZTK_SYNC_NO_ERROR);
}

TEST(ZTKCondition, WithoutASystemMutexItDoesNotWait) {
  ZTKMutex mutex(nullptr);
  ZTKCondition condition(mutex);
  mutex.XPClose();
  EXPECT_EQ(condition.XPWait(), ZTK_SYNC_TIMEOUT);
  EXPECT_EQ(condition.XPWaitTimeout(ZTK_WAIT_FOREVER), ZTK_SYNC_TIMEOUT);
}

TEST(ZTKCondition, IsNotCopied) { EXPECT_FALSE(std::is_copy_constructible_v<ZTKCondition>); }
