// What is of Unix: descriptors, signals, and children of a fork.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "tests/support/wait_handle.h"
#include "tests/system/loop_timer.h"

namespace {

TEST(ZTKEventLoop, DescriptorStaysTheSameAndIsClosedOnExec) {
  const int fd = Loop().GetFd();
  ASSERT_GE(fd, 0);
  EXPECT_EQ(Loop().GetFd(), fd);
  EXPECT_NE(fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
}

TEST(ZTKEventLoop, QuitFromASignalHandlerEndsTheLoop) {
  const auto old = std::signal(SIGALRM, [](int) { Loop().Quit(); });
  const LoopTimer raiser(1 * kMs, kLong, [] { std::raise(SIGALRM); });
  Loop().Run();
  std::signal(SIGALRM, old);
  EXPECT_EQ(raiser.Count(), 1);
}

TEST(ZTKEventLoop, IdleLoopMakesNoWakeUps) {
  const LoopTimer far(kLong, kLong);
  rusage before = {};
  rusage after = {};
  getrusage(RUSAGE_THREAD, &before);
  Loop().RunFor(200);
  getrusage(RUSAGE_THREAD, &after);
  // A wait that begins gives up the processor once; there is one wait, and one more allowed for the
  // system.
  EXPECT_LE(after.ru_nvcsw - before.ru_nvcsw, 2);
}

[[noreturn]] void RunWithoutDescriptors() {
  const rlimit none = {0, 0};
  setrlimit(RLIMIT_NOFILE, &none);
  const LoopTimer repeating(1 * kMs, 1 * kMs);
  const bool refused = Loop().GetFd() == -1;
  Loop().RunFor(30);
  _exit(refused && repeating.Count() > 0 ? 0 : 1);
}

TEST(ZTKEventLoopDeathTest, WithoutDescriptorsRunServesTimersAllTheSame) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // In a process that has opened nothing yet.
  EXPECT_EXIT(RunWithoutDescriptors(), testing::ExitedWithCode(0), "");
}

TEST(ZTKEventLoop, ChildOfAForkHasAnAlarmOfItsOwn) {
  const int fd = Loop().GetFd();
  LoopTimer timer(30 * kMs, kLong);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    const bool served = IsSignalled(fd, 10'000) && Loop().Dispatch() == 1;
    timer.Remove();  // Silences the child's alarm, and must not silence the parent's.
    Loop().Quit();
    _exit(served ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(IsSignalled(fd, 10'000));
  EXPECT_EQ(Loop().Dispatch(), 1u);
}

TEST(ZTKEventLoop, WaitHandleIsTheDescriptor) {
  ASSERT_GE(Loop().GetFd(), 0);
  EXPECT_EQ(Loop().GetWaitHandle(), Loop().GetFd());
}

}  // namespace
