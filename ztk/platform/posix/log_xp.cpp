#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "ztk/file/internal/file_xp.h"
#include "ztk/log/log.h"

namespace {

const char* OrEmpty(const char* psz) noexcept { return psz != nullptr ? psz : ""; }

bool ReadStart(const char* pszPath, char* pszBuf, size_t nSize) noexcept {
  std::FILE* stream = XPOpenStream(pszPath, "rb", 0);
  if (stream == nullptr) return false;
  pszBuf[std::fread(pszBuf, 1, nSize - 1, stream)] = '\0';
  std::fclose(stream);
  return true;
}

// Programs that merely trace do not catch a break, and it would end this process: only what is
// known to be a debugger counts.
bool HasDebugger() noexcept {
  char text[1024];
  if (!ReadStart("/proc/self/status", text, sizeof text)) return false;
  const char* line = std::strstr(text, "\nTracerPid:");
  if (line == nullptr) return false;
  const long tracer = std::strtol(line + std::strlen("\nTracerPid:"), nullptr, 10);
  if (tracer == 0) return false;

  char path[64];
  std::snprintf(path, sizeof path, "/proc/%ld/comm", tracer);
  if (!ReadStart(path, text, sizeof text)) return false;
  for (const char* debugger : {"gdb", "lldb", "codelldb", "rr\n"}) {
    if (std::strncmp(text, debugger, std::strlen(debugger)) == 0) return true;
  }
  return false;
}

}  // namespace

void XPOnAssert(const char* pszFile, long nLine, const char* pszText, const char* pszMsg) {
  std::fprintf(stderr, "%s:%ld: assertion failed: %s: %s\n", OrEmpty(pszFile), nLine,
               OrEmpty(pszText), OrEmpty(pszMsg));
  if (HasDebugger()) raise(SIGTRAP);
}
