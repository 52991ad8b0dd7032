// Temporary files where the system has links, modes, pipes, long paths for everybody, and working
// directories that vanish.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "tests/file/strict_mode.h"
#include "tests/file/temp_file_support.h"
#include "tests/support/scoped_process.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/temp_file.h"

namespace {

namespace fs = std::filesystem;

TEST(ZTKTempFile, RelativeTargetNeedsAWorkingDirectory) {
  TempDir dir;
  const ScopedWorkingDirectory cwd(dir.Path());
  const auto fails = [&] {
    ZTKTempFile temp("ztk-test-never-there.txt");
    EXPECT_FALSE(temp.GetFile().IsOpen());
    EXPECT_EQ(Host(temp.GetTempPath()), "");
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

TEST(ZTKTempFile, NewTargetGetsWhatTheUmaskLeaves) {
  TempDir dir;
  for (const mode_t mask : {0000u, 0022u, 0077u, 0027u}) {
    SCOPED_TRACE(mask);
    const ScopedUmask scope(mask);
    fs::remove(dir / "x");
    ZTKTempFile temp(Native(dir / "x"));
    EXPECT_TRUE(temp.Commit());
    EXPECT_EQ(ModeOf(dir / "x"), static_cast<int>(0666 & ~mask));
    const mode_t now = umask(mask);
    EXPECT_EQ(now, mask);  // Reading it has not changed it.
  }
}

TEST(ZTKTempFile, LinkIsReplacedAndWhatItPointedToStays) {
  for (const bool strict : {false, true}) {
    SCOPED_TRACE(strict);
    const Strict scope(strict);
    TempDir dir;
    WriteWholeFile(dir / "real", "old");
    fs::create_symlink("real", dir / "link");
    ZTKTempFile temp(Native(dir / "link"));
    Put(temp, "new");
    EXPECT_TRUE(temp.Commit());
    EXPECT_FALSE(fs::is_symlink(dir / "link"));
    EXPECT_EQ(ReadWholeFile(dir / "link"), "new");
    EXPECT_EQ(ReadWholeFile(dir / "real"), "old");
  }
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

  ZTKTempFile temp(Native(dir / "x.txt"));
  EXPECT_EQ(Host(temp.GetTempPath()), dir / "x005");
  Put(temp, "new");
  EXPECT_TRUE(temp.Commit());
  EXPECT_FALSE(fs::exists(dir / "victim"));
  EXPECT_EQ(ReadWholeFile(dir / "precious"), "precious");
}

TEST(ZTKTempFileOptions, ANewTargetGetsThePermissionsAskedFor) {
  const TempDir dir;
  const ScopedUmask umask(022);
  ZTKTempFile temp(Native(dir / "x"), TEMP_ONE_STEP, 0640);
  EXPECT_TRUE(temp.Commit());
  EXPECT_EQ(ModeOf(dir / "x"), NewFilePermissions(0640) & ~022);
}

ino_t InodeOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return status.st_ino;
}

TEST(ZTKTempFileOptions, ATargetWithOneNameIsReplacedAsEver) {
  const TempDir dir;
  WriteWholeFile(dir / "x", "old");
  const ino_t before = InodeOf(dir / "x");
  ZTKTempFile temp(Native(dir / "x"), TEMP_KEEP_IDENTITY);
  Put(temp, "new");
  EXPECT_TRUE(temp.Commit());
  EXPECT_NE(InodeOf(dir / "x"), before);
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
  // Paths are as long as the library sees them.
  const size_t extra = NativePath(folder.string()).size() - folder.string().size();
  const size_t before = folder.string().size() + extra + 1;

  for (size_t length = 1010; length <= 1030; ++length) {
    SCOPED_TRACE(length);
    const std::string target = (folder / std::string(length - before, 'n')).string();
    const std::string cut = target.substr(0, std::min<size_t>(length, 1023) - extra);
    const bool neighbour = cut != target;
    if (neighbour) WriteWholeFile(cut, "neighbour");
    const long names = CountNames(folder);

    ZTKTempFile temp(Native(target));
    EXPECT_EQ(temp.GetFile().IsOpen(), length + 3 <= 1023);
    if (temp.GetFile().IsOpen()) {
      EXPECT_EQ(Host(temp.GetTempPath()), target + "000");
      EXPECT_TRUE(temp.Commit());
      EXPECT_TRUE(fs::exists(target));
    } else {
      EXPECT_EQ(Host(temp.GetTempPath()), "");
      EXPECT_FALSE(temp.Commit());
      EXPECT_FALSE(temp.Discard());
      EXPECT_EQ(CountNames(folder), names);
    }
    if (neighbour) {
      EXPECT_EQ(ReadWholeFile(cut), "neighbour");
    }
  }
}

}  // namespace
