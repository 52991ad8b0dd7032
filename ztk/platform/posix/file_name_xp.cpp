#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>
#include <new>

#include "ztk/file/file_name.h"
#include "ztk/file/file_system.h"
#include "ztk/file/internal/file_system_xp.h"
#include "ztk/foundation/internal/memory_watch.h"

namespace {

// What a path of the user's folders may measure.
constexpr size_t kMaxFolder = 1023;

// Creates `folder` and its parents with mode 0700 where they are missing. What cannot be created is
// found out by whoever opens a file in it.
void MakePrivateFolder(const ZTKString& folder) {
  if (ZTKPathExists(folder)) return;
  const std::string_view path = folder.view();
  for (size_t end = path.find('/', 1); end != std::string_view::npos;
       end = path.find('/', end + 1)) {
    ZTKMkdir(ZTKString(path.substr(0, end)), 0700);
  }
  ZTKMkdir(folder, 0700);
}

bool IsFolder(const ZTKString& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// `path` without separators at its end; the root stays.
std::string_view WithoutTrailingSeparators(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  return path;
}

// Whether nothing has the name of `folder` yet, and this user may make it in `parent`.
bool CanMakeFolder(const ZTKString& parent, const ZTKString& folder) {
  return XPGetFileKind(folder.c_str()) == XPFileKind::kNothing && IsFolder(parent) &&
         access(parent.c_str(), W_OK | X_OK) == 0;
}

// The home folder of the process's user as the password database knows it; "" when it does not.
ZTKString HomeFromPasswordDatabase() {
  constexpr size_t kBuffer = 16384;
  std::unique_ptr<char[]> buffer(new (std::nothrow) char[kBuffer]);
  if (buffer == nullptr) {
    ZTKMemoryWatch::NoteFailure();
    return ZTKString();
  }
  passwd entry;
  passwd* pFound = nullptr;
  if (getpwuid_r(getuid(), &entry, buffer.get(), kBuffer, &pFound) != 0) return ZTKString();
  if (pFound == nullptr || pFound->pw_dir == nullptr) return ZTKString();
  const ZTKString home(WithoutTrailingSeparators(pFound->pw_dir));
  return home.Len() <= kMaxFolder ? home : ZTKString();
}

constexpr int kMaxLinks = 40;  // As the system has it.

struct Link {
  enum Kind { kLink, kEnd, kUnreadable };
  Kind kind;
  ZTKString target;  // Of a link.
};

// What is nothing, or anything but a link, is the end of a chain of links.
Link ReadLink(const ZTKString& path) noexcept {
  const std::unique_ptr<char[]> text(new (std::nothrow) char[PATH_MAX]);
  if (text == nullptr) return {Link::kUnreadable, ZTKString()};
  const ssize_t length = readlink(path.c_str(), text.get(), PATH_MAX);
  if (length < 0) {
    const bool isEnd = errno == EINVAL || errno == ENOENT || errno == ENOTDIR;
    return {isEnd ? Link::kEnd : Link::kUnreadable, ZTKString()};
  }
  if (length == 0 || length == PATH_MAX) return {Link::kUnreadable, ZTKString()};
  return {Link::kLink, ZTKString(std::string_view(text.get(), static_cast<size_t>(length)))};
}

}  // namespace

ZTKPathFormat ZTKFileName::XPGetFormat(ZTKPathFormat format) {
  return format == ZTKPathNative ? ZTKPathUnix : format;
}

ZTKString ZTKFileName::XPGetUserHomeDir() {
  const char* configured = std::getenv("XDG_CONFIG_HOME");
  if (configured != nullptr && configured[0] == '/') {
    const ZTKString folder(WithoutTrailingSeparators(configured));
    if (folder.Len() <= kMaxFolder) return folder;
  }

  const ZTKString home(ZTKGetUserHome(ZTKString()));
  if (home.view().substr(0, 1) == "/") {
    ZTKString folder;
    if (home.view() != "/") folder = home;
    folder.append("/.config");
    if (folder.Len() <= kMaxFolder && (IsFolder(folder) || CanMakeFolder(home, folder))) {
      return folder;
    }
  }
  return HomeFromPasswordDatabase();
}

void XPMakePreferencesFolder(const ZTKString& path) noexcept {
  const ZTKString folder = ZTKFileName::XPGetUserHomeDir();
  const std::string_view prefix = folder.view();
  const std::string_view whole = path.view();
  if (prefix.empty() || whole.size() <= prefix.size()) return;
  if (whole.substr(0, prefix.size()) == prefix && whole[prefix.size()] == '/') {
    MakePrivateFolder(folder);
  }
}

// A loop of links, or one that cannot be read, leads nowhere: the path stands for itself.
bool ZTKFileName::XPGetShortcutTarget(const ZTKString& path, ZTKString& target,
                                      ZTKString* /*pArgs: a link has none*/) const {
  const ZTKString source = path;  // `target` may be the same string.
  if (!XPFindEndOfLinks(source, target)) target = source;
  return true;
}

bool XPFindEndOfLinks(const ZTKString& path, ZTKString& end) noexcept {
  end = path;
  Link link = ReadLink(path);
  if (link.kind != Link::kLink) return link.kind == Link::kEnd;

  const std::unique_ptr<char, decltype(&std::free)> resolved(realpath(path.c_str(), nullptr),
                                                             &std::free);
  if (resolved != nullptr) {
    end = resolved.get();
    return true;
  }
  if (errno != ENOENT) return false;

  // The last link of the chain points at nothing yet; follow it by hand to that name.
  for (int nHops = 0; nHops < kMaxLinks && link.kind == Link::kLink; ++nHops) {
    if (link.target.view().substr(0, 1) == "/") {
      end = link.target;
    } else {
      const std::string_view from = end.view();
      ZTKString followed(from.substr(0, from.rfind('/') + 1));
      followed.append(link.target);
      end = followed;
    }
    link = ReadLink(end);
  }
  return link.kind == Link::kEnd;
}

// A path has no other form here.
ZTKString ZTKFileName::XPGetLongPath() const { return ZTKString(); }
