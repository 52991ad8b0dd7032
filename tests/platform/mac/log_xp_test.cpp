#include "ztk/log/log.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/scoped_process.h"
#include "tests/support/temp_dir.h"

namespace {

namespace fs = std::filesystem;

TEST(ZTKAssert, AFailedAssertionIsNotShown) {
  StderrCapture capture;
  ZTKAssert(0, "file.cpp", 7, "text", "message");
  ZTKAssert(0, nullptr, 0, nullptr, nullptr);
  XPOnAssert("file.cpp", 7, "text", "message");
  EXPECT_EQ(capture.Stop(), "");
}

TEST(ZTKLog, TheTraceFileHasAColonBeforeItsName) {
  TempDir dir;
  fs::create_directory(dir / "work");
  const ScopedWorkingDirectory inside(dir / "work");
  ZTKLog::ms_doLog = 1;
  ZTKLogWarning("message");
  ZTKLog::SetActiveTarget(nullptr);
  ZTKLog::ms_doLog = 0;
  const std::string line = ReadWholeFile(dir / "work:ztktrace.log");
  EXPECT_EQ(line.substr(line.find(' ') + 1), "Warning: message\r");
  EXPECT_TRUE(fs::is_empty(dir / "work"));
}

}  // namespace
