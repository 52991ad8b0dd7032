#include <gtest/gtest.h>

#include <climits>
#include <memory>

#include "tests/stream/test_streams.h"
#include "tests/support/failing_allocator.h"

namespace {

using Warnings = std::vector<std::string>;

// A subclass may take the buffer away.
class BareInput : public ZTKBufferedInputStream {
 public:
  explicit BareInput(ZTKInputStream& parent) : ZTKBufferedInputStream(parent, nullptr) {
    DropBuffer();
  }
  void DropBuffer() { delete std::exchange(m_pBuffer, nullptr); }
  void DropParent() { m_pParent = nullptr; }
};

class BareOutput : public ZTKBufferedOutputStream {
 public:
  explicit BareOutput(ZTKOutputStream& parent) : ZTKBufferedOutputStream(parent, nullptr) {}
  void DropBuffer() { delete std::exchange(m_pBuffer, nullptr); }
  void DropParent() { m_pParent = nullptr; }
};

// ---- input ----

TEST(ZTKBufferedInputStream, ReadsAheadInPiecesOf1024) {
  TestSource parent(Pattern(3000));
  ZTKBufferedInputStream stream(parent, nullptr);
  EXPECT_EQ(ReadSome(stream, 10), Pattern(3000).substr(0, 10));
  EXPECT_EQ(stream.LastRead(), 10u);
  EXPECT_EQ(parent.requests, std::vector<unsigned long>{1024});
  EXPECT_EQ(stream.TellI(), 10);
  EXPECT_EQ(stream.GetSize(), 3000u);
  EXPECT_EQ(ReadSome(stream, 5000), Pattern(3000).substr(10));
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_EOF);
  EXPECT_TRUE(stream.Eof());
}

TEST(ZTKBufferedInputStream, GivesTheReadAheadBackToTheParent) {
  TestSource parent(Pattern(3000));
  {
    ZTKBufferedInputStream stream(parent, nullptr);
    ReadSome(stream, 10);
    parent.SetLastError(ZTK_STREAM_EOF);
  }
  EXPECT_EQ(parent.TellI(), 10);
  EXPECT_EQ(parent.GetLastError(), ZTK_STREAM_NO_ERROR);
  EXPECT_EQ(ReadSome(parent, 5), Pattern(3000).substr(10, 5));
}

TEST(ZTKBufferedInputStream, SeeksTheParentEvenWhenNothingIsLeft) {
  TestSource parent("abcdef");
  parent.Ungetch("xy", 2);
  { ZTKBufferedInputStream stream(parent, nullptr); }
  EXPECT_EQ(parent.seeks, (std::vector<std::pair<long, ZTKSeekMode>>{{0, ZTKFromCurrent}}));
  EXPECT_EQ(ReadSome(parent, 9), "abcdef");  // Which drops what was pushed back into it.
}

TEST(ZTKBufferedInputStream, ParentThatCannotSeekKeepsItsPosition) {
  TestSource parent(Pattern(3000));
  parent.CannotSeek();
  {
    ZTKBufferedInputStream stream(parent, nullptr);
    ReadSome(stream, 10);
  }
  EXPECT_EQ(ReadSome(parent, 5), Pattern(3000).substr(1024, 5));
}

TEST(ZTKBufferedInputStream, PushedBackBytesComeFirstAndCount) {
  TestSource parent("cdefgh");
  ZTKBufferedInputStream stream(parent, nullptr);
  stream.Ungetch("ab", 2);
  EXPECT_EQ(stream.TellI(), -2);
  EXPECT_EQ(ReadSome(stream, 2), "ab");
  EXPECT_TRUE(parent.requests.empty());
  stream.Ungetch("ab", 2);
  EXPECT_EQ(ReadSome(stream, 5), "abcde");
  EXPECT_EQ(stream.LastRead(), 5u);
  stream.Ungetch("xyz", 3);
  EXPECT_EQ(ReadSome(stream, 100), "xyzfgh");
  EXPECT_EQ(stream.LastRead(), 6u);
}

TEST(ZTKBufferedInputStream, PeekIgnoresThePushBack) {
  TestSource parent("abc");
  ZTKBufferedInputStream stream(parent, nullptr);
  stream.Ungetch('x');
  EXPECT_EQ(stream.Peek(), 'a');
  EXPECT_EQ(ReadSome(stream, 9), "xabc");
  EXPECT_EQ(stream.Peek(), '\0');
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_READ_ERROR);
}

TEST(ZTKBufferedInputStream, ReadThatFindsNothingWarns) {
  WarningCatcher warnings;
  TestSource parent("abc");
  ZTKBufferedInputStream stream(parent, nullptr);
  EXPECT_EQ(ReadSome(stream, 9), "abc");
  EXPECT_EQ(warnings.Take(), Warnings{});
  EXPECT_EQ(ReadSome(stream, 9), "");
  EXPECT_EQ(warnings.Take(), Warnings{"read 0 data"});
  char byte;
  stream.Read(&byte, 0);
  EXPECT_EQ(warnings.Take(), Warnings{});
}

TEST(ZTKBufferedInputStream, ReadClearsTheErrorEvenForNull) {
  TestSource parent("abc");
  ZTKBufferedInputStream stream(parent, nullptr);
  stream.SetLastError(ZTK_STREAM_READ_ERROR);
  stream.Read(nullptr, 5);
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_NO_ERROR);
  EXPECT_TRUE(parent.requests.empty());
}

TEST(ZTKBufferedInputStream, SeekUsesTheBufferAndDropsThePushBack) {
  TestSource parent(Pattern(3000));
  ZTKBufferedInputStream stream(parent, nullptr);
  ReadSome(stream, 100);
  stream.Ungetch("xyz", 3);
  EXPECT_EQ(stream.SeekI(-50, ZTKFromCurrent), -50);  // Inside the read-ahead: the offset.
  EXPECT_EQ(stream.TellI(), 50);
  EXPECT_EQ(ReadSome(stream, 5), Pattern(3000).substr(50, 5));
  EXPECT_EQ(stream.SeekI(2000, ZTKFromStart), 2000);
  EXPECT_EQ(ReadSome(stream, 5), Pattern(3000).substr(2000, 5));
  EXPECT_EQ(stream.SeekI(-5, ZTKFromEnd), 2995);
  EXPECT_EQ(ReadSome(stream, 50), Pattern(3000).substr(2995));
  ASSERT_EQ(stream.GetLastError(), ZTK_STREAM_EOF);
  EXPECT_EQ(stream.SeekI(0, ZTKFromStart), 0);
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_NO_ERROR);
}

TEST(ZTKBufferedInputStream, TellWarnsWhereThereIsNoPosition) {
  WarningCatcher warnings;
  TestSource parent("abc");
  parent.CannotSeek();
  ZTKBufferedInputStream stream(parent, nullptr);
  EXPECT_EQ(stream.TellI(), -1);
  EXPECT_EQ(warnings.Take(), Warnings{"invalid offset"});
}

TEST(ZTKBufferedInputStream, WithoutABufferThereIsNothing) {
  WarningCatcher warnings;
  TestSource parent("abc");
  BareInput stream(parent);
  EXPECT_EQ(stream.TellI(), -1);
  EXPECT_EQ(warnings.Take(), (Warnings{"empty pointer", "invalid offset"}));
  EXPECT_EQ(stream.SeekI(0, ZTKFromStart), -1);
  EXPECT_EQ(stream.Peek(), '\0');
  stream.Ungetch("xy", 2);
  EXPECT_EQ(ReadSome(stream, 9), "xy");
  EXPECT_EQ(ReadSome(stream, 9), "");
}

TEST(ZTKBufferedInputStream, WithoutAParentThereIsNothing) {
  WarningCatcher warnings;
  TestSource parent("abc");
  BareInput stream(parent);
  stream.DropParent();
  stream.SetInputStreamBuffer(new ZTKStreamBuffer(stream, ZTKStreamBuffer::read));
  stream.GetInputStreamBuffer()->SetBufferIO(16);
  EXPECT_EQ(ReadSome(stream, 9), "");
  EXPECT_EQ(stream.OnSysSeek(0, ZTKFromStart), -1);
  EXPECT_EQ(stream.OnSysTell(), -1);
  EXPECT_EQ(stream.TellI(), -1);
  EXPECT_EQ(warnings.Take(), (Warnings{"read 0 data", "invalid offset"}));
}

TEST(ZTKBufferedInputStream, AdoptsABufferAndRefusesNull) {
  WarningCatcher warnings;
  TestSource parent(Pattern(3000));
  ZTKBufferedInputStream stream(parent, nullptr);
  stream.SetInputStreamBuffer(nullptr);
  EXPECT_EQ(warnings.Take(), Warnings{"SetInputStreamBuffer: empty pointer"});
  auto* const buffer = new ZTKStreamBuffer(stream, ZTKStreamBuffer::read);
  buffer->SetBufferIO(7);
  stream.SetInputStreamBuffer(buffer);
  stream.SetInputStreamBuffer(buffer);  // The same once more: kept.
  EXPECT_EQ(stream.GetInputStreamBuffer(), buffer);
  EXPECT_EQ(ReadSome(stream, 20), Pattern(3000).substr(0, 20));
  EXPECT_EQ(parent.requests, (std::vector<unsigned long>{7, 7, 7}));
}

TEST(ZTKBufferedInputStream, CountsWhatABufferOfAnotherStreamDelivers) {
  TestSource parent("cdefgh");
  auto* const buffer = new ZTKStreamBuffer(parent, ZTKStreamBuffer::read);
  buffer->SetBufferIO(4);
  ZTKBufferedInputStream stream(parent, buffer);
  stream.Ungetch("ab", 2);
  EXPECT_EQ(ReadSome(stream, 5), "abcde");
  EXPECT_EQ(stream.LastRead(), 5u);
}

TEST(ZTKBufferedInputStream, WithoutMemoryThereIsNoBuffer) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  TestSource parent("abcdef");
  for (const long allowed : {0L, 1L}) {  // No buffer object, and one without storage.
    SCOPED_TRACE(allowed);
    alignas(ZTKBufferedInputStream) char place[sizeof(ZTKBufferedInputStream)];
    ZTKBufferedInputStream* stream;
    {
      failing_allocator::Scope scope(allowed);
      stream = new (place) ZTKBufferedInputStream(parent, nullptr);
    }
    EXPECT_EQ(ReadSome(*stream, 3), allowed == 0 ? "" : "abc");
    stream->~ZTKBufferedInputStream();
  }
}

// ---- output ----

TEST(ZTKBufferedOutputStream, CollectsUntilFullSyncOrTheEnd) {
  TestSink parent;
  {
    ZTKBufferedOutputStream stream(parent, nullptr);
    stream.Write(Pattern(1000).data(), 1000);
    EXPECT_EQ(stream.LastWrite(), 1000u);
    EXPECT_TRUE(parent.bytes.empty());
    stream.Write(Pattern(1000).data(), 100);
    EXPECT_EQ(parent.bytes.size(), 1024u);
    stream.Sync();
    EXPECT_EQ(parent.bytes, Pattern(1000) + Pattern(100));
    EXPECT_EQ(parent.syncs, 1);
    stream.Write("end", 3);
  }
  EXPECT_EQ(parent.bytes, Pattern(1000) + Pattern(100) + "end");
  EXPECT_EQ(parent.syncs, 2);
}

TEST(ZTKBufferedOutputStream, SizeCountsWhatWaits) {
  TestSink parent;
  parent.Write("0123", 4);
  ZTKBufferedOutputStream stream(parent, nullptr);
  EXPECT_EQ(stream.GetSize(), 4u);
  stream.Write("0123456789", 10);
  EXPECT_EQ(stream.GetSize(), 14u);
  EXPECT_EQ(stream.TellO(), 14);
  stream.Sync();
  EXPECT_EQ(stream.GetSize(), 14u);
}

TEST(ZTKBufferedOutputStream, WriteOfNothingLeavesTheCount) {
  TestSink parent;
  ZTKBufferedOutputStream stream(parent, nullptr);
  stream.Write("abc", 3);
  stream.Write(nullptr, 5);
  stream.Write("abc", 0);
  EXPECT_EQ(stream.LastWrite(), 3u);
}

TEST(ZTKBufferedOutputStream, FailureShowsInCountAndError) {
  TestSink parent(SIZE_MAX, 1500);
  ZTKBufferedOutputStream stream(parent, nullptr);
  stream.Write(Pattern(4000).data(), 4000);
  EXPECT_EQ(stream.LastWrite(), 2048u);  // The second block was taken, but not passed on.
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_WRITE_ERROR);
  stream.Write("x", 1);
  EXPECT_EQ(stream.LastWrite(), 0u);
}

TEST(ZTKBufferedOutputStream, SeekSyncsFirst) {
  TestSink parent;
  ZTKBufferedOutputStream stream(parent, nullptr);
  stream.Write("abc", 3);
  EXPECT_EQ(stream.SeekO(1, ZTKFromStart), 1);
  EXPECT_EQ(parent.bytes, "abc");
  EXPECT_EQ(parent.syncs, 1);
  EXPECT_EQ(parent.seeks, (std::vector<std::pair<long, ZTKSeekMode>>{{1, ZTKFromStart}}));
}

TEST(ZTKBufferedOutputStream, RelativeSeekInsideTheFreshBufferWritesZeroes) {
  TestSink parent;
  ZTKBufferedOutputStream stream(parent, nullptr);
  EXPECT_EQ(stream.SeekO(100, ZTKFromCurrent), 100);
  stream.Sync();
  EXPECT_EQ(parent.bytes, std::string(100, '\0'));
}

TEST(ZTKBufferedOutputStream, ReplacedBufferIsFlushedFirst) {
  TestSink parent;
  ZTKBufferedOutputStream stream(parent, nullptr);
  stream.Write("abc", 3);
  stream.SetOutputStreamBuffer(nullptr);
  EXPECT_TRUE(parent.bytes.empty());
  auto* const buffer = new ZTKStreamBuffer(stream, ZTKStreamBuffer::write);
  buffer->SetBufferIO(2);
  stream.SetOutputStreamBuffer(buffer);
  stream.SetOutputStreamBuffer(buffer);  // The same once more: kept.
  EXPECT_EQ(stream.GetOutputStreamBuffer(), buffer);
  EXPECT_EQ(parent.bytes, "abc");
  stream.Write("defg", 4);
  stream.Sync();
  EXPECT_EQ(parent.bytes, "abcdefg");
}

TEST(ZTKBufferedOutputStream, WithoutABufferOrAParentNothingIsTaken) {
  TestSink parent;
  BareOutput stream(parent);
  stream.Write("abc", 3);
  stream.DropParent();
  EXPECT_EQ(stream.OnSysWrite("x", 1), 0u);
  EXPECT_EQ(stream.OnSysSeek(0, ZTKFromStart), -1);
  EXPECT_EQ(stream.OnSysTell(), -1);
  EXPECT_EQ(stream.TellO(), -1);
  stream.Sync();
  EXPECT_EQ(stream.GetSize(), 3u);  // Still waiting.
  stream.DropBuffer();
  stream.Write("abc", 3);
  EXPECT_EQ(stream.LastWrite(), 0u);
  EXPECT_EQ(stream.SeekO(0, ZTKFromStart), -1);
  EXPECT_EQ(stream.TellO(), -1);
  EXPECT_EQ(stream.GetSize(), 0u);
  stream.SetOutputStreamBuffer(new ZTKStreamBuffer(stream, ZTKStreamBuffer::write));
  EXPECT_TRUE(parent.bytes.empty());
}

TEST(ZTKBufferedOutputStream, DestructorPassesOnPastADerivedClass) {
  class Derived : public ZTKBufferedOutputStream {
   public:
    using ZTKBufferedOutputStream::ZTKBufferedOutputStream;
    unsigned long OnSysWrite(const void*, unsigned long) override { return 0; }
  };
  TestSink parent;
  {
    Derived stream(parent, nullptr);
    stream.Write("abc", 3);
    stream.Sync();
    EXPECT_TRUE(parent.bytes.empty());
  }
  EXPECT_EQ(parent.bytes, "abc");  // By this class's own OnSysWrite.
}

TEST(ZTKBufferedOutputStream, StacksOfBuffersPassEverythingDown) {
  TestSink sink;
  {
    ZTKBufferedOutputStream lower(sink, nullptr);
    ZTKBufferedOutputStream upper(lower, nullptr);
    upper.Write(Pattern(5000).data(), 5000);
    upper.Sync();
    EXPECT_EQ(sink.bytes, Pattern(5000));
  }
  TestSource source(Pattern(5000));
  {
    ZTKBufferedInputStream lower(source, nullptr);
    ZTKBufferedInputStream upper(lower, nullptr);
    EXPECT_EQ(ReadSome(upper, 1500), Pattern(5000).substr(0, 1500));
  }
  EXPECT_EQ(source.TellI(), 1500);
}

}  // namespace
