// Depends on a library that is not to be found.
extern "C" {
__declspec(dllimport) int TestCalls();
__declspec(dllexport) int TestNeeding() { return TestCalls(); }
}
