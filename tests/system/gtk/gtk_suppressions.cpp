// What the sanitizers are not to report in this one program: faults, real or not, of the libraries
// under the toolkit. Nothing of this project may be listed here.

#include "tests/system/gtk/gtk_suppressions.h"

#include <cstddef>

namespace {

bool s_bAbandoned = false;

// Volatile, or what is never read here, and what a constructor gives, is computed beforehand.
volatile bool s_bLoaded = false;  // The libraries are.
__attribute__((constructor)) void OnLoaded() { s_bLoaded = true; }

const volatile void* volatile s_quarks[4];
size_t s_nQuarks = 0;

}  // namespace

void ExpectAbandonedCall() { s_bAbandoned = true; }

// Fontconfig frees nothing. What GIO takes with plain malloc() is its table of file types, which it
// reads anew and loses; its objects come from GLib, and are still watched.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libfontconfig.so\nleak:libgio-2.0.so\n";
}

extern "C" int __lsan_is_turned_off();
extern "C" int __lsan_is_turned_off() { return s_bAbandoned ? 1 : 0; }

// The table of 2,048 names that GLib takes while it is loaded. When there are more it takes a
// larger one and keeps the old, which other threads may be reading, but not its address: this is
// one.
extern "C" void __sanitizer_malloc_hook(const volatile void* block, size_t size);
extern "C" void __sanitizer_malloc_hook(const volatile void* block, size_t size) {
  if (s_bLoaded || size != 2048 * sizeof(void*) || s_nQuarks == 4) return;
  s_quarks[s_nQuarks++] = block;
}

// The toolkit is not instrumented, so the locks and atomics of its worker threads go unseen. What
// this project does, and what it calls, is still watched.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() { return "ignore_noninstrumented_modules=1"; }
