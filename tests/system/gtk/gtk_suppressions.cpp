// What the sanitizers are not to report in this one program: faults, real or not, of the libraries
// under the toolkit. Nothing of this project may be listed here.

#include "tests/system/gtk/gtk_suppressions.h"

namespace {

bool s_bAbandoned = false;

}  // namespace

void ExpectAbandonedCall() { s_bAbandoned = true; }

// Fontconfig frees nothing.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig.so\n"; }

extern "C" int __lsan_is_turned_off();
extern "C" int __lsan_is_turned_off() { return s_bAbandoned ? 1 : 0; }

// The toolkit is not instrumented, so the locks and atomics of its worker threads go unseen. What
// this project does, and what it calls, is still watched.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() { return "ignore_noninstrumented_modules=1"; }
