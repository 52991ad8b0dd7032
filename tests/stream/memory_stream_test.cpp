#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>

#include "tests/stream/test_streams.h"
#include "tests/support/failing_allocator.h"
#include "tests/support/pages.h"

namespace {

// ---- input ----

TEST(ZTKMemoryInputStream, DeliversTheBytesAndThenEnds) {
  ZTKMemoryInputStream stream("abcde", 5);
  EXPECT_EQ(stream.GetSize(), 5u);
  EXPECT_FALSE(stream.Eof());
  EXPECT_EQ(ReadSome(stream, 8), "abcde");
  EXPECT_EQ(stream.LastRead(), 5u);
  EXPECT_TRUE(stream.Eof());
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_EOF);
}

TEST(ZTKMemoryInputStream, ErrorComesWithTheReadAtTheEndOnly) {
  ZTKMemoryInputStream stream("abcde", 5);
  EXPECT_EQ(ReadSome(stream, 5), "abcde");
  EXPECT_TRUE(stream.Eof());
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_NO_ERROR);
  EXPECT_EQ(ReadSome(stream, 1), "");
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_EOF);
  stream.SetLastError(ZTK_STREAM_READ_ERROR);
  stream.SeekI(0, ZTKFromStart);
  EXPECT_EQ(ReadSome(stream, 1), "a");
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_NO_ERROR);  // A read that succeeds clears it.
}

TEST(ZTKMemoryInputStream, PeekStopsAtTheEnd) {
  const std::string bytes = "\xC4z";
  ZTKMemoryInputStream stream(bytes.data(), 2);
  EXPECT_EQ(stream.Peek(), '\xC4');
  stream.Ungetch('x');
  EXPECT_EQ(stream.Peek(), '\xC4');  // Not what was pushed back.
  EXPECT_EQ(ReadSome(stream, 3), "x" + bytes);
  EXPECT_EQ(stream.Peek(), '\0');
  EXPECT_EQ(ZTKMemoryInputStream("", 0).Peek(), '\0');
}

TEST(ZTKMemoryInputStream, EofWaitsForThePushBack) {
  ZTKMemoryInputStream stream("ab", 2);
  ReadSome(stream, 2);
  stream.Ungetch("xy", 2);
  EXPECT_FALSE(stream.Eof());
  ReadSome(stream, 1);
  EXPECT_FALSE(stream.Eof());
  ReadSome(stream, 1);
  EXPECT_TRUE(stream.Eof());
}

TEST(ZTKMemoryInputStream, SeeksInsideTheDataOnly) {
  ZTKMemoryInputStream stream("0123456789", 10);
  EXPECT_EQ(stream.SeekI(4, ZTKFromStart), 4);
  EXPECT_EQ(stream.TellI(), 4);
  EXPECT_EQ(stream.SeekI(2, ZTKFromCurrent), 6);
  EXPECT_EQ(stream.SeekI(-1, ZTKFromEnd), 9);
  EXPECT_EQ(ReadSome(stream, 5), "9");
  EXPECT_EQ(stream.SeekI(11, ZTKFromStart), -1);
  EXPECT_EQ(stream.SeekI(-1, ZTKFromStart), -1);
  EXPECT_EQ(stream.SeekI(LONG_MIN, ZTKFromCurrent), -1);
  EXPECT_EQ(stream.SeekI(0, ZTKSeekMode(7)), -1);
  EXPECT_EQ(stream.TellI(), 10);
  EXPECT_EQ(stream.SeekI(0, ZTKFromStart), 0);
  EXPECT_FALSE(stream.Eof());
}

TEST(ZTKMemoryInputStream, NullWithALengthDeliversNothing) {
  ZTKMemoryInputStream stream(nullptr, 5);
  EXPECT_EQ(stream.GetSize(), 5u);
  EXPECT_EQ(ReadSome(stream, 5), "");
  EXPECT_EQ(stream.Peek(), '\0');
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_NO_ERROR);  // Its end is never reached.
  EXPECT_TRUE(stream.Eof());
  ZTKMemoryInputStream none(nullptr, 0);
  EXPECT_EQ(ReadSome(none, 5), "");
  EXPECT_EQ(none.GetLastError(), ZTK_STREAM_EOF);
}

TEST(ZTKMemoryInputStream, NeverTouchesTheCallersPage) {
  Pages pages(1);
  ASSERT_TRUE(pages.Exist() && pages.Protect(0, Pages::kReadOnly));
  ZTKMemoryInputStream stream(pages.Page(0), 4096);
  stream.Ungetch("abc", 3);
  EXPECT_EQ(ReadSome(stream, 5000), "abc" + std::string(4096, '\0'));
}

TEST(ZTKMemoryInputStream, WithoutMemoryThereIsNothing) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  alignas(ZTKMemoryInputStream) char place[sizeof(ZTKMemoryInputStream)];
  ZTKMemoryInputStream* stream;
  {
    failing_allocator::Scope scope(0);
    stream = new (place) ZTKMemoryInputStream("abc", 3);
  }
  EXPECT_EQ(ReadSome(*stream, 3), "");
  EXPECT_EQ(stream->Peek(), '\0');
  EXPECT_TRUE(stream->Eof());
  EXPECT_EQ(stream->GetSize(), 3u);
  EXPECT_EQ(stream->SeekI(0, ZTKFromStart), -1);
  EXPECT_EQ(stream->TellI(), -1);
  stream->~ZTKMemoryInputStream();
}

// ---- output ----

TEST(ZTKMemoryOutputStream, GrowsWithWhatIsAppended) {
  ZTKMemoryOutputStream stream(nullptr, 0);
  EXPECT_EQ(stream.GetSize(), 0u);
  stream.Write("abc", 3);
  EXPECT_EQ(stream.LastWrite(), 3u);
  stream.Write("de", 2);
  EXPECT_EQ(stream.GetSize(), 5u);
  EXPECT_EQ(stream.TellO(), 5);
  char bytes[8] = "-------";
  EXPECT_EQ(stream.CopyTo(bytes, 3), 3u);
  EXPECT_STREQ(bytes, "abc----");
  EXPECT_EQ(stream.CopyTo(bytes, 100), 5u);
  EXPECT_STREQ(bytes, "abcde--");
  EXPECT_EQ(stream.CopyTo(nullptr, 5), 0u);
  EXPECT_EQ(ZTKMemoryOutputStream().CopyTo(bytes, 5), 0u);
}

TEST(ZTKMemoryOutputStream, SizeIsTheCapacity) {
  ZTKMemoryOutputStream stream;
  stream.Write("abcde", 5);
  EXPECT_EQ(stream.SeekO(3, ZTKFromStart), 3);
  stream.Write("XYZ", 3);  // One byte past the end, and yet three more of capacity.
  EXPECT_EQ(stream.GetSize(), 8u);
  EXPECT_EQ(Content(stream), std::string("abcXYZ\0\0", 8));
  EXPECT_EQ(stream.TellO(), 6);
}

TEST(ZTKMemoryOutputStream, OverwritesInsideTheCapacity) {
  ZTKMemoryOutputStream stream;
  stream.Write("abcdef", 6);
  EXPECT_EQ(stream.SeekO(-4, ZTKFromEnd), 2);
  stream.Write("XY", 2);
  EXPECT_EQ(Content(stream), "abXYef");
  EXPECT_EQ(stream.SeekO(1, ZTKFromCurrent), 5);
  EXPECT_EQ(stream.SeekO(7, ZTKFromStart), -1);
  EXPECT_EQ(stream.SeekO(0, ZTKSeekMode(3)), -1);
  EXPECT_EQ(stream.TellO(), 5);
}

TEST(ZTKMemoryOutputStream, LowLevelWriteOfNothingAtTheStartGivesTheCapacity) {
  ZTKMemoryOutputStream stream;
  EXPECT_EQ(stream.OnSysWrite("", 0), 0u);
  stream.Write("abcdef", 6);
  EXPECT_EQ(stream.OnSysWrite("", 0), 0u);
  stream.SeekO(0, ZTKFromStart);
  EXPECT_EQ(stream.OnSysWrite("", 0), 6u);
  EXPECT_EQ(stream.OnSysWrite(nullptr, 3), 6u);
}

TEST(ZTKMemoryOutputStream, WritesIntoStorageOfTheCaller) {
  auto* const block = static_cast<char*>(std::malloc(8));
  ASSERT_NE(block, nullptr);
  std::memcpy(block, "--------", 8);
  {
    ZTKMemoryOutputStream stream(block, 8);
    EXPECT_EQ(stream.GetSize(), 8u);  // The capacity, before anything is written.
    stream.Write("abc", 3);
    EXPECT_EQ(Content(stream), "abc-----");
  }
  EXPECT_EQ(std::string(block, 8), "abc-----");
  std::free(block);  // Still the caller's.
}

// A stream over a caller's block whose grown block the caller finds again, to free it.
TEST(ZTKMemoryOutputStream, CallersStorageGrowsByReallocAndIsNotFreed) {
  class Reaching : public ZTKOutputStream {
   public:
    Reaching(void* block, unsigned long size) : buffer(ZTKStreamBuffer::write) {
      buffer.SetBufferIO(block, size, 0);
      buffer.SetFixed(0);
    }
    ZTKStreamBuffer buffer;
  };
  auto* const block = static_cast<char*>(std::malloc(4));
  ASSERT_NE(block, nullptr);
  std::memcpy(block, "----", 4);
  const char* grown;
  {
    Reaching stream(block, 4);
    stream.buffer.Write("abcdefgh", 8);
    grown = stream.buffer.GetBufferStart();
    EXPECT_EQ(std::string(grown, stream.buffer.GetBufferSize()),
              std::string("abcdefgh\0\0\0\0", 12));
  }
  std::free(const_cast<char*>(grown));  // A second free or a leak shows under the sanitizers.
}

TEST(ZTKMemoryOutputStream, WriteWithoutMemoryIsDroppedAndTold) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  ZTKMemoryOutputStream stream;
  const std::string large(100000, 'x');
  {
    failing_allocator::Scope scope(0);
    stream.Write(large.data(), 100000);
  }
  EXPECT_EQ(stream.LastWrite(), 0u);
  stream.Write("abc", 3);
  {
    failing_allocator::Scope scope(0);
    stream.Write(large.data(), 100000);
  }
  EXPECT_EQ(stream.LastWrite(), 0u);
  EXPECT_EQ(Content(stream), "abc");
  stream.Write("def", 3);
  EXPECT_EQ(Content(stream), "abcdef");
}

TEST(ZTKMemoryOutputStream, WithoutMemoryForTheBufferNothingIsTaken) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  alignas(ZTKMemoryOutputStream) char place[sizeof(ZTKMemoryOutputStream)];
  ZTKMemoryOutputStream* stream;
  {
    failing_allocator::Scope scope(0);
    stream = new (place) ZTKMemoryOutputStream(nullptr, 0);
  }
  char byte;
  stream->Write("abc", 3);
  EXPECT_EQ(stream->LastWrite(), 0u);
  EXPECT_EQ(stream->GetSize(), 0u);
  EXPECT_EQ(stream->CopyTo(&byte, 1), 0u);
  EXPECT_EQ(stream->SeekO(0, ZTKFromStart), -1);
  EXPECT_EQ(stream->TellO(), -1);
  stream->~ZTKMemoryOutputStream();
}

TEST(ZTKMemoryOutputStream, ManySmallWritesMoveTheStorageRarely) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  ZTKMemoryOutputStream stream;
  failing_allocator::Scope scope(LONG_MAX);
  for (int i = 0; i < 1 << 16; ++i) stream.Write("0123456789abcdef", 16);
  EXPECT_EQ(stream.GetSize(), 1u << 20);
  EXPECT_LT(scope.Asked(), 64);
}

// Past one megabyte the storage grows by other steps, and the system prepares it ahead of use.
TEST(ZTKMemoryOutputStream, LargeContentKeepsEveryByte) {
  for (const size_t piece : {size_t{1000}, size_t{4096}, size_t{300'000}}) {
    SCOPED_TRACE(piece);
    ZTKMemoryOutputStream stream;
    std::string written;
    for (char ch = 'a'; written.size() < 5'000'000; ch = ch == 'z' ? 'a' : char(ch + 1)) {
      const std::string bytes(piece, ch);
      stream.Write(bytes.data(), piece);
      ASSERT_EQ(stream.LastWrite(), piece);
      written += bytes;
    }
    EXPECT_EQ(stream.GetSize(), written.size());
    EXPECT_TRUE(Content(stream) == written);
  }
}

// Each block is refused with room for more, and given without.
TEST(ZTKMemoryOutputStream, TakesAnExactBlockWhereALargerOneIsNotToBeHad) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  for (const size_t first : {size_t{100}, size_t{256}, size_t{1} << 20, size_t{1} << 21}) {
    SCOPED_TRACE(first);
    ZTKMemoryOutputStream stream;
    std::string written(first, 'x');
    stream.Write(written.data(), written.size());
    for (const size_t piece : {size_t{300}, size_t{1}, size_t{2}, size_t{600'000}}) {
      const std::string bytes(piece, static_cast<char>('a' + written.size() % 26));
      failing_allocator::Scope scope(0, 1);
      stream.Write(bytes.data(), bytes.size());
      EXPECT_EQ(stream.LastWrite(), piece);
      EXPECT_TRUE(scope.Failed());
      written += bytes;
    }
    stream.Write("end", 3);  // With room again.
    EXPECT_EQ(stream.GetSize(), written.size() + 3);
    EXPECT_TRUE(Content(stream) == written + "end");
  }
}

TEST(ZTKMemoryOutputStream, LargeContentWithoutRoomForMoreStaysAndTellsNothingWasTaken) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  ZTKMemoryOutputStream stream;
  const std::string full(1 << 21, 'x');
  stream.Write(full.data(), full.size());
  {
    failing_allocator::Scope scope(0);
    stream.Write("y", 1);
  }
  EXPECT_EQ(stream.LastWrite(), 0u);
  EXPECT_TRUE(Content(stream) == full);
}

}  // namespace
