#include "ztk/system/module.h"

#include <windows.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "ztk/platform/win32/loaded_module.h"
#include "ztk/platform/win32/system_function.h"
#include "ztk/platform/win32/wide_text.h"
#include "ztk/system/internal/module_xp.h"

namespace {

// "dir\name" gives "dir\libname.dll".
std::wstring DecoratedName(std::wstring_view name) {
  const size_t base = name.rfind(L'\\') + 1;  // 0 without a "\".
  std::wstring decorated(name.substr(0, base));
  decorated += L"lib";
  decorated += name.substr(base);
  decorated += L".dll";
  return decorated;
}

}  // namespace

void* XPLoadModule(const ZTKString& name, std::string& reason) {
  const std::wstring folder = FolderOfModule(nullptr);
  if (name.Len() == 0 || folder.empty()) {
    reason = name.Len() == 0 ? "the name is empty" : "the folder of the program is unknown";
    return nullptr;
  }
  const WideText converted = ToWide(name.c_str());
  if (converted == nullptr) {
    const bool isIllFormed = GetLastError() == ERROR_NO_UNICODE_TRANSLATION;
    reason = isIllFormed ? "the name is not in UTF-8" : "out of memory";
    return nullptr;
  }
  std::wstring wide = converted.get();
  std::replace(wide.begin(), wide.end(), L'/', L'\\');  // The loader knows no other separator.

  // To a name without a dot the system would add ".dll" by itself; a dot at the end forbids it.
  const bool hasDot = wide.find(L'.', wide.rfind(L'\\') + 1) != std::wstring::npos;
  const std::wstring paths[] = {folder + wide + (hasDot ? L"" : L"."), folder + wide + L".dll",
                                folder + DecoratedName(wide)};
  bool isOfFile = false;  // The words that help are those about a file that is there.
  for (const std::wstring& path : paths) {
    std::string words;
    const HMODULE module = LoadModule(path, words);
    if (module != nullptr) return module;
    if (isOfFile || (!reason.empty() && !ModuleExists(path))) continue;
    isOfFile = ModuleExists(path);
    reason = words;
  }
  return nullptr;
}

void* ZTKModule::XPDllGetSymbol(const ZTKString& name) const {
  return FunctionOf<void*>(static_cast<HMODULE>(m_pHandle), name.c_str());
}

void ZTKModule::XPDllUnload() {
  void* const handle = m_pHandle;
  m_pHandle = nullptr;
  if (handle != nullptr) FreeLibrary(static_cast<HMODULE>(handle));
}
