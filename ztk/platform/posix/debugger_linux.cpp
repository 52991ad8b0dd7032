#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "ztk/file/internal/file_xp.h"
#include "ztk/platform/posix/debugger.h"

namespace {

bool ReadStart(const char* pszPath, char* pszBuf, size_t nSize) noexcept {
  XPStream* const stream = XPOpenStream(pszPath, "rb", 0);
  if (stream == nullptr) return false;
  pszBuf[XPReadStream(stream, pszBuf, nSize - 1)] = '\0';
  XPCloseStream(stream);
  return true;
}

}  // namespace

bool XPHasDebugger() noexcept {
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
