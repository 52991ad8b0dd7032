// What needs a process of its own: the memory of list nodes without a key of the thread library,
// and behind the static destructors. Says "passed", or what was wrong.
#include <pthread.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <thread>

#include "ztk/foundation/list.h"

namespace {

int g_element;

[[noreturn]] void End(const char* pszResult) {
  std::puts(pszResult);
  std::fflush(stdout);
  _exit(std::strcmp(pszResult, "passed") == 0 ? 0 : 1);
}

// Appends and deletes nodes, more than any thread keeps.
bool UseLists(unsigned long nNodes) {
  ZTKListBase list;
  for (unsigned long i = 0; i < nNodes; ++i) {
    if (!list.Append(&g_element)) return false;
  }
  if (list.GetCount() != nNodes) return false;
  while (list.GetFirst()) list.DeleteNode(list.GetFirst());
  return list.GetCount() == 0;
}

// With a search of all free nodes for each of them this would take hours.
void WithoutAKey() {
  pthread_key_t key;
  while (pthread_key_create(&key, nullptr) == 0) {
  }
  bool passed = UseLists(2'000'000);
  std::thread([&] { passed = UseLists(2'000'000) && passed; }).join();
  End(passed ? "passed" : "a node could not be made");
}

bool g_behindTheEnd = false;
void* g_foreign = nullptr;

// Runs when the destructors of static objects have run, those of the library among them.
[[gnu::destructor]] void BehindTheEnd() {
  if (!g_behindTheEnd) return;
  // The numbers of deleted keys are given out again.
  pthread_key_t keys[16];
  for (pthread_key_t& key : keys) {
    if (pthread_key_create(&key, [](void* p) { g_foreign = p; }) != 0) End("no key");
  }
  bool passed = UseLists(10'000);
  std::thread([&] { passed = UseLists(10'000) && passed; }).join();
  if (!passed) End("a node could not be made");
  for (const pthread_key_t key : keys) {
    if (pthread_getspecific(key)) End("somebody's key has our value");
  }
  End(g_foreign ? "somebody's destructor was called with our value" : "passed");
}

}  // namespace

int main(int argc, char** argv) {
  const std::string what = argc > 1 ? argv[1] : "";
  if (what == "without-a-key") WithoutAKey();
  if (!UseLists(10'000)) End("a node could not be made");
  g_behindTheEnd = true;
  return 0;  // Goes on in BehindTheEnd().
}
