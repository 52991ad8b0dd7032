#include <ctype.h>
#include <langinfo.h>
#include <strings.h>

#include <climits>
#include <cstring>
#include <cwchar>
#include <new>

#include "ztk/foundation/internal/case_table.h"
#include "ztk/foundation/internal/utf8.h"
#include "ztk/foundation/internal/windows1252.h"
#include "ztk/foundation/string.h"
#include "ztk/foundation/text_conversion.h"

namespace {

using ztk_utf8::kReplacement;

enum class CodeSet {
  kUnknown,
  kUtf8,
  kWindows1252,
  kLocale,  // What the C library converts for the current locale.
};

/// What code page 0 is under the current locale; kWindows1252 for the plain "C" locale.
CodeSet SystemCodeSet() noexcept {
  const char* name = nl_langinfo(CODESET);
  if (std::strcmp(name, "UTF-8") == 0) return CodeSet::kUtf8;
  if (std::strcmp(name, "ANSI_X3.4-1968") == 0 || std::strcmp(name, "US-ASCII") == 0) {
    return CodeSet::kWindows1252;
  }
  return CodeSet::kLocale;
}

/// Reads a NUL-terminated text code point by code point.
class Decoder {
 public:
  Decoder(const char* psz, unsigned int nCodePage) noexcept : m_rest(psz) {
    if (nCodePage == kCodePageUtf8) {
      m_codeSet = CodeSet::kUtf8;
    } else if (nCodePage == kCodePageSystem) {
      m_codeSet = SystemCodeSet();
      const bool isWhole =
          m_codeSet == CodeSet::kLocale ? IsValidInLocale(psz) : ztk_utf8::IsValid(psz);
      if (!isWhole) {
        m_codeSet = CodeSet::kWindows1252;
      } else if (m_codeSet == CodeSet::kWindows1252) {
        m_codeSet = CodeSet::kUtf8;
      }
    }
  }

  bool IsKnown() const noexcept { return m_codeSet != CodeSet::kUnknown; }

  /// False at the end of the text.
  bool Next(wchar_t& wch) noexcept {
    if (*m_rest == '\0') return false;
    if (m_codeSet == CodeSet::kUtf8) {
      const ztk_utf8::Decoded next = ztk_utf8::Decode(m_rest);
      m_rest += next.length;
      wch = static_cast<wchar_t>(next.codePoint);
    } else if (m_codeSet == CodeSet::kWindows1252) {
      const auto byte = static_cast<unsigned char>(*m_rest++);
      wch = static_cast<wchar_t>(ztk_windows1252::ToCodePoint(byte));
    } else {
      const size_t length = std::mbrtowc(&wch, m_rest, MB_LEN_MAX, &m_state);
      if (length - 1 >= MB_LEN_MAX) return false;  // Nothing, or an error that was ruled out.
      m_rest += length;
    }
    return true;
  }

 private:
  static bool IsValidInLocale(const char* psz) noexcept {
    std::mbstate_t state{};
    return std::mbsrtowcs(nullptr, &psz, 0, &state) != static_cast<size_t>(-1);
  }

  const char* m_rest;
  CodeSet m_codeSet = CodeSet::kUnknown;
  std::mbstate_t m_state{};
};

/// Turns code points into the bytes of a code page.
class Encoder {
 public:
  explicit Encoder(unsigned int nCodePage) noexcept
      : m_codeSet(nCodePage == kCodePageUtf8     ? CodeSet::kUtf8
                  : nCodePage == kCodePageSystem ? SystemCodeSet()
                                                 : CodeSet::kUnknown) {}

  bool IsKnown() const noexcept { return m_codeSet != CodeSet::kUnknown; }

  /// Writes one code point to `pTarget`, which has room for MB_LEN_MAX bytes, and returns how many
  /// bytes it took.
  unsigned Write(char32_t codePoint, char* pTarget) noexcept {
    if (m_codeSet == CodeSet::kUtf8) return ztk_utf8::Encode(codePoint, pTarget);
    if (m_codeSet == CodeSet::kWindows1252) {
      if (!ztk_windows1252::FromCodePoint(codePoint, *pTarget)) *pTarget = '?';
      return 1;
    }
    const std::mbstate_t before = m_state;
    const size_t length = std::wcrtomb(pTarget, static_cast<wchar_t>(codePoint), &m_state);
    if (length - 1 < MB_LEN_MAX) return static_cast<unsigned>(length);
    m_state = before;
    *pTarget = '?';
    return 1;
  }

 private:
  CodeSet m_codeSet;
  std::mbstate_t m_state{};
};

/// Takes the next code point from wide text that is not at its end, joining surrogates.
char32_t TakeCodePoint(const wchar_t*& pszText) noexcept {
  const auto first = static_cast<char32_t>(*pszText++);
  if (ztk_utf8::IsHighSurrogate(first) &&
      ztk_utf8::IsLowSurrogate(static_cast<char32_t>(*pszText))) {
    return ztk_utf8::JoinSurrogates(first, static_cast<char32_t>(*pszText++));
  }
  const bool isScalar = first < 0xD800 || (first > 0xDFFF && first <= 0x10FFFF);
  return isScalar ? first : kReplacement;
}

}  // namespace

bool XPSystemReadsUtf8() noexcept { return SystemCodeSet() != CodeSet::kLocale; }
const int* XPLowerTable() noexcept { return *__ctype_tolower_loc(); }
const int* XPUpperTable() noexcept { return *__ctype_toupper_loc(); }

// `strcasecmp` looks bytes up as `unsigned char`, which makes a difference to 0xFF where that is a
// capital letter, as in KOI8-R. A sanitizer's stand-in for it thinks of 'I' as of 'i' in every
// locale, which is wrong in a Turkish one.
bool XPAreSameInLowerCase(const char* pszA, const char* pszB) noexcept {
  if (::strcasecmp(pszA, pszB) != 0) return false;
  const int* table = XPLowerTable();
  constexpr unsigned char kCapitalI = 'I';
  return table[0xFF] == 0xFF && table[kCapitalI] == 'i';
}

unsigned long XPA2WRequiredLen(const char* pszSrc, unsigned int nCodePage) noexcept {
  if (pszSrc == nullptr) return 0;
  Decoder decoder(pszSrc, nCodePage);
  if (!decoder.IsKnown()) return 0;
  unsigned long count = 1;
  for (wchar_t wch; decoder.Next(wch);) ++count;
  return count;
}

unsigned long XPW2ARequiredLen(const wchar_t* pszSrc, unsigned int nCodePage) noexcept {
  Encoder encoder(nCodePage);
  if (pszSrc == nullptr || !encoder.IsKnown()) return 0;
  unsigned long count = 1;
  char bytes[MB_LEN_MAX];
  while (*pszSrc != L'\0') count += encoder.Write(TakeCodePoint(pszSrc), bytes);
  return count;
}

unsigned long XPA2W(const char* pszSrc, wchar_t* pszDst, int nDstLen,
                    unsigned int nCodePage) noexcept {
  if (pszSrc == nullptr || pszDst == nullptr || nDstLen <= 0) return 0;
  Decoder decoder(pszSrc, nCodePage);
  if (!decoder.IsKnown()) return 0;

  const auto room = static_cast<unsigned long>(nDstLen) - 1;
  unsigned long count = 0;
  for (wchar_t wch; count < room && decoder.Next(wch);) pszDst[count++] = wch;
  pszDst[count] = L'\0';
  return count + 1;
}

unsigned long XPW2A(const wchar_t* pszSrc, char* pszDst, int nDstLen,
                    unsigned int nCodePage) noexcept {
  Encoder encoder(nCodePage);
  if (pszSrc == nullptr || pszDst == nullptr || nDstLen <= 0 || !encoder.IsKnown()) return 0;

  const auto room = static_cast<unsigned long>(nDstLen) - 1;
  unsigned long count = 0;
  while (*pszSrc != L'\0') {
    char bytes[MB_LEN_MAX];
    const unsigned length = encoder.Write(TakeCodePoint(pszSrc), bytes);
    if (length > room - count) break;
    std::memcpy(pszDst + count, bytes, length);
    count += length;
  }
  pszDst[count] = '\0';
  return count + 1;
}

unsigned long ZTKString::XPAChar2W(wchar_t** ppOut, char* pIn) noexcept {
  if (ppOut == nullptr) return 0;
  const unsigned long count = XPA2WRequiredLen(pIn, kCodePageSystem);
  *ppOut = count != 0 && count <= INT_MAX ? new (std::nothrow) wchar_t[count] : nullptr;
  return *ppOut != nullptr ? XPA2W(pIn, *ppOut, static_cast<int>(count), kCodePageSystem) : 0;
}

unsigned long ZTKString::XPWChar2A(char** ppOut, wchar_t* pIn) noexcept {
  if (ppOut == nullptr) return 0;
  const unsigned long count = XPW2ARequiredLen(pIn, kCodePageSystem);
  *ppOut = count != 0 && count <= INT_MAX ? new (std::nothrow) char[count] : nullptr;
  return *ppOut != nullptr ? XPW2A(pIn, *ppOut, static_cast<int>(count), kCodePageSystem) : 0;
}
