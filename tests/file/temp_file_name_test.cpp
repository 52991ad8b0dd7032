// The names that temporary files get, and the names of files that do not exist.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/file/temp_file_support.h"
#include "tests/support/failing_allocator.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file_name.h"
#include "ztk/file/file_system.h"
#include "ztk/file/temp_file.h"

namespace {

namespace fs = std::filesystem;

TEST(ZTKTempFile, NamesAreCountedInHexadecimal) {
  TempDir dir;
  for (unsigned n = 0; n < 20; ++n) {
    ZTKTempFile temp(Native(dir / "report.txt"));
    EXPECT_EQ(Host(temp.GetTempPath()), dir / ("report" + Counter(n)));
    temp.GetFile().Close();  // Left behind.
  }
  EXPECT_TRUE(fs::exists(dir / "report00a"));
  EXPECT_TRUE(fs::exists(dir / "report013"));
}

TEST(ZTKTempFile, AllNamesTaken) {
  TempDir dir;
  WriteWholeFile(dir / "report.txt", "old");
  for (unsigned n = 0; n < 1000; ++n) WriteWholeFile(dir / ("report" + Counter(n)), "");
  {
    ZTKTempFile temp(Native(dir / "report.txt"));
    EXPECT_FALSE(temp.GetFile().IsOpen());
    EXPECT_EQ(Host(temp.GetTempPath()), "");
    EXPECT_FALSE(temp.Open(Native(dir / "report.cfg")));  // The extension makes no difference.
    EXPECT_FALSE(temp.Commit());
    EXPECT_FALSE(temp.Discard());
  }
  EXPECT_EQ(ReadWholeFile(dir / "report.txt"), "old");
  EXPECT_EQ(CountNames(dir.Path()), 1001);

  fs::remove(dir / "report3e7");
  ZTKTempFile last(Native(dir / "report.txt"));
  EXPECT_EQ(Host(last.GetTempPath()), dir / "report3e7");
}

TEST(ZTKTempFile, NameIsMadeWithoutAFileWhenNoneIsWanted) {
  TempDir dir;
  const std::string prefix = dir / "report.txt";
  EXPECT_EQ(Host(ZTKFileName::XPCreateTempFileName(Native(prefix), nullptr)), dir / "report000");
  EXPECT_EQ(CountNames(dir.Path()), 0);

  WriteWholeFile(dir / "report000", "");
  ZTKFile open((dir / "open").c_str(), ZTKFile::write);
  EXPECT_EQ(Host(ZTKFileName::XPCreateTempFileName(Native(prefix), &open)), dir / "report001");
  EXPECT_FALSE(fs::exists(dir / "report001"));
  EXPECT_EQ(open.Write("x", 1), 1u);  // Still the file it was.

  for (unsigned n = 1; n < 1000; ++n) WriteWholeFile(dir / ("report" + Counter(n)), "");
  EXPECT_EQ(Host(ZTKFileName::XPCreateTempFileName(Native(prefix), nullptr)), "");
}

TEST(ZTKTempFile, NameWithoutAFolderGoesToTheTemporaryFolder) {
  TempDir dir;
  for (const char* end : {"", "/"}) {
    SCOPED_TRACE(end);
    const ScopedEnv tmp(TempFolderVariable(), (dir.Path().string() + end).c_str());
    ZTKFile file;
    EXPECT_EQ(Host(ZTKFileName::XPCreateTempFileName("name.ext", &file)), dir / "name000");
    EXPECT_TRUE(file.IsOpen());
    EXPECT_EQ(Host(ZTKFileName::XPCreateTempFileName("", nullptr)), dir / "000");
    file.Close();
    fs::remove(dir / "name000");
  }
}

// Names of files that do not exist.

class EmptyPath {
 public:
  explicit EmptyPath(const char* ext) : m_found(ZTKGetEmptyFilePath(&m_path, ext)) {}
  ~EmptyPath() { delete[] m_path; }
  EmptyPath(const EmptyPath&) = delete;
  EmptyPath& operator=(const EmptyPath&) = delete;

  bool Found() const { return m_found; }
  std::string Path() const { return m_path != nullptr ? HostPath(m_path) : "(null)"; }
  std::string Native() const { return m_path != nullptr ? m_path : "(null)"; }

 private:
  char* m_path = nullptr;
  bool m_found;
};

TEST(ZTKGetEmptyFilePath, CountsInDecimalAndCreatesNothing) {
  TempDir dir;
  const ScopedEnv tmp(TempFolderVariable(), dir.Path().string().c_str());
  EXPECT_EQ(EmptyPath("tmp").Path(), dir / "ztk0.tmp");
  EXPECT_EQ(CountNames(dir.Path()), 0);
  for (int n = 0; n < 11; ++n) WriteWholeFile(dir / ("ztk" + std::to_string(n) + ".tmp"), "");
  EXPECT_EQ(EmptyPath("tmp").Path(), dir / "ztk11.tmp");
  EXPECT_EQ(EmptyPath("other").Path(), dir / "ztk0.other");
}

TEST(ZTKGetEmptyFilePath, TakesEveryExtension) {
  TempDir dir;
  const ScopedEnv tmp(TempFolderVariable(), (dir.Path().string() + "/").c_str());
  EXPECT_EQ(EmptyPath(nullptr).Path(), dir / "ztk0.");
  EXPECT_EQ(EmptyPath("").Path(), dir / "ztk0.");
  EXPECT_EQ(EmptyPath("%s%n").Path(), dir / "ztk0.%s%n");
  const std::string longOne(1000, 'e');
  const std::string path = EmptyPath(longOne.c_str()).Native();
  EXPECT_EQ(HostPath(path.substr(0, path.size() - longOne.size())), dir / "ztk0.");
  EXPECT_EQ(path.substr(path.size() - longOne.size()), longOne);
}

TEST(ZTKGetEmptyFilePath, FailsWhenAllNamesAreTaken) {
  TempDir dir;
  const ScopedEnv tmp(TempFolderVariable(), dir.Path().string().c_str());
  for (int n = 0; n < 1000; ++n) WriteWholeFile(dir / ("ztk" + std::to_string(n) + ".tmp"), "");
  const EmptyPath path("tmp");
  EXPECT_FALSE(path.Found());
  EXPECT_EQ(path.Path(), "(null)");
  fs::remove(dir / "ztk999.tmp");
  EXPECT_EQ(EmptyPath("tmp").Path(), dir / "ztk999.tmp");
}

TEST(ZTKGetEmptyFilePath, FailsWithoutMemory) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the allocator is not ours";
  char* path = nullptr;
  const failing_allocator::Scope scope(0);
  EXPECT_FALSE(ZTKGetEmptyFilePath(&path, "tmp"));
  EXPECT_EQ(path, nullptr);
}

}  // namespace
