#pragma once

#include <string>

#include "ztk/platform/mac/services/objects.h"

namespace ztk_mac_services {

using CFStringEncoding = std::uint32_t;
constexpr CFStringEncoding kCFStringEncodingASCII = 0x600;

struct CFRange {
  CFIndex location;
  CFIndex length;
};

/// A string of code points.
class CFString : public CFObject {
 public:
  explicit CFString(std::u32string text) noexcept;
  const std::u32string& Text() const noexcept { return m_text; }

 private:
  std::u32string m_text;
};

/// A string from a NUL-terminated text. Null for a null text, for a byte that is no ASCII, and for
/// another encoding than that.
CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, const char* psz,
                                      CFStringEncoding encoding) noexcept;

/// The number of characters; 0 for null.
CFIndex CFStringGetLength(CFStringRef string) noexcept;

/// Converts the characters of `range` to bytes: as many as `maxBuffer` bytes hold, or, without a
/// buffer, as many as there are. What does not fit the encoding becomes `lossByte`; where that is
/// 0, the conversion ends there. Gives the number of characters that were converted and, where
/// `used` is not null, that of the bytes. No NUL is put behind them.
CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding,
                         unsigned char lossByte, Boolean isExternal, unsigned char* buffer,
                         CFIndex maxBuffer, CFIndex* used) noexcept;

// Conversions for the services themselves. Ill-formed UTF-8 reads as U+FFFD.
CFStringRef CreateString(const std::string& utf8) noexcept;
std::string ToUtf8(CFStringRef string);

/// Copies up to 255 characters to a string that starts with its length.
void c2pstrcpy(Str255 target, const char* pszSource) noexcept;

}  // namespace ztk_mac_services
