// Files where the system has descriptors, modes, links and pipes.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "tests/support/native_path.h"
#include "tests/support/scoped_process.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file.h"

namespace {

namespace fs = std::filesystem;

int Descriptor(const ZTKFile& file) {
  return fileno(reinterpret_cast<std::FILE*>(file.GetHandle()));
}

mode_t ModeOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return status.st_mode & 07777;
}

TEST(ZTKFile, AppendsToWhatHasNoPositions) {
  TempDir dir;
  const std::string path = dir / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK);
  ASSERT_GE(reader, 0);
  ZTKFile pipe(path.c_str(), ZTKFile::append);
  EXPECT_TRUE(pipe.IsOpen());
  EXPECT_EQ(pipe.Write("x", 1), 1u);
  close(reader);
}

TEST(ZTKFile, SuccessfulOpenClosesTheOldFileFirst) {
  TempDir dir;
  ZTKFile file((dir / "first").c_str(), ZTKFile::write);
  file.Write("buffered", 8);
  const int first = Descriptor(file);

  ASSERT_TRUE(file.XPOpen((dir / "second").c_str(), ZTKFile::write, 0666));

  EXPECT_EQ(ReadWholeFile(dir / "first"), "buffered");
  EXPECT_EQ(fcntl(first, F_GETFD), -1);
  ASSERT_TRUE(file.XPCreate((dir / "third").c_str(), true, 0666));
  file.Write("3", 1);
  file.Close();
  EXPECT_EQ(ReadWholeFile(dir / "second"), "");
  EXPECT_EQ(ReadWholeFile(dir / "third"), "3");
}

TEST(ZTKFile, DestructorCloses) {
  TempDir dir;
  int descriptor;
  {
    ZTKFile file((dir / "file").c_str(), ZTKFile::write);
    file.Write("text", 4);
    descriptor = Descriptor(file);
  }
  EXPECT_EQ(ReadWholeFile(dir / "file"), "text");
  EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
}

TEST(ZTKFile, CreatedFilesGetThePermissionsLessTheUmask) {
  TempDir dir;
  const ScopedUmask umask(027);
  ZTKFile file;

  ASSERT_TRUE(file.XPOpen((dir / "a").c_str(), ZTKFile::write, 0666));
  ASSERT_TRUE(file.XPOpen((dir / "b").c_str(), ZTKFile::append, 0600));
  ASSERT_TRUE(file.XPCreate((dir / "c").c_str(), true, 0777));
  ASSERT_TRUE(file.XPOpen((dir / "b").c_str(), ZTKFile::write, 0666));

  EXPECT_EQ(ModeOf(dir / "a"), 0640u);
  // It existed: its permissions stay.
  EXPECT_EQ(ModeOf(dir / "b"), static_cast<unsigned>(NewFilePermissions(0600) & ~027));
  EXPECT_EQ(ModeOf(dir / "c"), static_cast<unsigned>(NewFilePermissions(0777) & ~027));
}

TEST(ZTKFile, IsNotInheritedByOtherPrograms) {
  TempDir dir;
  ZTKFile file;
  ASSERT_TRUE(file.XPOpen((dir / "file").c_str(), ZTKFile::write, 0666));
  EXPECT_EQ(fcntl(Descriptor(file), F_GETFD), FD_CLOEXEC);
  ASSERT_TRUE(file.XPCreate((dir / "file").c_str(), true, 0666));
  EXPECT_EQ(fcntl(Descriptor(file), F_GETFD), FD_CLOEXEC);
}

TEST(ZTKFile, CreateWithoutOverwriteDoesNotFollowALinkToNowhere) {
  TempDir dir;
  fs::create_symlink(dir / "victim", dir / "link");
  ZTKFile file;
  EXPECT_FALSE(file.XPCreate((dir / "link").c_str(), false, 0666));
  EXPECT_FALSE(fs::exists(dir / "victim"));
}

TEST(ZTKFile, ExclusiveCreationTellsATakenNameFromAFailure) {
  TempDir dir;
  const ScopedUmask umask(022);
  WriteWholeFile(dir / "file", "old");
  fs::create_symlink(dir / "victim", dir / "link");
  fs::create_directory(dir / "folder");
  ZTKFile file;
  bool taken = false;

  for (const char* name : {"file", "link", "folder"}) {
    SCOPED_TRACE(name);
    taken = false;
    EXPECT_FALSE(file.XPCreateExclusive((dir / name).c_str(), 0600, taken));
    EXPECT_TRUE(taken);
  }
  taken = true;
  EXPECT_FALSE(file.XPCreateExclusive((dir / "missing/file").c_str(), 0600, taken));
  EXPECT_FALSE(taken);
  taken = true;
  EXPECT_FALSE(file.XPCreateExclusive(nullptr, 0600, taken));
  EXPECT_FALSE(taken);
  EXPECT_FALSE(file.IsOpen());

  EXPECT_TRUE(file.XPCreateExclusive((dir / "new").c_str(), 0600, taken));
  EXPECT_FALSE(taken);
  EXPECT_EQ(file.Write("x", 1), 1u);
  EXPECT_EQ(ModeOf(dir / "new"), static_cast<unsigned>(NewFilePermissions(0600) & ~022));
  EXPECT_FALSE(fs::exists(dir / "victim"));
  EXPECT_EQ(ReadWholeFile(dir / "file"), "old");
}

}  // namespace
