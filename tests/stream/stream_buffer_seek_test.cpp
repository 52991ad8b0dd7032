#include <gtest/gtest.h>

#include <climits>

#include "tests/stream/stream_buffer_support.h"
#include "tests/stream/test_streams.h"

namespace {

// ---- position ----

TEST(ZTKStreamBuffer, TellFollowsTheStream) {
  TestSource source(Pattern(4096));
  ZTKStreamBuffer buffer(source, ZTKStreamBuffer::read);
  buffer.SetBufferIO(1024);
  ReadSome(buffer, 10);
  EXPECT_EQ(source.OnSysTell(), 1024);
  EXPECT_EQ(buffer.Tell(), 10);
  source.CannotSeek();
  EXPECT_EQ(buffer.Tell(), -1);

  TestSink sink;
  sink.Write("0123", 4);
  ZTKStreamBuffer out(sink, ZTKStreamBuffer::write);
  out.SetBufferIO(16);
  out.Write("abc", 3);
  EXPECT_EQ(out.Tell(), 7);
}

TEST(ZTKStreamBuffer, RelativeSeekInsideTheBufferReturnsTheOffset) {
  TestSource source(Pattern(4096));
  ZTKStreamBuffer buffer(source, ZTKStreamBuffer::read);
  buffer.SetBufferIO(1024);
  ReadSome(buffer, 10);
  EXPECT_EQ(buffer.Seek(0, ZTKFromCurrent), 0);
  EXPECT_EQ(buffer.Seek(-10, ZTKFromCurrent), -10);
  EXPECT_EQ(buffer.Tell(), 0);
  EXPECT_EQ(buffer.Seek(1024, ZTKFromCurrent), 1024);
  EXPECT_EQ(buffer.Tell(), 1024);
  EXPECT_TRUE(source.seeks.empty());
  EXPECT_EQ(buffer.Seek(1, ZTKFromCurrent), 1025);  // Outside: the stream's own answer.
  EXPECT_EQ(buffer.Tell(), 1025);
}

TEST(ZTKStreamBuffer, RelativeSeekOutsideCountsFromTheStreamsPosition) {
  TestSource source(Pattern(4096));
  ZTKStreamBuffer buffer(source, ZTKStreamBuffer::read);
  buffer.SetBufferIO(1024);
  ReadSome(buffer, 10);
  EXPECT_EQ(buffer.Seek(2000, ZTKFromCurrent), 2010);
  EXPECT_EQ(source.seeks.back(), (std::pair<long, ZTKSeekMode>(2000 - 1014, ZTKFromCurrent)));
  EXPECT_EQ(ReadSome(buffer, 5), Pattern(4096).substr(2010, 5));
}

TEST(ZTKStreamBuffer, WildOffsetsReachTheStreamOnce) {
  for (const unsigned long unread : {0ul, 6ul}) {
    SCOPED_TRACE(unread);
    const long left = static_cast<long>(unread);
    struct Row {
      long offset, forwarded;
    };
    for (const Row row :
         {Row{LONG_MIN, LONG_MIN}, Row{LONG_MIN + 1, left == 0 ? LONG_MIN + 1 : LONG_MIN},
          Row{LONG_MIN + 7, LONG_MIN + 7 - left}, Row{LONG_MAX, LONG_MAX - left},
          Row{LONG_MAX - 1, LONG_MAX - 1 - left}}) {
      SCOPED_TRACE(row.offset);
      TestSource source("0123456789");
      ZTKStreamBuffer buffer(source, ZTKStreamBuffer::read);
      buffer.SetBufferIO(10);
      ReadSome(buffer, 10 - unread);
      EXPECT_EQ(buffer.Seek(row.offset, ZTKFromCurrent), -1);
      ASSERT_EQ(source.seeks.size(), 1u);
      EXPECT_EQ(source.seeks[0], (std::pair<long, ZTKSeekMode>(row.forwarded, ZTKFromCurrent)));
    }
  }
}

TEST(ZTKStreamBuffer, AbsoluteSeekGoesToTheStreamAndDropsTheReadAhead) {
  TestSource source(Pattern(100));
  ZTKStreamBuffer buffer(source, ZTKStreamBuffer::read);
  buffer.SetBufferIO(16);
  ReadSome(buffer, 4);
  source.SetLastError(ZTK_STREAM_EOF);
  EXPECT_EQ(buffer.Seek(50, ZTKFromStart), 50);
  EXPECT_EQ(source.GetLastError(), ZTK_STREAM_NO_ERROR);
  EXPECT_EQ(source.LastRead(), 0u);
  EXPECT_EQ(buffer.GetBufferPos(), buffer.GetBufferEnd());
  EXPECT_EQ(buffer.Tell(), 50);
  EXPECT_EQ(ReadSome(buffer, 3), Pattern(100).substr(50, 3));
  EXPECT_EQ(buffer.Seek(-1, ZTKFromEnd), 99);
  EXPECT_EQ(ReadSome(buffer, 3), Pattern(100).substr(99));
}

TEST(ZTKStreamBuffer, RelativeSeekBackAfterAnAbsoluteOneDeliversTheRightBytes) {
  TestSource source(Pattern(100));
  ZTKStreamBuffer buffer(source, ZTKStreamBuffer::read);
  buffer.SetBufferIO(16);
  ReadSome(buffer, 16);
  buffer.Seek(50, ZTKFromStart);
  EXPECT_EQ(buffer.Seek(0, ZTKFromCurrent), 0);
  EXPECT_EQ(buffer.Seek(-5, ZTKFromCurrent), 45);
  EXPECT_EQ(ReadSome(buffer, 10), Pattern(100).substr(45, 10));
}

TEST(ZTKStreamBuffer, OtherSeekModesAreRefusedAndChangeNothing) {
  TestSource source(Pattern(100));
  ZTKStreamBuffer buffer(source, ZTKStreamBuffer::read);
  buffer.SetBufferIO(16);
  ReadSome(buffer, 4);
  for (const int mode : {-1, 3, 7, INT_MAX}) {
    SCOPED_TRACE(mode);
    EXPECT_EQ(buffer.Seek(0, ZTKSeekMode(mode)), -1);
  }
  EXPECT_TRUE(source.seeks.empty());
  EXPECT_EQ(ReadSome(buffer, 4), Pattern(100).substr(4, 4));
}

TEST(ZTKStreamBuffer, SeekInAWriteBufferMovesUpToItsCapacity) {
  TestSink sink;
  ZTKStreamBuffer buffer(sink, ZTKStreamBuffer::write);
  buffer.SetBufferIO(16);
  buffer.Write("abc", 3);
  EXPECT_EQ(buffer.Seek(13, ZTKFromCurrent), 13);
  EXPECT_EQ(PositionOf(buffer), 16);
  EXPECT_EQ(buffer.Seek(1, ZTKFromCurrent), 1);
  EXPECT_EQ(sink.seeks.back(), (std::pair<long, ZTKSeekMode>(1, ZTKFromCurrent)));
  EXPECT_EQ(PositionOf(buffer), 0);  // Not flushed: a caller does that first.
  EXPECT_TRUE(sink.bytes.empty());
}

TEST(ZTKStreamBuffer, FlushableWithoutAStreamSeeksNowhere) {
  ZTKStreamBuffer buffer(ZTKStreamBuffer::read);
  Fill(buffer, "0123456789");
  buffer.SetFlushable(1);
  EXPECT_EQ(buffer.Seek(2, ZTKFromStart), -1);
  EXPECT_EQ(ReadSome(buffer, 5), "");
}

TEST(ZTKStreamBuffer, TellOfAStreamThatClaimsTheLastPositionsDoesNotOverflow) {
  class Liar : public TestSource {
   public:
    using TestSource::TestSource;
    long claim = 0;
    long OnSysTell() const override { return claim; }
  };
  Liar source("0123456789");
  ZTKStreamBuffer buffer(source, ZTKStreamBuffer::read_write);
  buffer.SetBufferIO(10);
  ReadSome(buffer, 4);
  source.claim = LONG_MAX;
  EXPECT_LT(buffer.Tell(), 0);
  source.claim = LONG_MIN;
  source.Ungetch("ab", 2);
  EXPECT_GT(source.TellI(), 0);
}

// ---- buffer to buffer ----

TEST(ZTKStreamBuffer, CopiesBetweenBuffersMoveEverything) {
  for (const size_t size : {0u, 1u, 5119u, 5120u, 5121u, 20000u}) {
    SCOPED_TRACE(size);
    TestSource source(Pattern(size));
    TestSink sink;
    ZTKStreamBuffer from(source, ZTKStreamBuffer::read);
    ZTKStreamBuffer to(sink, ZTKStreamBuffer::write);
    from.SetBufferIO(1024);
    to.SetBufferIO(700);
    EXPECT_EQ(from.Read(&to), size);
    to.FlushBuffer();
    EXPECT_EQ(sink.bytes, Pattern(size));
  }
}

TEST(ZTKStreamBuffer, WriteFromABufferEndsAfterAPieceThatIsNotWhole) {
  TestSource source(Pattern(12000));
  TestSink sink;
  ZTKStreamBuffer from(source, ZTKStreamBuffer::read);
  ZTKStreamBuffer to(sink, ZTKStreamBuffer::write);
  from.SetBufferIO(1024);
  to.SetBufferIO(1024);
  EXPECT_EQ(to.Write(&from), 12000u);
  to.FlushBuffer();
  EXPECT_EQ(sink.bytes, Pattern(12000));
}

TEST(ZTKStreamBuffer, WhatAWriteFromABufferDoesNotTakeIsPushedBack) {
  TestSource source(Pattern(8000));
  ZTKBufferedInputStream reader(source, nullptr);
  char bytes[10];
  ZTKStreamBuffer to(ZTKStreamBuffer::write);
  to.SetBufferIO(bytes, 10ul, 0);
  EXPECT_EQ(to.Write(reader.GetInputStreamBuffer()), 10u);
  EXPECT_EQ(std::string(bytes, 10), Pattern(8000).substr(0, 10));
  EXPECT_EQ(ReadSome(reader, 8000), Pattern(8000).substr(10));
}

TEST(ZTKStreamBuffer, MemorySourceOfAWriteStepsBackOverTheRest) {
  ZTKStreamBuffer from(ZTKStreamBuffer::read);
  Fill(from, Pattern(100));
  char bytes[10];
  ZTKStreamBuffer to(ZTKStreamBuffer::write);
  to.SetBufferIO(bytes, 10ul, 0);
  EXPECT_EQ(to.Write(&from), 10u);
  EXPECT_EQ(ReadSome(from, 100), Pattern(100).substr(10));
}

TEST(ZTKStreamBuffer, CopiesRefuseWrongModesNullAndThemselves) {
  ZTKStreamBuffer reading(ZTKStreamBuffer::read);
  ZTKStreamBuffer writing(ZTKStreamBuffer::write);
  ZTKStreamBuffer both(ZTKStreamBuffer::read_write);
  for (ZTKStreamBuffer* buffer : {&reading, &writing, &both}) Fill(*buffer, "abc");
  EXPECT_EQ(writing.Read(&both), 0u);
  EXPECT_EQ(reading.Write(&both), 0u);
  EXPECT_EQ(both.Write(&writing), 0u);
  EXPECT_EQ(both.Write(static_cast<ZTKStreamBuffer*>(nullptr)), 0u);
  EXPECT_EQ(both.Read(static_cast<ZTKStreamBuffer*>(nullptr)), 0u);
  EXPECT_EQ(both.Read(&both), 0u);
  EXPECT_EQ(both.Write(&both), 0u);
  EXPECT_EQ(PositionOf(both), 0);
}

TEST(ZTKStreamBuffer, CopyIntoABufferThatIsFullStops) {
  ZTKStreamBuffer from(ZTKStreamBuffer::read);
  Fill(from, Pattern(20000));
  char bytes[6000];
  ZTKStreamBuffer to(ZTKStreamBuffer::write);
  to.SetBufferIO(bytes, 6000ul, 0);
  EXPECT_EQ(from.Read(&to), 6000u);
  EXPECT_EQ(std::string(bytes, 6000), Pattern(20000).substr(0, 6000));
}

TEST(ZTKStreamBuffer, CopyIntoABufferThatTakesNothingStopsAfterOnePiece) {
  TestSource source(Pattern(20000));
  ZTKStreamBuffer from(source, ZTKStreamBuffer::read);
  from.SetBufferIO(1024ul);
  ZTKStreamBuffer to(ZTKStreamBuffer::write);  // Without storage and without a sink.
  EXPECT_EQ(from.Read(&to), 0u);
  EXPECT_EQ(from.Tell(), 5120);
}

TEST(ZTKStreamBuffer, ErrorsAreStoredInTheStream) {
  TestSource source("abc");
  ZTKStreamBuffer buffer(source, ZTKStreamBuffer::read);
  buffer.SetError(ZTK_STREAM_READ_ERROR, "ignored");
  EXPECT_EQ(source.GetLastError(), ZTK_STREAM_READ_ERROR);
  ZTKStreamBuffer(ZTKStreamBuffer::read).SetError(ZTK_STREAM_EOF, "no stream");
}

}  // namespace
