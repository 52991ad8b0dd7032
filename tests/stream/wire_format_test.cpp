// The bytes on the wire are pinned by files: every build of every width writes the same and reads
// them back.
#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <limits>

#include "tests/stream/test_streams.h"
#include "tests/support/temp_dir.h"

namespace {

std::string GoldenPath(ZTKDataStream::BytesOrder order) {
  return std::string(ZTK_GOLDEN_DIR) +
         (order == ZTKDataStream::BigEndian ? "/record_big.bin" : "/record_little.bin");
}

void WriteRecord(ZTKDataStream& stream) {
  stream << 'A' << static_cast<unsigned char>(0xFE);
  stream << short{-2} << static_cast<unsigned short>(0x1234);
  stream << 0x01020304L << -1L << 0xF1F2F3F4ul;
  stream << -5 << 0x12345678u;
  stream << 0x0102030405060708ull << -2LL << LLONG_MIN;
  stream << 0.0 << -0.0 << 1.0 << -2.0 << 0.5f << 0.1;
  stream << DBL_MAX << DBL_MIN << DBL_TRUE_MIN;
  stream << std::numeric_limits<double>::infinity() << -std::numeric_limits<double>::infinity()
         << std::numeric_limits<double>::quiet_NaN();
  stream << ""
         << "abc" << ZTKString("\xC3\xA4\xE2\x82\xAC");
  const unsigned short shorts[] = {1, 2, 0xFFFF};
  const unsigned long longs[] = {1, 0x80000000ul};
  const unsigned long long wide[] = {3};
  stream.Write16(shorts, 3);
  stream.Write32(longs, 2);
  stream.Write64(wide, 1);
}

class WireFormat : public testing::TestWithParam<ZTKDataStream::BytesOrder> {};

TEST_P(WireFormat, RecordIsWrittenAsPinned) {
  ZTKMemoryOutputStream memory;
  ZTKDataStream stream(memory);
  stream.SetNetWorkByteOrderTo(GetParam());
  WriteRecord(stream);
  EXPECT_EQ(Hex(Content(memory)), Hex(ReadWholeFile(GoldenPath(GetParam()))));
}

TEST_P(WireFormat, PinnedRecordIsReadBack) {
  const std::string bytes = ReadWholeFile(GoldenPath(GetParam()));
  ZTKMemoryInputStream memory(bytes.data(), static_cast<unsigned long>(bytes.size()));
  ZTKDataStream stream(memory);
  stream.SetNetWorkByteOrderTo(GetParam());

  char character = 0;
  unsigned char byte = 0;
  short small = 0;
  unsigned short half = 0;
  long first = 0, second = 0;
  unsigned long third = 0;
  int number = 0;
  unsigned natural = 0;
  unsigned long long wide = 0;
  long long third64 = 0, fourth64 = 0;
  stream >> character >> byte >> small >> half >> first >> second >> third >> number >> natural >>
      wide >> third64 >> fourth64;
  EXPECT_EQ(character, 'A');
  EXPECT_EQ(byte, 0xFE);
  EXPECT_EQ(small, -2);
  EXPECT_EQ(half, 0x1234);
  EXPECT_EQ(first, 0x01020304);
  EXPECT_EQ(second, -1);
  EXPECT_EQ(third, 0xF1F2F3F4ul);
  EXPECT_EQ(number, -5);
  EXPECT_EQ(natural, 0x12345678u);
  EXPECT_EQ(wide, 0x0102030405060708ull);
  EXPECT_EQ(third64, -2);
  EXPECT_EQ(fourth64, LLONG_MIN);

  double plain = 7;
  stream >> plain;
  EXPECT_EQ(plain, 0.0);
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  for (const double expected : {0.0, 1.0, -2.0, 0.5, 0.1, DBL_MAX, DBL_MIN, DBL_TRUE_MIN, kInfinity,
                                -kInfinity, kInfinity}) {
    EXPECT_EQ(stream.ReadIeeeExtended(), expected);
  }
  EXPECT_EQ(stream.ReadString().view(), "");
  EXPECT_EQ(stream.ReadString().view(), "abc");
  EXPECT_EQ(stream.ReadString().view(), "\xC3\xA4\xE2\x82\xAC");
  unsigned short shorts[3];
  unsigned long longs[2];
  unsigned long long longer[1];
  stream.Read16(shorts, 3);
  stream.Read32(longs, 2);
  stream.Read64(longer, 1);
  EXPECT_EQ(shorts[2], 0xFFFF);
  EXPECT_EQ(longs[1], 0x80000000ul);
  EXPECT_EQ(longer[0], 3u);
  EXPECT_TRUE(stream.IsOk());
  EXPECT_TRUE(memory.Eof());
}

INSTANTIATE_TEST_SUITE_P(BothOrders, WireFormat,
                         testing::Values(ZTKDataStream::LittleEndian, ZTKDataStream::BigEndian));

}  // namespace
