#include "ztk/system/internal/event_loop_xp.h"

#include <pthread.h>
#include <semaphore.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>

#include "ztk/platform/unix/alarm_fd.h"
#include "ztk/system/internal/clock_xp.h"

namespace {

constinit std::int64_t s_due = kZTKNever;
// Read by XPWakeUp() on other threads and in signal handlers.
constinit std::atomic<int> s_alarmFd = -1;
constinit std::atomic<int> s_wakeFd = -1;
sem_t s_wakeUp;  // In place of s_wakeFd while the system has no descriptor for that.

void ReplaceInChild(std::atomic<int>& fd, int (*create)() noexcept) noexcept {
  if (fd < 0) return;
  int fresh = create();
  if (fresh < 0) {
    // Closing the old one may make room for one.
    close(fd);
    fresh = create();
  }
  if (fresh >= 0 && fresh != fd && XPMoveFd(fresh, fd)) fresh = fd;
  fd = fresh;
}

// A descriptor shared with the parent would let one process set the other's alarm.
void ContinueInChild() noexcept {
  ReplaceInChild(s_alarmFd, XPCreateAlarmFd);
  ReplaceInChild(s_wakeFd, XPCreateWakeUpFd);
  XPSetAlarm(s_due);
}

}  // namespace

void XPStartAlarm() noexcept {
  sem_init(&s_wakeUp, 0, 0);
  pthread_atfork(nullptr, nullptr, ContinueInChild);
}

void XPOpenAlarm() noexcept {
  if (s_wakeFd < 0) s_wakeFd = XPCreateWakeUpFd();
  if (s_alarmFd >= 0) return;
  s_alarmFd = XPCreateAlarmFd();
  XPSetAlarm(s_due);
}

std::intptr_t XPAlarmHandle() noexcept { return s_alarmFd; }

int XPAlarmFd() noexcept { return s_alarmFd; }

void XPSetAlarm(std::int64_t nDueNs) noexcept {
  s_due = nDueNs;
  if (s_alarmFd >= 0) XPSetAlarmFd(s_alarmFd, nDueNs);
}

// The descriptor goes by the loop's own clock.
void XPConfirmAlarm() noexcept {}

bool XPAwaitAlarm(std::int64_t nEndNs) noexcept {
  const bool isWhole = s_alarmFd >= 0 && s_wakeFd >= 0;
  const std::int64_t end = isWhole ? nEndNs : std::min(nEndNs, s_due);
  if (s_wakeFd >= 0) return XPAwaitFds(s_alarmFd, s_wakeFd, end);
  XPAwaitPost(s_wakeUp, end);
  return false;
}

void XPWakeUp() noexcept {
  const int savedErrno = errno;  // A signal handler must leave it alone.
  const int wakeFd = s_wakeFd;
  const std::uint64_t one = 1;
  if (wakeFd < 0) {
    sem_post(&s_wakeUp);
  } else {
    [[maybe_unused]] const ssize_t written = write(wakeFd, &one, sizeof one);
  }
  errno = savedErrno;
}

void XPForgetWakeUps() noexcept {
  while (sem_trywait(&s_wakeUp) == 0) {
  }
  if (s_wakeFd < 0) return;
  std::uint64_t ignored = 0;
  [[maybe_unused]] const ssize_t drained = read(s_wakeFd, &ignored, sizeof ignored);
}
