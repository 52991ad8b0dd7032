#pragma once

#include <windows.h>

#include <cstring>

/// A function that not every version of the system has, or not every compiler's headers; null
/// without it. The module is one that every process has.
template <class Function>
Function SystemFunction(const wchar_t* pszModule, const char* pszName) noexcept {
  const HMODULE module = GetModuleHandleW(pszModule);
  const FARPROC address = module != nullptr ? GetProcAddress(module, pszName) : nullptr;
  Function function = nullptr;
  static_assert(sizeof function == sizeof address);
  std::memcpy(&function, &address, sizeof function);
  return function;
}
