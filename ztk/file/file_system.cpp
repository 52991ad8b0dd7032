#include "ztk/file/file_system.h"

#include <array>
#include <cstring>
#include <new>

#include "ztk/file/file.h"
#include "ztk/file/internal/file_system_xp.h"
#include "ztk/file/internal/file_xp.h"
#include "ztk/file/internal/path_limits.h"
#include "ztk/file/internal/path_text.h"

bool ZTKFileExists(const ZTKString& path) noexcept {
  return XPCanRead(ZTKSystemPath(path).c_str());
}

bool ZTKPathExists(const ZTKString& path) noexcept {
  const unsigned long length = path.Len();
  if (length == 0 || length > ZTKPathLimit::kPath) return false;
  return XPPathExists(path.c_str());
}

bool ZTKSetWorkingDirectory(const ZTKString& dir) noexcept {
  return XPChangeFolder(ZTKSystemPath(dir).c_str());
}

char* ZTKGetWorkingDirectory(char* pszBuf, int nSize) noexcept {
  const size_t size = nSize > 0 ? static_cast<size_t>(nSize) : 0;
  if (pszBuf == nullptr) {
    pszBuf = new (std::nothrow) char[size + 1];
    if (pszBuf == nullptr) return nullptr;
    pszBuf[0] = '\0';
  }
  if (size > 0 && !XPGetFolder(pszBuf, size)) pszBuf[0] = '\0';
  return pszBuf;
}

ZTKString ZTKGetCwd() noexcept {
  std::array<char, ZTKPathLimit::kPath + 1> buffer{};
  return ZTKString(ZTKGetWorkingDirectory(buffer.data(), static_cast<int>(buffer.size())));
}

bool ZTKRmdir(const ZTKString& dir) noexcept { return XPRemoveFolder(ZTKSystemPath(dir).c_str()); }

bool ZTKMkdir(const ZTKString& dir, unsigned long nPermissions) noexcept {
  return XPMakeFolder(ZTKSystemPath(dir).c_str(), nPermissions);
}

bool ZTKRenameFile(const ZTKString& from, const ZTKString& to) noexcept {
  return XPRename(ZTKSystemPath(from).c_str(), ZTKSystemPath(to).c_str());
}

bool ZTKRemoveFile(const ZTKString& path) noexcept {
  // Every layer takes these unchanged: no allocation, so a failed save can be cleaned up.
  if (*path.c_str() == '/' || ZTKIsDosSystem()) return XPRemove(path.c_str());
  return XPRemove(ZTKSystemPath(path).c_str());
}

const char* ZTKGetUserHome(const ZTKString& user) noexcept {
  static std::array<char, ZTKPathLimit::kSystemPath + 1> s_home;
  return XPFindHome(user.c_str(), s_home.data(), s_home.size()) ? s_home.data() : ".";
}

bool ZTKIsPathSeparator(char ch) noexcept { return ch == '/' || ch == ':' || ch == '\\'; }

bool ZTKEndsWithPathSeparator(const char* psz) noexcept {
  if (psz == nullptr || *psz == '\0') return false;
  return ZTKIsPathSeparator(psz[std::strlen(psz) - 1]);
}

ZTKString ZTKFindFirstFile(const char*, unsigned long) noexcept { return ZTKString(); }

ZTKString ZTKFindNextFile() noexcept { return ZTKString(); }
