#include "ztk/platform/win32/wide_path.h"

#include <cerrno>
#include <cwchar>

#include "ztk/file/internal/file_system_xp.h"

namespace {

// A folder may have 247 units without the prefix: a name of eight and three must fit behind it.
constexpr size_t kShortest = 248;

// Errors that not every compiler's headers name.
constexpr DWORD kVirusInfected = 225;
constexpr DWORD kDiskResourcesExhausted = 314;
constexpr DWORD kStoppedOnSymlink = 681;
constexpr DWORD kElevationRequired = 740;
constexpr DWORD kDiskQuotaExceeded = 1295;

bool IsSeparator(wchar_t ch) noexcept { return ch == L'\\' || ch == L'/'; }

bool Begins(const wchar_t* psz, const wchar_t* pszStart) noexcept {
  return std::wcsncmp(psz, pszStart, std::wcslen(pszStart)) == 0;
}

bool IsPlain(const wchar_t* psz) noexcept { return Begins(psz, L"\\\\?\\"); }

const wchar_t* LastComponent(const wchar_t* psz) noexcept {
  const wchar_t* last = psz;
  // A drive, in front of the whole path only.
  if (psz[0] != L'\0' && psz[1] == L':') last = psz + 2;
  for (; *psz != L'\0'; ++psz) {
    if (IsSeparator(*psz)) last = psz + 1;
  }
  return last;
}

// A device by its plain name, as a program that wants it writes it.
bool IsPlainDevice(const wchar_t* pszPath, const wchar_t* pszFull) noexcept {
  return Begins(pszFull, L"\\\\.\\") &&
         (Begins(pszPath, L"\\\\.\\") ||
          (LastComponent(pszPath) == pszPath && std::wcspbrk(pszPath, L".: ") == nullptr));
}

}  // namespace

WideText FullPathOf(const wchar_t* pszPath) noexcept {
  if (IsPlain(pszPath)) return CopyOf(pszPath);
  return MakeWide([=](wchar_t* buffer, DWORD units) {
    return GetFullPathNameW(pszPath, units, buffer, nullptr);
  });
}

WidePath::WidePath(const char* pszPath, Use use) noexcept {
  if (*pszPath == '\0') {
    SetLastError(ERROR_PATH_NOT_FOUND);
    return;
  }
  const WideText given = ToWide(pszPath);
  if (given == nullptr) return;
  WideText full = FullPathOf(given.get());
  if (full == nullptr) return;
  if (use == kNewName && !KeepsName(given.get(), full.get()) &&
      !IsPlainDevice(given.get(), full.get())) {
    SetLastError(ERROR_INVALID_NAME);
    return;
  }
  m_text = WithPrefix(std::move(full));
}

bool WidePath::IsDevice() const noexcept { return IsValid() && Begins(m_text.get(), L"\\\\.\\"); }

bool WidePath::IsPipe() const noexcept {
  return IsValid() && _wcsnicmp(m_text.get(), L"\\\\.\\pipe\\", 9) == 0;
}

WideText WithPrefix(WideText fullPath) noexcept {
  if (fullPath == nullptr) return nullptr;
  const wchar_t* path = fullPath.get();
  const size_t length = std::wcslen(path);
  if (length < kShortest || IsPlain(path) || Begins(path, L"\\\\.\\")) return fullPath;

  const wchar_t* prefix = L"\\\\?\\";
  if (Begins(path, L"\\\\")) {
    prefix = L"\\\\?\\UNC\\";
    path += 2;
  }
  WideText text = NewWideText(std::wcslen(prefix) + length + 1);
  if (text == nullptr) return nullptr;
  std::wcscpy(text.get(), prefix);
  std::wcscat(text.get(), path);
  return text;
}

const wchar_t* WithoutPrefix(wchar_t* pszFullPath) noexcept {
  if (!IsPlain(pszFullPath)) return pszFullPath;
  wchar_t* const rest = pszFullPath + 4;
  if (_wcsnicmp(rest, L"UNC\\", 4) == 0) {
    rest[2] = L'\\';  // One of the two that a share begins with.
    return rest + 2;
  }
  return rest[0] != L'\0' && rest[1] == L':' ? rest : pszFullPath;
}

bool KeepsName(const wchar_t* pszPath, const wchar_t* pszFull) noexcept {
  if (Begins(pszFull, L"\\\\.\\")) return false;
  const wchar_t* const name = LastComponent(pszPath);
  if (std::wcschr(name, L':') != nullptr) return false;
  // These name folders that are there.
  if (*name == L'\0' || std::wcscmp(name, L".") == 0 || std::wcscmp(name, L"..") == 0) return true;
  return std::wcscmp(name, LastComponent(pszFull)) == 0;
}

bool XPKeepsName(const char* pszPath) noexcept {
  const WideText given = ToWide(pszPath);
  if (given == nullptr || *pszPath == '\0') return false;
  const WideText full = FullPathOf(given.get());
  return full != nullptr && KeepsName(given.get(), full.get());
}

int ErrnoOf(DWORD nError) noexcept {
  switch (nError) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_DIRECTORY:
      return ENOENT;
    case ERROR_ACCESS_DENIED:
    case ERROR_PRIVILEGE_NOT_HELD:
    case ERROR_NETWORK_ACCESS_DENIED:
    case ERROR_CANNOT_MAKE:
    case kElevationRequired:
    case kVirusInfected:
      return EACCES;
    case ERROR_CANT_RESOLVE_FILENAME:
    case kStoppedOnSymlink:
      return ELOOP;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_PIPE_BUSY:
    case ERROR_DELETE_PENDING:
    case ERROR_USER_MAPPED_FILE:
    case ERROR_BUSY:
    case ERROR_PATH_BUSY:
    case ERROR_DRIVE_LOCKED:
      return EBUSY;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
      return EEXIST;
    case ERROR_DIR_NOT_EMPTY:
      return ENOTEMPTY;
    case ERROR_NOT_SAME_DEVICE:
      return EXDEV;
    case ERROR_TOO_MANY_LINKS:
      return EMLINK;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
    case kDiskQuotaExceeded:  // The runtime has no EDQUOT.
    case kDiskResourcesExhausted:
      return ENOSPC;
    case ERROR_FILE_TOO_LARGE:
      return EFBIG;
    case ERROR_WRITE_PROTECT:
      return EROFS;
    case ERROR_FILENAME_EXCED_RANGE:
    case ERROR_BUFFER_OVERFLOW:
      return ENAMETOOLONG;
    case ERROR_TOO_MANY_OPEN_FILES:
      return EMFILE;
    case ERROR_SHARING_BUFFER_EXCEEDED:
      return ENFILE;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
    case ERROR_NOT_ENOUGH_QUOTA:  // Of the system's memory.
    case ERROR_NO_SYSTEM_RESOURCES:
    case ERROR_COMMITMENT_LIMIT:
      return ENOMEM;
    case ERROR_INVALID_NAME:
    case ERROR_INVALID_PARAMETER:
    case ERROR_INVALID_FUNCTION:
    case ERROR_NEGATIVE_SEEK:
      return EINVAL;
    case ERROR_INVALID_HANDLE:
      return EBADF;
    case ERROR_BROKEN_PIPE:
    case ERROR_NO_DATA:
      return EPIPE;
    case ERROR_SEM_TIMEOUT:
      return ETIMEDOUT;
    case ERROR_OPERATION_ABORTED:
      return ECANCELED;
    case ERROR_NOT_SUPPORTED:
      return ENOTSUP;
    case ERROR_CALL_NOT_IMPLEMENTED:
      return ENOSYS;
    case ERROR_NO_UNICODE_TRANSLATION:
      return EILSEQ;
    default:
      return EIO;
  }
}
