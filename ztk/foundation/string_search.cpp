#include <algorithm>
#include <cstring>

#include "ztk/foundation/internal/string_xp.h"
#include "ztk/foundation/string.h"

// Searching, comparing, testing and the texts around a found character.

namespace {

/// As the C library converts a signed character, where the byte 0xFF is end-of-file and stays.
char Convert(const int* pTable, char ch) noexcept {
  return static_cast<char>(pTable[static_cast<signed char>(ch)]);
}

/// The order of two characters that differ even in lower case: as they stand, and signed.
int OrderAsTheyStand(char chA, char chB) noexcept {
  return static_cast<signed char>(chA) < static_cast<signed char>(chB) ? -1 : 1;
}

/// `ZTKDoCmpNoCase` for texts that end at their NUL, so that nothing need be counted.
int CompareByTable(const char* pszA, const char* pszB) noexcept {
  const int* table = XPLowerTable();
  for (;; ++pszA, ++pszB) {
    const char a = *pszA;
    const char b = *pszB;
    if (a == b) {
      if (a == '\0') return 0;
      continue;
    }
    if (a == '\0') return -1;
    if (b == '\0') return 1;
    if (Convert(table, a) != Convert(table, b)) return OrderAsTheyStand(a, b);
  }
}

/// `CompareByTable` with fast paths for texts that differ at once and for equal ones
/// (BM_StringCmpNoCase).
int CompareNoCase(const char* pszA, const char* pszB) noexcept {
  // ASCII characters that differ in more than the bit of case have different lower-case forms in
  // every locale: an ASCII letter has that of ASCII, or one that is not in ASCII.
  const bool areAscii = static_cast<signed char>(*pszA | *pszB) >= 0;
  if (areAscii && ((*pszA ^ *pszB) & ~0x20) != 0) return OrderAsTheyStand(*pszA, *pszB);
  return XPAreSameInLowerCase(pszA, pszB) ? 0 : CompareByTable(pszA, pszB);
}

int CompareBytes(const char* pA, unsigned long nLenA, const char* pB,
                 unsigned long nLenB) noexcept {
  const int order = std::memcmp(pA, pB, std::min(nLenA, nLenB));
  if (order != 0 || nLenA == nLenB) return order;
  return nLenA < nLenB ? -1 : 1;
}

}  // namespace

long ZTKString::Find(char ch, int bFromEnd) const noexcept {
  const char* const text = c_str();
  if (*text == '\0') return -1;
  const char* found;
  if (bFromEnd != 0) {
    found = XPFindLast(text, ch, Len());
  } else if (HasExactLength()) {
    found = static_cast<const char*>(std::memchr(text, ch, Len() + size_t{1}));
  } else {
    found = std::strchr(text, ch);
  }
  return found != nullptr ? static_cast<long>(found - text) : -1;
}

long ZTKString::Find(const char* psz) const noexcept {
  if (psz == nullptr || m_pBuffer == nullptr || *m_pBuffer == '\0') return -1;
  if (*psz == '\0') return static_cast<long>(Len());
  const char* found = std::strstr(m_pBuffer, psz);
  return found != nullptr ? static_cast<long>(found - m_pBuffer) : -1;
}

long ZTKString::FindFirstOf(const char* pszSet) const noexcept {
  if (pszSet == nullptr || m_pBuffer == nullptr) return -1;
  const size_t index = std::strcspn(m_pBuffer, pszSet);
  return m_pBuffer[index] != '\0' ? static_cast<long>(index) : -1;
}

long ZTKString::FindLastOf(const char* pszSet) const noexcept {
  if (pszSet == nullptr) return -1;
  bool isMember[256] = {};
  for (; *pszSet != '\0'; ++pszSet) isMember[static_cast<unsigned char>(*pszSet)] = true;
  for (unsigned long i = Len(); i-- > 0;) {
    if (isMember[static_cast<unsigned char>(m_pBuffer[i])]) return static_cast<long>(i);
  }
  return -1;
}

int ZTKString::Cmp(const ZTKString& other) const noexcept {
  if (this == &other) return 0;
  return CompareBytes(c_str(), Len(), other.c_str(), other.Len());
}

int ZTKString::Cmp(const char* psz) const noexcept {
  if (psz == nullptr) return -2;
  return CompareBytes(c_str(), Len(), psz, ZTKCountOf(std::strlen(psz)));
}

int ZTKString::CmpNoCase(const ZTKString& other) const noexcept {
  return CompareNoCase(c_str(), other.c_str());
}

int ZTKString::CmpNoCase(const char* psz) const noexcept {
  return psz != nullptr ? CompareNoCase(c_str(), psz) : -2;
}

bool ZTKString::IsSameAs(const char* psz, int bCase) const noexcept {
  return (bCase != 0 ? Cmp(psz) : CmpNoCase(psz)) == 0;
}

bool ZTKString::IsSameAs(char ch, int bCase) const noexcept {
  if (Len() != 1) return false;
  if (bCase != 0) return m_pBuffer[0] == ch;
  const int* table = XPUpperTable();
  return Convert(table, m_pBuffer[0]) == Convert(table, ch);
}

bool ZTKString::operator==(const ZTKString& other) const noexcept {
  if (!HasExactLength() || !other.HasExactLength()) {
    return std::strcmp(c_str(), other.c_str()) == 0;
  }
  return m_nDataLength == other.m_nDataLength &&
         std::memcmp(m_pBuffer, other.m_pBuffer, m_nDataLength) == 0;
}

ZTKString ZTKString::AfterFirst(char ch) const noexcept {
  const long index = Find(ch, 0);
  return index < 0 ? ZTKString() : Mid(static_cast<unsigned long>(index) + 1);
}

ZTKString ZTKString::AfterLast(char ch) const noexcept {
  const long index = Find(ch, 1);
  return index < 0 ? *this : Mid(static_cast<unsigned long>(index) + 1);
}

ZTKString ZTKString::BeforeFirst(char ch) const noexcept {
  const long index = Find(ch, 0);
  return index < 0 ? *this : Left(static_cast<unsigned long>(index));
}

ZTKString ZTKString::BeforeLast(char ch) const noexcept {
  const long index = Find(ch, 1);
  return index < 0 ? ZTKString() : Left(static_cast<unsigned long>(index));
}

ZTKString ZTKString::Left(unsigned long n) const noexcept { return ZTKString(*this, 0, n); }

ZTKString ZTKString::Right(unsigned long n) const noexcept {
  const unsigned long length = Len();
  return ZTKString(*this, length - std::min(n, length), n);
}

ZTKString ZTKString::Mid(unsigned long nFirst, unsigned long nCount) const noexcept {
  return ZTKString(*this, nFirst, nCount);
}

ZTKString ZTKString::SubString(unsigned long nFrom, unsigned long nTo) const noexcept {
  return Mid(nFrom, nTo - nFrom + 1);
}

bool ZTKString::IsNumber() const noexcept {
  const char* text = c_str();
  if (*text == '\0') return false;
  if (*text == '+' || *text == '-') ++text;
  while (*text >= '0' && *text <= '9') ++text;
  return *text == '\0';
}

bool ZTKString::IsAscii() const noexcept {
  const char* text = c_str();
  if (*text == '\0') return false;
  while (*text != '\0' && static_cast<signed char>(*text) >= 0) ++text;
  return *text == '\0';
}

int ZTKDoCmpNoCase(const char* pszA, unsigned long nLenA, const char* pszB,
                   unsigned long nLenB) noexcept {
  if (pszA == nullptr || pszB == nullptr) return -2;
  const unsigned long shorter = std::min(nLenA, nLenB);
  const int* table = XPLowerTable();
  for (unsigned long i = 0; i < shorter; ++i) {
    if (pszA[i] == pszB[i] || Convert(table, pszA[i]) == Convert(table, pszB[i])) continue;
    return OrderAsTheyStand(pszA[i], pszB[i]);
  }
  if (nLenA == nLenB) return 0;
  return nLenA < nLenB ? -1 : 1;
}
