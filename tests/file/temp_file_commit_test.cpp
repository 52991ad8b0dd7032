// Steps of a commit that are refused.

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "tests/file/strict_mode.h"
#include "tests/file/temp_file_support.h"
#include "tests/support/system_calls.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/temp_file.h"

namespace {

namespace fs = std::filesystem;

TEST(ZTKTempFile, DataIsWithTheSystemBeforeItIsSynced) {
  TempDir dir;
  ZTKTempFile temp(Native(dir / "x"));
  Put(temp, "buffered");
  EXPECT_TRUE(temp.GetFile().XPSync());
  EXPECT_EQ(ReadWholeFile(dir / "x000"), "buffered");
}

TEST(ZTKTempFile, RefusedRemovalOfTheTargetKeepsBoth) {
  TempDir dir;
  WriteWholeFile(dir / "x", "old");
  ZTKTempFile temp(Native(dir / "x"));
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

TEST(ZTKTempFile, RefusedRenameFallsBackToACopy) {
  TempDir dir;
  WriteWholeFile(dir / "x", "old");
  ZTKTempFile temp(Native(dir / "x"));
  Put(temp, "new");
  system_calls::Scope calls;
  calls.Refuse("rename", EXDEV);
  EXPECT_TRUE(temp.Commit());
  EXPECT_EQ(ReadWholeFile(dir / "x"), "new");
  EXPECT_EQ(CountNames(dir.Path()), 1);
}

TEST(ZTKTempFile, RefusedRenameAndCopyLeaveTheTemporaryFileAlone) {
  TempDir dir;
  WriteWholeFile(dir / "x", "old");
  const std::string target = dir / "x";
  ZTKTempFile temp(Native(target));
  Put(temp, "new");
  system_calls::Scope calls;
  calls.Refuse("rename", EXDEV);
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
    ZTKTempFile temp(Native(dir / "x"));
    Put(temp, "new");
    {
      system_calls::Scope calls;
      calls.Refuse(refused, EIO);
      EXPECT_FALSE(temp.Commit());
    }
    EXPECT_EQ(temp.GetOutcome(), COMMIT_FAILED);
    EXPECT_EQ(ReadWholeFile(dir / "x"), "old");
    EXPECT_EQ(ReadWholeFile(dir / "x000"), "new");
    // What a sync could not write the system has forgotten: the next one would not tell.
    const bool lost = std::string(refused) == "fsync file";
    EXPECT_EQ(temp.Commit(), !lost);
    EXPECT_EQ(ReadWholeFile(dir / "x"), lost ? "old" : "new");
  }
}

TEST(ZTKTempFile, SyncsThatAreRefusedDoNotMatterUnlessStrict) {
  TempDir dir;
  WriteWholeFile(dir / "x", "old");
  ZTKTempFile temp(Native(dir / "x"));
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
  ZTKTempFile temp(Native(dir / "x"));
  system_calls::Scope calls;
  calls.Refuse("fsync file", EINVAL);
  calls.Refuse("fsync folder", EINVAL);
  EXPECT_TRUE(temp.Commit());
}

}  // namespace
