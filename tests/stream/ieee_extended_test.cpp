#include "ztk/stream/ieee_extended.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "tests/support/temp_dir.h"
#include "ztk/stream/data_stream.h"

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
const double kNan = std::numeric_limits<double>::quiet_NaN();

std::string Encoded(double value) {
  unsigned char bytes[12];
  std::memset(bytes, 0xCC, sizeof bytes);
  ZTKDataStream::ConvertToIeeeExtended(value, bytes);
  EXPECT_EQ(bytes[10], 0xCC);
  return std::string(reinterpret_cast<char*>(bytes), 10);
}

double Decoded(std::string_view bytes) {
  return ZTKDataStream::DecodeIeeeExtended(reinterpret_cast<const unsigned char*>(bytes.data()));
}

// The format once more, made without looking at the bits of the double: the value as a whole number
// times a power of two, the number as binary digits, the digits as bytes.
std::string EncodedByDigits(double value) {
  if (value == 0) return std::string(10, '\0');
  std::string digits;
  long exponent = 0;
  double rest = std::fabs(value);
  if (std::isnan(value) || std::isinf(value)) {
    exponent = 0x7FFF - 16383;
    digits = std::string(64, '0');
  } else {
    for (; rest >= 2; rest /= 2) ++exponent;
    for (; rest < 1; rest *= 2) --exponent;  // Exact, subnormal or not.
    for (int i = 0; i < 64; ++i) {
      const bool one = rest >= 1;
      digits += one ? '1' : '0';
      rest = (one ? rest - 1 : rest) * 2;
    }
    EXPECT_EQ(rest, 0.0);
  }
  std::string head(value < 0 ? "1" : "0");
  for (int i = 14; i >= 0; --i) head += ((exponent + 16383) >> i & 1) != 0 ? '1' : '0';
  digits = head + digits;
  std::string bytes;
  for (size_t i = 0; i < digits.size(); i += 8) {
    bytes += static_cast<char>(std::stoi(digits.substr(i, 8), nullptr, 2));
  }
  return bytes;
}

TEST(ZTKIeeeExtended, KnownValues) {
  struct Row {
    double value;
    const char* bytes;
  };
  const Row kRows[] = {
      {0.0, "00 00 00 00 00 00 00 00 00 00"},
      {-0.0, "00 00 00 00 00 00 00 00 00 00"},
      {1.0, "3F FF 80 00 00 00 00 00 00 00"},
      {-1.0, "BF FF 80 00 00 00 00 00 00 00"},
      {2.0, "40 00 80 00 00 00 00 00 00 00"},
      {-2.0, "C0 00 80 00 00 00 00 00 00 00"},
      {0.5, "3F FE 80 00 00 00 00 00 00 00"},
      {0.25, "3F FD 80 00 00 00 00 00 00 00"},
      {0.75, "3F FE C0 00 00 00 00 00 00 00"},
      {1.5, "3F FF C0 00 00 00 00 00 00 00"},
      {3.0, "40 00 C0 00 00 00 00 00 00 00"},
      {10.0, "40 02 A0 00 00 00 00 00 00 00"},
      {100.0, "40 05 C8 00 00 00 00 00 00 00"},
      {-100.0, "C0 05 C8 00 00 00 00 00 00 00"},
      {0.1, "3F FB CC CC CC CC CC CC D0 00"},
      {-0.1, "BF FB CC CC CC CC CC CC D0 00"},
      {1.0 / 3, "3F FD AA AA AA AA AA AA A8 00"},
      {3.141592653589793, "40 00 C9 0F DA A2 21 68 C0 00"},
      {2.718281828459045, "40 00 AD F8 54 58 A2 BB 48 00"},
      {44100.0, "40 0E AC 44 00 00 00 00 00 00"},
      {48000.0, "40 0E BB 80 00 00 00 00 00 00"},
      {255.0, "40 06 FF 00 00 00 00 00 00 00"},
      {65536.0, "40 0F 80 00 00 00 00 00 00 00"},
      {2147483647.0, "40 1D FF FF FF FE 00 00 00 00"},
      {2147483648.0, "40 1E 80 00 00 00 00 00 00 00"},
      {4294967295.0, "40 1E FF FF FF FF 00 00 00 00"},
      {4294967296.0, "40 1F 80 00 00 00 00 00 00 00"},
      {-4294967297.0, "C0 1F 80 00 00 00 80 00 00 00"},
      {9007199254740991.0, "40 33 FF FF FF FF FF FF F8 00"},
      {9007199254740992.0, "40 34 80 00 00 00 00 00 00 00"},
      {1e10, "40 20 95 02 F9 00 00 00 00 00"},
      {1.0 + DBL_EPSILON, "3F FF 80 00 00 00 00 00 08 00"},
      {1.0 - DBL_EPSILON / 2, "3F FE FF FF FF FF FF FF F8 00"},
      {DBL_MAX, "43 FE FF FF FF FF FF FF F8 00"},
      {-DBL_MAX, "C3 FE FF FF FF FF FF FF F8 00"},
      {DBL_MIN, "3C 01 80 00 00 00 00 00 00 00"},
      {DBL_TRUE_MIN, "3B CD 80 00 00 00 00 00 00 00"},  // Exponent 15309: an ordinary number here.
      {-DBL_TRUE_MIN, "BB CD 80 00 00 00 00 00 00 00"},
      {DBL_MIN - DBL_TRUE_MIN, "3C 00 FF FF FF FF FF FF F0 00"},
      {kInf, "7F FF 00 00 00 00 00 00 00 00"},
      {-kInf, "FF FF 00 00 00 00 00 00 00 00"},
      {kNan, "7F FF 00 00 00 00 00 00 00 00"},
      {-kNan, "7F FF 00 00 00 00 00 00 00 00"},
  };
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.value);
    EXPECT_EQ(Hex(Encoded(row.value)), row.bytes);
    EXPECT_EQ(Hex(EncodedByDigits(row.value)), row.bytes);
  }
}

TEST(ZTKIeeeExtended, NullIsAccepted) {
  ZTKDataStream::ConvertToIeeeExtended(1.0, nullptr);
  EXPECT_EQ(ZTKDataStream::DecodeIeeeExtended(nullptr), 0.0);
}

TEST(ZTKIeeeExtended, ConvertFromYieldsZeroWhateverTheBytes) {
  for (const double value : {1.0, -2.5, kInf, kNan}) {
    const std::string bytes = Encoded(value);
    const double read = ZTKDataStream::ConvertFromIeeeExtended(
        reinterpret_cast<const unsigned char*>(bytes.data()));
    EXPECT_EQ(read, 0.0);
    EXPECT_FALSE(std::signbit(read));
  }
  EXPECT_EQ(ZTKDataStream::ConvertFromIeeeExtended(nullptr), 0.0);
}

// All exponents, with mantissas at their edges; both signs.
std::vector<double> EdgeValues() {
  std::vector<double> values;
  for (uint64_t exponent = 0; exponent < 0x7FF; ++exponent) {
    for (const uint64_t fraction :
         {uint64_t{0}, uint64_t{1}, uint64_t{2}, uint64_t{0x8000000000000}, uint64_t{0xFFFFFFFF},
          uint64_t{0x100000000}, uint64_t{0xFFFFFFFFFFFFE}, uint64_t{0xFFFFFFFFFFFFF}}) {
      const uint64_t bits = exponent << 52 | fraction;
      double value;
      std::memcpy(&value, &bits, sizeof value);
      values.push_back(value);
      values.push_back(-value);
    }
  }
  return values;
}

TEST(ZTKIeeeExtended, EveryExponentEncodesLikeTheDigitsAndComesBack) {
  for (const double value : EdgeValues()) {
    const std::string bytes = Encoded(value);
    ASSERT_EQ(Hex(bytes), Hex(EncodedByDigits(value))) << value;
    ASSERT_EQ(Decoded(bytes), value);
  }
}

std::vector<double> RandomValues(size_t count) {
  std::mt19937_64 random(20240229);
  std::vector<double> values;
  while (values.size() < count) {
    const uint64_t bits = random();
    double value;
    std::memcpy(&value, &bits, sizeof value);
    if (std::isfinite(value)) values.push_back(value);
  }
  return values;
}

TEST(ZTKIeeeExtended, RandomDoublesComeBackExactly) {
  for (const double value : RandomValues(1'000'000)) {
    const std::string bytes = Encoded(value);
    ASSERT_EQ(Decoded(bytes), value == 0 ? 0.0 : value);
  }
}

TEST(ZTKIeeeExtended, RandomDoublesEncodeLikeTheDigits) {
  for (const double value : RandomValues(20'000)) {
    ASSERT_EQ(Hex(Encoded(value)), Hex(EncodedByDigits(value))) << value;
  }
}

// Where the machine has the format, its bytes are the same for every finite value but -0.
TEST(ZTKIeeeExtended, AgreesWithTheLongDoublesOfTheMachine) {
  if (LDBL_MANT_DIG != 64) GTEST_SKIP() << "no 80-bit long double here";
  const auto machine = [](double value) {
    const long double wide = value;
    char bytes[sizeof wide];
    std::memcpy(bytes, &wide, sizeof wide);
    std::string reversed(bytes, 10);
    return std::string(reversed.rbegin(), reversed.rend());
  };
  for (const double value : EdgeValues()) {
    if (value != 0) {
      ASSERT_EQ(Hex(Encoded(value)), Hex(machine(value))) << value;
    }
  }
  size_t checked = 0;
  for (const double value : RandomValues(1'000'000)) {
    ASSERT_TRUE(value == 0 || Encoded(value) == machine(value)) << value;
    ++checked;
  }
  EXPECT_EQ(checked, 1'000'000u);
}

// Narrowing ten arbitrary bytes is what the machine does with a long double.
TEST(ZTKIeeeExtended, DecodesArbitraryBytesLikeTheMachine) {
  if (LDBL_MANT_DIG != 64) GTEST_SKIP() << "no 80-bit long double here";
  std::mt19937_64 random(7);
  size_t normal = 0, subnormal = 0, zero = 0, infinite = 0;
  for (int i = 0; i < 400'000; ++i) {
    // Around the range of a double, and a bit pattern that rounds to halves often.
    const auto head = static_cast<unsigned>(15250 + random() % 2300) | (random() % 2 << 15);
    const uint64_t mantissa =
        uint64_t{1} << 63 | (random() << (random() % 64)) | (random() % 4 == 0 ? 0x400 : 0);
    unsigned char big[10];
    big[0] = static_cast<unsigned char>(head >> 8);
    big[1] = static_cast<unsigned char>(head);
    for (int k = 0; k < 8; ++k) big[2 + k] = static_cast<unsigned char>(mantissa >> (56 - 8 * k));
    unsigned char machine[sizeof(long double)] = {};
    for (int k = 0; k < 10; ++k) machine[k] = big[9 - k];
    long double wide;
    std::memcpy(&wide, machine, sizeof wide);
    const auto expected = static_cast<double>(wide);
    const double actual = ZTKDecodeIeeeExtended(big);
    ASSERT_EQ(actual, expected) << head << " " << mantissa;
    ASSERT_EQ(std::signbit(actual), std::signbit(expected));
    ++(std::isinf(actual)      ? infinite
       : actual == 0           ? zero
       : std::isnormal(actual) ? normal
                               : subnormal);
  }
  EXPECT_GT(normal, 0u);
  EXPECT_GT(subnormal, 0u);
  EXPECT_GT(zero, 0u);
  EXPECT_GT(infinite, 0u);
}

TEST(ZTKIeeeExtended, DecodesWhatNoEncoderHereWrites) {
  using namespace std::string_literals;
  EXPECT_TRUE(std::isnan(Decoded("\x7F\xFF\xC0\0\0\0\0\0\0\0"s)));
  EXPECT_TRUE(std::isnan(Decoded("\xFF\xFF\x80\0\0\0\0\0\0\x01"s)));
  EXPECT_EQ(Decoded("\x7F\xFF\x80\0\0\0\0\0\0\0"s), kInf);
  EXPECT_EQ(Decoded("\xFF\xFF\0\0\0\0\0\0\0\0"s), -kInf);
  EXPECT_EQ(Decoded("\x7F\xFE\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s), kInf);
  EXPECT_EQ(Decoded("\0\0\0\0\0\0\0\0\0\x01"s), 0.0);
  EXPECT_TRUE(std::signbit(Decoded("\x80\0\0\0\0\0\0\0\0\0"s)));
  EXPECT_EQ(Decoded("\x40\x00\x40\0\0\0\0\0\0\0"s), 1.0);  // Without its integer bit.
}

TEST(ZTKIeeeExtended, RoundingUpMayReachTheNextPowerOfTwo) {
  using namespace std::string_literals;
  EXPECT_EQ(Decoded("\x3F\xFE\xFF\xFF\xFF\xFF\xFF\xFF\xFC\x00"s), 1.0);
  EXPECT_EQ(Decoded("\x43\xFE\xFF\xFF\xFF\xFF\xFF\xFF\xFC\x00"s), kInf);
  EXPECT_EQ(Decoded("\x3B\xCC\x80\0\0\0\0\0\0\0"s), 0.0);  // Half the smallest double: to even.
  EXPECT_EQ(Decoded("\x3B\xCC\x80\0\0\0\0\0\0\x01"s), DBL_TRUE_MIN);
}

}  // namespace
