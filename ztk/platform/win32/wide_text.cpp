#include "ztk/platform/win32/wide_text.h"

#include <climits>
#include <cstring>
#include <cwchar>
#include <new>

#include "ztk/foundation/internal/allocation_watch.h"

namespace {

// What a length in the system's calls can hold, also in the larger of the two encodings.
constexpr size_t kLongest = INT_MAX / 4;

}  // namespace

WideText NewWideText(size_t nUnits) noexcept {
  WideText text(new (std::nothrow) wchar_t[nUnits]);
  if (text == nullptr) {
    ZTKAllocationWatch::NoteFailure();
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  }
  return text;
}

WideText CopyOf(const wchar_t* psz) noexcept {
  const size_t size = std::wcslen(psz) + 1;
  WideText copy = NewWideText(size);
  if (copy != nullptr) std::wmemcpy(copy.get(), psz, size);
  return copy;
}

WideText ToWide(const char* psz) noexcept {
  const size_t size = std::strlen(psz) + 1;
  if (size > INT_MAX) {
    SetLastError(ERROR_FILENAME_EXCED_RANGE);
    return nullptr;
  }
  WideText text = NewWideText(size);
  const int length = static_cast<int>(size);
  if (text != nullptr &&
      MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, psz, length, text.get(), length) == 0) {
    text.reset();
  }
  return text;
}

bool ToUtf8(const wchar_t* psz, ZTKString& text) noexcept {
  const int size =
      WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, psz, -1, nullptr, 0, nullptr, nullptr);
  if (size <= 0) return false;
  const std::unique_ptr<char[]> bytes(new (std::nothrow) char[static_cast<size_t>(size)]);
  if (bytes == nullptr) {
    ZTKAllocationWatch::NoteFailure();
    return false;
  }
  WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, psz, -1, bytes.get(), size, nullptr, nullptr);
  const ZTKAllocationWatch memory;
  ZTKString result(bytes.get());
  if (memory.RanOut()) return false;
  text = result;
  return !memory.RanOut();
}

size_t ToUtf8(std::wstring_view wide, char* pBuffer, size_t nSize) noexcept {
  pBuffer[0] = '\0';
  // With room for the NUL alone the system would take the 0 for the question how much it needs.
  if (wide.empty() || nSize < 2 || wide.size() > kLongest || nSize > kLongest) return 0;
  const int length =
      WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, wide.data(), static_cast<int>(wide.size()),
                          pBuffer, static_cast<int>(nSize) - 1, nullptr, nullptr);
  pBuffer[length] = '\0';
  return static_cast<size_t>(length);
}

std::string ToReadableUtf8(std::wstring_view wide) {
  if (wide.empty() || wide.size() > kLongest) return "";
  const auto units = static_cast<int>(wide.size());
  const int length =
      WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, nullptr, 0, nullptr, nullptr);
  std::string utf8(static_cast<size_t>(length), '\0');
  WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, utf8.data(), length, nullptr, nullptr);
  return utf8;
}
