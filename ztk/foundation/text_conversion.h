#pragma once

#include "ztk/export.h"

/// Conversions between 8-bit and wide text in a code page: 0 is the system's, 65001 is UTF-8.
/// The `RequiredLen` operations count the terminator; the others return the elements written,
/// terminator included, never more than `nDstLen`, and always terminate what they write.
ZTK_API unsigned long XPA2WRequiredLen(const char* pszSrc, unsigned int nCodePage) noexcept;
ZTK_API unsigned long XPW2ARequiredLen(const wchar_t* pszSrc, unsigned int nCodePage) noexcept;
ZTK_API unsigned long XPA2W(const char* pszSrc, wchar_t* pszDst, int nDstLen,
                            unsigned int nCodePage) noexcept;
ZTK_API unsigned long XPW2A(const wchar_t* pszSrc, char* pszDst, int nDstLen,
                            unsigned int nCodePage) noexcept;

constexpr unsigned int kCodePageSystem = 0;
constexpr unsigned int kCodePageUtf8 = 65001;

/// Wide text as 8-bit text, on the stack when it is short. Read it through `m_psz`.
template <int N>
class ZTKCW2AEX {
 public:
  ZTKCW2AEX(const wchar_t* pszSrc, unsigned int nCodePage) noexcept;
  ZTKCW2AEX(const ZTKCW2AEX&) = delete;
  ZTKCW2AEX& operator=(const ZTKCW2AEX&) = delete;
  ~ZTKCW2AEX();

  char* m_psz;

 private:
  void Init(const wchar_t* pszSrc, unsigned int nCodePage) noexcept;
  char m_inline[N];
};

/// 8-bit text as wide text, on the stack when it is short. Read it through `m_psz`.
template <int N>
class ZTKCA2WEX {
 public:
  ZTKCA2WEX(const char* pszSrc, unsigned int nCodePage) noexcept;
  ZTKCA2WEX(const ZTKCA2WEX&) = delete;
  ZTKCA2WEX& operator=(const ZTKCA2WEX&) = delete;
  ~ZTKCA2WEX();

  wchar_t* m_psz;

 private:
  void Init(const char* pszSrc, unsigned int nCodePage) noexcept;
  wchar_t m_inline[N];
};
