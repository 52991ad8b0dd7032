#include "ztk/platform/unix/host_folders.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

namespace {

// A record of the password database larger than this is a broken one.
constexpr size_t kMaxRecord = size_t{1} << 20;

// Without separators at its end: a name may be put behind it. The root stays.
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
  const bool current = *pszUser == '\0';
  if (current && CopyWhole(std::getenv("HOME"), pszBuf, nSize)) return true;

  for (size_t size = 1024; size <= kMaxRecord; size *= 4) {
    const std::unique_ptr<char[]> strings(new (std::nothrow) char[size]);
    if (strings == nullptr) return false;
    passwd record;
    passwd* found = nullptr;
    const int error = current ? getpwuid_r(getuid(), &record, strings.get(), size, &found)
                              : getpwnam_r(pszUser, &record, strings.get(), size, &found);
    if (found != nullptr) return CopyWhole(found->pw_dir, pszBuf, nSize);
    if (error != ERANGE && error != EINTR) return false;
  }
  return false;
}

const char* XPGetHostTempFolder() noexcept {
  // Not for a program that runs with more rights than its user has. A relative one would be another
  // folder after each change of the working directory.
  const char* folder = secure_getenv("TMPDIR");
  return folder != nullptr && *folder == '/' ? folder : "/tmp";
}
