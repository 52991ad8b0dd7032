#include <time.h>

#include "ztk/system/internal/clock_xp.h"

std::int64_t XPMonotonicNow() noexcept {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}
