// Files and copies where the system has links, modes, pipes, and folders that vanish.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "tests/file/strict_mode.h"
#include "tests/file/temp_file_support.h"
#include "tests/support/native_path.h"
#include "tests/support/scoped_process.h"
#include "tests/support/system_calls.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file.h"
#include "ztk/file/file_system.h"

namespace {

namespace fs = std::filesystem;

// Makes folders below `dir` until its path has at least `length` characters, and goes there.
void GoDeep(const fs::path& dir, size_t length) {
  fs::current_path(dir);
  size_t now = dir.string().size();
  while (now < length) {
    const std::string name(std::min<size_t>(200, std::max<size_t>(length - now, 2) - 1), 'd');
    ASSERT_EQ(mkdir(name.c_str(), 0700), 0);
    ASSERT_EQ(chdir(name.c_str()), 0);
    now += name.size() + 1;
  }
}

TEST(ZTKFileSystem, AskingForAPipeDoesNotWaitForItsOtherEnd) {
  TempDir dir;
  const std::string path = dir / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const ScopedWatchdog watchdog(30);
  EXPECT_TRUE(ZTKFileExists(Native(path)));
}

TEST(ZTKFileSystem, PathExistsWhateverHasIt) {
  TempDir dir;
  WriteWholeFile(dir / "file", "x");
  fs::create_symlink("nowhere", dir / "dangling");
  ASSERT_EQ(mkfifo((dir / "pipe").c_str(), 0600), 0);
  EXPECT_TRUE(ZTKPathExists(Native(dir / "file")));
  EXPECT_TRUE(ZTKPathExists(Native(dir / "pipe")));
  EXPECT_TRUE(ZTKPathExists(Native(dir.Path().string())));
  EXPECT_FALSE(ZTKPathExists(Native(dir / "missing")));
  EXPECT_FALSE(ZTKPathExists(Native(dir / "dangling")));
  EXPECT_FALSE(ZTKPathExists(""));
}

TEST(ZTKFileSystem, WorkingDirectoryBeyond1023CharactersIsEmpty) {
  TempDir dir;
  for (const size_t length : {1023u, 1024u, 1100u}) {
    SCOPED_TRACE(length);
    const ScopedWorkingDirectory cwd(dir.Path());
    const std::string top = dir / std::to_string(length);
    fs::create_directory(top);
    GoDeep(top, length);
    EXPECT_EQ(ZTKGetCwd().Len(), length <= 1023 ? length : 0);
  }
}

TEST(ZTKFileSystem, DeletedWorkingDirectoryIsEmpty) {
  TempDir dir;
  const ScopedWorkingDirectory cwd(dir.Path());
  fs::create_directory(dir / "gone");
  fs::current_path(dir / "gone");
  ASSERT_TRUE(ZTKRmdir(Native(dir / "gone")));
  EXPECT_STREQ(ZTKGetCwd().c_str(), "");
}

TEST(ZTKFileSystem, FoldersAreMadeWithPermissionsLessTheUmask) {
  TempDir dir;
  const ScopedUmask umask(027);
  EXPECT_TRUE(ZTKMkdir(Native(dir / "a"), 0777));
  EXPECT_TRUE(ZTKMkdir(Native(dir / "b"), 0xABCD0000UL | 0700));  // Only the low 16 bits count.
  EXPECT_FALSE(ZTKMkdir(Native(dir / "a"), 0777));
  EXPECT_FALSE(ZTKMkdir(Native(dir / "x/y"), 0777));
  EXPECT_FALSE(ZTKMkdir("", 0777));
  EXPECT_EQ(fs::status(dir / "a").permissions(), static_cast<fs::perms>(0750));
  EXPECT_EQ(fs::status(dir / "b").permissions(), static_cast<fs::perms>(0700));
}

// Copies.

TEST(ZTKCopyFile, NewFileIsForEveryoneTheUmaskLets) {
  TempDir dir;
  const ScopedUmask umask(027);
  WriteWholeFile(dir / "from", "x");
  fs::permissions(dir / "from", fs::perms::owner_all);
  EXPECT_TRUE(ZTKCopyFile(Native(dir / "from"), Native(dir / "to"), 1));
  EXPECT_EQ(fs::status(dir / "to").permissions(), static_cast<fs::perms>(0640));
  EXPECT_TRUE(ZTKCopyFile(Native(dir / "from"), Native(dir / "private"), 1, 0600));
  EXPECT_EQ(fs::status(dir / "private").permissions(),
            static_cast<fs::perms>(NewFilePermissions(0600) & ~027));
}

TEST(ZTKCopyFile, UnreadableSourceGivesAnEmptyCopyUnlessStrict) {
  TempDir dir;
  fs::create_directory(dir / "folder");
  const std::string sources[] = {dir / "folder", "/proc/self/mem"};
  for (const std::string& source : sources) {
    SCOPED_TRACE(source);
    WriteWholeFile(dir / "to", "old");
    EXPECT_TRUE(ZTKCopyFile(Native(source), Native(dir / "to"), 1));
    EXPECT_EQ(ReadWholeFile(dir / "to"), "");

    const Strict strict;
    WriteWholeFile(dir / "to", "old");
    EXPECT_FALSE(ZTKCopyFile(Native(source), Native(dir / "to"), 1));
    EXPECT_EQ(ReadWholeFile(dir / "to"), "old");
    EXPECT_FALSE(ZTKCopyFile(Native(source), Native(dir / "new"), 0));
    EXPECT_EQ(CountNames(dir.Path()), 2);
  }
}

// A descriptor that gives some bytes and then an error instead of an end.
int BreakingDescriptor(const std::string& bytes) {
  int ends[2];
  EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
  EXPECT_EQ(write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  EXPECT_EQ(write(ends[0], "unread", 6), 6);
  close(ends[1]);  // With something unread: the other end gets a reset.
  return ends[0];
}

TEST(ZTKCopyFile, SourceThatBreaksHalfWayGivesAShortCopyUnlessStrict) {
  TempDir dir;
  WriteWholeFile(dir / "from", "");
  WriteWholeFile(dir / "to", "old");
  const std::string half(5000, 'h');
  {
    system_calls::Scope calls;
    calls.Substitute(dir / "from", BreakingDescriptor(half));
    EXPECT_TRUE(ZTKCopyFile(Native(dir / "from"), Native(dir / "to"), 1));
    EXPECT_TRUE(ReadWholeFile(dir / "to") == half);
  }
  const Strict strict;
  WriteWholeFile(dir / "to", "old");
  system_calls::Scope calls;
  calls.Substitute(dir / "from", BreakingDescriptor(half));
  EXPECT_FALSE(ZTKCopyFile(Native(dir / "from"), Native(dir / "to"), 1));
  EXPECT_EQ(ReadWholeFile(dir / "to"), "old");
  calls.Substitute(dir / "from", BreakingDescriptor(half));
  EXPECT_FALSE(ZTKCopyFile(Native(dir / "from"), Native(dir / "new"), 0));
  EXPECT_EQ(CountNames(dir.Path()), 2);
}

TEST(ZTKCopyFile, FullDiskGivesAShortCopyUnlessStrict) {
  TempDir dir;
  WriteWholeFile(dir / "from", std::string(60000, 'x'));
  WriteWholeFile(dir / "to", "old");
  const ScopedFileSizeLimit limit(20000);
  EXPECT_TRUE(ZTKCopyFile(Native(dir / "from"), Native(dir / "to"), 1));
  EXPECT_LE(fs::file_size(dir / "to"), 20000u);

  const Strict strict;
  WriteWholeFile(dir / "to", "old");
  EXPECT_FALSE(ZTKCopyFile(Native(dir / "from"), Native(dir / "to"), 1));
  EXPECT_EQ(ReadWholeFile(dir / "to"), "old");
  EXPECT_FALSE(ZTKCopyFile(Native(dir / "from"), Native(dir / "new"), 0));
  EXPECT_EQ(CountNames(dir.Path()), 2);
}

}  // namespace
