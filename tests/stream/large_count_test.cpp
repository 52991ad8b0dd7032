// Counts that 32 bits cannot hold arrive whole or show as an error. The bytes are addresses without
// memory behind them: a mapping of zeroes that nobody touches but at a few places.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>

#include "tests/stream/test_streams.h"

namespace {

#if SIZE_MAX > UINT32_MAX

constexpr size_t kGiB = size_t{1} << 30;
constexpr size_t kFive = 5 * kGiB;
constexpr size_t kMarks[] = {0, kGiB - 1, kGiB, 4 * kGiB - 2, 4 * kGiB - 1, 4 * kGiB, kFive - 1};

class LargeCount : public testing::Test {
 protected:
  void SetUp() override {
    void* const memory = mmap(nullptr, kFive, PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) GTEST_SKIP() << "no 5 GiB of addresses";
    bytes = static_cast<unsigned char*>(memory);
    unsigned char mark = 0;
    for (const size_t position : kMarks) bytes[position] = ++mark;
  }
  void TearDown() override {
    if (bytes != nullptr) munmap(bytes, kFive);
  }

  unsigned char* bytes = nullptr;
};

/// Counts what it takes, `capacity` bytes at most, and looks at the marks.
class MarkSink : public ZTKOutputStream {
 public:
  explicit MarkSink(size_t capacity = SIZE_MAX) : m_capacity(capacity) {}
  unsigned long OnSysWrite(const void* pBuffer, unsigned long nCount) override {
    const size_t count = std::min<size_t>(nCount, m_capacity - taken);
    for (const size_t position : kMarks) {
      if (position < taken || position - taken >= count) continue;
      marks.push_back(static_cast<const char*>(pBuffer)[position - taken]);
    }
    taken += count;
    return count;
  }

  size_t taken = 0;
  std::string marks;

 private:
  size_t m_capacity;
};

TEST_F(LargeCount, ArrayOfBytesArrivesWhole) {
  MarkSink sink;
  ZTKDataStream stream(sink);
  stream.Write8(bytes, kFive);
  EXPECT_EQ(sink.taken, kFive);
  EXPECT_EQ(sink.marks, "\1\2\3\4\5\6\7");
  EXPECT_TRUE(stream.IsOk());
}

TEST_F(LargeCount, ArrayOfBytesThatIsNotTakenWholeIsAnError) {
  for (const size_t capacity : {size_t{0}, kGiB / 2, kGiB, 4 * kGiB, kFive - 1}) {
    SCOPED_TRACE(capacity);
    MarkSink sink(capacity);
    ZTKDataStream stream(sink);
    stream.Write8(bytes, kFive);
    EXPECT_EQ(sink.taken, capacity);
    EXPECT_FALSE(stream.IsOk());
    EXPECT_EQ(sink.GetLastError(), ZTK_STREAM_WRITE_ERROR);
  }
}

TEST_F(LargeCount, ArrayOfBytesBelow4GiBIsOneWrite) {
  MarkSink sink;
  ZTKDataStream stream(sink);
  stream.Write8(bytes, UINT32_MAX);
  EXPECT_EQ(sink.taken, size_t{UINT32_MAX});
  EXPECT_EQ(sink.LastWrite(), size_t{UINT32_MAX});
  EXPECT_TRUE(stream.IsOk());
}

TEST_F(LargeCount, TextThatNoStringCanHoldIsCutWithAnError) {
  // One block of memory, many times over.
  constexpr size_t kBlock = size_t{16} << 20;
  const int file = memfd_create("text", 0);
  ASSERT_NE(file, -1);
  ASSERT_EQ(ftruncate(file, kBlock), 0);
  constexpr size_t kText = ZTKString::kMaxLength / kBlock * kBlock + kBlock;
  auto* const text = reinterpret_cast<char*>(bytes);
  for (size_t at = 0; at < kText; at += kBlock) {
    ASSERT_NE(mmap(text + at, kBlock, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file, 0),
              MAP_FAILED);
  }
  close(file);
  std::memset(text, 'x', kBlock);
  text[kText] = '\0';

  MarkSink sink;
  ZTKDataStream stream(sink);
  stream << text;
  EXPECT_EQ(sink.taken, 4 + ZTKString::kMaxLength);
  EXPECT_FALSE(stream.IsOk());
}

TEST_F(LargeCount, WriteThatIsCutIsAnError) {
  MarkSink sink;
  sink.Write(bytes, kFive);
  EXPECT_EQ(sink.taken, size_t{UINT32_MAX});
  EXPECT_EQ(sink.LastWrite(), size_t{UINT32_MAX});
  EXPECT_EQ(sink.GetLastError(), ZTK_STREAM_WRITE_ERROR);
}

TEST_F(LargeCount, BufferedWriteThatIsCutIsAnError) {
  for (const unsigned long size : {0ul, 1ul << 20}) {
    SCOPED_TRACE(size);
    MarkSink sink;
    ZTKBufferedOutputStream stream(sink, nullptr);
    auto* const buffer = new ZTKStreamBuffer(stream, ZTKStreamBuffer::write);
    buffer->SetBufferIO(size);
    stream.SetOutputStreamBuffer(buffer);
    stream.Write(bytes, kFive);
    EXPECT_EQ(stream.LastWrite(), size_t{UINT32_MAX});
    EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_WRITE_ERROR);
    stream.Sync();
    EXPECT_EQ(sink.taken, size_t{UINT32_MAX});
  }
}

TEST_F(LargeCount, CountingStreamTellsThatItStopped) {
  ZTKCountingOutputStream counter;
  ZTKDataStream stream(counter);
  stream.Write8(bytes, kFive);
  EXPECT_EQ(counter.GetSize(), size_t{UINT32_MAX});
  EXPECT_FALSE(stream.IsOk());
}

TEST_F(LargeCount, MemoryThatIsSeenInPartEndsWithAnError) {
  for (const size_t length : {size_t{UINT32_MAX}, 4 * kGiB, kFive}) {
    SCOPED_TRACE(length);
    ZTKMemoryInputStream stream(bytes, length);
    EXPECT_EQ(stream.SeekI(-1, ZTKFromEnd), long{UINT32_MAX} - 1);
    char byte = 0;
    stream.Read(&byte, 1);
    EXPECT_EQ(byte, '\4');
    stream.Read(&byte, 1);
    EXPECT_EQ(stream.LastRead(), 0u);
    EXPECT_EQ(stream.GetLastError(), length > UINT32_MAX ? ZTK_STREAM_READ_ERROR : ZTK_STREAM_EOF);
  }
}

TEST_F(LargeCount, MemoryStreamThatCannotGrowThatFarTellsSo) {
  ZTKMemoryOutputStream stream(bytes, UINT32_MAX);
  EXPECT_EQ(stream.SeekO(0, ZTKFromEnd), long{UINT32_MAX});
  stream.Write("abcdef", 6);
  EXPECT_EQ(stream.LastWrite(), 0u);
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_WRITE_ERROR);
  EXPECT_EQ(stream.GetSize(), size_t{UINT32_MAX});
}

TEST_F(LargeCount, ReadGivesWhatOneCountHoldsAndLeavesTheRest) {
  class Zeroes : public ZTKInputStream {
   public:
    unsigned long OnSysRead(void*, unsigned long nCount) override {
      given += nCount;
      return nCount;
    }
    size_t given = 0;
  } source;
  source.Read(bytes, kFive);
  EXPECT_EQ(source.LastRead(), size_t{UINT32_MAX});
  EXPECT_EQ(source.given, size_t{UINT32_MAX});
  source.given = 0;
  ZTKDataStream(source).Read8(bytes, kFive);
  EXPECT_EQ(source.given, kFive);
}

#else

TEST(LargeCount, ArrayNeedsMoreThan32Bits) { GTEST_SKIP() << "a count has 32 bits here"; }

#endif

}  // namespace
