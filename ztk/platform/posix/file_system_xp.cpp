#include "ztk/file/file_system.h"

#include <sys/stat.h>

#include "ztk/file/internal/file_system_xp.h"
#include "ztk/file/internal/file_xp.h"
#include "ztk/platform/unix/host_folders.h"

ZTKString XPMacPathToCompName(const char* pszPath) noexcept { return ZTKString(pszPath); }

ZTKString XPCompNameToMacPath(const char* pszPath) noexcept { return ZTKString(pszPath); }

char XPGetNativeSeparator() noexcept { return '/'; }

ZTKString XPGetTempFolder() noexcept { return ZTKString(XPGetHostTempFolder()); }

int XPGetNewFilePermissions(int nPermissions) noexcept { return nPermissions; }

bool XPPathExists(const char* pszPath) noexcept {
  struct stat status;
  return stat(pszPath, &status) == 0;
}

bool XPFindHome(const char* pszUser, char* pszBuf, size_t nSize) noexcept {
  return XPFindHostHome(pszUser, pszBuf, nSize);
}
