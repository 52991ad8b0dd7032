#include <fcntl.h>
#include <sys/file.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

#include "ztk/platform/layer.h"

namespace {

constexpr int64_t kNsPerMs = 1'000'000;
constexpr long kPauseNs = 5 * kNsPerMs;

int64_t Now() noexcept {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

int OpenLockFile(const char* pszPath) noexcept {
  constexpr int kFlags = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
  const int fd = open(pszPath, O_RDWR | O_CREAT | kFlags, 0600);
  // A lock takes no writing, except where it goes over a network.
  return fd >= 0 ? fd : open(pszPath, O_RDONLY | kFlags);
}

}  // namespace

// The lock belongs to the open file, not to the process: it keeps out this process's other objects
// as well, and goes when the last descriptor does, however the process ends. The lock file stays: a
// lock on a file that somebody else has unlinked meanwhile would keep out nobody.
XPFileLock::XPFileLock(const char* pszPath, unsigned long nTimeoutMs) noexcept
    : m_handle(OpenLockFile(pszPath)) {
  if (m_handle < 0) return;
  const int64_t end = Now() + static_cast<int64_t>(nTimeoutMs) * kNsPerMs;
  while (flock(m_handle, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EINTR) continue;
    if (errno != EWOULDBLOCK) return;  // A file system without locks.
    if (Now() >= end) {
      m_isBusy = true;
      return;
    }
    const timespec pause = {0, kPauseNs};
    nanosleep(&pause, nullptr);
  }
}

XPFileLock::~XPFileLock() {
  if (m_handle >= 0) close(m_handle);
}
