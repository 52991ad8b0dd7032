// A module of the tests: what it is called for, it counts.

namespace {

int s_calls = 0;

}  // namespace

extern "C" {
__declspec(dllexport) void TestInit() { s_calls += 1; }
__declspec(dllexport) void TestCleanup() { s_calls += 100; }
__declspec(dllexport) int TestCalls() { return s_calls; }
}
