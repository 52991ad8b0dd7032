// What a commit that failed leaves behind, and commits without memory.

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "tests/file/strict_mode.h"
#include "tests/file/temp_file_modes.h"
#include "tests/file/temp_file_support.h"
#include "tests/support/failing_allocator.h"
#include "tests/support/system_calls.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file_system.h"
#include "ztk/file/temp_file.h"

namespace {

namespace fs = std::filesystem;

TEST(ZTKTempFileRefusal, ToDiscardTakesNoMemory) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  const TempDir dir;
  const ZTKString target((dir / std::string(200, 'x')).c_str());
  bool discarded = false;
  {
    ZTKTempFile temp(target, TEMP_EXACT_PATH);
    EXPECT_EQ(CountNames(dir.Path()), 1);
    const failing_allocator::Scope scope(0);
    discarded = temp.Discard();
  }
  EXPECT_TRUE(discarded);
  EXPECT_EQ(CountNames(dir.Path()), 0);
}

// A target with a long name, in a folder of its own, that is saved without memory.
void CommitWithoutMemory(const TempDir& dir, unsigned int options, bool isThere, long passed,
                         long failures, bool& failed) {
  const ZTKString target((dir / std::string(200, 'x')).c_str());
  ZTKRemoveFile(target);
  if (isThere) WriteWholeFile(target.c_str(), "old");
  ZTKCommitOutcome outcome = COMMIT_NONE;
  bool done = false;
  {
    ZTKTempFile temp(target, TEMP_EXACT_PATH | options);
    Put(temp, "new");
    const failing_allocator::Scope scope(passed, failures);
    done = temp.Commit();
    outcome = temp.GetOutcome();
    failed = scope.Failed();
  }
  EXPECT_EQ(outcome, done ? COMMIT_DONE : COMMIT_FAILED);
  EXPECT_TRUE(done || failed);
  EXPECT_EQ(std::filesystem::exists(target.c_str()), done || isThere);
  if (done || isThere) {
    EXPECT_EQ(ReadWholeFile(target.c_str()), done ? "new" : "old");
  }
  EXPECT_EQ(CountNames(dir.Path()), done || isThere ? 1 : 0);
}

TEST(ZTKTempFileRefusal, ACommitWithoutMemoryHasFailedAndLeavesNothing) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  const TempDir dir;
  for (const unsigned int options :
       {0U + TEMP_ONE_STEP, 0U + TEMP_UNNAMED, TEMP_UNNAMED | TEMP_KEEP_IDENTITY}) {
    for (const bool isThere : {true, false}) {
      for (const long failures : {1L, -1L}) {
        bool failed = true;
        for (long passed = 0; failed; ++passed) {
          SCOPED_TRACE(testing::Message() << options << ": " << failures << " after " << passed);
          ASSERT_LT(passed, 100);
          CommitWithoutMemory(dir, options, isThere, passed, failures, failed);
        }
      }
    }
  }
}

TEST(ZTKTempFileRefusal, AnUnnamedFileThatGotNoMemoryIsCommittedTheNextTime) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  const TempDir dir;
  const ZTKString target((dir / std::string(200, 'x')).c_str());
  bool failed = true;
  for (long passed = 0; failed; ++passed) {
    SCOPED_TRACE(passed);
    ASSERT_LT(passed, 100);
    WriteWholeFile(target.c_str(), "old");
    ZTKTempFile temp(target, TEMP_EXACT_PATH | TEMP_UNNAMED);
    Put(temp, "new");
    bool done = false;
    {
      const failing_allocator::Scope scope(passed);
      done = temp.Commit();
      failed = scope.Failed();
    }
    EXPECT_TRUE(done || temp.Commit());
    EXPECT_EQ(ReadWholeFile(target.c_str()), "new");
    EXPECT_EQ(CountNames(dir.Path()), 1);
  }
}

// What is left ------------------------------------------------------------------------------------

TEST(ZTKTempFileRefusal, AFailedTemporaryFileDoesNotStayWhereTheTargetStands) {
  for (const Mode& mode : kCarefulModes) {
    SCOPED_TRACE(testing::Message() << mode.strict << mode.options);
    const Strict strict(mode.strict);
    const TempDir dir;
    const bool isOneStep = mode.strict || (mode.options & (TEMP_ONE_STEP | TEMP_UNNAMED)) != 0;
    const auto fail = [&](ZTKTempFile& temp) {
      WriteWholeFile(dir / "x", "old");
      Put(temp, "new");
      system_calls::Scope calls;
      calls.Refuse(isOneStep ? "rename" : "remove", EIO);
      EXPECT_FALSE(temp.Commit());
      EXPECT_EQ(temp.GetOutcome(), COMMIT_FAILED);
      EXPECT_EQ(ReadWholeFile(dir / "x"), "old");
      EXPECT_EQ(CountNames(dir.Path()), 2) << "it can be committed again";
    };
    {
      ZTKTempFile temp(Native(dir / "x"), mode.options);
      fail(temp);
      EXPECT_TRUE(temp.Open(Native(dir / "x")));
      EXPECT_FALSE(fs::exists(dir / "x001")) << "the name is free again";
      fail(temp);
      EXPECT_TRUE(temp.Commit());
      EXPECT_TRUE(temp.Open(Native(dir / "x")));
      fail(temp);
    }
    EXPECT_EQ(CountNames(dir.Path()), 1);
    EXPECT_EQ(ReadWholeFile(dir / "x"), "old");
  }
}

TEST(ZTKTempFileRefusal, SavingGoesOnAfterMoreFailuresThanThereAreNames) {
  const Strict strict;
  const TempDir dir;
  WriteWholeFile(dir / "x", "old");
  {
    system_calls::Scope calls;
    calls.Refuse("rename", EIO);
    for (int n = 0; n < 1100; ++n) {
      ZTKTempFile temp(Native(dir / "x"));
      ASSERT_FALSE(temp.Commit());
    }
  }
  ZTKTempFile temp(Native(dir / "x"));
  EXPECT_TRUE(temp.Commit());
}

TEST(ZTKTempFileRefusal, TheDescribedStepsLeaveAFailedTemporaryFile) {
  const TempDir dir;
  WriteWholeFile(dir / "x", "old");
  {
    ZTKTempFile temp(Native(dir / "x"));
    Put(temp, "new");
    system_calls::Scope calls;
    calls.Refuse("remove", EACCES);
    EXPECT_FALSE(temp.Commit());
    EXPECT_EQ(temp.GetOutcome(), COMMIT_FAILED);
  }
  EXPECT_EQ(ReadWholeFile(dir / "x"), "old");
  EXPECT_EQ(ReadWholeFile(dir / "x000"), "new");
}

}  // namespace
