// The log of processes that fork, of static objects, in working directories that are too long or
// gone, and in a zone that TZ sets.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <string>
#include <thread>

#include "tests/log/log_support.h"

namespace {

constexpr const char* kStaticLogVariable = "ZTK_TEST_LOG_FROM_STATICS";

// Logs before main and after it, in a process that is asked to.
struct LogsFromStatics {
  LogsFromStatics() {
    if (std::getenv(kStaticLogVariable) == nullptr) return;
    ZTKLog::ms_doLog = 1;
    ZTKLogInfo("before %s", "main");
  }
  ~LogsFromStatics() {
    if (std::getenv(kStaticLogVariable) != nullptr) ZTKLogInfo("after %s", "main");
  }
} const g_logsFromStatics;

TEST_F(ZTKLogTest, TraceFileIsRelativeWhenTheWorkingDirectoryIsTooLong) {
  for (int depth = 0; depth < 6; ++depth) {
    const std::string name(200, 'd');
    ASSERT_EQ(mkdir(name.c_str(), 0700), 0);
    ASSERT_EQ(chdir(name.c_str()), 0);
  }
  ZTKLog::ms_doLog = 1;
  ZTKLogInfo("deep");
  EXPECT_EQ(Lines(ReadWholeFile("ztktrace.log"), '\r'), Texts{"deep"});
}

TEST_F(ZTKLogTest, DeletedWorkingDirectoryMeansSilence) {
  ASSERT_EQ(mkdir("gone", 0700), 0);
  ASSERT_EQ(chdir("gone"), 0);
  ASSERT_EQ(rmdir("../gone"), 0);
  ZTKLog::ms_doLog = 1;
  ZTKLogInfo("nowhere");
  EXPECT_NE(ZTKLog::ms_pLogger, nullptr);
  EXPECT_FALSE(HasTrace());
}

TEST_F(ZTKLogTest, StaticObjectsMayLogBeforeAndAfterMain) {
  const pid_t child = fork();
  if (child == 0) {
    setenv(kStaticLogVariable, "1", 1);
    execl("/proc/self/exe", "log_test", "--gtest_filter=none", "--gtest_brief=1", nullptr);
    _exit(127);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_EQ(Lines(Trace(), '\r'), (Texts{"before main", "after main"}));
}

TEST_F(ZTKLogTest, ForkedProcessDoesNotWriteLinesTwice) {
  ZTKLog::ms_doLog = 1;
  ZTKLogInfo("parent");
  const pid_t child = fork();
  if (child == 0) {
    ZTKLogInfo("child");
    ZTKLog::SetActiveTarget(nullptr);
    _exit(0);
  }
  waitpid(child, nullptr, 0);
  EXPECT_EQ(Lines(Trace(), '\r'), (Texts{"parent", "child"}));
}

TEST_F(ZTKLogTest, TimeIsThatOfTheTimeZoneFromTheNextSecondOn) {
  const auto hour = [](const char* zone) {
    const ScopedEnv scope("TZ", zone);
    for (const std::time_t start = std::time(nullptr); std::time(nullptr) == start;) {
      std::this_thread::yield();
    }
    ZTKString line;
    FormatLogBuf(line, "");
    return std::stoi(std::string(line.c_str()).substr(0, 2));
  };
  // Two hours of one moment, or of two around a full hour.
  const int difference = (hour("AAA-5") - hour("AAA0") + 24) % 24;
  EXPECT_TRUE(difference == 5 || difference == 4) << difference;
}

}  // namespace
