#include "ztk/platform/win32/console.h"

#include <io.h>
#include <windows.h>

#include <cstdio>

namespace {

constexpr size_t kPart = 512;  // Bytes that are converted at once.

// What may be a console: those open for writing alone do not tell. Null for files and pipes.
HANDLE DeviceOf(std::FILE* pStream) noexcept {
  const int number = _fileno(pStream);
  if (number < 0) return nullptr;  // A program without a console has no such stream.
  const std::intptr_t handle = _get_osfhandle(number);
  const auto device = reinterpret_cast<HANDLE>(handle);  // NOLINT(performance-no-int-to-ptr)
  return GetFileType(device) == FILE_TYPE_CHAR ? device : nullptr;
}

// The length of a part that ends between two characters.
size_t LengthOfPart(std::string_view text) noexcept {
  if (text.size() <= kPart) return text.size();
  size_t length = kPart;
  while (length > kPart - 4 && (text[length] & 0xC0) == 0x80) --length;
  return length;
}

bool WriteAll(HANDLE hConsole, const wchar_t* pUnits, DWORD nCount) noexcept {
  while (nCount != 0) {
    DWORD written = 0;
    if (WriteConsoleW(hConsole, pUnits, nCount, &written, nullptr) == 0 || written == 0) {
      return false;
    }
    pUnits += written;
    nCount -= written;
  }
  return true;
}

// Takes off what was written: nothing where this is no console.
void WriteToConsole(HANDLE hConsole, std::string_view& text) noexcept {
  wchar_t wide[kPart + 2];
  while (!text.empty()) {
    // A console need not return its carriage at a line feed.
    const bool isLineEnd = text.front() == '\n';
    std::string_view part = isLineEnd ? "\r\n" : text.substr(0, text.find('\n'));
    part = part.substr(0, LengthOfPart(part));
    const int units = MultiByteToWideChar(CP_UTF8, 0, part.data(), static_cast<int>(part.size()),
                                          wide, static_cast<int>(kPart) + 2);
    if (units <= 0 || !WriteAll(hConsole, wide, static_cast<DWORD>(units))) return;
    text.remove_prefix(isLineEnd ? 1 : part.size());
  }
}

}  // namespace

void WriteToErrorStream(std::string_view text) noexcept {
  std::fflush(stderr);
  const HANDLE device = DeviceOf(stderr);
  if (device != nullptr) WriteToConsole(device, text);
  std::fwrite(text.data(), 1, text.size(), stderr);
  std::fflush(stderr);  // Not written at once by every runtime where it is a file.
}
