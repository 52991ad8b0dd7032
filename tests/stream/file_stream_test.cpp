#include "ztk/stream/file_stream.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <filesystem>
#include <string>

#include "tests/stream/test_streams.h"
#include "tests/support/temp_dir.h"

namespace {

TEST(ZTKFileInputStream, ReadsAFileToItsEnd) {
  TempDir dir;
  WriteWholeFile(dir / "a", Pattern(5000));
  ZTKFileInputStream stream((dir / "a").c_str());
  ASSERT_TRUE(stream.IsOpen());
  EXPECT_EQ(stream.GetSize(), 5000u);
  EXPECT_EQ(ReadSome(stream, 10), Pattern(5000).substr(0, 10));
  EXPECT_EQ(stream.TellI(), 10);
  EXPECT_EQ(ReadSome(stream, 6000), Pattern(5000).substr(10));
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_EOF);
  EXPECT_TRUE(stream.Eof());
}

TEST(ZTKFileInputStream, SeeksAndReadsOn) {
  TempDir dir;
  WriteWholeFile(dir / "a", "0123456789");
  ZTKFile file((dir / "a").c_str(), ZTKFile::read);
  ZTKFileInputStream stream(file);
  ReadSome(stream, 20);
  EXPECT_EQ(stream.SeekI(-1, ZTKFromCurrent), 9);  // Which the file itself would refuse.
  EXPECT_EQ(ReadSome(stream, 5), "9");
  EXPECT_EQ(stream.SeekI(-1, ZTKFromEnd), 9);
  EXPECT_EQ(stream.SeekI(4, ZTKFromStart), 4);
  EXPECT_EQ(ReadSome(stream, 2), "45");
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_NO_ERROR);
  EXPECT_EQ(stream.SeekI(-5, ZTKFromStart), -1);
  EXPECT_EQ(stream.SeekI(-7, ZTKFromCurrent), -1);
  EXPECT_EQ(stream.SeekI(LONG_MIN, ZTKFromEnd), -1);
  EXPECT_EQ(stream.SeekI(LONG_MAX, ZTKFromCurrent), -1);
  EXPECT_EQ(stream.SeekI(0, ZTKSeekMode(3)), -1);
  EXPECT_EQ(ReadSome(stream, 2), "67");
}

TEST(ZTKFileInputStream, GivesReadAheadBackWhenBuffered) {
  TempDir dir;
  WriteWholeFile(dir / "a", Pattern(100));
  ZTKFileInputStream stream((dir / "a").c_str());
  {
    ZTKBufferedInputStream reader(stream, nullptr);
    EXPECT_EQ(ReadSome(reader, 99), Pattern(100).substr(0, 99));  // One byte goes back.
  }
  EXPECT_EQ(ReadSome(stream, 5), Pattern(100).substr(99));
}

TEST(ZTKFileInputStream, MissingFileAndDirectoryAreReadErrors) {
  TempDir dir;
  for (const std::string& path : {dir / "missing", dir.Path().string()}) {
    SCOPED_TRACE(path);
    ZTKFileInputStream stream(path.c_str());
    EXPECT_EQ(ReadSome(stream, 5), "");
    EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_READ_ERROR);
    EXPECT_EQ(stream.Peek(), '\0');
  }
  ZTKFileInputStream missing((dir / "missing").c_str());
  EXPECT_FALSE(missing.IsOpen());
  EXPECT_EQ(missing.GetSize(), 0u);
  EXPECT_EQ(missing.TellI(), -1);
  EXPECT_EQ(missing.SeekI(0, ZTKFromCurrent), -1);
}

TEST(ZTKFileOutputStream, WritesAFile) {
  TempDir dir;
  WriteWholeFile(dir / "a", "old content");
  {
    ZTKFileOutputStream stream((dir / "a").c_str());
    ASSERT_TRUE(stream.IsOpen());
    stream.Write("abcdef", 6);
    EXPECT_EQ(stream.LastWrite(), 6u);
    EXPECT_EQ(stream.TellO(), 6);
    EXPECT_EQ(stream.GetSize(), 6u);
    EXPECT_EQ(stream.SeekO(-1, ZTKFromCurrent), 5);
    stream.PutC('X');
    stream.Sync();
    EXPECT_EQ(ReadWholeFile(dir / "a"), "abcdeX");
    EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_NO_ERROR);
    stream.Write("tail", 4);
  }
  EXPECT_EQ(ReadWholeFile(dir / "a"), "abcdeXtail");
}

TEST(ZTKFileOutputStream, FileThatIsNotOpenIsAWriteError) {
  TempDir dir;
  ZTKFileOutputStream stream((dir / "no/folder").c_str());
  EXPECT_FALSE(stream.IsOpen());
  stream.Write("abc", 3);
  EXPECT_EQ(stream.LastWrite(), 0u);
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_WRITE_ERROR);
}

TEST(ZTKFileOutputStream, FullDiskShowsInTheError) {
  ZTKFile file("/dev/full", ZTKFile::write);
  if (!file.IsOpen()) GTEST_SKIP() << "no device that is always full";
  ZTKFileOutputStream stream(file);
  stream.Write("abc", 3);  // Waits in the file's own buffer.
  stream.Sync();
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_WRITE_ERROR);
}

TEST(ZTKFileStreams, SizesBeyondLongAreToldAsFarAsTheResultReaches) {
  TempDir dir;
  const std::string path = dir / "sparse";
  WriteWholeFile(path, "");
  for (const std::int64_t size : {std::int64_t{INT32_MAX}, std::int64_t{INT32_MAX} + 1,
                                  std::int64_t{UINT32_MAX}, std::int64_t{UINT32_MAX} + 1}) {
    SCOPED_TRACE(size);
    std::filesystem::resize_file(path, static_cast<std::uintmax_t>(size));
    const unsigned long told =
        sizeof(long) == 4 && size > UINT32_MAX ? 0 : static_cast<unsigned long>(size);
    EXPECT_EQ(ZTKFileInputStream(path.c_str()).GetSize(), told);
    ZTKFile file(path.c_str(), ZTKFile::read_write);
    EXPECT_EQ(ZTKFileOutputStream(file).GetSize(), told);
  }
}

TEST(ZTKFileStreams, DataStreamOverBufferedFiles) {
  TempDir dir;
  {
    ZTKFileOutputStream file((dir / "record").c_str());
    ZTKBufferedOutputStream buffered(file, nullptr);
    ZTKDataStream stream(buffered);
    for (int i = 0; i < 1000; ++i) stream << i << "text" << i * 0.5;
    buffered.Sync();
    EXPECT_TRUE(stream.IsOk());
  }
  ZTKFileInputStream file((dir / "record").c_str());
  ZTKBufferedInputStream buffered(file, nullptr);
  ZTKDataStream stream(buffered);
  for (int i = 0; i < 1000; ++i) {
    int number;
    ZTKString text;
    stream >> number >> text;
    ASSERT_EQ(number, i);
    ASSERT_EQ(text.view(), "text");
    ASSERT_EQ(stream.ReadIeeeExtended(), i * 0.5);
  }
  EXPECT_TRUE(stream.IsOk());
}

}  // namespace
