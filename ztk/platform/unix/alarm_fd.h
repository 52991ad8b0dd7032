#pragma once

#include <cstdint>

// What each kernel has of its own for the event loop. The descriptors are closed on exec and do not
// block; -1 when there is none to be had.

/// A descriptor that is readable from the time on that it was set to last.
int XPCreateAlarmFd() noexcept;
void XPSetAlarmFd(int fd, std::int64_t nDueNs) noexcept;

/// A descriptor that is readable while 64-bit numbers were written to it and not read.
int XPCreateWakeUpFd() noexcept;
