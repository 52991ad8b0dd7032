#include "ztk/platform/win32/time_zone.h"

namespace {

constexpr std::int64_t kFirstYear = 1900;  // The year 0 of the fields.

// Spans of 28 years at both ends of what the system knows, with a year to spare at the very ends,
// as local time may be in the year before or behind.
constexpr std::int64_t kEarliest = 1604;
constexpr std::int64_t kLatest = 30'772;
constexpr std::int64_t kSpan = 28;

std::int64_t JoinSystemTime(const SYSTEMTIME& time) noexcept {
  std::tm fields = {};
  fields.tm_year = static_cast<int>(time.wYear - kFirstYear);
  fields.tm_mon = time.wMonth - 1;
  fields.tm_mday = time.wDay;
  fields.tm_hour = time.wHour;
  fields.tm_min = time.wMinute;
  fields.tm_sec = time.wSecond;
  return JoinFields(fields);
}

}  // namespace

std::int64_t SystemZone::OffsetAt(std::int64_t nSeconds) const noexcept {
  std::tm fields = {};
  if (!SplitSeconds(nSeconds, fields)) return 0;
  const std::int64_t year = kFirstYear + fields.tm_year;
  std::int64_t known = year;
  if (year < kEarliest) known = EquivalentYear(year, kEarliest);
  if (year >= kLatest + kSpan) known = EquivalentYear(year, kLatest);

  SYSTEMTIME utc = {};
  utc.wYear = static_cast<WORD>(known);
  utc.wMonth = static_cast<WORD>(fields.tm_mon + 1);
  utc.wDay = static_cast<WORD>(fields.tm_mday);
  utc.wDayOfWeek = static_cast<WORD>(fields.tm_wday);
  utc.wHour = static_cast<WORD>(fields.tm_hour);
  utc.wMinute = static_cast<WORD>(fields.tm_min);
  utc.wSecond = static_cast<WORD>(fields.tm_sec);
  // SystemTimeToTzSpecificLocalTimeEx, which is both, is not everywhere.
  TIME_ZONE_INFORMATION rules = {};
  SYSTEMTIME local = {};
  if (m_pRules != nullptr) {
    rules = *m_pRules;
  } else if (GetTimeZoneInformationForYear(utc.wYear, nullptr, &rules) == 0) {
    GetTimeZoneInformation(&rules);
  }
  if (SystemTimeToTzSpecificLocalTime(&rules, &utc, &local) == 0) return 0;
  return JoinSystemTime(local) - JoinSystemTime(utc);
}
