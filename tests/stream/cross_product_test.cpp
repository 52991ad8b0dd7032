// Every combination of piece sizes, buffer sizes, stingy and failing sources and push-back, against
// plain strings.
#include <gtest/gtest.h>

#include <random>

#include "tests/stream/stream_buffer_support.h"
#include "tests/stream/test_streams.h"

namespace {

constexpr size_t kPieces[] = {1, 2, 3, 1023, 1024, 1025, 5119, 5120, 5121, 65536};
constexpr unsigned long kBuffers[] = {0, 1, 7, 1024};
constexpr size_t kStingy[] = {1, 3, 1000, SIZE_MAX};

// Long enough that large pieces are read more than once, short enough that small ones end.
size_t TotalFor(size_t piece) { return piece < 16 ? 3000 : piece < 10000 ? 20000 : 150000; }

ZTKStreamBuffer* NewBuffer(ZTKStreamBase& stream, ZTKStreamBuffer::BufMode mode,
                           unsigned long size) {
  auto* const buffer = new ZTKStreamBuffer(stream, mode);
  buffer->SetBufferIO(size);
  return buffer;
}

TEST(StreamCrossProduct, BufferedReadsDeliverTheSource) {
  for (const size_t piece : kPieces) {
    for (const unsigned long size : kBuffers) {
      for (const size_t stingy : kStingy) {
        for (const bool fails : {false, true}) {
          SCOPED_TRACE(testing::Message()
                       << "pieces of " << piece << ", buffer of " << size << ", source gives "
                       << stingy << (fails ? ", fails" : ""));
          const size_t total = TotalFor(piece);
          const std::string bytes = Pattern(total);
          const size_t failAt = fails ? total * 2 / 3 : total;
          TestSource source(bytes, stingy);
          if (fails) source.FailAt(failAt);
          ZTKBufferedInputStream stream(source, nullptr);
          stream.SetInputStreamBuffer(NewBuffer(stream, ZTKStreamBuffer::read, size));
          std::string read;
          // Without storage a read is one ask of the source, and delivers what that gives.
          while (read.size() <= total) {
            const std::string part = ReadSome(stream, piece);
            if (part.empty()) break;
            ASSERT_TRUE(part.size() == piece || size == 0 || read.size() + part.size() == failAt);
            read += part;
            ASSERT_EQ(stream.TellI(), static_cast<long>(read.size()));
          }
          EXPECT_TRUE(read == bytes.substr(0, failAt)) << read.size();
        }
      }
    }
  }
}

TEST(StreamCrossProduct, BufferedWritesReachTheSink) {
  for (const size_t piece : kPieces) {
    for (const unsigned long size : kBuffers) {
      SCOPED_TRACE(testing::Message() << "pieces of " << piece << ", buffer of " << size);
      const size_t total = TotalFor(piece);
      const std::string bytes = Pattern(total);
      TestSink sink;
      ZTKBufferedOutputStream stream(sink, nullptr);
      stream.SetOutputStreamBuffer(NewBuffer(stream, ZTKStreamBuffer::write, size));
      for (size_t done = 0; done < total; done += piece) {
        const size_t count = std::min(piece, total - done);
        stream.Write(bytes.data() + done, count);
        ASSERT_EQ(stream.LastWrite(), count);
        ASSERT_EQ(stream.GetSize(), done + count);
        ASSERT_EQ(stream.TellO(), static_cast<long>(done + count));
      }
      stream.Sync();
      EXPECT_TRUE(sink.bytes == bytes);
      for (const unsigned long written : sink.pieces) {
        ASSERT_LE(written, size == 0 ? piece : size);
      }
    }
  }
}

// A write buffer as it is described: fill up, flush, and keep what was not taken for the next time.
struct WriteModel {
  std::string waiting;
  size_t size;
  std::string* sink;
  size_t stingy, capacity;

  bool Flush() {
    if (waiting.empty()) return false;
    const size_t count = std::min({waiting.size(), stingy, capacity - sink->size()});
    sink->append(waiting, 0, count);
    if (count < waiting.size()) return false;
    waiting.clear();
    return true;
  }
  size_t Write(std::string_view bytes) {
    size_t accepted = 0;
    while (accepted < bytes.size()) {
      const size_t left = size - waiting.size();
      const size_t count = std::min(left, bytes.size() - accepted);
      const bool flush = bytes.size() - accepted > left;
      waiting += bytes.substr(accepted, count);
      accepted += count;
      if (flush && !Flush()) break;
    }
    return accepted;
  }
};

TEST(StreamCrossProduct, SinksThatTakeLessGetWhatTheModelSends) {
  for (const size_t piece : kPieces) {
    for (const unsigned long size : {1ul, 7ul, 1024ul}) {
      for (const size_t stingy : {size_t{1}, size_t{3}, size_t{1000}, size_t{1024}, SIZE_MAX}) {
        for (const size_t capacity : {size_t{0}, size_t{1024}, size_t{2500}}) {
          SCOPED_TRACE(testing::Message() << "pieces of " << piece << ", buffer of " << size
                                          << ", sink takes " << stingy << " of " << capacity);
          TestSink sink(stingy, capacity);
          ZTKStreamBuffer buffer(sink, ZTKStreamBuffer::write);
          buffer.SetBufferIO(size);
          std::string modelSink;
          WriteModel model{"", size, &modelSink, stingy, capacity};
          const std::string bytes = Pattern(piece);
          for (int i = 0; i < 5; ++i) {
            const size_t expected = model.Write(bytes);
            ASSERT_EQ(buffer.Write(bytes.data(), bytes.size()), expected);
            ASSERT_EQ(sink.LastWrite(), expected);
            ASSERT_TRUE(sink.bytes == modelSink);
            ASSERT_EQ(buffer.GetBufferPos() - buffer.GetBufferStart(),
                      static_cast<ptrdiff_t>(model.waiting.size()));
            ASSERT_TRUE(std::string(buffer.GetBufferStart(), buffer.GetBufferPos()) ==
                        model.waiting);
            ASSERT_EQ(buffer.FlushBuffer(), model.Flush() ? 1 : 0);
          }
        }
      }
    }
  }
}

// The storage after a large read is as if every fill had passed through it, although whole fills go
// straight to their destination.
TEST(StreamCrossProduct, LargeReadsLeaveTheLastFillInTheStorage) {
  for (const size_t total : {0u, 1u, 7u, 8u, 9u, 14u, 15u, 16u, 20u, 21u, 22u, 100u}) {
    for (const size_t piece : {1u, 7u, 8u, 14u, 15u, 20u, 21u, 22u, 50u, 200u}) {
      for (const size_t stingy : {size_t{1}, size_t{3}, size_t{7}, SIZE_MAX}) {
        SCOPED_TRACE(testing::Message()
                     << total << " bytes in pieces of " << piece << ", source gives " << stingy);
        const std::string bytes = Pattern(total);
        TestSource source(bytes, stingy);
        ZTKStreamBuffer buffer(source, ZTKStreamBuffer::read);
        buffer.SetBufferIO(7);
        // The described loop, with its asks.
        std::string storage, modelRead;
        size_t storagePos = 0, sourcePos = 0, asks = 0;
        const auto fill = [&] {
          ++asks;
          const size_t count = std::min({size_t{7}, stingy, total - sourcePos});
          if (count == 0) return false;
          storage = bytes.substr(sourcePos, count);
          storagePos = 0;
          sourcePos += count;
          return true;
        };
        for (int i = 0; i < 4; ++i) {
          std::string expected;
          bool ended = false;
          while (expected.size() < piece && !ended) {
            if (storagePos == storage.size()) fill();
            const size_t count = std::min(storage.size() - storagePos, piece - expected.size());
            expected += storage.substr(storagePos, count);
            storagePos += count;
            if (expected.size() < piece) ended = !fill();
          }
          ASSERT_EQ(ReadSome(buffer, piece), expected);
          ASSERT_EQ(source.requests.size(), asks);
          ASSERT_EQ(source.GetLastError(), ended ? ZTK_STREAM_EOF : ZTK_STREAM_NO_ERROR);
          ASSERT_EQ(Stored(buffer), storage);
          ASSERT_EQ(PositionOf(buffer), static_cast<long>(storagePos));
        }
      }
    }
  }
}

TEST(StreamCrossProduct, PushBackAtEveryPosition) {
  const std::string bytes = Pattern(40);
  for (const bool buffered : {false, true}) {
    for (const size_t stingy : {size_t{1}, size_t{3}, SIZE_MAX}) {
      for (const size_t piece : {1u, 2u, 3u, 7u, 100u}) {
        for (size_t position = 0; position <= bytes.size(); ++position) {
          for (const size_t pushed : {1u, 2u, 5u, 50u}) {
            SCOPED_TRACE(testing::Message()
                         << pushed << " bytes at " << position << ", pieces of " << piece
                         << ", source gives " << stingy << (buffered ? ", buffered" : ""));
            TestSource source(bytes, stingy);
            ZTKBufferedInputStream reader(source, nullptr);
            reader.SetInputStreamBuffer(NewBuffer(reader, ZTKStreamBuffer::read, 7));
            ZTKInputStream& stream = buffered ? static_cast<ZTKInputStream&>(reader) : source;
            ASSERT_EQ(ReadSome(stream, position), bytes.substr(0, position));
            const std::string extra(pushed, '*');
            ASSERT_EQ(stream.Ungetch(extra.data(), pushed), pushed);
            ASSERT_EQ(stream.TellI(), static_cast<long>(position) - static_cast<long>(pushed));
            std::string rest;
            for (;;) {
              const std::string part = ReadSome(stream, piece);
              if (part.empty()) break;
              rest += part;
            }
            ASSERT_EQ(rest, extra + bytes.substr(position));
          }
        }
      }
    }
  }
}

TEST(StreamCrossProduct, SeekSequencesOverAReadAheadBufferDeliverTheRightBytes) {
  const std::string bytes = Pattern(500);
  const long end = static_cast<long>(bytes.size());
  for (const unsigned long size : {1ul, 7ul, 64ul, 1024ul}) {
    std::mt19937 random(static_cast<unsigned>(size));
    TestSource source(bytes);
    ZTKStreamBuffer buffer(source, ZTKStreamBuffer::read);
    buffer.SetBufferIO(size);
    long position = 0;
    for (int step = 0; step < 20000; ++step) {
      SCOPED_TRACE(testing::Message() << "buffer of " << size << ", step " << step);
      const long offset = static_cast<long>(random() % 700) - 350;
      long target = 0;
      switch (random() % 4) {
        case 0:
          target = offset;
          ASSERT_EQ(buffer.Seek(offset, ZTKFromStart), target < 0 || target > end ? -1 : target);
          break;
        case 1:
          target = position + offset;
          buffer.Seek(offset, ZTKFromCurrent);
          break;
        case 2:
          target = end + offset;
          ASSERT_EQ(buffer.Seek(offset, ZTKFromEnd), target < 0 || target > end ? -1 : target);
          break;
        default: {
          const auto count = static_cast<unsigned long>(random() % 90);
          const std::string expected = bytes.substr(static_cast<size_t>(position), count);
          ASSERT_EQ(ReadSome(buffer, count), expected);
          target = position + static_cast<long>(expected.size());
        }
      }
      if (target < 0 || target > end) {
        // Refused by the source, but the read-ahead is gone: reading goes on where the source is.
        position = buffer.Tell();
      } else {
        position = target;
      }
      ASSERT_EQ(buffer.Tell(), position);
    }
  }
}

TEST(StreamCrossProduct, MemoryStreamsKeepWhatIsWritten) {
  for (const size_t piece : kPieces) {
    for (const size_t readPiece : kPieces) {
      SCOPED_TRACE(testing::Message() << "written by " << piece << ", read by " << readPiece);
      const size_t total = TotalFor(std::min(piece, readPiece));
      const std::string bytes = Pattern(total);
      ZTKMemoryOutputStream out;
      for (size_t done = 0; done < total; done += piece) {
        out.Write(bytes.data() + done, std::min(piece, total - done));
      }
      ASSERT_EQ(out.GetSize(), total);
      const std::string content = Content(out);
      ASSERT_TRUE(content == bytes);
      ZTKMemoryInputStream in(content.data(), total);
      std::string read;
      while (!in.Eof()) read += ReadSome(in, readPiece);
      ASSERT_TRUE(read == bytes);
    }
  }
}

}  // namespace
