#include <time.h>

#include <cstdio>

#include "ztk/log/log.h"
#include "ztk/platform/layer.h"

int XPVsnprintf(char* pszBuf, unsigned long nSize, const char* pszFormat, va_list args) {
  return std::vsnprintf(pszBuf, nSize, pszFormat, args);
}

bool XPLocalTime(std::time_t now, std::tm& result) noexcept {
  tzset();
  return localtime_r(&now, &result) != nullptr;
}
