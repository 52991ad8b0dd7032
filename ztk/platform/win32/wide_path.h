#pragma once

#include <windows.h>

#include "ztk/platform/win32/wide_text.h"

/// A path in the form that calls of the system take: absolute, and behind \\?\ where it is too long
/// to do without. Empty, with the last error set, when there is none.
class WidePath {
 public:
  enum Use {
    kAny,
    kNewName,  // Also empty for a name that XPKeepsName refuses; ERROR_INVALID_NAME.
  };
  explicit WidePath(const char* pszPath, Use use = kAny) noexcept;

  bool IsValid() const noexcept { return m_text != nullptr; }
  const wchar_t* Get() const noexcept { return m_text.get(); }
  /// Whether it is a device, and no file: NUL, COM1, a pipe.
  bool IsDevice() const noexcept;
  bool IsPipe() const noexcept;

 private:
  WideText m_text;
};

/// The full path of a path; one behind \\?\ is taken as it is. Null, with the last error set, when
/// there is none.
WideText FullPathOf(const wchar_t* pszPath) noexcept;

/// Puts \\?\ or \\?\UNC\ in front of a full path from 248 units on, where folders end without.
/// Paths that begin with \\?\ or \\.\ stay. Null for null and without memory.
WideText WithPrefix(WideText fullPath) noexcept;

/// A full path without that prefix, where what is left means the same.
const wchar_t* WithoutPrefix(wchar_t* pszFullPath) noexcept;

/// Whether the system keeps the last component of `pszPath`, of which it made `pszFull`.
bool KeepsName(const wchar_t* pszPath, const wchar_t* pszFull) noexcept;

/// The number of errno for an error of the system.
int ErrnoOf(DWORD nError) noexcept;

/// Whether an error says that nothing has a path.
inline bool IsMissing(DWORD nError) noexcept {
  return nError == ERROR_FILE_NOT_FOUND || nError == ERROR_PATH_NOT_FOUND ||
         nError == ERROR_INVALID_NAME || nError == ERROR_INVALID_DRIVE ||
         nError == ERROR_BAD_PATHNAME || nError == ERROR_DIRECTORY;
}
