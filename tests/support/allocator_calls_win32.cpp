// Puts the calls of failing_allocator.h in the place of the system's: those that this program, the
// library and the C++ runtime import. What others allocate, the C runtime itself among them, never
// fails.
#include <windows.h>

#include <cstddef>
#include <initializer_list>
#include <iterator>

#include "tests/support/failing_allocator.h"
#include "tests/support/imports_win32.h"

namespace {

using failing_allocator::MustFailNow;

// What was called before, as the imports had it.
void* (*s_malloc)(size_t) = nullptr;
void* (*s_calloc)(size_t, size_t) = nullptr;
void* (*s_realloc)(void*, size_t) = nullptr;
void* (*s_alignedMalloc)(size_t, size_t) = nullptr;
LPVOID(WINAPI* s_virtualAlloc)(LPVOID, SIZE_T, DWORD, DWORD) = nullptr;

void* Malloc(size_t size) { return MustFailNow() ? nullptr : s_malloc(size); }
void* Calloc(size_t count, size_t size) { return MustFailNow() ? nullptr : s_calloc(count, size); }
void* Realloc(void* block, size_t size) { return MustFailNow() ? nullptr : s_realloc(block, size); }
void* AlignedMalloc(size_t size, size_t alignment) {
  return MustFailNow() ? nullptr : s_alignedMalloc(size, alignment);
}
LPVOID WINAPI Reserve(LPVOID at, SIZE_T size, DWORD type, DWORD protection) {
  // One at a place of the caller's choice is the second half of an aligned one.
  const bool isFirst = at == nullptr && (type & MEM_RESERVE) != 0;
  return isFirst && MustFailNow() ? nullptr : s_virtualAlloc(at, size, type, protection);
}

const imports::Replacement kReplacements[] = {
    imports::Replace("malloc", &Malloc, &s_malloc),
    imports::Replace("calloc", &Calloc, &s_calloc),
    imports::Replace("realloc", &Realloc, &s_realloc),
    imports::Replace("_aligned_malloc", &AlignedMalloc, &s_alignedMalloc),
    imports::Replace("VirtualAlloc", &Reserve, &s_virtualAlloc),
};

}  // namespace

void failing_allocator::Install() {
  for (const wchar_t* const name :
       {static_cast<const wchar_t*>(nullptr), L"ztkbase-1.dll", L"libstdc++-6.dll"}) {
    const HMODULE module = GetModuleHandleW(name);
    if (module != nullptr) imports::ReplaceIn(module, kReplacements, std::size(kReplacements));
  }
}
