#include "ztk/system/date_time.h"

#include <cmath>
#include <limits>

namespace {

constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kSmallest = std::numeric_limits<std::int64_t>::min();

// The first double that is too large for 64 bits; its negation is the smallest that fits.
constexpr double kTooLarge = 9223372036854775808.0;

// Replaces one field, and puts the milliseconds to 0.
template <typename T>
ZTKDateTime& SetField(ZTKDateTime& date, T ZTKDateTime::Tm::*pField, T value) noexcept {
  ZTKDateTime::Tm tm = date.XPGetTm(ZTKDateTime::TimeZone(ZTKDateTime::TZ_LOCAL));
  tm.*pField = value;
  return date.Set(tm);
}

}  // namespace

ZTKDateTime::TimeZone::TimeZone(TZ) noexcept : m_nOffset(-XPGetTimeZone()) {}

ZTKDateTime::Tm::Tm() noexcept
    : millisecond(0), second(0), minute(0), hour(0), day(0), month(MONTH_CURRENT), year(65535) {}

ZTKDateTime::ZTKDateTime(const Tm& tm) noexcept { Set(tm); }

ZTKDateTime::ZTKDateTime(unsigned short nHour, unsigned short nMinute, unsigned short nSecond,
                         unsigned short nMillisecond) noexcept {
  Set(nHour, nMinute, nSecond, nMillisecond);
}

ZTKDateTime::ZTKDateTime(unsigned short nDay, Month month, int nYear, unsigned short nHour,
                         unsigned short nMinute, unsigned short nSecond,
                         unsigned short nMillisecond) noexcept {
  XPSet(nDay, month, nYear, nHour, nMinute, nSecond, nMillisecond);
}

ZTKDateTime& ZTKDateTime::Set(const Tm& tm) noexcept { return SetFields(tm, 0); }

ZTKDateTime& ZTKDateTime::Set(unsigned short nHour, unsigned short nMinute, unsigned short nSecond,
                              unsigned short nMillisecond) noexcept {
  Tm tm = XPGetTmNow();
  tm.hour = nHour;
  tm.minute = nMinute;
  tm.second = nSecond;
  return SetFields(tm, nMillisecond);
}

ZTKDateTime& ZTKDateTime::Set(double value) noexcept {
  if (std::isnan(value)) {
    m_nValue = 0;
  } else if (value >= kTooLarge) {
    m_nValue = kLargest;
  } else if (value < -kTooLarge) {
    m_nValue = kSmallest;
  } else {
    m_nValue = static_cast<std::int64_t>(value);
  }
  return *this;
}

ZTKDateTime& ZTKDateTime::SetMillisecond(unsigned short nMillisecond) noexcept {
  const std::int64_t whole = m_nValue - m_nValue % TIME_T_FACTOR;
  m_nValue = whole > kLargest - nMillisecond ? kLargest : whole + nMillisecond;
  return *this;
}

ZTKDateTime& ZTKDateTime::SetSecond(unsigned short nSecond) noexcept {
  return SetField(*this, &Tm::second, nSecond);
}

ZTKDateTime& ZTKDateTime::SetMinute(unsigned short nMinute) noexcept {
  return SetField(*this, &Tm::minute, nMinute);
}

ZTKDateTime& ZTKDateTime::SetHour(unsigned short nHour) noexcept {
  return SetField(*this, &Tm::hour, nHour);
}

ZTKDateTime& ZTKDateTime::SetDay(unsigned short nDay) noexcept {
  return SetField(*this, &Tm::day, nDay);
}

ZTKDateTime& ZTKDateTime::SetMonth(Month month) noexcept {
  return SetField(*this, &Tm::month, month);
}

ZTKDateTime& ZTKDateTime::SetYear(int nYear) noexcept { return SetField(*this, &Tm::year, nYear); }

ZTKDateTime ZTKDateTime::Now() noexcept { return ZTKDateTime(XPGetTmNow()); }

ZTKDateTime ZTKDateTime::Today() noexcept {
  Tm tm = XPGetTmNow();
  tm.hour = 0;
  tm.minute = 0;
  tm.second = 0;
  return ZTKDateTime(tm);
}

ZTKDateTime& ZTKDateTime::SetFields(const Tm& tm, unsigned short nMillisecond) noexcept {
  return XPSet(tm.day, tm.month, tm.year, tm.hour, tm.minute, tm.second, nMillisecond);
}
