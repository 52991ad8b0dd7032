// What the sanitizers are not to report in this one program: faults, real or not, of the libraries
// under the toolkit. Nothing of this project may be listed here.

// A chooser that is closed while its threads still read a folder leaks names, and fontconfig frees
// nothing; their stacks cannot be followed, so leaks cannot be told apart by who made them. The
// portable part of the dialog is watched for leaks by its own tests, without a toolkit.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() { return "detect_leaks=0"; }

// The toolkit is not instrumented, so the locks and atomics of its worker threads go unseen. What
// this project does, and what it calls, is still watched.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() { return "ignore_noninstrumented_modules=1"; }
