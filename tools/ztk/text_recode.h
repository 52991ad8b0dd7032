#pragma once

#include <cstdint>

#include "tools/ztk/input.h"
#include "tools/ztk/spool.h"

/// Copies a text without a mark as UTF-8 with one; of its lines, those that are no UTF-8 are
/// Windows-1252. For systems where the library reads such a text in another code page. The number
/// of bytes read.
uint64_t CopyAsUtf8(Input& text, Spool& copy);
