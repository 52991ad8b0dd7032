#pragma once

// The calendar, for every year that an `int` can count: the runtime's ends in the year 3000 and
// begins in 1970. Nothing here asks the system. Seconds count from the begin of 1970.

#include <cstdint>
#include <ctime>

/// How far the local time of a place is ahead of UTC.
class Zone {
 public:
  virtual ~Zone() = default;
  /// In seconds, at a second of UTC.
  virtual std::int64_t OffsetAt(std::int64_t nSeconds) const noexcept = 0;
};

/// The first second of a year, in the Gregorian calendar of all times.
std::int64_t BeginOfYear(std::int64_t nYear) noexcept;

/// The fields of a second, with `tm_isdst` -1. False, with nothing changed, for a year that an
/// `int` cannot count from 1900 on.
bool SplitSeconds(std::int64_t nSeconds, std::tm& fields) noexcept;

/// The second that the fields stand for, in whatever range they are.
std::int64_t JoinFields(const std::tm& fields) noexcept;

/// The same in local time. Of two seconds with the same fields the first is meant; fields that the
/// clock left out stand for the time that would have been if it had not yet been put forward.
bool SplitLocal(std::int64_t nSeconds, const Zone& zone, std::tm& fields) noexcept;
std::int64_t JoinLocal(const std::tm& fields, const Zone& zone) noexcept;

/// A year of the same length that begins on the same weekday, one of the 28 from `nFirst` on. No
/// century that is not a leap year may be among those.
std::int64_t EquivalentYear(std::int64_t nYear, std::int64_t nFirst) noexcept;
