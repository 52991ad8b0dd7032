// Positions, reading and writing, and the functions that take a raw handle.

#include <gtest/gtest.h>

#include <string>

#include "tests/support/temp_dir.h"
#include "ztk/file/file.h"
#include "ztk/file/file_system.h"

namespace {

TEST(ZTKFile, SeeksFromEveryOrigin) {
  TempDir dir;
  WriteWholeFile(dir / "file", "0123456789");
  struct {
    long offset;
    int mode;
    long position;  // From 4.
  } const rows[] = {
      {3, ZTKFromStart, 3},
      {0, ZTKFromStart, 0},
      {30, ZTKFromStart, 30},
      {-2, ZTKFromStart, -1},
      {2, ZTKFromCurrent, 6},
      {-2, ZTKFromCurrent, 2},
      {-5, ZTKFromCurrent, -1},
      {0, ZTKFromEnd, 10},
      {-2, ZTKFromEnd, 8},
      {5, ZTKFromEnd, 15},
      {-11, ZTKFromEnd, -1},
      {-1, ZTKFromStart, -1},
      {-1, ZTKFromCurrent, -1},
      {-1, ZTKFromEnd, -1},
      {-1, 9, -1},
      {0, 9, -1},
      {0, -1, -1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.offset << " by " << row.mode);
    ZTKFile file((dir / "file").c_str(), ZTKFile::read);
    ASSERT_EQ(file.Seek(4, ZTKFromStart), 4);
    EXPECT_EQ(file.Seek(row.offset, static_cast<ZTKSeekMode>(row.mode)), row.position);
    EXPECT_EQ(file.Tell(), row.position == -1 ? 4 : row.position);
  }
}

TEST(ZTKFile, RawSeekTakesMinusOne) {
  TempDir dir;
  WriteWholeFile(dir / "file", "0123456789");
  ZTKFile file((dir / "file").c_str(), ZTKFile::read);
  EXPECT_EQ(ZTKSeek(file.GetHandle(), -1, 2), 9);
  EXPECT_EQ(ZTKSeek(file.GetHandle(), -1, 1), 8);
  EXPECT_EQ(ZTKSeek(file.GetHandle(), -1, 0), -1);
}

TEST(ZTKFile, LengthKeepsThePosition) {
  TempDir dir;
  for (const char* content : {"", "x", "0123456789"}) {
    SCOPED_TRACE(content);
    const std::string text(content);
    WriteWholeFile(dir / "file", text);
    ZTKFile file((dir / "file").c_str(), ZTKFile::read_write);
    file.Seek(static_cast<long>(text.size()) / 2, ZTKFromStart);
    EXPECT_EQ(file.Length(), static_cast<long>(text.size()));
    EXPECT_EQ(file.Tell(), static_cast<long>(text.size()) / 2);
  }
}

TEST(ZTKFile, LengthCountsWhatIsStillBuffered) {
  TempDir dir;
  ZTKFile file((dir / "file").c_str(), ZTKFile::write);
  file.Write("12345", 5);
  EXPECT_EQ(file.Length(), 5);
  EXPECT_EQ(file.Tell(), 5);
}

TEST(ZTKFile, MeetsTheEndOnlyByReadingPastIt) {
  TempDir dir;
  WriteWholeFile(dir / "file", "ab");
  ZTKFile file((dir / "file").c_str(), ZTKFile::read);
  char two[2];
  EXPECT_FALSE(file.XPEof());
  EXPECT_EQ(file.Read(two, 2), 2u);
  EXPECT_FALSE(file.XPEof());
  EXPECT_EQ(file.Read(two, 1), 0u);
  EXPECT_TRUE(file.XPEof());
  EXPECT_NE(ZTKEof(file.GetHandle()), 0);
  EXPECT_EQ(file.Seek(0, ZTKFromStart), 0);
  EXPECT_FALSE(file.XPEof());
  EXPECT_FALSE(file.HasReadError());
}

TEST(ZTKFile, ReadsAndWritesMayAlternateWithoutASeek) {
  TempDir dir;
  WriteWholeFile(dir / "file", "aaaaabbbbbcccccddddd");
  ZTKFile file((dir / "file").c_str(), ZTKFile::read_write);
  char five[5];

  EXPECT_EQ(file.Write("11111", 5), 5u);
  EXPECT_EQ(file.Read(five, 5), 5u);
  EXPECT_EQ(std::string(five, 5), "bbbbb");
  EXPECT_EQ(file.Write("33333", 5), 5u);
  EXPECT_EQ(file.Read(five, 5), 5u);
  EXPECT_EQ(std::string(five, 5), "ddddd");
  EXPECT_EQ(file.Write("55555", 5), 5u);
  EXPECT_TRUE(file.Close());

  EXPECT_EQ(ReadWholeFile(dir / "file"), "11111bbbbb33333ddddd55555");
}

TEST(ZTKFile, RawFunctionsWorkOnTheHandle) {
  TempDir dir;
  ZTKFile file;
  ASSERT_TRUE(file.XPCreate((dir / "file").c_str(), true, 0666));
  const ZTKFileHandle h = file.GetHandle();
  char four[5] = {};

  EXPECT_EQ(ZTKWrite(h, "text", 4), 4u);
  EXPECT_EQ(ZTKTell(h), 4);
  EXPECT_EQ(ZTKFsync(h), 0);
  EXPECT_EQ(ReadWholeFile(dir / "file"), "text");
  EXPECT_EQ(ZTKSeek(h, 0, 0), 0);
  EXPECT_EQ(ZTKRead(h, four, 4), 4u);
  EXPECT_STREQ(four, "text");
  EXPECT_EQ(ZTKRead(h, four, 0), 0u);
  EXPECT_EQ(ZTKRead(h, nullptr, 0), 0u);
  EXPECT_EQ(ZTKWrite(h, nullptr, 0), 0u);
}

TEST(ZTKFile, RawFunctionsTakeNoFile) {
  char byte = 'x';
  EXPECT_EQ(ZTKClose(0), 0);
  EXPECT_EQ(ZTKEof(0), 1);
  EXPECT_EQ(ZTKFsync(0), 0);
  EXPECT_EQ(ZTKTell(0), -1);
  EXPECT_EQ(ZTKSeek(0, 0, 0), -1);
  EXPECT_EQ(ZTKTell64(0), -1);
  EXPECT_EQ(ZTKSeek64(0, 0, 0), -1);
  EXPECT_EQ(ZTKWrite(0, &byte, 1), 0u);
  EXPECT_EQ(ZTKRead(0, &byte, 1), 0u);
}

}  // namespace
