#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/scoped_process.h"
#include "ztk/log/log.h"

namespace {

TEST(ZTKAssert, ReportsAFalseConditionOnceAndGoesOn) {
  StderrCapture capture;
  ZTKAssert(0, "file.cpp", 12, "a == b", "they differ");
  EXPECT_EQ(capture.Stop(), "file.cpp:12: assertion failed: a == b: they differ\n");
}

TEST(ZTKAssert, IsSilentAboutATrueCondition) {
  StderrCapture capture;
  for (const long condition : {1L, -1L, 1L << 30}) {
    ZTKAssert(condition, "file.cpp", 12, "a == b", "they differ");
  }
  EXPECT_EQ(capture.Stop(), "");
}

TEST(ZTKAssert, TakesNullTexts) {
  StderrCapture capture;
  ZTKAssert(0, nullptr, -1, nullptr, nullptr);
  EXPECT_EQ(capture.Stop(), ":-1: assertion failed: : \n");
}

// Runs a failed assertion in a process traced by one that calls itself `name`; whether it stopped.
bool StopsUnder(const char* name) {
  const pid_t tracer = fork();
  if (tracer == 0) {
    prctl(PR_SET_NAME, name);
    const pid_t traced = fork();
    if (traced == 0) {
      if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(9);
      const StderrCapture capture;
      ZTKAssert(0, "f", 1, "t", "m");
      _exit(0);
    }
    int status = 0;
    waitpid(traced, &status, 0);
    const bool stopped = WIFSTOPPED(status) && WSTOPSIG(status) == SIGTRAP;
    if (stopped) {
      kill(traced, SIGKILL);
      waitpid(traced, nullptr, 0);
    }
    _exit(stopped ? 1 : WIFEXITED(status) ? WEXITSTATUS(status) : 8);
  }
  int status = 0;
  waitpid(tracer, &status, 0);
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_LE(WEXITSTATUS(status), 1);
  return WEXITSTATUS(status) == 1;
}

TEST(ZTKAssert, StopsUnderADebuggerOnly) {
  EXPECT_TRUE(StopsUnder("gdb"));
  EXPECT_TRUE(StopsUnder("lldb-server"));
  EXPECT_TRUE(StopsUnder("rr"));
  EXPECT_FALSE(StopsUnder("strace"));
  EXPECT_FALSE(StopsUnder("rrdtool"));
}

}  // namespace
