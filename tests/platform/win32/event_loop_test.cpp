// The loop's handle as programs of this system wait for it, beside their messages.

#include "ztk/system/event_loop.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>
#include <thread>
#include <vector>

#include "tests/support/imports_win32.h"
#include "ztk/system/timer.h"

namespace {

constexpr std::int64_t kMs = 1'000'000;

HANDLE WaitHandle() { return reinterpret_cast<HANDLE>(ZTKEventLoop::Main().GetWaitHandle()); }

bool IsSignalled() { return WaitForSingleObject(WaitHandle(), 0) == WAIT_OBJECT_0; }

void Count(ZTKEventLoopTimer, void* pCount) { ++*static_cast<int*>(pCount); }

class CountingTimer : public ZTKTimer {
 public:
  void Notify() override { ++count; }
  int count = 0;
};

// The system's, or one that fails.
BOOL(WINAPI* s_setWaitableTimer)(HANDLE, const LARGE_INTEGER*, LONG, PTIMERAPCROUTINE, void*, BOOL);
bool s_failsToSet = false;

BOOL WINAPI SetTimerOrFail(HANDLE timer, const LARGE_INTEGER* due, LONG period,
                           PTIMERAPCROUTINE routine, void* argument, BOOL resume) {
  if (!s_failsToSet) return s_setWaitableTimer(timer, due, period, routine, argument, resume);
  SetLastError(ERROR_NO_SYSTEM_RESOURCES);
  return FALSE;
}

}  // namespace

TEST(ZTKEventLoopWin32, HasAHandleAndNoDescriptor) {
  EXPECT_EQ(ZTKEventLoop::Main().GetFd(), -1);
  EXPECT_NE(ZTKEventLoop::Main().GetWaitHandle(), -1);
  EXPECT_FALSE(IsSignalled());
}

TEST(ZTKEventLoopWin32, TheHandleIsSignalledFromTheExpiryToTheDispatch) {
  ZTKEventLoop& loop = ZTKEventLoop::Main();
  int count = 0;
  const std::int64_t begin = loop.Now();
  const ZTKEventLoopTimer timer = loop.InstallTimer(20 * kMs, 1000'000 * kMs, Count, &count);
  ASSERT_NE(timer, 0u);
  EXPECT_EQ(WaitForSingleObject(WaitHandle(), INFINITE), WAIT_OBJECT_0);
  EXPECT_GE(loop.Now() - begin, 19 * kMs);
  EXPECT_TRUE(IsSignalled());
  EXPECT_TRUE(IsSignalled());
  while (loop.Dispatch() == 0) WaitForSingleObject(WaitHandle(), INFINITE);
  EXPECT_EQ(count, 1);
  EXPECT_FALSE(IsSignalled());
  EXPECT_TRUE(loop.RemoveTimer(timer));
}

TEST(ZTKEventLoopWin32, RemovingTheLastTimerTakesTheSignalBack) {
  ZTKEventLoop& loop = ZTKEventLoop::Main();
  int count = 0;
  const ZTKEventLoopTimer timer = loop.InstallTimer(0, 0, Count, &count);
  EXPECT_EQ(WaitForSingleObject(WaitHandle(), INFINITE), WAIT_OBJECT_0);
  EXPECT_TRUE(loop.RemoveTimer(timer));
  EXPECT_FALSE(IsSignalled());
  EXPECT_EQ(loop.Dispatch(), 0u);
  EXPECT_EQ(count, 0);
}

TEST(ZTKEventLoopWin32, IsServedInALoopOfMessages) {
  // Messages of this thread, and the timers by one handle beside them.
  CountingTimer timer;
  ASSERT_TRUE(timer.Start(5, 0));
  const DWORD self = GetCurrentThreadId();
  MSG message;
  PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);  // Gives the thread its queue.
  std::thread poster([self] {
    for (int i = 0; i < 20; ++i) {
      PostThreadMessageW(self, WM_APP, static_cast<WPARAM>(i), 0);
      Sleep(2);
    }
  });
  int messages = 0;
  while (messages < 20 || timer.count < 5) {
    const HANDLE handle = WaitHandle();
    const DWORD woken =
        MsgWaitForMultipleObjectsEx(1, &handle, INFINITE, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
    ASSERT_LE(woken, WAIT_OBJECT_0 + 1);
    if (woken == WAIT_OBJECT_0) ZTKEventLoop::Main().Dispatch();
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != 0) {
      if (message.message == WM_APP) ++messages;
    }
  }
  poster.join();
  EXPECT_EQ(messages, 20);
}

TEST(ZTKEventLoopWin32, QuitOnAnotherThreadEndsTheRun) {
  for (int i = 0; i < 20; ++i) {
    std::thread other;
    int started = 0;
    struct Start {
      std::thread* thread;
      int* started;
    } start{&other, &started};
    ZTKEventLoop::Main().InstallTimer(
        0, 1000 * kMs,
        [](ZTKEventLoopTimer name, void* p) {
          auto* const s = static_cast<Start*>(p);
          ++*s->started;
          ZTKEventLoop::Main().RemoveTimer(name);
          *s->thread = std::thread([] { ZTKEventLoop::Main().Quit(); });
        },
        &start);
    ZTKEventLoop::Main().Run();
    other.join();
    EXPECT_EQ(started, 1);
  }
}

TEST(ZTKEventLoopWin32, AnIntervalKeepsItsPhase) {
  ZTKEventLoop& loop = ZTKEventLoop::Main();
  struct Log {
    std::vector<std::int64_t> times;
  } log;
  constexpr std::int64_t kInterval = 10 * kMs;
  const std::int64_t begin = loop.Now();
  const ZTKEventLoopTimer timer = loop.InstallTimer(
      kInterval, kInterval,
      [](ZTKEventLoopTimer, void* p) {
        auto* const l = static_cast<Log*>(p);
        l->times.push_back(ZTKEventLoop::Main().Now());
        if (l->times.size() == 30) ZTKEventLoop::Main().Quit();
      },
      &log);
  loop.Run();
  EXPECT_TRUE(loop.RemoveTimer(timer));
  // Never before its time, and what is late once is not late ever after: missed expiries are left
  // out, the others come at whole intervals.
  std::int64_t last = 0;
  for (const std::int64_t time : log.times) {
    const std::int64_t number = (time - begin) / kInterval;
    EXPECT_GT(number, last);
    last = number;
  }
  EXPECT_GE(last, 30);
}

TEST(ZTKEventLoopWin32, RunForEndsInItsTime) {
  const std::int64_t begin = ZTKEventLoop::Main().Now();
  ZTKEventLoop::Main().RunFor(30);
  EXPECT_GE(ZTKEventLoop::Main().Now() - begin, 30 * kMs);
}

TEST(ZTKEventLoopWin32, WhereTheSystemSetsNoTimerTheLoopSleepsByItself) {
  const imports::Replacement replacement =
      imports::Replace("SetWaitableTimer", &SetTimerOrFail, &s_setWaitableTimer);
  imports::ReplaceIn(imports::LibraryModule(), &replacement, 1);
  ASSERT_NE(s_setWaitableTimer, nullptr);

  // What it was set to before is due meanwhile, and must not end every sleep at once.
  ZTKEventLoop& loop = ZTKEventLoop::Main();
  int early = 0;
  const ZTKEventLoopTimer first = loop.InstallTimer(1 * kMs, 1000'000 * kMs, Count, &early);
  WaitForSingleObject(WaitHandle(), INFINITE);
  s_failsToSet = true;
  EXPECT_EQ(loop.Dispatch(), 1u);
  CountingTimer timer;
  ASSERT_TRUE(timer.Start(10, 0));
  FILETIME unused;
  FILETIME before;
  FILETIME after;
  GetThreadTimes(GetCurrentThread(), &unused, &unused, &unused, &before);
  const std::int64_t begin = loop.Now();
  loop.RunFor(300);
  GetThreadTimes(GetCurrentThread(), &unused, &unused, &unused, &after);
  EXPECT_GE(loop.Now() - begin, 300 * kMs);
  EXPECT_GE(timer.count, 2);
  EXPECT_LT(after.dwLowDateTime - before.dwLowDateTime, 1'000'000u) << "it did not sleep";
  EXPECT_GE(loop.GetNextDelay(), 0);  // For those who wait for the handle.
  s_failsToSet = false;
  timer.Stop();
  EXPECT_TRUE(loop.RemoveTimer(first));

  // The next one is set again.
  const ZTKEventLoopTimer next = loop.InstallTimer(1 * kMs, 1000'000 * kMs, Count, &early);
  EXPECT_EQ(WaitForSingleObject(WaitHandle(), 10'000), WAIT_OBJECT_0);
  EXPECT_TRUE(loop.RemoveTimer(next));
}
