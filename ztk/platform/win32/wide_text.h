#pragma once

#include <windows.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "ztk/foundation/string.h"

// Texts of the body are UTF-8, those of the system UTF-16. What cannot be converted is refused,
// never replaced, except where it says so. Without memory the system's last error is
// ERROR_NOT_ENOUGH_MEMORY, for ill-formed text ERROR_NO_UNICODE_TRANSLATION.

/// UTF-16 that ends in a 0; null for none.
using WideText = std::unique_ptr<wchar_t[]>;

/// Room for a text, its 0 included. Null without memory.
WideText NewWideText(size_t nUnits) noexcept;
WideText CopyOf(const wchar_t* psz) noexcept;

/// Null, with the last error set, for ill-formed UTF-8 and without memory.
WideText ToWide(const char* psz) noexcept;

/// The same way back; false, with `text` as it was, for a lone surrogate and without memory.
bool ToUtf8(const wchar_t* psz, ZTKString& text) noexcept;

/// The same into `nSize` bytes, at least 1, with a NUL. The length; 0 when it does not fit or is
/// ill-formed.
size_t ToUtf8(std::wstring_view wide, char* pBuffer, size_t nSize) noexcept;

/// For people to read: with U+FFFD in place of what is ill-formed. Throws std::bad_alloc.
std::string ToReadableUtf8(std::wstring_view wide);

/// The text that `fill(buffer, units)` gives in the way of many calls of the system: the length of
/// what it wrote, the size that it needs where that is not less than `units`, or 0 on failure.
template <class Fill>
WideText MakeWide(Fill fill) noexcept {
  DWORD units = MAX_PATH;
  for (;;) {
    WideText text = NewWideText(units);
    if (text == nullptr) return nullptr;
    const DWORD length = fill(text.get(), units);
    if (length == 0) return nullptr;
    if (length < units) return text;
    units = length + 1;
  }
}
