#include <windows.h>

#include <cwchar>

#include "ztk/log/internal/log_xp.h"
#include "ztk/platform/win32/time_zone.h"
#include "ztk/platform/win32/wide_text.h"

std::int64_t XPWallClock() noexcept {
  constexpr std::uint64_t kUnits = 10'000'000;             // Of the file time, in a second.
  constexpr std::int64_t kSecondsTo1970 = 11'644'473'600;  // From its begin in 1601.
  FILETIME now = {};
  GetSystemTimeAsFileTime(&now);
  const std::uint64_t units = std::uint64_t{now.dwHighDateTime} << 32 | now.dwLowDateTime;
  return static_cast<std::int64_t>(units / kUnits) - kSecondsTo1970;
}

bool XPLocalTime(std::int64_t nSeconds, std::tm& fields) noexcept {
  return SplitLocal(nSeconds, SystemZone(), fields);
}

std::int64_t XPSecondsOfLocalTime(const std::tm& fields) noexcept {
  return JoinLocal(fields, SystemZone());
}

size_t XPFormatTimeOfDay(char* pBuffer, size_t nSize, const std::tm& fields) noexcept {
  // The runtime's narrow text would be in its locale's code page.
  wchar_t wide[128];
  const size_t units = std::wcsftime(wide, std::size(wide), L"%X ", &fields);
  return ToUtf8({wide, units}, pBuffer, nSize);
}
