#pragma once

#include <cstddef>

#include "ztk/platform/win32/wide_path.h"

/// What a symbolic link or a junction says, from the data of its reparse point: as it was written
/// where the link has that, else without the prefix of the kernel's paths. Null for other reparse
/// points, damaged data and without memory.
WideText TargetOfLink(const char* pData, size_t nSize) noexcept;
