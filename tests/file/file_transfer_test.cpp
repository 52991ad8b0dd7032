// Positions, reading and writing, and the functions that take a raw handle.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
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

TEST(ZTKFile, PipesHaveNoLengthAndNoPosition) {
  TempDir dir;
  const std::string path = dir / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  ZTKFile file(path.c_str(), ZTKFile::read_write);
  ASSERT_TRUE(file.IsOpen());
  EXPECT_EQ(file.Length(), -1);
  EXPECT_EQ(file.Tell(), -1);
  EXPECT_EQ(file.Seek(0, ZTKFromStart), -1);
  EXPECT_TRUE(file.XPSync());  // Nothing behind it that could be synced.
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

TEST(ZTKFile, RawCloseGivesUpTheHandle) {
  TempDir dir;
  std::FILE* stream = std::fopen((dir / "file").c_str(), "wb");
  ASSERT_NE(stream, nullptr);
  const int descriptor = fileno(stream);
  EXPECT_EQ(ZTKClose(reinterpret_cast<ZTKFileHandle>(stream)), 0);
  EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
}

// Requests that 32 bits cannot count.

#if ULONG_MAX > UINT_MAX
// A block of addresses, all backed by the same few pages.
class RepeatedBlock {
 public:
  explicit RepeatedBlock(size_t size) : m_size((size + kPiece - 1) / kPiece * kPiece) {
    const int memory = memfd_create("block", MFD_CLOEXEC);
    EXPECT_EQ(ftruncate(memory, kPiece), 0);
    m_start = static_cast<char*>(
        mmap(nullptr, m_size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
    for (size_t at = 0; at < m_size; at += kPiece) {
      EXPECT_NE(
          mmap(m_start + at, kPiece, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, memory, 0),
          MAP_FAILED);
    }
    close(memory);
  }
  ~RepeatedBlock() { munmap(m_start, m_size); }
  RepeatedBlock(const RepeatedBlock&) = delete;
  RepeatedBlock& operator=(const RepeatedBlock&) = delete;

  char* Start() const { return m_start; }

 private:
  static constexpr size_t kPiece = size_t{1} << 24;
  size_t m_size;
  char* m_start;
};

TEST(ZTKFile, ReadsAndWritesMoreThanFourGibibytesAtOnce) {
  constexpr unsigned long kCount = (1UL << 32) + 1;
  const RepeatedBlock block(kCount);
  // In memory: holes are read there without a page for each, which takes a fifth of the time.
  const int sparse = memfd_create("sparse", MFD_CLOEXEC);
  ASSERT_EQ(ftruncate(sparse, kCount + 5), 0);
  const std::string path = "/proc/self/fd/" + std::to_string(sparse);

  ZTKFile file(path.c_str(), ZTKFile::read);
  EXPECT_EQ(file.Read(block.Start(), kCount), kCount);
  EXPECT_EQ(file.Tell(), static_cast<long>(kCount));
  EXPECT_EQ(file.Read(block.Start(), kCount), 5u);
  close(sparse);

  ZTKFile sink("/dev/null", ZTKFile::write);
  EXPECT_EQ(sink.Write(block.Start(), kCount), kCount);
  EXPECT_EQ(sink.Write(block.Start(), UINT_MAX), UINT_MAX);
  EXPECT_FALSE(sink.HasError());
}
#endif

}  // namespace
