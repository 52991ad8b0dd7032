#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "ztk/file/file_system.h"
#include "ztk/file/internal/file_system_xp.h"
#include "ztk/file/internal/path_text.h"
#include "ztk/platform/unix/descriptor.h"

bool XPChangeFolder(const char* pszPath) noexcept { return chdir(pszPath) == 0; }

bool XPGetFolder(char* pszBuf, size_t nSize) noexcept { return getcwd(pszBuf, nSize) != nullptr; }

bool XPMakeFolder(const char* pszPath, unsigned long nPermissions) noexcept {
  return mkdir(pszPath, static_cast<mode_t>(nPermissions & 0xFFFF)) == 0;
}

bool XPRemoveFolder(const char* pszPath) noexcept { return rmdir(pszPath) == 0; }

bool XPRename(const char* pszFrom, const char* pszTo) noexcept {
  return std::rename(pszFrom, pszTo) == 0;
}

bool XPKeepsName(const char* /*pszPath*/) noexcept { return true; }

bool XPRemove(const char* pszPath) noexcept { return std::remove(pszPath) == 0; }

ZTKString XPMakeAbsolute(const ZTKString& path) noexcept {
  if (path.view().front() == '/') return path;
  ZTKString absolute = ZTKGetCwd();
  if (absolute.Len() == 0) return absolute;
  if (absolute.Last() != '/') absolute.append('/', 1);
  absolute.append(path);
  return absolute;
}

bool XPGetEnv(const char* pszName, ZTKTextBuilder& out) noexcept {
  const char* const value = std::getenv(pszName);
  if (value != nullptr) out.Add(value);
  return value != nullptr;
}

bool XPResolveLinks(const char* pszPath, ZTKString& resolved, bool& bMissing) noexcept {
  const std::unique_ptr<char, decltype(&std::free)> real(realpath(pszPath, nullptr), &std::free);
  bMissing = real == nullptr && errno == ENOENT;
  if (real != nullptr) resolved = real.get();
  return real != nullptr;
}

XPFolder::XPFolder(const char* pszFolder) noexcept
    : m_handle(OpenDescriptor(pszFolder, O_RDONLY | O_DIRECTORY)) {}

XPFolder::~XPFolder() {
  if (m_handle != -1) close(DescriptorOf(m_handle));
}

bool XPFolder::Sync() const noexcept {
  return m_handle != -1 && SyncIfKept(DescriptorOf(m_handle));
}
