#include "ztk/file/file_name.h"

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

ZTKString ZTKFileName::XPGetLongPath() const {
  const WidePath path(GetFullPath(ZTKPathNative).c_str());
  ZTKString text;
  if (!path.IsValid()) return text;
  const WideText longPath = MakeWide(
      [&](wchar_t* buffer, DWORD units) { return GetLongPathNameW(path.Get(), buffer, units); });
  if (longPath != nullptr) ToUtf8(WithoutPrefix(longPath.get()), text);
  return text;
}
