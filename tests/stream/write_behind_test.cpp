// A write-behind buffer beside a literal transcription of the described steps, in which every byte
// goes through the storage. Random sequences of writes, seeks and flushes over sinks that take all,
// less or nothing: the sink gets the same calls, and the storage holds the same bytes.
#include <gtest/gtest.h>

#include <random>

#include "tests/stream/stream_buffer_support.h"
#include "tests/stream/test_streams.h"

namespace {

/// A sink whose every call is decided by its seed, so that two of them answer alike.
class MoodySink : public ZTKOutputStream {
 public:
  MoodySink(unsigned seed, unsigned refusals) : m_random(seed), m_refusals(refusals) {}

  unsigned long OnSysWrite(const void* pBuffer, unsigned long nCount) override {
    const bool refuses = m_random() % 100 < m_refusals;
    const unsigned long count = refuses ? m_random() % nCount : nCount;
    calls.emplace_back(static_cast<const char*>(pBuffer), nCount);
    bytes.append(static_cast<const char*>(pBuffer), count);
    return count;
  }
  long OnSysSeek(long nOffset, ZTKSeekMode mode) override {
    calls.push_back("seek " + std::to_string(nOffset) + " from " + std::to_string(mode));
    return 77;
  }

  std::string bytes;
  std::vector<std::string> calls;

 private:
  std::mt19937 m_random;
  unsigned m_refusals;
};

/// The steps, word for word.
struct DescribedBuffer {
  MoodySink& sink;
  bool fixed;
  std::string storage;
  size_t position = 0;
  ZTKStreamError error = ZTK_STREAM_NO_ERROR;
  unsigned long lastCount = 0;

  void PutToBuffer(const char* src, size_t n) {
    if (n == 0) return;
    if (n > storage.size() - position) {
      if (fixed) {
        n = storage.size() - position;
      } else {
        storage.resize(storage.size() + n);
      }
    }
    storage.replace(position, n, src, n);
    position += n;
  }
  bool Flush() {
    if (position == 0) return false;
    if (sink.OnSysWrite(storage.data(), position) < position) return false;
    position = 0;
    return true;
  }
  unsigned long Write(const char* src, unsigned long n) {
    if (n == 0) return 0;
    error = ZTK_STREAM_NO_ERROR;
    if (storage.empty() && fixed) return lastCount = sink.OnSysWrite(src, n);
    unsigned long remaining = n;
    while (remaining > 0) {
      const size_t left = storage.size() - position;
      if (remaining > left && fixed) {
        PutToBuffer(src, left);
        remaining -= left;
        if (!Flush()) {
          error = ZTK_STREAM_WRITE_ERROR;
          break;
        }
        position = 0;
        src += left;
      } else {
        PutToBuffer(src, remaining);
        remaining = 0;
      }
    }
    return lastCount = n - remaining;
  }
  long Seek(long offset, ZTKSeekMode mode) {
    if (mode == ZTKFromCurrent) {
      const long d = static_cast<long>(position) + offset;
      const auto last = static_cast<long>(storage.size());
      if (0 <= d && d <= last) {
        position = static_cast<size_t>(d);
        return offset;
      }
      offset = d - last;
    }
    const long result = sink.OnSysSeek(offset, mode);
    error = ZTK_STREAM_NO_ERROR;
    lastCount = 0;
    position = 0;
    return result;
  }
};

void ExpectSame(const ZTKStreamBuffer& ours, const MoodySink& ourSink,
                const DescribedBuffer& theirs) {
  ASSERT_TRUE(ourSink.bytes == theirs.sink.bytes);
  ASSERT_TRUE(ourSink.calls == theirs.sink.calls);
  ASSERT_EQ(PositionOf(ours), static_cast<long>(theirs.position));
  ASSERT_TRUE(Stored(ours) == theirs.storage);
  ASSERT_EQ(ourSink.LastWrite(), theirs.lastCount);
  ASSERT_EQ(ourSink.GetLastError(), theirs.error);
}

TEST(WriteBehind, RandomSequencesLeaveSinkAndStorageAsTheDescribedStepsDo) {
  const std::string source = Pattern(5000);
  for (const unsigned long size : {0ul, 1ul, 2ul, 7ul, 64ul, 1024ul}) {
    for (const bool fixed : {true, false}) {
      for (const unsigned refusals : {0u, 20u, 100u}) {
        for (unsigned seed = 0; seed < 30; ++seed) {
          std::mt19937 random(seed);
          MoodySink ourSink(seed, refusals), theirSink(seed, refusals);
          ZTKStreamBuffer ours(ourSink, ZTKStreamBuffer::write);
          ours.SetBufferIO(size);
          ours.SetFixed(fixed ? 1 : 0);
          DescribedBuffer theirs{theirSink, fixed, std::string(size, '\0')};
          const auto piece = static_cast<long>(size < 8 ? 30 : 4 * size);
          for (int step = 0; step < 60; ++step) {
            SCOPED_TRACE(testing::Message()
                         << (fixed ? "buffer of " : "growable buffer of ") << size << ", sink of "
                         << refusals << "% refusals, seed " << seed << ", step " << step);
            switch (random() % 8) {
              case 0:
                ASSERT_EQ(ours.FlushBuffer(), theirs.Flush() ? 1 : 0);
                break;
              case 1:
              case 2: {
                const long offset = static_cast<long>(random()) % piece - piece / 2;
                ASSERT_EQ(ours.Seek(offset, ZTKFromCurrent), theirs.Seek(offset, ZTKFromCurrent));
                break;
              }
              case 3: {
                const ZTKSeekMode mode = random() % 2 != 0 ? ZTKFromStart : ZTKFromEnd;
                ASSERT_EQ(ours.Seek(step, mode), theirs.Seek(step, mode));
                break;
              }
              default: {
                const auto count = random() % static_cast<unsigned long>(piece);
                const char* const from = source.data() + random() % (source.size() - count);
                ASSERT_EQ(ours.Write(from, count), theirs.Write(from, count));
              }
            }
            ASSERT_NO_FATAL_FAILURE(ExpectSame(ours, ourSink, theirs));
          }
        }
      }
    }
  }
}

TEST(WriteBehind, SeekForwardBehindALargeWriteSendsTheBytesOfItsLastBuffer) {
  const std::string bytes = Pattern(1500);
  TestSink sink;
  ZTKStreamBuffer buffer(sink, ZTKStreamBuffer::write);
  buffer.SetBufferIO(1024ul);
  buffer.Write(bytes.data(), 1500);
  EXPECT_EQ(buffer.Seek(500, ZTKFromCurrent), 500);
  EXPECT_EQ(buffer.FlushBuffer(), 1);
  EXPECT_TRUE(sink.bytes.substr(1024) == bytes.substr(1024) + bytes.substr(476, 500));
}

TEST(WriteBehind, SeekOfTheStreamAfterALargeWriteSendsTheBytesOfItsLastBuffer) {
  const std::string bytes = Pattern(1500);
  TestSink sink;
  ZTKBufferedOutputStream stream(sink, nullptr);
  stream.Write(bytes.data(), 1500);
  EXPECT_EQ(stream.SeekO(1000, ZTKFromCurrent), 1000);  // Sends the 476 that wait, then moves.
  stream.Sync();
  // The buffer holds the last 476 bytes and, behind them, what is left of the first 1024.
  EXPECT_TRUE(sink.bytes == bytes + bytes.substr(1024) + bytes.substr(476, 524));
}

TEST(WriteBehind, BytesOfTheStorageItselfAreWrittenAsTheStepsWriteThem) {
  // The source begins before the storage and reaches into it.
  for (const size_t start : {size_t{0}, size_t{1}, size_t{5}, size_t{16}, size_t{39}}) {
    SCOPED_TRACE(start);
    std::string memory = Pattern(64);
    std::string model = memory;
    TestSink sink;
    ZTKStreamBuffer buffer(sink, ZTKStreamBuffer::write);
    buffer.SetBufferIO(memory.data() + start, 8ul, 0);
    buffer.Write(memory.data(), 40);
    std::string sent;
    size_t done = 0;
    for (; 40 - done > 8; done += 8) {
      model.replace(start, 8, model.substr(done, 8));
      sent += model.substr(start, 8);
    }
    model.replace(start, 40 - done, model.substr(done, 40 - done));
    EXPECT_TRUE(sink.bytes == sent);
    EXPECT_TRUE(memory == model);
  }
}

TEST(WriteBehind, SinkSeesWhatWaitsAsWaiting) {
  class CuriousSink : public TestSink {
   public:
    unsigned long OnSysWrite(const void* pBuffer, unsigned long nCount) override {
      waiting.push_back(buffer->GetBufferPos() - buffer->GetBufferStart());
      return TestSink::OnSysWrite(pBuffer, nCount);
    }
    const ZTKStreamBuffer* buffer = nullptr;
    std::vector<ptrdiff_t> waiting;
  } sink;
  ZTKStreamBuffer buffer(sink, ZTKStreamBuffer::write);
  sink.buffer = &buffer;
  buffer.SetBufferIO(10ul);
  const std::string bytes = Pattern(35);
  buffer.Write(bytes.data(), 35);
  EXPECT_EQ(sink.waiting, (std::vector<ptrdiff_t>{10, 10, 10}));
}

}  // namespace
