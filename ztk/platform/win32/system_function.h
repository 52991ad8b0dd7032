#pragma once

#include <windows.h>

#include <cstring>

/// The address of what a module exports, as a pointer to a function or as `void*`; null when there
/// is no module or nothing of that name.
template <class Pointer>
Pointer FunctionOf(HMODULE hModule, const char* pszName) noexcept {
  const FARPROC address = hModule != nullptr ? GetProcAddress(hModule, pszName) : nullptr;
  Pointer pointer = nullptr;
  static_assert(sizeof pointer == sizeof address);
  std::memcpy(&pointer, &address, sizeof pointer);
  return pointer;
}

/// A function that not every version of the system has, or not every compiler's headers; null
/// without it. The module is one that every process has.
template <class Function>
Function SystemFunction(const wchar_t* pszModule, const char* pszName) noexcept {
  return FunctionOf<Function>(GetModuleHandleW(pszModule), pszName);
}

/// A function of a library of the system, which is loaded from the system's folder and stays.
template <class Function>
Function LoadSystemFunction(const wchar_t* pszLibrary, const char* pszName) noexcept {
  HMODULE library = nullptr;
  // Kept also where others have loaded it, who may free it while its function runs.
  if (GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN, pszLibrary, &library) == 0) {
    library = LoadLibraryExW(pszLibrary, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
  }
  return FunctionOf<Function>(library, pszName);
}
