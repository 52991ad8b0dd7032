#include "ztk/system/module.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/scoped_process.h"
#include "tests/system/module_support.h"

namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* kModule = "libztk_test_module.so";

TEST_F(ZTKModuleTest, NewModuleHoldsNothing) {
  ZTKModule module;
  EXPECT_FALSE(module.IsLoaded());
  EXPECT_EQ(module.GetLibHandle(), nullptr);
  EXPECT_EQ(module.GetSymbol("TestAdd"), nullptr);
  EXPECT_EQ(module.Detach(), nullptr);
  module.Unload();
  EXPECT_FALSE(module.IsLoaded());
}

// What a subclass builds its own loading from.
struct ReachingModule : ZTKModule {
  using ZTKModule::XPDllGetSymbol;
  using ZTKModule::XPDllLoad;
  using ZTKModule::XPDllUnload;
};

TEST_F(ZTKModuleTest, SubclassesReachTheOperationsOfThePlatform) {
  ReachingModule module;
  module.SetInitCleanupName("TestInit", "TestCleanup");
  void* const handle = module.XPDllLoad(kModule);
  EXPECT_NE(handle, nullptr);
  EXPECT_EQ(module.GetLibHandle(), handle);
  EXPECT_NE(module.XPDllGetSymbol("TestAdd"), nullptr);
  EXPECT_EQ(module.XPDllGetSymbol("TestNothing"), nullptr);
  module.XPDllUnload();
  EXPECT_FALSE(module.IsLoaded());
  EXPECT_THAT(Calls(), IsEmpty());  // They call nothing of the library's.
  EXPECT_FALSE(InProcess(kModule));

  const StderrCapture errors;
  EXPECT_EQ(module.XPDllLoad("ztk_no_such_module"), nullptr);
  EXPECT_EQ(module.XPDllGetSymbol("TestAdd"), nullptr);
  module.XPDllUnload();
}

TEST_F(ZTKModuleTest, LoadWithoutAnInitNameIsFalseAlthoughTheLibraryIsLoaded) {
  ZTKModule module;
  EXPECT_FALSE(module.Load(kModule));
  EXPECT_TRUE(module.IsLoaded());
  EXPECT_NE(module.GetLibHandle(), nullptr);
  EXPECT_EQ(Add(module, 2, 3), 5);
  module.Unload();
  EXPECT_FALSE(module.IsLoaded());
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_FALSE(InProcess("libztk_test_module.so"));
}

TEST_F(ZTKModuleTest, LoadCallsTheInitFunctionAndUnloadTheCleanUpFunction) {
  ZTKModule module;
  module.SetInitCleanupName("TestInit", "TestCleanup");
  EXPECT_TRUE(module.Load(kModule));
  EXPECT_EQ(Calls(), "init;");
  module.Unload();
  EXPECT_EQ(Calls(), "init;cleanup;");
  EXPECT_EQ(module.GetSymbol("TestAdd"), nullptr);
  module.Unload();
  EXPECT_EQ(Calls(), "init;cleanup;");

  EXPECT_TRUE(module.Load(kModule));  // The names stay.
  EXPECT_EQ(Calls(), "init;cleanup;init;");
}

TEST_F(ZTKModuleTest, ConstructorLoadsAndDestructorCleansUpOnce) {
  {
    const ZTKModule module(kModule, "TestInit", "TestCleanup");
    EXPECT_TRUE(module.IsLoaded());
    EXPECT_EQ(Calls(), "init;");
  }
  EXPECT_EQ(Calls(), "init;cleanup;");
  EXPECT_FALSE(InProcess("libztk_test_module.so"));
}

TEST_F(ZTKModuleTest, MissingInitAndCleanUpFunctionsAreNoError) {
  ZTKModule module;
  module.SetInitCleanupName("NoSuchInit", "NoSuchCleanup");
  EXPECT_TRUE(module.Load(kModule));
  EXPECT_TRUE(module.IsLoaded());
  module.Unload();
  EXPECT_FALSE(module.IsLoaded());
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(ZTKModuleTest, NamesSetAfterLoadingCountForUnload) {
  ZTKModule module;
  module.Load(kModule);
  module.SetInitCleanupName("TestInit", "TestCleanup");
  EXPECT_THAT(Calls(), IsEmpty());
  module.Unload();
  EXPECT_EQ(Calls(), "cleanup;");
}

TEST_F(ZTKModuleTest, NameIsTakenUnchanged) {
  ZTKModule module;
  module.Load("ztk_plain_module.so");
  ASSERT_TRUE(module.IsLoaded());
  EXPECT_EQ(Add(module, 20, 22), 42);
}

TEST_F(ZTKModuleTest, LibrariesOfTheSystemAreOutOfReach) {
  // The loader would find them by these names on its own paths.
  for (const char* const name : {"libc.so.6", "libm.so.6", "libdl.so.2"}) {
    EXPECT_THAT(FailingLoad(name), HasSubstr("Error!!")) << name;
  }
}

TEST_F(ZTKModuleTest, SymbolsAreThoseOfTheLibraryAlone) {
  ZTKModule module;
  EXPECT_EQ(module.GetSymbol("malloc"), nullptr);
  module.Load(kModule);
  EXPECT_NE(module.GetSymbol("TestAdd"), nullptr);
  // Names that its dependencies have; calling the first as an init function would be a disaster.
  for (const char* const name : {"init_module", "malloc", "exit", "NoSuchSymbol", ""}) {
    EXPECT_EQ(module.GetSymbol(name), nullptr) << name;
  }
}

TEST_F(ZTKModuleTest, SecondLoadForgetsTheFirstLibrary) {
  ZTKModule module;
  module.Load(kModule);
  void* const first = module.GetLibHandle();
  module.Load("ztk_plain_module.so");
  EXPECT_NE(module.GetLibHandle(), first);
  module.Unload();
  EXPECT_TRUE(InProcess("libztk_test_module.so"));
  EXPECT_FALSE(InProcess("ztk_plain_module.so"));
  UnloadHandle(first);
  EXPECT_FALSE(InProcess("libztk_test_module.so"));
}

TEST_F(ZTKModuleTest, FailedLoadForgetsTheFirstLibraryToo) {
  ZTKModule module;
  module.SetInitCleanupName("TestInit", "TestCleanup");
  module.Load(kModule);
  void* const first = module.GetLibHandle();
  ::testing::internal::CaptureStderr();
  EXPECT_FALSE(module.Load("no_such_module"));
  EXPECT_THAT(::testing::internal::GetCapturedStderr(), HasSubstr("Error!!"));
  EXPECT_FALSE(module.IsLoaded());
  EXPECT_TRUE(InProcess("libztk_test_module.so"));
  EXPECT_EQ(Calls(), "init;");
  UnloadHandle(first);
}

TEST_F(ZTKModuleTest, DetachGivesTheLibraryAwayAndClearsTheNames) {
  void* handle = nullptr;
  {
    ZTKModule module(kModule, "TestInit", "TestCleanup");
    handle = module.Detach();
    ASSERT_NE(handle, nullptr);
    EXPECT_FALSE(module.IsLoaded());
    EXPECT_EQ(module.Detach(), nullptr);
    EXPECT_FALSE(module.Load(kModule));  // Without an init name.
    EXPECT_EQ(Calls(), "init;");
  }
  EXPECT_EQ(Calls(), "init;");
  EXPECT_TRUE(InProcess("libztk_test_module.so"));
  UnloadHandle(handle);
  EXPECT_FALSE(InProcess("libztk_test_module.so"));
}

TEST_F(ZTKModuleTest, AttachedLibraryStaysLoadedAfterTheModule) {
  ZTKModule owner(kModule, "", "");
  void* const handle = owner.Detach();
  {
    ZTKModule module;
    module.SetInitCleanupName("TestInit", "TestCleanup");
    EXPECT_EQ(module.Attach(handle), nullptr);
    EXPECT_TRUE(module.IsLoaded());
    EXPECT_EQ(Add(module, 1, 1), 2);
  }
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_TRUE(InProcess("libztk_test_module.so"));
  UnloadHandle(handle);
}

TEST_F(ZTKModuleTest, AttachReturnsTheHandleHeldBefore) {
  ZTKModule module(kModule, "", "");
  void* const first = module.GetLibHandle();
  ZTKModule other("ztk_plain_module.so", "", "");
  void* const second = other.Detach();
  EXPECT_EQ(module.Attach(second), first);
  EXPECT_EQ(module.Attach(nullptr), second);
  EXPECT_FALSE(module.IsLoaded());
  UnloadHandle(first);
  UnloadHandle(second);
}

TEST_F(ZTKModuleTest, UnloadOfAnAttachedLibraryUnloadsIt) {
  ZTKModule owner(kModule, "", "");
  ZTKModule module;
  module.SetInitCleanupName("", "TestCleanup");
  module.Attach(owner.Detach());
  module.Unload();
  EXPECT_EQ(Calls(), "cleanup;");
  EXPECT_FALSE(InProcess("libztk_test_module.so"));
}

TEST_F(ZTKModuleTest, LibraryLoadedWhileAttachedOutlivesTheModuleToo) {
  void* handle = nullptr;
  {
    ZTKModule module;
    module.Attach(nullptr);
    module.Load(kModule);  // The flag stays until Detach.
    handle = module.GetLibHandle();
  }
  EXPECT_TRUE(InProcess("libztk_test_module.so"));
  UnloadHandle(handle);
}

TEST_F(ZTKModuleTest, DetachMakesTheModuleAnOwnerAgain) {
  {
    ZTKModule module;
    module.Attach(nullptr);
    EXPECT_EQ(module.Detach(), nullptr);
    module.Load(kModule);
  }
  EXPECT_FALSE(InProcess("libztk_test_module.so"));
}

// Has the clean-up function of the loaded library do something to the module.
void OnCleanup(ZTKModule& module, void (*action)(void*)) {
  using Setter = void(void (*)(void*), void*);
  As<Setter>(module.GetSymbol("TestSetCleanupAction"))(action, &module);
}

TEST_F(ZTKModuleTest, CleanUpFunctionThatUnloadsOnceMoreChangesNothing) {
  ZTKModule module(kModule, "", "TestCleanup");
  OnCleanup(module, [](void* p) {
    auto* const self = static_cast<ZTKModule*>(p);
    self->Unload();
    EXPECT_TRUE(self->IsLoaded());
  });
  module.Unload();
  EXPECT_EQ(Calls(), "cleanup;");
  EXPECT_FALSE(module.IsLoaded());
  EXPECT_FALSE(InProcess("libztk_test_module.so"));
}

TEST_F(ZTKModuleTest, CleanUpFunctionMayDetachTheLibrary) {
  ZTKModule module(kModule, "", "TestCleanup");
  void* const handle = module.GetLibHandle();
  OnCleanup(module, [](void* p) { static_cast<ZTKModule*>(p)->Detach(); });
  module.Unload();
  EXPECT_FALSE(module.IsLoaded());
  EXPECT_TRUE(InProcess("libztk_test_module.so"));
  UnloadHandle(handle);
}

TEST_F(ZTKModuleTest, CleanUpFunctionMayLoadAnotherLibrary) {
  ZTKModule module(kModule, "", "TestCleanup");
  void* const handle = module.GetLibHandle();
  OnCleanup(module, [](void* p) { static_cast<ZTKModule*>(p)->Load("ztk_plain_module.so"); });
  module.Unload();
  EXPECT_TRUE(module.IsLoaded());
  EXPECT_TRUE(InProcess("ztk_plain_module.so"));
  UnloadHandle(handle);
}

TEST_F(ZTKModuleTest, InitFunctionMayLoadAnotherModule) {
  {
    const ZTKModule module("libztk_loading_module.so", "LoadAnother", "");
    EXPECT_TRUE(module.IsLoaded());
    EXPECT_EQ(Calls(), "init;");
    EXPECT_TRUE(InProcess("libztk_test_module.so"));
  }
  // The static module object inside the library was destroyed with it.
  EXPECT_EQ(Calls(), "init;cleanup;");
  EXPECT_FALSE(InProcess("libztk_loading_module.so"));
}

}  // namespace
