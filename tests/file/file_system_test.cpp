#include "ztk/file/file_system.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "tests/file/strict_mode.h"
#include "tests/support/failing_allocator.h"
#include "tests/support/native_path.h"
#include "tests/support/scoped_process.h"
#include "tests/support/system_calls.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file.h"

namespace {

namespace fs = std::filesystem;

ZTKString Native(const std::string& path) { return ZTKString(NativePath(path)); }

// The number of names in a folder.
long CountNames(const fs::path& dir) {
  return std::distance(fs::directory_iterator(dir), fs::directory_iterator());
}

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

TEST(ZTKFileSystem, FileExistsAsFarAsItCanBeOpenedForReading) {
  TempDir dir;
  WriteWholeFile(dir / "file", "x");
  WriteWholeFile(dir / "empty", "");
  fs::create_directory(dir / "folder");
  fs::create_symlink("file", dir / "link");
  fs::create_symlink("nowhere", dir / "dangling");
  fs::create_symlink("loop", dir / "loop");
  struct {
    const char* name;
    bool exists;
  } const rows[] = {{"file", true},     {"empty", true},       {"folder", true},
                    {"link", true},     {"dangling", false},   {"loop", false},
                    {"missing", false}, {"file/below", false}, {"folder/", true}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(ZTKFileExists(Native(dir / row.name)), row.exists);
    EXPECT_EQ(ZTKFile::Exists((dir / row.name).c_str()), row.exists);
  }
  EXPECT_FALSE(ZTKFileExists(ZTKString()));
  EXPECT_FALSE(ZTKFile::Exists(nullptr));
  EXPECT_TRUE(ZTKFileExists("/dev/null"));
}

TEST(ZTKFileSystem, AskingForAPipeDoesNotWaitForItsOtherEnd) {
  TempDir dir;
  const std::string path = dir / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const ScopedWatchdog watchdog(30);
  EXPECT_TRUE(ZTKFileExists(Native(path)));
}

TEST(ZTKFileSystem, UnreadableFileCountsAsMissing) {
  if (RunsAsRoot()) GTEST_SKIP() << "root reads everything";
  TempDir dir;
  WriteWholeFile(dir / "file", "x");
  fs::permissions(dir / "file", fs::perms::owner_write);
  EXPECT_FALSE(ZTKFileExists(Native(dir / "file")));
  EXPECT_TRUE(ZTKPathExists(Native(dir / "file")));
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

TEST(ZTKFileSystem, WorkingDirectoryIsSetAndFound) {
  TempDir dir;
  const ScopedWorkingDirectory cwd(dir.Path());
  ASSERT_TRUE(ZTKMkdir("below", 0755));
  EXPECT_TRUE(ZTKSetWorkingDirectory("below"));
  EXPECT_STREQ(ZTKGetCwd().c_str(), (dir / "below").c_str());
  EXPECT_FALSE(ZTKSetWorkingDirectory("missing"));
  EXPECT_FALSE(ZTKSetWorkingDirectory(""));
  EXPECT_STREQ(ZTKGetCwd().c_str(), (dir / "below").c_str());
}

TEST(ZTKFileSystem, WorkingDirectoryNeedsRoomForAllOfIt) {
  TempDir dir;
  const ScopedWorkingDirectory cwd(dir.Path());
  const std::string path = dir.Path().string();
  const int length = static_cast<int>(path.size());
  for (const int size : {-5, -1, 0, 1, 10, length, length + 1, length + 100}) {
    SCOPED_TRACE(size);
    const std::string expected = size > length ? path : "";

    const std::unique_ptr<char[]> allocated(ZTKGetWorkingDirectory(nullptr, size));
    ASSERT_NE(allocated, nullptr);
    EXPECT_EQ(allocated.get(), expected);

    char buffer[2000];
    std::memset(buffer, '#', sizeof buffer);
    EXPECT_EQ(ZTKGetWorkingDirectory(buffer, size), buffer);
    if (size <= 0) {
      EXPECT_EQ(buffer[0], '#');  // No room, not even for the terminator.
    } else {
      EXPECT_STREQ(buffer, expected.c_str());
      EXPECT_EQ(buffer[size], '#');
    }
  }
}

TEST(ZTKFileSystem, WorkingDirectoryInANewBlockIsNullWithoutMemory) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the allocator is not ours";
  const failing_allocator::Scope scope(0);
  EXPECT_EQ(ZTKGetWorkingDirectory(nullptr, 100), nullptr);
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

TEST(ZTKFileSystem, OnlyEmptyFoldersAreRemoved) {
  TempDir dir;
  fs::create_directories(dir / "a/b");
  WriteWholeFile(dir / "file", "x");
  EXPECT_FALSE(ZTKRmdir(Native(dir / "a")));
  EXPECT_TRUE(ZTKRmdir(Native(dir / "a/b")));
  EXPECT_TRUE(ZTKRmdir(Native(dir / "a")));
  EXPECT_FALSE(ZTKRmdir(Native(dir / "a")));
  EXPECT_FALSE(ZTKRmdir(Native(dir / "file")));
}

TEST(ZTKFileSystem, RenamingReplacesTheTarget) {
  TempDir dir;
  WriteWholeFile(dir / "a", "new");
  WriteWholeFile(dir / "b", "old");
  fs::create_directory(dir / "folder");
  EXPECT_TRUE(ZTKRenameFile(Native(dir / "a"), Native(dir / "b")));
  EXPECT_EQ(ReadWholeFile(dir / "b"), "new");
  EXPECT_FALSE(fs::exists(dir / "a"));
  EXPECT_FALSE(ZTKRenameFile(Native(dir / "a"), Native(dir / "c")));
  EXPECT_FALSE(ZTKRenameFile(Native(dir / "b"), Native(dir / "folder")));
  EXPECT_FALSE(ZTKRenameFile(Native(dir / "b"), Native(dir / "missing/b")));
}

TEST(ZTKFileSystem, RemovingTakesFilesLinksAndEmptyFolders) {
  TempDir dir;
  WriteWholeFile(dir / "file", "x");
  fs::create_symlink("file", dir / "link");
  fs::create_directories(dir / "full/inner");
  EXPECT_TRUE(ZTKRemoveFile(Native(dir / "link")));
  EXPECT_TRUE(fs::exists(dir / "file"));
  EXPECT_TRUE(ZTKRemoveFile(Native(dir / "file")));
  EXPECT_FALSE(ZTKRemoveFile(Native(dir / "file")));
  EXPECT_FALSE(ZTKRemoveFile(Native(dir / "full")));
  EXPECT_TRUE(ZTKRemoveFile(Native(dir / "full/inner")));
  EXPECT_FALSE(ZTKRemoveFile(""));
}

TEST(ZTKFileSystem, RefusedChangesOfAReadOnlyFolder) {
  if (RunsAsRoot()) GTEST_SKIP() << "root may change everything";
  TempDir dir;
  fs::create_directory(dir / "locked");
  WriteWholeFile(dir / "locked/file", "x");
  WriteWholeFile(dir / "other", "y");
  fs::permissions(dir / "locked", fs::perms::owner_read | fs::perms::owner_exec);
  EXPECT_FALSE(ZTKRemoveFile(Native(dir / "locked/file")));
  EXPECT_FALSE(ZTKRenameFile(Native(dir / "locked/file"), Native(dir / "moved")));
  EXPECT_FALSE(ZTKMkdir(Native(dir / "locked/new"), 0777));
  EXPECT_FALSE(ZTKCopyFile(Native(dir / "other"), Native(dir / "locked/new"), 1));
  EXPECT_FALSE(ZTKCopyFile(Native(dir / "other"), Native(dir / "locked/file"), 1));
  EXPECT_EQ(ReadWholeFile(dir / "locked/file"), "x");
}

// Copies.

TEST(ZTKCopyFile, CopiesEverySize) {
  TempDir dir;
  for (const bool strict : {false, true}) {
    ZTKFile::ms_strict = strict;
    for (const size_t size : {0u, 1u, 4095u, 4096u, 4097u, 8192u, 100000u}) {
      SCOPED_TRACE(testing::Message() << size << (strict ? " strict" : ""));
      std::string content(size, '\0');
      for (size_t i = 0; i < size; ++i) content[i] = static_cast<char>(i * i % 251);
      WriteWholeFile(dir / "from", content);
      EXPECT_TRUE(ZTKCopyFile(Native(dir / "from"), Native(dir / "to"), 1));
      EXPECT_TRUE(ReadWholeFile(dir / "to") == content);
      fs::remove(dir / "to");
      EXPECT_TRUE(ZTKCopyFile(Native(dir / "from"), Native(dir / "to"), 0));
      EXPECT_TRUE(ReadWholeFile(dir / "to") == content);
      EXPECT_TRUE(ReadWholeFile(dir / "from") == content);
      EXPECT_EQ(CountNames(dir.Path()), 2);
    }
  }
  ZTKFile::ms_strict = false;
}

TEST(ZTKCopyFile, ReplacesOnlyWhenTold) {
  TempDir dir;
  for (const bool strict : {false, true}) {
    SCOPED_TRACE(strict);
    ZTKFile::ms_strict = strict;
    WriteWholeFile(dir / "from", "new");
    WriteWholeFile(dir / "to", "old and longer");
    EXPECT_FALSE(ZTKCopyFile(Native(dir / "from"), Native(dir / "to"), 0));
    EXPECT_EQ(ReadWholeFile(dir / "to"), "old and longer");
    EXPECT_TRUE(ZTKCopyFile(Native(dir / "from"), Native(dir / "to"), 1));
    EXPECT_EQ(ReadWholeFile(dir / "to"), "new");
    EXPECT_TRUE(ZTKCopyFile(Native(dir / "from"), Native(dir / "to"), -7));
  }
  ZTKFile::ms_strict = false;
}

TEST(ZTKCopyFile, FailsWithoutASourceOrAPlaceForTheTarget) {
  TempDir dir;
  WriteWholeFile(dir / "from", "x");
  WriteWholeFile(dir / "to", "old");
  fs::create_directories(dir / "full/inner");
  for (const bool strict : {false, true}) {
    SCOPED_TRACE(strict);
    ZTKFile::ms_strict = strict;
    EXPECT_FALSE(ZTKCopyFile(Native(dir / "missing"), Native(dir / "to"), 1));
    EXPECT_FALSE(ZTKCopyFile("", Native(dir / "to"), 1));
    EXPECT_FALSE(ZTKCopyFile(Native(dir / "from"), Native(dir / "missing/to"), 1));
    EXPECT_FALSE(ZTKCopyFile(Native(dir / "from"), Native(dir / "missing/to"), 0));
    EXPECT_FALSE(ZTKCopyFile(Native(dir / "from"), "", 0));
    EXPECT_FALSE(ZTKCopyFile(Native(dir / "from"), Native(dir / "full"), 1));
    EXPECT_EQ(ReadWholeFile(dir / "to"), "old");
    EXPECT_EQ(CountNames(dir.Path()), 3);
  }
  ZTKFile::ms_strict = false;
}

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

TEST(ZTKCopyFile, OntoItselfKeepsTheContent) {
  TempDir dir;
  for (const bool strict : {false, true}) {
    SCOPED_TRACE(strict);
    ZTKFile::ms_strict = strict;
    WriteWholeFile(dir / "file", "content");
    EXPECT_FALSE(ZTKCopyFile(Native(dir / "file"), Native(dir / "file"), 0));
    EXPECT_TRUE(ZTKCopyFile(Native(dir / "file"), Native(dir / "file"), 1));
    EXPECT_EQ(ReadWholeFile(dir / "file"), "content");
  }
  ZTKFile::ms_strict = false;
}

TEST(ZTKCopyFile, ReplacesAnEmptyFolderUnlessStrict) {
  TempDir dir;
  WriteWholeFile(dir / "from", "x");
  fs::create_directory(dir / "to");
  {
    const Strict strict;
    EXPECT_FALSE(ZTKCopyFile(Native(dir / "from"), Native(dir / "to"), 1));
    EXPECT_TRUE(fs::is_directory(dir / "to"));
  }
  EXPECT_TRUE(ZTKCopyFile(Native(dir / "from"), Native(dir / "to"), 1));
  EXPECT_EQ(ReadWholeFile(dir / "to"), "x");
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

TEST(ZTKCopyFile, RefusedRemovalLeavesTheTarget) {
  TempDir dir;
  WriteWholeFile(dir / "from", "new");
  WriteWholeFile(dir / "to", "old");
  system_calls::Scope calls;
  calls.Refuse("remove", EPERM);
  EXPECT_FALSE(ZTKCopyFile(Native(dir / "from"), Native(dir / "to"), 1));
  EXPECT_EQ(ReadWholeFile(dir / "to"), "old");
}

TEST(ZTKFileSystem, SeparatorsAreTheSameEverywhere) {
  for (int ch = -128; ch < 128; ++ch) {
    SCOPED_TRACE(ch);
    const char c = static_cast<char>(ch);
    const bool separator = c == '/' || c == ':' || c == '\\';
    EXPECT_EQ(ZTKIsPathSeparator(c), separator);
    const char text[] = {'a', c, '\0'};
    EXPECT_EQ(ZTKEndsWithPathSeparator(text), separator);
  }
  EXPECT_FALSE(ZTKEndsWithPathSeparator(nullptr));
  EXPECT_FALSE(ZTKEndsWithPathSeparator(""));
  EXPECT_TRUE(ZTKEndsWithPathSeparator("/"));
  EXPECT_FALSE(ZTKEndsWithPathSeparator("/a"));
}

TEST(ZTKFileSystem, FoldersAreNotListed) {
  EXPECT_STREQ(ZTKFindFirstFile("*", 0).c_str(), "");
  EXPECT_STREQ(ZTKFindFirstFile(nullptr, 0).c_str(), "");
  EXPECT_STREQ(ZTKFindNextFile().c_str(), "");
}

}  // namespace
