#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

#include "ztk/platform/win32/wide_path.h"

// What every source here needs that works on open files.

/// A handle that is closed with its object; INVALID_HANDLE_VALUE for none.
class FileHandle {
 public:
  explicit FileHandle(HANDLE hFile = INVALID_HANDLE_VALUE) noexcept : m_handle(hFile) {}
  ~FileHandle() {
    if (IsOpen()) CloseHandle(m_handle);
  }
  FileHandle(FileHandle&& other) noexcept : m_handle(other.Release()) {}
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;

  bool IsOpen() const noexcept { return m_handle != INVALID_HANDLE_VALUE; }
  HANDLE Get() const noexcept { return m_handle; }
  HANDLE Release() noexcept {
    const HANDLE handle = m_handle;
    m_handle = INVALID_HANDLE_VALUE;
    return handle;
  }

 private:
  HANDLE m_handle;
};

/// Others may go on to read, write, rename and delete what is open here.
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// Opens what there is, a folder too, for a question or a change that is not about content. With
/// FILE_FLAG_OPEN_REPARSE_POINT in `nFlags`, of a link the link itself.
inline FileHandle OpenExisting(const WidePath& path, DWORD nAccess, DWORD nFlags = 0) noexcept {
  if (!path.IsValid()) return FileHandle();
  return FileHandle(CreateFileW(path.Get(), nAccess, kShareAll, nullptr, OPEN_EXISTING,
                                nFlags | FILE_FLAG_BACKUP_SEMANTICS, nullptr));
}

/// The attributes of a path itself, also of one that somebody has open for himself alone, and the
/// tag of a reparse point, 0 for none. False, with the last error set, when they cannot be had.
struct PathAttributes {
  DWORD attributes = 0;
  DWORD tag = 0;
  bool IsFolder() const noexcept { return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }
  /// Whether it stands for something else, as links do. A file that is in a cloud does not.
  bool IsLink() const noexcept { return (tag & 0x20000000) != 0; }
};
bool GetPathAttributes(const WidePath& path, PathAttributes& result) noexcept;
