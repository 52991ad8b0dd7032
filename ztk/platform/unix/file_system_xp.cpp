#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

#include "ztk/file/internal/file_system_xp.h"

namespace {

ZTKString FolderOf(const char* pszFile) noexcept {
  const std::string_view file(pszFile);
  const size_t slash = file.rfind('/');
  if (slash == std::string_view::npos) return ZTKString(".");
  return ZTKString(file.substr(0, slash == 0 ? 1 : slash));
}

}  // namespace

bool XPChangeFolder(const char* pszPath) noexcept { return chdir(pszPath) == 0; }

bool XPGetFolder(char* pszBuf, size_t nSize) noexcept { return getcwd(pszBuf, nSize) != nullptr; }

bool XPMakeFolder(const char* pszPath, unsigned long nPermissions) noexcept {
  return mkdir(pszPath, static_cast<mode_t>(nPermissions & 0xFFFF)) == 0;
}

bool XPRemoveFolder(const char* pszPath) noexcept { return rmdir(pszPath) == 0; }

XPFolder::XPFolder(const char* pszFile) noexcept {
  const ZTKString folder = FolderOf(pszFile);
  do {
    m_handle = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  } while (m_handle < 0 && errno == EINTR);
}

XPFolder::~XPFolder() {
  if (m_handle >= 0) close(m_handle);
}

bool XPFolder::Sync() const noexcept {
  if (m_handle < 0) return false;
  int result;
  do {
    result = fsync(m_handle);
  } while (result != 0 && errno == EINTR);
  // Some file systems write their folders at once and know no sync of them.
  return result == 0 || errno == EINVAL || errno == EROFS || errno == ENOTSUP;
}
