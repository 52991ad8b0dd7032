#include "ztk/platform/win32/wide_text.h"

#include <windows.h>

#include <limits>

namespace {

constexpr size_t kLongest = std::numeric_limits<int>::max() / 4;

}  // namespace

size_t Utf8Of(std::wstring_view wide, char* pBuffer, size_t nSize) noexcept {
  if (wide.empty() || nSize == 0 || wide.size() > kLongest || nSize > kLongest) return 0;
  const int length =
      WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, wide.data(), static_cast<int>(wide.size()),
                          pBuffer, static_cast<int>(nSize) - 1, nullptr, nullptr);
  pBuffer[length] = '\0';
  return static_cast<size_t>(length);
}

std::string Utf8Of(std::wstring_view wide) {
  if (wide.empty() || wide.size() > kLongest) return "";
  const auto units = static_cast<int>(wide.size());
  const int length =
      WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, nullptr, 0, nullptr, nullptr);
  std::string utf8(static_cast<size_t>(length), '\0');
  WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, utf8.data(), length, nullptr, nullptr);
  return utf8;
}

bool WideOf(std::string_view utf8, std::wstring& wide) {
  wide.clear();
  if (utf8.empty()) return true;
  if (utf8.size() > kLongest) return false;
  const auto bytes = static_cast<int>(utf8.size());
  const int units =
      MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8.data(), bytes, nullptr, 0);
  if (units <= 0) return false;
  wide.resize(static_cast<size_t>(units));
  return MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8.data(), bytes, wide.data(),
                             units) == units;
}
