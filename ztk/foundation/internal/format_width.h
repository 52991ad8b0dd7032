#pragma once

#include <cstdarg>

/// Whether a format, with its arguments, asks for a field, or for digits of a number, beyond the
/// greatest length of a string: the C library would spend seconds and gigabytes on what nobody can
/// have. The precision of a text is a limit and asks for nothing.
///
/// It reads the first 256 arguments and stops at a conversion that it does not know. Not installed.
bool ZTKFormatIsTooWide(const char* pszFormat, va_list args) noexcept;
