#include "ztk/stream/data_stream.h"

#include <gtest/gtest.h>

#include <climits>
#include <type_traits>

#include "tests/stream/test_streams.h"
#include "tests/support/temp_dir.h"

namespace {

// Counts the calls of Read and Write themselves.
class CountingSource : public TestSource {
 public:
  using TestSource::Read;
  using TestSource::TestSource;
  ZTKInputStream& Read(void* pBuffer, unsigned long nCount) override {
    ++reads;
    return TestSource::Read(pBuffer, nCount);
  }
  int reads = 0;
};

class CountingSink : public TestSink {
 public:
  using TestSink::Write;
  ZTKOutputStream& Write(const void* pBuffer, unsigned long nCount) override {
    ++writes;
    return TestSink::Write(pBuffer, nCount);
  }
  int writes = 0;
};

// What `write` puts on the wire, in hexadecimal.
template <typename F>
std::string Wire(ZTKDataStream::BytesOrder order, F write) {
  TestSink sink;
  ZTKDataStream stream(sink);
  stream.SetNetWorkByteOrderTo(order);
  write(stream);
  return Hex(sink.bytes);
}

std::string Bytes(std::string_view hex) {
  std::string bytes;
  for (size_t i = 0; i + 1 < hex.size(); i += 3) {
    bytes += static_cast<char>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16));
  }
  return bytes;
}

TEST(ZTKDataStream, IsLittleEndianUntilToldOtherwise) {
  TestSink sink;
  ZTKDataStream stream(sink);
  EXPECT_EQ(stream.GetNetWorkByteOrder(), ZTKDataStream::LittleEndian);
  stream.Write32(0x01020304);
  stream.SetNetWorkByteOrderTo(ZTKDataStream::BigEndian);
  EXPECT_EQ(stream.GetNetWorkByteOrder(), ZTKDataStream::BigEndian);
  stream.Write32(0x01020304);
  EXPECT_EQ(Hex(sink.bytes), "04 03 02 01 01 02 03 04");
}

TEST(ZTKDataStream, WritesIntegersInBothOrders) {
  struct Row {
    const char* name;
    void (*write)(ZTKDataStream&);
    const char* little;
    const char* big;
  };
  const Row kRows[] = {
      {"Write8", [](ZTKDataStream& s) { s.Write8(0xA1); }, "A1", "A1"},
      {"Write16", [](ZTKDataStream& s) { s.Write16(0x0102); }, "02 01", "01 02"},
      {"Write32", [](ZTKDataStream& s) { s.Write32(0xF1020304); }, "04 03 02 F1", "F1 02 03 04"},
      {"Write64", [](ZTKDataStream& s) { s.Write64(0x0102030405060708); },
       "08 07 06 05 04 03 02 01", "01 02 03 04 05 06 07 08"},
      {"char", [](ZTKDataStream& s) { s << 'a'; }, "61", "61"},
      {"unsigned char", [](ZTKDataStream& s) { s << static_cast<unsigned char>(0xFE); }, "FE",
       "FE"},
      {"short", [](ZTKDataStream& s) { s << short{-2}; }, "FE FF", "FF FE"},
      {"unsigned short", [](ZTKDataStream& s) { s << static_cast<unsigned short>(0x1234); },
       "34 12", "12 34"},
      {"int", [](ZTKDataStream& s) { s << -2; }, "FE FF FF FF", "FF FF FF FE"},
      {"unsigned", [](ZTKDataStream& s) { s << 0x12345678u; }, "78 56 34 12", "12 34 56 78"},
      {"long", [](ZTKDataStream& s) { s << -2L; }, "FE FF FF FF", "FF FF FF FE"},
      {"unsigned long", [](ZTKDataStream& s) { s << 0x12345678ul; }, "78 56 34 12", "12 34 56 78"},
      {"long long", [](ZTKDataStream& s) { s << -2LL; }, "FE FF FF FF FF FF FF FF",
       "FF FF FF FF FF FF FF FE"},
      {"unsigned long long", [](ZTKDataStream& s) { s << 0x0102030405060708ull; },
       "08 07 06 05 04 03 02 01", "01 02 03 04 05 06 07 08"},
  };
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Wire(ZTKDataStream::LittleEndian, row.write), row.little);
    EXPECT_EQ(Wire(ZTKDataStream::BigEndian, row.write), row.big);
    EXPECT_EQ(Wire(ZTKDataStream::BytesOrder(7), row.write), row.big);
    EXPECT_EQ(Wire(ZTKDataStream::BytesOrder(-1), row.write), row.big);
  }
}

template <typename T>
void ExpectRoundTrip(std::initializer_list<T> values) {
  for (const auto order : {ZTKDataStream::LittleEndian, ZTKDataStream::BigEndian}) {
    for (const T value : values) {
      SCOPED_TRACE(testing::Message() << +value << " in order " << order);
      TestSink sink;
      ZTKDataStream out(sink);
      out.SetNetWorkByteOrderTo(order);
      EXPECT_EQ(&(out << value), &out);
      TestSource source(sink.bytes);
      ZTKDataStream in(source);
      in.SetNetWorkByteOrderTo(order);
      T read = static_cast<T>(~value);
      EXPECT_EQ(&(in >> read), &in);
      EXPECT_EQ(read, value);
      EXPECT_TRUE(in.IsOk());
      EXPECT_EQ(static_cast<size_t>(source.TellI()), sink.bytes.size());
    }
  }
}

TEST(ZTKDataStream, IntegersComeBack) {
  ExpectRoundTrip<char>({0, 1, static_cast<char>(-1), CHAR_MIN, CHAR_MAX});
  ExpectRoundTrip<unsigned char>({0, 1, 0x80, 0xFF});
  ExpectRoundTrip<short>({0, 1, -1, SHRT_MIN, SHRT_MAX, 0x1234});
  ExpectRoundTrip<unsigned short>({0, 1, 0x8000, 0xFFFF});
  ExpectRoundTrip<int>({0, 1, -1, INT_MIN, INT_MAX, 0x12345678});
  ExpectRoundTrip<unsigned>({0, 1, 0x80000000u, UINT_MAX});
  ExpectRoundTrip<long>({0, 1, -1, INT_MIN, INT_MAX});
  ExpectRoundTrip<unsigned long>({0, 1, 0x80000000ul, 0xFFFFFFFFul});
  ExpectRoundTrip<long long>({0, 1, -1, LLONG_MIN, LLONG_MAX, 0x0123456789ABCDEF});
  ExpectRoundTrip<unsigned long long>({0, 1, 1ull << 63, ULLONG_MAX});
}

TEST(ZTKDataStream, LongsTravelAsTheirLowFourBytes) {
#if LONG_MAX > INT32_MAX
  struct Row {
    long written, read;
    unsigned long readUnsigned;
  };
  for (const Row row : {Row{0x1'0000'0005, 5, 5}, Row{LONG_MIN, 0, 0}, Row{-1, -1, 0xFFFFFFFF},
                        Row{0x80000000, -0x80000000L, 0x80000000}}) {
    SCOPED_TRACE(row.written);
    TestSink sink;
    ZTKDataStream(sink) << row.written << static_cast<unsigned long>(row.written);
    ASSERT_EQ(sink.bytes.size(), 8u);
    TestSource source(sink.bytes);
    ZTKDataStream in(source);
    long read = 77;
    unsigned long readUnsigned = 77;
    in >> read >> readUnsigned;
    EXPECT_EQ(read, row.read);
    EXPECT_EQ(readUnsigned, row.readUnsigned);
  }
#else
  GTEST_SKIP() << "a long has four bytes here";
#endif
}

TEST(ZTKDataStream, DescribedOverloadsAreStillChosen) {
  const std::string text = "ab";
  EXPECT_EQ(Wire(ZTKDataStream::LittleEndian, [&](ZTKDataStream& s) { s << text.c_str(); }),
            "02 00 00 00 61 62");
  EXPECT_EQ(Wire(ZTKDataStream::LittleEndian, [](ZTKDataStream& s) { s << 1.0f; }),
            "3F FF 80 00 00 00 00 00 00 00");
  EXPECT_EQ(Wire(ZTKDataStream::LittleEndian, [](ZTKDataStream& s) { s << '\x01' << 1L; }),
            "01 01 00 00 00");
}

TEST(ZTKDataStream, OrderChangedMidwayActsOnWhatFollows) {
  TestSource source(Bytes("01 02 01 02 01 02"));
  ZTKDataStream stream(source);
  EXPECT_EQ(stream.Read16(), 0x0201);
  stream.SetNetWorkByteOrderTo(ZTKDataStream::BigEndian);
  EXPECT_EQ(stream.Read16(), 0x0102);
  stream.SetNetWorkByteOrderTo(ZTKDataStream::LittleEndian);
  EXPECT_EQ(stream.Read16(), 0x0201);
}

TEST(ZTKDataStream, ShortValuesReadTheirMissingBytesAsZero) {
  for (const auto order : {ZTKDataStream::LittleEndian, ZTKDataStream::BigEndian}) {
    SCOPED_TRACE(order);
    const bool big = order == ZTKDataStream::BigEndian;
    const std::string bytes = Bytes("11 22 33");
    ZTKMemoryInputStream source(bytes.data(), 3);
    ZTKDataStream stream(source);
    stream.SetNetWorkByteOrderTo(order);
    EXPECT_EQ(stream.Read32(), big ? 0x11223300u : 0x00332211u);
    EXPECT_FALSE(stream.IsOk());
    EXPECT_EQ(stream.Read8(), 0);
    EXPECT_EQ(stream.Read16(), 0);
    EXPECT_EQ(stream.Read64(), 0u);
    EXPECT_EQ(stream.ReadDouble(), 0.0);
    EXPECT_EQ(stream.ReadString().Len(), 0u);
  }
}

TEST(ZTKDataStream, IsOkSumsUpItsStreams) {
  TestSource source("");
  TestSink sink;
  ZTKDataStream in(source), out(sink), both(source, sink);
  EXPECT_TRUE(in.IsOk() && out.IsOk() && both.IsOk());
  source.SetLastError(ZTK_STREAM_EOF);
  EXPECT_FALSE(in.IsOk());
  EXPECT_TRUE(out.IsOk());
  EXPECT_FALSE(both.IsOk());
  source.SetLastError(ZTK_STREAM_NO_ERROR);
  sink.SetLastError(ZTK_STREAM_WRITE_ERROR);
  EXPECT_TRUE(in.IsOk());
  EXPECT_FALSE(out.IsOk());
  EXPECT_FALSE(both.IsOk());
}

TEST(ZTKDataStream, MissingDirectionReadsZeroAndTakesNothing) {
  TestSource source("abcdef");
  ZTKDataStream in(source);
  in << 'a' << short{1} << 2 << 3L << 4LL << 1.0f << 1.0 << "text" << ZTKString("text");
  const unsigned char bytes[2] = {1, 2};
  in.Write8(bytes, 2);
  EXPECT_TRUE(in.IsOk());
  EXPECT_EQ(source.TellI(), 0);

  TestSink sink;
  ZTKDataStream out(sink);
  out.SetMaxString(0);
  EXPECT_EQ(out.Read8(), 0);
  EXPECT_EQ(out.Read16(), 0);
  EXPECT_EQ(out.Read32(), 0u);
  EXPECT_EQ(out.Read64(), 0u);
  EXPECT_EQ(out.ReadDouble(), 0.0);
  EXPECT_EQ(out.ReadIeeeExtended(), 0.0);
  EXPECT_EQ(out.ReadString().Len(), 0u);
  unsigned long values[2] = {7, 7};
  out.Read32(values, 2);
  EXPECT_EQ(values[0] | values[1], 0u);
  out.Read32(static_cast<unsigned long*>(nullptr), 2);
  EXPECT_TRUE(sink.bytes.empty());
}

// ---- arrays ----

template <typename T, typename F>
void ExpectArrayRead(F read, size_t wireSize) {
  for (const auto order : {ZTKDataStream::LittleEndian, ZTKDataStream::BigEndian}) {
    for (const size_t count : {1u, 2u, 3u, 31u, 32u, 33u, 100u}) {
      for (const size_t missing : {size_t{0}, size_t{1}, wireSize, count * wireSize}) {
        SCOPED_TRACE(testing::Message() << count << " elements, order " << order << ", " << missing
                                        << " bytes missing");
        const std::string bytes = Pattern(count * wireSize - missing);
        const std::string padded = bytes + std::string(missing, '\0');
        CountingSource source(bytes);
        ZTKDataStream stream(source);
        stream.SetNetWorkByteOrderTo(order);
        std::vector<T> values(count + 1, T{77});
        read(stream, values.data(), static_cast<unsigned long>(count));
        EXPECT_EQ(source.reads, 1);
        EXPECT_EQ(values[count], T{77});  // The element behind the array.
        for (size_t i = 0; i < count; ++i) {
          T expected = 0;
          for (size_t k = 0; k < wireSize; ++k) {
            const size_t at = order == ZTKDataStream::BigEndian ? k : wireSize - 1 - k;
            expected = static_cast<T>(static_cast<unsigned long long>(expected) << 8 |
                                      static_cast<unsigned char>(padded[i * wireSize + at]));
          }
          ASSERT_EQ(values[i], expected) << i;
        }
      }
    }
  }
}

TEST(ZTKDataStream, ArraysAreReadAtOnceAndPaddedWithZeroes) {
  ExpectArrayRead<unsigned char>(
      [](ZTKDataStream& s, unsigned char* p, unsigned long n) { s.Read8(p, n); }, 1);
  ExpectArrayRead<unsigned short>(
      [](ZTKDataStream& s, unsigned short* p, unsigned long n) { s.Read16(p, n); }, 2);
  ExpectArrayRead<unsigned long>(
      [](ZTKDataStream& s, unsigned long* p, unsigned long n) { s.Read32(p, n); }, 4);
  ExpectArrayRead<unsigned long long>(
      [](ZTKDataStream& s, unsigned long long* p, unsigned long n) { s.Read64(p, n); }, 8);
}

TEST(ZTKDataStream, ArraysAreWrittenElementByElement) {
  const unsigned char bytes[3] = {1, 2, 3};
  const unsigned short shorts[3] = {0x0102, 0x0304, 0x0506};
  const unsigned long longs[2] = {0x01020304, 0x05060708};
  const unsigned long long wide[2] = {0x0102030405060708, 9};
  const double doubles[2] = {1.0, -2.0};
  for (const auto order : {ZTKDataStream::LittleEndian, ZTKDataStream::BigEndian}) {
    SCOPED_TRACE(order);
    CountingSink sink;
    ZTKDataStream stream(sink);
    stream.SetNetWorkByteOrderTo(order);
    stream.Write8(bytes, 3);
    EXPECT_EQ(sink.writes, 1);
    stream.Write16(shorts, 3);
    EXPECT_EQ(sink.writes, 4);
    stream.Write32(longs, 2);
    EXPECT_EQ(sink.writes, 6);
    stream.Write64(wide, 2);
    EXPECT_EQ(sink.writes, 8);
    stream.WriteDouble(doubles, 2);
    EXPECT_EQ(sink.writes, 10);
    const std::string extended = " 3F FF 80 00 00 00 00 00 00 00 C0 00 80 00 00 00 00 00 00 00";
    EXPECT_EQ(Hex(sink.bytes), order == ZTKDataStream::BigEndian
                                   ? "01 02 03 01 02 03 04 05 06 01 02 03 04 05 06 07 08 "
                                     "01 02 03 04 05 06 07 08 00 00 00 00 00 00 00 09" +
                                         extended
                                   : "01 02 03 02 01 04 03 06 05 04 03 02 01 08 07 06 05 "
                                     "08 07 06 05 04 03 02 01 09 00 00 00 00 00 00 00" +
                                         extended);
  }
}

TEST(ZTKDataStream, ArraysIgnoreNullAndNothing) {
  TestSource source("abcdefgh");
  TestSink sink;
  ZTKDataStream stream(source, sink);
  unsigned char byte = 7;
  unsigned long value = 7;
  stream.Read8(nullptr, 2);
  stream.Read16(nullptr, 2);
  stream.Read32(nullptr, 2);
  stream.Read64(nullptr, 2);
  stream.ReadDouble(nullptr, 2);
  stream.Read8(&byte, 0);
  stream.Read32(&value, 0);
  stream.Write8(nullptr, 2);
  stream.Write16(nullptr, 2);
  stream.Write32(nullptr, 2);
  stream.Write64(nullptr, 2);
  stream.WriteDouble(nullptr, 2);
  stream.Write8(&byte, 0);
  EXPECT_EQ(byte, 7);
  EXPECT_EQ(value, 7u);
  EXPECT_EQ(source.TellI(), 0);
  EXPECT_TRUE(sink.bytes.empty());
}

TEST(ZTKDataStream, ArraysOfFloatingPointConsumeTenBytesAnElementAndYieldZeroes) {
  for (const unsigned long count : {0ul, 1ul, 2ul, 3ul, 50ul}) {
    SCOPED_TRACE(count);
    TestSource source(Pattern(600));
    ZTKDataStream stream(source);
    std::vector<double> values(count + 1, 7.0);
    stream.ReadDouble(values.data(), count);
    EXPECT_EQ(source.TellI(), static_cast<long>(10 * count));
    for (unsigned long i = 0; i < count; ++i) EXPECT_EQ(values[i], 0.0) << i;
    EXPECT_EQ(values[count], 7.0);
  }
}

template <typename T>
void ExpectPair(std::initializer_list<T> values, size_t width) {
  for (const auto order : {ZTKDataStream::LittleEndian, ZTKDataStream::BigEndian}) {
    TestSink sink;
    ZTKDataStream out(sink);
    out.SetNetWorkByteOrderTo(order);
    for (const T value : values) out << value;
    EXPECT_EQ(sink.bytes.size(), width * values.size());
    TestSource source(sink.bytes);
    ZTKDataStream in(source);
    in.SetNetWorkByteOrderTo(order);
    for (const T value : values) {
      T read{};
      in >> read;
      EXPECT_EQ(read, value);
    }
    EXPECT_EQ(source.TellI(), static_cast<long>(sink.bytes.size()));
  }
}

TEST(ZTKDataStream, TypesThatTravelAsIntAreReadInTheSameWidth) {
  ExpectPair<bool>({true, false, true}, 4);
  ExpectPair<signed char>({-128, -1, 0, 1, 127}, 4);
  ExpectPair<wchar_t>({L'a', L'\xFFFF'}, 4);
  ExpectPair<char16_t>({u'a', u'\xFFFF'}, 4);
  ExpectPair<char32_t>({U'a', U'\x10FFFF'}, 4);
#ifdef __cpp_char8_t
  ExpectPair<char8_t>({u8'a', u8'z'}, 4);
#endif
}

TEST(ZTKDataStream, EveryValueButZeroReadsAsTrue) {
  TestSource source(std::string("\0\1\0\0\0\0\0\0", 8));
  ZTKDataStream stream(source);
  bool first = false, second = true;
  stream >> first >> second;
  EXPECT_TRUE(first);
  EXPECT_FALSE(second);
}

TEST(ZTKDataStream, ArrayTooLargeForAnyMemoryReadsNothing) {
  if (sizeof(long) < sizeof(void*)) GTEST_SKIP() << "there may be memory for any count of elements";
  TestSource source("abcdefgh");
  ZTKDataStream stream(source);
  unsigned long value = 7;
  unsigned long long wide = 7;
  stream.Read32(&value, ULONG_MAX);
  stream.Read64(&wide, ULONG_MAX / 8 + 2);  // Times eight it would wrap to a few bytes.
  EXPECT_EQ(value, 7u);
  EXPECT_EQ(wide, 7u);
  EXPECT_EQ(source.TellI(), 0);
}

// ---- floating point ----

TEST(ZTKDataStream, FloatingPointReadsConsumeTenBytesAndYieldZero) {
  TestSink sink;
  ZTKDataStream out(sink);
  out << 1.0 << 2.5f << -3.0 << 7;
  EXPECT_EQ(sink.bytes.size(), 34u);
  TestSource source(sink.bytes);
  ZTKDataStream in(source);
  double d = 5;
  float f = 5;
  int n = 5;
  in >> d >> f;
  EXPECT_EQ(d, 0.0);
  EXPECT_EQ(f, 0.0f);
  double values[1] = {5};
  in.ReadDouble(values, 1);
  EXPECT_EQ(values[0], 0.0);
  in >> n;
  EXPECT_EQ(n, 7);
  EXPECT_TRUE(in.IsOk());
}

TEST(ZTKDataStream, ExtendedReadGivesTheValueBack) {
  TestSink sink;
  ZTKDataStream out(sink);
  out.SetNetWorkByteOrderTo(ZTKDataStream::BigEndian);
  out << 3.14159 << -1e300;
  TestSource source(sink.bytes);
  ZTKDataStream in(source);
  EXPECT_EQ(in.ReadIeeeExtended(), 3.14159);
  EXPECT_EQ(in.ReadIeeeExtended(), -1e300);
}

}  // namespace
