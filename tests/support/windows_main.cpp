// The main function of every test program on Windows.
#include <gtest/gtest.h>
#include <process.h>
#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr int kCrashed = 99;

// The status that a crashed program ends with says nothing under Wine: say so, and choose one.
LONG WINAPI OnCrash(EXCEPTION_POINTERS* pException) {
  const EXCEPTION_RECORD& record = *pException->ExceptionRecord;
  std::fprintf(stderr, "\ncrashed: exception %08lX at %p\n", record.ExceptionCode,
               record.ExceptionAddress);
  std::fflush(stderr);
  _exit(kCrashed);
}

#ifdef _WIN64

constexpr uintptr_t kLowEnd = uintptr_t{1} << 32;
void* volatile s_block = nullptr;  // Seen, so that no compiler leaves an allocation out.

// Leaves no address below 4 GiB to be had: a pointer that is cut to 32 bits on its way must not
// happen to be right. Where heaps lie by themselves is below, under Wine.
void UseUpLowAddresses() {
  MEMORY_BASIC_INFORMATION region;
  for (uintptr_t at = 0; at < kLowEnd;) {
    if (VirtualQuery(reinterpret_cast<void*>(at), &region, sizeof region) == 0) break;
    const uintptr_t end = reinterpret_cast<uintptr_t>(region.BaseAddress) + region.RegionSize;
    if (region.State == MEM_FREE) {
      constexpr uintptr_t kGranularity = 0x10000;
      const uintptr_t first = (at + kGranularity - 1) & ~(kGranularity - 1);
      const uintptr_t last = end < kLowEnd ? end : kLowEnd;
      if (first != 0 && first < last) {
        VirtualAlloc(reinterpret_cast<void*>(first), last - first, MEM_RESERVE, PAGE_NOACCESS);
      }
    }
    at = end;
  }
  // What the heap has of it already, from large blocks to small ones. They stay in use.
  for (size_t size = size_t{1} << 20; size >= 8; size /= 2) {
    do {
      s_block = std::malloc(size);
    } while (reinterpret_cast<uintptr_t>(s_block) - 1 < kLowEnd);
  }
}

#else

void UseUpLowAddresses() {}

#endif

}  // namespace

int main(int argc, char** argv) {
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
  SetUnhandledExceptionFilter(OnCrash);
  UseUpLowAddresses();
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
