#pragma once

#include <limits>
#include <string>

#include "ztk/foundation/string.h"

/// A count that no string has room for.
inline constexpr unsigned long kHuge = std::numeric_limits<unsigned long>::max();

/// The text, for comparing and printing.
inline std::string Std(const ZTKString& text) { return text.c_str(); }
