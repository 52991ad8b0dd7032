#pragma once

#include <string>

#include "ztk/platform/mac/services/objects.h"
#include "ztk/platform/mac/services/strings.h"

namespace ztk_mac_services {

/// The syntax of a path that is made a URL, or made from one.
enum CFURLPathStyle : long {
  kCFURLPOSIXPathStyle = 0,  ///< Slash style: /folder/name
  kCFURLHFSPathStyle = 1,    ///< Colon style: Volume:folder:name
};

/// Where a file is. Nothing says that it exists.
class CFURL : public CFObject {
 public:
  explicit CFURL(std::string path) noexcept;
  /// The path as the host has it.
  const std::string& Path() const noexcept { return m_path; }

 private:
  std::string m_path;
};

using CFURLRef = const CFURL*;

/// A URL from a path. In colon style a path that does not begin with ':' begins with a volume; null
/// when there is none of that name, and for an empty path or another style.
CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator, CFStringRef path,
                                       CFURLPathStyle style, Boolean isDirectory) noexcept;

/// Refers to the file of a URL. False, and nothing written, when it does not exist.
Boolean CFURLGetFSRef(CFURLRef url, FSRef* pRef) noexcept;

/// The URL of a file; null when the reference refers to none.
CFURLRef CFURLCreateFromFSRef(CFAllocatorRef allocator, const FSRef* pRef) noexcept;

/// The path of a URL. In colon style that of a volume ends in ':'; null when the volume is gone.
CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style) noexcept;

}  // namespace ztk_mac_services
