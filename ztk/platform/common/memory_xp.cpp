#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

#include "ztk/platform/layer.h"

void XPPrepareMemory(void* pStart, size_t nSize) noexcept {
#ifdef MADV_POPULATE_WRITE
  static const auto page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
  const auto start = reinterpret_cast<uintptr_t>(pStart);
  const uintptr_t first = (start + page - 1) & ~(page - 1);
  const uintptr_t last = (start + nSize) & ~(page - 1);
  if (first >= last) return;
  const int error = errno;
  madvise(reinterpret_cast<void*>(first), last - first, MADV_POPULATE_WRITE);
  errno = error;
#else
  static_cast<void>(pStart);
  static_cast<void>(nSize);
#endif
}
