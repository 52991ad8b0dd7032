#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>

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

bool XPMoveFd(int from, int to) noexcept {
  if (dup3(from, to, O_CLOEXEC) != to) return false;
  close(from);
  return true;
}

bool XPAwaitFds(int alarmFd, int wakeUpFd, std::int64_t nEndNs) noexcept {
  timespec timeout = {};
  if (nEndNs != kZTKNever) {
    timeout = XPToTimespec(std::max<std::int64_t>(nEndNs - XPMonotonicNow(), 0));
  }
  pollfd watched[] = {{alarmFd, POLLIN, 0}, {wakeUpFd, POLLIN, 0}};
  ppoll(watched, std::size(watched), nEndNs != kZTKNever ? &timeout : nullptr, nullptr);
  return watched[1].revents != 0;
}

void XPAwaitPost(sem_t& semaphore, std::int64_t nEndNs) noexcept {
  if (nEndNs == kZTKNever) {
    sem_wait(&semaphore);
    return;
  }
  const timespec until = XPToTimespec(std::max<std::int64_t>(nEndNs, 0));
  sem_clockwait(&semaphore, CLOCK_MONOTONIC, &until);
}
