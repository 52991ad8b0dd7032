#include "ztk/file/internal/file_system_xp.h"
#include "ztk/file/internal/path_text.h"

bool ZTKFindEndOfLinks(const ZTKString& path, ZTKString& end) noexcept {
  constexpr int kMaxLinks = 40;  // As Linux has it.
  end = path;
  ZTKString target;
  XPLink link = XPReadLink(end.c_str(), target);
  if (link != XPLink::kLink) return link == XPLink::kNone;
  bool missing = false;
  if (XPResolveLinks(path.c_str(), end, missing)) return true;
  if (!missing) return false;

  // The last link of the chain points at nothing yet; follow it by hand to that name.
  for (int nHops = 0; nHops < kMaxLinks && link == XPLink::kLink; ++nHops) {
    if (ZTKIsRooted(target)) {
      end = target;
    } else {
      ZTKString followed(ZTKFolderIn(end));
      followed.append(target);
      end = followed;
    }
    link = XPReadLink(end.c_str(), target);
  }
  return link == XPLink::kNone;
}

ZTKString ZTKEndOfLinksOrItself(const ZTKString& path) noexcept {
  ZTKString end;
  return ZTKFindEndOfLinks(path, end) ? end : path;
}
