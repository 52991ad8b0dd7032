// Mode, owner and group of a file that is committed.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "tests/file/strict_mode.h"
#include "tests/file/temp_file_support.h"
#include "tests/support/scoped_process.h"
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
      ZTKTempFile temp(S(dir / "x"));
      Put(temp, "new");
      EXPECT_EQ(ModeOf(temp.GetTempPath().c_str()), mode);
      EXPECT_TRUE(temp.Commit());
      EXPECT_EQ(ModeOf(dir / "x"), mode);
    }
  }
}

TEST(ZTKTempFile, NewTargetGetsWhatTheUmaskLeaves) {
  TempDir dir;
  for (const mode_t mask : {0000u, 0022u, 0077u, 0027u}) {
    SCOPED_TRACE(mask);
    const ScopedUmask scope(mask);
    fs::remove(dir / "x");
    ZTKTempFile temp(S(dir / "x"));
    EXPECT_TRUE(temp.Commit());
    EXPECT_EQ(ModeOf(dir / "x"), static_cast<int>(0666 & ~mask));
    const mode_t now = umask(mask);
    EXPECT_EQ(now, mask);  // Reading it has not changed it.
  }
}

TEST(ZTKTempFile, IsPrivateUntilItHasTheTargetsMode) {
  TempDir dir;
  const ScopedUmask umask(0);
  ZTKFile file;
  const ZTKString path = ZTKFileName::XPCreateTempFileName(S(dir / "x"), &file);
  EXPECT_EQ(ModeOf(path.c_str()), 0600);
}

TEST(ZTKTempFile, OwnerAndGroupFollowWhereAllowed) {
  if (!RunsAsRoot()) GTEST_SKIP() << "only root gives files away";
  TempDir dir;
  WriteWholeFile(dir / "x", "old");
  ASSERT_EQ(chown((dir / "x").c_str(), 12345, 23456), 0);
  ASSERT_EQ(chmod((dir / "x").c_str(), 04750), 0);
  ZTKTempFile temp(S(dir / "x"));
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
    ZTKTempFile temp(S(dir / "x"));
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
  ZTKTempFile temp(S(dir / "x"));
  WriteWholeFile(dir / "x", "");
  ASSERT_EQ(chmod((dir / "x").c_str(), 0640), 0);
  EXPECT_TRUE(temp.XPChangePermissions());
  EXPECT_EQ(ModeOf(temp.GetTempPath().c_str()), 0640);
  EXPECT_TRUE(temp.Discard());
  EXPECT_FALSE(temp.XPChangePermissions());
}

}  // namespace
