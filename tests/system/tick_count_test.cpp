#include <gtest/gtest.h>

#include <cmath>
#include <ctime>

#include "ztk/system/tick_count.h"

TEST(ZTKGetTickCount, CountsSixtiethsOfASecondSinceTheSystemStarted) {
  timespec before{}, after{};
  clock_gettime(CLOCK_BOOTTIME, &before);
  const unsigned long ticks = ZTKGetTickCount();
  clock_gettime(CLOCK_BOOTTIME, &after);
  const auto inTicks = [](const timespec& time) {
    return static_cast<double>(time.tv_sec) * 60 + static_cast<double>(time.tv_nsec) * 60e-9;
  };
  EXPECT_GE(static_cast<double>(ticks), std::floor(inTicks(before)));
  EXPECT_LE(static_cast<double>(ticks), inTicks(after));
}
