#include <signal.h>

#include <cstdio>

#include "ztk/log/log.h"
#include "ztk/platform/posix/debugger.h"

namespace {

const char* OrEmpty(const char* psz) noexcept { return psz != nullptr ? psz : ""; }

}  // namespace

void XPOnAssert(const char* pszFile, long nLine, const char* pszText, const char* pszMsg) {
  std::fprintf(stderr, "%s:%ld: assertion failed: %s: %s\n", OrEmpty(pszFile), nLine,
               OrEmpty(pszText), OrEmpty(pszMsg));
  if (XPHasDebugger()) raise(SIGTRAP);
}
