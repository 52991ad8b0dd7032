// The zone as the environment names it: by a file, by a rule, or not at all.
#include <gtest/gtest.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <string>

#include "tests/support/scoped_zone.h"
#include "tests/support/temp_dir.h"
#include "tests/system/date_time_support.h"

TEST(ZTKDateTime, KnowsTheHistoryOfNamedZones) {
  const struct {
    const char* zone;
    int year, month;
    std::int64_t seconds;
  } rows[] = {
      {"Europe/Berlin", 1947, 7, -710164800 - 7200},
      {"Asia/Kathmandu", 1985, 6, 486475200 - 19800},
      {"America/New_York", 1950, 6, -618062400 + 4 * 3600},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.zone);
    if (!std::filesystem::exists(std::string("/usr/share/zoneinfo/") + row.zone)) {
      GTEST_SKIP() << "the zone is not installed";
    }
    const ScopedEnv zone("TZ", row.zone);
    const auto month = static_cast<DateTime::Month>(row.month - 1);
    EXPECT_EQ(DateTime(1, month, row.year, 12, 0, 0, 0).GetValue(), row.seconds * kFactor);
    EXPECT_EQ(Split(At(row.seconds)).hour, 12);
  }
}

TEST(ZTKDateTime, FollowsAChangeOfEnvironment) {
  const ScopedEnv zone("TZ", kUtc);
  EXPECT_EQ(Split(At(0)).hour, 0);
  char berlin[] = "TZ=CET-1CEST,M3.5.0,M10.5.0/3", other[] = "TZX=<+0545>-5:45";
  char* variables[] = {other, berlin, nullptr};
  char** const before = environ;
  environ = variables;
  const int elsewhere = Split(At(0)).hour;
  variables[1] = nullptr;  // Variables are gone, the array is the same.
  const int unset = Split(At(0)).hour;
  variables[1] = berlin;
  const int again = Split(At(0)).hour;
  variables[0] = nullptr;
  const int emptied = Split(At(0)).hour;
  environ = nullptr;
  const int none = Split(At(0)).hour;
  environ = before;
  EXPECT_EQ(elsewhere, 1);
  EXPECT_EQ(again, 1);
  EXPECT_EQ(emptied, unset);
  EXPECT_EQ(none, unset);
  EXPECT_EQ(Split(At(0)).hour, 0);
}

TEST(ZTKDateTime, WithoutAVariableTheZoneIsTheSystems) {
  const std::time_t noon = 1719835200;  // 12:00 UTC.
  {
    const ScopedEnv zone("TZ", "");
    EXPECT_EQ(Split(At(noon)).hour, 12);
  }
  const ScopedEnv zone("TZ", nullptr);
  const std::tm local = *std::localtime(&noon);
  EXPECT_EQ(Split(At(noon)).hour, local.tm_hour);
}
