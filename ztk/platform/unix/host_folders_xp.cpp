#include "ztk/platform/unix/host_folders.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "ztk/foundation/internal/allocation_watch.h"

namespace {

// A larger record of the password database is taken for broken.
constexpr size_t kMaxRecord = size_t{1} << 20;

// Without trailing separators, so that a name can be appended; "/" stays.
bool CopyWhole(const char* psz, char* pszBuf, size_t nSize) noexcept {
  if (psz == nullptr || *psz == '\0') return false;
  size_t length = std::strlen(psz);
  while (length > 1 && psz[length - 1] == '/') --length;
  if (length >= nSize) return false;
  std::memcpy(pszBuf, psz, length);
  pszBuf[length] = '\0';
  return true;
}

}  // namespace

bool XPFindHostHome(const char* pszUser, char* pszBuf, size_t nSize) noexcept {
  if (*pszUser == '\0' && CopyWhole(std::getenv("HOME"), pszBuf, nSize)) return true;
  return XPFindPasswordHome(pszUser, pszBuf, nSize);
}

bool XPFindPasswordHome(const char* pszUser, char* pszBuf, size_t nSize) noexcept {
  const bool current = *pszUser == '\0';
  for (size_t size = 1024; size <= kMaxRecord; size *= 4) {
    const std::unique_ptr<char[]> strings(new (std::nothrow) char[size]);
    if (strings == nullptr) {
      ZTKAllocationWatch::NoteFailure();
      return false;
    }
    passwd record;
    passwd* found = nullptr;
    const int error = current ? getpwuid_r(getuid(), &record, strings.get(), size, &found)
                              : getpwnam_r(pszUser, &record, strings.get(), size, &found);
    if (found != nullptr) return CopyWhole(found->pw_dir, pszBuf, nSize);
    if (error != ERANGE && error != EINTR) return false;
  }
  return false;
}
