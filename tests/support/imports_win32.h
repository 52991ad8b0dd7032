#pragma once

#include <windows.h>

#include <cstddef>

/// Puts functions of a test in the place of those that a module imports: what interposing symbols
/// is elsewhere.
namespace imports {

struct Replacement {
  const char* name;
  ULONG_PTR function;
  void* before;  // A pointer to where the first function found goes.
};

template <class Function>
Replacement Replace(const char* pszName, Function* function, Function** pBefore) {
  return {pszName, reinterpret_cast<ULONG_PTR>(function), static_cast<void*>(pBefore)};
}

/// Replaces them in what a module imports by name, of whatever DLL.
void ReplaceIn(HMODULE module, const Replacement* pFirst, size_t nCount);

/// The library: its DLL, or the program, where it is a part of that.
HMODULE LibraryModule();

}  // namespace imports
