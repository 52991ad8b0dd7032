#include "ztk/file/internal/file_lock_xp.h"

#include <cstdint>

#include "ztk/file/internal/file_system_xp.h"
#include "ztk/platform/win32/file_handle.h"

namespace {

HANDLE HandleOf(std::intptr_t nHandle) noexcept { return reinterpret_cast<HANDLE>(nHandle); }

// Locks keep others from reading and writing what is locked: one byte where no content ever is.
OVERLAPPED LockedByte() noexcept {
  OVERLAPPED where = {};
  where.Offset = 0xFFFFFFFE;
  where.OffsetHigh = 0x7FFFFFFF;
  return where;
}

FileHandle OpenLock(const WidePath& path, DWORD nAccess, DWORD nDisposition) noexcept {
  return FileHandle(CreateFileW(path.Get(), nAccess, kShareAll, nullptr, nDisposition,
                                FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
}

}  // namespace

std::intptr_t XPOpenLockFile(const char* pszPath, const char* pszModel) noexcept {
  const WidePath path(pszPath, WidePath::kNewName);
  if (!path.IsValid() || path.IsDevice()) return -1;
  FileHandle lock = OpenLock(path, GENERIC_READ | GENERIC_WRITE, CREATE_NEW);
  if (lock.IsOpen()) {
    if (XPGetFileKind(pszModel) == XPFileKind::kRegular) XPCopyPermissions(pszModel, pszPath);
    return reinterpret_cast<std::intptr_t>(lock.Release());
  }
  FileHandle old = OpenLock(path, GENERIC_READ, OPEN_EXISTING);
  BY_HANDLE_FILE_INFORMATION info;
  if (!old.IsOpen() || GetFileInformationByHandle(old.Get(), &info) == 0) return -1;
  constexpr DWORD kNoFile = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
  if ((info.dwFileAttributes & kNoFile) != 0) return -1;
  return reinterpret_cast<std::intptr_t>(old.Release());
}

ZTKFileLock::State XPTryLock(std::intptr_t nHandle) noexcept {
  OVERLAPPED where = LockedByte();
  constexpr DWORD kHow = LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY;
  if (LockFileEx(HandleOf(nHandle), kHow, 0, 1, 0, &where) != 0) return ZTKFileLock::kHeld;
  switch (GetLastError()) {
    case ERROR_LOCK_VIOLATION:
    case ERROR_IO_PENDING:
      return ZTKFileLock::kBusy;
    case ERROR_INVALID_FUNCTION:
    case ERROR_NOT_SUPPORTED:
    case ERROR_CALL_NOT_IMPLEMENTED:
      return ZTKFileLock::kNoLocks;
    default:
      return ZTKFileLock::kFailed;
  }
}

bool XPIsUnlinked(std::intptr_t nHandle) noexcept {
  FILE_STANDARD_INFO info;
  return GetFileInformationByHandleEx(HandleOf(nHandle), FileStandardInfo, &info, sizeof info) !=
             0 &&
         (info.DeletePending != 0 || info.NumberOfLinks == 0);
}

void XPUnlock(std::intptr_t nHandle) noexcept {
  OVERLAPPED where = LockedByte();
  UnlockFileEx(HandleOf(nHandle), 0, 1, 0, &where);
}

void XPCloseLockFile(std::intptr_t nHandle) noexcept { CloseHandle(HandleOf(nHandle)); }
