#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "ztk/foundation/string.h"
#include "ztk/foundation/string_block.h"

// Changing the characters: case, trimming, replacing.

namespace {

/// As the C library's `isspace` sees a signed character, where the byte 0xFF is end-of-file.
bool IsSpace(char ch) noexcept {
  return ch != '\x7F' && ch != '\xFF' && std::isspace(static_cast<unsigned char>(ch)) != 0;
}

}  // namespace

ZTKString& ZTKString::MakeLower() noexcept {
  if (m_pBuffer == nullptr) return *this;
  for (char* p = m_pBuffer; *p != '\0'; ++p) {
    if (*p != '\xFF') *p = static_cast<char>(std::tolower(static_cast<unsigned char>(*p)));
  }
  return *this;
}

ZTKString& ZTKString::MakeUpper() noexcept {
  if (m_pBuffer == nullptr) return *this;
  for (char* p = m_pBuffer; *p != '\0'; ++p) {
    if (*p != '\xFF') *p = static_cast<char>(std::toupper(static_cast<unsigned char>(*p)));
  }
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
  const unsigned long length = Len();
  if (length == 0) return *this;
  if (bFromRight != 0) {
    unsigned long end = length;
    while (end > 0 && IsSpace(m_pBuffer[end - 1])) --end;
    m_pBuffer[end] = '\0';
    return *this;
  }
  unsigned long start = 0;
  while (start < length && IsSpace(m_pBuffer[start])) ++start;
  if (start != 0) std::memmove(m_pBuffer, m_pBuffer + start, length - start + 1);
  return *this;
}

ZTKString& ZTKString::TrimA() noexcept { return Trim(1).Trim(0); }

unsigned long ZTKString::Replace(const char* pszOld, const char* pszNew, int bReplaceAll) noexcept {
  if (pszOld == nullptr || *pszOld == '\0' || pszNew == nullptr) return 0;
  const auto oldLength = static_cast<unsigned long>(std::strlen(pszOld));
  const auto newLength = static_cast<unsigned long>(std::strlen(pszNew));

  ZTKString result;
  unsigned long length = 0;  // Of the result so far.
  unsigned long count = 0;
  const char* rest = c_str();
  while (*rest != '\0') {
    const char* found = std::strstr(rest, pszOld);
    if (found == nullptr && count == 0) return 0;
    const auto before =
        static_cast<unsigned long>(found != nullptr ? found - rest : std::strlen(rest));
    if (found != nullptr && before > kMaxLength - length) return 0;
    if (!ZTKStringBlocks::Append(result, length, rest, before)) return 0;
    length = std::min(length + before, kMaxLength);
    if (found == nullptr) break;

    ++count;
    if (!ZTKStringBlocks::Append(result, length, pszNew, newLength)) return 0;
    length = newLength < kMaxLength - length ? length + newLength : kMaxLength;
    rest = found + oldLength;
    if (bReplaceAll == 0) {
      if (!ZTKStringBlocks::Append(result, length, rest,
                                   static_cast<unsigned long>(std::strlen(rest)))) {
        return 0;
      }
      break;
    }
  }
  *this = result;
  return count;
}
