#include "ztk/system/thread.h"

#include <gtest/gtest.h>

#include <type_traits>

TEST(ZTKThread, HasTheDescribedCodes) {
  EXPECT_EQ(ZTKThread::STATE_NEW, 0);
  EXPECT_EQ(ZTKThread::STATE_RUNNING, 1);
  EXPECT_EQ(ZTKThread::STATE_PAUSED, 2);
  EXPECT_EQ(ZTKThread::STATE_ENDED, 4);
  EXPECT_EQ(ZTK_THREAD_NO_ERROR, 0);
  EXPECT_EQ(ZTK_THREAD_NOT_NEW, 2);
  EXPECT_EQ(ZTK_THREAD_NOT_RUNNING, 3);
}

TEST(ZTKThread, IsNewAtFirst) {
  ZTKThread thread;
  EXPECT_FALSE(thread.IsRunning());
  EXPECT_FALSE(thread.IsPaused());
  EXPECT_FALSE(thread.IsAlive());
  EXPECT_EQ(thread.GetPriority(), 0u);
  EXPECT_EQ(thread.GetId(), 0);
  EXPECT_EQ(thread.GetExitCode(), 0u);
  EXPECT_EQ(thread.XPKill(), ZTK_THREAD_NOT_RUNNING);
  EXPECT_EQ(thread.Wait(), ZTK_THREAD_NOT_RUNNING);
  thread.XPFree();
}

TEST(ZTKThread, CheckPointsOfOneThatWasNeverStartedGoOnAtOnce) {
  struct Checked : ZTKThread {
    using ZTKThread::CheckPoint;
  } thread;
  EXPECT_TRUE(thread.CheckPoint());
  EXPECT_EQ(thread.XPSuspend(), ZTK_THREAD_NO_ERROR);
  EXPECT_TRUE(thread.CheckPoint());  // Nobody there to pause.
  EXPECT_EQ(thread.XPCreate(0), ZTK_THREAD_NO_ERROR);
  EXPECT_TRUE(thread.CheckPoint());
}

TEST(ZTKThread, RunsOnlyOnce) {
  ZTKThread thread;
  EXPECT_EQ(thread.Run(), ZTK_THREAD_NO_ERROR);
  EXPECT_EQ(thread.Run(), ZTK_THREAD_NOT_NEW);
}

TEST(ZTKThread, PausedBeforeItIsRunItIsNotNewAndCannotBeKilled) {
  ZTKThread thread;
  EXPECT_EQ(thread.XPSuspend(), ZTK_THREAD_NO_ERROR);
  EXPECT_TRUE(thread.IsPaused());
  EXPECT_TRUE(thread.IsAlive());
  EXPECT_EQ(thread.Run(), ZTK_THREAD_NOT_NEW);
  EXPECT_EQ(thread.XPKill(), ZTK_THREAD_NOT_RUNNING);
  EXPECT_TRUE(thread.IsPaused());
}

TEST(ZTKThread, KeepsAPriority) {
  ZTKThread thread;
  EXPECT_EQ(thread.XPSetPriority(7), 0);
  EXPECT_EQ(thread.GetPriority(), 7u);
  EXPECT_EQ(thread.XPSetPriority(0xFFFFFFFFu), 0);
  EXPECT_EQ(thread.GetPriority(), 0xFFFFFFFFu);
}

TEST(ZTKThread, CountsNoReferences) {
  ZTKThread thread;
  thread.AddRef();
  thread.Release();
  thread.Release();
  EXPECT_EQ(thread.Run(), ZTK_THREAD_NO_ERROR);
}

TEST(ZTKThread, IsNotCopied) { EXPECT_FALSE(std::is_copy_constructible_v<ZTKThread>); }
