#include "tests/support/pages.h"

#ifdef _WIN32

#include <windows.h>
// After it.
#include <malloc.h>
#include <psapi.h>

Pages::Pages(size_t nPages)
    : m_pStart(static_cast<char*>(
          VirtualAlloc(nullptr, nPages * PageSize(), MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE))),
      m_nPages(nPages) {}

Pages::~Pages() { VirtualFree(m_pStart, 0, MEM_RELEASE); }

size_t Pages::PageSize() {
  SYSTEM_INFO info;
  GetSystemInfo(&info);
  return info.dwPageSize;
}

bool Pages::Protect(size_t i, Access access) {
  DWORD before = 0;
  const DWORD protection = access == kNone ? PAGE_NOACCESS : PAGE_READONLY;
  return VirtualProtect(Page(i), PageSize(), protection, &before) != FALSE;
}

size_t UsableSize(void* pBlock) { return _msize(pBlock); }

size_t HeapBytes() {
  size_t bytes = 0;
  for (_HEAPINFO block{}; _heapwalk(&block) == _HEAPOK;) {
    if (block._useflag == _USEDENTRY) bytes += block._size;
  }
  return bytes;
}

ProcessUse ProcessUse::Now() {
  PROCESS_MEMORY_COUNTERS memory{};
  K32GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
  FILETIME start, end, kernel, user;
  GetProcessTimes(GetCurrentProcess(), &start, &end, &kernel, &user);
  const unsigned long long ticks =
      static_cast<unsigned long long>(user.dwHighDateTime) << 32 | user.dwLowDateTime;
  return {static_cast<long>(memory.PeakWorkingSetSize / 1024),
          static_cast<long>(ticks / 10'000'000)};
}

#else

#include <malloc.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

Pages::Pages(size_t nPages)
    : m_pStart(static_cast<char*>(mmap(nullptr, nPages * PageSize(), PROT_READ | PROT_WRITE,
                                       MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))),
      m_nPages(nPages) {
  if (m_pStart == MAP_FAILED) m_pStart = nullptr;
}

Pages::~Pages() {
  if (m_pStart != nullptr) munmap(m_pStart, m_nPages * PageSize());
}

size_t Pages::PageSize() { return static_cast<size_t>(sysconf(_SC_PAGESIZE)); }

bool Pages::Protect(size_t i, Access access) {
  return mprotect(Page(i), PageSize(), access == kNone ? PROT_NONE : PROT_READ) == 0;
}

size_t UsableSize(void* pBlock) { return malloc_usable_size(pBlock); }

size_t HeapBytes() { return mallinfo2().uordblks + mallinfo2().hblkhd; }

ProcessUse ProcessUse::Now() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return {static_cast<long>(usage.ru_maxrss), static_cast<long>(usage.ru_utime.tv_sec)};
}

#endif
