#include "ztk/file/file.h"

#include <gtest/gtest.h>

#include <climits>
#include <filesystem>
#include <string>
#include <type_traits>

#include "tests/support/failing_allocator.h"
#include "tests/support/temp_dir.h"

namespace {

namespace fs = std::filesystem;

static_assert(!std::is_copy_constructible_v<ZTKFile> && !std::is_copy_assignable_v<ZTKFile>);
static_assert(sizeof(ZTKFileHandle) == sizeof(void*));
static_assert(ZTKFromStart == 0 && ZTKFromCurrent == 1 && ZTKFromEnd == 2);
static_assert(sizeof(ZTKSeekMode) == 4 && sizeof(ZTKFile::OpenMode) == 4);

std::string ReadAll(ZTKFile& file) {
  std::string text(100, '\0');
  text.resize(file.Read(text.data(), text.size()));
  return text;
}

TEST(ZTKFile, WithoutAFileTransfersNothingAndClosesWell) {
  ZTKFile file;
  char byte = 'x';

  EXPECT_FALSE(file.IsOpen());
  EXPECT_FALSE(file.HasError());
  EXPECT_FALSE(file.HasReadError());
  EXPECT_EQ(file.Read(&byte, 1), 0u);
  EXPECT_EQ(file.Write(&byte, 1), 0u);
  EXPECT_EQ(byte, 'x');
  EXPECT_FALSE(file.HasError());
  EXPECT_EQ(file.Tell(), -1);
  EXPECT_EQ(file.Seek(0, ZTKFromStart), -1);
  EXPECT_EQ(file.Length(), -1);
  EXPECT_TRUE(file.XPEof());
  EXPECT_TRUE(file.Flush());
  EXPECT_TRUE(file.XPSync());
  EXPECT_EQ(file.GetHandle(), 0);
  EXPECT_TRUE(file.Close());
}

TEST(ZTKFile, OpensByTheTableOfModes) {
  struct {
    ZTKFile::OpenMode mode;
    bool opensMissing;
    bool reads;
    bool writes;
    const char* after;  // "old" after one 'n' was written.
  } const rows[] = {
      {ZTKFile::read, false, true, false, "old"},      {ZTKFile::write, true, false, true, "n"},
      {ZTKFile::read_write, false, true, true, "nld"}, {ZTKFile::append, true, false, true, "oldn"},
      {ZTKFile::write_new, true, false, true, "n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.mode);
    TempDir dir;
    const std::string path = dir / "file";

    ZTKFile missing(path.c_str(), row.mode);
    EXPECT_EQ(missing.IsOpen(), row.opensMissing);
    missing.Close();
    EXPECT_EQ(fs::exists(path), row.opensMissing);

    WriteWholeFile(path, "old");
    ZTKFile file(path.c_str(), row.mode);
    ASSERT_TRUE(file.IsOpen());
    EXPECT_EQ(ReadAll(file), row.reads ? "old" : "");
    file.Seek(0, ZTKFromStart);
    EXPECT_EQ(file.Write("n", 1), row.writes ? 1u : 0u);
    file.Close();
    EXPECT_EQ(ReadWholeFile(path), row.after);
  }
}

TEST(ZTKFile, AppendBeginsAtTheEnd) {
  TempDir dir;
  for (int opening = 0; opening < 3; ++opening) {
    ZTKFile file((dir / "log").c_str(), ZTKFile::append);
    EXPECT_EQ(file.Tell(), opening == 0 ? 0 : 6 + opening);
    EXPECT_EQ(ZTKTell(file.GetHandle()), file.Tell());
    EXPECT_EQ(file.Length(), file.Tell());
    if (file.Tell() == 0) file.Write("header", 6);
    file.Write("+", 1);
  }
  EXPECT_EQ(ReadWholeFile(dir / "log"), "header+++");
}

TEST(ZTKFile, AnOpenWithoutMemoryLeavesNoFileThatItMade) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the allocator is not ours";
  for (const bool exclusive : {false, true}) {
    bool failed = true;
    for (long before = 0; failed; ++before) {
      SCOPED_TRACE(testing::Message() << before << exclusive);
      ASSERT_LT(before, 100);
      TempDir dir;
      const std::string path = dir / "file";
      bool opened;
      {
        const failing_allocator::Scope memory(before, 1);
        ZTKFile file;
        bool taken = false;
        opened = exclusive ? file.XPCreateExclusive(path.c_str(), 0600, taken)
                           : file.XPCreate(path.c_str(), false, 0600);
        EXPECT_FALSE(taken);
        failed = memory.Failed();
      }
      EXPECT_TRUE(opened || failed);
      EXPECT_EQ(fs::exists(path), opened);
    }
  }
}

TEST(ZTKFile, RefusesModesOutsideTheTable) {
  TempDir dir;
  WriteWholeFile(dir / "file", "old");
  for (const int mode : {-1, 5, 7, INT_MAX}) {
    SCOPED_TRACE(mode);
    ZTKFile file;
    EXPECT_FALSE(file.XPOpen((dir / "file").c_str(), static_cast<ZTKFile::OpenMode>(mode), 0666));
    EXPECT_FALSE(file.IsOpen());
  }
  EXPECT_EQ(ReadWholeFile(dir / "file"), "old");
}

TEST(ZTKFile, RefusesPathsThatCannotBeOpened) {
  TempDir dir;
  WriteWholeFile(dir / "plain", "");
  const std::string paths[] = {"",
                               dir / "missing/file",
                               dir / "plain/file",
                               dir.Path().string(),
                               dir / std::string(300, 'n'),
                               std::string(5000, 'p')};
  for (const std::string& path : paths) {
    SCOPED_TRACE(path);
    EXPECT_FALSE(ZTKFile(path.c_str(), ZTKFile::write).IsOpen());
  }
  ZTKFile file;
  EXPECT_FALSE(file.XPOpen(nullptr, ZTKFile::write, 0666));
  EXPECT_FALSE(file.XPCreate(nullptr, true, 0666));
}

TEST(ZTKFile, FailedOpenKeepsTheOpenFile) {
  TempDir dir;
  ZTKFile file((dir / "first").c_str(), ZTKFile::write);
  ASSERT_EQ(file.Write("a", 1), 1u);

  EXPECT_FALSE(file.XPOpen((dir / "missing").c_str(), ZTKFile::read, 0666));
  EXPECT_FALSE(file.XPOpen((dir / "first").c_str(), static_cast<ZTKFile::OpenMode>(7), 0666));
  EXPECT_FALSE(file.XPCreate((dir / "missing/file").c_str(), true, 0666));
  EXPECT_FALSE(file.XPCreate((dir / "first").c_str(), false, 0666));

  EXPECT_EQ(file.Write("b", 1), 1u);
  EXPECT_TRUE(file.Close());
  EXPECT_EQ(ReadWholeFile(dir / "first"), "ab");
}

TEST(ZTKFile, CreateRefusesAFileThatExistsUnlessToldToOverwrite) {
  TempDir dir;
  WriteWholeFile(dir / "file", "old");
  ZTKFile file;

  EXPECT_FALSE(file.XPCreate((dir / "file").c_str(), false, 0666));
  EXPECT_FALSE(file.IsOpen());
  EXPECT_EQ(ReadWholeFile(dir / "file"), "old");

  EXPECT_TRUE(file.XPCreate((dir / "file").c_str(), true, 0666));
  EXPECT_EQ(file.Length(), 0);
  EXPECT_TRUE(file.XPCreate((dir / "new").c_str(), false, 0666));
  EXPECT_TRUE(fs::exists(dir / "new"));
}

TEST(ZTKFile, CreatedFileCanBeReadBack) {
  TempDir dir;
  for (const bool overwrite : {false, true}) {
    SCOPED_TRACE(overwrite);
    ZTKFile file;
    ASSERT_TRUE(file.XPCreate((dir / (overwrite ? "a" : "b")).c_str(), overwrite, 0666));
    EXPECT_EQ(file.Write("text", 4), 4u);
    EXPECT_EQ(file.Seek(0, ZTKFromStart), 0);
    EXPECT_EQ(ReadAll(file), "text");
  }
}

}  // namespace
