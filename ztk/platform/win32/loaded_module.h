#pragma once

#include <windows.h>

#include <string>
#include <string_view>

// What the system's loader does for modules.

/// The path of a module of the process, null being the program; "" when the system does not tell.
/// Throws std::bad_alloc.
std::wstring PathOfModule(HMODULE hModule);

/// The folder in it, with the `\` behind it.
std::wstring FolderOfModule(HMODULE hModule);

/// The DLL or program that this code is part of.
HMODULE OwnModule() noexcept;

/// Loads the file under a full path, and what it depends on from beside it or the system's own
/// folder: never along the search path, and without boxes that tell the user what is missing. Null
/// on failure, with the system's words in `reason`. Throws std::bad_alloc.
HMODULE LoadModule(const std::wstring& path, std::string& reason);
