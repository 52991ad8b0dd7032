#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

#include "ztk/foundation/internal/memory_xp.h"

void XPPrepareMemory(void* pStart, size_t nSize) noexcept {
#ifdef MADV_POPULATE_WRITE
  static const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  const size_t beforePage = (0 - reinterpret_cast<uintptr_t>(pStart)) % page;
  if (nSize < beforePage + page) return;  // Holds no page that begins in it.
  const size_t pages = (nSize - beforePage) / page;
  const int error = errno;
  madvise(static_cast<char*>(pStart) + beforePage, pages * page, MADV_POPULATE_WRITE);
  errno = error;
#else
  static_cast<void>(pStart);
  static_cast<void>(nSize);
#endif
}
