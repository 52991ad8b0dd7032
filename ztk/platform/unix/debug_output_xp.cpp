#include "ztk/log/internal/debug_output_xp.h"

#include <cstdio>

void XPWriteDebugLine(const char* pszLine, size_t nLength) noexcept {
  std::fwrite(pszLine, 1, nLength, stderr);
}
