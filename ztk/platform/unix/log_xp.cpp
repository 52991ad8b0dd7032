#include <time.h>

#include <cstdio>

#include "ztk/log/internal/log_xp.h"
#include "ztk/log/log.h"

int XPVsnprintf(char* pszBuf, unsigned long nSize, const char* pszFormat, va_list args) {
  return std::vsnprintf(pszBuf, nSize, pszFormat, args);
}

bool XPLocalTime(std::time_t now, std::tm& result) noexcept {
  tzset();
  return localtime_r(&now, &result) != nullptr;
}
