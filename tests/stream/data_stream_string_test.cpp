#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <cstdio>

#include "tests/stream/test_streams.h"
#include "tests/support/failing_allocator.h"
#include "tests/support/pages.h"
#include "tests/support/temp_dir.h"
#include "ztk/stream/data_stream.h"

namespace {

using namespace std::string_literals;

std::string Framed(size_t length, const std::string& text) {
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(length >> shift);
  return bytes + text;
}

std::string Framed(const std::string& text) { return Framed(text.size(), text); }

TEST(ZTKDataStream, WritesTheLengthAndTheText) {
  TestSink sink;
  ZTKDataStream stream(sink);
  stream.WriteString("abc");
  EXPECT_EQ(Hex(sink.bytes), "03 00 00 00 61 62 63");
  EXPECT_EQ(sink.pieces, (std::vector<unsigned long>{4, 3}));
  stream << ZTKString() << "" << static_cast<const char*>(nullptr);
  EXPECT_EQ(Hex(sink.bytes.substr(7)), "00 00 00 00 00 00 00 00 00 00 00 00");
  sink.bytes.clear();
  stream.SetNetWorkByteOrderTo(ZTKDataStream::BigEndian);
  stream << "\xEF\xBB\xBF"
         << "abc";
  EXPECT_EQ(Hex(sink.bytes), "00 00 00 03 EF BB BF 00 00 00 03 61 62 63");
}

TEST(ZTKDataStream, ReadsWhatIsThere) {
  struct Row {
    const char* name;
    std::string wire;
    std::string text;
  };
  const Row kRows[] = {
      {"empty", Framed(""), ""},
      {"one", Framed("a"), "a"},
      {"two", Framed("ab"), "ab"},
      {"three", Framed("abc"), "abc"},
      {"four", Framed("abcd"), "abcd"},
      {"five", Framed("abcde"), "abcde"},
      {"a mark alone is text", Framed("\xEF\xBB\xBF"), "\xEF\xBB\xBF"},
      {"a mark in front of a byte is dropped", Framed("\xEF\xBB\xBFx"), "x"},
      {"a mark in front of two bytes is dropped",
       Framed("\xEF\xBB\xBF"
              "AB"),
       "AB"},
      {"only the first mark",
       Framed("\xEF\xBB\xBF\xEF\xBB\xBF"
              "A"),
       "\xEF\xBB\xBF"
       "A"},
      {"a mark elsewhere is text", Framed("A\xEF\xBB\xBF"), "A\xEF\xBB\xBF"},
      {"half a mark is text",
       Framed("\xEF\xBB"
              "AB"),
       "\xEF\xBB"
       "AB"},
      {"cut at a NUL", Framed("ab\0cd"s), "ab"},
      {"cut at a NUL in the first three", Framed("a\0bcdef"s), "a"},
      {"NUL first", Framed("\0abcdef"s), ""},
      {"short, one byte of two", Framed(2, "a"), "a"},
      {"short inside the first three", Framed(10, "ab"), "ab"},
      {"short inside a mark", Framed(10, "\xEF\xBB"), "\xEF\xBB"},
      {"short after a mark",
       Framed(10,
              "\xEF\xBB\xBF"
              "A"),
       "A"},
      {"short after the first three", Framed(10, "abcdef"), "abcdef"},
      {"nothing behind the length", Framed(10, ""), ""},
      {"hostile length", Framed(0xFFFFFFFF, "0123456789"), "0123456789"},
      {"largest string", Framed(0x3FFFFFE8, "0123456789"), "0123456789"},
      {"half a length", "\x05\x00"s, ""},
  };
  for (const Row& row : kRows) {
    for (const size_t stingy : {size_t{1}, size_t{2}, SIZE_MAX}) {
      SCOPED_TRACE(testing::Message() << row.name << ", at most " << stingy << " bytes at once");
      TestSource source(row.wire, stingy);
      ZTKDataStream stream(source);
      const ZTKString text = stream.ReadString();
      EXPECT_EQ(text.view(), row.text);
      EXPECT_EQ(static_cast<size_t>(source.TellI()), row.wire.size());  // All is consumed.
    }
  }
}

TEST(ZTKDataStream, StringsOfEverySizeComeBack) {
  for (const size_t size :
       {20u, 1023u, 1024u, 1025u, 65535u, 65536u, 65537u, 65539u, 131072u, 131073u, 1000000u}) {
    for (const bool marked : {false, true}) {
      SCOPED_TRACE(testing::Message() << size << (marked ? " with a mark" : ""));
      std::string text = Pattern(size);
      for (char& ch : text) ch = static_cast<char>('a' + static_cast<unsigned char>(ch) % 26);
      const std::string wire = Framed((marked ? "\xEF\xBB\xBF" : "") + text) + "tail";
      ZTKMemoryInputStream source(wire.data(), static_cast<unsigned long>(wire.size()));
      ZTKDataStream stream(source);
      ZTKString read("old");
      stream >> read;
      EXPECT_TRUE(read.view() == text);
      EXPECT_TRUE(stream.IsOk());
      EXPECT_EQ(ReadSome(source, 10), "tail");
    }
  }
}

TEST(ZTKDataStream, ANulAnywhereEndsTheText) {
  for (size_t length = 1; length <= 130; ++length) {
    for (size_t nul = 0; nul < length; ++nul) {
      std::string text(length, '\x80');  // One bit from a NUL, in a careless test of whole words.
      text[nul] = '\0';
      const std::string wire = Framed(text) + Framed("next");
      ZTKMemoryInputStream memory(wire.data(), wire.size());
      ZTKDataStream stream(memory);
      ASSERT_EQ(stream.ReadString().view(), text.substr(0, nul)) << length << ' ' << nul;
      ASSERT_EQ(stream.ReadString().view(), "next") << length << ' ' << nul;
    }
  }
}

// As any other string of its text, though it was not copied.
TEST(ZTKDataStream, ReadStringsHaveTheBlockOfTheirLength) {
  for (const std::string& text :
       {"a"s, "twenty characters ok"s, std::string(1024, 'x'), "\xEF\xBB\xBFwithout the mark"s,
        "cut\0here, far from its end"s}) {
    const std::string wire = Framed(text);
    ZTKMemoryInputStream memory(wire.data(), wire.size());
    const ZTKString read = ZTKDataStream(memory).ReadString();
    const ZTKString copy(read.c_str(), read.c_str() + read.Len());
    EXPECT_EQ(read.AllocatedSize(), copy.AllocatedSize()) << text;
    EXPECT_EQ(read.DataLength(), copy.DataLength()) << text;
  }
}

TEST(ZTKDataStream, ReadInPiecesOfOneByteIsTheSame) {
  const std::string text(70000, 'x');
  TestSource source(Framed(text) + "tail", 1);
  ZTKDataStream stream(source);
  EXPECT_TRUE(stream.ReadString().view() == text);
  EXPECT_EQ(ReadSome(source, 10), "tail");
}

// The first three bytes are a read of their own.
TEST(ZTKDataStream, LastReadTellsOfTheWholeRestOfAString) {
  for (const bool hasMark : {false, true}) {
    for (const size_t length :
         {4u, 1023u, 1024u, 1025u, 65535u, 65536u, 65537u, 131072u, 131075u, 400000u}) {
      for (const size_t missing : {size_t{0}, size_t{1}, length - 3}) {
        SCOPED_TRACE(testing::Message() << length << " bytes, " << missing << " missing"
                                        << (hasMark ? ", a mark in front" : ""));
        std::string text(length, 'x');
        if (hasMark) text.replace(0, 3, "\xEF\xBB\xBF");
        TestSink sink;
        ZTKDataStream(sink).Write32(length);
        TestSource source(sink.bytes + text.substr(0, length - missing));
        ZTKDataStream stream(source);
        EXPECT_EQ(stream.ReadString().Len(), length - missing - (hasMark ? 3 : 0));
        EXPECT_EQ(source.LastRead(), length - missing - 3);
        EXPECT_EQ(stream.IsOk(), missing == 0);
      }
    }
  }
}

TEST(ZTKDataStream, HostileLengthTakesLittleMemoryAndTime) {
  const ProcessUse before = ProcessUse::Now();
  const std::string wire = Framed(0xFFFFFFFF, "0123456789abcdef");
  ZTKMemoryInputStream source(wire.data(), 20);
  ZTKDataStream stream(source);
  EXPECT_EQ(stream.ReadString().view(), "0123456789abcdef");
  EXPECT_FALSE(stream.IsOk());
  EXPECT_LT(ProcessUse::Now().peakKiB - before.peakKiB, 16 * 1024);
}

TEST(ZTKDataStream, HostileLengthAllocatesNoMoreThanASmallMultipleOfWhatComes) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  const std::string wire = Framed(0xFFFFFFFF, "abc");
  ZTKMemoryInputStream source(wire.data(), 7);
  ZTKDataStream stream(source);
  failing_allocator::Scope scope(LONG_MAX);
  EXPECT_EQ(stream.ReadString().view(), "abc");
  EXPECT_LE(scope.Asked(), 2);  // A first block, and the result.
}

TEST(ZTKDataStream, WithoutMemoryTheTextStaysUnread) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  const std::string wire = Framed(std::string(5000, 'x'));
  ZTKMemoryInputStream source(wire.data(), static_cast<unsigned long>(wire.size()));
  ZTKDataStream stream(source);
  {
    failing_allocator::Scope scope(0);
    EXPECT_EQ(stream.ReadString().Len(), 0u);
  }
  EXPECT_EQ(source.TellI(), 7);  // The length, and the three bytes that could be a mark.
}

TEST(ZTKDataStream, WithoutMemoryToGrowTheResultIsEmpty) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  const std::string wire = Framed(std::string(200000, 'x'));
  ZTKMemoryInputStream source(wire.data(), static_cast<unsigned long>(wire.size()));
  ZTKDataStream stream(source);
  {
    failing_allocator::Scope scope(1);
    EXPECT_EQ(stream.ReadString().Len(), 0u);
  }
  EXPECT_EQ(source.TellI(), 4 + 65536);
}

TEST(ZTKDataStream, LimitRefusesLongerStrings) {
  const std::string wire = Framed("12345") + Framed("123456") + "tail";
  ZTKMemoryInputStream source(wire.data(), static_cast<unsigned long>(wire.size()));
  ZTKDataStream stream(source);
  stream.SetMaxString(5);
  EXPECT_EQ(stream.ReadString().view(), "12345");
  EXPECT_TRUE(stream.IsOk());
  EXPECT_EQ(stream.ReadString().Len(), 0u);
  EXPECT_FALSE(stream.IsOk());
  EXPECT_EQ(source.GetLastError(), ZTK_STREAM_READ_ERROR);
  EXPECT_EQ(source.TellI(), 9 + 4);  // The text is still there.
  EXPECT_EQ(ReadSome(source, 6), "123456");
}

TEST(ZTKDataStream, LimitMayBeLifted) {
  const std::string wire = Framed("123456") + Framed("123456");
  ZTKMemoryInputStream source(wire.data(), static_cast<unsigned long>(wire.size()));
  ZTKDataStream stream(source);
  stream.SetMaxString(5);
  EXPECT_EQ(stream.ReadString().Len(), 0u);
  ReadSome(source, 6);
  stream.SetMaxString(ULONG_MAX);
  EXPECT_EQ(stream.ReadString().view(), "123456");
}

}  // namespace
