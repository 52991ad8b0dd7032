#include <gtest/gtest.h>

#include <climits>

#include "tests/stream/stream_buffer_support.h"
#include "tests/stream/test_streams.h"
#include "tests/support/failing_allocator.h"
#include "tests/support/pages.h"

namespace {

// ---- construction and storage ----

TEST(ZTKStreamBuffer, StartsEmpty) {
  TestSource source("abc");
  ZTKStreamBuffer memory(ZTKStreamBuffer::read_write);
  ZTKStreamBuffer served(source, ZTKStreamBuffer::read);
  for (const ZTKStreamBuffer* buffer : {&memory, &served}) {
    EXPECT_EQ(buffer->GetBufferStart(), nullptr);
    EXPECT_EQ(buffer->GetBufferEnd(), nullptr);
    EXPECT_EQ(buffer->GetBufferPos(), nullptr);
    EXPECT_EQ(buffer->GetBufferSize(), 0u);
  }
  EXPECT_EQ(memory.GetStream(), nullptr);
  EXPECT_EQ(memory.GetMode(), ZTKStreamBuffer::read_write);
  EXPECT_EQ(served.GetStream(), &source);
  EXPECT_EQ(served.GetMode(), ZTKStreamBuffer::read);
}

TEST(ZTKStreamBuffer, StreamsAreGivenOutByModeAndKind) {
  TestSource source("");
  TestSink sink;
  struct Row {
    ZTKStreamBuffer::BufMode mode;
    bool in, out;
  };
  for (const Row row :
       {Row{ZTKStreamBuffer::read, true, false}, Row{ZTKStreamBuffer::write, false, true},
        Row{ZTKStreamBuffer::read_write, true, true}}) {
    SCOPED_TRACE(row.mode);
    const ZTKStreamBuffer onSource(source, row.mode);
    const ZTKStreamBuffer onSink(sink, row.mode);
    EXPECT_EQ(onSource.GetInputStream(), row.in ? &source : nullptr);
    EXPECT_EQ(onSource.GetOutputStream(), nullptr);
    EXPECT_EQ(onSink.GetOutputStream(), row.out ? &sink : nullptr);
    EXPECT_EQ(onSink.GetInputStream(), nullptr);
  }
  EXPECT_EQ(ZTKStreamBuffer(ZTKStreamBuffer::read).GetInputStream(), nullptr);
}

TEST(ZTKStreamBuffer, SizeGivesZeroedStorage) {
  ZTKStreamBuffer buffer(ZTKStreamBuffer::write);
  buffer.SetBufferIO(100);
  EXPECT_EQ(buffer.GetBufferSize(), 100u);
  EXPECT_EQ(Stored(buffer), std::string(100, '\0'));
  EXPECT_EQ(PositionOf(buffer), 0);
  buffer.SetBufferIO(0);
  EXPECT_EQ(buffer.GetBufferStart(), nullptr);
  EXPECT_EQ(buffer.GetBufferSize(), 0u);
}

TEST(ZTKStreamBuffer, SizeWithoutMemoryGivesNone) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  TestSink sink;
  ZTKStreamBuffer buffer(sink, ZTKStreamBuffer::write);
  buffer.SetBufferIO(10);
  {
    failing_allocator::Scope scope(0);
    buffer.SetBufferIO(1000);
  }
  EXPECT_EQ(buffer.GetBufferStart(), nullptr);
  EXPECT_EQ(buffer.GetBufferSize(), 0u);
  EXPECT_EQ(buffer.Write("abc", 3), 3u);  // Straight to the sink.
  EXPECT_EQ(sink.bytes, "abc");
}

TEST(ZTKStreamBuffer, SizeBeyond32BitsGivesNone) {
  if (sizeof(long) == 4) GTEST_SKIP() << "no such size";
  ZTKStreamBuffer buffer(ZTKStreamBuffer::write);
  buffer.SetBufferIO(ULONG_MAX);
  EXPECT_EQ(buffer.GetBufferSize(), 0u);
}

TEST(ZTKStreamBuffer, StorageIsAdoptedByLengthOrByEnd) {
  char bytes[] = "abcdef";
  ZTKStreamBuffer buffer(ZTKStreamBuffer::read);
  buffer.SetBufferIO(bytes, 6ul, 0);
  EXPECT_EQ(Stored(buffer), "abcdef");
  buffer.SetBufferIO(bytes, static_cast<void*>(bytes + 3), 0);
  EXPECT_EQ(Stored(buffer), "abc");
  buffer.SetBufferIO(bytes + 3, static_cast<void*>(bytes), 0);  // Reversed: nothing.
  EXPECT_EQ(buffer.GetBufferSize(), 0u);
  buffer.SetBufferIO(static_cast<void*>(nullptr), 6ul, 0);
  EXPECT_EQ(buffer.GetBufferSize(), 0u);
}

TEST(ZTKStreamBuffer, OwnedStorageHandedOverOnceMoreStays) {
  ZTKStreamBuffer buffer(ZTKStreamBuffer::read);
  Fill(buffer, "abcdef");
  void* const same = const_cast<char*>(buffer.GetBufferStart());
  buffer.SetBufferIO(same, 4ul, 1);
  EXPECT_EQ(Stored(buffer), "abcd");  // A sanitizer sees a block that was freed.
}

TEST(ZTKStreamBuffer, CopySharesTheStorage) {
  ZTKStreamBuffer original(ZTKStreamBuffer::read);
  Fill(original, "abcdef");
  EXPECT_EQ(ReadSome(original, 2), "ab");
  {
    ZTKStreamBuffer copy(original);
    EXPECT_EQ(copy.GetBufferStart(), original.GetBufferStart());
    EXPECT_EQ(ReadSome(copy, 9), "cdef");
  }
  EXPECT_EQ(ReadSome(original, 9), "cdef");  // The copy's end freed nothing.
}

TEST(ZTKStreamBuffer, CopyThatGrowsMovesToABlockOfItsOwn) {
  ZTKStreamBuffer original(ZTKStreamBuffer::read_write);
  Fill(original, "abc");
  original.SetFixed(0);
  {
    ZTKStreamBuffer copy(original);
    EXPECT_EQ(copy.Seek(0, ZTKFromEnd), 3);
    EXPECT_EQ(copy.Write("defg", 4), 4u);
    EXPECT_EQ(Stored(copy), "abcdefg");
    copy.Seek(0, ZTKFromStart);
    copy.Write("X", 1);
    EXPECT_EQ(copy.Seek(0, ZTKFromEnd), 7);
    copy.Write(std::string(1000, 'y').data(), 1000);  // Moves the copy's own block.
    EXPECT_EQ(Stored(copy), "Xbcdefg" + std::string(1000, 'y'));
  }
  EXPECT_EQ(Stored(original), "abc");
}

class OpenBuffer : public ZTKStreamBuffer {
 public:
  using ZTKStreamBuffer::FreeBuffer;
  using ZTKStreamBuffer::Init;
  using ZTKStreamBuffer::InitBuffer;
  using ZTKStreamBuffer::ZTKStreamBuffer;
};

TEST(ZTKStreamBuffer, FreeingTwiceIsHarmless) {
  OpenBuffer buffer(ZTKStreamBuffer::write);
  buffer.SetBufferIO(10);
  buffer.FreeBuffer();
  buffer.FreeBuffer();
  EXPECT_EQ(buffer.GetBufferSize(), 0u);

  char bytes[] = "abc";
  buffer.SetBufferIO(bytes, 3ul, 0);
  buffer.FreeBuffer();  // Not its own: left alone.
  EXPECT_EQ(Stored(buffer), "abc");
}

TEST(ZTKStreamBuffer, InitForgetsTheStorageAndFixesTheCapacity) {
  OpenBuffer buffer(ZTKStreamBuffer::read_write);
  char bytes[] = "abc";
  buffer.SetBufferIO(bytes, 3ul, 0);
  buffer.SetFixed(0);
  buffer.InitBuffer();
  EXPECT_EQ(buffer.GetBufferStart(), nullptr);
  EXPECT_EQ(buffer.Write("de", 2), 2u);  // Still grows.
  EXPECT_EQ(Stored(buffer), "de");
  buffer.FreeBuffer();
  buffer.Init();
  EXPECT_EQ(buffer.Write("de", 2), 0u);
}

// ---- memory buffers ----

TEST(ZTKStreamBuffer, MemoryReadEndsAtTheEnd) {
  ZTKStreamBuffer buffer(ZTKStreamBuffer::read);
  Fill(buffer, "abcde");
  EXPECT_EQ(ReadSome(buffer, 3), "abc");
  EXPECT_EQ(ReadSome(buffer, 8), "de");
  EXPECT_EQ(ReadSome(buffer, 8), "");
}

TEST(ZTKStreamBuffer, ReadIntoNullCopiesNothingAndStays) {
  ZTKStreamBuffer buffer(ZTKStreamBuffer::read);
  Fill(buffer, "abcde");
  EXPECT_EQ(buffer.Read(static_cast<void*>(nullptr), 3), 3u);
  EXPECT_EQ(ReadSome(buffer, 8), "abcde");
}

TEST(ZTKStreamBuffer, GrowthAddsTheWholeWriteToTheCapacity) {
  ZTKStreamBuffer buffer(ZTKStreamBuffer::write);
  buffer.SetFixed(0);
  EXPECT_EQ(buffer.Write("abc", 3), 3u);
  EXPECT_EQ(buffer.GetBufferSize(), 3u);
  EXPECT_EQ(buffer.Write("de", 2), 2u);
  EXPECT_EQ(buffer.GetBufferSize(), 5u);
  EXPECT_EQ(buffer.Seek(3, ZTKFromStart), 3);
  EXPECT_EQ(buffer.Write("wxyz", 4), 4u);
  EXPECT_EQ(buffer.GetBufferSize(), 9u);
  EXPECT_EQ(PositionOf(buffer), 7);
  EXPECT_EQ(Stored(buffer), std::string("abcwxyz\0\0", 9));  // The part nobody wrote is zero.
}

TEST(ZTKStreamBuffer, EveryGrowthLeavesZeroesWhereNothingWasWritten) {
  ZTKStreamBuffer buffer(ZTKStreamBuffer::write);
  buffer.SetFixed(0);
  std::string model;
  for (unsigned long round = 1; round < 60; ++round) {
    SCOPED_TRACE(round);
    const std::string piece(round, static_cast<char>('A' + round % 26));
    const size_t position = model.size() - model.size() / 3;
    ASSERT_EQ(buffer.Seek(static_cast<long>(position), ZTKFromStart), static_cast<long>(position));
    if (position + piece.size() > model.size()) model.resize(model.size() + piece.size());
    model.replace(position, piece.size(), piece);
    ASSERT_EQ(buffer.Write(piece.data(), round), round);
    ASSERT_EQ(Stored(buffer), model);
  }
}

TEST(ZTKStreamBuffer, WritesTheStorageIntoItself) {
  ZTKStreamBuffer buffer(ZTKStreamBuffer::write);
  buffer.SetFixed(0);
  buffer.Write("abc", 3);
  for (int i = 0; i < 8; ++i) buffer.Write(buffer.GetBufferStart(), buffer.GetBufferSize());
  std::string expected = "abc";
  for (int i = 0; i < 8; ++i) expected += expected;
  EXPECT_EQ(Stored(buffer), expected);
}

TEST(ZTKStreamBuffer, GrowthWithoutMemoryDropsTheWriteSilently) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  ZTKStreamBuffer buffer(ZTKStreamBuffer::write);
  buffer.SetFixed(0);
  buffer.Write("abc", 3);
  ZTKStreamBuffer copy(buffer);
  const std::string large(100000, 'x');
  {
    failing_allocator::Scope scope(0);
    EXPECT_EQ(buffer.Write(large.data(), 100000), 100000u);
    EXPECT_EQ(copy.Write(large.data(), 100000), 100000u);
    EXPECT_TRUE(scope.Failed());
  }
  EXPECT_EQ(Stored(buffer), "abc");
  EXPECT_EQ(PositionOf(buffer), 3);
  EXPECT_EQ(Stored(copy), "abc");
}

TEST(ZTKStreamBuffer, FixedMemoryCutsWhatDoesNotFit) {
  char bytes[] = "-----";
  ZTKStreamBuffer buffer(ZTKStreamBuffer::write);
  buffer.SetBufferIO(bytes, 5ul, 0);
  EXPECT_EQ(buffer.Write("abc", 3), 3u);
  EXPECT_EQ(buffer.Write("defg", 4), 2u);
  EXPECT_EQ(buffer.Write("h", 1), 0u);
  EXPECT_STREQ(bytes, "abcde");
}

TEST(ZTKStreamBuffer, LowLevelMovesCutAndIgnoreNull) {
  char bytes[] = "-----";
  ZTKStreamBuffer buffer(ZTKStreamBuffer::read_write);
  buffer.SetBufferIO(bytes, 5ul, 0);
  buffer.PutToBuffer(nullptr, 3);
  buffer.PutToBuffer("abc", 0);
  EXPECT_EQ(PositionOf(buffer), 0);
  buffer.PutToBuffer("abcdefgh", 8);
  EXPECT_EQ(PositionOf(buffer), 5);
  EXPECT_EQ(buffer.GetDataLeft(), 0u);
  buffer.ResetBuffer();
  EXPECT_EQ(buffer.GetDataLeft(), 5u);
  char read[9] = "########";
  buffer.GetFromBuffer(nullptr, 3);
  EXPECT_EQ(PositionOf(buffer), 0);
  buffer.GetFromBuffer(read, 8);
  EXPECT_STREQ(read, "abcde###");
}

TEST(ZTKStreamBuffer, MemoryBufferWithoutStorageMovesNothing) {
  ZTKStreamBuffer buffer(ZTKStreamBuffer::read_write);
  char bytes[4];
  EXPECT_EQ(buffer.Read(bytes, 4), 0u);
  EXPECT_EQ(buffer.Write("abc", 3), 0u);
  EXPECT_EQ(buffer.FillBuffer(), 0);
  EXPECT_EQ(buffer.FlushBuffer(), 0);
  EXPECT_EQ(buffer.Tell(), 0);
  EXPECT_EQ(buffer.Seek(0, ZTKFromStart), 0);
  EXPECT_EQ(buffer.Seek(1, ZTKFromStart), -1);
}

TEST(ZTKStreamBuffer, ReadOnlyStorageCountsButIsNeverWritten) {
  const long pageSize = 4096;
  Pages pages(1);
  ASSERT_TRUE(pages.Exist() && pages.Protect(0, Pages::kReadOnly));
  {
    TestSource source("abc");
    ZTKStreamBuffer buffer(source, ZTKStreamBuffer::read_write);
    buffer.SetReadOnlyBufferIO(pages.Page(0), pageSize);
    EXPECT_EQ(buffer.Write("abc", 3), 3u);
    EXPECT_EQ(PositionOf(buffer), 3);
    EXPECT_EQ(buffer.FillBuffer(), 0);
    ZTKStreamBuffer copy(buffer);
    EXPECT_EQ(copy.Write("abc", 3), 3u);

    buffer.SetFixed(0);  // Growing leaves the page for a block that can be written.
    const std::string rest(pageSize, 'x');
    EXPECT_EQ(buffer.Write(rest.data(), pageSize), static_cast<unsigned long>(pageSize));
    EXPECT_EQ(Stored(buffer), std::string(3, '\0') + rest + std::string(pageSize - 3, '\0'));
  }
}

TEST(ZTKStreamBuffer, MemorySeekStaysInsideTheStorage) {
  struct Row {
    long offset;
    ZTKSeekMode mode;
    long result;
  };
  constexpr Row kRows[] = {
      {0, ZTKFromStart, 0},           {10, ZTKFromStart, 10},       {11, ZTKFromStart, -1},
      {-1, ZTKFromStart, -1},         {LONG_MAX, ZTKFromStart, -1}, {LONG_MIN, ZTKFromStart, -1},
      {0, ZTKFromCurrent, 4},         {-4, ZTKFromCurrent, 0},      {6, ZTKFromCurrent, 10},
      {7, ZTKFromCurrent, -1},        {-5, ZTKFromCurrent, -1},     {LONG_MAX, ZTKFromCurrent, -1},
      {LONG_MIN, ZTKFromCurrent, -1}, {0, ZTKFromEnd, 10},          {-10, ZTKFromEnd, 0},
      {-11, ZTKFromEnd, -1},          {1, ZTKFromEnd, -1},          {LONG_MIN, ZTKFromEnd, -1},
      {LONG_MAX, ZTKFromEnd, -1},     {0, ZTKSeekMode(3), -1},      {0, ZTKSeekMode(-1), -1},
      {0, ZTKSeekMode(7), -1},
  };
  for (const Row& row : kRows) {
    SCOPED_TRACE(testing::Message() << row.offset << " from " << row.mode);
    ZTKStreamBuffer buffer(ZTKStreamBuffer::read);
    Fill(buffer, "0123456789");
    ReadSome(buffer, 4);
    EXPECT_EQ(buffer.Seek(row.offset, row.mode), row.result);
    EXPECT_EQ(buffer.Tell(), row.result == -1 ? 4 : row.result);
  }
}

}  // namespace
