#pragma once

// What asks a platform layer about characters; not installed, nothing for applications.

enum class ZTKSystemCodeSet {
  kAscii,  // As in the plain "C" locale.
  kUtf8,
  kOther,  // Another, which the C library converts.
};

/// The code set of the current locale.
ZTKSystemCodeSet XPSystemCodeSet() noexcept;

/// What `tolower` and `toupper` give in the current locale, at an index from -128 to 255: a byte
/// may be looked up as an `unsigned char` or as it stands in a `char`, where -1 is the C library's
/// end-of-file and stays what it is. Valid until the locale changes.
const int* XPLowerTable() noexcept;
const int* XPUpperTable() noexcept;

/// True when two texts are equal with every `char` looked up in the lower-case table as it stands.
/// It may be false for such texts as well, where the system's own comparison does not serve.
bool XPAreSameInLowerCase(const char* pszA, const char* pszB) noexcept;
