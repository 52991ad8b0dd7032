#pragma once

#include <cstdint>

#include "ztk/system/date_time.h"

using DateTime = ZTKDateTime;
using Tm = DateTime::Tm;

/// A second, in units of the value.
inline constexpr std::int64_t kFactor = 86'400'000;

inline DateTime At(std::int64_t seconds, std::int64_t millisecond = 0) {
  return DateTime().Set(static_cast<double>(seconds * kFactor + millisecond));
}

inline Tm Split(const DateTime& time) {
  return time.XPGetTm(DateTime::TimeZone(DateTime::TZ_LOCAL));
}
