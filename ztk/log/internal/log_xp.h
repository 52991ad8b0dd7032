#pragma once

// What the log, and the dates above it, ask of a platform layer. Seconds count from the begin of
// 1970 in UTC, and have 64 bits whatever the runtime's own have.

#include <cstddef>
#include <cstdint>
#include <ctime>

/// The present second.
std::int64_t XPWallClock() noexcept;

/// As `localtime`, in the zone that is set now. False, with the fields undefined, for what cannot
/// be converted, such as a year that has no room in them.
bool XPLocalTime(std::int64_t nSeconds, std::tm& fields) noexcept;

/// As `mktime`, in the zone that is set now: the fields may be out of their ranges, and `tm_isdst`
/// below 0 leaves it to the zone. -1 for what cannot be converted.
std::int64_t XPSecondsOfLocalTime(const std::tm& fields) noexcept;

/// Writes the time of day as the locale does, `strftime`'s "%X", and a blank, with a NUL behind
/// them. Their length; 0 when they do not fit, and then the buffer is undefined.
size_t XPFormatTimeOfDay(char* pBuffer, size_t nSize, const std::tm& fields) noexcept;
