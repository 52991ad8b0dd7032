#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <utility>

#include "ztk/system/event_loop.h"

// What the tests of the event loop share.

inline constexpr std::int64_t kMs = 1'000'000;
inline constexpr std::int64_t kLong = 3'600'000 * kMs;  // Not within the time of a test.

/// A timer of the main loop that does what a test wants done.
class LoopTimer {
 public:
  LoopTimer(std::int64_t nDelayNs, std::int64_t nIntervalNs, std::function<void()> action = {})
      : m_action(std::move(action)),
        m_timer(ZTKEventLoop::Main().InstallTimer(nDelayNs, nIntervalNs, Fire, this)) {}
  ~LoopTimer() { Remove(); }
  LoopTimer(const LoopTimer&) = delete;
  LoopTimer& operator=(const LoopTimer&) = delete;

  bool Remove() { return ZTKEventLoop::Main().RemoveTimer(m_timer); }
  ZTKEventLoopTimer Name() const { return m_timer; }
  int Count() const { return m_count; }

 private:
  static void Fire(ZTKEventLoopTimer nTimer, void* pUserData) {
    auto* const self = static_cast<LoopTimer*>(pUserData);
    EXPECT_EQ(nTimer, self->m_timer);
    ++self->m_count;
    if (self->m_action) self->m_action();
  }

  std::function<void()> m_action;
  ZTKEventLoopTimer m_timer;
  int m_count = 0;
};

inline std::int64_t SteadyNow() {
  return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
}

inline ZTKEventLoop& Loop() { return ZTKEventLoop::Main(); }
