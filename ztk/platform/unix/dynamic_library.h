#pragma once

#include <string>
#include <string_view>

#include "ztk/foundation/string.h"

// What the system's loader does for modules, in whatever form a layer finds them.

/// The path of the running program, links resolved; "" when the system does not tell.
std::string XPProgramPath();

/// Opens the shared object under a path, never along a search path. Null on failure, with the
/// loader's own words in `reason`.
void* XPOpenLibrary(const std::string& path, std::string& reason);

/// The address of a function that the library itself exports, or null. Functions of the libraries
/// that it depends on are not found: a plug-in without an "init_module" of its own must not run the
/// C library's.
void* XPFindFunction(void* pLibrary, const char* pszName) noexcept;

/// Whether a shared object whose file name begins so is part of the process.
bool XPIsLibraryLoaded(std::string_view prefix) noexcept;

/// The folder of this library, "" when the system does not tell; and whether the library is part of
/// the program, linked statically. Never a relative path, which would follow the working directory.
ZTKString XPOwnFolder(bool& inProgram) noexcept;

/// Gives back what XPOpenLibrary gave; the library goes with the last of them.
void XPCloseLibrary(void* pLibrary) noexcept;
