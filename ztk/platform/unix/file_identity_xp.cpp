// What kind of file a path leads to, and files that have several names.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <new>

#include "ztk/file/internal/file_system_xp.h"

namespace {

constexpr size_t kChunk = size_t{64} * 1024;

/// A descriptor that is closed with its object.
class Descriptor {
 public:
  Descriptor(const char* pszPath, int nFlags) noexcept {
    do {
      m_fd = open(pszPath, nFlags | O_CLOEXEC);
    } while (m_fd < 0 && errno == EINTR);
  }
  ~Descriptor() {
    if (m_fd >= 0) close(m_fd);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int Get() const noexcept { return m_fd; }

 private:
  int m_fd;
};

bool WriteAll(int nDescriptor, const char* pBytes, size_t nCount) noexcept {
  while (nCount > 0) {
    const ssize_t written = write(nDescriptor, pBytes, nCount);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    pBytes += written;
    nCount -= static_cast<size_t>(written);
  }
  return true;
}

// Copies to the end of `nFrom`, in chunks; the number of bytes, or -1.
off_t CopyAll(int nFrom, int nTo, char* pChunk) noexcept {
  off_t total = 0;
  for (;;) {
    const ssize_t got = read(nFrom, pChunk, kChunk);
    if (got < 0 && errno == EINTR) continue;
    if (got == 0) return total;
    if (got < 0 || !WriteAll(nTo, pChunk, static_cast<size_t>(got))) return -1;
    total += got;
  }
}

bool SetSize(int nDescriptor, off_t nSize) noexcept {
  int result;
  do {
    result = ftruncate(nDescriptor, nSize);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

// False when there is no room; true where the file system cannot tell.
bool MakeRoom(int nDescriptor, off_t nSize) noexcept {
  if (nSize == 0) return true;
  int error;
  do {
    error = posix_fallocate(nDescriptor, 0, nSize);
  } while (error == EINTR);
  return error != ENOSPC && error != EFBIG && error != EDQUOT && error != EIO;
}

bool Sync(int nDescriptor) noexcept {
  int result;
  do {
    result = fsync(nDescriptor);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

XPFileKind KindOf(const struct stat& status) noexcept {
  if (S_ISREG(status.st_mode)) return XPFileKind::kRegular;
  return S_ISDIR(status.st_mode) ? XPFileKind::kFolder : XPFileKind::kOther;
}

XPFileKind KindOfError() noexcept {
  return errno == ENOENT || errno == ENOTDIR ? XPFileKind::kNothing : XPFileKind::kUnknown;
}

}  // namespace

XPFileKind XPGetFileKind(const char* pszPath) noexcept {
  struct stat status;
  return stat(pszPath, &status) == 0 ? KindOf(status) : KindOfError();
}

XPFileKind XPGetOwnFileKind(const char* pszPath) noexcept {
  struct stat status;
  return lstat(pszPath, &status) == 0 ? KindOf(status) : KindOfError();
}

bool XPHasOtherNames(const char* pszPath, bool& bHasOthers) noexcept {
  struct stat status;
  bHasOthers = false;
  if (lstat(pszPath, &status) != 0) return errno == ENOENT || errno == ENOTDIR;
  bHasOthers = S_ISREG(status.st_mode) && status.st_nlink > 1;
  return true;
}

bool XPOverwriteFile(const char* pszFrom, const char* pszTo, bool& bBegun) noexcept {
  bBegun = false;
  const std::unique_ptr<char[]> chunk(new (std::nothrow) char[kChunk]);
  const Descriptor from(pszFrom, O_RDONLY | O_NOFOLLOW);
  const Descriptor to(pszTo, O_WRONLY | O_NOFOLLOW | O_NONBLOCK);
  struct stat source;
  struct stat target;
  if (chunk == nullptr || from.Get() < 0 || to.Get() < 0) return false;
  if (fstat(from.Get(), &source) != 0 || fstat(to.Get(), &target) != 0) return false;
  if (!S_ISREG(target.st_mode)) return false;

  if (!MakeRoom(to.Get(), source.st_size)) {
    // What was added at the end goes again, and the old content is as it was.
    bBegun = !SetSize(to.Get(), target.st_size);
    return false;
  }
  bBegun = true;
  // The rights of the old content are not for any other. Where this is refused, the system does it.
  if ((target.st_mode & 06000) != 0) {
    [[maybe_unused]] const int cleared = fchmod(to.Get(), target.st_mode & 01777);
  }
  const off_t copied = CopyAll(from.Get(), to.Get(), chunk.get());
  return copied == source.st_size && SetSize(to.Get(), copied) && Sync(to.Get());
}

bool XPRenameToNew(const char* pszFrom, const char* pszTo) noexcept {
  if (renameat2(AT_FDCWD, pszFrom, AT_FDCWD, pszTo, RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) return false;
  // A file system that cannot: a second name refuses what exists as well.
  if (link(pszFrom, pszTo) != 0) return false;
  unlink(pszFrom);
  return true;
}
