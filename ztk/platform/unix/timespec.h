#pragma once

#include <time.h>

#include <algorithm>
#include <cstdint>
#include <limits>

/// Nanoseconds, not negative, as the system takes them. Where its seconds have 32 bits, a time
/// beyond them is as good as their end.
inline timespec XPToTimespec(std::int64_t nNs) noexcept {
  constexpr std::int64_t kNsPerSecond = 1'000'000'000;
  timespec time = {};
  time.tv_sec = static_cast<time_t>(
      std::min<std::int64_t>(nNs / kNsPerSecond, std::numeric_limits<time_t>::max()));
  time.tv_nsec = static_cast<long>(nNs % kNsPerSecond);
  return time;
}
