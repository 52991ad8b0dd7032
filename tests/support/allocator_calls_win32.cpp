// Puts the calls of failing_allocator.h in the place of the system's: those that this program, the
// library and the C++ runtime import. What others allocate, the C runtime itself among them, never
// fails.
#include <windows.h>

#include <cstddef>
#include <cstring>
#include <initializer_list>

#include "tests/support/failing_allocator.h"

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

struct Replacement {
  const char* name;
  ULONG_PTR function;
  void* before;  // A pointer to where the first call found goes.
};

template <class Function>
Replacement Replace(const char* pszName, Function* function, Function** pBefore) {
  return {pszName, reinterpret_cast<ULONG_PTR>(function), static_cast<void*>(pBefore)};
}

const Replacement kReplacements[] = {
    Replace("malloc", &Malloc, &s_malloc),
    Replace("calloc", &Calloc, &s_calloc),
    Replace("realloc", &Realloc, &s_realloc),
    Replace("_aligned_malloc", &AlignedMalloc, &s_alignedMalloc),
    Replace("VirtualAlloc", &Reserve, &s_virtualAlloc),
};

const Replacement* FindReplacement(const char* pszName) {
  for (const Replacement& replacement : kReplacements) {
    if (std::strcmp(replacement.name, pszName) == 0) return &replacement;
  }
  return nullptr;
}

template <class T>
T* At(char* pBase, DWORD nOffset) {
  return reinterpret_cast<T*>(pBase + nOffset);
}

void ReplaceIn(HMODULE module) {
  auto* const base = reinterpret_cast<char*>(module);
  const auto* const dos = At<IMAGE_DOS_HEADER>(base, 0);
  const auto* const nt = At<IMAGE_NT_HEADERS>(base, static_cast<DWORD>(dos->e_lfanew));
  const auto& table = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  if (table.Size == 0) return;
  for (auto* dll = At<IMAGE_IMPORT_DESCRIPTOR>(base, table.VirtualAddress); dll->Name != 0; ++dll) {
    auto* name = At<IMAGE_THUNK_DATA>(base, dll->OriginalFirstThunk);
    auto* call = At<IMAGE_THUNK_DATA>(base, dll->FirstThunk);
    for (; name->u1.AddressOfData != 0; ++name, ++call) {
      if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
      const auto* const import =
          At<IMAGE_IMPORT_BY_NAME>(base, static_cast<DWORD>(name->u1.AddressOfData));
      const Replacement* const found = FindReplacement(reinterpret_cast<const char*>(import->Name));
      if (found == nullptr || call->u1.Function == found->function) continue;
      const ULONG_PTR before = call->u1.Function;
      ULONG_PTR known = 0;
      std::memcpy(&known, found->before, sizeof known);
      if (known == 0) std::memcpy(found->before, &before, sizeof before);
      DWORD protection = 0;
      VirtualProtect(&call->u1.Function, sizeof call->u1.Function, PAGE_READWRITE, &protection);
      call->u1.Function = found->function;
      VirtualProtect(&call->u1.Function, sizeof call->u1.Function, protection, &protection);
    }
  }
}

}  // namespace

void failing_allocator::Install() {
  ReplaceIn(GetModuleHandleW(nullptr));
  for (const wchar_t* name : {L"ztkbase-1.dll", L"libstdc++-6.dll"}) {
    if (const HMODULE module = GetModuleHandleW(name)) ReplaceIn(module);
  }
}
