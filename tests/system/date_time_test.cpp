#include "ztk/system/date_time.h"

#include <gtest/gtest.h>

#include <cmath>
#include <ctime>
#include <limits>
#include <string>
#include <type_traits>

#include "tests/support/scoped_zone.h"
#include "tests/system/date_time_support.h"

namespace {

std::string Text(const Tm& tm) {
  char text[100];
  std::snprintf(text, sizeof text, "%d-%02d-%02d %02d:%02d:%02d.%03d", tm.year, tm.month + 1,
                tm.day, tm.hour, tm.minute, tm.second, tm.millisecond);
  return text;
}

std::string Text(const DateTime& time) { return Text(Split(time)); }

}  // namespace

TEST(ZTKDateTime, ConvertsBothWaysInEveryZone) {
  const struct {
    const char* zone;
    int year, month, day, hour, minute, second;
    std::int64_t seconds;
  } rows[] = {
      {kUtc, 1970, 1, 1, 0, 0, 0, 0},
      {kUtc, 2000, 2, 29, 0, 0, 0, 951782400},
      {kUtc, 1969, 12, 31, 23, 59, 58, -2},
      {kUtc, 2038, 1, 19, 3, 14, 8, 2147483648},
      {kUtc, 5352, 1, 1, 0, 0, 0, 106725600000},
      {kUtc, 1600, 1, 1, 0, 0, 0, -11676096000},
      {kBerlin, 2024, 1, 15, 12, 34, 56, 1705322096 - 3600},
      {kBerlin, 2024, 7, 1, 12, 34, 56, 1719837296 - 7200},
      {kBerlin, 1955, 1, 15, 0, 0, 0, -472176000 - 3600},
      {kBerlin, 2100, 7, 1, 23, 59, 59, 4118169599 - 7200},
      {kNewYork, 2024, 1, 15, 12, 34, 56, 1705322096 + 5 * 3600},
      {kNewYork, 2024, 7, 1, 12, 34, 56, 1719837296 + 4 * 3600},
      {kSydney, 2017, 12, 25, 6, 0, 0, 1514181600 - 11 * 3600},
      {kSydney, 2017, 6, 25, 6, 0, 0, 1498370400 - 10 * 3600},
      {kSydney, 2100, 7, 1, 23, 59, 59, 4118169599 - 10 * 3600},
      {kKathmandu, 2024, 1, 1, 5, 45, 0, 1704067200},
      {kSaoPaulo, 2017, 12, 25, 6, 0, 0, 1514181600 + 2 * 3600},
      {kSaoPaulo, 2017, 6, 25, 6, 0, 0, 1498370400 + 3 * 3600},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.zone) + " " + std::to_string(row.seconds));
    const ScopedZone zone(row.zone);
    const DateTime time(
        static_cast<unsigned short>(row.day), static_cast<DateTime::Month>(row.month - 1), row.year,
        static_cast<unsigned short>(row.hour), static_cast<unsigned short>(row.minute),
        static_cast<unsigned short>(row.second), 0);
    EXPECT_EQ(time.GetValue(), row.seconds * kFactor);
    const Tm tm = Split(At(row.seconds));
    EXPECT_EQ(tm.year, row.year);
    EXPECT_EQ(tm.month, row.month - 1);
    EXPECT_EQ(tm.day, row.day);
    EXPECT_EQ(tm.hour, row.hour);
    EXPECT_EQ(tm.minute, row.minute);
    EXPECT_EQ(tm.second, row.second);
    EXPECT_EQ(tm.millisecond, 0);
  }
}

TEST(ZTKDateTime, FollowsAChangeOfZone) {
  const DateTime noon = At(1719835200);  // 12:00 UTC.
  for (int round = 0; round < 2; ++round) {
    {
      const ScopedZone zone(kBerlin);
      EXPECT_EQ(Text(noon), "2024-07-01 14:00:00.000");
    }
    {
      const ScopedZone zone(kKathmandu);
      EXPECT_EQ(DateTime(1, DateTime::MONTH_JUL, 2024, 17, 45, 0, 0).GetValue(), noon.GetValue());
    }
    {
      const ScopedZone zone(kBerlin);
      EXPECT_EQ(Text(noon), "2024-07-01 14:00:00.000");
    }
    const ScopedZone zone(kUtc);
    EXPECT_EQ(Text(noon), "2024-07-01 12:00:00.000");
  }
}

TEST(ZTKDateTime, AFreshTmAsksForAYearThatTheValueCannotHold) {
  const ScopedZone zone(kUtc);
  const DateTime time{Tm()};
  EXPECT_EQ(time.GetValue(), std::numeric_limits<std::int64_t>::max() / 1000 * 1000);
  EXPECT_EQ(DateTime().Set(Tm()).GetValue(), time.GetValue());
  EXPECT_EQ(Split(time).year, 5352);
}

TEST(ZTKDateTime, HoldsSecondsTimesTheMillisecondsOfADay) {
  EXPECT_EQ(DateTime::TIME_T_FACTOR, 1000);
  const ScopedZone zone(kUtc);
  EXPECT_EQ(DateTime(1, DateTime::MONTH_JAN, 1970, 0, 0, 1, 7).GetValue(), 86'400'007);
  EXPECT_EQ(DateTime(2, DateTime::MONTH_JAN, 1970, 0, 0, 0, 0).GetValue(), 86400 * kFactor);
  EXPECT_EQ(DateTime().GetValue(), 0);
}

TEST(ZTKDateTime, MillisecondsComeBackFromFields) {
  const ScopedZone zone(kBerlin);
  const DateTime time(17, DateTime::MONTH_MAY, 2024, 13, 14, 15, 999);
  EXPECT_EQ(Text(time), "2024-05-17 13:14:15.999");
}

TEST(ZTKDateTime, BeforeTheEpochValuesCountTowardZero) {
  const ScopedZone zone(kUtc);
  const DateTime time(31, DateTime::MONTH_DEC, 1969, 23, 59, 59, 999);
  EXPECT_EQ(time.GetValue(), -kFactor + 999);
  const Tm tm = Split(time);
  EXPECT_EQ(tm.year, 1970);
  EXPECT_EQ(tm.second, 0);
  EXPECT_EQ(tm.millisecond, 65535);

  const Tm even = Split(DateTime(31, DateTime::MONTH_DEC, 1969, 23, 59, 58, 0));
  EXPECT_EQ(Text(even), "1969-12-31 23:59:58.000");
}

TEST(ZTKDateTime, SettersReplaceOneFieldAndDropTheMilliseconds) {
  const ScopedZone zone(kBerlin);
  const DateTime start(17, DateTime::MONTH_MAY, 2024, 13, 14, 15, 250);
  DateTime time = start;
  EXPECT_EQ(&time.SetSecond(10), &time);
  EXPECT_EQ(Text(time), "2024-05-17 13:14:10.000");
  EXPECT_EQ(Text((time = start).SetMinute(1)), "2024-05-17 13:01:15.000");
  EXPECT_EQ(Text((time = start).SetHour(2)), "2024-05-17 02:14:15.000");
  EXPECT_EQ(Text((time = start).SetDay(3)), "2024-05-03 13:14:15.000");
  EXPECT_EQ(Text((time = start).SetMonth(DateTime::MONTH_DEC)), "2024-12-17 13:14:15.000");
  EXPECT_EQ(Text((time = start).SetYear(1999)), "1999-05-17 13:14:15.000");
}

TEST(ZTKDateTime, FieldsOutOfRangeCarryOver) {
  const ScopedZone zone(kBerlin);
  const DateTime start(17, DateTime::MONTH_APR, 2024, 13, 14, 15, 0);
  DateTime time = start;
  EXPECT_EQ(Text(time.SetDay(31)), "2024-05-01 13:14:15.000");
  EXPECT_EQ(Text((time = start).SetDay(32)), "2024-05-02 13:14:15.000");
  EXPECT_EQ(Text((time = start).SetDay(0)), "2024-03-31 13:14:15.000");
  EXPECT_EQ(Text((time = start).SetHour(24)), "2024-04-18 00:14:15.000");
  EXPECT_EQ(Text((time = start).SetMinute(60)), "2024-04-17 14:00:15.000");
  EXPECT_EQ(Text((time = start).SetSecond(65535)), "2024-04-18 07:26:15.000");
  EXPECT_EQ(Text((time = start).SetMonth(static_cast<DateTime::Month>(13))),
            "2025-02-17 13:14:15.000");
  EXPECT_EQ(Text((time = start).SetMonth(static_cast<DateTime::Month>(-1))),
            "2023-12-17 13:14:15.000");
}

TEST(ZTKDateTime, WhatCannotBeConvertedIsTheSecondBefore1970) {
  for (int year : {std::numeric_limits<int>::min(), std::numeric_limits<int>::min() + 1,
                   std::numeric_limits<int>::min() + 1899}) {
    SCOPED_TRACE(year);
    EXPECT_EQ(DateTime(1, DateTime::MONTH_JAN, year, 0, 0, 0, 0).GetValue(), -kFactor);
  }
  const ScopedZone zone(kUtc);
  EXPECT_EQ(DateTime(31, DateTime::MONTH_DEC, 1969, 23, 59, 59, 0).GetValue(), -kFactor);
}

TEST(ZTKDateTime, SentinelsStandForTheCurrentMonthAndYear) {
  const ScopedZone zone(kUtc);
  // Again, should the year end in between.
  for (int attempt = 0; attempt < 2; ++attempt) {
    const Tm before = DateTime::XPGetTmNow();
    const Tm tm = Split(DateTime(15, DateTime::MONTH_CURRENT, -1, 12, 0, 0, 0));
    const Tm set = Split(At(0).SetDay(15).SetMonth(DateTime::MONTH_CURRENT).SetYear(-1));
    const Tm mixed = Split(DateTime(15, DateTime::MONTH_MAR, -1, 12, 0, 0, 0));
    const Tm after = DateTime::XPGetTmNow();
    if (before.month != after.month) continue;
    EXPECT_EQ(tm.month, before.month);
    EXPECT_EQ(tm.year, before.year);
    EXPECT_EQ(tm.day, 15);
    EXPECT_EQ(set.month, before.month);
    EXPECT_EQ(set.year, before.year);
    EXPECT_EQ(mixed.month, DateTime::MONTH_MAR);
    EXPECT_EQ(mixed.year, before.year);
    return;
  }
  FAIL() << "the month ended twice";
}

TEST(ZTKDateTime, TheHourThatComesTwiceIsOneOfTheTwo) {
  const ScopedZone zone(kBerlin);
  // 02:30 on the day the clock goes back: 00:30 UTC in daylight saving time, 01:30 UTC after.
  const std::int64_t first = 1729989000, second = first + 3600;
  EXPECT_EQ(Text(At(first)), Text(At(second)));
  for (std::int64_t seconds : {first, second}) {
    const std::int64_t moved = At(seconds).SetSecond(1).GetValue();
    EXPECT_TRUE(moved == (first + 1) * kFactor || moved == (second + 1) * kFactor) << moved;
  }
}

TEST(ZTKDateTime, AMidnightThatDoesNotExistMovesByTheHour) {
  const ScopedZone zone(kSaoPaulo);
  const DateTime time(15, DateTime::MONTH_OCT, 2017, 0, 0, 0, 0);
  // The instant is 03:00 UTC if the standard offset is taken, an hour earlier otherwise.
  const std::int64_t standard = 1508036400;
  EXPECT_TRUE(time.GetValue() == standard * kFactor ||
              time.GetValue() == (standard - 3600) * kFactor)
      << time.GetValue();
  const Tm tm = Split(time);
  EXPECT_TRUE((tm.day == 15 && tm.hour == 1) || (tm.day == 14 && tm.hour == 23)) << Text(tm);
}

TEST(ZTKDateTime, NowIsTheCurrentSecond) {
  const ScopedZone zone(kNewYork);
  const std::time_t before = std::time(nullptr);
  const std::int64_t now = DateTime::Now().GetValue();
  const std::time_t after = std::time(nullptr);
  EXPECT_EQ(now % kFactor, 0);
  // The hour that comes twice is told from its fields alone.
  const std::int64_t slack = Split(DateTime::Now()).month == DateTime::MONTH_NOV ? 3600 : 0;
  EXPECT_GE(now / kFactor, before - slack);
  EXPECT_LE(now / kFactor, after + slack);
}

TEST(ZTKDateTime, TodayIsMidnight) {
  const ScopedZone zone(kBerlin);
  for (int attempt = 0; attempt < 2; ++attempt) {
    const Tm before = DateTime::XPGetTmNow();
    const Tm today = Split(DateTime::Today());
    if (DateTime::XPGetTmNow().day != before.day) continue;
    EXPECT_EQ(today.hour, 0);
    EXPECT_EQ(today.minute, 0);
    EXPECT_EQ(today.second, 0);
    EXPECT_EQ(today.millisecond, 0);
    EXPECT_EQ(today.day, before.day);
    EXPECT_EQ(today.month, before.month);
    EXPECT_EQ(today.year, before.year);
    return;
  }
  FAIL() << "the day ended twice";
}

TEST(ZTKDateTime, ATimeAloneIsOfToday) {
  const ScopedZone zone(kUtc);
  for (int attempt = 0; attempt < 2; ++attempt) {
    const std::int64_t today = DateTime::Today().GetValue();
    const DateTime time(13, 14, 15, 999);
    const DateTime set = At(5).Set(1, 2, 3, 1001);
    if (DateTime::Today().GetValue() != today) continue;
    EXPECT_EQ(time.GetValue(), today + (13 * 3600 + 14 * 60 + 15) * kFactor + 999);
    EXPECT_EQ(set.GetValue(), today + (3600 + 120 + 3) * kFactor + 1001);
    return;
  }
  FAIL() << "the day ended twice";
}

TEST(ZTKDateTime, TheMillisecondOfATmIsNotUsed) {
  const ScopedZone zone(kUtc);
  Tm tm;
  tm.millisecond = 500;
  tm.day = 1;
  tm.month = DateTime::MONTH_JAN;
  tm.year = 1970;
  tm.second = 2;
  EXPECT_EQ(DateTime(tm).GetValue(), 2 * kFactor);
  EXPECT_EQ(At(9, 9).Set(tm).GetValue(), 2 * kFactor);
}

TEST(ZTKDateTime, EveryZoneHasTheOffsetZero) {
  const ScopedZone zone(kKathmandu);
  EXPECT_EQ(DateTime::XPGetTimeZone(), 0);
  EXPECT_EQ(DateTime::TimeZone(DateTime::TZ_LOCAL).GetOffset(), 0);
  EXPECT_EQ(DateTime::TimeZone(DateTime::TZ_UTC).GetOffset(), 0);
  EXPECT_EQ(Text(At(0).XPGetTm(DateTime::TimeZone(DateTime::TZ_UTC))), Text(At(0)));
}
