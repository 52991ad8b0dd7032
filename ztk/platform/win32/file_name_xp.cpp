#include "ztk/file/file_name.h"

#include <cwchar>
#include <string_view>

#include "ztk/file/file_system.h"
#include "ztk/file/internal/file_system_xp.h"
#include "ztk/file/internal/path_limits.h"
#include "ztk/file/internal/path_text.h"
#include "ztk/platform/win32/file_handle.h"
#include "ztk/platform/win32/known_folders.h"
#include "ztk/platform/win32/link_data.h"

namespace {

// From winioctl.h.
constexpr DWORD kGetReparsePoint = 0x000900A8;
constexpr DWORD kMaxLinkData = 16 * 1024;

// Without what stands behind the last separator, and without that; 0 where there is none.
size_t LengthOfFolder(std::wstring_view path) noexcept {
  const size_t separator = path.rfind(L'\\');
  return separator != std::wstring_view::npos ? separator : 0;
}

// Null without memory; `pszFirst` may be.
WideText Join(const wchar_t* pszFirst, const wchar_t* pszSecond) noexcept {
  const size_t first = pszFirst != nullptr ? std::wcslen(pszFirst) : 0;
  const size_t second = std::wcslen(pszSecond) + 1;
  WideText joined = NewWideText(first + second);
  if (joined == nullptr) return nullptr;
  if (first != 0) std::wmemcpy(joined.get(), pszFirst, first);
  std::wmemcpy(joined.get() + first, pszSecond, second);
  return joined;
}

}  // namespace

ZTKPathFormat ZTKFileName::XPGetFormat(ZTKPathFormat format) {
  return format == ZTKPathNative ? ZTKPathDos : format;
}

ZTKString ZTKFileName::XPGetUserHomeDir() {
  ZTKString folder = GetKnownFolder(kRoamingAppData, false);
  if (folder.Len() > ZTKPathLimit::kPath) folder.Clear();
  return folder;
}

void XPMakePreferencesFolder(const ZTKString& /*folder*/) noexcept {
  GetKnownFolder(kRoamingAppData, true);
}

// A link has no arguments.
bool ZTKFileName::XPGetShortcutTarget(const ZTKString& path, ZTKString& target,
                                      ZTKString* /*pArgs*/) const {
  target = ZTKEndOfLinksOrItself(path);
  return true;
}

XPLink XPReadLink(const char* pszPath, ZTKString& target) noexcept {
  const WidePath path(pszPath);
  PathAttributes own;
  if (!path.IsValid()) return XPLink::kUnreadable;
  if (!GetPathAttributes(path, own)) {
    return IsMissing(GetLastError()) ? XPLink::kNone : XPLink::kUnreadable;
  }
  if (!own.IsLink()) return XPLink::kNone;
  const FileHandle link = OpenExisting(path, FILE_READ_ATTRIBUTES, FILE_FLAG_OPEN_REPARSE_POINT);
  const std::unique_ptr<char[]> data(new (std::nothrow) char[kMaxLinkData]);
  DWORD size = 0;
  if (!link.IsOpen() || data == nullptr ||
      DeviceIoControl(link.Get(), kGetReparsePoint, nullptr, 0, data.get(), kMaxLinkData, &size,
                      nullptr) == 0) {
    return XPLink::kUnreadable;
  }
  const WideText text = TargetOfLink(data.get(), size);
  return text != nullptr && ToUtf8(text.get(), target) ? XPLink::kLink : XPLink::kUnreadable;
}

bool XPResolveLinks(const char* pszPath, ZTKString& resolved, bool& bMissing) noexcept {
  bMissing = false;
  const FileHandle file = OpenExisting(WidePath(pszPath), FILE_READ_ATTRIBUTES);
  if (!file.IsOpen()) {
    bMissing = IsMissing(GetLastError());
    return false;
  }
  const WideText path = MakeWide([&](wchar_t* buffer, DWORD units) {
    return GetFinalPathNameByHandleW(file.Get(), buffer, units, VOLUME_NAME_DOS);
  });
  return path != nullptr && ToUtf8(WithoutPrefix(path.get()), resolved);
}

// Of a path that leads to nothing yet, as that of a file to be written, the folders have one.
ZTKString ZTKFileName::XPGetLongPath() const {
  const WidePath path(GetFullPath(ZTKPathNative).c_str());
  ZTKString text;
  const WideText known = path.IsValid() ? CopyOf(path.Get()) : nullptr;
  if (known == nullptr) return text;
  size_t length = std::wcslen(known.get());
  for (;;) {
    WideText longPath = MakeWide(
        [&](wchar_t* buffer, DWORD units) { return GetLongPathNameW(known.get(), buffer, units); });
    if (longPath == nullptr && GetLastError() == ERROR_NOT_ENOUGH_MEMORY) return text;
    if (longPath == nullptr) length = LengthOfFolder({known.get(), length});
    if (longPath != nullptr || length == 0) {
      longPath = Join(longPath.get(), path.Get() + length);
      if (longPath != nullptr) ToUtf8(WithoutPrefix(longPath.get()), text);
      return text;
    }
    known[length] = L'\0';
  }
}
