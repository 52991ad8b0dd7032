#pragma once

#include <string>

#include "ztk/foundation/string.h"

// What modules ask the platform layer for. Internal to the library.

/// Loads the library of this name from the folder of the program, never along a search path. Null
/// on failure, with the loader's own words in `reason` where it has any. Throws std::bad_alloc.
void* XPLoadModule(const ZTKString& name, std::string& reason);
