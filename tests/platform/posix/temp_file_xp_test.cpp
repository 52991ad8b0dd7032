// What this layer does for a temporary file: mode, owner and group, relative targets, the folder.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "tests/file/strict_mode.h"
#include "tests/file/temp_file_support.h"
#include "tests/support/scoped_process.h"
#include "tests/support/system_calls.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file_name.h"
#include "ztk/file/temp_file.h"

namespace {

namespace fs = std::filesystem;

TEST(ZTKTempFile, CommittedFileKeepsTheTargetsMode) {
  TempDir dir;
  const ScopedUmask umask(022);
  for (const bool strict : {false, true}) {
    const Strict scope(strict);
    for (const int mode : {0600, 0640, 0755, 0666, 0400, 0200}) {
      SCOPED_TRACE(testing::Message() << std::oct << mode << (strict ? " strict" : ""));
      fs::remove(dir / "x");
      WriteWholeFile(dir / "x", "old");
      ASSERT_EQ(chmod((dir / "x").c_str(), static_cast<mode_t>(mode)), 0);
      ZTKTempFile temp(Native(dir / "x"));
      Put(temp, "new");
      EXPECT_EQ(ModeOf(Host(temp.GetTempPath())), mode);
      EXPECT_TRUE(temp.Commit());
      EXPECT_EQ(ModeOf(dir / "x"), mode);
    }
  }
}

TEST(ZTKTempFile, IsPrivateUntilItHasTheTargetsMode) {
  TempDir dir;
  const ScopedUmask umask(0);
  ZTKFile file;
  const ZTKString path = ZTKFileName::XPCreateTempFileName(Native(dir / "x"), &file);
  EXPECT_EQ(ModeOf(Host(path)), 0600);
}

TEST(ZTKTempFile, OwnerAndGroupFollowWhereAllowed) {
  if (!RunsAsRoot()) GTEST_SKIP() << "only root gives files away";
  TempDir dir;
  WriteWholeFile(dir / "x", "old");
  ASSERT_EQ(chown((dir / "x").c_str(), 12345, 23456), 0);
  ASSERT_EQ(chmod((dir / "x").c_str(), 04750), 0);
  ZTKTempFile temp(Native(dir / "x"));
  EXPECT_TRUE(temp.Commit());
  struct stat status {};
  ASSERT_EQ(stat((dir / "x").c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, 12345u);
  EXPECT_EQ(status.st_gid, 23456u);
  EXPECT_EQ(ModeOf(dir / "x"), 04750);
}

TEST(ZTKTempFile, SetIdBitsDoNotOutliveAChangeOfOwner) {
  if (!RunsAsRoot()) GTEST_SKIP() << "only root can take rights away";
  TempDir dir;
  ASSERT_EQ(chmod(dir.Path().c_str(), 0777), 0);
  WriteWholeFile(dir / "x", "old");
  ASSERT_EQ(chmod((dir / "x").c_str(), 06755), 0);
  const pid_t child = fork();
  if (child == 0) {
    if (setgid(12345) != 0 || setuid(12345) != 0) _exit(2);
    ZTKTempFile temp(Native(dir / "x"));
    _exit(temp.Commit() ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_EQ(status, 0);
  EXPECT_EQ(ModeOf(dir / "x"), 0755);
}

TEST(ZTKTempFile, ChangingPermissionsNeedsAnOpenFile) {
  TempDir dir;
  const ScopedUmask umask(0);
  ZTKTempFile temp(Native(dir / "x"));
  WriteWholeFile(dir / "x", "");
  ASSERT_EQ(chmod((dir / "x").c_str(), 0640), 0);
  EXPECT_TRUE(temp.XPChangePermissions());
  EXPECT_EQ(ModeOf(Host(temp.GetTempPath())), 0640);
  EXPECT_TRUE(temp.Discard());
  EXPECT_FALSE(temp.XPChangePermissions());
}

TEST(ZTKTempFile, CopyThatReplacesARenameHasTheSamePermissions) {
  TempDir dir;
  WriteWholeFile(dir / "x", "old");
  ASSERT_EQ(chmod((dir / "x").c_str(), 0751), 0);
  ZTKTempFile temp(Native(dir / "x"));
  Put(temp, "new");
  system_calls::Scope calls;
  calls.Refuse("rename", EXDEV);
  EXPECT_TRUE(temp.Commit());
  EXPECT_EQ(ReadWholeFile(dir / "x"), "new");
  EXPECT_EQ(ModeOf(dir / "x"), 0751);
  EXPECT_EQ(CountNames(dir.Path()), 1);
}

TEST(ZTKTempFile, RelativeTargetIsFixedWhenItIsOpened) {
  TempDir dir;
  fs::create_directory(dir / "below");
  const ScopedWorkingDirectory cwd(dir.Path());
  for (const char* target : {"x.txt", "below/x.txt"}) {
    SCOPED_TRACE(target);
    fs::current_path(dir.Path());
    ZTKTempFile temp(target);
    fs::current_path("/");
    EXPECT_EQ(Host(temp.GetTargetPath()), dir / target);
    Put(temp, "new");
    EXPECT_TRUE(temp.Commit());
    EXPECT_EQ(ReadWholeFile(dir / target), "new");
  }
}

TEST(ZTKTempFile, MissingTemporaryFolderIsNotMade) {
  TempDir dir;
  const ScopedEnv missing("TMPDIR", (dir / "missing").c_str());
  ZTKFile file;
  EXPECT_EQ(Host(ZTKFileName::XPCreateTempFileName("name", &file)), "");
  EXPECT_FALSE(file.IsOpen());
}

}  // namespace
