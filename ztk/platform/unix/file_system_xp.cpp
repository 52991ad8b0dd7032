#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>

#include "ztk/file/internal/file_system_xp.h"
#include "ztk/platform/unix/descriptor.h"

bool XPChangeFolder(const char* pszPath) noexcept { return chdir(pszPath) == 0; }

bool XPGetFolder(char* pszBuf, size_t nSize) noexcept { return getcwd(pszBuf, nSize) != nullptr; }

bool XPMakeFolder(const char* pszPath, unsigned long nPermissions) noexcept {
  return mkdir(pszPath, static_cast<mode_t>(nPermissions & 0xFFFF)) == 0;
}

bool XPRemoveFolder(const char* pszPath) noexcept { return rmdir(pszPath) == 0; }

bool XPResolveLinks(const char* pszPath, ZTKString& resolved, bool& bMissing) noexcept {
  const std::unique_ptr<char, decltype(&std::free)> real(realpath(pszPath, nullptr), &std::free);
  bMissing = real == nullptr && errno == ENOENT;
  if (real != nullptr) resolved = real.get();
  return real != nullptr;
}

XPFolder::XPFolder(const char* pszFolder) noexcept
    : m_handle(OpenDescriptor(pszFolder, O_RDONLY | O_DIRECTORY)) {}

XPFolder::~XPFolder() {
  if (m_handle >= 0) close(m_handle);
}

bool XPFolder::Sync() const noexcept { return m_handle >= 0 && SyncIfKept(m_handle); }
