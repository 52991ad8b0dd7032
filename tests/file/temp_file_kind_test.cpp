// Targets that are folders, pipes, sockets, devices, and links to them.

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "tests/file/strict_mode.h"
#include "tests/file/temp_file_modes.h"
#include "tests/file/temp_file_support.h"
#include "tests/support/scoped_process.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file_system.h"
#include "ztk/file/temp_file.h"

namespace {

namespace fs = std::filesystem;

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

}  // namespace
