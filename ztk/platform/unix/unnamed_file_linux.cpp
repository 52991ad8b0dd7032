#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "ztk/file/internal/unnamed_file_xp.h"
#include "ztk/platform/unix/descriptor.h"
#include "ztk/platform/unix/stream.h"

namespace {

/// The path of an open file, whether or not it has a name.
class LinkToHandle {
 public:
  explicit LinkToHandle(int nHandle) noexcept {
    std::snprintf(m_path, sizeof m_path, "/proc/self/fd/%d", nHandle);
  }
  const char* Path() const noexcept { return m_path; }

 private:
  char m_path[32];
};

// Without /proc no name can be given later.
bool IsNameable(int nHandle) noexcept {
  struct stat own;
  struct stat linked;
  return fstat(nHandle, &own) == 0 && stat(LinkToHandle(nHandle).Path(), &linked) == 0 &&
         own.st_dev == linked.st_dev && own.st_ino == linked.st_ino;
}

}  // namespace

XPStream* XPCreateUnnamed(const char* pszFolder, int nPermissions, int& nHandle) noexcept {
  const auto mode = static_cast<mode_t>(nPermissions);
  const int handle = OpenDescriptor(pszFolder, O_TMPFILE | O_RDWR, mode);
  if (handle < 0) return nullptr;

  const int copy = IsNameable(handle) ? fcntl(handle, F_DUPFD_CLOEXEC, 0) : -1;
  std::FILE* const stream = copy >= 0 ? fdopen(copy, "wb") : nullptr;
  if (stream == nullptr) {
    if (copy >= 0) close(copy);
    close(handle);
    return nullptr;
  }
  nHandle = handle;
  return StreamOf(stream);
}

bool XPNameUnnamed(int nHandle, const char* pszPath, bool& bTaken) noexcept {
  const LinkToHandle link(nHandle);
  const bool named = linkat(AT_FDCWD, link.Path(), AT_FDCWD, pszPath, AT_SYMLINK_FOLLOW) == 0;
  bTaken = !named && errno == EEXIST;
  return named;
}

bool XPSyncUnnamed(int nHandle) noexcept { return SyncDescriptor(nHandle); }

bool XPCopyUnnamed(int nHandle, XPStream* pTo) noexcept {
  const CopyChunk chunk = MakeCopyChunk();
  struct stat source;
  if (chunk == nullptr || fstat(nHandle, &source) != 0 || lseek(nHandle, 0, SEEK_SET) != 0)
    return false;
  return CopyDescriptor(nHandle, fileno(FileOf(pTo)), chunk) == source.st_size;
}

bool XPCloseUnnamed(int& nHandle) noexcept {
  if (nHandle < 0) return false;
  close(nHandle);
  nHandle = -1;
  return true;
}
