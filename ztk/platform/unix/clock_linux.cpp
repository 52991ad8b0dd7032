#include <time.h>

#include "ztk/system/internal/clock_xp.h"

unsigned long XPBootTicks() noexcept {
  constexpr std::uint64_t kTicks = 60;
  constexpr std::uint64_t kNanoseconds = 1'000'000'000;
  timespec now = {};
  clock_gettime(CLOCK_BOOTTIME, &now);
  const std::uint64_t fraction = static_cast<std::uint64_t>(now.tv_nsec) * kTicks / kNanoseconds;
  return static_cast<unsigned long>(static_cast<std::uint64_t>(now.tv_sec) * kTicks + fraction);
}
