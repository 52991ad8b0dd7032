// Files whose dates a 32-bit number of seconds does not hold.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "tests/support/native_path.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file.h"
#include "ztk/file/file_system.h"
#include "ztk/file/file_watch.h"
#include "ztk/file/temp_file.h"

namespace {

constexpr long long k2040 = 2'208'988'800;

ZTKString Native(const std::string& path) { return ZTKString(NativePath(path)); }

// Sets the date of a file, in seconds since 1970. False where the file system cannot keep it.
bool SetDate(const std::string& path, long long nSeconds) {
  const timespec date = {static_cast<time_t>(nSeconds), 0};
  const timespec dates[] = {date, date};
  struct stat status {};
  return utimensat(AT_FDCWD, path.c_str(), dates, 0) == 0 && stat(path.c_str(), &status) == 0 &&
         status.st_mtim.tv_sec == date.tv_sec;
}

class FilesAfter2038 : public ::testing::Test {
 protected:
  void SetUp() override {
    static_assert(sizeof(time_t) == 8);
    WriteWholeFile(m_path, "content");
    if (!SetDate(m_path, k2040)) GTEST_SKIP() << "the file system keeps no such date";
  }

  const TempDir m_dir;
  const std::string m_path = m_dir / "2040";
};

TEST_F(FilesAfter2038, AreThere) {
  EXPECT_TRUE(ZTKFileExists(Native(m_path)));
  ASSERT_TRUE(SetDate(m_dir.Path().string(), k2040));
  EXPECT_TRUE(ZTKPathExists(Native(m_dir.Path().string())));
}

TEST_F(FilesAfter2038, AreOpenedAndCopied) {
  ZTKFile file;
  EXPECT_TRUE(file.XPOpen(Native(m_path).c_str(), ZTKFile::read, 0));
  EXPECT_TRUE(ZTKCopyFile(Native(m_path), Native(m_dir / "copy"), 1));
  EXPECT_EQ(ReadWholeFile(m_dir / "copy"), "content");
}

TEST_F(FilesAfter2038, AreReplacedByATemporaryFile) {
  ZTKTempFile temp(Native(m_path));
  ASSERT_EQ(temp.GetFile().Write("newer", 5), 5u);
  EXPECT_TRUE(temp.Commit());
  EXPECT_EQ(ReadWholeFile(m_path), "newer");
}

TEST_F(FilesAfter2038, AreWatched) {
  ZTKFileWatch watch(Native(m_path));
  EXPECT_FALSE(watch.Dispatch());
  ASSERT_TRUE(SetDate(m_path, k2040 + 1));
  EXPECT_TRUE(watch.Dispatch());
  EXPECT_FALSE(watch.Dispatch());
}

}  // namespace
