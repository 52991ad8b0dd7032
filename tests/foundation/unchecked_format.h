#pragma once

#include <cstdarg>

#include "ztk/foundation/string.h"

/// Formats with what a compiler would refuse, or cannot see; through a pointer it does not look.
inline int FormatUnchecked(ZTKString& text, const char* pszFormat, ...) {
  int (ZTKString::*const printfV)(const char*, va_list) noexcept = &ZTKString::PrintfV;
  va_list args;
  va_start(args, pszFormat);
  const int length = (text.*printfV)(pszFormat, args);
  va_end(args);
  return length;
}
