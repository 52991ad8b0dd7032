#pragma once

#include <windows.h>

#include <string>

// What the system's loader does for modules.

/// The path of a module of the process, null being the program; "" when the system does not tell.
/// Throws std::bad_alloc.
std::wstring PathOfModule(HMODULE hModule);

/// The folder that it lies in, with the `\` behind it.
std::wstring FolderOfModule(HMODULE hModule);

/// The DLL or program that this code is part of.
HMODULE OwnModule() noexcept;

/// Whether there is a file under a full path. Throws std::bad_alloc.
bool ModuleExists(const std::wstring& path);

/// Loads the file under a full path, and what it depends on from beside it or the system's own
/// folder: never along the search path, and without boxes that tell the user what is missing. Null
/// on failure, with the system's words in `reason`. Throws std::bad_alloc.
HMODULE LoadModule(const std::wstring& path, std::string& reason);
