#include "ztk/platform/mac/services/strings.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "ztk/foundation/internal/utf8.h"
#include "ztk/platform/mac/services/faults.h"
#include "ztk/platform/mac/services/guard.h"

namespace ztk_mac_services {

CFString::CFString(std::u32string text) noexcept : m_text(std::move(text)) {}

CFStringRef CFStringCreateWithCString(CFAllocatorRef /*allocator*/, const char* psz,
                                      CFStringEncoding encoding) noexcept {
  if (Faults::Hit() || psz == nullptr || encoding != kCFStringEncodingASCII) return nullptr;
  const size_t length = std::strlen(psz);
  for (size_t i = 0; i < length; ++i) {
    if (static_cast<unsigned char>(psz[i]) >= 0x80) return nullptr;
  }
  return Guarded<CFStringRef>(
      nullptr, [=] { return CreateObject<CFString>(std::u32string(psz, psz + length)); });
}

CFIndex CFStringGetLength(CFStringRef string) noexcept {
  return string != nullptr ? static_cast<CFIndex>(string->Text().size()) : 0;
}

CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding,
                         unsigned char lossByte, Boolean /*isExternal*/, unsigned char* buffer,
                         CFIndex maxBuffer, CFIndex* used) noexcept {
  if (used != nullptr) *used = 0;
  if (Faults::Hit() || string == nullptr || encoding != kCFStringEncodingASCII) return 0;
  const CFIndex length = CFStringGetLength(string);
  if (range.location < 0 || range.length < 0 || range.location > length) return 0;

  CFIndex count = std::min(range.length, length - range.location);
  if (buffer != nullptr) count = std::min(count, std::max<CFIndex>(maxBuffer, 0));
  for (CFIndex i = 0; i < count; ++i) {
    const char32_t character = string->Text()[static_cast<size_t>(range.location + i)];
    if (character >= 0x80 && lossByte == 0) {
      count = i;
    } else if (buffer != nullptr) {
      buffer[i] = character < 0x80 ? static_cast<unsigned char>(character) : lossByte;
    }
  }
  if (used != nullptr) *used = count;
  return count;
}

CFStringRef CreateString(const std::string& utf8) noexcept {
  return Guarded<CFStringRef>(nullptr, [&utf8] {
    std::u32string text;
    for (const char* rest = utf8.c_str(); *rest != '\0';) {
      const ztk_utf8::Decoded next = ztk_utf8::Decode(rest);
      text += next.codePoint;
      rest += next.length;
    }
    return CreateObject<CFString>(std::move(text));
  });
}

std::string ToUtf8(CFStringRef string) {
  std::string utf8;
  if (string == nullptr) return utf8;
  char bytes[4];
  for (const char32_t character : string->Text()) {
    utf8.append(bytes, ztk_utf8::Encode(character, bytes));
  }
  return utf8;
}

void c2pstrcpy(Str255 target, const char* pszSource) noexcept {
  const size_t length = std::min<size_t>(std::strlen(pszSource), 255);
  // NOLINTNEXTLINE(bugprone-not-null-terminated-result): the length stands in front.
  std::memmove(target + 1, pszSource, length);
  target[0] = static_cast<unsigned char>(length);
}

}  // namespace ztk_mac_services
