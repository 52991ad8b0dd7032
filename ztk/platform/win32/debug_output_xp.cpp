#include "ztk/log/internal/debug_output_xp.h"

#include <windows.h>

#include <cstdio>

#include "ztk/log/log.h"
#include "ztk/platform/win32/console.h"

namespace {

constexpr int kMaxUnits = 1100;  // More than a line of debug output has.

const char* OrEmpty(const char* psz) noexcept { return psz != nullptr ? psz : ""; }

// To the debugger, or whoever listens in its place. A text for people to read: what is no UTF-8
// comes as a replacement character, and what is too long is left out.
void TellDebugger(const char* pszText) noexcept {
  wchar_t wide[kMaxUnits];
  if (MultiByteToWideChar(CP_UTF8, 0, pszText, -1, wide, kMaxUnits) > 0) OutputDebugStringW(wide);
}

}  // namespace

void XPWriteDebugLine(const char* pszLine, size_t nLength) noexcept {
  WriteToErrorStream({pszLine, nLength});
  TellDebugger(pszLine);
}

void XPOnAssert(const char* pszFile, long nLine, const char* pszText, const char* pszMsg) {
  char line[kMaxUnits];
  const int length = std::snprintf(line, sizeof line, "%s:%ld: assertion failed: %s: %s\n",
                                   OrEmpty(pszFile), nLine, OrEmpty(pszText), OrEmpty(pszMsg));
  if (length >= 0 && static_cast<size_t>(length) < sizeof line) {
    WriteToErrorStream({line, static_cast<size_t>(length)});
  } else {
    std::fprintf(stderr, "%s:%ld: assertion failed: %s: %s\n", OrEmpty(pszFile), nLine,
                 OrEmpty(pszText), OrEmpty(pszMsg));
    std::fflush(stderr);
  }
  if (length > 0) TellDebugger(line);
  if (IsDebuggerPresent() != FALSE) DebugBreak();
}
