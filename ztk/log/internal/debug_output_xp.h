#pragma once

// What debug output asks of a platform layer; not installed, nothing for applications.

#include <cstddef>

/// Writes a line, its line feed included, to the standard error stream, and to wherever else the
/// system collects what programs say to their developers. The NUL behind it is not counted.
void XPWriteDebugLine(const char* pszLine, size_t nLength) noexcept;
