#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Between UTF-8, as everywhere in the library, and the UTF-16 of the system.

/// The text in UTF-8 with a NUL behind it. Its length; 0 when it does not fit or is ill-formed.
size_t Utf8Of(std::wstring_view wide, char* pBuffer, size_t nSize) noexcept;

/// The text in UTF-8, with U+FFFD in place of what is ill-formed: for texts to be read. Throws
/// std::bad_alloc.
std::string Utf8Of(std::wstring_view wide);

/// False for ill-formed UTF-8, which names nothing. Throws std::bad_alloc.
bool WideOf(std::string_view utf8, std::wstring& wide);
