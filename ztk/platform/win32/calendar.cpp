#include "ztk/platform/win32/calendar.h"

#include <limits>

namespace {

constexpr std::int64_t kSecondsOfDay = 86'400;
constexpr std::int64_t kMonthsOfYear = 12;
constexpr std::int64_t kFirstYear = 1900;  // The year 0 of the fields.

// Beyond it no year has room in the fields, and before it no sum here is too large.
constexpr std::int64_t kFarthest = std::int64_t{1} << 57;

constexpr std::int64_t FloorDivide(std::int64_t a, std::int64_t b) noexcept {
  return a / b - (a % b < 0 ? 1 : 0);
}

constexpr std::int64_t FloorModulo(std::int64_t a, std::int64_t b) noexcept {
  return a - FloorDivide(a, b) * b;
}

constexpr bool IsLeapYear(std::int64_t year) noexcept {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

// The days from 1970 to the first of a month, 0 for January. A year begins in March here, so that
// the leap day is its last: H. Hinnant, "chrono-Compatible Low-Level Date Algorithms".
constexpr std::int64_t DaysToMonth(std::int64_t year, std::int64_t month) noexcept {
  constexpr std::int64_t kDaysTo1970 = 719'468;
  if (month < 2) --year;
  const std::int64_t sinceMarch = (month + 10) % kMonthsOfYear;
  const std::int64_t days = (153 * sinceMarch + 2) / 5;
  const std::int64_t leapDays =
      FloorDivide(year, 4) - FloorDivide(year, 100) + FloorDivide(year, 400);
  return 365 * year + leapDays + days - kDaysTo1970;
}

// An estimate that is one year off at most, put right.
std::int64_t YearOfDay(std::int64_t day) noexcept {
  std::int64_t year = 1970 + FloorDivide(day * 400, 146'097);
  while (DaysToMonth(year, 0) > day) --year;
  while (DaysToMonth(year + 1, 0) <= day) ++year;
  return year;
}

}  // namespace

std::int64_t BeginOfYear(std::int64_t nYear) noexcept {
  return DaysToMonth(nYear, 0) * kSecondsOfDay;
}

bool SplitSeconds(std::int64_t nSeconds, std::tm& fields) noexcept {
  if (nSeconds > kFarthest || nSeconds < -kFarthest) return false;
  const std::int64_t day = FloorDivide(nSeconds, kSecondsOfDay);
  const auto second = static_cast<int>(FloorModulo(nSeconds, kSecondsOfDay));
  const std::int64_t year = YearOfDay(day);
  const std::int64_t counted = year - kFirstYear;
  using Limits = std::numeric_limits<int>;
  if (counted < Limits::min() || counted > Limits::max()) return false;

  const std::int64_t dayOfYear = day - DaysToMonth(year, 0);
  std::int64_t month = dayOfYear / 31;  // Or the one behind it.
  if (month < 11 && DaysToMonth(year, month + 1) <= day) ++month;
  fields = {};
  fields.tm_year = static_cast<int>(counted);
  fields.tm_mon = static_cast<int>(month);
  fields.tm_mday = static_cast<int>(day - DaysToMonth(year, month)) + 1;
  fields.tm_yday = static_cast<int>(dayOfYear);
  fields.tm_wday = static_cast<int>(FloorModulo(day + 4, 7));  // 1970 began on a Thursday.
  fields.tm_hour = second / 3600;
  fields.tm_min = second / 60 % 60;
  fields.tm_sec = second % 60;
  fields.tm_isdst = -1;
  return true;
}

std::int64_t JoinFields(const std::tm& fields) noexcept {
  const std::int64_t month = fields.tm_mon;
  const std::int64_t year = kFirstYear + fields.tm_year + FloorDivide(month, kMonthsOfYear);
  const std::int64_t days =
      DaysToMonth(year, FloorModulo(month, kMonthsOfYear)) + std::int64_t{fields.tm_mday} - 1;
  return days * kSecondsOfDay + std::int64_t{fields.tm_hour} * 3600 +
         std::int64_t{fields.tm_min} * 60 + fields.tm_sec;
}

bool SplitLocal(std::int64_t nSeconds, const Zone& zone, std::tm& fields) noexcept {
  if (nSeconds > kFarthest || nSeconds < -kFarthest) return false;
  return SplitSeconds(nSeconds + zone.OffsetAt(nSeconds), fields);
}

std::int64_t JoinLocal(const std::tm& fields, const Zone& zone) noexcept {
  const std::int64_t local = JoinFields(fields);
  // No zone is a day ahead: what holds a day before and a day later is what holds on both sides of
  // a change in between.
  const std::int64_t before = zone.OffsetAt(local - kSecondsOfDay);
  const std::int64_t after = zone.OffsetAt(local + kSecondsOfDay);
  if (before == after || zone.OffsetAt(local - before) == before) return local - before;
  if (zone.OffsetAt(local - after) == after) return local - after;
  return local - before;
}

std::int64_t EquivalentYear(std::int64_t nYear, std::int64_t nFirst) noexcept {
  const std::int64_t weekday = FloorModulo(DaysToMonth(nYear, 0), 7);
  std::int64_t year = nFirst;
  while (IsLeapYear(year) != IsLeapYear(nYear) || FloorModulo(DaysToMonth(year, 0), 7) != weekday) {
    ++year;
  }
  return year;
}
