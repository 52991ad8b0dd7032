// Handles of modules: from several threads, and those that are none of the system's.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "tests/system/module_support.h"
#include "ztk/platform/mac/services/bundles.h"
#include "ztk/system/module.h"

using namespace ztk_mac_services;

namespace {

constexpr std::array<const char*, 2> kLibraries = {"libztk_test_module.so", "ztk_plain_module.so"};
constexpr int kThreads = 4;

// Runs the same work in four threads, which begin together.
template <class Work>
void InFourThreads(Work work) {
  std::atomic<int> waiting = kThreads;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      --waiting;
      while (waiting != 0) std::this_thread::yield();
      work(i);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

class ZTKModuleHandles : public ZTKModuleTest {};

TEST_F(ZTKModuleHandles, EveryThreadMayHaveAModuleOfItsOwn) {
  const long objects = CFCountObjects();
  std::atomic<int> wrong = 0;
  InFourThreads([&](int thread) {
    for (int i = 0; i < 200; ++i) {
      // Now the same library in all threads, now another one in each second thread.
      const auto which = static_cast<size_t>(i % 2 == 0 ? 0 : thread % 2);
      const ZTKModule module(kLibraries[which], "", "");
      if (!module.IsLoaded() || Add(module, i, thread) != i + thread) ++wrong;
    }
  });
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(CFCountObjects(), objects);
  for (const char* const library : kLibraries) EXPECT_FALSE(InProcess(library)) << library;
}

TEST_F(ZTKModuleHandles, ThreadsShareTheOneBundleOfAPath) {
  const long objects = CFCountObjects();
  ZTKModule held(kLibraries[0], "", "");
  std::atomic<int> others = 0;
  InFourThreads([&](int) {
    for (int i = 0; i < 200; ++i) {
      const ZTKModule module(kLibraries[0], "", "");
      if (module.GetLibHandle() != held.GetLibHandle()) ++others;
    }
  });
  EXPECT_EQ(others, 0);
  EXPECT_EQ(Add(held, 20, 22), 42);
  held.Unload();
  EXPECT_FALSE(InProcess(kLibraries[0]));
  EXPECT_EQ(CFCountObjects(), objects);
}

TEST_F(ZTKModuleHandles, OneOfTheLoaderIsLeftAlone) {
  void* const handle = dlopen((ModuleFolder() / kLibraries[1]).c_str(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(handle, nullptr);
  // The loader's record of the library, which begins at the handle.
  const auto* const record = static_cast<const unsigned char*>(handle);
  const std::vector<unsigned char> before(record, record + 64);
  {
    ZTKModule module;
    module.SetInitCleanupName("", "TestCleanup");
    EXPECT_EQ(module.Attach(handle), nullptr);
    EXPECT_EQ(module.GetSymbol("TestAdd"), nullptr);
    module.Unload();
    EXPECT_FALSE(module.IsLoaded());
  }
  EXPECT_EQ(std::vector<unsigned char>(record, record + 64), before);
  EXPECT_NE(dlsym(handle, "TestAdd"), nullptr);
  EXPECT_EQ(dlclose(handle), 0);
  EXPECT_FALSE(InProcess(kLibraries[1]));
}

// Not one byte behind the pointer is read: there is none.
TEST_F(ZTKModuleHandles, OneThatPointsNowhereIsNeverRead) {
  for (const uintptr_t address : {uintptr_t{1}, uintptr_t{16}, ~uintptr_t{15}}) {
    void* nowhere = nullptr;
    std::memcpy(&nowhere, &address, sizeof nowhere);
    ZTKModule module;
    module.Attach(nowhere);
    EXPECT_TRUE(module.IsLoaded());
    EXPECT_EQ(module.GetSymbol("TestAdd"), nullptr);
    module.Unload();
    EXPECT_FALSE(module.IsLoaded());
  }
}

TEST_F(ZTKModuleHandles, OneThatWasUnloadedElsewhereIsNoBundleAnyMore) {
  ZTKModule first(kLibraries[1], "", "");
  ASSERT_TRUE(first.IsLoaded());
  ZTKModule second;
  second.Attach(first.GetLibHandle());
  EXPECT_EQ(Add(second, 1, 2), 3);
  first.Unload();
  EXPECT_EQ(second.GetSymbol("TestAdd"), nullptr);
  second.Unload();
  EXPECT_FALSE(second.IsLoaded());
}

}  // namespace
