// What a file is over a descriptor of Unix: pipes, raw handles, and requests of more than 4 GiB.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <filesystem>
#include <string>

#include "tests/support/temp_dir.h"
#include "ztk/file/file.h"
#include "ztk/file/file_system.h"

namespace {

namespace fs = std::filesystem;

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
