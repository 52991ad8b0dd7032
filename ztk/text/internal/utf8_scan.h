#pragma once

#include <cstddef>

/// What one pass over bytes finds. Not installed.
struct ZTKBytesFound {
  bool hasNul = false;
  bool hasHigh = false;  // A byte above 0x7F.
  bool isUtf8 = true;    // Well formed; NULs are characters like others.
};

/// Looks through the bytes `[pStart, pEnd)`. Not installed.
ZTKBytesFound ZTKScanBytes(const char* pStart, const char* pEnd) noexcept;

/// How many bytes at the end of `[pStart, pEnd)`, 3 at most, open a character that goes on behind
/// them, or would if it were well formed. Not installed.
size_t ZTKOpenBytes(const char* pStart, const char* pEnd) noexcept;
