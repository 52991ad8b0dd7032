#include "ztk/platform/win32/link_data.h"

#include <cstdint>
#include <cstring>

namespace {

constexpr std::uint32_t kSymbolicLink = 0xA000000C;
constexpr std::uint32_t kJunction = 0xA0000003;

std::uint16_t ShortAt(const char* pData, size_t nAt) noexcept {
  std::uint16_t value;
  std::memcpy(&value, pData + nAt, sizeof value);
  return value;
}

}  // namespace

// Tag (4 bytes), length (2), reserved (2), then for both kinds the offsets and lengths in bytes of
// the kernel's path and of the one that was written, 2 each; for a symbolic link flags (4); the
// text.
WideText TargetOfLink(const char* pData, size_t nSize) noexcept {
  constexpr size_t kNames = 8;
  std::uint32_t tag = 0;
  if (nSize < kNames + 8) return nullptr;
  std::memcpy(&tag, pData, sizeof tag);
  if (tag != kSymbolicLink && tag != kJunction) return nullptr;
  const size_t texts = kNames + (tag == kSymbolicLink ? 12 : 8);

  const bool isWritten = ShortAt(pData, kNames + 6) != 0;
  const size_t offset = ShortAt(pData, kNames + (isWritten ? 4 : 0));
  const size_t length = ShortAt(pData, kNames + (isWritten ? 6 : 2));
  if (length == 0 || texts + offset + length > nSize) return nullptr;

  const size_t units = length / sizeof(wchar_t);
  WideText text = NewWideText(units + 1);
  if (text == nullptr) return nullptr;
  std::memcpy(text.get(), pData + texts + offset, units * sizeof(wchar_t));
  text[units] = L'\0';
  // \??\ is the kernel's \\?\.
  if (!isWritten && std::wcsncmp(text.get(), L"\\??\\", 4) == 0) {
    text[1] = L'\\';
    const wchar_t* const plain = WithoutPrefix(text.get());
    std::wmemmove(text.get(), plain, std::wcslen(plain) + 1);
  }
  return text;
}
