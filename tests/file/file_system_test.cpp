#include "ztk/file/file_system.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "tests/file/strict_mode.h"
#include "tests/file/temp_file_support.h"
#include "tests/support/failing_allocator.h"
#include "tests/support/native_path.h"
#include "tests/support/system_calls.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file.h"

namespace {

namespace fs = std::filesystem;

TEST(ZTKFileSystem, FileExistsAsFarAsItCanBeOpenedForReading) {
  TempDir dir;
  WriteWholeFile(dir / "file", "x");
  WriteWholeFile(dir / "empty", "");
  fs::create_directory(dir / "folder");
  if (HasLinks()) {
    fs::create_symlink("file", dir / "link");
    fs::create_symlink("nowhere", dir / "dangling");
    fs::create_symlink("loop", dir / "loop");
  }
  struct {
    const char* name;
    bool exists;
  } const rows[] = {{"file", true},       {"empty", true},       {"folder", true},
                    {"link", HasLinks()}, {"dangling", false},   {"loop", false},
                    {"missing", false},   {"file/below", false}, {"folder/", true}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(ZTKFileExists(Native(dir / row.name)), row.exists);
    EXPECT_EQ(ZTKFile::Exists((dir / row.name).c_str()), row.exists);
  }
  EXPECT_FALSE(ZTKFileExists(ZTKString()));
  EXPECT_FALSE(ZTKFile::Exists(nullptr));
  EXPECT_TRUE(ZTKFileExists(HasDosPaths() ? "NUL" : "/dev/null"));
}

TEST(ZTKFileSystem, UnreadableFileCountsAsMissing) {
  if (RunsAsRoot()) GTEST_SKIP() << "root reads everything";
  TempDir dir;
  WriteWholeFile(dir / "file", "x");
  fs::permissions(dir / "file", fs::perms::owner_write);
  EXPECT_FALSE(ZTKFileExists(Native(dir / "file")));
  EXPECT_TRUE(ZTKPathExists(Native(dir / "file")));
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
  fs::create_directories(dir / "full/inner");
  if (HasLinks()) {
    fs::create_symlink("file", dir / "link");
    EXPECT_TRUE(ZTKRemoveFile(Native(dir / "link")));
  }
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
