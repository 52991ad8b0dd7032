// Renaming, replacing and removing. Scanners and indexers open what has just been written, for a
// moment: what they are in the way of is tried again. What is read-only stays: nobody may change
// it.
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>

#include "ztk/file/internal/file_system_xp.h"
#include "ztk/file/internal/path_limits.h"
#include "ztk/platform/win32/file_handle.h"

namespace {

// Of Windows 10; the names depend on the headers.
constexpr auto kDispositionEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(21);
constexpr auto kRenameEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(22);
struct DispositionEx {
  DWORD flags;
};
struct RenameEx {
  DWORD flags;
  HANDLE folder;
  DWORD size;  // In bytes.
  wchar_t name[1];
};
constexpr DWORD kDelete = 1;
constexpr DWORD kReplace = 1;
constexpr DWORD kPosix = 2;  // At once, also when somebody has the file open.

bool IsUnsupported(DWORD nError) noexcept {
  return nError == ERROR_INVALID_FUNCTION || nError == ERROR_NOT_SUPPORTED ||
         nError == ERROR_INVALID_PARAMETER;
}

bool IsPassing(DWORD nError) noexcept {
  return nError == ERROR_ACCESS_DENIED || nError == ERROR_SHARING_VIOLATION ||
         nError == ERROR_LOCK_VIOLATION || nError == ERROR_DELETE_PENDING ||
         nError == ERROR_USER_MAPPED_FILE;
}

// The result of a call that is true on success, tried for a third of a second.
template <class Call>
bool Retried(Call call) noexcept {
  constexpr DWORD kLastPauseMs = 160;
  for (DWORD pauseMs = 10;; pauseMs *= 2) {
    if (call()) return true;
    if (pauseMs > kLastPauseMs || !IsPassing(GetLastError())) return false;
    Sleep(pauseMs);
  }
}

bool RenameAtOnce(const WidePath& from, const wchar_t* pszTo, DWORD nFlags) noexcept {
  const FileHandle file = OpenExisting(from, DELETE | SYNCHRONIZE, FILE_FLAG_OPEN_REPARSE_POINT);
  if (!file.IsOpen()) return false;
  const size_t length = std::wcslen(pszTo);
  const size_t size = sizeof(RenameEx) + length * sizeof(wchar_t);
  const std::unique_ptr<char[]> block(new (std::nothrow) char[size]());
  if (block == nullptr) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return false;
  }
  auto* const rename = new (block.get()) RenameEx{nFlags, nullptr, 0, {}};
  rename->size = static_cast<DWORD>(length * sizeof(wchar_t));
  std::memcpy(block.get() + offsetof(RenameEx, name), pszTo, rename->size);
  return SetFileInformationByHandle(file.Get(), kRenameEx, rename, static_cast<DWORD>(size)) != 0;
}

bool Replace(const WidePath& from, const WidePath& to) noexcept {
  if (RenameAtOnce(from, to.Get(), kReplace | kPosix)) return true;
  return IsUnsupported(GetLastError()) &&
         MoveFileExW(from.Get(), to.Get(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
}

bool DeleteAtOnce(const WidePath& path) noexcept {
  const FileHandle file = OpenExisting(path, DELETE | SYNCHRONIZE, FILE_FLAG_OPEN_REPARSE_POINT);
  DispositionEx disposition = {kDelete | kPosix};
  return file.IsOpen() && SetFileInformationByHandle(file.Get(), kDispositionEx, &disposition,
                                                     sizeof disposition) != 0;
}

// The name of a deleted file stays until everybody has closed it, on older systems: the file goes
// by another name then.
bool DeleteAside(const WidePath& path) noexcept {
  static std::atomic<unsigned int> s_count{0};
  const wchar_t* const name = path.Get();
  const size_t folder = static_cast<size_t>(std::wcsrchr(name, L'\\') - name) + 1;
  constexpr size_t kName = 40;
  const std::unique_ptr<wchar_t[]> aside(new (std::nothrow) wchar_t[folder + kName]);
  if (aside == nullptr) return DeleteFileW(name) != 0;
  std::wmemcpy(aside.get(), name, folder);
  std::swprintf(aside.get() + folder, kName, L"~ztk%lx-%lx-%x.tmp", GetCurrentProcessId(),
                GetTickCount(), s_count++);
  if (MoveFileExW(name, aside.get(), 0) == 0) return DeleteFileW(name) != 0;
  if (DeleteFileW(aside.get()) != 0) return true;
  const DWORD error = GetLastError();
  if (MoveFileExW(aside.get(), name, 0) != 0) {
    SetLastError(error);
    return false;
  }
  // It has lost its name for good, whatever becomes of what is left.
  Retried([&] { return DeleteFileW(aside.get()) != 0; });
  return true;
}

class Locked {
 public:
  explicit Locked(SRWLOCK& lock) noexcept : m_lock(lock) { AcquireSRWLockExclusive(&m_lock); }
  ~Locked() { ReleaseSRWLockExclusive(&m_lock); }
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;

 private:
  SRWLOCK& m_lock;
};

// Without memory, in one try: a file that was not saved must not stay.
bool DeleteInFixedSpace(const char* pszPath) noexcept {
  constexpr DWORD kPrefix = 4;
  constexpr DWORD kUnits = ZTKPathLimit::kSystemPath + 1;
  // Too large for a stack: threads take turns.
  static wchar_t s_given[kUnits];
  static wchar_t s_path[kPrefix + kUnits];
  static SRWLOCK s_lock = SRWLOCK_INIT;
  const Locked turn(s_lock);
  wchar_t* const full = s_path + kPrefix;
  if (MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, pszPath, -1, s_given, kUnits) == 0) {
    return false;
  }
  const DWORD length = GetFullPathNameW(s_given, kUnits, full, nullptr);
  if (length == 0 || length >= kUnits) return false;
  // Long ones on a drive are put behind the prefix; those on a share have not the room.
  const bool isOnDrive = length > 2 && full[1] == L':';
  if (!isOnDrive) return std::wcsncmp(full, L"\\\\.\\", 4) != 0 && DeleteFileW(full) != 0;
  std::wmemcpy(s_path, L"\\\\?\\", kPrefix);
  return DeleteFileW(s_path) != 0;
}

}  // namespace

bool XPRename(const char* pszFrom, const char* pszTo) noexcept {
  const WidePath from(pszFrom);
  const WidePath to(pszTo, WidePath::kNewName);
  if (!from.IsValid() || !to.IsValid() || to.IsDevice()) return false;
  PathAttributes target;
  const bool exists = GetPathAttributes(to, target);
  if (exists && (target.attributes & FILE_ATTRIBUTE_READONLY) != 0 && !target.IsFolder()) {
    return false;
  }
  // What a folder is in the way of does not pass.
  if (exists && target.IsFolder()) return Replace(from, to);
  return Retried([&] { return Replace(from, to); });
}

bool XPRenameToNew(const char* pszFrom, const char* pszTo) noexcept {
  const WidePath from(pszFrom);
  const WidePath to(pszTo, WidePath::kNewName);
  if (!from.IsValid() || !to.IsValid() || to.IsDevice()) return false;
  PathAttributes target;
  if (GetPathAttributes(to, target)) return false;
  return Retried([&] { return MoveFileExW(from.Get(), to.Get(), MOVEFILE_WRITE_THROUGH) != 0; });
}

bool XPRemove(const char* pszPath) noexcept {
  const WidePath path(pszPath);
  if (!path.IsValid() && GetLastError() == ERROR_NOT_ENOUGH_MEMORY) {
    return DeleteInFixedSpace(pszPath);
  }
  PathAttributes own;
  if (!GetPathAttributes(path, own) || path.IsDevice()) return false;
  if (own.IsFolder()) return RemoveDirectoryW(path.Get()) != 0;
  if ((own.attributes & FILE_ATTRIBUTE_READONLY) != 0) return false;
  return Retried([&] {
    if (DeleteAtOnce(path)) return true;
    return IsUnsupported(GetLastError()) && DeleteAside(path);
  });
}
