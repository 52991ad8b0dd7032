#include <gtest/gtest.h>

#include <climits>

#include "tests/stream/test_streams.h"
#include "tests/support/failing_allocator.h"

namespace {

// Exposes what a derived stream may call.
class Source : public TestSource {
 public:
  using TestSource::AllocSpaceWBack;
  using TestSource::GetWBack;
  using TestSource::TestSource;
  using TestSource::WBackLeft;
};

// A source without an error of its own that has nothing.
class SilentSource : public ZTKInputStream {
 public:
  unsigned long OnSysRead(void*, unsigned long) override { return 0; }
};

TEST(ZTKInputStream, StartsWithoutCountAndError) {
  SilentSource stream;
  EXPECT_EQ(stream.LastRead(), 0u);
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_NO_ERROR);
  EXPECT_EQ(stream.GetSize(), 0u);
  EXPECT_EQ(stream.OnSysSeek(0, ZTKFromStart), -1);
  EXPECT_EQ(stream.OnSysTell(), -1);
  EXPECT_EQ(stream.TellI(), -1);
  EXPECT_EQ(stream.SeekI(0, ZTKFromStart), -1);
  EXPECT_TRUE(stream.CanRead());
  EXPECT_FALSE(stream.Eof());
}

TEST(ZTKInputStream, ReadReturnsTheStreamAndCountsTheBytes) {
  TestSource stream("abcdef");
  char bytes[4] = {};
  EXPECT_EQ(&stream.Read(bytes, 4), &stream);
  EXPECT_EQ(std::string(bytes, 4), "abcd");
  EXPECT_EQ(stream.LastRead(), 4u);
  EXPECT_EQ(stream.requests, std::vector<unsigned long>{4});
}

TEST(ZTKInputStream, ReadGoesOnAfterShortDeliveries) {
  TestSource stream("abcdefg", 3);
  EXPECT_EQ(ReadSome(stream, 7), "abcdefg");
  EXPECT_EQ(stream.requests, (std::vector<unsigned long>{7, 4, 1}));
}

TEST(ZTKInputStream, ReadStopsAtTheEndAndTellsEof) {
  TestSource stream("abc");
  EXPECT_EQ(ReadSome(stream, 10), "abc");
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_EOF);
  EXPECT_TRUE(stream.Eof());
  EXPECT_FALSE(stream.CanRead());
  EXPECT_EQ(stream.requests, (std::vector<unsigned long>{10, 7}));
}

TEST(ZTKInputStream, ReadOfNothingDoesNotAskTheSource) {
  TestSource stream("abc");
  char byte = 'x';
  stream.Read(&byte, 0);
  EXPECT_EQ(stream.LastRead(), 0u);
  EXPECT_EQ(byte, 'x');
  EXPECT_TRUE(stream.requests.empty());
}

TEST(ZTKInputStream, ReadIntoNullReadsNothingEvenWithBytesPushedBack) {
  TestSource stream("abc");
  stream.Ungetch("xy", 2);
  stream.Read(nullptr, 5);
  EXPECT_EQ(stream.LastRead(), 0u);
  EXPECT_TRUE(stream.requests.empty());
  EXPECT_EQ(ReadSome(stream, 5), "xyabc");
}

TEST(ZTKInputStream, SourceThatClaimsTooMuchIsClamped) {
  TestSource stream("abcdef");
  stream.ClaimMore(1000);
  EXPECT_EQ(ReadSome(stream, 4), "abcd");
  EXPECT_EQ(stream.LastRead(), 4u);
}

TEST(ZTKInputStream, SourceThatFailsDeliversWhatItHad) {
  TestSource stream("abcdef");
  stream.FailAt(2);
  EXPECT_EQ(ReadSome(stream, 6), "ab");
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_READ_ERROR);
  EXPECT_TRUE(stream.CanRead());  // Only the end of the data ends reading.
  EXPECT_FALSE(stream.Eof());
}

TEST(ZTKInputStream, GetCGivesOneByteAndZeroAtTheEnd) {
  TestSource stream("\xFF");
  EXPECT_EQ(stream.GetC(), '\xFF');
  EXPECT_EQ(stream.LastRead(), 1u);
  EXPECT_EQ(stream.GetC(), '\0');
  EXPECT_EQ(stream.LastRead(), 0u);
}

TEST(ZTKInputStream, PeekLeavesTheByte) {
  TestSource stream("ab");
  EXPECT_EQ(stream.Peek(), 'a');
  EXPECT_EQ(stream.Peek(), 'a');
  EXPECT_EQ(ReadSome(stream, 2), "ab");
}

TEST(ZTKInputStream, PeekAtTheEndGivesZeroAndKeepsTheError) {
  TestSource stream("");
  EXPECT_EQ(stream.Peek(), '\0');
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_EOF);
  EXPECT_TRUE(stream.Eof());
}

TEST(ZTKInputStream, PeekOfASourceThatHasNothingButNoErrorPushesBackAZero) {
  SilentSource stream;
  EXPECT_EQ(stream.Peek(), '\0');
  EXPECT_EQ(ReadSome(stream, 2), std::string(1, '\0'));
}

TEST(ZTKInputStream, PeekUnderAStandingErrorConsumesTheByte) {
  TestSource stream("ab");
  stream.Ungetch("x", 1);
  stream.SetLastError(ZTK_STREAM_READ_ERROR);  // A byte from the push-back leaves it standing.
  EXPECT_EQ(stream.Peek(), '\0');
  EXPECT_EQ(ReadSome(stream, 1), "a");
}

TEST(ZTKInputStream, BlockPushedBackLastIsReadFirst) {
  TestSource stream("z");
  EXPECT_EQ(stream.Ungetch("ab", 2), 2u);
  EXPECT_TRUE(stream.Ungetch('c'));
  EXPECT_EQ(stream.GetC(), 'c');
  EXPECT_EQ(stream.GetC(), 'a');
  EXPECT_EQ(stream.GetC(), 'b');
  EXPECT_EQ(stream.GetC(), 'z');
}

TEST(ZTKInputStream, OneReadTakesPushedBackBytesAndTheSource) {
  TestSource stream("cdef");
  stream.Ungetch("ab", 2);
  EXPECT_EQ(ReadSome(stream, 5), "abcde");
  EXPECT_EQ(stream.LastRead(), 5u);
  EXPECT_EQ(stream.requests, std::vector<unsigned long>{3});
}

TEST(ZTKInputStream, PushBackMakesAnEndedStreamReadable) {
  TestSource stream("a");
  ReadSome(stream, 5);
  ASSERT_TRUE(stream.Eof());
  EXPECT_TRUE(stream.Ungetch('q'));
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_NO_ERROR);
  EXPECT_FALSE(stream.Eof());
  EXPECT_EQ(ReadSome(stream, 5), "q");
  EXPECT_TRUE(stream.Eof());
}

TEST(ZTKInputStream, EofAndCanReadLookAtThePushBackAfterTheEnd) {
  Source stream("");
  stream.Ungetch("ab", 2);
  stream.SetLastError(ZTK_STREAM_EOF);
  EXPECT_TRUE(stream.CanRead());
  EXPECT_FALSE(stream.Eof());
  char bytes[2];
  EXPECT_EQ(stream.GetWBack(bytes, 2), 2u);
  EXPECT_FALSE(stream.CanRead());
  EXPECT_TRUE(stream.Eof());
}

TEST(ZTKInputStream, UngetchRefusesNothingAndStandingErrors) {
  TestSource stream("a");
  EXPECT_EQ(stream.Ungetch(nullptr, 3), 0u);
  EXPECT_EQ(stream.Ungetch("abc", 0), 0u);
  for (const ZTKStreamError error : {ZTK_STREAM_WRITE_ERROR, ZTK_STREAM_READ_ERROR}) {
    SCOPED_TRACE(error);
    stream.SetLastError(error);
    EXPECT_EQ(stream.Ungetch("abc", 3), 0u);
    EXPECT_FALSE(stream.Ungetch('a'));
    EXPECT_EQ(stream.GetLastError(), error);
  }
  stream.SetLastError(ZTK_STREAM_NO_ERROR);
  EXPECT_EQ(ReadSome(stream, 3), "a");
}

TEST(ZTKInputStream, UngetchWithoutMemoryChangesNothing) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  TestSource stream("z");
  stream.Ungetch("ab", 2);
  stream.SetLastError(ZTK_STREAM_EOF);
  {
    failing_allocator::Scope scope(0);
    EXPECT_EQ(stream.Ungetch("xyz", 3), 0u);
  }
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_EOF);
  stream.SetLastError(ZTK_STREAM_NO_ERROR);
  EXPECT_EQ(ReadSome(stream, 4), "abz");
}

TEST(ZTKInputStream, AllocSpaceWBackRefusesASizeThatDoesNotFit) {
  Source stream("z");
  stream.Ungetch("ab", 2);
  EXPECT_EQ(stream.AllocSpaceWBack(UINT32_MAX - 1), nullptr);
  EXPECT_EQ(stream.AllocSpaceWBack(ULONG_MAX), nullptr);
  EXPECT_EQ(stream.WBackLeft(), 2u);
  EXPECT_EQ(ReadSome(stream, 3), "abz");
}

TEST(ZTKInputStream, AllocSpaceWBackGivesRoomInFrontOfTheUnreadBytes) {
  Source stream("z");
  stream.Ungetch("abc", 3);
  EXPECT_EQ(stream.GetC(), 'a');
  char* const room = stream.AllocSpaceWBack(2);
  ASSERT_NE(room, nullptr);
  room[0] = 'x';
  room[1] = 'y';
  EXPECT_EQ(stream.WBackLeft(), 4u);
  EXPECT_EQ(ReadSome(stream, 9), "xybcz");
}

TEST(ZTKInputStream, GetWBackGivesNoMoreThanThereIs) {
  Source stream("z");
  char bytes[8] = "-------";
  EXPECT_EQ(stream.GetWBack(bytes, 4), 0u);
  stream.Ungetch("abc", 3);
  EXPECT_EQ(stream.GetWBack(bytes, 2), 2u);
  EXPECT_EQ(stream.GetWBack(bytes + 2, 4), 1u);
  EXPECT_EQ(std::string(bytes), "abc----");
  EXPECT_EQ(stream.GetWBack(bytes, 4), 0u);
  EXPECT_EQ(stream.WBackLeft(), 0u);
}

TEST(ZTKInputStream, TellIsTheSourceLessThePushedBackBytes) {
  TestSource stream("0123456789abcdef");
  ReadSome(stream, 10);
  stream.Ungetch("xyz", 3);
  EXPECT_EQ(stream.TellI(), 7);
  stream.GetC();
  EXPECT_EQ(stream.TellI(), 8);
}

TEST(ZTKInputStream, TellGoesBelowZeroWhenMoreIsPushedBackThanWasRead) {
  TestSource stream("0123456789");
  stream.Ungetch("xyz", 3);
  EXPECT_EQ(stream.TellI(), -3);
}

TEST(ZTKInputStream, SeekDropsThePushBackAndClearsOnlyEof) {
  TestSource stream("0123456789");
  ReadSome(stream, 20);
  stream.Ungetch("x", 1);
  stream.SetLastError(ZTK_STREAM_EOF);
  EXPECT_EQ(stream.SeekI(2, ZTKFromStart), 2);
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_NO_ERROR);
  EXPECT_EQ(ReadSome(stream, 3), "234");
  EXPECT_EQ(stream.SeekI(-1, ZTKFromEnd), 9);
  EXPECT_EQ(ReadSome(stream, 1), "9");

  stream.SetLastError(ZTK_STREAM_READ_ERROR);
  EXPECT_EQ(stream.SeekI(0, ZTKFromStart), 0);
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_READ_ERROR);
}

TEST(ZTKInputStream, RelativeSeekCountsFromTheSource) {
  TestSource stream("0123456789");
  ReadSome(stream, 4);
  stream.Ungetch("23", 2);
  EXPECT_EQ(stream.SeekI(1, ZTKFromCurrent), 5);
  EXPECT_EQ(ReadSome(stream, 1), "5");
}

TEST(ZTKInputStream, CopyToASinkMovesEverything) {
  for (const size_t size : {0u, 1u, 5119u, 5120u, 5121u, 20000u}) {
    SCOPED_TRACE(size);
    const std::string bytes = Pattern(size);
    TestSource source(bytes);
    TestSink sink;
    EXPECT_EQ(&source.Read(sink), &source);
    EXPECT_EQ(sink.bytes, bytes);

    TestSource again(bytes);
    TestSink other;
    EXPECT_EQ(&other.Write(again), &other);
    EXPECT_EQ(other.bytes, bytes);
  }
}

TEST(ZTKInputStream, CopyStopsWhenTheSinkTakesLess) {
  TestSource source(Pattern(20000));
  TestSink sink(SIZE_MAX, 6000);
  source.Read(sink);
  EXPECT_EQ(sink.bytes, Pattern(20000).substr(0, 6000));
  EXPECT_EQ(source.TellI(), 10240);  // The rest of the second piece was read and is lost.
}

TEST(ZTKInputStream, CopyToASinkThatTakesNothingStopsAfterOnePiece) {
  TestSource source(Pattern(20000));
  ZTKOutputStream nowhere;
  source.Read(nowhere);
  EXPECT_EQ(source.TellI(), 5120);
}

TEST(ZTKInputStream, CopyToACountingStreamStopsAfterTheSecondPiece) {
  TestSource source(Pattern(20000));
  ZTKCountingOutputStream counter;
  source.Read(counter);
  EXPECT_EQ(counter.GetSize(), 10240u);
}

TEST(ZTKInputStream, EmptyPieceEndsACopyAtOnce) {
  SilentSource source;
  TestSink sink;
  source.Read(sink);
  EXPECT_TRUE(sink.pieces.empty());
}

}  // namespace
