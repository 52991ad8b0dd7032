// What the sanitizers are not to report in this one program: faults, real or not, of the libraries
// under the toolkit. Nothing of this project may be listed here.

// fontconfig keeps its patterns and character sets to the end of the process and frees none.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig.so\n"; }
