#include "ztk/platform/win32/time_zone.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "ztk/system/date_time.h"

namespace {

constexpr std::int64_t kHour = 3600;

TIME_ZONE_INFORMATION Berlin() {
  TIME_ZONE_INFORMATION zone = {};
  zone.Bias = -60;
  zone.DaylightBias = -60;
  zone.StandardDate = {0, 10, 0, 5, 3, 0, 0, 0};  // The last Sunday of October, at three.
  zone.DaylightDate = {0, 3, 0, 5, 2, 0, 0, 0};
  return zone;
}

std::int64_t Seconds(int year, int month, int day, int hour) {
  std::tm fields = {};
  fields.tm_year = year - 1900;
  fields.tm_mon = month - 1;
  fields.tm_mday = day;
  fields.tm_hour = hour;
  return JoinFields(fields);
}

}  // namespace

TEST(Win32TimeZone, KnowsTheSystemsRulesInEveryYear) {
  const TIME_ZONE_INFORMATION berlin = Berlin();
  const SystemZone zone(berlin);
  for (const int year :
       {-4000, -1,   0,    1,    1000, 1600, 1601,   1602,   1603,   1604,   1631,   1632,     1969,
        1970,  2024, 2038, 3000, 3001, 9999, 30'799, 30'800, 30'827, 30'828, 65'535, 2'000'000}) {
    SCOPED_TRACE(year);
    EXPECT_EQ(zone.OffsetAt(Seconds(year, 1, 15, 12)), kHour);
    EXPECT_EQ(zone.OffsetAt(Seconds(year, 7, 15, 12)), 2 * kHour);
    EXPECT_EQ(zone.OffsetAt(Seconds(year, 12, 31, 23)), kHour);
    std::tm fields = {};
    const std::int64_t noon = Seconds(year, 7, 1, 12);
    ASSERT_TRUE(SplitLocal(noon, zone, fields));
    EXPECT_EQ(fields.tm_hour, 14);
    EXPECT_EQ(fields.tm_year, year - 1900);
    EXPECT_EQ(JoinLocal(fields, zone), noon);
  }
}

TEST(Win32TimeZone, ChangesAtTheSecondOfTheRule) {
  const TIME_ZONE_INFORMATION berlin = Berlin();
  const SystemZone zone(berlin);
  EXPECT_EQ(zone.OffsetAt(Seconds(2024, 3, 31, 1) - 1), kHour);
  EXPECT_EQ(zone.OffsetAt(Seconds(2024, 3, 31, 1)), 2 * kHour);
  EXPECT_EQ(zone.OffsetAt(Seconds(2024, 10, 27, 1) - 1), 2 * kHour);
  EXPECT_EQ(zone.OffsetAt(Seconds(2024, 10, 27, 1)), kHour);
}

TEST(Win32TimeZone, TheLibraryUsesTheZoneOfTheSystem) {
  SYSTEMTIME utc = {};
  SYSTEMTIME local = {};
  GetSystemTime(&utc);
  ASSERT_NE(SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local), 0);
  const ZTKDateTime today = ZTKDateTime::Today();
  const ZTKDateTime::Tm tm = today.XPGetTm(ZTKDateTime::TimeZone(ZTKDateTime::TZ_LOCAL));
  EXPECT_EQ(tm.hour, 0);
  EXPECT_TRUE(tm.day == local.wDay || tm.day == local.wDay + 1 || tm.day == 1);  // At midnight.
  EXPECT_GE(tm.year, 2024);
}
