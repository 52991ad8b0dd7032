// What a file tells of a transfer that failed, in strict mode and without.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/file/strict_mode.h"
#include "tests/support/scoped_process.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file.h"

namespace {

namespace fs = std::filesystem;

TEST(ZTKFile, FailedReadIsToldFromTheEndOfTheFile) {
  TempDir dir;
  char byte;
  ZTKFile folder(dir.Path().c_str(), ZTKFile::read);
  ASSERT_TRUE(folder.IsOpen());  // A folder opens; reading it does not work.
  EXPECT_FALSE(folder.HasReadError());
  EXPECT_EQ(folder.Read(&byte, 1), 0u);
  EXPECT_TRUE(folder.HasReadError());
  EXPECT_FALSE(folder.XPEof());
  EXPECT_FALSE(folder.HasError());

  ZTKFile memory("/proc/self/mem", ZTKFile::read);  // Nothing is mapped at address 0.
  ASSERT_TRUE(memory.IsOpen());
  EXPECT_EQ(memory.Read(&byte, 1), 0u);
  EXPECT_TRUE(memory.HasReadError());
}

// A full disk: what the device takes, it loses.

TEST(ZTKFile, ShortWriteIsToldByItsCountAlone) {
  const std::string block(100000, 'x');
  ZTKFile file;
  ASSERT_TRUE(file.XPOpen("/dev/full", ZTKFile::write, 0666));
  EXPECT_LT(file.Write(block.data(), block.size()), block.size());
  EXPECT_FALSE(file.HasError());
}

TEST(ZTKFile, FlushAndCloseTellWhatTheyCouldNotWrite) {
  ZTKFile file;
  ASSERT_TRUE(file.XPOpen("/dev/full", ZTKFile::write, 0666));
  EXPECT_EQ(file.Write("x", 1), 1u);  // Buffered.
  EXPECT_FALSE(file.Flush());
  EXPECT_FALSE(file.HasError());
  file.Close();

  ASSERT_TRUE(file.XPOpen("/dev/full", ZTKFile::write, 0666));
  EXPECT_EQ(file.Write("x", 1), 1u);
  EXPECT_FALSE(file.XPSync());
  file.Close();

  ASSERT_TRUE(file.XPOpen("/dev/full", ZTKFile::write, 0666));
  EXPECT_EQ(file.Write("x", 1), 1u);
  EXPECT_FALSE(file.Close());
  EXPECT_FALSE(file.IsOpen());
  EXPECT_FALSE(file.HasError());
}

TEST(ZTKFile, StrictShortWriteIsRememberedUntilTheClose) {
  const Strict strict;
  const std::string block(100000, 'x');
  ZTKFile file;
  ASSERT_TRUE(file.XPOpen("/dev/full", ZTKFile::write, 0666));
  EXPECT_LT(file.Write(block.data(), block.size()), block.size());
  EXPECT_TRUE(file.HasError());
  EXPECT_FALSE(file.Close());
  EXPECT_FALSE(file.IsOpen());
  EXPECT_TRUE(file.HasError());  // Also for who looks later.

  TempDir dir;
  ASSERT_TRUE(file.XPOpen((dir / "file").c_str(), ZTKFile::write, 0666));
  EXPECT_FALSE(file.HasError());
  EXPECT_EQ(file.Write("x", 1), 1u);
  EXPECT_TRUE(file.Close());
}

TEST(ZTKFile, StrictFailedFlushAndFailedCloseAreErrors) {
  const Strict strict;
  ZTKFile file;
  ASSERT_TRUE(file.XPOpen("/dev/full", ZTKFile::write, 0666));
  file.Write("x", 1);
  EXPECT_FALSE(file.HasError());
  EXPECT_FALSE(file.Flush());
  EXPECT_TRUE(file.HasError());
  EXPECT_FALSE(file.Close());

  ASSERT_TRUE(file.XPOpen("/dev/full", ZTKFile::write, 0666));
  file.Write("x", 1);
  EXPECT_FALSE(file.Close());
  EXPECT_TRUE(file.HasError());
}

TEST(ZTKFile, StrictCloseTellsWhatASeekOrAReadLost) {
  ZTKFile file;
  char byte;
  for (const bool strict : {false, true}) {
    for (const char* how : {"seek", "length", "read"}) {
      SCOPED_TRACE(testing::Message() << how << strict);
      ZTKFile::ms_strict = strict;
      ASSERT_TRUE(file.XPOpen("/dev/full", ZTKFile::read_write, 0666));
      EXPECT_EQ(file.Write("x", 1), 1u);
      if (*how == 's') {
        EXPECT_EQ(file.Seek(0, ZTKFromStart), -1);
      } else if (*how == 'l') {
        EXPECT_EQ(file.Length(), -1);
      } else {
        file.Read(&byte, 1);
      }
      EXPECT_EQ(file.Close(), !strict);
      EXPECT_EQ(file.HasError(), strict);
    }
  }
  ZTKFile::ms_strict = false;
}

TEST(ZTKFile, StrictReadErrorIsNoLostData) {
  const Strict strict;
  TempDir dir;
  char byte;
  ZTKFile folder(dir.Path().c_str(), ZTKFile::read);
  EXPECT_EQ(folder.Read(&byte, 1), 0u);
  EXPECT_TRUE(folder.HasReadError());
  EXPECT_TRUE(folder.Close());
}

TEST(ZTKFile, StrictReadErrorOfAFileThatCanBeWrittenIsNoLostData) {
  TempDir dir;
  WriteWholeFile(dir / "file", "old");
  struct {
    std::string path;
    ZTKFile::OpenMode mode;
  } const rows[] = {{dir / "file", ZTKFile::append},
                    {dir / "file", ZTKFile::write},
                    {"/proc/self/mem", ZTKFile::read_write}};  // Nothing is mapped at address 0.
  for (const auto& row : rows) {
    for (const bool raw : {false, true}) {
      SCOPED_TRACE(testing::Message() << row.mode << raw);
      const Strict strict;
      char byte;
      ZTKFile file(row.path.c_str(), row.mode);
      ASSERT_TRUE(file.IsOpen());
      if (raw) {
        EXPECT_EQ(ZTKRead(file.GetHandle(), &byte, 1), 0u);
      } else {
        EXPECT_EQ(file.Read(&byte, 1), 0u);
        EXPECT_TRUE(file.HasReadError());
      }
      EXPECT_FALSE(file.HasLostData());
      EXPECT_TRUE(file.Close());
      EXPECT_FALSE(file.HasError());
    }
  }
}

TEST(ZTKFile, AFailedReadDoesNotHideWhatWasLostBefore) {
  const Strict strict;
  char byte;
  ZTKFile file;
  ASSERT_TRUE(file.XPOpen("/dev/full", ZTKFile::write, 0666));
  EXPECT_EQ(file.Write("x", 1), 1u);
  EXPECT_FALSE(ZTKFsync(file.GetHandle()) == 0);
  EXPECT_EQ(file.Read(&byte, 1), 0u);
  EXPECT_TRUE(file.HasReadError());
  EXPECT_TRUE(file.HasLostData());
  EXPECT_FALSE(file.Close());
}

TEST(ZTKFile, AFailedReadIsForgottenWithTheNextFile) {
  TempDir dir;
  char byte;
  ZTKFile file((dir / "file").c_str(), ZTKFile::write);
  EXPECT_EQ(file.Read(&byte, 1), 0u);
  EXPECT_TRUE(file.HasReadError());
  ASSERT_TRUE(file.XPOpen((dir / "file").c_str(), ZTKFile::read, 0666));
  EXPECT_FALSE(file.HasReadError());
}

TEST(ZTKFile, StrictWriteToAFileOpenedForReadingIsAnError) {
  const Strict strict;
  TempDir dir;
  WriteWholeFile(dir / "file", "old");
  ZTKFile file((dir / "file").c_str(), ZTKFile::read);
  EXPECT_EQ(file.Write("x", 1), 0u);
  EXPECT_TRUE(file.HasError());
}

TEST(ZTKFile, WritesUpToALimitAreCounted) {
  TempDir dir;
  const ScopedFileSizeLimit limit(20000);
  const std::string block(65536, 'x');
  ZTKFile file((dir / "file").c_str(), ZTKFile::write);
  EXPECT_EQ(file.Write(block.data(), block.size()), 20000u);
  file.Close();
  EXPECT_EQ(fs::file_size(dir / "file"), 20000u);
}

}  // namespace
