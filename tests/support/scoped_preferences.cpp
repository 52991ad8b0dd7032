#include "tests/support/scoped_preferences.h"

#ifdef _WIN32

#include <windows.h>

#include <objbase.h>

#include <cstring>

namespace {

// The folder of the scope; empty for that of the user.
std::wstring s_folder;
decltype(&GetProcAddress) s_getProcAddress = nullptr;
FARPROC s_getKnownFolder = nullptr;

using GetKnownFolder = HRESULT WINAPI(const GUID*, DWORD, HANDLE, wchar_t**);

HRESULT WINAPI FolderOfTheScope(const GUID* id, DWORD flags, HANDLE token, wchar_t** path) {
  constexpr unsigned long kRoamingAppData = 0x3EB685DB;
  if (id->Data1 != kRoamingAppData || s_folder.empty()) {
    GetKnownFolder* system = nullptr;
    std::memcpy(&system, &s_getKnownFolder, sizeof system);
    return system(id, flags, token, path);
  }
  const size_t size = (s_folder.size() + 1) * sizeof(wchar_t);
  *path = static_cast<wchar_t*>(CoTaskMemAlloc(size));
  if (*path == nullptr) return E_OUTOFMEMORY;
  std::memcpy(*path, s_folder.c_str(), size);
  return S_OK;
}

FARPROC WINAPI FindFunction(HMODULE module, LPCSTR name) {
  const FARPROC found = s_getProcAddress(module, name);
  const bool isName = reinterpret_cast<ULONG_PTR>(name) > 0xFFFF;
  if (found == nullptr || !isName || std::strcmp(name, "SHGetKnownFolderPath") != 0) return found;
  s_getKnownFolder = found;
  GetKnownFolder* const ours = &FolderOfTheScope;
  FARPROC function = nullptr;
  std::memcpy(&function, &ours, sizeof function);
  return function;
}

// Has the library, which asks for the function by its name, find the one above. Whether it did.
bool ReplaceOnce() {
  if (s_getProcAddress != nullptr) return true;
  HMODULE module = GetModuleHandleW(L"ztkbase-1.dll");
  if (module == nullptr) module = GetModuleHandleW(nullptr);  // The static library.
  auto* const base = reinterpret_cast<char*>(module);
  const auto* const dos = reinterpret_cast<IMAGE_DOS_HEADER*>(base);
  const auto* const nt = reinterpret_cast<IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  const auto& table = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  auto* dll = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + table.VirtualAddress);
  for (; dll->Name != 0; ++dll) {
    auto* name = reinterpret_cast<IMAGE_THUNK_DATA*>(base + dll->OriginalFirstThunk);
    auto* call = reinterpret_cast<IMAGE_THUNK_DATA*>(base + dll->FirstThunk);
    for (; name->u1.AddressOfData != 0; ++name, ++call) {
      if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
      const auto* const import =
          reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
      if (std::strcmp(reinterpret_cast<const char*>(import->Name), "GetProcAddress") != 0) continue;
      DWORD protection = 0;
      VirtualProtect(&call->u1.Function, sizeof call->u1.Function, PAGE_READWRITE, &protection);
      std::memcpy(&s_getProcAddress, &call->u1.Function, sizeof s_getProcAddress);
      call->u1.Function = reinterpret_cast<ULONG_PTR>(&FindFunction);
      VirtualProtect(&call->u1.Function, sizeof call->u1.Function, protection, &protection);
      return true;
    }
  }
  return false;
}

}  // namespace

ScopedPreferences::ScopedPreferences(const std::filesystem::path& folder) : m_old(s_folder) {
  EXPECT_TRUE(ReplaceOnce()) << "the preferences folder is that of the user";
  s_folder = folder.wstring();
}

ScopedPreferences::~ScopedPreferences() { s_folder = m_old; }

#else

ScopedPreferences::ScopedPreferences(const std::filesystem::path& folder)
    : m_env("XDG_CONFIG_HOME", folder.c_str()) {}

ScopedPreferences::~ScopedPreferences() = default;

#endif
