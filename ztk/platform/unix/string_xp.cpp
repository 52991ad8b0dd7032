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
