#include "ztk/file/file_system.h"

#include <cstring>

#include "ztk/file/internal/file_system_xp.h"
#include "ztk/file/internal/path_text.h"
#include "ztk/platform/win32/file_handle.h"
#include "ztk/platform/win32/known_folders.h"
#include "ztk/platform/win32/system_function.h"

namespace {

bool CopyWhole(const ZTKString& text, char* pszBuf, size_t nSize) noexcept {
  const std::string_view view = text.view();
  if (view.empty() || view.size() >= nSize) return false;
  std::memcpy(pszBuf, view.data(), view.size());
  pszBuf[view.size()] = '\0';
  return true;
}

}  // namespace

ZTKString XPMacPathToCompName(const char* pszPath) noexcept { return ZTKString(pszPath); }

ZTKString XPCompNameToMacPath(const char* pszPath) noexcept { return ZTKString(pszPath); }

char XPGetNativeSeparator() noexcept { return '\\'; }

// The working directory is no longer than MAX_PATH, whatever prefix it has.
bool XPChangeFolder(const char* pszPath) noexcept {
  const WideText path = *pszPath != '\0' ? ToWide(pszPath) : nullptr;
  return path != nullptr && SetCurrentDirectoryW(WithoutPrefix(path.get())) != 0;
}

bool XPGetFolder(char* pszBuf, size_t nSize) noexcept {
  const WideText folder =
      MakeWide([](wchar_t* buffer, DWORD units) { return GetCurrentDirectoryW(units, buffer); });
  ZTKString text;
  return folder != nullptr && ToUtf8(WithoutPrefix(folder.get()), text) &&
         CopyWhole(text, pszBuf, nSize);
}

// Its rights are those of the folder that it is made in.
bool XPMakeFolder(const char* pszPath, unsigned long /*nPermissions*/) noexcept {
  const WidePath path(pszPath, WidePath::kNewName);
  return path.IsValid() && !path.IsDevice() && CreateDirectoryW(path.Get(), nullptr) != 0;
}

bool XPRemoveFolder(const char* pszPath) noexcept {
  const WidePath path(pszPath);
  return path.IsValid() && RemoveDirectoryW(path.Get()) != 0;
}

ZTKString XPMakeAbsolute(const ZTKString& path) noexcept {
  ZTKString absolute;
  const WideText given = ToWide(path.c_str());
  const WideText full = given != nullptr ? FullPathOf(given.get()) : nullptr;
  if (full != nullptr) ToUtf8(full.get(), absolute);
  return absolute;
}

bool XPGetEnv(const char* pszName, ZTKTextBuilder& out) noexcept {
  const WideText name = ToWide(pszName);
  if (name == nullptr) return false;
  SetLastError(ERROR_SUCCESS);
  const WideText value = MakeWide([&](wchar_t* buffer, DWORD units) {
    return GetEnvironmentVariableW(name.get(), buffer, units);
  });
  // An empty value is one, too.
  if (value == nullptr) return GetLastError() == ERROR_SUCCESS;
  ZTKString text;
  if (!ToUtf8(value.get(), text)) return false;
  out.Add(text.view());
  return true;
}

ZTKString XPGetTempFolder() noexcept {
  using GetTempPath2 = DWORD(WINAPI*)(DWORD, wchar_t*);
  // Of Windows 11: a service gets a folder that no other may look into.
  const auto getPath = SystemFunction<GetTempPath2>(L"kernel32.dll", "GetTempPath2W");
  const WideText folder = MakeWide([=](wchar_t* buffer, DWORD units) {
    return getPath != nullptr ? getPath(units, buffer) : GetTempPathW(units, buffer);
  });
  ZTKString text;
  if (folder == nullptr || !ToUtf8(folder.get(), text)) return text;
  CreateDirectoryW(folder.get(), nullptr);  // The system only says where it would be.
  return text;
}

// HOME is a variable of other systems; other users' folders are not looked up.
bool XPFindHome(const char* pszUser, char* pszBuf, size_t nSize) noexcept {
  return *pszUser == '\0' && CopyWhole(GetKnownFolder(kProfile, false), pszBuf, nSize);
}

// A folder is synced with the files in it: there is no call for it alone.
XPFolder::XPFolder(const char* pszFolder) noexcept : m_handle(XPIsFolder(pszFolder) ? 0 : -1) {}

XPFolder::~XPFolder() = default;

bool XPFolder::Sync() const noexcept { return IsOpen(); }
