#include "tests/support/scoped_preferences.h"

#ifdef _WIN32

#include <windows.h>

#include <objbase.h>

#include <cstring>

#include "tests/support/imports_win32.h"

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
  const imports::Replacement call =
      imports::Replace("GetProcAddress", &FindFunction, &s_getProcAddress);
  if (s_getProcAddress == nullptr) imports::ReplaceIn(imports::LibraryModule(), &call, 1);
  return s_getProcAddress != nullptr;
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
