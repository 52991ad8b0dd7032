#pragma once

#include <semaphore.h>

#include <cstdint>

// What each kernel has of its own for the event loop. The descriptors are closed on exec and do not
// block; -1 when there is none to be had.

/// A descriptor that is readable from the time on that it was set to last.
int XPCreateAlarmFd() noexcept;
void XPSetAlarmFd(int fd, std::int64_t nDueNs) noexcept;

/// A descriptor that is readable while 64-bit numbers were written to it and not read.
int XPCreateWakeUpFd() noexcept;

/// Gives what `from` stands for to the number `to`, in place of what that stood for, and closes
/// `from`. False when that cannot be: then nothing has changed.
bool XPMoveFd(int from, int to) noexcept;

/// Sleeps until one of the descriptors is readable or the time, that of XPMonotonicNow(), is
/// `nEndNs`; kZTKNever is no end, and a signal may end it early. -1 stands for no alarm. Whether
/// the wake-up's is readable.
bool XPAwaitFds(int alarmFd, int wakeUpFd, std::int64_t nEndNs) noexcept;

/// The same for a semaphore, which is decremented when it was posted.
void XPAwaitPost(sem_t& semaphore, std::int64_t nEndNs) noexcept;
