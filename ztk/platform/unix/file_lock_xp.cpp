#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "ztk/file/internal/file_lock_xp.h"
#include "ztk/platform/unix/descriptor.h"

namespace {

// A pipe or a device in its place is refused; opening it must not block.
constexpr int kFlags = O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;

// Gives the lock file the model's owner, group and mode. Where the group cannot be set, the group
// gets the rights of others.
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

}  // namespace

std::intptr_t XPOpenLockFile(const char* pszPath, const char* pszModel) noexcept {
  struct stat model;
  struct stat lock;
  // Opening a device may have side effects.
  if (lstat(pszPath, &lock) == 0 && !S_ISREG(lock.st_mode)) return -1;
  const bool hasModel = stat(pszModel, &model) == 0 && S_ISREG(model.st_mode);

  int descriptor =
      OpenDescriptor(pszPath, O_RDWR | O_CREAT | O_EXCL | kFlags, hasModel ? 0600 : 0666);
  const bool isNew = descriptor >= 0;
  if (!isNew && errno == EEXIST) {
    descriptor = OpenDescriptor(pszPath, O_RDWR | kFlags);
    // flock needs no write access, except on network file systems.
    if (descriptor < 0) descriptor = OpenDescriptor(pszPath, O_RDONLY | kFlags);
  }
  if (descriptor < 0) return -1;
  if (fstat(descriptor, &lock) != 0 || !S_ISREG(lock.st_mode)) {
    close(descriptor);
    return -1;
  }
  // An existing one is adapted only when it is this user's own, and empty.
  const bool isOwn = lock.st_uid == geteuid() && lock.st_nlink == 1 && lock.st_size == 0;
  if (hasModel && (isNew || isOwn)) Share(descriptor, lock, model);
  return descriptor;
}

ZTKFileLock::State XPTryLock(std::intptr_t nHandle) noexcept {
  if (flock(DescriptorOf(nHandle), LOCK_EX | LOCK_NB) == 0) return ZTKFileLock::kHeld;
  if (errno == EWOULDBLOCK || errno == EINTR) return ZTKFileLock::kBusy;
  const bool hasNone = errno == EOPNOTSUPP || errno == ENOSYS || errno == EINVAL;
  // ENOLCK, too: there are locks, but none was available.
  return hasNone ? ZTKFileLock::kNoLocks : ZTKFileLock::kFailed;
}

bool XPIsUnlinked(std::intptr_t nHandle) noexcept {
  struct stat status;
  return fstat(DescriptorOf(nHandle), &status) == 0 && status.st_nlink == 0;
}

void XPUnlock(std::intptr_t nHandle) noexcept { flock(DescriptorOf(nHandle), LOCK_UN); }

void XPCloseLockFile(std::intptr_t nHandle) noexcept { close(DescriptorOf(nHandle)); }
