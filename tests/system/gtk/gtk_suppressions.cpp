// What the sanitizers are not to report in this one program: faults, real or not, of the libraries
// under the toolkit. Nothing of this project may be listed here.

// fontconfig keeps its patterns and character sets to the end of the process and frees none.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig.so\n"; }

// The toolkit is not instrumented, so the locks and atomics of its worker threads go unseen. What
// this project does, and what it calls, is still watched.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() { return "ignore_noninstrumented_modules=1"; }
