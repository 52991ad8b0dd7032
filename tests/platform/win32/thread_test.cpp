#include "ztk/system/thread.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "ztk/platform/win32/system_function.h"
#include "ztk/system/msg_event.h"

namespace {

class Worker : public ZTKThread {
 public:
  explicit Worker(std::function<void(Worker&)> work) : m_work(std::move(work)) {}
  ~Worker() override { XPFree(); }
  void Entry() override { m_work(*this); }
  using ZTKThread::CheckPoint;

 private:
  std::function<void(Worker&)> m_work;
};

}  // namespace

TEST(ZTKThreadWin32, RunsInAThreadOfTheSystem) {
  unsigned long idInside = 0;
  Worker thread([&](Worker& self) {
    idInside = ZTKThread::XPGetCurrentId();
    EXPECT_EQ(self.Wait(), ZTK_THREAD_MISC_ERROR);
  });
  EXPECT_EQ(thread.Wait(), ZTK_THREAD_NOT_RUNNING);
  EXPECT_EQ(thread.Run(), ZTK_THREAD_NO_ERROR);
  EXPECT_EQ(thread.Run(), ZTK_THREAD_NOT_NEW);
  const int id = thread.GetId();
  EXPECT_EQ(thread.Wait(), ZTK_THREAD_NO_ERROR);
  EXPECT_EQ(static_cast<unsigned long>(id), idInside);
  EXPECT_NE(idInside, ZTKThread::XPGetCurrentId());
  EXPECT_EQ(ZTKThread::XPGetCurrentId(), GetCurrentThreadId());
  EXPECT_FALSE(thread.IsAlive());
}

TEST(ZTKThreadWin32, PausesStopsAndKeepsItsExitCode) {
  std::atomic<unsigned> rounds{0};
  Worker thread([&](Worker& self) {
    while (self.CheckPoint()) {
      ++rounds;
      SwitchToThread();
    }
  });
  thread.Run();
  EXPECT_EQ(thread.XPSuspend(), ZTK_THREAD_NO_ERROR);
  EXPECT_EQ(thread.XPKill(), ZTK_THREAD_NOT_RUNNING);
  EXPECT_EQ(thread.XPResume(), ZTK_THREAD_NO_ERROR);
  while (rounds == 0) SwitchToThread();
  thread.XPExit(42);
  EXPECT_EQ(thread.Wait(), ZTK_THREAD_NO_ERROR);
  EXPECT_EQ(thread.GetExitCode(), 42u);
}

TEST(ZTKThreadWin32, HasTheStackThatWasAskedFor) {
  for (const unsigned size : {0u, 1u, 1u << 16, 1u << 26}) {
    SCOPED_TRACE(size);
    ULONG_PTR reserved = 0;
    Worker thread([&](Worker&) {
      ULONG_PTR low = 0, high = 0;
      GetCurrentThreadStackLimits(&low, &high);
      reserved = high - low;
    });
    EXPECT_EQ(thread.XPCreate(size), ZTK_THREAD_NO_ERROR);
    EXPECT_EQ(thread.Run(), ZTK_THREAD_NO_ERROR);
    EXPECT_EQ(thread.Wait(), ZTK_THREAD_NO_ERROR);
    EXPECT_GE(reserved, size);
    EXPECT_NE(reserved, 0u);
  }
}

TEST(ZTKThreadWin32, MayDeleteItsOwnObject) {
  static CZTKMsgEvent s_deleted;
  class Suicidal : public ZTKThread {
   public:
    ~Suicidal() override { s_deleted.XPSignal(); }
    void Entry() override { delete this; }
  };
  for (int i = 0; i < 50; ++i) {
    auto* const thread = new Suicidal;
    EXPECT_EQ(thread->Run(), ZTK_THREAD_NO_ERROR);
    EXPECT_EQ(s_deleted.XPWait(ZTK_WAIT_FOREVER), ZTK_SYNC_NO_ERROR);
  }
}

TEST(ZTKThreadWin32, SeveralMayWaitForTheEnd) {
  CZTKMsgEvent mayEnd;
  Worker thread([&](Worker&) { mayEnd.XPWait(ZTK_WAIT_FOREVER); });
  thread.Run();
  const auto wait = [&] { EXPECT_EQ(thread.Wait(), ZTK_THREAD_NO_ERROR); };
  std::thread a(wait), b(wait), c([&] { thread.XPFree(); });
  mayEnd.XPSignal();
  a.join();
  b.join();
  c.join();
}

TEST(ZTKThreadWin32, LeavesNoHandleBehind) {
  const auto run = [] {
    std::vector<std::unique_ptr<Worker>> threads;
    for (int k = 0; k < 10; ++k) {
      threads.push_back(std::make_unique<Worker>([](Worker&) {}));
      EXPECT_EQ(threads.back()->Run(), ZTK_THREAD_NO_ERROR);
    }
  };
  run();
  DWORD before = 0, after = 0;
  GetProcessHandleCount(GetCurrentProcess(), &before);
  for (int i = 0; i < 10; ++i) run();
  GetProcessHandleCount(GetCurrentProcess(), &after);
  EXPECT_LT(after, before + 50);  // The system has some of its own; ours would be 200 and more.
}

TEST(ZTKThreadWin32, AThreadCanBeNamed) {
  using GetDescription = HRESULT(WINAPI*)(HANDLE, PWSTR*);
  const auto getDescription = SystemFunction<GetDescription>(L"kernel32", "GetThreadDescription");
  if (getDescription == nullptr) GTEST_SKIP() << "this version of the system names no threads";
  Worker thread([&](Worker&) {
    EXPECT_TRUE(ZTKThread::XPSetCurrentName("fa\u00E7ade \U0001F9F5"));
    PWSTR name = nullptr;
    ASSERT_TRUE(SUCCEEDED(getDescription(GetCurrentThread(), &name)));
    EXPECT_STREQ(name, L"fa\u00E7ade \U0001F9F5");
    LocalFree(name);
    EXPECT_FALSE(ZTKThread::XPSetCurrentName("\xFF"));
    EXPECT_FALSE(ZTKThread::XPSetCurrentName(nullptr));
  });
  thread.Run();
  thread.Wait();
}
