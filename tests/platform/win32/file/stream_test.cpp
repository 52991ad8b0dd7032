// Streams over handles: bytes as they are, sharing, and reads and writes by turns.

#include <gtest/gtest.h>
#include <windows.h>

#include <random>
#include <string>

#include "tests/support/temp_dir.h"
#include "ztk/file/file.h"
#include "ztk/file/file_system.h"

namespace {

std::string Read(ZTKFile& file, unsigned long count) {
  std::string text(count, '?');
  text.resize(file.Read(text.data(), count));
  return text;
}

unsigned long Write(ZTKFile& file, const std::string& text) {
  return file.Write(text.data(), static_cast<unsigned long>(text.size()));
}

HANDLE RawHandle(const ZTKFile& file) {  // The first thing that a stream holds.
  return *reinterpret_cast<HANDLE*>(file.GetHandle());
}

const std::string kBytes(
    "a\nb\r\nc\x1A"
    "d\0e\xFF\n",
    13);

TEST(Win32Stream, EveryModeIsBinary) {
  TempDir dir;
  const std::string path = dir / "file";
  ZTKFile file;
  ASSERT_TRUE(file.XPCreate(path.c_str(), true, 0666));
  EXPECT_EQ(Write(file, kBytes), kBytes.size());
  EXPECT_EQ(file.Seek(0, ZTKFromStart), 0);
  EXPECT_EQ(Read(file, 100), kBytes);
  EXPECT_EQ(file.Length(), static_cast<long>(kBytes.size()));
  EXPECT_TRUE(file.Close());
  EXPECT_EQ(ReadWholeFile(path), kBytes);
  ASSERT_TRUE(ZTKCopyFile(path.c_str(), (dir / "copy").c_str(), 0));
  EXPECT_EQ(ReadWholeFile(dir / "copy"), kBytes);
  ZTKFile more((dir / "copy").c_str(), ZTKFile::append);
  EXPECT_EQ(more.Tell(), static_cast<long>(kBytes.size()));
  EXPECT_EQ(Write(more, kBytes), kBytes.size());
  EXPECT_EQ(more.Tell(), static_cast<long>(2 * kBytes.size()));
  EXPECT_TRUE(more.Close());
  EXPECT_EQ(ReadWholeFile(dir / "copy"), kBytes + kBytes);
}

TEST(Win32Stream, OthersMayReadRenameAndDeleteWhatIsOpen) {
  TempDir dir;
  ZTKFile file((dir / "file").c_str(), ZTKFile::write);
  ASSERT_TRUE(file.IsOpen());
  EXPECT_EQ(Write(file, "text"), 4u);
  EXPECT_TRUE(file.Flush());
  EXPECT_EQ(ReadWholeFile(dir / "file"), "text");
  EXPECT_TRUE(ZTKRenameFile((dir / "file").c_str(), (dir / "other").c_str()));
  EXPECT_EQ(Write(file, "more"), 4u);
  EXPECT_TRUE(file.Flush());
  EXPECT_EQ(ReadWholeFile(dir / "other"), "textmore");
  EXPECT_TRUE(ZTKRemoveFile((dir / "other").c_str()));
  EXPECT_FALSE(ZTKFileExists((dir / "other").c_str()));
  WriteWholeFile(dir / "other", "new");  // Its name is free at once.
  EXPECT_EQ(ReadWholeFile(dir / "other"), "new");
}

TEST(Win32Stream, IsNotInherited) {
  TempDir dir;
  const ZTKFile file((dir / "file").c_str(), ZTKFile::write);
  DWORD flags = HANDLE_FLAG_INHERIT;
  ASSERT_NE(GetHandleInformation(RawHandle(file), &flags), 0);
  EXPECT_EQ(flags & HANDLE_FLAG_INHERIT, 0u);
}

TEST(Win32Stream, AHiddenFileIsEmptiedAndStaysHidden) {
  TempDir dir;
  const std::string path = dir / "file";
  WriteWholeFile(path, "old content");
  ASSERT_NE(SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM), 0);
  ZTKFile file(path.c_str(), ZTKFile::write);
  ASSERT_TRUE(file.IsOpen());
  EXPECT_EQ(Write(file, "new"), 3u);
  EXPECT_TRUE(file.Close());
  EXPECT_EQ(ReadWholeFile(path), "new");
  EXPECT_NE(GetFileAttributesA(path.c_str()) & FILE_ATTRIBUTE_HIDDEN, 0u);
}

TEST(Win32Stream, ExclusiveCreationTellsWhatIsTaken) {
  TempDir dir;
  WriteWholeFile(dir / "file", "old");
  ASSERT_TRUE(ZTKMkdir((dir / "folder").c_str(), 0777));
  ZTKFile file;
  bool taken = false;
  EXPECT_FALSE(file.XPCreateExclusive((dir / "file").c_str(), 0600, taken));
  EXPECT_TRUE(taken);
  EXPECT_FALSE(file.XPCreateExclusive((dir / "folder").c_str(), 0600, taken));
  EXPECT_TRUE(taken);
  for (const char* const name : {"nul.txt", "x.", "x ", "file:stream", "missing\\x", "con"}) {
    SCOPED_TRACE(name);
    EXPECT_FALSE(file.XPCreateExclusive((dir / name).c_str(), 0600, taken));
    EXPECT_FALSE(taken);
  }
  EXPECT_FALSE(file.XPCreateExclusive("NUL", 0600, taken));
  EXPECT_FALSE(taken);
  EXPECT_EQ(ReadWholeFile(dir / "file"), "old");
  EXPECT_TRUE(file.XPCreateExclusive((dir / "x").c_str(), 0600, taken));
}

TEST(Win32Stream, AFileWithoutWriteBitsIsReadOnlyForOthers) {
  TempDir dir;
  const std::string path = dir / "file";
  ZTKFile file;
  ASSERT_TRUE(file.XPOpen(path.c_str(), ZTKFile::write, 0444));
  EXPECT_EQ(Write(file, "text"), 4u);
  EXPECT_TRUE(file.Close());
  EXPECT_NE(GetFileAttributesA(path.c_str()) & FILE_ATTRIBUTE_READONLY, 0u);
  EXPECT_FALSE(ZTKRemoveFile(path.c_str()));
  EXPECT_EQ(ReadWholeFile(path), "text");
  SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST(Win32Stream, AReadOnlyStreamTakesNoWrites) {
  TempDir dir;
  WriteWholeFile(dir / "file", "text");
  ZTKFile file((dir / "file").c_str(), ZTKFile::read);
  EXPECT_EQ(Read(file, 2), "te");
  EXPECT_EQ(Write(file, "X"), 0u);
  EXPECT_FALSE(file.HasLostData());
  EXPECT_EQ(Read(file, 9), "xt");
  EXPECT_TRUE(file.XPEof());
  EXPECT_TRUE(file.XPSync());
  EXPECT_TRUE(file.Close());
  EXPECT_EQ(ReadWholeFile(dir / "file"), "text");
}

TEST(Win32Stream, TheDeviceThatForgetsTakesEverything) {
  ZTKFile file("NUL", ZTKFile::write);
  ASSERT_TRUE(file.IsOpen());
  EXPECT_EQ(Write(file, "text"), 4u);
  EXPECT_EQ(file.Tell(), -1);
  EXPECT_EQ(file.Length(), -1);
  EXPECT_TRUE(file.XPSync());
  EXPECT_TRUE(file.Close());
}

// Against a text and a position: every size around the buffer's, in any order.
TEST(Win32Stream, ReadsWritesAndSeeksByTurnsDoWhatATextWould) {
  TempDir dir;
  std::mt19937 random(12);
  const auto below = [&](unsigned int n) { return static_cast<unsigned long>(random() % n); };
  const unsigned long sizes[] = {0, 1, 7, 8191, 8192, 8193, 20000};
  for (int round = 0; round < 20; ++round) {
    SCOPED_TRACE(round);
    ZTKFile file;
    ASSERT_TRUE(file.XPCreate((dir / "file").c_str(), true, 0666));
    std::string model;
    size_t at = 0;
    bool isAtEnd = false;  // Until a seek or a write.
    for (int step = 0; step < 60; ++step) {
      const unsigned long size = sizes[below(7)] + below(3);
      switch (below(4)) {
        case 0: {
          const std::string text(size, static_cast<char>('a' + below(26)));
          ASSERT_EQ(Write(file, text), size);
          if (size == 0) break;
          if (model.size() < at + size) model.resize(at + size, '\0');
          model.replace(at, size, text);
          at += size;
          isAtEnd = false;
          break;
        }
        case 1: {
          const std::string expected = at < model.size() ? model.substr(at, size) : "";
          ASSERT_EQ(Read(file, size), expected);
          if (expected.size() < size) isAtEnd = true;
          ASSERT_EQ(file.XPEof(), isAtEnd);
          at += expected.size();
          break;
        }
        case 2:
          at = below(static_cast<unsigned int>(model.size()) + 2);
          ASSERT_EQ(file.Seek(static_cast<long>(at), ZTKFromStart), static_cast<long>(at));
          isAtEnd = false;
          break;
        default:
          ASSERT_EQ(file.Length(), static_cast<long>(model.size()));
          isAtEnd = false;
          ASSERT_EQ(file.Seek(-static_cast<long>(at) - 2, ZTKFromCurrent), -1);
          if (below(2) == 0) {
            ASSERT_TRUE(file.Flush());
          }
          break;
      }
      ASSERT_EQ(file.Tell(), static_cast<long>(at));
    }
    EXPECT_TRUE(file.Close());
    EXPECT_EQ(ReadWholeFile(dir / "file"), model);
  }
}

}  // namespace
