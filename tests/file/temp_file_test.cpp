#include "ztk/file/temp_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <type_traits>

#include "tests/file/strict_mode.h"
#include "tests/file/temp_file_support.h"
#include "tests/support/failing_allocator.h"
#include "tests/support/temp_dir.h"

namespace {

namespace fs = std::filesystem;

static_assert(!std::is_copy_constructible_v<ZTKTempFile>);
static_assert(!std::is_copy_assignable_v<ZTKTempFile>);

TEST(ZTKTempFile, WritesBesideTheTarget) {
  TempDir dir;
  ZTKTempFile temp(Native(dir / "report.txt"));
  ASSERT_TRUE(temp.GetFile().IsOpen());
  EXPECT_EQ(Host(temp.GetTargetPath()), dir / "report.txt");
  EXPECT_EQ(Host(temp.GetTempPath()), dir / "report000");
  EXPECT_TRUE(fs::exists(dir / "report000"));
  EXPECT_FALSE(fs::exists(dir / "report.txt"));
}

TEST(ZTKTempFile, DestructionWithoutCommitLeavesNothingBehind) {
  TempDir dir;
  WriteWholeFile(dir / "x.txt", "old");
  {
    ZTKTempFile temp(Native(dir / "x.txt"));
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
      ZTKTempFile temp(Native(dir / "x.txt"));
      Put(temp, content);
      EXPECT_TRUE(temp.Commit());
      EXPECT_EQ(ReadWholeFile(dir / "x.txt"), content);
      EXPECT_EQ(CountNames(dir.Path()), 1);
      EXPECT_FALSE(temp.GetFile().IsOpen());
      EXPECT_EQ(Host(temp.GetTempPath()), "");
    }
  }
}

TEST(ZTKTempFile, DiscardRemovesTheTemporaryFile) {
  TempDir dir;
  WriteWholeFile(dir / "x.txt", "old");
  ZTKTempFile temp(Native(dir / "x.txt"));
  Put(temp, "new");
  EXPECT_TRUE(temp.Discard());
  EXPECT_EQ(Host(temp.GetTempPath()), "");
  EXPECT_EQ(ReadWholeFile(dir / "x.txt"), "old");
  EXPECT_EQ(CountNames(dir.Path()), 1);
  EXPECT_FALSE(temp.Discard());
}

TEST(ZTKTempFile, CommitInTheWrongMomentTouchesNothing) {
  for (const bool strict : {false, true}) {
    SCOPED_TRACE(strict);
    const Strict scope(strict);
    TempDir dir;
    ZTKTempFile temp(Native(dir / "x"));
    Put(temp, "new");
    ASSERT_TRUE(temp.Commit());
    EXPECT_FALSE(temp.Commit());  // Twice.
    EXPECT_EQ(ReadWholeFile(dir / "x"), "new");

    ASSERT_TRUE(temp.Open(Native(dir / "x")));
    ASSERT_TRUE(temp.Discard());
    EXPECT_FALSE(temp.Commit());  // After a discard.

    EXPECT_FALSE(temp.Open(Native(dir / "missing/x")));
    EXPECT_FALSE(temp.Commit());  // After a failed open.

    ASSERT_TRUE(temp.Open(Native(dir / "x")));
    fs::remove(Host(temp.GetTempPath()));
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
    ZTKTempFile temp(Native(dir / "x"));
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
    ZTKTempFile temp(Native(dir / "x"));
    Put(temp, "new");
    temp.GetFile().Close();
  }
  EXPECT_EQ(ReadWholeFile(dir / "x000"), "new");
}

TEST(ZTKTempFile, OpeningAgainDiscardsTheFirst) {
  TempDir dir;
  WriteWholeFile(dir / "a", "old");
  ZTKTempFile temp(Native(dir / "a"));
  Put(temp, "for a");
  EXPECT_TRUE(temp.Open(Native(dir / "b")));
  EXPECT_EQ(Host(temp.GetTempPath()), dir / "b000");
  Put(temp, "for b");
  EXPECT_TRUE(temp.Open(temp.GetTargetPath()));  // Its own string is a fine argument.
  EXPECT_EQ(Host(temp.GetTargetPath()), dir / "b");
  Put(temp, "again");
  EXPECT_TRUE(temp.Commit());
  EXPECT_EQ(ReadWholeFile(dir / "a"), "old");
  EXPECT_EQ(ReadWholeFile(dir / "b"), "again");
  EXPECT_EQ(CountNames(dir.Path()), 2);
}

// Targets that are no plain files.

TEST(ZTKTempFile, EmptyFolderIsReplacedUnlessStrict) {
  TempDir dir;
  fs::create_directory(dir / "x");
  {
    const Strict strict;
    ZTKTempFile temp(Native(dir / "x"));
    EXPECT_FALSE(temp.GetFile().IsOpen());
    EXPECT_FALSE(temp.Commit());
    EXPECT_TRUE(fs::is_directory(dir / "x"));
  }
  ZTKTempFile temp(Native(dir / "x"));
  Put(temp, "new");
  EXPECT_TRUE(temp.Commit());
  EXPECT_EQ(ReadWholeFile(dir / "x"), "new");
}

TEST(ZTKTempFile, FolderWithContentMakesTheCommitFailAndCanBeTriedAgain) {
  for (const bool strict : {false, true}) {
    SCOPED_TRACE(strict);
    const Strict scope(strict);
    TempDir dir;
    ZTKTempFile temp(Native(dir / "x"));
    Put(temp, "new");
    fs::create_directories(dir / "x/inner");
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
  ZTKTempFile temp(Native(dir / "locked/x"));
  EXPECT_FALSE(temp.GetFile().IsOpen());
  EXPECT_EQ(Host(temp.GetTempPath()), "");
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
    ZTKTempFile temp(Native(dir / "locked/x"));
    Put(temp, "new");
    fs::permissions(dir / "locked", fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_FALSE(temp.Commit());
    EXPECT_EQ(ReadWholeFile(dir / "locked/x"), "old");
    EXPECT_EQ(ReadWholeFile(dir / "locked/x000"), "new");
    EXPECT_FALSE(temp.Discard());
  }
}

// Memory that runs out.

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
      const std::string expected = NativePath(dir / "x000");
      const ZTKString target = Native(dir / "x.txt");
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
    if (relative && HasColonPaths()) continue;  // It would be a name beside the folder.
    for (const long failures : {1L, 2L, -1L}) {
      bool failed = true;
      for (long before = 0; failed; ++before) {
        SCOPED_TRACE(testing::Message() << failures << " after " << before);
        ASSERT_LT(before, 500);
        TempDir dir;
        const ScopedWorkingDirectory cwd(dir.Path());
        fs::create_directories(dir / below);
        const fs::path expected = dir.Path() / below / "x.txt";
        const ZTKString target = Native(relative ? below + "/x.txt" : expected.string());
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

}  // namespace
