#include "ztk/file/file_name.h"
#include "ztk/file/internal/file_system_xp.h"
#include "ztk/file/internal/path_limits.h"
#include "ztk/platform/mac/mac_paths.h"
#include "ztk/platform/mac/services/folders.h"

using namespace ztk_mac_services;

ZTKPathFormat ZTKFileName::XPGetFormat(ZTKPathFormat format) {
  return format == ZTKPathNative ? ZTKPathMac : format;
}

ZTKString ZTKFileName::XPGetUserHomeDir() {
  ZTKString folder;
  ZTKMacFindFolder(kOnSystemDisk, kPreferencesFolderType, 0, folder);
  return folder.Left(ZTKPathLimit::kPath);
}

// The folder is the system's to make.
void XPMakePreferencesFolder(const ZTKString& /*folder*/) noexcept {}

// Shortcuts are not resolved.
bool ZTKFileName::XPGetShortcutTarget(const ZTKString&, ZTKString&, ZTKString*) const {
  return true;
}

XPLink XPReadLink(const char*, ZTKString&) noexcept { return XPLink::kNone; }

ZTKString ZTKFileName::XPGetLongPath() const { return ZTKString(); }
