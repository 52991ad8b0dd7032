// Commits against those who have the target open, or may not change it.

#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <thread>

#include "tests/file/strict_mode.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file.h"
#include "ztk/file/file_system.h"
#include "ztk/file/temp_file.h"

namespace {

// Opens a file as another program would.
class Reader {
 public:
  Reader(const std::string& path, DWORD share)
      : m_handle(
            CreateFileA(path.c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, 0, nullptr)) {
    EXPECT_NE(m_handle, INVALID_HANDLE_VALUE);
  }
  ~Reader() { Close(); }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;
  void Close() {
    if (m_handle != INVALID_HANDLE_VALUE) CloseHandle(m_handle);
    m_handle = INVALID_HANDLE_VALUE;
  }

 private:
  HANDLE m_handle;
};

constexpr unsigned int kWays[] = {0, TEMP_ONE_STEP, TEMP_UNNAMED, TEMP_EXACT_PATH};

void Fill(ZTKTempFile& file, const char* text) {
  ASSERT_TRUE(file.GetFile().IsOpen());
  ASSERT_NE(file.GetFile().Write(text, static_cast<unsigned long>(std::strlen(text))), 0u);
}

long CountNames(const TempDir& dir) {
  return static_cast<long>(std::distance(std::filesystem::directory_iterator(dir.Path()),
                                         std::filesystem::directory_iterator()));
}

TEST(Win32Commit, ReplacesAndCreatesInEveryWay) {
  for (const bool strict : {false, true}) {
    for (const unsigned int way : kWays) {
      for (const bool closesFirst : {false, true}) {
        SCOPED_TRACE(testing::Message() << strict << ' ' << way << ' ' << closesFirst);
        const Strict mode(strict);
        TempDir dir;
        for (const char* const text : {"first", "second"}) {
          ZTKTempFile file((dir / "file.txt").c_str(), way);
          Fill(file, text);
          if (closesFirst) {
            EXPECT_TRUE(file.GetFile().Close());
          }
          EXPECT_TRUE(file.Commit());
          EXPECT_EQ(file.GetOutcome(), COMMIT_DONE);
          EXPECT_EQ(ReadWholeFile(dir / "file.txt"), text);
        }
        EXPECT_EQ(CountNames(dir), 1);
      }
    }
  }
}

TEST(Win32Commit, WaitsForAReaderThatIsGoneInAMoment) {
  for (const DWORD share : {DWORD{FILE_SHARE_READ}, DWORD{FILE_SHARE_READ | FILE_SHARE_DELETE}}) {
    for (const unsigned int way : kWays) {
      SCOPED_TRACE(testing::Message() << share << ' ' << way);
      TempDir dir;
      WriteWholeFile(dir / "file.txt", "old");
      ZTKTempFile file((dir / "file.txt").c_str(), way);
      Fill(file, "new");
      Reader reader(dir / "file.txt", share);
      std::thread closer([&] {
        Sleep(100);
        reader.Close();
      });
      EXPECT_TRUE(file.Commit());
      closer.join();
      EXPECT_EQ(ReadWholeFile(dir / "file.txt"), "new");
      EXPECT_EQ(CountNames(dir), 1);
    }
  }
}

TEST(Win32Commit, AReaderThatStaysKeepsTheOldVersion) {
  for (const unsigned int way : {TEMP_ONE_STEP, TEMP_EXACT_PATH}) {
    SCOPED_TRACE(way);
    TempDir dir;
    WriteWholeFile(dir / "file.txt", "old");
    {
      const Strict mode;
      ZTKTempFile file((dir / "file.txt").c_str(), way);
      Fill(file, "new");
      const Reader reader(dir / "file.txt", FILE_SHARE_READ);
      EXPECT_FALSE(file.Commit());
      EXPECT_EQ(file.GetOutcome(), COMMIT_FAILED);
    }
    EXPECT_EQ(ReadWholeFile(dir / "file.txt"), "old");
    EXPECT_EQ(CountNames(dir), 1);
  }
}

TEST(Win32Commit, AReadOnlyTargetStaysAsItIs) {
  for (const unsigned int way : kWays) {
    SCOPED_TRACE(way);
    TempDir dir;
    const std::string path = dir / "file.txt";
    WriteWholeFile(path, "old");
    ASSERT_NE(SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_READONLY), 0);
    ZTKTempFile file(path.c_str(), way);
    Fill(file, "new");
    EXPECT_FALSE(file.Commit());
    EXPECT_EQ(file.GetOutcome(), COMMIT_FAILED);
    EXPECT_EQ(ReadWholeFile(path), "old");
    EXPECT_NE(GetFileAttributesA(path.c_str()) & FILE_ATTRIBUTE_READONLY, 0u);
    EXPECT_TRUE(file.Discard());
    SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL);
  }
}

TEST(Win32Commit, AHiddenTargetStaysHidden) {
  TempDir dir;
  const std::string path = dir / "file.txt";
  WriteWholeFile(path, "old");
  ASSERT_NE(SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_HIDDEN), 0);
  ZTKTempFile file(path.c_str());
  Fill(file, "new");
  EXPECT_TRUE(file.Commit());
  EXPECT_EQ(ReadWholeFile(path), "new");
  EXPECT_NE(GetFileAttributesA(path.c_str()) & FILE_ATTRIBUTE_HIDDEN, 0u);
}

TEST(Win32Commit, AFileOfTwoNamesKeepsBothWhereThatIsAsked) {
  TempDir dir;
  WriteWholeFile(dir / "file.txt", "a longer old text");
  ASSERT_NE(CreateHardLinkA((dir / "other").c_str(), (dir / "file.txt").c_str(), nullptr), 0);
  ZTKTempFile file((dir / "file.txt").c_str(), TEMP_KEEP_IDENTITY);
  Fill(file, "new");
  EXPECT_TRUE(file.Commit());
  EXPECT_EQ(ReadWholeFile(dir / "file.txt"), "new");
  EXPECT_EQ(ReadWholeFile(dir / "other"), "new");
  EXPECT_EQ(CountNames(dir), 2);
}

TEST(Win32Commit, ADiscardedFileLeavesNothing) {
  TempDir dir;
  for (const unsigned int way : kWays) {
    ZTKTempFile file((dir / "file.txt").c_str(), way);
    Fill(file, "new");
    EXPECT_TRUE(file.Discard());
  }
  EXPECT_EQ(CountNames(dir), 0);
}

TEST(Win32Commit, FoldersAreRemovedEmptyAndNeverReplaced) {
  TempDir dir;
  ASSERT_TRUE(ZTKMkdir((dir / "folder").c_str(), 0777));
  WriteWholeFile(dir / "folder\\file", "x");
  WriteWholeFile(dir / "file", "y");
  EXPECT_FALSE(ZTKRemoveFile((dir / "folder").c_str()));
  EXPECT_FALSE(ZTKRenameFile((dir / "file").c_str(), (dir / "folder").c_str()));
  EXPECT_TRUE(ZTKRemoveFile((dir / "folder\\file").c_str()));
  EXPECT_TRUE(ZTKRemoveFile((dir / "folder").c_str()));
  EXPECT_FALSE(ZTKRemoveFile((dir / "folder").c_str()));
}

}  // namespace
