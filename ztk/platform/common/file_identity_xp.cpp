// What kind of file a path leads to, and files that have several names.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <new>

#include "ztk/platform/layer.h"

namespace {

constexpr size_t kChunk = size_t{64} * 1024;

/// A descriptor that is closed with its object.
class Descriptor {
 public:
  Descriptor(const char* pszPath, int nFlags) noexcept : m_fd(open(pszPath, nFlags | O_CLOEXEC)) {}
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

// Copies to the end of `nFrom`; the number of bytes, or -1.
off_t CopyAll(int nFrom, int nTo) noexcept {
  const std::unique_ptr<char[]> chunk(new (std::nothrow) char[kChunk]);
  if (chunk == nullptr) return -1;
  off_t total = 0;
  for (;;) {
    const ssize_t got = read(nFrom, chunk.get(), kChunk);
    if (got < 0 && errno == EINTR) continue;
    if (got == 0) return total;
    if (got < 0 || !WriteAll(nTo, chunk.get(), static_cast<size_t>(got))) return -1;
    total += got;
  }
}

// False when there is no room; true where the file system cannot tell.
bool MakeRoom(int nDescriptor, off_t nSize) noexcept {
  if (nSize == 0) return true;
  const int error = posix_fallocate(nDescriptor, 0, nSize);
  return error != ENOSPC && error != EFBIG && error != EDQUOT && error != EIO;
}

bool Sync(int nDescriptor) noexcept {
  int result;
  do {
    result = fsync(nDescriptor);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

}  // namespace

XPFileKind XPGetFileKind(const char* pszPath) noexcept {
  struct stat status;
  if (stat(pszPath, &status) != 0) {
    return errno == ENOENT || errno == ENOTDIR ? XPFileKind::kNothing : XPFileKind::kUnknown;
  }
  if (S_ISREG(status.st_mode)) return XPFileKind::kRegular;
  return S_ISDIR(status.st_mode) ? XPFileKind::kFolder : XPFileKind::kOther;
}

bool XPHasOtherNames(const char* pszPath) noexcept {
  struct stat status;
  return lstat(pszPath, &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink > 1;
}

bool XPOverwriteFile(const char* pszFrom, const char* pszTo) noexcept {
  const Descriptor from(pszFrom, O_RDONLY | O_NOFOLLOW);
  const Descriptor to(pszTo, O_WRONLY | O_NOFOLLOW | O_NONBLOCK);
  struct stat source;
  struct stat target;
  if (from.Get() < 0 || to.Get() < 0) return false;
  if (fstat(from.Get(), &source) != 0 || fstat(to.Get(), &target) != 0) return false;
  if (!S_ISREG(target.st_mode)) return false;

  if (!MakeRoom(to.Get(), source.st_size)) {
    // What was added at the end goes again, and the old content is as it was.
    [[maybe_unused]] const int restored = ftruncate(to.Get(), target.st_size);
    return false;
  }
  const off_t copied = CopyAll(from.Get(), to.Get());
  return copied == source.st_size && ftruncate(to.Get(), copied) == 0 && Sync(to.Get());
}
