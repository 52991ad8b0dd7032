#include "ztk/foundation/text_conversion.h"

#include <climits>
#include <cstring>
#include <cwchar>
#include <new>

#include "ztk/foundation/internal/string_xp.h"
#include "ztk/foundation/internal/utf8.h"
#include "ztk/foundation/internal/windows1252.h"
#include "ztk/foundation/string.h"

namespace {

using ztk_utf8::kReplacement;

enum class CodeSet {
  kUnknown,
  kUtf8,
  kWindows1252,
  kLocale,  // What the system converts for the current locale.
};

CodeSet CodeSetOf(unsigned int nCodePage) noexcept {
  if (nCodePage == kCodePageUtf8) return CodeSet::kUtf8;
  if (nCodePage != kCodePageSystem) return CodeSet::kUnknown;
  switch (XPSystemCodeSet()) {
    case ZTKSystemCodeSet::kUtf8:
      return CodeSet::kUtf8;
    case ZTKSystemCodeSet::kAscii:
      return CodeSet::kWindows1252;  // Its characters above 0x7F have to be something.
    case ZTKSystemCodeSet::kOther:
      break;
  }
  return CodeSet::kLocale;
}

/// The code set in which a text is read: that of the system only where the text is valid there.
CodeSet CodeSetToRead(const char* psz, unsigned int nCodePage) noexcept {
  const CodeSet codeSet = CodeSetOf(nCodePage);
  if (nCodePage != kCodePageSystem) return codeSet;
  if (codeSet == CodeSet::kLocale) return XPIsValidText(psz) ? codeSet : CodeSet::kWindows1252;
  return ztk_utf8::IsValid(psz) ? CodeSet::kUtf8 : CodeSet::kWindows1252;
}

/// Reads a NUL-terminated text code point by code point.
class Decoder {
 public:
  Decoder(const char* psz, CodeSet codeSet) noexcept : m_rest(psz), m_codeSet(codeSet) {}

  /// False at the end of the text.
  bool Next(char32_t& codePoint) noexcept {
    if (*m_rest == '\0') return false;
    if (m_codeSet == CodeSet::kUtf8) {
      const ztk_utf8::Decoded next = ztk_utf8::Decode(m_rest);
      m_rest += next.length;
      codePoint = next.codePoint;
    } else if (m_codeSet == CodeSet::kWindows1252) {
      const auto byte = static_cast<unsigned char>(*m_rest++);
      codePoint = ztk_windows1252::ToCodePoint(byte);
    } else {
      const size_t length = XPDecode(m_rest, m_state, codePoint);
      if (length == 0) return false;
      m_rest += length;
    }
    return true;
  }

 private:
  const char* m_rest;
  const CodeSet m_codeSet;
  std::mbstate_t m_state{};
};

/// Turns code points into the bytes of a code set.
class Encoder {
 public:
  explicit Encoder(CodeSet codeSet) noexcept : m_codeSet(codeSet) {}

  /// Writes one code point to the MB_LEN_MAX bytes at `pTarget` and returns how many it needed.
  unsigned Write(char32_t codePoint, char* pTarget) noexcept {
    if (m_codeSet == CodeSet::kUtf8) return ztk_utf8::Encode(codePoint, pTarget);
    if (m_codeSet == CodeSet::kWindows1252) {
      if (!ztk_windows1252::FromCodePoint(codePoint, *pTarget)) *pTarget = '?';
      return 1;
    }
    const size_t length = XPEncode(codePoint, m_state, pTarget);
    if (length > 0) return static_cast<unsigned>(length);
    *pTarget = '?';
    return 1;
  }

 private:
  const CodeSet m_codeSet;
  std::mbstate_t m_state{};
};

// A `wchar_t` holds any code point, or it is one of the 16-bit units of UTF-16.
constexpr bool kIsUtf16 = sizeof(wchar_t) == 2;

/// The elements of wide text that a code point takes.
constexpr unsigned WideLength(char32_t codePoint) noexcept {
  return kIsUtf16 && codePoint > 0xFFFF ? 2 : 1;
}

void WriteWide(char32_t codePoint, wchar_t* pTarget) noexcept {
  if (WideLength(codePoint) == 1) {
    *pTarget = static_cast<wchar_t>(codePoint);
  } else {
    pTarget[0] = static_cast<wchar_t>(0xD800 + ((codePoint - 0x10000) >> 10));
    pTarget[1] = static_cast<wchar_t>(0xDC00 + ((codePoint - 0x10000) & 0x3FF));
  }
}

/// Reads the next code point of wide text that is not at its end, joining surrogates.
char32_t NextCodePoint(const wchar_t*& pszText) noexcept {
  const auto first = static_cast<char32_t>(*pszText++);
  if (ztk_utf8::IsHighSurrogate(first) &&
      ztk_utf8::IsLowSurrogate(static_cast<char32_t>(*pszText))) {
    return ztk_utf8::JoinSurrogates(first, static_cast<char32_t>(*pszText++));
  }
  const bool isScalar = first < 0xD800 || (first > 0xDFFF && first <= 0x10FFFF);
  return isScalar ? first : kReplacement;
}

constexpr unsigned long kNoLimit = ULONG_MAX - 1;

// Convert at most `nMax` elements and the terminator, and return how many with it. A null target
// only counts.

unsigned long ToWide(const char* psz, wchar_t* pszDst, unsigned long nMax,
                     unsigned int nCodePage) noexcept {
  const CodeSet codeSet = CodeSetToRead(psz, nCodePage);
  if (codeSet == CodeSet::kUnknown) return 0;
  Decoder decoder(psz, codeSet);
  unsigned long count = 0;
  for (char32_t codePoint; count < nMax && decoder.Next(codePoint);) {
    const unsigned length = WideLength(codePoint);
    if (length > nMax - count) break;
    if (pszDst != nullptr) WriteWide(codePoint, pszDst + count);
    count += length;
  }
  if (pszDst != nullptr) pszDst[count] = L'\0';
  return count + 1;
}

unsigned long FromWide(const wchar_t* psz, char* pszDst, unsigned long nMax,
                       unsigned int nCodePage) noexcept {
  const CodeSet codeSet = CodeSetOf(nCodePage);
  if (codeSet == CodeSet::kUnknown) return 0;
  Encoder encoder(codeSet);
  unsigned long count = 0;
  while (*psz != L'\0') {
    char bytes[MB_LEN_MAX];
    const unsigned length = encoder.Write(NextCodePoint(psz), bytes);
    if (length > nMax - count) break;
    if (pszDst != nullptr) std::memcpy(pszDst + count, bytes, length);
    count += length;
  }
  if (pszDst != nullptr) pszDst[count] = '\0';
  return count + 1;
}

}  // namespace

bool XPSystemReadsUtf8() noexcept { return CodeSetOf(kCodePageSystem) != CodeSet::kLocale; }

unsigned long XPA2WRequiredLen(const char* pszSrc, unsigned int nCodePage) noexcept {
  return pszSrc != nullptr ? ToWide(pszSrc, nullptr, kNoLimit, nCodePage) : 0;
}

unsigned long XPW2ARequiredLen(const wchar_t* pszSrc, unsigned int nCodePage) noexcept {
  return pszSrc != nullptr ? FromWide(pszSrc, nullptr, kNoLimit, nCodePage) : 0;
}

unsigned long XPA2W(const char* pszSrc, wchar_t* pszDst, int nDstLen,
                    unsigned int nCodePage) noexcept {
  if (pszSrc == nullptr || pszDst == nullptr || nDstLen <= 0) return 0;
  return ToWide(pszSrc, pszDst, static_cast<unsigned long>(nDstLen) - 1, nCodePage);
}

unsigned long XPW2A(const wchar_t* pszSrc, char* pszDst, int nDstLen,
                    unsigned int nCodePage) noexcept {
  if (pszSrc == nullptr || pszDst == nullptr || nDstLen <= 0) return 0;
  return FromWide(pszSrc, pszDst, static_cast<unsigned long>(nDstLen) - 1, nCodePage);
}

unsigned long ZTKString::XPAChar2W(wchar_t** ppOut, char* pIn) noexcept {
  if (ppOut == nullptr) return 0;
  const unsigned long count = XPA2WRequiredLen(pIn, kCodePageSystem);
  *ppOut = count != 0 && count <= INT_MAX ? new (std::nothrow) wchar_t[count] : nullptr;
  return *ppOut != nullptr ? ToWide(pIn, *ppOut, count - 1, kCodePageSystem) : 0;
}

unsigned long ZTKString::XPWChar2A(char** ppOut, wchar_t* pIn) noexcept {
  if (ppOut == nullptr) return 0;
  const unsigned long count = XPW2ARequiredLen(pIn, kCodePageSystem);
  *ppOut = count != 0 && count <= INT_MAX ? new (std::nothrow) char[count] : nullptr;
  return *ppOut != nullptr ? FromWide(pIn, *ppOut, count - 1, kCodePageSystem) : 0;
}
