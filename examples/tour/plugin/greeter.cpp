// A plug-in for the tour: what it is called for, it says.

#include <cstdio>

extern "C" {
#ifdef _WIN32
#define EXPORT __declspec(dllexport)
#else
#define EXPORT __attribute__((visibility("default")))
#endif
EXPORT void GreeterInit();
EXPORT void GreeterCleanup();
EXPORT int GreeterAdd(int a, int b);

void GreeterInit() { std::printf("  (plug-in) hello\n"); }
void GreeterCleanup() { std::printf("  (plug-in) good-bye\n"); }
int GreeterAdd(int a, int b) { return a + b; }
}
