#pragma once

// The clocks that are asked of a platform layer, and sums of their times, which saturate.

#include <cstdint>
#include <limits>

/// The time that never comes.
inline constexpr std::int64_t kZTKNever = std::numeric_limits<std::int64_t>::max();

/// Nanoseconds of the clock that nobody sets; it may stand still while the system sleeps.
std::int64_t XPMonotonicNow() noexcept;

/// Sixtieths of a second since the system was started, the time it slept included.
unsigned long XPBootTicks() noexcept;

/// The sum of two times that are not negative.
constexpr std::int64_t ZTKAddTimes(std::int64_t nNs, std::int64_t nMoreNs) noexcept {
  return nNs > kZTKNever - nMoreNs ? kZTKNever : nNs + nMoreNs;
}

/// Milliseconds in nanoseconds.
constexpr std::int64_t ZTKNanoseconds(std::uint64_t nMilliseconds) noexcept {
  constexpr std::int64_t kNsPerMs = 1'000'000;
  if (nMilliseconds > static_cast<std::uint64_t>(kZTKNever / kNsPerMs)) return kZTKNever;
  return static_cast<std::int64_t>(nMilliseconds) * kNsPerMs;
}
