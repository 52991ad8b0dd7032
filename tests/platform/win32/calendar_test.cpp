// The calendar of the layer "win32", against that of the C library where there is one.

#include "ztk/platform/win32/calendar.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <ctime>
#include <random>

namespace {

constexpr std::int64_t kDay = 86'400;
constexpr std::int64_t kHour = 3600;

std::tm Fields(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  std::tm fields = {};
  fields.tm_year = year - 1900;
  fields.tm_mon = month - 1;
  fields.tm_mday = day;
  fields.tm_hour = hour;
  fields.tm_min = minute;
  fields.tm_sec = second;
  return fields;
}

std::int64_t Seconds(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  return JoinFields(Fields(year, month, day, hour, minute, second));
}

// An hour ahead of UTC, and two from the end of March to the end of October.
class Berlin final : public Zone {
 public:
  std::int64_t OffsetAt(std::int64_t nSeconds) const noexcept override {
    std::tm fields;
    if (!SplitSeconds(nSeconds, fields)) return 0;
    const int year = fields.tm_year + 1900;
    const bool isSummer = nSeconds >= LastSunday(year, 3) && nSeconds < LastSunday(year, 10);
    return isSummer ? 2 * kHour : kHour;
  }

 private:
  // At one o'clock.
  static std::int64_t LastSunday(int year, int month) {
    const std::int64_t last = Seconds(year, month, 31, 1);
    std::tm fields = {};
    EXPECT_TRUE(SplitSeconds(last, fields));
    return last - fields.tm_wday * kDay;
  }
};

}  // namespace

TEST(Win32Calendar, KnowsDaysThatEverybodyKnows) {
  const struct {
    int year, month, day;
    std::int64_t days;
    int weekday;
  } rows[] = {{1970, 1, 1, 0, 4},       {1969, 12, 31, -1, 3},       {2000, 2, 29, 11'016, 2},
              {2000, 3, 1, 11'017, 3},  {1900, 3, 1, -25'508, 4},    {1600, 2, 29, -135'081, 2},
              {1, 1, 1, -719'162, 1},   {0, 1, 1, -719'528, 6},      {-1, 12, 31, -719'529, 5},
              {3001, 1, 1, 376'565, 4}, {9999, 12, 31, 2'932'896, 5}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.year << "-" << row.month << "-" << row.day);
    EXPECT_EQ(Seconds(row.year, row.month, row.day), row.days * kDay);
    for (const std::int64_t second : {std::int64_t{0}, kDay - 1}) {
      std::tm fields = {};
      ASSERT_TRUE(SplitSeconds(row.days * kDay + second, fields));
      EXPECT_EQ(fields.tm_year, row.year - 1900);
      EXPECT_EQ(fields.tm_mon, row.month - 1);
      EXPECT_EQ(fields.tm_mday, row.day);
      EXPECT_EQ(fields.tm_wday, row.weekday);
      EXPECT_EQ(fields.tm_isdst, -1);
    }
  }
}

TEST(Win32Calendar, TakesFieldsOutOfTheirRanges) {
  EXPECT_EQ(Seconds(2024, 1, 32), Seconds(2024, 2, 1));
  EXPECT_EQ(Seconds(2024, 3, 0), Seconds(2024, 2, 29));
  EXPECT_EQ(Seconds(2024, 13, 1), Seconds(2025, 1, 1));
  EXPECT_EQ(Seconds(2024, 0, 1), Seconds(2023, 12, 1));
  EXPECT_EQ(Seconds(2024, -12, 1), Seconds(2022, 12, 1));
  EXPECT_EQ(Seconds(2024, 1, 1, 25, 61, 61), Seconds(2024, 1, 2, 2, 2, 1));
  EXPECT_EQ(Seconds(2024, 1, 1, -1), Seconds(2023, 12, 31, 23));
  EXPECT_EQ(Seconds(65535, 13, 0), Seconds(65535, 12, 31));
}

TEST(Win32Calendar, EveryDayFollowsTheOneBefore) {
  // Of two whole cycles, with the year 0 in between.
  std::tm before = {};
  ASSERT_TRUE(SplitSeconds(Seconds(-400, 1, 1), before));
  for (std::int64_t day = Seconds(-400, 1, 2); day < Seconds(401, 1, 1); day += kDay) {
    std::tm fields = {};
    ASSERT_TRUE(SplitSeconds(day, fields));
    ASSERT_EQ(JoinFields(fields), day);
    ASSERT_EQ(fields.tm_wday, (before.tm_wday + 1) % 7);
    const bool isNewYear = fields.tm_year != before.tm_year;
    ASSERT_EQ(fields.tm_yday, isNewYear ? 0 : before.tm_yday + 1);
    const bool isNewMonth = fields.tm_mday == 1;
    ASSERT_EQ(fields.tm_mday, isNewMonth ? 1 : before.tm_mday + 1);
    ASSERT_EQ(fields.tm_mon, isNewMonth ? (before.tm_mon + 1) % 12 : before.tm_mon);
    before = fields;
  }
}

TEST(Win32Calendar, CountsToTheLastYearThatTheFieldsHaveRoomFor) {
  std::tm last = {};
  last.tm_year = INT_MAX;
  last.tm_mon = 11;
  last.tm_mday = 31;
  std::tm first = {};
  first.tm_year = INT_MIN;
  first.tm_mday = 1;
  const std::int64_t end = JoinFields(last) + kDay;
  const std::int64_t begin = JoinFields(first);
  std::tm fields = {};
  ASSERT_TRUE(SplitSeconds(end - 1, fields));
  EXPECT_EQ(fields.tm_year, INT_MAX);
  EXPECT_EQ(fields.tm_sec, 59);
  ASSERT_TRUE(SplitSeconds(begin, fields));
  EXPECT_EQ(fields.tm_year, INT_MIN);
  EXPECT_EQ(fields.tm_yday, 0);

  for (const std::int64_t beyond : {end, begin - 1, INT64_MAX, INT64_MIN}) {
    SCOPED_TRACE(beyond);
    std::tm untouched = Fields(2024, 5, 6);
    EXPECT_FALSE(SplitSeconds(beyond, untouched));
    EXPECT_EQ(untouched.tm_mday, 6);
    EXPECT_FALSE(SplitLocal(beyond == end ? INT64_MAX : beyond, Berlin(), untouched));
  }
}

#ifdef ZTK_C_LIBRARY_KNOWS_EVERY_YEAR
namespace {

void ExpectSame(const std::tm& fields, const std::tm& expected) {
  EXPECT_EQ(fields.tm_year, expected.tm_year);
  EXPECT_EQ(fields.tm_mon, expected.tm_mon);
  EXPECT_EQ(fields.tm_mday, expected.tm_mday);
  EXPECT_EQ(fields.tm_hour, expected.tm_hour);
  EXPECT_EQ(fields.tm_min, expected.tm_min);
  EXPECT_EQ(fields.tm_sec, expected.tm_sec);
  EXPECT_EQ(fields.tm_wday, expected.tm_wday);
  EXPECT_EQ(fields.tm_yday, expected.tm_yday);
}

}  // namespace

TEST(Win32Calendar, IsThatOfTheCLibrary) {
  std::mt19937_64 random(7);
  std::uniform_int_distribution<std::int64_t> near(-200'000'000'000, 200'000'000'000);
  std::uniform_int_distribution<std::int64_t> far(-60'000'000'000'000'000, 60'000'000'000'000'000);
  for (int i = 0; i < 200'000; ++i) {
    const std::int64_t seconds = i % 2 == 0 ? near(random) : far(random);
    const std::time_t given = seconds;
    std::tm expected = {};
    ASSERT_NE(gmtime_r(&given, &expected), nullptr);
    std::tm fields = {};
    ASSERT_TRUE(SplitSeconds(seconds, fields));
    ExpectSame(fields, expected);
    ASSERT_EQ(JoinFields(fields), seconds);
    ASSERT_FALSE(HasFailure()) << seconds;
  }
}

TEST(Win32Calendar, NormalisesAsTheCLibraryDoes) {
  std::mt19937 random(8);
  std::uniform_int_distribution<int> any(-100'000, 100'000);
  for (int i = 0; i < 200'000; ++i) {
    std::tm fields =
        Fields(any(random), any(random), any(random), any(random), any(random), any(random));
    const std::int64_t seconds = JoinFields(fields);
    ASSERT_EQ(timegm(&fields), seconds);
  }
}
#endif

TEST(Win32Calendar, FollowsAZoneBothWays) {
  const Berlin zone;
  for (std::int64_t second = Seconds(2023, 12, 30); second < Seconds(2025, 1, 3); second += 1800) {
    std::tm fields = {};
    ASSERT_TRUE(SplitLocal(second, zone, fields));
    const bool isSecondTime =
        second >= Seconds(2024, 10, 27, 1) && second < Seconds(2024, 10, 27, 2);
    ASSERT_EQ(JoinLocal(fields, zone), isSecondTime ? second - kHour : second);
  }
}

TEST(Win32Calendar, FieldsThatTheClockLeftOutAreCountedOn) {
  const Berlin zone;
  EXPECT_EQ(JoinLocal(Fields(2024, 3, 31, 1, 59, 59), zone), Seconds(2024, 3, 31, 0, 59, 59));
  EXPECT_EQ(JoinLocal(Fields(2024, 3, 31, 2, 30), zone), Seconds(2024, 3, 31, 1, 30));
  std::tm shown = {};
  ASSERT_TRUE(SplitLocal(JoinLocal(Fields(2024, 3, 31, 2, 30), zone), zone, shown));
  EXPECT_EQ(shown.tm_hour, 3);
  EXPECT_EQ(shown.tm_min, 30);
  EXPECT_EQ(JoinLocal(Fields(2024, 3, 31, 3), zone), Seconds(2024, 3, 31, 1));
}

TEST(Win32Calendar, OfTwoSecondsWithTheSameFieldsTheFirstIsMeant) {
  const Berlin zone;
  EXPECT_EQ(JoinLocal(Fields(2024, 10, 27, 2), zone), Seconds(2024, 10, 27, 0));
  EXPECT_EQ(JoinLocal(Fields(2024, 10, 27, 2, 59, 59), zone), Seconds(2024, 10, 27, 0, 59, 59));
  EXPECT_EQ(JoinLocal(Fields(2024, 10, 27, 3), zone), Seconds(2024, 10, 27, 2));
}

TEST(Win32Calendar, AnEquivalentYearHasTheSameDays) {
  for (const std::int64_t first : {1604, 30'772}) {
    for (std::int64_t year = -500; year < 900; ++year) {
      SCOPED_TRACE(year);
      const std::int64_t equivalent = EquivalentYear(year, first);
      ASSERT_GE(equivalent, first);
      ASSERT_LT(equivalent, first + 28);
      ASSERT_EQ(BeginOfYear(equivalent + 1) - BeginOfYear(equivalent),
                BeginOfYear(year + 1) - BeginOfYear(year));
      ASSERT_EQ((BeginOfYear(equivalent) - BeginOfYear(year)) % (7 * kDay), 0);
    }
  }
}
