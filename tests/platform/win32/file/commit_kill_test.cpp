// Programs that are killed from outside while they commit: a whole version is always there.

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "tests/support/child_process_win32.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file.h"
#include "ztk/file/temp_file.h"

namespace {

namespace fs = std::filesystem;

constexpr size_t kSize = 30000;

// A version is one character, over and over.
bool IsWhole(const std::string& path) {
  const std::string text = ReadWholeFile(path);
  return text.size() == kSize && text.find_first_not_of(text.front()) == std::string::npos;
}

// The program that is killed: it saves for ever.
TEST(Win32Kill, DISABLED_Child) {
  const char* const path = std::getenv("ZTK_KILL_PATH");
  const HANDLE started = OpenEventA(EVENT_MODIFY_STATE, FALSE, std::getenv("ZTK_KILL_EVENT"));
  ASSERT_NE(path, nullptr);
  ASSERT_NE(started, nullptr);
  const auto options = static_cast<unsigned int>(std::atoi(std::getenv("ZTK_KILL_OPTIONS")));
  for (char version = 'a';; version = version == 'z' ? 'a' : static_cast<char>(version + 1)) {
    ZTKTempFile file(path, options);
    const std::string text(kSize, version);
    file.GetFile().Write(text.data(), kSize);
    ASSERT_TRUE(file.Commit());
    SetEvent(started);
  }
}

// Starts the child, and kills it some time after its first commit.
void KillWhileItSaves(const std::string& path, unsigned int options, DWORD afterMs) {
  const std::string event = "ztk_kill_" + std::to_string(GetCurrentProcessId());
  const HANDLE started = CreateEventA(nullptr, TRUE, FALSE, event.c_str());
  SetEnvironmentVariableA("ZTK_KILL_PATH", path.c_str());
  SetEnvironmentVariableA("ZTK_KILL_EVENT", event.c_str());
  SetEnvironmentVariableA("ZTK_KILL_OPTIONS", std::to_string(options).c_str());
  const ChildProcess child("Win32Kill.DISABLED_Child");
  EXPECT_EQ(WaitForSingleObject(started, 60000), WAIT_OBJECT_0);
  Sleep(afterMs);  // Any step will do.
  EXPECT_TRUE(child.IsRunning());
  child.Kill();
  CloseHandle(started);
}

TEST(Win32Kill, ACommitInOneStepAlwaysLeavesTheTarget) {
  for (DWORD afterMs = 0; afterMs < 10; ++afterMs) {
    SCOPED_TRACE(afterMs);
    TempDir dir;
    WriteWholeFile(dir / "file.txt", std::string(kSize, '0'));
    KillWhileItSaves(dir / "file.txt", TEMP_ONE_STEP, afterMs);
    EXPECT_TRUE(IsWhole(dir / "file.txt"));
  }
}

TEST(Win32Kill, ACommitInTwoStepsAlwaysLeavesAWholeVersion) {
  for (DWORD afterMs = 0; afterMs < 10; ++afterMs) {
    SCOPED_TRACE(afterMs);
    TempDir dir;
    WriteWholeFile(dir / "file.txt", std::string(kSize, '0'));
    KillWhileItSaves(dir / "file.txt", 0, afterMs);
    bool isAnyWhole = false;
    for (const fs::directory_entry& entry : fs::directory_iterator(dir.Path())) {
      if (IsWhole(entry.path().string())) isAnyWhole = true;
    }
    EXPECT_TRUE(isAnyWhole);
    if (fs::exists(dir.Path() / "file.txt")) {
      EXPECT_TRUE(IsWhole(dir / "file.txt"));
    }
  }
}

}  // namespace
