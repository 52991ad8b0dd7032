#include "ztk/system/thread.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/failing_allocator.h"
#include "tests/system/threads.h"
#include "ztk/system/msg_event.h"

namespace {

// Runs a function of the test.
class Worker : public ZTKThread {
 public:
  explicit Worker(std::function<void(Worker&)> work) : m_work(std::move(work)) {}
  ~Worker() override { XPFree(); }
  void Entry() override { m_work(*this); }
  using ZTKThread::CheckPoint;

 private:
  std::function<void(Worker&)> m_work;
};

// Goes on until it is asked to stop, and counts its rounds.
class Looper : public ZTKThread {
 public:
  ~Looper() override { XPFree(); }
  void Entry() override {
    while (CheckPoint()) {
      ++rounds;
      sched_yield();
    }
  }
  void AwaitRounds(unsigned long more) {
    const unsigned long goal = rounds + more;
    AwaitTrue([&] { return rounds >= goal; });
  }
  void AwaitSleep() const {
    AwaitTrue([&] { return IsAsleep(GetId()); });
  }
  std::atomic<unsigned long> rounds{0};
};

}  // namespace

TEST(ZTKThreadPosix, RunsEntryOnceInAThreadOfItsOwn) {
  unsigned long idInside = 0;
  int runs = 0;
  Worker thread([&](Worker& self) {
    ++runs;
    idInside = ZTKThread::XPGetCurrentId();
    EXPECT_TRUE(self.IsRunning());
    EXPECT_TRUE(self.IsAlive());
  });
  EXPECT_EQ(thread.Run(), ZTK_THREAD_NO_ERROR);
  const int id = thread.GetId();
  EXPECT_EQ(thread.Wait(), ZTK_THREAD_NO_ERROR);
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(static_cast<unsigned long>(id), idInside);
  EXPECT_NE(idInside, ZTKThread::XPGetCurrentId());
  EXPECT_EQ(ZTKThread::XPGetCurrentId(), static_cast<unsigned long>(gettid()));

  EXPECT_FALSE(thread.IsRunning());
  EXPECT_FALSE(thread.IsAlive());
  EXPECT_EQ(thread.GetId(), id);
  EXPECT_EQ(thread.Wait(), ZTK_THREAD_NO_ERROR);
}

TEST(ZTKThreadPosix, TheBaseRunsAnEmptyEntry) {
  ZTKThread thread;
  EXPECT_EQ(thread.Run(), ZTK_THREAD_NO_ERROR);
  EXPECT_EQ(thread.Wait(), ZTK_THREAD_NO_ERROR);
  EXPECT_FALSE(thread.IsAlive());
}

TEST(ZTKThreadPosix, RunsOnlyOnce) {
  Looper thread;
  EXPECT_EQ(thread.Run(), ZTK_THREAD_NO_ERROR);
  EXPECT_EQ(thread.Run(), ZTK_THREAD_NOT_NEW);
  thread.XPSuspend();
  EXPECT_EQ(thread.Run(), ZTK_THREAD_NOT_NEW);
  thread.XPFree();
  EXPECT_EQ(thread.Run(), ZTK_THREAD_NOT_NEW);
}

TEST(ZTKThreadPosix, OfManyThatRunItOneSucceeds) {
  std::atomic<int> runs{0}, started{0};
  Worker thread([&](Worker&) { ++runs; });
  {
    const auto run = [&] {
      if (thread.Run() == ZTK_THREAD_NO_ERROR) ++started;
    };
    TestThread a(run), b(run), c(run);
  }
  thread.Wait();
  EXPECT_EQ(started, 1);
  EXPECT_EQ(runs, 1);
}

TEST(ZTKThreadPosix, AnotherThreadWithTheIdOfOneThatWasJoinedIsNotTakenForIt) {
  for (int i = 0; i < 100; ++i) {
    auto ended = std::make_unique<ZTKThread>();
    ASSERT_EQ(ended->Run(), ZTK_THREAD_NO_ERROR);
    ended->XPFree();
    // The system gives ids anew. Taken for its own, the object would have the thread detached.
    int waited = -1;
    std::thread other([&] {
      waited = ended->Wait();
      ended.reset();
    });
    ASSERT_NO_THROW(other.join());
    ASSERT_EQ(waited, ZTK_THREAD_NO_ERROR);
  }
}

TEST(ZTKThreadPosix, EndedIsForGood) {
  ZTKThread thread;
  thread.Run();
  thread.Wait();
  EXPECT_EQ(thread.XPResume(), ZTK_THREAD_NO_ERROR);
  EXPECT_FALSE(thread.IsRunning());
  EXPECT_EQ(thread.XPSuspend(), ZTK_THREAD_NO_ERROR);
  EXPECT_FALSE(thread.IsPaused());
  EXPECT_FALSE(thread.IsAlive());
  EXPECT_EQ(thread.XPKill(), ZTK_THREAD_NOT_RUNNING);
}

TEST(ZTKThreadPosix, PausesAtACheckPointAndGoesOn) {
  Looper thread;
  thread.Run();
  for (int i = 0; i < 3; ++i) {
    thread.AwaitRounds(10);
    EXPECT_EQ(thread.XPSuspend(), ZTK_THREAD_NO_ERROR);
    EXPECT_TRUE(thread.IsPaused());
    EXPECT_TRUE(thread.IsAlive());
    EXPECT_FALSE(thread.IsRunning());
    thread.AwaitSleep();
    const unsigned long rounds = thread.rounds;
    sched_yield();
    EXPECT_EQ(thread.rounds, rounds);
    EXPECT_EQ(thread.XPResume(), ZTK_THREAD_NO_ERROR);
    EXPECT_TRUE(thread.IsRunning());
  }
  thread.AwaitRounds(10);
}

TEST(ZTKThreadPosix, KillingAsksARunningThreadToStop) {
  Looper thread;
  thread.Run();
  EXPECT_EQ(thread.XPKill(), ZTK_THREAD_NO_ERROR);
  EXPECT_EQ(thread.Wait(), ZTK_THREAD_NO_ERROR);
  EXPECT_EQ(thread.XPKill(), ZTK_THREAD_NOT_RUNNING);
}

TEST(ZTKThreadPosix, KillingDoesNotChangeTheState) {
  CZTKMsgEvent mayEnd;
  Worker thread([&](Worker& self) {
    mayEnd.XPWait(ZTK_WAIT_FOREVER);
    EXPECT_FALSE(self.CheckPoint());
  });
  thread.Run();
  EXPECT_EQ(thread.XPKill(), ZTK_THREAD_NO_ERROR);
  EXPECT_TRUE(thread.IsRunning());
  mayEnd.XPSignal();
  thread.Wait();
}

TEST(ZTKThreadPosix, KillingAPausedThreadIsRefused) {
  Looper thread;
  thread.Run();
  thread.XPSuspend();
  EXPECT_EQ(thread.XPKill(), ZTK_THREAD_NOT_RUNNING);
  EXPECT_TRUE(thread.IsPaused());
  thread.XPResume();
  thread.AwaitRounds(1);
  EXPECT_TRUE(thread.IsRunning());
}

TEST(ZTKThreadPosix, ANewThreadCanBePausedAndIsStartedByResume) {
  Looper thread;
  EXPECT_EQ(thread.XPSuspend(), ZTK_THREAD_NO_ERROR);
  EXPECT_TRUE(thread.IsPaused());
  EXPECT_EQ(thread.Run(), ZTK_THREAD_NOT_NEW);
  EXPECT_EQ(thread.XPKill(), ZTK_THREAD_NOT_RUNNING);
  EXPECT_EQ(thread.XPResume(), ZTK_THREAD_NO_ERROR);
  EXPECT_TRUE(thread.IsRunning());
  thread.AwaitRounds(1);
}

TEST(ZTKThreadPosix, FreeingWaitsForTheEnd) {
  Looper thread;
  thread.Run();
  thread.XPFree();
  EXPECT_FALSE(thread.IsAlive());
  const unsigned long rounds = thread.rounds;
  thread.XPFree();
  EXPECT_EQ(thread.rounds, rounds);
}

TEST(ZTKThreadPosix, FreeingEndsAPausedThread) {
  Looper thread;
  thread.Run();
  thread.XPSuspend();
  thread.AwaitSleep();
  thread.XPFree();
  EXPECT_FALSE(thread.IsAlive());
}

TEST(ZTKThreadPosix, SeveralMayWaitForTheEnd) {
  Looper thread;
  thread.Run();
  TestThread a([&] { EXPECT_EQ(thread.Wait(), ZTK_THREAD_NO_ERROR); });
  TestThread b([&] { EXPECT_EQ(thread.Wait(), ZTK_THREAD_NO_ERROR); });
  TestThread c([&] { thread.XPFree(); });
  thread.XPFree();
}

TEST(ZTKThreadPosix, TheDestructorStopsARunningThread) {
  // Of the class itself: nothing of it is gone when the destructor waits.
  std::atomic<bool> hasEnded{false};
  {
    Worker thread([&](Worker& self) {
      while (self.CheckPoint()) sched_yield();
      hasEnded = true;
    });
    thread.Run();
  }
  EXPECT_TRUE(hasEnded);
}

TEST(ZTKThreadPosix, CannotWaitForItself) {
  int result = -1;
  Worker thread([&](Worker& self) {
    result = self.Wait();
    EXPECT_TRUE(self.CheckPoint());
    self.XPFree();
    EXPECT_FALSE(self.CheckPoint());
  });
  thread.Run();
  thread.Wait();
  EXPECT_EQ(result, ZTK_THREAD_MISC_ERROR);
}

TEST(ZTKThreadPosix, ExitSetsTheCodeAndAsksToStop) {
  ZTKThread unused;
  unused.XPExit(5);
  EXPECT_EQ(unused.GetExitCode(), 0u);
  Worker thread([&](Worker& self) {
    self.XPExit(42);
    EXPECT_FALSE(self.CheckPoint());
  });
  thread.Run();
  thread.Wait();
  EXPECT_EQ(thread.GetExitCode(), 42u);
}

TEST(ZTKThreadPosix, MayDeleteItsOwnObject) {
  static CZTKMsgEvent s_deleted;
  class Suicidal : public ZTKThread {
   public:
    ~Suicidal() override { s_deleted.XPSignal(); }
    void Entry() override { delete this; }
  };
  auto* const thread = new Suicidal;
  EXPECT_EQ(thread->XPCreate(0), ZTK_THREAD_NO_ERROR);
  EXPECT_EQ(thread->XPResume(), ZTK_THREAD_NO_ERROR);
  EXPECT_EQ(s_deleted.XPWait(ZTK_WAIT_FOREVER), ZTK_SYNC_NO_ERROR);
}

TEST(ZTKThreadPosix, TakesAStackSize) {
  for (unsigned int size : {0u, 1u, 1u << 20}) {
    SCOPED_TRACE(size);
    bool hasRun = false;
    Worker thread([&](Worker&) { hasRun = true; });
    EXPECT_EQ(thread.XPCreate(size), ZTK_THREAD_NO_ERROR);
    EXPECT_EQ(thread.XPCreate(size), ZTK_THREAD_NO_ERROR);
    EXPECT_FALSE(thread.IsAlive());
    EXPECT_EQ(thread.Run(), ZTK_THREAD_NO_ERROR);
    EXPECT_EQ(thread.XPCreate(1), ZTK_THREAD_NO_ERROR);
    thread.Wait();
    EXPECT_TRUE(hasRun);
  }
}

TEST(ZTKThreadPosix, StaysNewWhenItCannotBeStarted) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  for (long before = 0; before < 3; ++before) {
    SCOPED_TRACE(before);
    ZTKThread thread;
    {
      const failing_allocator::Scope scope(before);
      EXPECT_EQ(thread.Run(), ZTK_THREAD_MISC_ERROR);
    }
    EXPECT_FALSE(thread.IsAlive());
    thread.XPFree();
  }
  ZTKThread thread;
  {
    const failing_allocator::Scope scope(0);
    EXPECT_EQ(thread.XPCreate(0), ZTK_THREAD_MISC_ERROR);
    EXPECT_EQ(thread.Run(), ZTK_THREAD_MISC_ERROR);
  }
  EXPECT_EQ(thread.Run(), ZTK_THREAD_NO_ERROR);
  EXPECT_EQ(thread.Wait(), ZTK_THREAD_NO_ERROR);
}

TEST(ZTKThreadPosix, ManyThreadsComeAndGo) {
  std::atomic<int> runs{0};
  for (int i = 0; i < 20; ++i) {
    std::vector<std::unique_ptr<Worker>> threads;
    for (int k = 0; k < 10; ++k) {
      threads.push_back(std::make_unique<Worker>([&](Worker&) { ++runs; }));
      EXPECT_EQ(threads.back()->Run(), ZTK_THREAD_NO_ERROR);
    }
  }
  EXPECT_EQ(runs, 200);
}

TEST(ZTKThreadPosix, AThreadCanBeNamed) {
  const struct {
    const char* given;
    const char* kept;
  } rows[] = {{"worker", "worker"},
              {"", ""},
              {"fifteen letters", "fifteen letters"},
              {"sixteen letters.", "sixteen letters"},
              {"fourteen chars\u00E9", "fourteen chars"}};  // Not half a character.
  Worker thread([&](Worker&) {
    for (const auto& row : rows) {
      char name[64] = "?";
      EXPECT_TRUE(ZTKThread::XPSetCurrentName(row.given));
      EXPECT_EQ(pthread_getname_np(pthread_self(), name, sizeof name), 0);
      EXPECT_STREQ(name, row.kept);
    }
    EXPECT_FALSE(ZTKThread::XPSetCurrentName(nullptr));
  });
  thread.Run();
  thread.Wait();
}
