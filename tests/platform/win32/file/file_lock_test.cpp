// The lock over LockFileEx: between objects of one process, and with others.

#include "ztk/file/internal/file_lock_xp.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <optional>
#include <string>
#include <thread>

#include "tests/support/temp_dir.h"
#include "ztk/file/internal/file_system_xp.h"

// What the lock file is allowed is the library's own matter.
bool XPCopyPermissions(const char*, const char*) noexcept { return true; }

namespace {

TEST(Win32Lock, OneObjectHoldsIt) {
  TempDir dir;
  const std::string path = dir / "file.lock";
  std::optional<ZTKFileLock> first;
  first.emplace(path.c_str(), "", 0);
  EXPECT_EQ(first->GetState(), ZTKFileLock::kHeld);
  EXPECT_EQ(ZTKFileLock(path.c_str(), "", 0).GetState(), ZTKFileLock::kBusy);
  EXPECT_EQ(ZTKFileLock(path.c_str(), "", 20).GetState(), ZTKFileLock::kBusy);
  first.reset();
  EXPECT_EQ(ZTKFileLock(path.c_str(), "", 0).GetState(), ZTKFileLock::kHeld);
  EXPECT_EQ(ReadWholeFile(path), "");  // It stays, and is empty.
}

TEST(Win32Lock, WaitsForWhoHoldsIt) {
  TempDir dir;
  const std::string path = dir / "file.lock";
  std::optional<ZTKFileLock> first;
  first.emplace(path.c_str(), "", 0);
  std::thread other(
      [&] { EXPECT_EQ(ZTKFileLock(path.c_str(), "", 10000).GetState(), ZTKFileLock::kHeld); });
  Sleep(50);
  first.reset();
  other.join();
}

TEST(Win32Lock, TheLockKeepsNobodyFromTheContent) {
  TempDir dir;
  const std::string path = dir / "file.lock";
  WriteWholeFile(path, "content");
  const ZTKFileLock lock(path.c_str(), "", 0);
  ASSERT_EQ(lock.GetState(), ZTKFileLock::kHeld);
  EXPECT_EQ(ReadWholeFile(path), "content");
  WriteWholeFile(path, "other");
  EXPECT_EQ(ReadWholeFile(path), "other");
}

TEST(Win32Lock, FoldersDevicesAndReservedNamesAreNoLockFiles) {
  TempDir dir;
  ASSERT_NE(CreateDirectoryA((dir / "folder").c_str(), nullptr), 0);
  for (const std::string& path : {dir / "folder", dir / "missing\\x", dir / "nul.lock", dir / "x.",
                                  std::string("NUL"), std::string()}) {
    EXPECT_EQ(ZTKFileLock(path.c_str(), "", 0).GetState(), ZTKFileLock::kFailed) << path;
  }
}

}  // namespace
