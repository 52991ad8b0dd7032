#pragma once

#include <cstdint>

#include "ztk/export.h"
#include "ztk/system/tick_count.h"

/// A point in time, built from the fields of the local calendar and split into them again.
///
/// The value is one number: whole seconds since 1970-01-01 00:00 UTC, times 86,400,000 (the
/// milliseconds of a day, applied to seconds), plus the milliseconds 0 to 999. Later points have
/// larger values; differences are not durations. The fields are those of the zone that is set at
/// the time of the call, in `TZ` or else as the system's, whatever a `TimeZone` says.
///
/// No field is checked. What is out of range carries over into the next field: the 32nd of a month
/// is the first of the next, day 0 the last of the one before. The runtime decides on daylight
/// saving: an hour that is skipped moves on, an hour that comes twice is one of the two, so that
/// setting a field in it can move the time by the hour. What the runtime cannot convert has the
/// value of one second before 1970, -86,400,000. The value holds years up to 5352; beyond, it
/// stays at the largest or smallest number there is.
///
/// A setter that is given no milliseconds sets them to 0; so does `Set(tm)`, which ignores its own.
/// Before 1970 the value counts towards zero, so there the milliseconds, added to a negative
/// number, move the time forward into the next second, and reading them back gives them less 1000,
/// as 16 bits without a sign.
class ZTK_API ZTKDateTime {
 public:
  /// Milliseconds in a second.
  static constexpr std::int64_t TIME_T_FACTOR = 1000;

  enum Month : int {
    MONTH_JAN,
    MONTH_FEB,
    MONTH_MAR,
    MONTH_APR,
    MONTH_MAY,
    MONTH_JUN,
    MONTH_JUL,
    MONTH_AUG,
    MONTH_SEP,
    MONTH_OCT,
    MONTH_NOV,
    MONTH_DEC,
    MONTH_CURRENT  ///< Stands for the month that it is now.
  };

  /// The names of time zones. Nothing reads them: every zone is the local one.
  enum TZ : int { TZ_LOCAL, TZ_UTC };

  /// An offset in seconds, which is always 0.
  class ZTK_API TimeZone {
   public:
    explicit TimeZone(TZ tz) noexcept;
    std::int32_t GetOffset() const noexcept { return m_nOffset; }

   private:
    friend struct ZTKSystemLayout;
    std::int32_t m_nOffset;
  };

  /// The fields of a date and a time. A fresh one has neither: its year is 65535, like any other.
  struct ZTK_API Tm {
    Tm() noexcept;

    std::uint16_t millisecond;
    std::uint16_t second;
    std::uint16_t minute;
    std::uint16_t hour;
    std::uint16_t day;  ///< Of the month, from 1.
    Month month;
    std::int32_t year;  ///< All of it, such as 2024.
  };

  /// The start of 1970, UTC.
  ZTKDateTime() noexcept = default;
  /// As `Set` with the same arguments.
  explicit ZTKDateTime(const Tm& tm) noexcept;
  ZTKDateTime(unsigned short nHour, unsigned short nMinute, unsigned short nSecond,
              unsigned short nMillisecond) noexcept;
  /// As `XPSet`.
  ZTKDateTime(unsigned short nDay, Month month, int nYear, unsigned short nHour,
              unsigned short nMinute, unsigned short nSecond, unsigned short nMillisecond) noexcept;

  /// The given fields, but for the millisecond, which becomes 0.
  ZTKDateTime& Set(const Tm& tm) noexcept;
  /// The given time of today.
  ZTKDateTime& Set(unsigned short nHour, unsigned short nMinute, unsigned short nSecond,
                   unsigned short nMillisecond) noexcept;
  /// The value itself, rounded toward zero. Beyond 64 bits it is the largest or smallest value;
  /// no number at all gives 0.
  ZTKDateTime& Set(double value) noexcept;

  /// Replaces the milliseconds. More than 999 move the value on.
  ZTKDateTime& SetMillisecond(unsigned short nMillisecond) noexcept;
  ZTKDateTime& SetSecond(unsigned short nSecond) noexcept;
  ZTKDateTime& SetMinute(unsigned short nMinute) noexcept;
  ZTKDateTime& SetHour(unsigned short nHour) noexcept;
  ZTKDateTime& SetDay(unsigned short nDay) noexcept;
  /// `MONTH_CURRENT` stands for the current month.
  ZTKDateTime& SetMonth(Month month) noexcept;
  /// -1 stands for the current year.
  ZTKDateTime& SetYear(int nYear) noexcept;

  /// The current date and time, to the second.
  static ZTKDateTime Now() noexcept;
  /// The current date at midnight.
  static ZTKDateTime Today() noexcept;

  std::int64_t GetValue() const noexcept { return m_nValue; }

  /// The current date and time; a fresh `Tm` if the runtime cannot tell.
  static Tm XPGetTmNow() noexcept;
  /// The fields of this point in time; a fresh `Tm` if it cannot be converted. `tz` is not used.
  Tm XPGetTm(const TimeZone& tz) const noexcept;
  /// Builds the value from fields. `MONTH_CURRENT` and the year -1 stand for the current ones.
  ZTKDateTime& XPSet(unsigned short nDay, Month month, int nYear, unsigned short nHour,
                     unsigned short nMinute, unsigned short nSecond,
                     unsigned short nMillisecond) noexcept;
  /// 0: all fields are local ones.
  static int XPGetTimeZone() noexcept;

 private:
  friend struct ZTKSystemLayout;
  ZTKDateTime& SetFields(const Tm& tm, unsigned short nMillisecond) noexcept;

  std::int64_t m_nValue = 0;
};
