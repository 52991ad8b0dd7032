// What this layer does for a temporary file: mode, owner and group, relative targets, the folder.

#include <grp.h>
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
  EXPECT_EQ(ModeOf(dir / "x"), 0750) << "set-id bits are not for new content";
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

// Who saves, over a file of whom, and what then the mode is. Groups of the user who saves: his own
// and 700.
TEST(ZTKTempFile, NobodyGetsMoreAccessThanBefore) {
  if (!RunsAsRoot()) GTEST_SKIP() << "only root gives files away";
  constexpr uid_t kUser = 12345;
  struct {
    uid_t owner;
    gid_t group;
    mode_t before;
    mode_t after;
    gid_t groupAfter;
  } const rows[] = {
      {0, 42, 0640, 0600, kUser},      // A group that he is not in: what it could read is not his.
      {0, 42, 0644, 0644, kUser},      // Everybody could read it before.
      {0, 42, 0664, 0644, kUser},      //
      {0, 42, 0604, 0600, kUser},      // That group could not, and now counts among the others.
      {0, 42, 0666, 0666, kUser},      //
      {0, 42, 06755, 0755, kUser},     //
      {0, 700, 0660, 0600, 700},       // Its owner is another one now.
      {kUser, 700, 0640, 0640, 700},   // All is as it was.
      {kUser, 42, 0660, 0600, kUser},  //
      {kUser, kUser, 06750, 0750, kUser}, {kUser, kUser, 01640, 0640, kUser},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message()
                 << row.owner << ":" << row.group << " " << std::oct << row.before);
    TempDir dir;
    ASSERT_EQ(chmod(dir.Path().c_str(), 0777), 0);
    WriteWholeFile(dir / "x", "old");
    ASSERT_EQ(chown((dir / "x").c_str(), row.owner, row.group), 0);
    ASSERT_EQ(chmod((dir / "x").c_str(), row.before), 0);
    const pid_t child = fork();
    if (child == 0) {
      const gid_t groups[] = {700};
      if (setgroups(1, groups) != 0 || setgid(kUser) != 0 || setuid(kUser) != 0) _exit(2);
      ZTKTempFile temp(Native(dir / "x"));
      _exit(temp.Commit() ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_EQ(status, 0);
    struct stat now {};
    ASSERT_EQ(stat((dir / "x").c_str(), &now), 0);
    EXPECT_EQ(now.st_uid, kUser);
    EXPECT_EQ(now.st_gid, row.groupAfter);
    EXPECT_EQ(static_cast<mode_t>(ModeOf(dir / "x")), row.after);
  }
}

TEST(ZTKTempFile, AFileInThePlaceOfALinkIsANewOne) {
  TempDir dir;
  const ScopedUmask umask(022);
  WriteWholeFile(dir / "real", "old");
  fs::create_symlink("nowhere", dir / "dangling");
  const struct {
    mode_t real;
    int after;
  } rows[] = {{04755, 0644}, {0755, 0644}, {0600, 0600}, {0440, 0440}, {0666, 0644}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << std::oct << row.real);
    ASSERT_EQ(chmod((dir / "real").c_str(), row.real), 0);
    fs::remove(dir / "link");
    fs::create_symlink("real", dir / "link");
    ZTKTempFile temp(Native(dir / "link"));
    EXPECT_TRUE(temp.Commit());
    EXPECT_EQ(ModeOf(dir / "link"), row.after);
  }
  ZTKTempFile temp(Native(dir / "dangling"));
  EXPECT_TRUE(temp.Commit());
  EXPECT_EQ(ModeOf(dir / "dangling"), 0644);
}

TEST(ZTKTempFile, AFileInThePlaceOfALinkBelongsToWhoSaves) {
  if (!RunsAsRoot()) GTEST_SKIP() << "only root gives files away";
  TempDir dir;
  const ScopedUmask umask(0);
  WriteWholeFile(dir / "real", "old");
  ASSERT_EQ(chown((dir / "real").c_str(), 12345, 23456), 0);
  ASSERT_EQ(chmod((dir / "real").c_str(), 0664), 0);
  fs::create_symlink("real", dir / "link");
  ZTKTempFile temp(Native(dir / "link"));
  EXPECT_TRUE(temp.Commit());
  struct stat status {};
  ASSERT_EQ(stat((dir / "link").c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, geteuid());
  EXPECT_EQ(status.st_gid, getegid());
  EXPECT_EQ(ModeOf(dir / "link"), 0644) << "no more than the file that it led to gave to everybody";
}

TEST(ZTKTempFile, AFileThatKeepsItsIdentityLosesItsSetIdBits) {
  TempDir dir;
  WriteWholeFile(dir / "x", "old");
  fs::create_hard_link(dir / "x", dir / "other");
  ASSERT_EQ(chmod((dir / "x").c_str(), 06755), 0);
  ZTKTempFile temp(Native(dir / "x"), TEMP_KEEP_IDENTITY);
  Put(temp, "new");
  EXPECT_TRUE(temp.Commit());
  EXPECT_EQ(ReadWholeFile(dir / "other"), "new");
  EXPECT_EQ(ModeOf(dir / "other"), 0755);
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
