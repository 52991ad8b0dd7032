#include "tests/support/imports_win32.h"

#include <algorithm>
#include <cstring>

namespace {

template <class T>
T* At(char* pBase, DWORD nOffset) {
  return reinterpret_cast<T*>(pBase + nOffset);
}

void Put(IMAGE_THUNK_DATA& call, const imports::Replacement& replacement) {
  const ULONG_PTR before = call.u1.Function;
  if (before == replacement.function) return;
  ULONG_PTR known = 0;
  std::memcpy(&known, replacement.before, sizeof known);
  if (known == 0) std::memcpy(replacement.before, &before, sizeof before);
  DWORD protection = 0;
  VirtualProtect(&call.u1.Function, sizeof call.u1.Function, PAGE_READWRITE, &protection);
  call.u1.Function = replacement.function;
  VirtualProtect(&call.u1.Function, sizeof call.u1.Function, protection, &protection);
}

}  // namespace

void imports::ReplaceIn(HMODULE module, const Replacement* pFirst, size_t nCount) {
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
      const auto* const text = reinterpret_cast<const char*>(import->Name);
      const Replacement* const found = std::find_if(
          pFirst, pFirst + nCount,
          [=](const Replacement& replacement) { return std::strcmp(replacement.name, text) == 0; });
      if (found != pFirst + nCount) Put(*call, *found);
    }
  }
}

HMODULE imports::LibraryModule() {
  const HMODULE dll = GetModuleHandleW(L"ztkbase-1.dll");
  return dll != nullptr ? dll : GetModuleHandleW(nullptr);
}
