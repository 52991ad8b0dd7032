#include "ztk/file/temp_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "ztk/file/file_system.h"
#include "ztk/file/internal/file_system_xp.h"
#include "ztk/platform/unix/stream.h"

namespace {

// The umask can only be read by setting it. Other threads may create files meanwhile: theirs then
// are for their owner alone, never open to others.
mode_t CurrentUmask() noexcept {
  const mode_t mask = umask(077);
  umask(mask);
  return mask;
}

// What a file may allow that has the content of `model`, so that nobody gets more than before. With
// another owner or group, "group" and "others" mean other users than they did: both get no more
// than each of them had.
mode_t PermissionsFor(const struct stat& file, const struct stat& model) noexcept {
  const mode_t mode = model.st_mode & 0777;
  if (file.st_uid == model.st_uid && file.st_gid == model.st_gid) return mode;
  const mode_t everybody = (mode >> 3) & mode & 07;
  return (mode & 0700) | everybody << 3 | everybody;
}

// The owner and group first: what they are then says what the mode may be.
bool CopyAccess(int nDescriptor, const struct stat& model) noexcept {
  if (fchown(nDescriptor, model.st_uid, model.st_gid) != 0) {
    [[maybe_unused]] const bool groupKept =
        fchown(nDescriptor, static_cast<uid_t>(-1), model.st_gid) == 0;
  }
  struct stat file;
  if (fstat(nDescriptor, &file) != 0) return false;
  return fchmod(nDescriptor, PermissionsFor(file, model)) == 0;
}

bool IsMissing(int nError) noexcept { return nError == ENOENT || nError == ENOTDIR; }

// A new file for which `nPermissions` were asked, in the place of nothing or of the link `pszLink`:
// it may hold what was read through that link.
bool MakeNew(int nDescriptor, int nPermissions, const char* pszLink) noexcept {
  mode_t mode = static_cast<mode_t>(nPermissions) & 0777 & ~CurrentUmask();
  struct stat model;
  if (pszLink != nullptr && stat(pszLink, &model) == 0) {
    struct stat file;
    if (fstat(nDescriptor, &file) != 0) return false;
    if (S_ISREG(model.st_mode)) mode &= PermissionsFor(file, model);
  } else if (pszLink != nullptr && !IsMissing(errno) && errno != ELOOP) {
    return false;
  }
  return fchmod(nDescriptor, mode) == 0;
}

}  // namespace

bool ZTKTempFile::XPChangePermissions() {
  if (!m_file.IsOpen()) return false;

  const int descriptor = fileno(FileOf(m_file.m_pStream));
  const ZTKString path = XPMacPathToCompName(m_targetPath.c_str());
  struct stat target;
  // Of what cannot be looked at, nobody knows to whom it was open: the file stays its owner's
  // alone.
  if (lstat(path.c_str(), &target) != 0) {
    return IsMissing(errno) && MakeNew(descriptor, m_nPermissions, nullptr);
  }
  if (S_ISREG(target.st_mode)) return CopyAccess(descriptor, target);
  return MakeNew(descriptor, m_nPermissions, S_ISLNK(target.st_mode) ? path.c_str() : nullptr);
}

bool XPCopyPermissions(const char* pszFrom, const char* pszTo) noexcept {
  struct stat model;
  if (stat(pszFrom, &model) != 0) return false;
  const int descriptor = open(pszTo, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) return false;
  const bool done = CopyAccess(descriptor, model);
  close(descriptor);
  return done;
}
