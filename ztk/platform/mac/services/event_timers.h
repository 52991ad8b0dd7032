#pragma once

#include "ztk/platform/mac/services/types.h"

namespace ztk_mac_services {

/// A loop of events; there is the main one only.
struct EventLoop;
using EventLoopRef = EventLoop*;

/// Names an installed timer; 0 names none.
using EventLoopTimerRef = std::uint64_t;

/// In seconds. Kept to the microsecond.
using EventTimerInterval = double;

using EventLoopTimerProc = void (*)(EventLoopTimerRef timer, void* pUserData);

EventLoopRef GetMainEventLoop() noexcept;

/// Has the loop call `pProc` after `delay` seconds and then at every `interval`, for ever. Negative
/// times count as 0; an interval of 0 calls it in every turn of the loop. A time beyond the loop's
/// range never comes.
OSStatus InstallEventLoopTimer(EventLoopRef loop, EventTimerInterval delay,
                               EventTimerInterval interval, EventLoopTimerProc pProc,
                               void* pUserData, EventLoopTimerRef* pTimer) noexcept;

/// paramErr when there is no such timer (any more).
OSStatus RemoveEventLoopTimer(EventLoopTimerRef timer) noexcept;

/// Sixtieths of a second since the system was started.
unsigned long TickCount() noexcept;

}  // namespace ztk_mac_services
