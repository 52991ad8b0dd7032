#include "ztk/file/temp_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/support/failing_allocator.h"
#include "tests/support/scoped_process.h"
#include "tests/support/system_calls.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file_name.h"
#include "ztk/file/file_system.h"

namespace {

namespace fs = std::filesystem;
using Calls = std::vector<std::string>;

static_assert(!std::is_copy_constructible_v<ZTKTempFile>);
static_assert(!std::is_copy_assignable_v<ZTKTempFile>);

class Strict {
 public:
  explicit Strict(bool strict = true) { ZTKFile::ms_strict = strict; }
  ~Strict() { ZTKFile::ms_strict = false; }
};

ZTKString S(const std::string& text) { return ZTKString(text.c_str()); }

std::string Text(const ZTKString& text) { return text.c_str(); }

void Put(ZTKTempFile& temp, const std::string& text) {
  EXPECT_EQ(temp.GetFile().Write(text.data(), text.size()), text.size());
}

long CountNames(const fs::path& dir) {
  return std::distance(fs::directory_iterator(dir), fs::directory_iterator());
}

int ModeOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return static_cast<int>(status.st_mode & 07777);
}

// What the next name of a temporary file for `target` ends in.
std::string Counter(unsigned n) {
  char text[8];
  std::snprintf(text, sizeof text, "%.03x", n);
  return text;
}

TEST(ZTKTempFile, WritesBesideTheTarget) {
  TempDir dir;
  ZTKTempFile temp(S(dir / "report.txt"));
  ASSERT_TRUE(temp.GetFile().IsOpen());
  EXPECT_EQ(Text(temp.GetTargetPath()), dir / "report.txt");
  EXPECT_EQ(Text(temp.GetTempPath()), dir / "report000");
  EXPECT_TRUE(fs::exists(dir / "report000"));
  EXPECT_FALSE(fs::exists(dir / "report.txt"));
}

TEST(ZTKTempFile, DestructionWithoutCommitLeavesNothingBehind) {
  TempDir dir;
  WriteWholeFile(dir / "x.txt", "old");
  {
    ZTKTempFile temp(S(dir / "x.txt"));
    Put(temp, "new");
  }
  EXPECT_EQ(ReadWholeFile(dir / "x.txt"), "old");
  EXPECT_EQ(CountNames(dir.Path()), 1);
}

TEST(ZTKTempFile, CommitReplacesOrCreatesTheTarget) {
  for (const bool strict : {false, true}) {
    SCOPED_TRACE(strict);
    const Strict scope(strict);
    TempDir dir;
    for (const char* content : {"first", "second, longer", ""}) {
      ZTKTempFile temp(S(dir / "x.txt"));
      Put(temp, content);
      EXPECT_TRUE(temp.Commit());
      EXPECT_EQ(ReadWholeFile(dir / "x.txt"), content);
      EXPECT_EQ(CountNames(dir.Path()), 1);
      EXPECT_FALSE(temp.GetFile().IsOpen());
      EXPECT_EQ(Text(temp.GetTempPath()), "");
    }
  }
}

TEST(ZTKTempFile, DiscardRemovesTheTemporaryFile) {
  TempDir dir;
  WriteWholeFile(dir / "x.txt", "old");
  ZTKTempFile temp(S(dir / "x.txt"));
  Put(temp, "new");
  EXPECT_TRUE(temp.Discard());
  EXPECT_EQ(Text(temp.GetTempPath()), "");
  EXPECT_EQ(ReadWholeFile(dir / "x.txt"), "old");
  EXPECT_EQ(CountNames(dir.Path()), 1);
  EXPECT_FALSE(temp.Discard());
}

TEST(ZTKTempFile, CommitInTheWrongMomentTouchesNothing) {
  for (const bool strict : {false, true}) {
    SCOPED_TRACE(strict);
    const Strict scope(strict);
    TempDir dir;
    ZTKTempFile temp(S(dir / "x"));
    Put(temp, "new");
    ASSERT_TRUE(temp.Commit());
    EXPECT_FALSE(temp.Commit());  // Twice.
    EXPECT_EQ(ReadWholeFile(dir / "x"), "new");

    ASSERT_TRUE(temp.Open(S(dir / "x")));
    ASSERT_TRUE(temp.Discard());
    EXPECT_FALSE(temp.Commit());  // After a discard.

    EXPECT_FALSE(temp.Open(S(dir / "missing/x")));
    EXPECT_FALSE(temp.Commit());  // After a failed open.

    ASSERT_TRUE(temp.Open(S(dir / "x")));
    fs::remove(temp.GetTempPath().c_str());
    EXPECT_FALSE(temp.Commit());  // Someone took the temporary file away.
    EXPECT_FALSE(temp.GetFile().IsOpen());
    EXPECT_EQ(ReadWholeFile(dir / "x"), "new");
    EXPECT_EQ(CountNames(dir.Path()), 1);
  }
}

TEST(ZTKTempFile, CallerMayCloseTheFileBeforeTheCommit) {
  for (const bool strict : {false, true}) {
    SCOPED_TRACE(strict);
    const Strict scope(strict);
    TempDir dir;
    WriteWholeFile(dir / "x", "old");
    ZTKTempFile temp(S(dir / "x"));
    Put(temp, "new");
    EXPECT_TRUE(temp.GetFile().Close());
    EXPECT_TRUE(temp.Commit());
    EXPECT_EQ(ReadWholeFile(dir / "x"), "new");
    EXPECT_EQ(CountNames(dir.Path()), 1);
  }
}

TEST(ZTKTempFile, ClosedAndForgottenTemporaryFileStays) {
  TempDir dir;
  {
    ZTKTempFile temp(S(dir / "x"));
    Put(temp, "new");
    temp.GetFile().Close();
  }
  EXPECT_EQ(ReadWholeFile(dir / "x000"), "new");
}

TEST(ZTKTempFile, OpeningAgainDiscardsTheFirst) {
  TempDir dir;
  WriteWholeFile(dir / "a", "old");
  ZTKTempFile temp(S(dir / "a"));
  Put(temp, "for a");
  EXPECT_TRUE(temp.Open(S(dir / "b")));
  EXPECT_EQ(Text(temp.GetTempPath()), dir / "b000");
  Put(temp, "for b");
  EXPECT_TRUE(temp.Open(temp.GetTargetPath()));  // Its own string is a fine argument.
  EXPECT_EQ(Text(temp.GetTargetPath()), dir / "b");
  Put(temp, "again");
  EXPECT_TRUE(temp.Commit());
  EXPECT_EQ(ReadWholeFile(dir / "a"), "old");
  EXPECT_EQ(ReadWholeFile(dir / "b"), "again");
  EXPECT_EQ(CountNames(dir.Path()), 2);
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
    EXPECT_EQ(Text(temp.GetTargetPath()), dir / target);
    Put(temp, "new");
    EXPECT_TRUE(temp.Commit());
    EXPECT_EQ(ReadWholeFile(dir / target), "new");
  }
}

TEST(ZTKTempFile, RelativeTargetNeedsAWorkingDirectory) {
  TempDir dir;
  const ScopedWorkingDirectory cwd(dir.Path());
  const auto fails = [&] {
    ZTKTempFile temp("ztk-test-never-there.txt");
    EXPECT_FALSE(temp.GetFile().IsOpen());
    EXPECT_EQ(Text(temp.GetTempPath()), "");
    EXPECT_FALSE(temp.Commit());
    EXPECT_FALSE(fs::exists("/ztk-test-never-there.txt"));
    EXPECT_FALSE(fs::exists("/ztk-test-never-there000"));
  };
  std::string name(200, 'd');
  for (int depth = 0; depth < 6; ++depth) {
    ASSERT_EQ(mkdir(name.c_str(), 0700), 0);
    ASSERT_EQ(chdir(name.c_str()), 0);
  }
  fails();  // Longer than 1,023 characters.
  ASSERT_EQ(mkdir("gone", 0700), 0);
  ASSERT_EQ(chdir("gone"), 0);
  ASSERT_EQ(rmdir("../gone"), 0);
  fails();
}

// Names.

TEST(ZTKTempFile, NamesAreCountedInHexadecimal) {
  TempDir dir;
  for (unsigned n = 0; n < 20; ++n) {
    ZTKTempFile temp(S(dir / "report.txt"));
    EXPECT_EQ(Text(temp.GetTempPath()), dir / ("report" + Counter(n)));
    temp.GetFile().Close();  // Left behind.
  }
  EXPECT_TRUE(fs::exists(dir / "report00a"));
  EXPECT_TRUE(fs::exists(dir / "report013"));
}

TEST(ZTKTempFile, AllNamesTaken) {
  TempDir dir;
  WriteWholeFile(dir / "report.txt", "old");
  for (unsigned n = 0; n < 1000; ++n) WriteWholeFile(dir / ("report" + Counter(n)), "");
  {
    ZTKTempFile temp(S(dir / "report.txt"));
    EXPECT_FALSE(temp.GetFile().IsOpen());
    EXPECT_EQ(Text(temp.GetTempPath()), "");
    EXPECT_FALSE(temp.Open(S(dir / "report.cfg")));  // The extension makes no difference.
    EXPECT_FALSE(temp.Commit());
    EXPECT_FALSE(temp.Discard());
  }
  EXPECT_EQ(ReadWholeFile(dir / "report.txt"), "old");
  EXPECT_EQ(CountNames(dir.Path()), 1001);

  fs::remove(dir / "report3e7");
  ZTKTempFile last(S(dir / "report.txt"));
  EXPECT_EQ(Text(last.GetTempPath()), dir / "report3e7");
}

TEST(ZTKTempFile, PlantedNamesAreSkippedAndNeverFollowed) {
  TempDir dir;
  fs::create_symlink(dir / "victim", dir / "x000");
  WriteWholeFile(dir / "precious", "precious");
  fs::create_symlink(dir / "precious", dir / "x001");
  fs::create_directory(dir / "x002");
  ASSERT_EQ(mkfifo((dir / "x003").c_str(), 0600), 0);
  WriteWholeFile(dir / "x004", "");
  fs::permissions(dir / "x004", fs::perms::none);
  const ScopedWatchdog watchdog(30);

  ZTKTempFile temp(S(dir / "x.txt"));
  EXPECT_EQ(Text(temp.GetTempPath()), dir / "x005");
  Put(temp, "new");
  EXPECT_TRUE(temp.Commit());
  EXPECT_FALSE(fs::exists(dir / "victim"));
  EXPECT_EQ(ReadWholeFile(dir / "precious"), "precious");
}

TEST(ZTKTempFile, PathsOfTemporaryFilesEndAt1023Characters) {
  TempDir dir;
  const ScopedWorkingDirectory cwd(dir.Path());
  // A folder whose path leaves room for names.
  fs::path folder = dir.Path();
  while (folder.string().size() < 700) folder /= std::string(100, 'd');
  fs::create_directories(folder);
  while (folder.string().size() < 900) {
    folder /= std::string(std::min<size_t>(100, 920 - folder.string().size()), 'e');
  }
  fs::create_directories(folder);
  const size_t before = folder.string().size() + 1;

  for (size_t length = 1010; length <= 1030; ++length) {
    SCOPED_TRACE(length);
    const std::string target = folder / std::string(length - before, 'n');
    const std::string cut = target.substr(0, std::min<size_t>(length, 1023));
    const bool neighbour = cut != target;
    if (neighbour) WriteWholeFile(cut, "neighbour");
    const long names = CountNames(folder);

    ZTKTempFile temp(S(target));
    EXPECT_EQ(temp.GetFile().IsOpen(), length + 3 <= 1023);
    if (temp.GetFile().IsOpen()) {
      EXPECT_EQ(Text(temp.GetTempPath()), target + "000");
      EXPECT_TRUE(temp.Commit());
      EXPECT_TRUE(fs::exists(target));
    } else {
      EXPECT_EQ(Text(temp.GetTempPath()), "");
      EXPECT_FALSE(temp.Commit());
      EXPECT_FALSE(temp.Discard());
      EXPECT_EQ(CountNames(folder), names);
    }
    if (neighbour) {
      EXPECT_EQ(ReadWholeFile(cut), "neighbour");
    }
  }
}

TEST(ZTKTempFile, NameIsMadeWithoutAFileWhenNoneIsWanted) {
  TempDir dir;
  const std::string prefix = dir / "report.txt";
  EXPECT_EQ(Text(ZTKFileName::XPCreateTempFileName(S(prefix), nullptr)), dir / "report000");
  EXPECT_EQ(CountNames(dir.Path()), 0);

  WriteWholeFile(dir / "report000", "");
  ZTKFile open((dir / "open").c_str(), ZTKFile::write);
  EXPECT_EQ(Text(ZTKFileName::XPCreateTempFileName(S(prefix), &open)), dir / "report001");
  EXPECT_FALSE(fs::exists(dir / "report001"));
  EXPECT_EQ(open.Write("x", 1), 1u);  // Still the file it was.

  for (unsigned n = 1; n < 1000; ++n) WriteWholeFile(dir / ("report" + Counter(n)), "");
  EXPECT_EQ(Text(ZTKFileName::XPCreateTempFileName(S(prefix), nullptr)), "");
}

TEST(ZTKTempFile, NameWithoutAFolderGoesToTheTemporaryFolder) {
  TempDir dir;
  for (const char* end : {"", "/"}) {
    SCOPED_TRACE(end);
    const ScopedEnv tmp("TMPDIR", (dir.Path().string() + end).c_str());
    ZTKFile file;
    EXPECT_EQ(Text(ZTKFileName::XPCreateTempFileName("name.ext", &file)), dir / "name000");
    EXPECT_TRUE(file.IsOpen());
    EXPECT_EQ(Text(ZTKFileName::XPCreateTempFileName("", nullptr)), dir / "000");
    file.Close();
    fs::remove(dir / "name000");
  }
  const ScopedEnv missing("TMPDIR", (dir / "missing").c_str());
  ZTKFile file;
  EXPECT_EQ(Text(ZTKFileName::XPCreateTempFileName("name", &file)), "");
  EXPECT_FALSE(file.IsOpen());
}

// Permissions.

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

// Targets that are no plain files.

TEST(ZTKTempFile, LinkIsReplacedAndWhatItPointedToStays) {
  for (const bool strict : {false, true}) {
    SCOPED_TRACE(strict);
    const Strict scope(strict);
    TempDir dir;
    WriteWholeFile(dir / "real", "old");
    fs::create_symlink("real", dir / "link");
    ZTKTempFile temp(S(dir / "link"));
    Put(temp, "new");
    EXPECT_TRUE(temp.Commit());
    EXPECT_FALSE(fs::is_symlink(dir / "link"));
    EXPECT_EQ(ReadWholeFile(dir / "link"), "new");
    EXPECT_EQ(ReadWholeFile(dir / "real"), "old");
  }
}

TEST(ZTKTempFile, EmptyFolderIsReplacedUnlessStrict) {
  TempDir dir;
  fs::create_directory(dir / "x");
  {
    const Strict strict;
    ZTKTempFile temp(S(dir / "x"));
    EXPECT_FALSE(temp.Commit());
    EXPECT_TRUE(temp.Discard());
    EXPECT_TRUE(fs::is_directory(dir / "x"));
  }
  ZTKTempFile temp(S(dir / "x"));
  Put(temp, "new");
  EXPECT_TRUE(temp.Commit());
  EXPECT_EQ(ReadWholeFile(dir / "x"), "new");
}

TEST(ZTKTempFile, FolderWithContentMakesTheCommitFailAndCanBeTriedAgain) {
  for (const bool strict : {false, true}) {
    SCOPED_TRACE(strict);
    const Strict scope(strict);
    TempDir dir;
    fs::create_directories(dir / "x/inner");
    ZTKTempFile temp(S(dir / "x"));
    Put(temp, "new");
    EXPECT_FALSE(temp.Commit());
    EXPECT_EQ(ReadWholeFile(dir / "x000"), "new");
    EXPECT_TRUE(fs::exists(dir / "x/inner"));

    fs::remove_all(dir / "x");
    EXPECT_TRUE(temp.Commit());
    EXPECT_EQ(ReadWholeFile(dir / "x"), "new");
    EXPECT_EQ(CountNames(dir.Path()), 1);
  }
}

TEST(ZTKTempFile, ReadOnlyFolderMakesTheOpenFail) {
  if (RunsAsRoot()) GTEST_SKIP() << "root may write everywhere";
  TempDir dir;
  fs::create_directory(dir / "locked");
  WriteWholeFile(dir / "locked/x", "old");
  fs::permissions(dir / "locked", fs::perms::owner_read | fs::perms::owner_exec);
  ZTKTempFile temp(S(dir / "locked/x"));
  EXPECT_FALSE(temp.GetFile().IsOpen());
  EXPECT_EQ(Text(temp.GetTempPath()), "");
  EXPECT_FALSE(temp.Commit());
  EXPECT_EQ(ReadWholeFile(dir / "locked/x"), "old");
}

TEST(ZTKTempFile, FolderThatBecameReadOnlyLeavesBothFiles) {
  if (RunsAsRoot()) GTEST_SKIP() << "root may write everywhere";
  for (const bool strict : {false, true}) {
    SCOPED_TRACE(strict);
    const Strict scope(strict);
    TempDir dir;
    fs::create_directory(dir / "locked");
    WriteWholeFile(dir / "locked/x", "old");
    ZTKTempFile temp(S(dir / "locked/x"));
    Put(temp, "new");
    fs::permissions(dir / "locked", fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_FALSE(temp.Commit());
    EXPECT_EQ(ReadWholeFile(dir / "locked/x"), "old");
    EXPECT_EQ(ReadWholeFile(dir / "locked/x000"), "new");
    EXPECT_FALSE(temp.Discard());
  }
}

// The steps of a commit, and what happens when one is refused.

TEST(ZTKTempFile, StepsOfACommitComeInTheirOrder) {
  struct {
    bool strict;
    bool target;
    Calls calls;
  } const rows[] = {
      {false, true, {"fsync file", "remove", "rename", "fsync folder"}},
      {false, false, {"fsync file", "rename", "fsync folder"}},
      {true, true, {"fsync file", "rename", "fsync folder"}},
      {true, false, {"fsync file", "rename", "fsync folder"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.strict << row.target);
    const Strict strict(row.strict);
    TempDir dir;
    if (row.target) WriteWholeFile(dir / "x", "old");
    ZTKTempFile temp(S(dir / "x"));
    Put(temp, "new");
    const system_calls::Scope scope;
    EXPECT_TRUE(temp.Commit());
    EXPECT_EQ(scope.Calls(), row.calls);
  }
}

TEST(ZTKTempFile, DataIsWithTheSystemBeforeItIsSynced) {
  TempDir dir;
  ZTKTempFile temp(S(dir / "x"));
  Put(temp, "buffered");
  EXPECT_TRUE(temp.GetFile().XPSync());
  EXPECT_EQ(ReadWholeFile(dir / "x000"), "buffered");
}

TEST(ZTKTempFile, CrashAtAnyStepLeavesTheOldOrTheNewVersion) {
  for (const bool strict : {false, true}) {
    for (size_t step = 0; step <= 4; ++step) {
      SCOPED_TRACE(testing::Message() << "before call " << step << (strict ? " strict" : ""));
      const Strict scope(strict);
      TempDir dir;
      WriteWholeFile(dir / "x", "old");
      const pid_t child = fork();
      if (child == 0) {
        ZTKTempFile temp(S(dir / "x"));
        temp.GetFile().Write("new", 3);
        system_calls::Scope calls;
        calls.DieBefore(step);
        temp.Commit();
        _exit(1);  // It got through.
      }
      int status = 0;
      ASSERT_EQ(waitpid(child, &status, 0), child);
      EXPECT_EQ(WEXITSTATUS(status), step < (strict ? 3u : 4u) ? 0 : 1);

      const bool target = fs::exists(dir / "x");
      const bool left = fs::exists(dir / "x000");
      if (strict) {
        EXPECT_TRUE(target);
      }
      if (target) {
        EXPECT_EQ(ReadWholeFile(dir / "x"), left ? "old" : "new");
      }
      if (!target) {
        EXPECT_EQ(ReadWholeFile(dir / "x000"), "new");
      }
    }
  }
}

TEST(ZTKTempFile, RefusedRemovalOfTheTargetKeepsBoth) {
  TempDir dir;
  WriteWholeFile(dir / "x", "old");
  ZTKTempFile temp(S(dir / "x"));
  Put(temp, "new");
  {
    system_calls::Scope calls;
    calls.Refuse("remove", EACCES);
    EXPECT_FALSE(temp.Commit());
  }
  EXPECT_EQ(ReadWholeFile(dir / "x"), "old");
  EXPECT_EQ(ReadWholeFile(dir / "x000"), "new");
  EXPECT_TRUE(temp.Commit());
  EXPECT_EQ(ReadWholeFile(dir / "x"), "new");
}

TEST(ZTKTempFile, RefusedRenameFallsBackToACopyWithTheSamePermissions) {
  TempDir dir;
  WriteWholeFile(dir / "x", "old");
  ASSERT_EQ(chmod((dir / "x").c_str(), 0751), 0);
  ZTKTempFile temp(S(dir / "x"));
  Put(temp, "new");
  system_calls::Scope calls;
  calls.Refuse("rename", EXDEV);
  EXPECT_TRUE(temp.Commit());
  EXPECT_EQ(ReadWholeFile(dir / "x"), "new");
  EXPECT_EQ(ModeOf(dir / "x"), 0751);
  EXPECT_EQ(CountNames(dir.Path()), 1);
}

TEST(ZTKTempFile, RefusedRenameAndCopyLeaveTheTemporaryFileAlone) {
  TempDir dir;
  WriteWholeFile(dir / "x", "old");
  const std::string target = dir / "x";
  ZTKTempFile temp(S(target));
  Put(temp, "new");
  system_calls::Scope calls;
  calls.Refuse("rename", EXDEV);
  calls.Substitute(dir / "x000", -1);
  // The copy cannot read its source: the described end, with no target.
  fs::remove(target);
  fs::create_directories(target + "/inner");
  EXPECT_FALSE(temp.Commit());
  EXPECT_EQ(ReadWholeFile(dir / "x000"), "new");
}

TEST(ZTKTempFile, StrictCommitThatIsRefusedLeavesTheTargetAsItWas) {
  const Strict strict;
  for (const char* refused : {"fsync file", "rename"}) {
    SCOPED_TRACE(refused);
    TempDir dir;
    WriteWholeFile(dir / "x", "old");
    ZTKTempFile temp(S(dir / "x"));
    Put(temp, "new");
    {
      system_calls::Scope calls;
      calls.Refuse(refused, EIO);
      EXPECT_FALSE(temp.Commit());
    }
    EXPECT_EQ(ReadWholeFile(dir / "x"), "old");
    EXPECT_EQ(ReadWholeFile(dir / "x000"), "new");
    EXPECT_TRUE(temp.Commit());
    EXPECT_EQ(ReadWholeFile(dir / "x"), "new");
  }
}

TEST(ZTKTempFile, StrictCommitTellsThatTheFolderWasNotSynced) {
  const Strict strict;
  TempDir dir;
  WriteWholeFile(dir / "x", "old");
  ZTKTempFile temp(S(dir / "x"));
  Put(temp, "new");
  system_calls::Scope calls;
  calls.Refuse("fsync folder", EIO);
  EXPECT_FALSE(temp.Commit());
  EXPECT_EQ(ReadWholeFile(dir / "x"), "new");  // Complete, but not yet safe from a power cut.
  EXPECT_FALSE(temp.Commit());
}

TEST(ZTKTempFile, SyncsThatAreRefusedDoNotMatterUnlessStrict) {
  TempDir dir;
  WriteWholeFile(dir / "x", "old");
  ZTKTempFile temp(S(dir / "x"));
  Put(temp, "new");
  system_calls::Scope calls;
  calls.Refuse("fsync file", EIO);
  calls.Refuse("fsync folder", EIO);
  EXPECT_TRUE(temp.Commit());
  EXPECT_EQ(ReadWholeFile(dir / "x"), "new");
}

TEST(ZTKTempFile, FileSystemsWithoutSyncDoNotFailAStrictCommit) {
  const Strict strict;
  TempDir dir;
  ZTKTempFile temp(S(dir / "x"));
  system_calls::Scope calls;
  calls.Refuse("fsync file", EINVAL);
  calls.Refuse("fsync folder", EINVAL);
  EXPECT_TRUE(temp.Commit());
}

TEST(ZTKTempFile, FullDiskMayCostTheTargetUnlessStrict) {
  for (const bool strict : {false, true}) {
    for (const bool closedByCaller : {false, true}) {
      SCOPED_TRACE(testing::Message() << strict << closedByCaller);
      const Strict scope(strict);
      TempDir dir;
      WriteWholeFile(dir / "x", "old");
      const ScopedFileSizeLimit limit(20000);
      ZTKTempFile temp(S(dir / "x"));
      const std::string block(60000, 'n');
      EXPECT_LT(temp.GetFile().Write(block.data(), block.size()), block.size());
      EXPECT_EQ(temp.GetFile().HasError(), strict);
      if (closedByCaller) {
        EXPECT_EQ(temp.GetFile().Close(), !strict);
      }
      EXPECT_EQ(temp.Commit(), !strict);
      if (strict) {
        EXPECT_EQ(ReadWholeFile(dir / "x"), "old");
        EXPECT_TRUE(temp.Discard());
      } else {
        EXPECT_EQ(fs::file_size(dir / "x"), 20000u);
      }
      EXPECT_EQ(CountNames(dir.Path()), 1);
    }
  }
}

TEST(ZTKTempFile, TwoProcessesSavingAtOnceNeverMixTheirVersions) {
  constexpr int kSaves = 100;
  for (const bool strict : {false, true}) {
    SCOPED_TRACE(strict);
    const Strict scope(strict);
    TempDir dir;
    const std::string path = dir / "shared";
    pid_t children[2];
    for (int who = 0; who < 2; ++who) {
      children[who] = fork();
      if (children[who] != 0) continue;
      const std::string content(10000, static_cast<char>('a' + who));
      int saved = 0;
      for (int n = 0; n < kSaves; ++n) {
        ZTKTempFile temp(S(path));
        temp.GetFile().Write(content.data(), content.size());
        // Without strict mode the other one may remove the target first, or this one's new one.
        if (temp.Commit())
          ++saved;
        else
          temp.Discard();
      }
      _exit(strict ? saved == kSaves ? 0 : 1 : saved > 0 ? 0 : 1);
    }
    for (const pid_t child : children) {
      int status = -1;
      waitpid(child, &status, 0);
      EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(CountNames(dir.Path()), 1);
    const std::string last = ReadWholeFile(path);
    EXPECT_EQ(last.size(), 10000u);
    EXPECT_EQ(last, std::string(last.size(), last.front()));
  }
}

TEST(ZTKTempFile, RunningOutOfMemoryKeepsTheTarget) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the allocator is not ours";
  for (const bool strict : {false, true}) {
    const Strict scope(strict);
    bool failed = true;
    for (long before = 0; failed; ++before) {
      SCOPED_TRACE(testing::Message() << before << (strict ? " strict" : ""));
      ASSERT_LT(before, 500);
      TempDir dir;
      WriteWholeFile(dir / "x.txt", "old");
      const std::string expected = dir / "x000";
      const ZTKString target = S(dir / "x.txt");
      bool committed;
      {
        const failing_allocator::Scope memory(before, 1);
        ZTKTempFile temp(target);
        const bool open = temp.GetFile().IsOpen();
        EXPECT_EQ(open, temp.GetTempPath().Len() != 0);
        if (open) {
          EXPECT_STREQ(temp.GetTempPath().c_str(), expected.c_str());
        }
        committed = temp.GetFile().Write("new", 3) == 3 && temp.Commit();
        if (!committed) temp.Discard();
        failed = memory.Failed();
      }
      EXPECT_EQ(ReadWholeFile(dir / "x.txt"), committed ? "new" : "old");
    }
  }
}

TEST(ZTKTempFile, RunningOutOfMemoryWritesNoOtherName) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the allocator is not ours";
  const std::string below = "a/" + std::string(200, 'b') + "/c";
  for (const bool relative : {false, true}) {
    for (const long failures : {1L, 2L, -1L}) {
      bool failed = true;
      for (long before = 0; failed; ++before) {
        SCOPED_TRACE(testing::Message() << failures << " after " << before);
        ASSERT_LT(before, 500);
        TempDir dir;
        const ScopedWorkingDirectory cwd(dir.Path());
        fs::create_directories(dir / below);
        const fs::path expected = dir.Path() / below / "x.txt";
        const ZTKString target = S(relative ? below + "/x.txt" : expected.string());
        bool committed;
        {
          const failing_allocator::Scope memory(before, failures);
          ZTKTempFile temp(target);
          committed = temp.GetFile().Write("new", 3) == 3 && temp.Commit();
          failed = memory.Failed();
        }
        EXPECT_TRUE(committed || failed);
        EXPECT_TRUE(!committed || fs::exists(expected));
        for (const auto& entry : fs::recursive_directory_iterator(dir.Path())) {
          if (entry.is_directory()) continue;
          EXPECT_TRUE(entry.path() == expected || entry.path() == dir.Path() / below / "x000")
              << entry.path();
        }
      }
    }
  }
}

// Names of files that do not exist.

class EmptyPath {
 public:
  explicit EmptyPath(const char* ext) : m_found(ZTKGetEmptyFilePath(&m_path, ext)) {}
  ~EmptyPath() { delete[] m_path; }
  EmptyPath(const EmptyPath&) = delete;
  EmptyPath& operator=(const EmptyPath&) = delete;

  bool Found() const { return m_found; }
  std::string Path() const { return m_path != nullptr ? m_path : "(null)"; }

 private:
  char* m_path = nullptr;
  bool m_found;
};

TEST(ZTKGetEmptyFilePath, CountsInDecimalAndCreatesNothing) {
  TempDir dir;
  const ScopedEnv tmp("TMPDIR", dir.Path().c_str());
  EXPECT_EQ(EmptyPath("tmp").Path(), dir / "ztk0.tmp");
  EXPECT_EQ(CountNames(dir.Path()), 0);
  for (int n = 0; n < 11; ++n) WriteWholeFile(dir / ("ztk" + std::to_string(n) + ".tmp"), "");
  EXPECT_EQ(EmptyPath("tmp").Path(), dir / "ztk11.tmp");
  EXPECT_EQ(EmptyPath("other").Path(), dir / "ztk0.other");
}

TEST(ZTKGetEmptyFilePath, TakesEveryExtension) {
  TempDir dir;
  const ScopedEnv tmp("TMPDIR", (dir.Path().string() + "/").c_str());
  EXPECT_EQ(EmptyPath(nullptr).Path(), dir / "ztk0.");
  EXPECT_EQ(EmptyPath("").Path(), dir / "ztk0.");
  EXPECT_EQ(EmptyPath("%s%n").Path(), dir / "ztk0.%s%n");
  const std::string longOne(1000, 'e');
  EXPECT_EQ(EmptyPath(longOne.c_str()).Path(), dir / ("ztk0." + longOne));
}

TEST(ZTKGetEmptyFilePath, FailsWhenAllNamesAreTaken) {
  TempDir dir;
  const ScopedEnv tmp("TMPDIR", dir.Path().c_str());
  for (int n = 0; n < 1000; ++n) WriteWholeFile(dir / ("ztk" + std::to_string(n) + ".tmp"), "");
  const EmptyPath path("tmp");
  EXPECT_FALSE(path.Found());
  EXPECT_EQ(path.Path(), "(null)");
  fs::remove(dir / "ztk999.tmp");
  EXPECT_EQ(EmptyPath("tmp").Path(), dir / "ztk999.tmp");
}

TEST(ZTKGetEmptyFilePath, FailsWithoutMemory) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the allocator is not ours";
  char* path = nullptr;
  const failing_allocator::Scope scope(0);
  EXPECT_FALSE(ZTKGetEmptyFilePath(&path, "tmp"));
  EXPECT_EQ(path, nullptr);
}

}  // namespace
