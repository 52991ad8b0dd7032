#include <gtest/gtest.h>

#include <climits>

#include "tests/stream/stream_buffer_support.h"
#include "tests/stream/test_streams.h"

namespace {

using Warnings = std::vector<std::string>;

// ---- reading ahead ----

TEST(ZTKStreamBuffer, ReadFillsInWholeBuffers) {
  TestSource source(Pattern(2500));
  ZTKStreamBuffer buffer(source, ZTKStreamBuffer::read);
  buffer.SetBufferIO(1024);
  EXPECT_EQ(ReadSome(buffer, 10), Pattern(2500).substr(0, 10));
  EXPECT_EQ(source.requests, std::vector<unsigned long>{1024});
  EXPECT_EQ(source.LastRead(), 10u);
  EXPECT_EQ(buffer.Tell(), 10);
  EXPECT_EQ(ReadSome(buffer, 2000), Pattern(2500).substr(10, 2000));
  EXPECT_EQ(source.requests, (std::vector<unsigned long>{1024, 1024}));
}

TEST(ZTKStreamBuffer, ExactReadHasNoErrorAndReadPastTheEndAsksTwice) {
  TestSource source("abcdef");
  ZTKStreamBuffer buffer(source, ZTKStreamBuffer::read);
  buffer.SetBufferIO(4);
  EXPECT_EQ(ReadSome(buffer, 6), "abcdef");
  EXPECT_EQ(source.GetLastError(), ZTK_STREAM_NO_ERROR);
  EXPECT_EQ(source.requests.size(), 2u);

  EXPECT_EQ(ReadSome(buffer, 1), "");
  EXPECT_EQ(source.GetLastError(), ZTK_STREAM_EOF);
  EXPECT_EQ(source.requests.size(), 4u);
  EXPECT_EQ(source.LastRead(), 0u);
}

TEST(ZTKStreamBuffer, ReadIntoNullStopsAtTheEndOfTheSource) {
  TestSource source("abcdef");
  ZTKStreamBuffer buffer(source, ZTKStreamBuffer::read);
  EXPECT_EQ(buffer.Read(static_cast<void*>(nullptr), 3), 0u);  // Unbuffered: not even asked.
  EXPECT_TRUE(source.requests.empty());
  buffer.SetBufferIO(4);
  EXPECT_EQ(buffer.Read(static_cast<void*>(nullptr), 100), 6u);
  EXPECT_EQ(source.GetLastError(), ZTK_STREAM_EOF);
}

TEST(ZTKStreamBuffer, WithoutStorageReadsGoStraightToTheSource) {
  TestSource source("abcdef");
  ZTKStreamBuffer buffer(source, ZTKStreamBuffer::read);
  source.SetLastError(ZTK_STREAM_READ_ERROR);
  EXPECT_EQ(ReadSome(buffer, 4), "abcd");
  EXPECT_EQ(source.LastRead(), 4u);
  EXPECT_EQ(buffer.GetChar(), 'e');
  EXPECT_EQ(source.LastRead(), 4u);  // The one byte leaves the count.
  EXPECT_EQ(buffer.GetChar(), 'f');
  EXPECT_EQ(buffer.GetChar(), '\0');
  source.ClaimMore(99);
  EXPECT_EQ(buffer.Read(std::string(4, ' ').data(), 4), 4u);
}

TEST(ZTKStreamBuffer, SourceThatClaimsMoreThanTheStorageIsClamped) {
  TestSource source(Pattern(64));
  source.ClaimMore(1000);
  ZTKStreamBuffer buffer(source, ZTKStreamBuffer::read);
  buffer.SetBufferIO(16);
  EXPECT_EQ(ReadSome(buffer, 16), Pattern(64).substr(0, 16));
  EXPECT_EQ(buffer.GetBufferEnd() - buffer.GetBufferStart(), 16);
}

TEST(ZTKStreamBuffer, WrongModesMoveNothingWithoutStorage) {
  TestSource source("abc");
  TestSink sink;
  char bytes[4];
  EXPECT_EQ(ZTKStreamBuffer(source, ZTKStreamBuffer::write).Read(bytes, 3), 0u);
  EXPECT_EQ(ZTKStreamBuffer(sink, ZTKStreamBuffer::read).Write("abc", 3), 0u);
  EXPECT_EQ(ZTKStreamBuffer(source, ZTKStreamBuffer::read_write).Write("abc", 3), 0u);
  EXPECT_EQ(ZTKStreamBuffer(sink, ZTKStreamBuffer::read_write).Read(bytes, 3), 0u);
  EXPECT_EQ(ZTKStreamBuffer(source, ZTKStreamBuffer::write).GetChar(), '\0');
  EXPECT_TRUE(source.requests.empty());
  EXPECT_TRUE(sink.pieces.empty());
}

TEST(ZTKStreamBuffer, WriteBufferHandsOutItsZeroedStorage) {
  TestSink sink;
  ZTKStreamBuffer buffer(sink, ZTKStreamBuffer::write);
  buffer.SetBufferIO(8);
  EXPECT_EQ(ReadSome(buffer, 20), std::string(8, '\0'));
  EXPECT_EQ(sink.GetLastError(), ZTK_STREAM_EOF);
}

TEST(ZTKStreamBuffer, PeekLooksAheadAndWarnsWithoutAStream) {
  WarningCatcher warnings;
  TestSource source("\xF0z");
  ZTKStreamBuffer buffer(source, ZTKStreamBuffer::read);
  EXPECT_EQ(buffer.Peek(), '\0');
  EXPECT_EQ(warnings.Take(), Warnings{"ZTKStreamBuffer:Empty stream"});
  buffer.SetBufferIO(4);
  EXPECT_EQ(buffer.Peek(), '\xF0');
  EXPECT_EQ(buffer.Peek(), '\xF0');
  EXPECT_EQ(ReadSome(buffer, 2), "\xF0z");
  EXPECT_EQ(buffer.Peek(), '\0');
  EXPECT_EQ(source.GetLastError(), ZTK_STREAM_READ_ERROR);
  EXPECT_EQ(warnings.Take(), Warnings{});

  ZTKStreamBuffer memory(ZTKStreamBuffer::read);
  Fill(memory, "abc");
  EXPECT_EQ(memory.Peek(), '\0');
  EXPECT_EQ(warnings.Take(), Warnings{"ZTKStreamBuffer:Empty stream"});
}

TEST(ZTKStreamBuffer, GetCharTakesOneByte) {
  TestSource source("ab");
  ZTKStreamBuffer buffer(source, ZTKStreamBuffer::read);
  buffer.SetBufferIO(4);
  EXPECT_EQ(buffer.GetChar(), 'a');
  EXPECT_EQ(source.LastRead(), 1u);
  EXPECT_EQ(buffer.GetChar(), 'b');
  EXPECT_EQ(buffer.GetChar(), '\0');
  EXPECT_EQ(source.GetLastError(), ZTK_STREAM_READ_ERROR);
  ZTKStreamBuffer memory(ZTKStreamBuffer::read);
  Fill(memory, "abc");
  EXPECT_EQ(memory.GetChar(), '\0');
}

// ---- writing behind ----

TEST(ZTKStreamBuffer, WritesCollectUntilTheBufferIsFull) {
  TestSink sink;
  ZTKStreamBuffer buffer(sink, ZTKStreamBuffer::write);
  buffer.SetBufferIO(8);
  EXPECT_EQ(buffer.Write("abc", 3), 3u);
  EXPECT_EQ(buffer.Write("defgh", 5), 5u);
  EXPECT_TRUE(sink.bytes.empty());  // Full, but nothing asks for more room yet.
  EXPECT_EQ(buffer.Write("ijklmnopqrs", 11), 11u);
  EXPECT_EQ(sink.bytes, "abcdefghijklmnop");
  EXPECT_EQ(sink.LastWrite(), 11u);
  EXPECT_EQ(buffer.FlushBuffer(), 1);
  EXPECT_EQ(sink.bytes, "abcdefghijklmnopqrs");
  EXPECT_EQ(sink.pieces, (std::vector<unsigned long>{8, 8, 3}));
  EXPECT_EQ(buffer.Tell(), 19);
}

TEST(ZTKStreamBuffer, FlushWithNothingWaitingFails) {
  TestSink sink;
  ZTKStreamBuffer buffer(sink, ZTKStreamBuffer::write);
  buffer.SetBufferIO(8);
  EXPECT_EQ(buffer.FlushBuffer(), 0);
  buffer.Write("abc", 3);
  buffer.SetFlushable(0);
  EXPECT_EQ(buffer.FlushBuffer(), 0);
  buffer.SetFlushable(1);
  EXPECT_EQ(buffer.FlushBuffer(), 1);
  EXPECT_EQ(buffer.FlushBuffer(), 0);
  EXPECT_EQ(sink.bytes, "abc");
}

TEST(ZTKStreamBuffer, FlushThatIsNotTakenInFullSendsAllAgain) {
  TestSink sink(3);
  ZTKStreamBuffer buffer(sink, ZTKStreamBuffer::write);
  buffer.SetBufferIO(10);
  buffer.Write("0123456789", 10);
  EXPECT_EQ(buffer.FlushBuffer(), 0);
  EXPECT_EQ(PositionOf(buffer), 10);
  EXPECT_EQ(buffer.FlushBuffer(), 0);
  EXPECT_EQ(sink.bytes, "012012");
  EXPECT_EQ(buffer.Write("x", 1), 0u);
  EXPECT_EQ(sink.GetLastError(), ZTK_STREAM_WRITE_ERROR);
  EXPECT_EQ(sink.LastWrite(), 0u);
}

TEST(ZTKStreamBuffer, WriteOfNothingLeavesCountAndError) {
  TestSink sink;
  ZTKStreamBuffer buffer(sink, ZTKStreamBuffer::write);
  buffer.SetBufferIO(10);
  buffer.Write("abc", 3);
  sink.SetLastError(ZTK_STREAM_WRITE_ERROR);
  EXPECT_EQ(buffer.Write(nullptr, 5), 0u);
  EXPECT_EQ(buffer.Write("abc", 0), 0u);
  EXPECT_EQ(sink.GetLastError(), ZTK_STREAM_WRITE_ERROR);
  EXPECT_EQ(sink.LastWrite(), 3u);
}

TEST(ZTKStreamBuffer, PutCharCollectsFlushesAndWarns) {
  WarningCatcher warnings;
  TestSink sink(SIZE_MAX, 2);
  ZTKStreamBuffer buffer(sink, ZTKStreamBuffer::write);
  buffer.PutChar('a');  // Unbuffered: at once, count and error stay.
  EXPECT_EQ(sink.bytes, "a");
  EXPECT_EQ(sink.LastWrite(), 0u);
  buffer.SetBufferIO(1);
  buffer.PutChar('b');
  EXPECT_EQ(sink.LastWrite(), 1u);
  buffer.PutChar('c');
  EXPECT_EQ(sink.bytes, "ab");
  EXPECT_EQ(warnings.Take(), Warnings{});
  buffer.PutChar('d');
  EXPECT_EQ(warnings.Take(), Warnings{"TKStreamBuffer::PutChar"});
  EXPECT_EQ(sink.GetLastError(), ZTK_STREAM_WRITE_ERROR);
  EXPECT_EQ(sink.bytes, "ab");
}

TEST(ZTKStreamBuffer, PutCharWithoutASinkWarns) {
  WarningCatcher warnings;
  TestSource source("abc");
  ZTKStreamBuffer reading(source, ZTKStreamBuffer::read);
  reading.SetBufferIO(4);
  reading.PutChar('x');
  ZTKStreamBuffer memory(ZTKStreamBuffer::write);
  memory.SetBufferIO(4);
  memory.PutChar('x');
  EXPECT_EQ(PositionOf(memory), 0);
  EXPECT_EQ(warnings.Take(), (Warnings{"Empty out stream", "Empty out stream"}));
}

}  // namespace
