#pragma once

// What asks a platform layer about characters; not installed, nothing for applications.

#include <climits>
#include <cstddef>
#include <cwchar>

enum class ZTKSystemCodeSet {
  kAscii,  // As in the plain "C" locale.
  kUtf8,
  kOther,  // Another, which the system converts.
};

/// The code set of the current locale.
ZTKSystemCodeSet XPSystemCodeSet() noexcept;

// Conversions of the system's code set where it is `kOther`. The state of a text is zeros at its
// start.

/// Whether the whole text, up to its NUL, is valid.
bool XPIsValidText(const char* psz) noexcept;
/// Decodes what `pText` starts with; the text is valid, and this is not its NUL. The number of
/// bytes, or 0 when that is no character.
size_t XPDecode(const char* pText, std::mbstate_t& state, char32_t& codePoint) noexcept;
/// Encodes a code point, which is no surrogate, into the MB_LEN_MAX bytes at `pTarget`. The number
/// of bytes, or 0 and the same state when the code set has no such character.
size_t XPEncode(char32_t codePoint, std::mbstate_t& state, char* pTarget) noexcept;

/// The last `ch` among the `nCount` characters at `pText`; null without one.
const char* XPFindLast(const char* pText, char ch, size_t nCount) noexcept;

/// Whether the current locale writes numbers with a '.' before the fraction.
bool XPHasPointInNumbers() noexcept;

/// What `tolower` and `toupper` give in the current locale, at an index from -128 to 255: a byte
/// may be looked up as an `unsigned char` or as it stands in a `char`, where -1 is the C library's
/// end-of-file and stays what it is. Valid until the locale changes.
const int* XPLowerTable() noexcept;
const int* XPUpperTable() noexcept;

/// True when two texts are equal with every `char` looked up in the lower-case table as it stands.
/// It may be false for such texts as well, where the system's own comparison does not serve.
bool XPAreSameInLowerCase(const char* pszA, const char* pszB) noexcept;
