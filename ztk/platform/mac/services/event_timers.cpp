#include "ztk/platform/mac/services/event_timers.h"

#include <cmath>

#include "ztk/platform/mac/services/faults.h"
#include "ztk/system/event_loop.h"
#include "ztk/system/internal/clock_xp.h"

namespace ztk_mac_services {

// The main loop is the library's own.
struct EventLoop {};

namespace {

// To the microsecond: what began as milliseconds is that number again, however large.
std::int64_t Nanoseconds(EventTimerInterval seconds) {
  constexpr double kUsPerSecond = 1e6;
  constexpr std::int64_t kNsPerUs = 1000;
  constexpr std::int64_t kMaxUs = kZTKNever / kNsPerUs;
  if (!(seconds > 0)) return 0;  // NaN, too.
  const double microseconds = std::round(seconds * kUsPerSecond);
  if (microseconds >= static_cast<double>(kMaxUs)) return kZTKNever;
  return static_cast<std::int64_t>(microseconds) * kNsPerUs;
}

}  // namespace

EventLoopRef GetMainEventLoop() noexcept {
  static EventLoop s_main;
  return Faults::Hit() ? nullptr : &s_main;
}

OSStatus InstallEventLoopTimer(EventLoopRef loop, EventTimerInterval delay,
                               EventTimerInterval interval, EventLoopTimerProc pProc,
                               void* pUserData, EventLoopTimerRef* pTimer) noexcept {
  if (Faults::Hit()) return memFullErr;
  if (loop == nullptr || pProc == nullptr || pTimer == nullptr) return paramErr;
  const ZTKEventLoopTimer timer = ZTKEventLoop::Main().InstallTimer(
      Nanoseconds(delay), Nanoseconds(interval), pProc, pUserData);
  if (timer == 0) return memFullErr;
  *pTimer = timer;
  return noErr;
}

OSStatus RemoveEventLoopTimer(EventLoopTimerRef timer) noexcept {
  return ZTKEventLoop::Main().RemoveTimer(timer) ? noErr : paramErr;
}

unsigned long TickCount() noexcept { return XPBootTicks(); }

}  // namespace ztk_mac_services
