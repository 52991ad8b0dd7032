#include "ztk/system/module.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "tests/support/failing_allocator.h"
#include "tests/support/temp_dir.h"

namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr const char* kModule = "ztk_test_module";  // The file is libztk_test_module.so.

std::filesystem::path ProgramFolder() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

// The address of a function as what it is.
template <class Function>
Function* As(void* address) {
  Function* function = nullptr;
  std::memcpy(&function, &address, sizeof function);
  return function;
}

int Add(const ZTKModule& module, int a, int b) {
  void* const address = module.GetSymbol("TestAdd");
  return address != nullptr ? As<int(int, int)>(address)(a, b) : -1;
}

// Whether the library is in the process, without loading it.
bool InProcess(const std::string& file) {
  void* const handle = dlopen((ProgramFolder() / file).c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (handle == nullptr) return false;
  dlclose(handle);
  return true;
}

class ZTKModuleTest : public ::testing::Test {
 protected:
  // What the init and clean-up functions of the test modules wrote so far.
  static std::string Calls() {
    const char* const log = std::getenv("ZTK_TEST_MODULE_LOG");
    return log != nullptr ? log : "";
  }

  // What a failing load writes to the standard error stream.
  static std::string FailingLoad(const ZTKString& name) {
    ZTKModule module;
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(module.Load(name));
    EXPECT_FALSE(module.IsLoaded());
    EXPECT_EQ(module.GetLibHandle(), nullptr);
    return ::testing::internal::GetCapturedStderr();
  }

  ScopedEnv m_log{"ZTK_TEST_MODULE_LOG", nullptr};
};

TEST_F(ZTKModuleTest, NewModuleHoldsNothing) {
  ZTKModule module;
  EXPECT_FALSE(module.IsLoaded());
  EXPECT_EQ(module.GetLibHandle(), nullptr);
  EXPECT_EQ(module.GetSymbol("TestAdd"), nullptr);
  EXPECT_EQ(module.Detach(), nullptr);
  module.Unload();
  EXPECT_FALSE(module.IsLoaded());
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

TEST_F(ZTKModuleTest, NameIsTriedUnchangedFirst) {
  ZTKModule module;
  module.Load("ztk_plain_module.so");
  ASSERT_TRUE(module.IsLoaded());
  EXPECT_EQ(Add(module, 20, 22), 42);
}

TEST_F(ZTKModuleTest, FullFileNameOfADecoratedModuleWorksToo) {
  const ZTKModule module("libztk_test_module.so", "", "");
  EXPECT_TRUE(module.IsLoaded());
}

TEST_F(ZTKModuleTest, NameMayContainFolders) {
  const ZTKModule plain("plugins/libztk_nested_module.so", "", "");
  EXPECT_TRUE(plain.IsLoaded());
  const ZTKModule decorated("plugins/ztk_nested_module", "", "");
  EXPECT_TRUE(decorated.IsLoaded());
  const ZTKModule upwards("plugins/../ztk_test_module", "", "");
  EXPECT_TRUE(upwards.IsLoaded());
}

TEST_F(ZTKModuleTest, FailureWritesTheMessageAndTheReasonOfTheLoader) {
  const std::string folder = ProgramFolder().string();
  const struct {
    const char* name;
    std::string reason;
  } rows[] = {
      {"no_such_module", folder + "/no_such_module: cannot open shared object file"},
      {"plugins", folder + "/plugins: cannot read file data: Is a directory"},
      {".", folder + "/.: cannot read file data: Is a directory"},
      // Both files are there, or only the second: the reason is about one that is.
      {"ztk_text_module", folder + "/ztk_text_module: "},
      {"ztk_other_text_module", folder + "/libztk_other_text_module.so: "},
      {"ztk_unresolved_module", "undefined symbol: NoSuchFunctionAnywhere"},
      {"", "the name is empty"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const std::string expected = std::string("Load Shared Library ") + row.name + " Error!!\n";
    EXPECT_THAT(FailingLoad(row.name),
                AllOf(StartsWith(expected), HasSubstr(row.reason), EndsWith("\n")));
  }
}

TEST_F(ZTKModuleTest, ReasonIsCompleteForTheLongestNames) {
  // The message itself is cut at 1,023 characters, the reason is not; nor are its signs changed.
  const std::string name = std::string(200, 'x') + "/%s%n%d/" + std::string(1500, 'y');
  const std::string written = FailingLoad(name.c_str());
  EXPECT_THAT(written, StartsWith("Load Shared Library xxx"));
  EXPECT_THAT(written, HasSubstr("\n" + ProgramFolder().string() + "/" + name + ": "));
}

TEST_F(ZTKModuleTest, LibrariesOfTheSystemAreOutOfReach) {
  // The loader would find them by these names on its own paths.
  for (const char* const name : {"libc.so.6", "libm.so.6", "libdl.so.2"}) {
    EXPECT_THAT(FailingLoad(name), HasSubstr("Error!!")) << name;
  }
}

TEST_F(ZTKModuleTest, AbsolutePathsAreTakenBelowTheFolder) {
  const std::string path = (ProgramFolder() / "libztk_test_module.so").string();
  EXPECT_THAT(FailingLoad(path.c_str()), HasSubstr("Error!!"));
}

int RunProbe(const std::string& program, const std::string& name) {
  const int status = std::system((program + " " + name + " 2>/dev/null").c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(ZTKModuleTest, SearchPathOfTheLoaderIsNotUsed) {
  const std::string probe = (ProgramFolder() / "module_probe").string();
  const std::string decoys = (ProgramFolder() / "decoys").string();
  ASSERT_TRUE(std::filesystem::exists(decoys + "/libztk_decoy.so"));
  const ScopedEnv path("LD_LIBRARY_PATH", decoys.c_str());
  EXPECT_EQ(RunProbe(probe, "libztk_decoy.so"), 1);
  EXPECT_EQ(RunProbe(probe, "ztk_decoy"), 1);
  EXPECT_EQ(RunProbe(probe, "decoys/ztk_decoy"), 0);
}

TEST_F(ZTKModuleTest, FolderIsThatOfTheProgramBehindALink) {
  const TempDir dir;
  std::filesystem::create_symlink(ProgramFolder() / "module_probe", dir / "link");
  const ScopedWorkingDirectory there(dir.Path());
  EXPECT_EQ(RunProbe("./link", kModule), 0);
}

TEST_F(ZTKModuleTest, FolderMayHaveALongPath) {
  const TempDir dir;
  std::filesystem::path deep = dir.Path();
  for (int i = 0; i < 6; ++i) deep /= std::string(100, static_cast<char>('a' + i));
  std::filesystem::create_directories(deep);
  std::filesystem::copy_file(ProgramFolder() / "module_probe", deep / "module_probe");
  EXPECT_EQ(RunProbe((deep / "module_probe").string(), kModule), 1);
  std::filesystem::copy_file(ProgramFolder() / "libztk_test_module.so",
                             deep / "libztk_test_module.so");
  EXPECT_EQ(RunProbe((deep / "module_probe").string(), kModule), 0);
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
  EXPECT_EQ(dlclose(first), 0);
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
  dlclose(first);
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
  dlclose(handle);
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
  dlclose(handle);
}

TEST_F(ZTKModuleTest, AttachReturnsTheHandleHeldBefore) {
  ZTKModule module(kModule, "", "");
  void* const first = module.GetLibHandle();
  ZTKModule other("ztk_plain_module.so", "", "");
  void* const second = other.Detach();
  EXPECT_EQ(module.Attach(second), first);
  EXPECT_EQ(module.Attach(nullptr), second);
  EXPECT_FALSE(module.IsLoaded());
  dlclose(first);
  dlclose(second);
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
  dlclose(handle);
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
  dlclose(handle);
}

TEST_F(ZTKModuleTest, CleanUpFunctionMayLoadAnotherLibrary) {
  ZTKModule module(kModule, "", "TestCleanup");
  void* const handle = module.GetLibHandle();
  OnCleanup(module, [](void* p) { static_cast<ZTKModule*>(p)->Load("ztk_plain_module.so"); });
  module.Unload();
  EXPECT_TRUE(module.IsLoaded());
  EXPECT_TRUE(InProcess("ztk_plain_module.so"));
  dlclose(handle);
}

TEST_F(ZTKModuleTest, InitFunctionMayLoadAnotherModule) {
  {
    const ZTKModule module("ztk_loading_module", "LoadAnother", "");
    EXPECT_TRUE(module.IsLoaded());
    EXPECT_EQ(Calls(), "init;");
    EXPECT_TRUE(InProcess("libztk_test_module.so"));
  }
  // The static module object inside the library was destroyed with it.
  EXPECT_EQ(Calls(), "init;cleanup;");
  EXPECT_FALSE(InProcess("libztk_loading_module.so"));
}

TEST_F(ZTKModuleTest, WithoutMemoryLoadFailsAndSaysSo) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer owns the allocator";
  const ZTKString name(kModule);
  ZTKModule module;
  ::testing::internal::CaptureStderr();
  {
    const failing_allocator::Scope scope(0);
    EXPECT_FALSE(module.Load(name));
    EXPECT_TRUE(scope.Failed());
  }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "Load Shared Library ztk_test_module Error!!\nout of memory\n");
  EXPECT_FALSE(module.IsLoaded());
}

}  // namespace
