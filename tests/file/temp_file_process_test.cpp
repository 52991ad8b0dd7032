// The steps of a commit in the order of their calls, in processes that end or run side by side, and
// with a limit on the size of files.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/file/strict_mode.h"
#include "tests/file/temp_file_support.h"
#include "tests/support/scoped_process.h"
#include "tests/support/system_calls.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/temp_file.h"

namespace {

namespace fs = std::filesystem;
using Calls = std::vector<std::string>;

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
    ZTKTempFile temp(Native(dir / "x"));
    Put(temp, "new");
    const system_calls::Scope scope;
    EXPECT_TRUE(temp.Commit());
    EXPECT_EQ(scope.Calls(), row.calls);
  }
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
        ZTKTempFile temp(Native(dir / "x"));
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

TEST(ZTKTempFile, StrictCommitTellsThatTheFolderWasNotSynced) {
  const Strict strict;
  TempDir dir;
  WriteWholeFile(dir / "x", "old");
  ZTKTempFile temp(Native(dir / "x"));
  Put(temp, "new");
  system_calls::Scope calls;
  calls.Refuse("fsync folder", EIO);
  EXPECT_FALSE(temp.Commit());
  EXPECT_EQ(temp.GetOutcome(), COMMIT_NOT_DURABLE);
  EXPECT_EQ(ReadWholeFile(dir / "x"), "new");  // Complete, but not yet safe from a power cut.
  EXPECT_EQ(CountNames(dir.Path()), 1);
  EXPECT_FALSE(temp.Commit());
}

TEST(ZTKTempFile, FullDiskMayCostTheTargetUnlessStrict) {
  for (const bool strict : {false, true}) {
    for (const bool closedByCaller : {false, true}) {
      SCOPED_TRACE(testing::Message() << strict << closedByCaller);
      const Strict scope(strict);
      TempDir dir;
      WriteWholeFile(dir / "x", "old");
      const ScopedFileSizeLimit limit(20000);
      ZTKTempFile temp(Native(dir / "x"));
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
        ZTKTempFile temp(Native(path));
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

TEST(ZTKTempFileOptions, OneStepSyncsAndRenamesWithoutStrictMode) {
  const TempDir dir;
  WriteWholeFile(dir / "x", "old");
  ZTKTempFile temp(Native(dir / "x"), TEMP_ONE_STEP);
  EXPECT_EQ(temp.GetOptions(), TEMP_ONE_STEP);
  Put(temp, "new");
  const system_calls::Scope scope;
  EXPECT_TRUE(temp.Commit());
  EXPECT_EQ(scope.Calls(), (Calls{"fsync file", "rename", "fsync folder"}));
  EXPECT_EQ(ReadWholeFile(dir / "x"), "new");
}

TEST(ZTKTempFileOptions, OneStepNoticesWhatWasLostOnTheWay) {
  const TempDir dir;
  WriteWholeFile(dir / "x", "old");
  {
    ZTKTempFile temp(Native(dir / "x"), TEMP_ONE_STEP);
    const ScopedFileSizeLimit limit(1000);
    const std::string content(5000, 'x');
    temp.GetFile().Write(content.data(), content.size());
    EXPECT_FALSE(temp.Commit());
    EXPECT_FALSE(temp.Commit()) << "what was lost is still lost";
    EXPECT_TRUE(temp.Discard());
  }
  EXPECT_EQ(ReadWholeFile(dir / "x"), "old");
  EXPECT_EQ(CountNames(dir.Path()), 1);
}

TEST(ZTKTempFileOptions, AHardLinkedTargetWithoutRoomKeepsItsContent) {
  const TempDir dir;
  WriteWholeFile(dir / "x", "old");
  fs::create_hard_link(dir / "x", dir / "other");
  ZTKTempFile temp(Native(dir / "x"), TEMP_KEEP_IDENTITY);
  Put(temp, std::string(5000, 'x'));
  ASSERT_TRUE(temp.GetFile().Flush());
  {
    const ScopedFileSizeLimit limit(1000);
    EXPECT_FALSE(temp.Commit());
  }
  EXPECT_EQ(ReadWholeFile(dir / "other"), "old");
  EXPECT_TRUE(temp.Commit()) << "the temporary file is still there";
  EXPECT_EQ(ReadWholeFile(dir / "other"), std::string(5000, 'x'));
}

}  // namespace
