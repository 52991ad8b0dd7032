#include "ztk/system/internal/clock_xp.h"

#include <windows.h>

std::int64_t XPMonotonicNow() noexcept {
  constexpr std::int64_t kNanoseconds = 1'000'000'000;
  static const std::int64_t s_frequency = [] {
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);  // It cannot fail, nor change.
    return std::int64_t{frequency.QuadPart};
  }();
  LARGE_INTEGER counter;
  QueryPerformanceCounter(&counter);
  // In two parts: the product of the whole count would be too large after some minutes.
  const std::int64_t seconds = counter.QuadPart / s_frequency;
  const std::int64_t rest = counter.QuadPart % s_frequency;
  return seconds * kNanoseconds + rest * kNanoseconds / s_frequency;
}

unsigned long XPBootTicks() noexcept {
  constexpr std::uint64_t kTicks = 60;
  constexpr std::uint64_t kMilliseconds = 1000;
  const std::uint64_t now = GetTickCount64();
  return static_cast<unsigned long>(now / kMilliseconds * kTicks +
                                    now % kMilliseconds * kTicks / kMilliseconds);
}
