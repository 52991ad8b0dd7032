#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>
#include <new>

#include "ztk/file/file_name.h"
#include "ztk/file/file_system.h"
#include "ztk/file/internal/file_system_xp.h"
#include "ztk/file/internal/path_limits.h"
#include "ztk/file/internal/path_text.h"
#include "ztk/platform/unix/host_folders.h"

namespace {

// `path` without trailing separators; "/" stays.
std::string_view WithoutTrailingSeparators(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  return path;
}

// Whether `folder` does not exist, and this user may create it in `parent`.
bool CanMakeFolder(const ZTKString& parent, const ZTKString& folder) {
  return XPGetFileKind(folder.c_str()) == XPFileKind::kNothing && XPIsFolder(parent.c_str()) &&
         access(parent.c_str(), W_OK | X_OK) == 0;
}

}  // namespace

ZTKPathFormat ZTKFileName::XPGetFormat(ZTKPathFormat format) {
  return format == ZTKPathNative ? ZTKPathUnix : format;
}

ZTKString ZTKFileName::XPGetUserHomeDir() {
  const char* configured = std::getenv("XDG_CONFIG_HOME");
  if (configured != nullptr && configured[0] == '/') {
    ZTKString folder(WithoutTrailingSeparators(configured));
    if (folder.Len() <= ZTKPathLimit::kPath) return folder;
  }

  const ZTKString home(ZTKGetUserHome(ZTKString()));
  if (home.view().substr(0, 1) == "/") {
    ZTKString folder;
    if (home.view() != "/") folder = home;
    folder.append("/.config");
    if (folder.Len() <= ZTKPathLimit::kPath &&
        (XPIsFolder(folder.c_str()) || CanMakeFolder(home, folder))) {
      return folder;
    }
  }
  char text[ZTKPathLimit::kPath + 1];
  return XPFindPasswordHome("", text, sizeof text) ? ZTKString(text) : ZTKString();
}

// Failures show when a file in it is opened.
void XPMakePreferencesFolder(const ZTKString& folder) noexcept {
  if (ZTKPathExists(folder)) return;
  const std::string_view path = folder.view();
  for (size_t end = path.find('/', 1); end != std::string_view::npos;
       end = path.find('/', end + 1)) {
    ZTKMkdir(ZTKString(path.substr(0, end)), 0700);
  }
  ZTKMkdir(folder, 0700);
}

// A link has no arguments.
bool ZTKFileName::XPGetShortcutTarget(const ZTKString& path, ZTKString& target,
                                      ZTKString* /*pArgs*/) const {
  target = ZTKEndOfLinksOrItself(path);
  return true;
}

XPLink XPReadLink(const char* pszPath, ZTKString& target) noexcept {
  const std::unique_ptr<char[]> text(new (std::nothrow) char[PATH_MAX]);
  if (text == nullptr) return XPLink::kUnreadable;
  const ssize_t length = readlink(pszPath, text.get(), PATH_MAX);
  if (length < 0) {
    const bool isNone = errno == EINVAL || errno == ENOENT || errno == ENOTDIR;
    return isNone ? XPLink::kNone : XPLink::kUnreadable;
  }
  if (length == 0 || length == PATH_MAX) return XPLink::kUnreadable;
  target = ZTKString(std::string_view(text.get(), static_cast<size_t>(length)));
  return XPLink::kLink;
}

// A path has no other form here.
ZTKString ZTKFileName::XPGetLongPath() const { return ZTKString(); }
