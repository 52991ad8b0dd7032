#include "ztk/foundation/internal/string_xp.h"

#include <ctype.h>
#include <langinfo.h>
#include <strings.h>

#include <cstring>

ZTKSystemCodeSet XPSystemCodeSet() noexcept {
  const char* const name = nl_langinfo(CODESET);
  if (std::strcmp(name, "UTF-8") == 0) return ZTKSystemCodeSet::kUtf8;
  const bool isAscii =
      std::strcmp(name, "ANSI_X3.4-1968") == 0 || std::strcmp(name, "US-ASCII") == 0;
  return isAscii ? ZTKSystemCodeSet::kAscii : ZTKSystemCodeSet::kOther;
}

bool XPIsValidText(const char* psz) noexcept {
  std::mbstate_t state{};
  return std::mbsrtowcs(nullptr, &psz, 0, &state) != static_cast<size_t>(-1);
}

size_t XPDecode(const char* pText, std::mbstate_t& state, char32_t& codePoint) noexcept {
  wchar_t wide = 0;
  const size_t length = std::mbrtowc(&wide, pText, MB_LEN_MAX, &state);
  codePoint = static_cast<char32_t>(wide);
  return length <= MB_LEN_MAX ? length : 0;  // The values of errors are beyond.
}

size_t XPEncode(char32_t codePoint, std::mbstate_t& state, char* pTarget) noexcept {
  const std::mbstate_t before = state;
  const size_t length = std::wcrtomb(pTarget, static_cast<wchar_t>(codePoint), &state);
  if (length <= MB_LEN_MAX) return length;
  state = before;
  return 0;
}

// glibc, musl and the BSDs have it; it reads whole vectors (BM_StringFindLast).
const char* XPFindLast(const char* pText, char ch, size_t nCount) noexcept {
  return static_cast<const char*>(::memrchr(pText, static_cast<unsigned char>(ch), nCount));
}

bool XPHasPointInNumbers() noexcept { return std::strcmp(nl_langinfo(RADIXCHAR), ".") == 0; }

const int* XPLowerTable() noexcept { return *__ctype_tolower_loc(); }
const int* XPUpperTable() noexcept { return *__ctype_toupper_loc(); }

// `strcasecmp` looks bytes up as `unsigned char`, which makes a difference to 0xFF where that is a
// capital letter, as in KOI8-R. A sanitizer's stand-in for it lower-cases 'I' to 'i' in every
// locale, which is wrong in a Turkish one.
bool XPAreSameInLowerCase(const char* pszA, const char* pszB) noexcept {
  if (::strcasecmp(pszA, pszB) != 0) return false;
  const int* table = XPLowerTable();
  constexpr unsigned char kCapitalI = 'I';
  return table[0xFF] == 0xFF && table[kCapitalI] == 'i';
}
