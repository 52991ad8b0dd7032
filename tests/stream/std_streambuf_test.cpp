#include "ztk/stream/std_streambuf.h"

#include <gtest/gtest.h>

#include <climits>
#include <istream>
#include <iterator>
#include <ostream>
#include <sstream>
#include <stdexcept>

#include "tests/stream/test_streams.h"

namespace {

constexpr size_t kSizes[] = {0, 1, 1023, 1024, 1025, 5000};

// A std::streambuf that has had enough.
class Thrower : public std::streambuf {
 protected:
  int_type underflow() override { throw std::runtime_error("underflow"); }
  int_type overflow(int_type) override { throw std::runtime_error("overflow"); }
  int sync() override { throw std::runtime_error("sync"); }
  pos_type seekoff(off_type, std::ios_base::seekdir, std::ios_base::openmode) override {
    throw std::runtime_error("seekoff");
  }
};

// ---- std over ours ----

TEST(ZTKInputStreambuf, ReadsTheStream) {
  for (const size_t size : kSizes) {
    for (const size_t stingy : {size_t{1}, size_t{100}, SIZE_MAX}) {
      SCOPED_TRACE(testing::Message() << size << " bytes, " << stingy << " at once");
      TestSource source(Pattern(size), stingy);
      ZTKInputStreambuf buffer(source);
      const std::string read{std::istreambuf_iterator<char>(&buffer), {}};
      EXPECT_TRUE(read == Pattern(size));
    }
  }
}

TEST(ZTKInputStreambuf, ServesFormattedInput) {
  const std::string text = "12 abc 3.5\nrest";
  ZTKMemoryInputStream source(text.data(), static_cast<unsigned long>(text.size()));
  ZTKInputStreambuf buffer(source);
  std::istream stream(&buffer);
  int number;
  std::string word, line;
  double real;
  stream >> number >> word >> real;
  std::getline(stream, line);
  std::getline(stream, line);
  EXPECT_EQ(number, 12);
  EXPECT_EQ(word, "abc");
  EXPECT_EQ(real, 3.5);
  EXPECT_EQ(line, "rest");
  EXPECT_TRUE(stream.eof());
}

TEST(ZTKInputStreambuf, PushesBackWhatWasNotTaken) {
  TestSource source(Pattern(3000));
  {
    ZTKInputStreambuf buffer(source);
    char bytes[10];
    EXPECT_EQ(buffer.sgetn(bytes, 10), 10);
  }
  EXPECT_EQ(source.TellI(), 10);
  EXPECT_EQ(ReadSome(source, 5), Pattern(3000).substr(10, 5));
}

TEST(ZTKInputStreambuf, PutsTheLastBytesBackAcrossAFill) {
  const std::string bytes = Pattern(3000);
  TestSource source(bytes);
  ZTKInputStreambuf buffer(source);
  EXPECT_EQ(buffer.sungetc(), EOF);
  std::string read(1025, ' ');
  EXPECT_EQ(buffer.sgetn(read.data(), 1025), 1025);
  for (size_t i = 1024;; --i) {
    ASSERT_EQ(buffer.sungetc(), static_cast<unsigned char>(bytes[i]));
    if (i == 1024 - 8) break;
  }
  EXPECT_EQ(buffer.sungetc(), EOF);
  EXPECT_EQ(buffer.sgetn(read.data(), 100), 100);
  EXPECT_EQ(read.substr(0, 100), bytes.substr(1024 - 8, 100));
}

TEST(ZTKInputStreambuf, SeeksWhereTheStreamCan) {
  const std::string bytes = Pattern(3000);
  TestSource source(bytes);
  ZTKBufferedInputStream ahead(source, nullptr);  // Answers a relative seek with the offset.
  ZTKInputStreambuf buffer(ahead);
  EXPECT_EQ(buffer.sbumpc(), static_cast<unsigned char>(bytes[0]));
  EXPECT_EQ(buffer.pubseekoff(0, std::ios::cur), 1);
  EXPECT_EQ(buffer.pubseekoff(9, std::ios::cur), 10);
  EXPECT_EQ(buffer.sbumpc(), static_cast<unsigned char>(bytes[10]));
  EXPECT_EQ(buffer.pubseekpos(2000), 2000);
  EXPECT_EQ(buffer.sbumpc(), static_cast<unsigned char>(bytes[2000]));
  EXPECT_EQ(buffer.pubseekoff(-1, std::ios::end), 2999);
  EXPECT_EQ(buffer.sbumpc(), static_cast<unsigned char>(bytes[2999]));
  EXPECT_EQ(buffer.sbumpc(), EOF);
  EXPECT_EQ(buffer.pubseekoff(-4000, std::ios::cur), -1);
  EXPECT_EQ(buffer.pubseekoff(0, std::ios::cur, std::ios::out), -1);
  source.CannotSeek();
  EXPECT_EQ(buffer.pubseekoff(1, std::ios::cur), -1);
}

TEST(ZTKOutputStreambuf, WritesTheStream) {
  for (const size_t size : kSizes) {
    for (const size_t stingy : {size_t{100}, SIZE_MAX}) {
      SCOPED_TRACE(testing::Message() << size << " bytes, " << stingy << " at once");
      TestSink sink(stingy);
      const std::string bytes = Pattern(size);
      {
        ZTKOutputStreambuf buffer(sink);
        EXPECT_EQ(buffer.sputn(bytes.data(), static_cast<std::streamsize>(size)),
                  static_cast<std::streamsize>(size));
        while (buffer.pubsync() != 0) {  // What is left is tried again.
        }
      }
      EXPECT_TRUE(sink.bytes == bytes);
    }
  }
}

TEST(ZTKOutputStreambuf, ServesFormattedOutputAndPassesItOnAtTheEnd) {
  TestSink sink;
  {
    ZTKOutputStreambuf buffer(sink);
    std::ostream stream(&buffer);
    stream << 12 << " abc " << 3.5;
    EXPECT_TRUE(sink.bytes.empty());
    stream << std::flush;
    EXPECT_EQ(sink.bytes, "12 abc 3.5");
    EXPECT_EQ(sink.syncs, 1);
    for (int i = 0; i < 2000; ++i) stream.put('x');
  }
  EXPECT_EQ(sink.bytes, "12 abc 3.5" + std::string(2000, 'x'));
}

TEST(ZTKOutputStreambuf, TellsWhenTheSinkIsFull) {
  TestSink sink(SIZE_MAX, 100);
  ZTKOutputStreambuf buffer(sink);
  const std::string bytes = Pattern(3000);
  EXPECT_EQ(buffer.sputn(bytes.data(), 3000), 1124);  // 100 taken, 1024 waiting.
  EXPECT_EQ(buffer.sputc('x'), EOF);
  EXPECT_EQ(buffer.pubsync(), -1);
  EXPECT_EQ(buffer.pubseekoff(0, std::ios::cur), -1);
  sink.SetLastError(ZTK_STREAM_WRITE_ERROR);
  TestSink empty;
  empty.SetLastError(ZTK_STREAM_WRITE_ERROR);
  EXPECT_EQ(ZTKOutputStreambuf(empty).pubsync(), -1);
}

TEST(ZTKOutputStreambuf, SeeksWhereTheStreamCan) {
  ZTKMemoryOutputStream memory;
  ZTKOutputStreambuf buffer(memory);
  buffer.sputn("abcdef", 6);
  EXPECT_EQ(buffer.pubseekoff(0, std::ios::cur), 6);
  EXPECT_EQ(buffer.pubseekoff(-4, std::ios::cur), 2);
  buffer.sputn("XY", 2);
  EXPECT_EQ(buffer.pubseekpos(0), 0);
  buffer.sputc('_');
  EXPECT_EQ(buffer.pubseekoff(-1, std::ios::end), 5);
  buffer.sputc('!');
  EXPECT_EQ(buffer.pubseekoff(-40, std::ios::cur), -1);
  EXPECT_EQ(buffer.pubseekoff(0, std::ios::cur, std::ios::in), -1);
  EXPECT_EQ(Content(memory), "_bXYe!");
}

// ---- ours over std ----

TEST(ZTKStdInputStream, ReadsTheBuffer) {
  std::stringbuf buffer("abcdef", std::ios::in);
  ZTKStdInputStream stream(buffer);
  EXPECT_EQ(ReadSome(stream, 4), "abcd");
  EXPECT_EQ(stream.TellI(), 4);
  EXPECT_EQ(ReadSome(stream, 4), "ef");
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_EOF);
  EXPECT_EQ(stream.SeekI(1, ZTKFromStart), 1);
  EXPECT_EQ(stream.SeekI(1, ZTKFromCurrent), 2);
  EXPECT_EQ(ReadSome(stream, 2), "cd");
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_NO_ERROR);
  EXPECT_EQ(stream.SeekI(-1, ZTKFromEnd), 5);
  EXPECT_EQ(stream.SeekI(100, ZTKFromStart), -1);
  EXPECT_EQ(stream.SeekI(0, ZTKSeekMode(7)), -1);
}

TEST(ZTKStdOutputStream, WritesTheBuffer) {
  std::stringbuf buffer(std::ios::out);
  ZTKStdOutputStream stream(buffer);
  stream.Write("abcdef", 6);
  EXPECT_EQ(stream.LastWrite(), 6u);
  EXPECT_EQ(stream.TellO(), 6);
  EXPECT_EQ(stream.SeekO(1, ZTKFromStart), 1);
  stream.PutC('X');
  stream.Sync();
  EXPECT_EQ(buffer.str(), "aXcdef");
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_NO_ERROR);
}

TEST(ZTKStdOutputStream, BufferThatTakesNothingIsAWriteError) {
  std::stringbuf buffer(std::ios::in);
  ZTKStdOutputStream stream(buffer);
  stream.Write("abc", 3);
  EXPECT_EQ(stream.LastWrite(), 0u);
  EXPECT_EQ(stream.GetLastError(), ZTK_STREAM_WRITE_ERROR);
}

TEST(ZTKStdStreams, ExceptionsOfTheBufferAreErrors) {
  Thrower buffer;
  ZTKStdInputStream in(buffer);
  EXPECT_EQ(ReadSome(in, 4), "");
  EXPECT_EQ(in.GetLastError(), ZTK_STREAM_READ_ERROR);
  EXPECT_EQ(in.TellI(), -1);
  ZTKStdOutputStream out(buffer);
  out.Write("abc", 3);
  EXPECT_EQ(out.LastWrite(), 0u);
  EXPECT_EQ(out.GetLastError(), ZTK_STREAM_WRITE_ERROR);
  out.SetLastError(ZTK_STREAM_NO_ERROR);
  out.Sync();
  EXPECT_EQ(out.GetLastError(), ZTK_STREAM_WRITE_ERROR);
}

TEST(ZTKStdStreams, RoundTripThroughBothSides) {
  std::stringbuf inner;
  ZTKStdOutputStream out(inner);
  {
    ZTKOutputStreambuf outer(out);
    std::ostream stream(&outer);
    stream << "one two";
  }
  ZTKStdInputStream in(inner);
  ZTKInputStreambuf outer(in);
  std::istream stream(&outer);
  std::string first, second;
  stream >> first >> second;
  EXPECT_EQ(first + "+" + second, "one+two");
}

}  // namespace
