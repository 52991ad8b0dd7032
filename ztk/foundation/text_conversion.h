#pragma once

#include <climits>
#include <new>

#include "ztk/export.h"

/// Conversions between 8-bit and wide text, in a code page. Wide text has one code point per
/// `wchar_t`, or is UTF-16 where a `wchar_t` has 16 bits, as on Windows: lengths count its units,
/// and a surrogate pair is one character.
///
/// Code page 65001 is UTF-8. An ill-formed part becomes one U+FFFD, as do a lone surrogate and a
/// value past U+10FFFF in wide text; two surrogates in a row are joined.
///
/// Code page 0 is the codeset of the current locale. In a UTF-8 locale and in the "C" locale a
/// text that is valid UTF-8 is read as such and any other as Windows-1252, so that no byte is lost;
/// the five bytes that Windows-1252 leaves open are U+0081, U+008D, U+008F, U+0090 and U+009D.
/// Towards 8 bits a UTF-8 locale writes UTF-8, "C" writes Windows-1252 and any other its codeset,
/// with '?' for what does not fit. On Windows the codeset is the system's ANSI code page, whatever
/// the locale of the C library is.
///
/// Any other code page, and a null source or target, converts nothing and returns 0.

constexpr unsigned int kCodePageSystem = 0;
constexpr unsigned int kCodePageUtf8 = 65001;

/// Elements that the conversion of `pszSrc` takes, the terminator included.
ZTK_API unsigned long XPA2WRequiredLen(const char* pszSrc, unsigned int nCodePage) noexcept;
ZTK_API unsigned long XPW2ARequiredLen(const wchar_t* pszSrc, unsigned int nCodePage) noexcept;

/// Convert into the `nDstLen` elements at `pszDst` and return how many were written, terminator
/// included. The result is always terminated, and cut between two characters when it does not fit.
/// With `nDstLen` of 0 or less nothing is written.
ZTK_API unsigned long XPA2W(const char* pszSrc, wchar_t* pszDst, int nDstLen,
                            unsigned int nCodePage) noexcept;
ZTK_API unsigned long XPW2A(const wchar_t* pszSrc, char* pszDst, int nDstLen,
                            unsigned int nCodePage) noexcept;

/// Whether code page 0 reads a text that is valid UTF-8 as just that. Not in a locale with another
/// codeset.
ZTK_API bool XPSystemReadsUtf8() noexcept;

namespace ztk_detail {

/// A zero-filled target of `nCount` elements on the heap; null when the allocation fails or a
/// conversion, which counts in `int`, could not fill it.
template <typename Char>
Char* NewConversionTarget(unsigned long nCount) noexcept {
  return nCount <= INT_MAX ? new (std::nothrow) Char[nCount]() : nullptr;
}

}  // namespace ztk_detail

/// Wide text as 8-bit text, inside the object when it takes fewer than N bytes, else on the heap.
/// Read it through `m_psz`: null for a null source, "" when nothing could be converted.
template <int N>
class ZTKCW2AEX {
 public:
  ZTKCW2AEX(const wchar_t* pszSrc, unsigned int nCodePage) noexcept : m_psz(m_inline) {
    m_inline[0] = '\0';
    Init(pszSrc, nCodePage);
  }
  ZTKCW2AEX(const ZTKCW2AEX&) = delete;
  ZTKCW2AEX& operator=(const ZTKCW2AEX&) = delete;
  ~ZTKCW2AEX() {
    if (m_psz != nullptr && m_psz != m_inline) delete[] m_psz;
  }

  char* m_psz;

 private:
  void Init(const wchar_t* pszSrc, unsigned int nCodePage) noexcept {
    if (pszSrc == nullptr) {
      m_psz = nullptr;
      return;
    }
    const unsigned long n = XPW2ARequiredLen(pszSrc, nCodePage);
    if (n >= static_cast<unsigned long>(N)) {
      char* block = ztk_detail::NewConversionTarget<char>(n);
      if (block == nullptr) return;
      m_psz = block;
    }
    XPW2A(pszSrc, m_psz, static_cast<int>(n), nCodePage);
  }

  char m_inline[N];
};

/// 8-bit text as wide text, inside the object when it takes fewer than N elements, else on the
/// heap. Read it through `m_psz`: null for a null source, "" when nothing could be converted.
template <int N>
class ZTKCA2WEX {
 public:
  ZTKCA2WEX(const char* pszSrc, unsigned int nCodePage) noexcept : m_psz(m_inline) {
    m_inline[0] = L'\0';
    Init(pszSrc, nCodePage);
  }
  ZTKCA2WEX(const ZTKCA2WEX&) = delete;
  ZTKCA2WEX& operator=(const ZTKCA2WEX&) = delete;
  ~ZTKCA2WEX() {
    if (m_psz != nullptr && m_psz != m_inline) delete[] m_psz;
  }

  wchar_t* m_psz;

 private:
  void Init(const char* pszSrc, unsigned int nCodePage) noexcept {
    if (pszSrc == nullptr) {
      m_psz = nullptr;
      return;
    }
    const unsigned long n = XPA2WRequiredLen(pszSrc, nCodePage);
    if (n >= static_cast<unsigned long>(N)) {
      wchar_t* block = ztk_detail::NewConversionTarget<wchar_t>(n);
      if (block == nullptr) return;
      m_psz = block;
    }
    XPA2W(pszSrc, m_psz, static_cast<int>(n), nCodePage);
  }

  wchar_t m_inline[N];
};
