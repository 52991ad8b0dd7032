// Between a value and the fields of the local calendar, as the system converts them.
#include <ctime>
#include <limits>

#include "ztk/log/internal/log_xp.h"
#include "ztk/system/date_time.h"

namespace {

// A value is its seconds times the milliseconds of a day.
constexpr double kFactor = 86'400'000.0;
constexpr std::int64_t kDivisor = 86'400'000;

constexpr int kFirstYear = 1900;  // The fields' year 0.
constexpr int kCurrentYear = -1;

bool CurrentTime(std::tm& now) noexcept { return XPLocalTime(XPWallClock(), now); }

void CopyFields(const std::tm& from, ZTKDateTime::Tm& to) noexcept {
  to.second = static_cast<std::uint16_t>(from.tm_sec);
  to.minute = static_cast<std::uint16_t>(from.tm_min);
  to.hour = static_cast<std::uint16_t>(from.tm_hour);
  to.day = static_cast<std::uint16_t>(from.tm_mday);
  to.month = static_cast<ZTKDateTime::Month>(from.tm_mon);
  to.year = kFirstYear + from.tm_year;
}

}  // namespace

ZTKDateTime::Tm ZTKDateTime::XPGetTmNow() noexcept {
  Tm tm;
  std::tm now;
  if (CurrentTime(now)) CopyFields(now, tm);
  return tm;
}

ZTKDateTime::Tm ZTKDateTime::XPGetTm(const TimeZone&) const noexcept {
  Tm tm;
  std::tm fields;
  if (!XPLocalTime(m_nValue / kDivisor, fields)) return tm;
  CopyFields(fields, tm);
  tm.millisecond = static_cast<std::uint16_t>(m_nValue % kDivisor % TIME_T_FACTOR);
  return tm;
}

ZTKDateTime& ZTKDateTime::XPSet(unsigned short nDay, Month month, int nYear, unsigned short nHour,
                                unsigned short nMinute, unsigned short nSecond,
                                unsigned short nMillisecond) noexcept {
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

  // The layer says -1 for what it cannot convert, and so do we for a year it cannot be asked.
  std::int64_t seconds = -1;
  if (year - kFirstYear >= std::numeric_limits<int>::min()) {
    fields.tm_year = static_cast<int>(year - kFirstYear);
    seconds = XPSecondsOfLocalTime(fields);
  }
  Set(static_cast<double>(seconds) * kFactor);
  return SetMillisecond(nMillisecond);
}

int ZTKDateTime::XPGetTimeZone() noexcept { return 0; }
