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

bool XPIsSameNoCase(const char* pszA, const char* pszB) noexcept {
  return ::strcasecmp(pszA, pszB) == 0;
}
