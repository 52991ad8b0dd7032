// A plug-in for the tests. What it is called for it writes to an environment variable, the one
// place that outlives it; what its clean-up function does beyond that, a test may set.

#include <cstdlib>
#include <string>

namespace {

constexpr const char* kLog = "ZTK_TEST_MODULE_LOG";

void (*s_action)(void*) = nullptr;
void* s_context = nullptr;

void Log(const char* text) {
  const char* const before = std::getenv(kLog);
  setenv(kLog, ((before != nullptr ? std::string(before) : std::string()) + text).c_str(), 1);
}

}  // namespace

extern "C" {
#define EXPORT __attribute__((visibility("default")))
EXPORT void TestInit();
EXPORT void TestCleanup();
EXPORT int TestAdd(int a, int b);
EXPORT void TestSetCleanupAction(void (*action)(void*), void* context);

void TestInit() { Log("init;"); }

void TestCleanup() {
  Log("cleanup;");
  if (s_action != nullptr) s_action(s_context);
}

int TestAdd(int a, int b) { return a + b; }

void TestSetCleanupAction(void (*action)(void*), void* context) {
  s_action = action;
  s_context = context;
}
}
