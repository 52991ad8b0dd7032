#pragma once

#include <cstdint>

#include "ztk/system/event_loop.h"

/// Makes the main loop read a clock that the test turns, and its own again at the end.
class FakeClock {
 public:
  FakeClock() {
    s_now = 1'000'000'000;
    ZTKEventLoop::Main().SetClock([] { return s_now; });
  }
  ~FakeClock() { ZTKEventLoop::Main().SetClock(nullptr); }
  FakeClock(const FakeClock&) = delete;
  FakeClock& operator=(const FakeClock&) = delete;

  /// Turns the clock alone: the program was busy.
  static void Pass(std::int64_t nMilliseconds) { s_now += nMilliseconds * 1'000'000; }
  /// Turns the clock and serves what became due. Returns how many timers fired.
  static unsigned long Advance(std::int64_t nMilliseconds) {
    Pass(nMilliseconds);
    return ZTKEventLoop::Main().Dispatch();
  }

 private:
  static inline std::int64_t s_now = 0;
};
