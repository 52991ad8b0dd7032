#include "ztk/platform/mac/services/urls.h"

#include <utility>

#include "ztk/platform/mac/services/catalog.h"
#include "ztk/platform/mac/services/faults.h"
#include "ztk/platform/mac/services/guard.h"

namespace ztk_mac_services {

CFURL::CFURL(std::string path) noexcept : m_path(std::move(path)) {}

CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef /*allocator*/, CFStringRef path,
                                       CFURLPathStyle style, Boolean /*isDirectory*/) noexcept {
  if (Faults::Hit() || path == nullptr || path->Text().empty()) return nullptr;
  return Guarded<CFURLRef>(nullptr, [=]() -> CFURLRef {
    const std::string text = ToUtf8(path);
    if (style == kCFURLPOSIXPathStyle) return CreateObject<CFURL>(text);
    if (style != kCFURLHFSPathStyle) return nullptr;
    const bool isVolume = text.find(':') == std::string::npos;
    std::string hostPath;
    if (HostPathOfName(0, 0, isVolume ? text + ':' : text, hostPath) != noErr) return nullptr;
    return CreateObject<CFURL>(std::move(hostPath));
  });
}

Boolean CFURLGetFSRef(CFURLRef url, FSRef* pRef) noexcept {
  if (Faults::Hit() || url == nullptr || pRef == nullptr) return 0;
  return Guarded<Boolean>(
      0, [=]() -> Boolean { return RefOfHostPath(url->Path(), *pRef) == noErr ? 1 : 0; });
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
