#include <cctype>
#include <cstddef>
#include <cstring>

#include "ztk/foundation/internal/string_block.h"
#include "ztk/foundation/internal/string_xp.h"
#include "ztk/foundation/string.h"

// Changing the characters in place: case and trimming.

namespace {

/// As the C library's `isspace` sees a signed character, where the byte 0xFF is end-of-file. What
/// it says of ASCII beyond the control characters is the same in every locale.
bool IsSpace(char ch) noexcept {
  const auto byte = static_cast<unsigned char>(ch);
  if (byte == ' ' || (byte >= '\t' && byte <= '\r')) return true;
  if ((byte > ' ' && byte <= 0x7F) || byte == 0xFF) return false;
  return std::isspace(byte) != 0;
}

/// Shorter texts are converted without counting them first.
constexpr size_t kShortText = 64;
/// From here on vectorised ASCII pays for checking the table (BM_StringLower/4096).
constexpr size_t kLongText = 192;

/// Whether the table moves the 26 letters from `chFirst` on by `nShift` and nothing else.
bool IsPlainAscii(const int* pTable, int chFirst, int nShift) noexcept {
  int differences = 0;
  for (int byte = 0; byte < 255; ++byte) {
    const bool isLetter = byte >= chFirst && byte < chFirst + 26;
    differences |= pTable[byte] ^ (isLetter ? byte + nShift : byte);
  }
  return differences == 0;
}

void ConvertAscii(char* pText, size_t nLength, int chFirst) noexcept {
  // Without a branch, so that the compiler vectorises it.
  for (size_t i = 0; i < nLength; ++i) {
    const auto byte = static_cast<unsigned char>(pText[i]);
    const bool isLetter = static_cast<unsigned char>(byte - chFirst) < 26;
    pText[i] = static_cast<char>(byte ^ (isLetter ? 'a' ^ 'A' : 0));
  }
}

/// Converts at most `nMax` characters, up to the NUL, and returns where it stopped. The byte 0xFF
/// is end-of-file to the C library and stays.
char* ConvertByTable(char* pText, size_t nMax, const int* pTable) noexcept {
  for (; nMax > 0 && *pText != '\0'; --nMax, ++pText) {
    *pText = static_cast<char>(pTable[static_cast<signed char>(*pText)]);
  }
  return pText;
}

/// Converts up to the NUL.
void ConvertCase(char* pText, const int* pTable, int chFirst, int nShift) noexcept {
  if (pText == nullptr) return;
  pText = ConvertByTable(pText, kShortText, pTable);
  if (*pText == '\0') return;
  const size_t length = std::strlen(pText);
  if (length >= kLongText && IsPlainAscii(pTable, chFirst, nShift)) {
    ConvertAscii(pText, length, chFirst);
  } else {
    ConvertByTable(pText, length, pTable);
  }
}

}  // namespace

ZTKString& ZTKString::MakeLower() noexcept {
  ConvertCase(m_pBuffer, XPLowerTable(), 'A', 'a' - 'A');
  return *this;
}

ZTKString& ZTKString::MakeUpper() noexcept {
  ConvertCase(m_pBuffer, XPUpperTable(), 'a', 'A' - 'a');
  return *this;
}

ZTKString ZTKString::Lower() const noexcept {
  ZTKString copy(*this);
  copy.MakeLower();
  return copy;
}

ZTKString ZTKString::Upper() const noexcept {
  ZTKString copy(*this);
  copy.MakeUpper();
  return copy;
}

ZTKString& ZTKString::Trim(int bFromRight) noexcept {
  if (m_pBuffer == nullptr) return *this;
  if (bFromRight != 0) {
    const unsigned long length = Len();
    unsigned long end = length;
    while (end > 0 && IsSpace(m_pBuffer[end - 1])) --end;
    if (end == length) return *this;
    m_pBuffer[end] = '\0';
  } else {
    const char* start = m_pBuffer;
    while (*start != '\0' && IsSpace(*start)) ++start;
    if (start == m_pBuffer) return *this;
    std::memmove(m_pBuffer, start, std::strlen(start) + 1);
  }
  ZTKStringBlocks::NoteStale(*this);
  return *this;
}

ZTKString& ZTKString::TrimA() noexcept {
  if (m_pBuffer == nullptr) return *this;
  const unsigned long length = Len();
  unsigned long end = length;
  while (end > 0 && IsSpace(m_pBuffer[end - 1])) --end;
  unsigned long start = 0;
  while (start < end && IsSpace(m_pBuffer[start])) ++start;
  if (end - start == length) return *this;
  m_pBuffer[end] = '\0';
  if (start != 0) std::memmove(m_pBuffer, m_pBuffer + start, end - start + 1);
  ZTKStringBlocks::NoteStale(*this);
  return *this;
}
