// Configurations whose lock somebody else has, or that cannot be locked or read; several programs
// that save at once, and are killed.

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/config/file_config_save_support.h"
#include "tests/config/file_config_support.h"
#include "tests/support/child_process_win32.h"
#include "tests/support/faulty_calls.h"

namespace {

namespace fs = std::filesystem;

std::string LockOf(const PreferencesFolder& prefs) { return prefs.ConfFile() + ".lock"; }

// Locks what the library locks, as another program would.
class ForeignLock {
 public:
  explicit ForeignLock(const std::string& path)
      : m_handle(CreateFileA(path.c_str(), GENERIC_READ,
                             FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                             OPEN_ALWAYS, 0, nullptr)) {
    OVERLAPPED where = {};
    where.Offset = 0xFFFFFFFE;
    where.OffsetHigh = 0x7FFFFFFF;
    EXPECT_NE(LockFileEx(m_handle, LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &where), 0);
  }
  ~ForeignLock() { CloseHandle(m_handle); }
  ForeignLock(const ForeignLock&) = delete;
  ForeignLock& operator=(const ForeignLock&) = delete;

 private:
  HANDLE m_handle;
};

TEST(Win32ConfigLock, ALockThatIsHeldMakesFlushFalseAndTheChangeWaits) {
  const PreferencesFolder prefs;
  WriteWholeFile(prefs.ConfFile(), "[g]\nk=1\n");
  ZTKFileConfig config("", "App", CONF_MERGE);
  Put(config, "/g", "k", "2");
  {
    const ForeignLock lock(LockOf(prefs));
    EXPECT_FALSE(config.Flush());
    EXPECT_TRUE(config.IsDirty());
    EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), "[g]\nk=1\n");
  }
  EXPECT_TRUE(config.Flush());
  EXPECT_EQ(OnDisk("/g", "k"), "2");
  EXPECT_TRUE(fs::exists(LockOf(prefs))) << "it is never removed";
}

TEST(Win32ConfigLock, ALockThatFailsIsNoneAndAFileSystemWithoutLocksIsNoReasonToWait) {
  struct {
    int error;
    bool isSaved;
  } const rows[] = {{ERROR_NOT_SUPPORTED, true},
                    {ERROR_INVALID_FUNCTION, true},
                    {ERROR_ACCESS_DENIED, false},
                    {ERROR_NOT_READY, false}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.error);
    const PreferencesFolder prefs;
    WriteWholeFile(prefs.ConfFile(), "[g]\nk=1\n");
    ZTKFileConfig config("", "App", CONF_MERGE);
    Put(config, "/g", "k", "2");
    faulty_calls::Scope scope;
    scope.FailAt("LockFileEx", row.error);
    EXPECT_EQ(config.Flush(), row.isSaved);
    EXPECT_EQ(scope.Failed(), "LockFileEx");
  }
}

TEST(Win32ConfigLock, WithoutALockFileNothingIsSaved) {
  const PreferencesFolder prefs;
  fs::create_directory(LockOf(prefs));
  WriteWholeFile(prefs.ConfFile(), "[g]\nk=1\n");
  ZTKFileConfig config("", "App", CONF_MERGE);
  Put(config, "/g", "k", "2");
  EXPECT_FALSE(config.Flush());
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), "[g]\nk=1\n");
  fs::remove(LockOf(prefs));
  EXPECT_TRUE(config.Flush());
}

TEST(Win32ConfigUnread, WithAnyOptionAFileThatWasNotReadIsNotReplaced) {
  for (unsigned options = 1; options <= CONF_ALL; ++options) {
    SCOPED_TRACE(options);
    const PreferencesFolder prefs;
    WriteWholeFile(prefs.ConfFile(), "[g]\nold=1\n");
    std::unique_ptr<ZTKFileConfig> config;
    {
      faulty_calls::Scope scope;
      scope.FailFrom(0, ERROR_SHARING_VIOLATION);
      config = std::make_unique<ZTKFileConfig>("", "App", options);
    }
    EXPECT_FALSE(config->IsReadWhole());
    Put(*config, "/g", "k", "2");
    // With merging, what is merged is what was read just now.
    EXPECT_EQ(config->Flush(), (options & CONF_MERGE) != 0);
    EXPECT_NE(ReadWholeFile(prefs.ConfFile()).find("old=1"), std::string::npos);
    EXPECT_TRUE(config->Reload());
    Put(*config, "/g", "k", "2");
    EXPECT_TRUE(config->Flush());
    EXPECT_EQ(OnDisk("/g", "old"), "1");
    EXPECT_EQ(OnDisk("/g", "k"), "2");
  }
}

// Several programs --------------------------------------------------------------------------------

constexpr int kPrograms = 3;
constexpr int kKeys = 30;

std::string KeyOf(int program, int n) {
  return "p" + std::to_string(program) + "k" + std::to_string(n);
}

// One of them: says what it has saved by a file for each.
TEST(Win32ConfigLock, DISABLED_Child) {
  const char* const folder = std::getenv("ZTK_SAVE_FOLDER");
  const char* const number = std::getenv("ZTK_SAVE_NUMBER");
  ASSERT_TRUE(folder != nullptr && number != nullptr);
  const ScopedPreferences preferences{fs::path(folder)};
  ZTKFileConfig config("", "App", CONF_ALL);
  for (int n = 0; n < kKeys; ++n) {
    const std::string key = KeyOf(std::atoi(number), n);
    Put(config, "/g", key.c_str(), "v");
    while (!config.Flush()) Sleep(1);  // The others are at it.
    WriteWholeFile((fs::path(folder) / "saved" / key).string(), "");
  }
}

bool IsSaved(const PreferencesFolder& prefs, int program, int n) {
  return fs::exists(prefs.Dir().Path() / "saved" / KeyOf(program, n));
}

std::vector<std::unique_ptr<ChildProcess>> StartAll(const PreferencesFolder& prefs) {
  fs::create_directory(prefs.Dir() / "saved");
  const ScopedEnv folder("ZTK_SAVE_FOLDER", prefs.Dir().Path().string().c_str());
  std::vector<std::unique_ptr<ChildProcess>> children;
  for (int program = 0; program < kPrograms; ++program) {
    const ScopedEnv number("ZTK_SAVE_NUMBER", std::to_string(program).c_str());
    children.push_back(std::make_unique<ChildProcess>("Win32ConfigLock.DISABLED_Child"));
  }
  return children;
}

TEST(Win32ConfigLock, ManyProgramsLoseNothing) {
  const PreferencesFolder prefs;
  for (const auto& child : StartAll(prefs)) EXPECT_EQ(child->Wait(), 0);
  for (int program = 0; program < kPrograms; ++program) {
    for (int n = 0; n < kKeys; ++n) {
      EXPECT_TRUE(IsSaved(prefs, program, n));
      EXPECT_EQ(OnDisk("/g", KeyOf(program, n).c_str()), "v") << program << ' ' << n;
    }
  }
}

TEST(Win32ConfigLock, WhatWasReportedAsSavedIsThereHoweverManyWritersAreKilled) {
  const PreferencesFolder prefs;
  {
    const auto children = StartAll(prefs);
    // Each in the middle of its work.
    for (int program = 0; program < kPrograms; ++program) {
      const int enough = 5 * (program + 1);
      const auto& child = children[static_cast<size_t>(program)];
      while (child->IsRunning() && !IsSaved(prefs, program, enough)) Sleep(1);
      child->Kill();
    }
  }
  for (int program = 0; program < kPrograms; ++program) {
    int saved = 0;
    for (int n = 0; n < kKeys; ++n) {
      if (!IsSaved(prefs, program, n)) continue;
      ++saved;
      EXPECT_EQ(OnDisk("/g", KeyOf(program, n).c_str()), "v") << program << ' ' << n;
    }
    EXPECT_GT(saved, 5 * (program + 1));
  }
  ZTKFileConfig config("", "App", CONF_ALL);
  Put(config, "/g", "afterwards", "1");
  EXPECT_TRUE(config.Flush()) << "nobody holds the lock any more";
}

}  // namespace
