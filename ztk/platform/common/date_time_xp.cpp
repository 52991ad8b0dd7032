// Seconds have 64 bits on 32-bit systems too, so that dates do not end in 2038.
#define _FILE_OFFSET_BITS 64
#define _TIME_BITS 64

#include "ztk/system/date_time.h"

#include <atomic>
#include <cstdlib>
#include <ctime>
#include <limits>

namespace {

// A value is its seconds times the milliseconds of a day.
constexpr double kFactor = 86'400'000.0;
constexpr std::int64_t kDivisor = 86'400'000;

constexpr int kFirstYear = 1900;  // The runtime's year 0.
constexpr int kCurrentYear = -1;

// A number for the zone that the environment names; zones that differ have different ones.
std::uint64_t NamedZone() noexcept {
  const char* name = std::getenv("TZ");
  if (!name) return 1;
  std::uint64_t hash = 14695981039346656037u;
  for (; *name; ++name) hash = (hash ^ static_cast<unsigned char>(*name)) * 1099511628211u;
  return hash;
}

// The reentrant conversion, unlike the others, does not look at TZ again. Setting the zone each
// time would cost several conversions, so it is set when TZ has changed.
void FollowZone() noexcept {
  static std::atomic<std::uint64_t> s_zone{0};
  const std::uint64_t zone = NamedZone();
  if (s_zone.load(std::memory_order_acquire) == zone) return;
  tzset();
  s_zone.store(zone, std::memory_order_release);
}

bool CurrentTime(std::tm& now) noexcept {
  const std::time_t seconds = std::time(nullptr);
  return localtime_r(&seconds, &now) != nullptr;
}

void TakeFields(const std::tm& from, ZTKDateTime::Tm& to) noexcept {
  to.second = static_cast<std::uint16_t>(from.tm_sec);
  to.minute = static_cast<std::uint16_t>(from.tm_min);
  to.hour = static_cast<std::uint16_t>(from.tm_hour);
  to.day = static_cast<std::uint16_t>(from.tm_mday);
  to.month = static_cast<ZTKDateTime::Month>(from.tm_mon);
  to.year = kFirstYear + from.tm_year;
}

}  // namespace

ZTKDateTime::Tm ZTKDateTime::XPGetTmNow() noexcept {
  tzset();
  Tm tm;
  std::tm now;
  if (CurrentTime(now)) TakeFields(now, tm);
  return tm;
}

ZTKDateTime::Tm ZTKDateTime::XPGetTm(const TimeZone&) const noexcept {
  FollowZone();
  Tm tm;
  std::tm fields;
  const std::time_t seconds = m_nValue / kDivisor;
  if (!localtime_r(&seconds, &fields)) return tm;
  TakeFields(fields, tm);
  tm.millisecond = static_cast<std::uint16_t>(m_nValue % kDivisor % TIME_T_FACTOR);
  return tm;
}

ZTKDateTime& ZTKDateTime::XPSet(unsigned short nDay, Month month, int nYear, unsigned short nHour,
                                unsigned short nMinute, unsigned short nSecond,
                                unsigned short nMillisecond) noexcept {
  FollowZone();
  std::tm fields{};
  fields.tm_sec = nSecond;
  fields.tm_min = nMinute;
  fields.tm_hour = nHour;
  fields.tm_mday = nDay;
  fields.tm_mon = month;
  fields.tm_isdst = -1;

  std::int64_t year = nYear;
  if (month == MONTH_CURRENT || nYear == kCurrentYear) {
    std::tm now;
    if (CurrentTime(now)) {
      if (month == MONTH_CURRENT) fields.tm_mon = now.tm_mon;
      if (nYear == kCurrentYear) year = std::int64_t{kFirstYear} + now.tm_year;
    }
  }

  // The runtime says -1 for what it cannot convert, and so do we for a year it cannot be asked.
  std::time_t seconds = -1;
  if (year - kFirstYear >= std::numeric_limits<int>::min()) {
    fields.tm_year = static_cast<int>(year - kFirstYear);
    seconds = std::mktime(&fields);
  }
  Set(static_cast<double>(seconds) * kFactor);
  return SetMillisecond(nMillisecond);
}

int ZTKDateTime::XPGetTimeZone() noexcept { return 0; }
