// Threads and forks: the child has the objects of all threads, and the thread that forked alone.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <thread>

#include "tests/support/scoped_process.h"
#include "tests/system/threads.h"
#include "ztk/system/thread.h"

namespace {

// Stays in Entry() until it is asked to stop.
class StayingThread : public ZTKThread {
 public:
  ~StayingThread() override { XPFree(); }
  void AwaitEntry() const {
    AwaitTrue([this] { return m_bInEntry.load(); });
  }
  using ZTKThread::CheckPoint;

 protected:
  void Entry() override {
    m_bInEntry = true;
    // Without a pause between them, so that a fork often meets one in the middle.
    while (CheckPoint()) {
    }
  }

 private:
  std::atomic<bool> m_bInEntry{false};
};

// What the child of a fork says, as its exit code; 0 is well. It has a minute.
template <class Function>
int InChild(Function function) {
  const pid_t child = fork();
  if (child == 0) {
    alarm(60);
    _exit(function());
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

class ZTKThreadFork : public ::testing::Test {
 protected:
  void SetUp() override {
    if (kThreadSanitizer) GTEST_SKIP() << "the sanitizer knows no threads behind a fork";
  }
};

TEST_F(ZTKThreadFork, TheExitOfAChildDoesNotWaitForStaticThreads) {
  static StayingThread s_thread;
  ASSERT_EQ(s_thread.Run(), ZTK_THREAD_NO_ERROR);
  s_thread.AwaitEntry();
  const pid_t child = fork();
  if (child == 0) {
    alarm(60);
    std::exit(7);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status)) << "signal " << WTERMSIG(status);
  EXPECT_EQ(WEXITSTATUS(status), 7);
  EXPECT_TRUE(s_thread.IsRunning());
}

TEST_F(ZTKThreadFork, RunningThreadsOfTheParentHaveEndedInTheChild) {
  StayingThread thread;
  ASSERT_EQ(thread.Run(), ZTK_THREAD_NO_ERROR);
  thread.AwaitEntry();
  const int id = thread.GetId();
  EXPECT_EQ(InChild([&thread, id] {
              if (thread.IsAlive() || thread.IsRunning()) return 1;
              if (thread.Wait() != ZTK_THREAD_NOT_RUNNING) return 2;
              if (thread.Run() != ZTK_THREAD_NOT_NEW) return 3;
              if (thread.XPKill() != ZTK_THREAD_NOT_RUNNING) return 4;
              if (thread.XPResume() != ZTK_THREAD_NO_ERROR || thread.IsAlive()) return 5;
              if (thread.XPSuspend() != ZTK_THREAD_NO_ERROR || thread.IsAlive()) return 6;
              thread.XPExit(5);
              if (thread.GetExitCode() != 5 || thread.GetId() != id) return 7;
              thread.XPFree();
              return 0;
            }),
            0);
  EXPECT_TRUE(thread.IsRunning());
}

TEST_F(ZTKThreadFork, PausedThreadsOfTheParentHaveEndedInTheChild) {
  StayingThread thread;
  ASSERT_EQ(thread.Run(), ZTK_THREAD_NO_ERROR);
  thread.AwaitEntry();
  ASSERT_EQ(thread.XPSuspend(), ZTK_THREAD_NO_ERROR);
  EXPECT_EQ(InChild([&thread] { return thread.IsPaused() ? 1 : 0; }), 0);
  EXPECT_TRUE(thread.IsPaused());
}

// Sections that are held while the parent forks are given up by nobody in the child.
TEST_F(ZTKThreadFork, NothingThatTheParentsThreadsHoldHoldsUpTheChild) {
  constexpr size_t kThreads = 2;
  constexpr int kForks = 100;
  auto threads = std::make_unique<StayingThread[]>(kThreads);
  for (size_t i = 0; i < kThreads; ++i) {
    ASSERT_EQ(threads[i].Run(), ZTK_THREAD_NO_ERROR);
    threads[i].AwaitEntry();
  }
  for (int i = 0; i < kForks; ++i) {
    ASSERT_EQ(InChild([&threads] {
                threads.reset();
                return 0;
              }),
              0);
  }
}

TEST_F(ZTKThreadFork, WhatEndedBeforeTheForkStaysAsItIs) {
  class Exiting : public ZTKThread {
    void Entry() override { XPExit(3); }
  };
  Exiting waitedFor, freed;
  ASSERT_EQ(waitedFor.Run(), ZTK_THREAD_NO_ERROR);
  ASSERT_EQ(freed.Run(), ZTK_THREAD_NO_ERROR);
  ASSERT_EQ(waitedFor.Wait(), ZTK_THREAD_NO_ERROR);
  ASSERT_EQ(freed.Wait(), ZTK_THREAD_NO_ERROR);
  freed.XPFree();
  EXPECT_EQ(InChild([&] {
              for (Exiting* const thread : {&waitedFor, &freed}) {
                if (thread->Wait() != ZTK_THREAD_NO_ERROR) return 1;
                if (thread->GetExitCode() != 3) return 2;
                thread->XPFree();
              }
              return 0;
            }),
            0);
}

TEST_F(ZTKThreadFork, ThreadsThatWereNotStartedCanBeStartedInTheChild) {
  StayingThread thread;
  ASSERT_EQ(thread.XPCreate(0), ZTK_THREAD_NO_ERROR);
  EXPECT_EQ(InChild([&thread] {
              if (thread.Run() != ZTK_THREAD_NO_ERROR) return 1;
              thread.AwaitEntry();
              if (!thread.IsRunning()) return 2;
              thread.XPFree();
              return thread.Wait() == ZTK_THREAD_NO_ERROR ? 0 : 3;
            }),
            0);
}

TEST_F(ZTKThreadFork, TheThreadThatForksGoesOnInTheChild) {
  static StayingThread s_other;
  ASSERT_EQ(s_other.Run(), ZTK_THREAD_NO_ERROR);
  s_other.AwaitEntry();

  class Forking : public ZTKThread {
   public:
    int m_nResult = -1;

   private:
    void Entry() override {
      m_nResult = InChild([this] {
        if (!IsRunning() || !CheckPoint()) return 1;
        if (Wait() != ZTK_THREAD_MISC_ERROR) return 2;
        if (s_other.IsAlive()) return 3;
        // Others that the child starts are not taken for it.
        int result = -1;
        std::thread([this, &result] { result = XPKill(); }).join();
        if (result != ZTK_THREAD_NO_ERROR || CheckPoint()) return 4;
        return 0;
      });
    }
  };
  Forking forking;
  ASSERT_EQ(forking.Run(), ZTK_THREAD_NO_ERROR);
  ASSERT_EQ(forking.Wait(), ZTK_THREAD_NO_ERROR);
  EXPECT_EQ(forking.m_nResult, 0);
  EXPECT_TRUE(s_other.IsRunning());
}

TEST_F(ZTKThreadFork, GrandchildrenAreChildrenToo) {
  StayingThread thread;
  ASSERT_EQ(thread.Run(), ZTK_THREAD_NO_ERROR);
  thread.AwaitEntry();
  EXPECT_EQ(InChild([&thread] {
              StayingThread own;
              if (own.Run() != ZTK_THREAD_NO_ERROR) return 1;
              own.AwaitEntry();
              return InChild([&] {
                thread.XPFree();
                own.XPFree();
                return thread.IsAlive() || own.IsAlive() ? 2 : 0;
              });
            }),
            0);
}

}  // namespace
