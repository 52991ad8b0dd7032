#include "ztk/platform/mac/services/urls.h"

#include <utility>

#include "ztk/platform/mac/services/catalog.h"
#include "ztk/platform/mac/services/faults.h"
#include "ztk/platform/mac/services/guard.h"
#include "ztk/platform/mac/services/volumes.h"

namespace ztk_mac_services {

namespace {

// The path of the host that a path in colon style says.
OSErr PathOf(std::string_view colonPath, std::string& path) {
  const size_t colon = colonPath.find(':');
  if (colon == 0) {
    std::string folder;
    if (const OSErr error = HostFolderOf(0, 0, folder); error != noErr) return error;
    return FollowColonPath(folder, colonPath, path);
  }
  Volume volume;
  if (!Volumes::FindByName(colonPath.substr(0, colon), volume)) return nsvErr;
  if (colon == std::string_view::npos)
    colonPath = {};
  else
    colonPath.remove_prefix(colon);
  return FollowColonPath(volume.root, colonPath, path);
}

}  // namespace

CFURL::CFURL(std::string path) noexcept : m_path(std::move(path)) {}

CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef /*allocator*/, CFStringRef path,
                                       CFURLPathStyle style, Boolean /*isDirectory*/) noexcept {
  if (Faults::Hit() || path == nullptr || path->Text().empty()) return nullptr;
  return Guarded<CFURLRef>(nullptr, [=]() -> CFURLRef {
    const std::string text = ToUtf8(path);
    if (style == kCFURLPOSIXPathStyle) return CreateObject<CFURL>(text);
    std::string hostPath;
    if (style != kCFURLHFSPathStyle || PathOf(text, hostPath) != noErr) return nullptr;
    return CreateObject<CFURL>(std::move(hostPath));
  });
}

Boolean CFURLGetFSRef(CFURLRef url, FSRef* pRef) noexcept {
  if (Faults::Hit() || url == nullptr || pRef == nullptr) return 0;
  return Guarded<Boolean>(0, [=]() -> Boolean {
    FSSpec place;
    if (SpecOfHostPath(url->Path(), place) != noErr) return 0;
    pRef->place = place;
    return 1;
  });
}

CFURLRef CFURLCreateFromFSRef(CFAllocatorRef /*allocator*/, const FSRef* pRef) noexcept {
  if (Faults::Hit() || pRef == nullptr) return nullptr;
  return Guarded<CFURLRef>(nullptr, [=]() -> CFURLRef {
    std::string path;
    if (HostPathOf(pRef->place, path) != noErr) return nullptr;
    return CreateObject<CFURL>(std::move(path));
  });
}

CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style) noexcept {
  if (Faults::Hit() || url == nullptr) return nullptr;
  return Guarded<CFStringRef>(nullptr, [=]() -> CFStringRef {
    if (style == kCFURLPOSIXPathStyle) return CreateString(url->Path());
    std::string colonPath;
    if (style != kCFURLHFSPathStyle || ColonPathOf(url->Path(), colonPath) != noErr) return nullptr;
    return CreateString(colonPath);
  });
}

}  // namespace ztk_mac_services
