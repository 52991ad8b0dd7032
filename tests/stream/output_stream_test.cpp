#include <gtest/gtest.h>

#include <climits>
#include <type_traits>

#include "tests/stream/test_streams.h"

namespace {

TEST(ZTKOutputStream, BaseTakesNothing) {
  ZTKOutputStream stream;
  EXPECT_EQ(&stream.Write("abc", 3), &stream);
  EXPECT_EQ(stream.LastWrite(), 0u);
  EXPECT_EQ(stream.GetSize(), 0u);
  EXPECT_EQ(stream.SeekO(0, ZTKFromStart), -1);
  EXPECT_EQ(stream.TellO(), -1);
  stream.Sync();
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_NO_ERROR);
}

TEST(ZTKOutputStream, WriteCountsWhatTheSinkTook) {
  TestSink sink(2);
  sink.Write("abc", 3);
  EXPECT_EQ(sink.LastWrite(), 2u);
  EXPECT_EQ(sink.bytes, "ab");
}

TEST(ZTKOutputStream, WriteOfNothingLeavesTheCount) {
  TestSink sink;
  sink.Write("abc", 3);
  sink.Write(nullptr, 5);
  EXPECT_EQ(sink.LastWrite(), 3u);
  sink.Write("x", 0);
  EXPECT_EQ(sink.LastWrite(), 3u);
  EXPECT_EQ(sink.pieces, std::vector<unsigned long>{3});
}

TEST(ZTKOutputStream, PutCWritesOneByte) {
  TestSink sink;
  sink.PutC('\xFE');
  EXPECT_EQ(sink.bytes, "\xFE");
  EXPECT_EQ(sink.LastWrite(), 1u);
}

TEST(ZTKOutputStream, LineEndIsALoneCarriageReturn) {
  TestSink sink;
  EXPECT_EQ(&ZTKEndL(sink), &sink);
  EXPECT_EQ(sink.bytes, "\x0D");
}

TEST(ZTKOutputStream, SeekAndTellAskTheSink) {
  TestSink sink;
  sink.Write("abc", 3);
  EXPECT_EQ(sink.TellO(), 3);
  EXPECT_EQ(sink.SeekO(1, ZTKFromEnd), 1);
  EXPECT_EQ(sink.seeks, (std::vector<std::pair<long, ZTKSeekMode>>{{1, ZTKFromEnd}}));
}

TEST(ZTKStreamBase, IsNeverCopied) {
  EXPECT_FALSE(std::is_copy_constructible_v<ZTKMemoryInputStream>);
  EXPECT_FALSE(std::is_copy_assignable_v<ZTKMemoryOutputStream>);
  EXPECT_FALSE(std::is_copy_constructible_v<ZTKBufferedOutputStream>);
  EXPECT_FALSE(std::is_copy_assignable_v<ZTKBufferedInputStream>);
}

TEST(ZTKCountingOutputStream, SizeIsTheGreatestPositionAndLastWriteThePositionReached) {
  ZTKCountingOutputStream counter;
  counter.Write("0123456789", 10);
  EXPECT_EQ(counter.LastWrite(), 10u);
  EXPECT_EQ(counter.SeekO(4, ZTKFromStart), 4);
  EXPECT_EQ(counter.GetSize(), 10u);
  counter.Write("ab", 2);
  EXPECT_EQ(counter.GetSize(), 10u);
  EXPECT_EQ(counter.TellO(), 6);
  EXPECT_EQ(counter.LastWrite(), 6u);
  EXPECT_EQ(counter.SeekO(0, ZTKFromEnd), 10);
  EXPECT_EQ(counter.SeekO(-3, ZTKFromCurrent), 7);
  counter.Write("abcdef", 6);
  EXPECT_EQ(counter.GetSize(), 13u);
}

TEST(ZTKCountingOutputStream, SeekPastTheSizeMakesItTheSize) {
  ZTKCountingOutputStream counter;
  EXPECT_EQ(counter.SeekO(100, ZTKFromStart), 100);
  EXPECT_EQ(counter.GetSize(), 100u);
  EXPECT_EQ(counter.SeekO(5, ZTKFromEnd), 105);
  EXPECT_EQ(counter.GetSize(), 105u);
}

TEST(ZTKCountingOutputStream, SeekBelowZeroIsTakenAsAVeryLargeSize) {
  ZTKCountingOutputStream counter;
  EXPECT_EQ(counter.SeekO(-3, ZTKFromStart), -3);
  EXPECT_EQ(counter.GetSize(), 0xFFFFFFFDu);
}

TEST(ZTKCountingOutputStream, SeekThatFitsNoPositionIsRefused) {
  ZTKCountingOutputStream counter;
  counter.Write("abc", 3);
  EXPECT_EQ(counter.SeekO(0, ZTKSeekMode(3)), -1);
  EXPECT_EQ(counter.SeekO(0, ZTKSeekMode(-1)), -1);
#if LONG_MAX > INT32_MAX
  EXPECT_EQ(counter.SeekO(LONG_MAX, ZTKFromCurrent), -1);
  EXPECT_EQ(counter.SeekO(LONG_MIN, ZTKFromEnd), -1);
  EXPECT_EQ(counter.SeekO(long{UINT32_MAX} + 1, ZTKFromStart), -1);
  EXPECT_EQ(counter.SeekO(long{UINT32_MAX}, ZTKFromStart), long{UINT32_MAX});
#else
  EXPECT_EQ(counter.SeekO(LONG_MIN, ZTKFromStart), LONG_MIN);
#endif
}

TEST(ZTKCountingOutputStream, CountStopsAtWhat32BitsHold) {
  ZTKCountingOutputStream counter;
  counter.SeekO(-3, ZTKFromStart);
  counter.Write("abcdef", 6);
  EXPECT_EQ(counter.GetSize(), 0xFFFFFFFFu);
  EXPECT_EQ(counter.GetLastError(), ZTK_STREAM_WRITE_ERROR);
}

TEST(ZTKCountingOutputStream, CountUpToTheLastPositionIsNoError) {
  ZTKCountingOutputStream counter;
  counter.SeekO(-3, ZTKFromStart);
  counter.Write("ab", 2);
  EXPECT_EQ(counter.GetSize(), 0xFFFFFFFFu);
  EXPECT_EQ(counter.GetLastError(), ZTK_STREAM_NO_ERROR);
}

TEST(ZTKCountingOutputStream, SeekThatRaisesTheSizeShowsInLastWrite) {
  ZTKCountingOutputStream counter;
  counter.Write("0123456789", 10);
  counter.SeekO(4, ZTKFromStart);
  EXPECT_EQ(counter.LastWrite(), 10u);
  counter.SeekO(100, ZTKFromStart);
  EXPECT_EQ(counter.LastWrite(), 100u);
  counter.SeekO(-40, ZTKFromCurrent);
  EXPECT_EQ(counter.LastWrite(), 100u);
  counter.SeekO(7, ZTKFromEnd);
  EXPECT_EQ(counter.LastWrite(), 107u);
  EXPECT_EQ(counter.GetSize(), 107u);
  counter.SeekO(-1, ZTKFromStart);
  EXPECT_EQ(counter.LastWrite(), 0xFFFFFFFFu);
}

TEST(ZTKCountingOutputStream, SeekFromTheCurrentPositionIsNotOneFromTheEnd) {
  ZTKCountingOutputStream counter;
  counter.Write("0123456789", 10);
  counter.SeekO(2, ZTKFromStart);
  EXPECT_EQ(counter.SeekO(3, ZTKFromCurrent), 5);
  EXPECT_EQ(counter.TellO(), 5);
  EXPECT_EQ(counter.SeekO(-4, ZTKFromCurrent), 1);
  EXPECT_EQ(counter.TellO(), 1);
  EXPECT_EQ(counter.GetSize(), 10u);
}

TEST(ZTKCountingOutputStream, SeekFromTheEndStopsAtWhat32BitsHold) {
#if LONG_MAX > INT32_MAX
  ZTKCountingOutputStream counter;
  counter.Write("0123456789", 10);
  EXPECT_EQ(counter.SeekO(long{UINT32_MAX} - 9, ZTKFromEnd), -1);
  EXPECT_EQ(counter.TellO(), 10);
  EXPECT_EQ(counter.GetSize(), 10u);
  EXPECT_EQ(counter.LastWrite(), 10u);
  EXPECT_EQ(counter.SeekO(long{UINT32_MAX} - 10, ZTKFromEnd), long{UINT32_MAX});
  EXPECT_EQ(counter.SeekO(1, ZTKFromEnd), -1);
#else
  GTEST_SKIP() << "a long has four bytes here";
#endif
}

class BareFilterInput : public ZTKFilterInputStream {
 public:
  using ZTKFilterInputStream::ZTKFilterInputStream;
  unsigned long OnSysRead(void* pBuffer, unsigned long nCount) override {
    return m_pParent != nullptr ? m_pParent->Read(pBuffer, nCount).LastRead() : 0;
  }
};

TEST(ZTKFilterInputStream, WithoutAParentThereIsNothing) {
  BareFilterInput filter;
  EXPECT_EQ(filter.Peek(), '\0');
  EXPECT_EQ(filter.GetSize(), 0u);
  EXPECT_EQ(filter.TellI(), -1);
  EXPECT_EQ(filter.SeekI(0, ZTKFromStart), -1);
  EXPECT_EQ(ReadSome(filter, 4), "");
}

TEST(ZTKFilterInputStream, PeekIsTheParentsAndIgnoresThePushBack) {
  TestSource parent("abc");
  BareFilterInput filter(parent);
  filter.Ungetch('x');
  EXPECT_EQ(filter.Peek(), 'a');
  EXPECT_EQ(filter.GetSize(), 3u);
  EXPECT_EQ(ReadSome(filter, 9), "xabc");
}

TEST(ZTKFilterOutputStream, ForwardsTheSizeOfTheParent) {
  ZTKFilterOutputStream bare;
  EXPECT_EQ(bare.GetSize(), 0u);
  bare.Write("abc", 3);
  EXPECT_EQ(bare.LastWrite(), 0u);
  TestSink sink;
  sink.Write("abcd", 4);
  ZTKFilterOutputStream filter(sink);
  EXPECT_EQ(filter.GetSize(), 4u);
}

}  // namespace
