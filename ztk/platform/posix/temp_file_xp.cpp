#include "ztk/file/temp_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "ztk/file/file_system.h"
#include "ztk/platform/layer.h"

namespace {

// What a program that creates a file asks for.
constexpr mode_t kNewFile = 0666;

// The umask can only be read by setting it. Other threads may create files meanwhile: theirs then
// are for their owner alone, never open to others.
mode_t CurrentUmask() noexcept {
  const mode_t mask = umask(077);
  umask(mask);
  return mask;
}

// The owner first: changing it would clear the set-id bits, which are not for another owner.
bool TakeOver(int nDescriptor, const struct stat& model) noexcept {
  if (fchown(nDescriptor, model.st_uid, model.st_gid) == 0) {
    return fchmod(nDescriptor, model.st_mode & 07777) == 0;
  }
  [[maybe_unused]] const bool groupKept =
      fchown(nDescriptor, static_cast<uid_t>(-1), model.st_gid) == 0;
  return fchmod(nDescriptor, model.st_mode & 0777) == 0;
}

}  // namespace

bool ZTKTempFile::XPChangePermissions() {
  if (!m_file.IsOpen()) return false;

  // NOLINTNEXTLINE(performance-no-int-to-ptr): a handle is the address of a stream.
  const int descriptor = fileno(reinterpret_cast<std::FILE*>(m_file.GetHandle()));
  struct stat target;
  if (stat(XPMacPathToCompName(m_targetPath.c_str()).c_str(), &target) == 0 &&
      S_ISREG(target.st_mode)) {
    return TakeOver(descriptor, target);
  }
  return fchmod(descriptor, kNewFile & ~CurrentUmask()) == 0;
}

bool XPCopyPermissions(const char* pszFrom, const char* pszTo) noexcept {
  struct stat model;
  if (stat(pszFrom, &model) != 0) return false;
  const int descriptor = open(pszTo, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) return false;
  const bool taken = TakeOver(descriptor, model);
  close(descriptor);
  return taken;
}
