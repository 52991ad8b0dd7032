#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "ztk/file/internal/file_system_xp.h"
#include "ztk/platform/unix/descriptor.h"
#include "ztk/platform/unix/host_folders.h"

bool XPRenameToNew(const char* pszFrom, const char* pszTo) noexcept {
  if (renameat2(AT_FDCWD, pszFrom, AT_FDCWD, pszTo, RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) return false;
  // Not supported by this file system: link fails, too, when the name exists.
  if (link(pszFrom, pszTo) != 0) return false;
  unlink(pszFrom);
  return true;
}

bool ReserveRoom(int nDescriptor, off_t nSize) noexcept {
  if (nSize == 0) return true;
  int error;
  do {
    error = posix_fallocate(nDescriptor, 0, nSize);
  } while (error == EINTR);
  return error != ENOSPC && error != EFBIG && error != EDQUOT && error != EIO;
}

const char* XPGetHostTempFolder() noexcept {
  // Ignored in set-id programs. A relative one would change with the working directory.
  const char* folder = secure_getenv("TMPDIR");
  return folder != nullptr && *folder == '/' ? folder : "/tmp";
}
