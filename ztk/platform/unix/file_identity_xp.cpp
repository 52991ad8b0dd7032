// What kind of file a path leads to, and files that have several names.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "ztk/file/internal/file_state_xp.h"
#include "ztk/file/internal/file_system_xp.h"
#include "ztk/platform/unix/descriptor.h"
#include "ztk/platform/unix/stream.h"

namespace {

bool WriteAll(int nDescriptor, const char* pBytes, size_t nCount) noexcept {
  while (nCount > 0) {
    const ssize_t written = Uninterrupted([=] { return write(nDescriptor, pBytes, nCount); });
    if (written <= 0) return false;
    pBytes += written;
    nCount -= static_cast<size_t>(written);
  }
  return true;
}

bool SetSize(int nDescriptor, off_t nSize) noexcept {
  return Uninterrupted([=] { return ftruncate(nDescriptor, nSize); }) == 0;
}

XPFileKind KindOf(const struct stat& status) noexcept {
  if (S_ISREG(status.st_mode)) return XPFileKind::kRegular;
  return S_ISDIR(status.st_mode) ? XPFileKind::kFolder : XPFileKind::kOther;
}

XPFileKind KindOfError() noexcept {
  return errno == ENOENT || errno == ENOTDIR ? XPFileKind::kNothing : XPFileKind::kUnknown;
}

int64_t Nanoseconds(const timespec& time) noexcept {
  return int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

XPFileState StateOf(const struct stat& status) noexcept {
  XPFileState state;
  state.isThere = true;
  state.device = status.st_dev;
  state.file = status.st_ino;
  state.size = status.st_size;
  state.changed = Nanoseconds(status.st_mtim);
  return state;
}

}  // namespace

off_t CopyDescriptor(int nFrom, int nTo, const CopyChunk& chunk) noexcept {
  for (off_t total = 0;;) {
    const ssize_t got = Uninterrupted([&] { return read(nFrom, chunk.get(), kCopyChunk); });
    if (got == 0) return total;
    if (got < 0 || !WriteAll(nTo, chunk.get(), static_cast<size_t>(got))) return -1;
    total += got;
  }
}

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
  const CopyChunk chunk = MakeCopyChunk();
  const Descriptor from(OpenDescriptor(pszFrom, O_RDONLY | O_NOFOLLOW));
  const Descriptor to(OpenDescriptor(pszTo, O_WRONLY | O_NOFOLLOW | O_NONBLOCK));
  struct stat source;
  struct stat target;
  if (chunk == nullptr || from.Get() < 0 || to.Get() < 0) return false;
  if (fstat(from.Get(), &source) != 0 || fstat(to.Get(), &target) != 0) return false;
  if (!S_ISREG(target.st_mode)) return false;

  if (!ReserveRoom(to.Get(), source.st_size)) {
    // Cut what was added at the end: the old content is unchanged.
    bBegun = !SetSize(to.Get(), target.st_size);
    return false;
  }
  bBegun = true;
  // New content must not inherit set-id bits. Where this is refused, the write clears them.
  if ((target.st_mode & 06000) != 0) {
    [[maybe_unused]] const int cleared = fchmod(to.Get(), target.st_mode & 01777);
  }
  const off_t copied = CopyDescriptor(from.Get(), to.Get(), chunk);
  return copied == source.st_size && SetSize(to.Get(), copied) && SyncDescriptor(to.Get());
}

bool XPGetFileState(const char* pszPath, XPFileState& state) noexcept {
  struct stat status;
  state = stat(pszPath, &status) == 0 ? StateOf(status) : XPFileState();
  return state.isThere;
}

bool XPGetStreamState(XPStream* pStream, XPFileState& state) noexcept {
  struct stat status;
  state = fstat(fileno(FileOf(pStream)), &status) == 0 ? StateOf(status) : XPFileState();
  return state.isThere;
}
