#pragma once

// What the event loop asks of a platform layer: one alarm, as there is one loop, and a way to be
// woken. Times are those of XPMonotonicNow().

#include <cstdint>

/// Called once, before everything else here. The alarm is set to kZTKNever.
void XPStartAlarm() noexcept;

/// Opens what the system refused so far. The alarm works without a handle, for XPAwaitAlarm alone.
void XPOpenAlarm() noexcept;

/// What another loop can wait for, and the same where it is a descriptor; -1 for none.
std::intptr_t XPAlarmHandle() noexcept;
int XPAlarmFd() noexcept;

/// Signals the handle from `nDueNs` on, and takes back that it is signalled until then. In the
/// child of a fork the alarm is a new one, set to the same time.
void XPSetAlarm(std::int64_t nDueNs) noexcept;

/// Takes back what the handle signalled before its time, as it may where the system's timers go by
/// another clock than the loop.
void XPConfirmAlarm() noexcept;

/// Sleeps until the alarm is due, a wake-up comes or the time is `nEndNs`; a signal may end it
/// early. True when there is a wake-up to forget.
bool XPAwaitAlarm(std::int64_t nEndNs) noexcept;

/// Ends the sleep, or the next one. Any thread and any signal handler may call it.
void XPWakeUp() noexcept;
void XPForgetWakeUps() noexcept;
