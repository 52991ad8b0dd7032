#include <time.h>

#include "ztk/log/internal/log_xp.h"

std::int64_t XPWallClock() noexcept { return time(nullptr); }

// The reentrant conversion alone would use the zone that the runtime looked at last. There is no
// asking it which that is, and everybody may set it, so it is set anew each time; in an unchanged
// zone that is a comparison of two names.
bool XPLocalTime(std::int64_t nSeconds, std::tm& fields) noexcept {
  const auto seconds = static_cast<time_t>(nSeconds);
  if (seconds != nSeconds) return false;
  tzset();
  return localtime_r(&seconds, &fields) != nullptr;
}

std::int64_t XPSecondsOfLocalTime(const std::tm& fields) noexcept {
  std::tm normalised = fields;
  return mktime(&normalised);  // It follows the zone by itself.
}

size_t XPFormatTimeOfDay(char* pBuffer, size_t nSize, const std::tm& fields) noexcept {
  return strftime(pBuffer, nSize, "%X ", &fields);
}
