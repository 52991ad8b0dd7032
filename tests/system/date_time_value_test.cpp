// The value of a date and time by itself: what no time zone has a part in.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "tests/system/date_time_support.h"

TEST(ZTKDateTime, AFreshTmHasNoDate) {
  const Tm tm;
  EXPECT_EQ(tm.millisecond, 0);
  EXPECT_EQ(tm.second, 0);
  EXPECT_EQ(tm.minute, 0);
  EXPECT_EQ(tm.hour, 0);
  EXPECT_EQ(tm.day, 0);
  EXPECT_EQ(tm.month, DateTime::MONTH_CURRENT);
  EXPECT_EQ(tm.month, 12);
  EXPECT_EQ(tm.year, 65535);
}

TEST(ZTKDateTime, TheProductOfTwoDoublesIsExactInTheWholeRange) {
  constexpr std::int64_t kLast = 106'751'991'167;
  std::mt19937_64 random(1);
  std::uniform_int_distribution<std::int64_t> any(-kLast, kLast);
  for (int i = 0; i < 1'000'000; ++i) {
    const std::int64_t seconds = i == 0 ? kLast : i == 1 ? -kLast : any(random);
    const double product = static_cast<double>(seconds) * 86'400'000.0;
    ASSERT_EQ(DateTime().Set(product).GetValue(), seconds * kFactor) << seconds;
  }
  // The first second that is too many stays at the end of the range.
  EXPECT_EQ(DateTime().Set((kLast + 1) * 86'400'000.0).GetValue(),
            std::numeric_limits<std::int64_t>::max());
}

TEST(ZTKDateTime, SettingANumberRoundsTowardZeroAndStaysInRange) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
  constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
  const struct {
    double number;
    std::int64_t value;
  } rows[] = {
      {0.0, 0},
      {1.9, 1},
      {-1.9, -1},
      {-0.5, 0},
      {123456789012.75, 123456789012},
      {9223372036854774784.0, 9223372036854774784},
      {9223372036854775808.0, kMax},
      {1e300, kMax},
      {kInfinity, kMax},
      {-9223372036854775808.0, kMin},
      {-9223372036854777856.0, kMin},
      {-kInfinity, kMin},
      {std::nan(""), 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.number);
    DateTime time = At(5);
    EXPECT_EQ(&time.Set(row.number), &time);
    EXPECT_EQ(time.GetValue(), row.value);
  }
}

TEST(ZTKDateTime, SettingMillisecondsReplacesThem) {
  DateTime time = At(10, 250);
  EXPECT_EQ(&time.SetMillisecond(7), &time);
  EXPECT_EQ(time.GetValue(), 10 * kFactor + 7);
  EXPECT_EQ(time.SetMillisecond(0).GetValue(), 10 * kFactor);
}

TEST(ZTKDateTime, MillisecondsAreNotChecked) {
  DateTime time = At(10, 250);
  EXPECT_EQ(time.SetMillisecond(65535).GetValue(), 10 * kFactor + 65535);
  // Only what is below a thousand is taken away again.
  EXPECT_EQ(time.SetMillisecond(0).GetValue(), 10 * kFactor + 65000);
}

TEST(ZTKDateTime, MillisecondsStayInRange) {
  DateTime time = DateTime().Set(1e300);
  EXPECT_EQ(time.SetMillisecond(807).GetValue(), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(time.SetMillisecond(65535).GetValue(), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(time.SetMillisecond(0).GetValue(), 9223372036854775000);
  time.Set(-1e300);
  EXPECT_EQ(time.SetMillisecond(0).GetValue(), -9223372036854775000);
}

TEST(ZTKDateTime, YearsOutOfReachStayAtTheEnds) {
  EXPECT_EQ(
      DateTime(1, DateTime::MONTH_JAN, std::numeric_limits<int>::max(), 0, 0, 0, 0).GetValue(),
      9223372036854775000);
  EXPECT_EQ(DateTime(1, DateTime::MONTH_JAN, -1'000'000, 0, 0, 0, 0).GetValue(),
            -9223372036854775000);
}
