#pragma once

#include <windows.h>

#include <cstddef>
#include <memory>

#include "ztk/foundation/string.h"

// Texts of the body are UTF-8, those of the system UTF-16. What cannot be converted is refused,
// never replaced.

/// UTF-16 that ends in a 0; null for none.
using WideText = std::unique_ptr<wchar_t[]>;

/// Null, with the system's last error set, for ill-formed UTF-8 and without memory.
WideText ToWide(const char* psz) noexcept;

/// The same way back; false, with `text` as it was, for a lone surrogate and without memory.
bool ToUtf8(const wchar_t* psz, ZTKString& text) noexcept;

/// The text that `fill(buffer, units)` gives in the way of many calls of the system: the length of
/// what it wrote, the size that it needs where that is not less than `units`, or 0 on failure.
template <class Fill>
WideText MakeWide(Fill fill) noexcept {
  DWORD units = MAX_PATH;
  for (;;) {
    WideText text(new (std::nothrow) wchar_t[units]);
    if (text == nullptr) {
      SetLastError(ERROR_NOT_ENOUGH_MEMORY);
      return nullptr;
    }
    const DWORD length = fill(text.get(), units);
    if (length == 0) return nullptr;
    if (length < units) return text;
    units = length + 1;
  }
}

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

/// Puts \\?\ or \\?\UNC\ in front of a full path from 248 units on, where folders end without.
/// Paths that begin with \\?\ or \\.\ stay. Null without memory.
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
