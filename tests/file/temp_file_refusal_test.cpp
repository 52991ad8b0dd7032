// What strict mode and the options refuse, and what a commit that failed leaves behind.

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>

#include "tests/file/strict_mode.h"
#include "tests/file/temp_file_support.h"
#include "tests/support/failing_allocator.h"
#include "tests/support/scoped_process.h"
#include "tests/support/system_calls.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file_system.h"
#include "ztk/file/temp_file.h"

namespace {

namespace fs = std::filesystem;

// Strict mode, and every option alone: all of them promise something about the target.
struct Mode {
  bool strict;
  unsigned int options;
};
constexpr Mode kCarefulModes[] = {{true, 0},
                                  {false, TEMP_ONE_STEP},
                                  {false, TEMP_FOLLOW_LINKS},
                                  {false, TEMP_KEEP_IDENTITY},
                                  {false, TEMP_UNNAMED},
                                  {false, TEMP_ONE_STEP | TEMP_FOLLOW_LINKS | TEMP_KEEP_IDENTITY}};

void MakeSocket(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  ASSERT_LT(path.size(), sizeof address.sun_path);
  std::memcpy(address.sun_path, path.c_str(), path.size());
  const int descriptor = socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  close(descriptor);
}

void MakeSpecial(const std::string& path, const std::string& kind) {
  if (kind == "folder") fs::create_directory(path);
  if (kind == "pipe") {
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  }
  if (kind == "socket") MakeSocket(path);
  if (kind == "link to a pipe") {
    ASSERT_EQ(mkfifo((path + "-pipe").c_str(), 0600), 0);
    fs::create_symlink(path + "-pipe", path);
  }
  if (kind == "link to a folder") fs::create_directory_symlink(".", path);
  if (kind == "link to a device") fs::create_symlink("/dev/null", path);
}

mode_t TypeOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
  return status.st_mode & S_IFMT;
}

TEST(ZTKTempFileRefusal, WhatIsNoRegularFileIsRefusedAtTheOpenAndAtTheCommit) {
  const ScopedWatchdog watchdog(60);
  for (const Mode& mode : kCarefulModes) {
    const Strict strict(mode.strict);
    for (const char* kind :
         {"folder", "pipe", "socket", "link to a pipe", "link to a folder", "link to a device"}) {
      SCOPED_TRACE(testing::Message() << kind << mode.strict << mode.options);
      const TempDir dir;
      const std::string path = dir / "x";
      MakeSpecial(path, kind);
      const mode_t type = TypeOf(path);
      const long names = CountNames(dir.Path());
      {
        ZTKTempFile temp(Native(path), mode.options);
        EXPECT_FALSE(temp.GetFile().IsOpen());
        EXPECT_FALSE(temp.Commit());
      }
      EXPECT_EQ(TypeOf(path), type);
      EXPECT_EQ(CountNames(dir.Path()), names);

      // Where it comes after the open.
      fs::remove(path);
      fs::remove(path + "-pipe");
      {
        ZTKTempFile temp(Native(path), mode.options);
        Put(temp, "new");
        MakeSpecial(path, kind);
        EXPECT_FALSE(temp.Commit());
        EXPECT_EQ(temp.GetOutcome(), COMMIT_FAILED);
      }
      EXPECT_EQ(TypeOf(path), type);
      EXPECT_EQ(CountNames(dir.Path()), names);
    }
  }
}

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

TEST(ZTKTempFileRefusal, AnUnnamedFileOutlastsAnObstacleInThePlaceOfItsTarget) {
  for (const char* const kind : {"folder", "pipe", "socket", "link to a device"}) {
    for (const bool wasThere : {true, false}) {
      SCOPED_TRACE(kind);
      const TempDir dir;
      const std::string path = dir / "x";
      if (wasThere) WriteWholeFile(path, "old");
      ZTKTempFile temp(Native(path), TEMP_UNNAMED);
      Put(temp, "new");
      fs::remove(path);
      MakeSpecial(path, kind);
      const mode_t type = TypeOf(path);
      EXPECT_FALSE(temp.Commit());
      EXPECT_EQ(temp.GetOutcome(), COMMIT_FAILED);
      EXPECT_EQ(TypeOf(path), type);

      fs::remove(path);
      EXPECT_TRUE(temp.Commit());
      EXPECT_EQ(ReadWholeFile(path), "new");
      EXPECT_EQ(CountNames(dir.Path()), 1);
    }
  }
}

TEST(ZTKTempFileRefusal, TheDescribedStepsReplaceWhateverCanBeRemoved) {
  const ScopedWatchdog watchdog(60);
  for (const char* kind : {"folder", "pipe"}) {
    SCOPED_TRACE(kind);
    const TempDir dir;
    MakeSpecial(dir / "x", kind);
    ZTKTempFile temp(Native(dir / "x"));
    Put(temp, "new");
    EXPECT_TRUE(temp.Commit());
    EXPECT_EQ(ReadWholeFile(dir / "x"), "new");
  }
}

TEST(ZTKTempFileRefusal, StrictCopiesRefuseTheSame) {
  const ScopedWatchdog watchdog(60);
  const Strict strict;
  for (const char* kind : {"folder", "pipe", "socket", "link to a pipe", "link to a device"}) {
    for (const int overwrite : {0, 1}) {
      SCOPED_TRACE(testing::Message() << kind << overwrite);
      const TempDir dir;
      WriteWholeFile(dir / "from", "new");
      MakeSpecial(dir / "x", kind);
      const mode_t type = TypeOf(dir / "x");
      const long names = CountNames(dir.Path());
      EXPECT_FALSE(ZTKCopyFile(Native(dir / "from"), Native(dir / "x"), overwrite));
      EXPECT_EQ(TypeOf(dir / "x"), type);
      EXPECT_EQ(CountNames(dir.Path()), names);
    }
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
