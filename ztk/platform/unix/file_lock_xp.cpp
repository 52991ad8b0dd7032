#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

#include "ztk/file/internal/file_lock_xp.h"

namespace {

constexpr int64_t kNsPerMs = 1'000'000;
constexpr long kPauseNs = 5 * kNsPerMs;
// A pipe or a device in its place is refused, but it must not wait before that.
constexpr int kFlags = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;

int64_t Now() noexcept {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

void Pause() noexcept {
  const timespec pause = {0, kPauseNs};
  nanosleep(&pause, nullptr);
}

int Open(const char* pszPath, int nFlags, mode_t mode) noexcept {
  int descriptor;
  do {
    descriptor = open(pszPath, nFlags | kFlags, mode);
  } while (descriptor < 0 && errno == EINTR);
  return descriptor;
}

// Lets those use the lock who may use the model. Its group has the rights of all others where it
// could not be made the model's group.
void Share(int nDescriptor, const struct stat& lock, const struct stat& model) noexcept {
  struct stat now = lock;
  if (lock.st_uid != model.st_uid || lock.st_gid != model.st_gid) {
    if (fchown(nDescriptor, model.st_uid, model.st_gid) != 0) {
      [[maybe_unused]] const int kept = fchown(nDescriptor, static_cast<uid_t>(-1), model.st_gid);
    }
    if (fstat(nDescriptor, &now) != 0) return;
  }
  mode_t mode = model.st_mode & 0666;
  if (now.st_gid != model.st_gid) mode &= static_cast<mode_t>(0606 | (mode & 06) << 3);
  if ((now.st_mode & 07777) != mode) fchmod(nDescriptor, mode);
}

// Opens the lock file, or makes it; -1 when neither works, or it is none.
int OpenLockFile(const char* pszPath, const char* pszModel) noexcept {
  struct stat model;
  struct stat lock;
  // Opening a device may do something to it.
  if (lstat(pszPath, &lock) == 0 && !S_ISREG(lock.st_mode)) return -1;
  const bool hasModel = stat(pszModel, &model) == 0 && S_ISREG(model.st_mode);

  int descriptor = Open(pszPath, O_RDWR | O_CREAT | O_EXCL, hasModel ? 0600 : 0666);
  const bool isNew = descriptor >= 0;
  if (!isNew && errno == EEXIST) {
    descriptor = Open(pszPath, O_RDWR, 0);
    // A lock takes no writing, except where it goes over a network.
    if (descriptor < 0) descriptor = Open(pszPath, O_RDONLY, 0);
  }
  if (descriptor < 0) return -1;
  if (fstat(descriptor, &lock) != 0 || !S_ISREG(lock.st_mode)) {
    close(descriptor);
    return -1;
  }
  // One that was there is adapted when it is this user's own, and a lock file and nothing else.
  const bool isOwn = lock.st_uid == geteuid() && lock.st_nlink == 1 && lock.st_size == 0;
  if (hasModel && (isNew || isOwn)) Share(descriptor, lock, model);
  return descriptor;
}

// Whether the file has lost its name: a lock on it keeps out nobody.
bool IsUnlinked(int nDescriptor) noexcept {
  struct stat status;
  return fstat(nDescriptor, &status) == 0 && status.st_nlink == 0;
}

}  // namespace

// The lock belongs to the open file, not to the process: it keeps out this process's other objects
// as well, and goes when the last descriptor does, however the process ends. The lock file stays: a
// lock on a file that somebody else has unlinked meanwhile would keep out nobody.
XPFileLock::XPFileLock(const char* pszPath, const char* pszModel,
                       unsigned long nTimeoutMs) noexcept {
  const int64_t end = Now() + static_cast<int64_t>(nTimeoutMs) * kNsPerMs;
  for (;; Pause()) {
    if (m_handle < 0) m_handle = OpenLockFile(pszPath, pszModel);
    if (m_handle < 0) {
      m_state = kFailed;
      return;
    }
    const bool isLocked = flock(m_handle, LOCK_EX | LOCK_NB) == 0;
    const int error = isLocked ? 0 : errno;
    if (isLocked && !IsUnlinked(m_handle)) {
      m_state = kHeld;
      return;
    }
    if (isLocked) {
      close(m_handle);
      m_handle = -1;
    } else if (error == EOPNOTSUPP || error == ENOSYS || error == EINVAL) {
      m_state = kNoLocks;
      return;
    } else if (error != EWOULDBLOCK && error != EINTR) {
      m_state = kFailed;  // ENOLCK, too: there are locks, and this one was not to be had.
      return;
    }
    if (Now() >= end) {
      m_state = kBusy;
      return;
    }
  }
}

XPFileLock::~XPFileLock() {
  if (m_handle < 0) return;
  // Not only closed: a process that was forked meanwhile has the file open, too.
  if (m_state == kHeld) flock(m_handle, LOCK_UN);
  close(m_handle);
}
