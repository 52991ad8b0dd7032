#pragma once

/// The lower- and upper-case forms of the bytes 0 to 255 under the current locale, as `tolower` and
/// `toupper` give them; valid until the locale changes. Not installed, nothing for applications.
const int* XPLowerTable() noexcept;
const int* XPUpperTable() noexcept;
