#include <gtest/gtest.h>

#ifdef _WIN32
#include <windows.h>
#endif

#include <cmath>
#include <ctime>

#include "ztk/system/tick_count.h"

namespace {

/// Of the system's clock that goes on while it sleeps, in ticks.
double TicksSinceStart() {
#ifdef _WIN32
  return static_cast<double>(GetTickCount64()) * 60 / 1000;
#else
  timespec time{};
  clock_gettime(CLOCK_BOOTTIME, &time);
  return static_cast<double>(time.tv_sec) * 60 + static_cast<double>(time.tv_nsec) * 60e-9;
#endif
}

}  // namespace

TEST(ZTKGetTickCount, CountsSixtiethsOfASecondSinceTheSystemStarted) {
  const double before = TicksSinceStart();
  const unsigned long ticks = ZTKGetTickCount();
  const double after = TicksSinceStart();
  EXPECT_GE(static_cast<double>(ticks), std::floor(before));
  EXPECT_LE(static_cast<double>(ticks), after);
}
