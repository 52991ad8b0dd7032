#include <sys/eventfd.h>
#include <sys/timerfd.h>

#include "ztk/platform/unix/alarm_fd.h"
#include "ztk/platform/unix/timespec.h"
#include "ztk/system/internal/clock_xp.h"

int XPCreateAlarmFd() noexcept {
  return timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
}

// Setting the time also takes back that the descriptor is readable, so that it is never read.
void XPSetAlarmFd(int fd, std::int64_t nDueNs) noexcept {
  itimerspec setting = {};  // All zero: never.
  if (nDueNs != kZTKNever) setting.it_value = XPToTimespec(std::max<std::int64_t>(nDueNs, 1));
  timerfd_settime(fd, TFD_TIMER_ABSTIME, &setting, nullptr);
}

int XPCreateWakeUpFd() noexcept { return eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK); }
