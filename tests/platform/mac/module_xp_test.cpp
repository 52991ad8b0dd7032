#include "ztk/system/module.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "tests/platform/mac/failing_calls.h"
#include "tests/support/failing_allocator.h"
#include "tests/system/module_support.h"
#include "ztk/platform/mac/application_package.h"
#include "ztk/platform/mac/services/bundles.h"
#include "ztk/platform/mac/services/catalog.h"
#include "ztk/platform/mac/services/files.h"
#include "ztk/platform/mac/services/processes.h"
#include "ztk/platform/mac/services/volumes.h"

using namespace ztk_mac_services;

namespace {

using ::testing::StartsWith;

constexpr const char* kModule = "libztk_test_module.so";
constexpr const char* kPlain = "ztk_plain_module.so";

class ZTKModuleMacTest : public ZTKModuleTest {
 protected:
  static std::string MessageFor(const std::string& name) {
    return "Load Shared Library " + name + " Error!!\n";
  }
};

FSSpec SpecOf(const std::string& path) {
  FSSpec spec = {};
  SpecOfHostPath(path, spec);
  return spec;
}

bool HasBundle(const std::string& file) {
  return CFOwned<__CFBundle>(__CFBundle::OfPath((ModuleFolder() / file).string())) != nullptr;
}

// What the mounts are for the length of a scope.
class ScopedMounts {
 public:
  explicit ScopedMounts(const std::string& mountPoint) {
    WriteWholeFile(m_dir / "mounts", "root / ext4 rw 0 0\nx " + mountPoint + " ext4 rw 0 0\n");
    Volumes::UseTable((m_dir / "mounts").c_str());
  }
  ~ScopedMounts() { Volumes::UseTable(nullptr); }
  ScopedMounts(const ScopedMounts&) = delete;
  ScopedMounts& operator=(const ScopedMounts&) = delete;

 private:
  TempDir m_dir;
};

// A package of its own in a temporary folder, with a program that loads modules from around it.
class ProbePackage {
 public:
  explicit ProbePackage(const std::string& below = ".") : m_folder(m_dir.Path() / below) {
    const std::filesystem::path programs = m_folder / "Probe.app/Contents/Exec";
    std::filesystem::create_directories(programs);
    m_program = programs / "module_probe";
    std::filesystem::copy_file(ProgramFolder() / "module_probe", m_program);
  }

  void AddModule(const std::string& file) const {
    std::filesystem::copy_file(ModuleFolder() / kModule, m_folder / file);
  }
  bool Loads(const std::string& name) const { return RunProbe(m_program.string(), name) == 0; }

 private:
  TempDir m_dir;
  std::filesystem::path m_folder;
  std::filesystem::path m_program;
};

// Finding the package
// ------------------------------------------------------------------------------

TEST(GetProcessInformationMac, GivesTheExecutable) {
  const ProcessSerialNumber self = {0, 2};
  FSSpec program = {};
  Str255 name = {};
  ProcessInfoRec info = {60, name, &program};
  ASSERT_EQ(GetProcessInformation(&self, &info), noErr);
  std::string path;
  ASSERT_EQ(HostPathOf(program, path), noErr);
  EXPECT_EQ(path, std::filesystem::read_symlink("/proc/self/exe"));
  EXPECT_EQ(std::string(reinterpret_cast<char*>(name + 1), name[0]),
            std::filesystem::path(path).filename());
}

TEST(GetProcessInformationMac, RefusesWhatItCannotTell) {
  const ProcessSerialNumber self = {0, 2};
  const ProcessSerialNumber another = {0, 3};
  const ProcessSerialNumber high = {1, 2};
  ProcessInfoRec info = {60, nullptr, nullptr};
  ProcessInfoRec longer = {61, nullptr, nullptr};
  EXPECT_EQ(GetProcessInformation(&self, &info), noErr);
  EXPECT_EQ(GetProcessInformation(&another, &info), procNotFound);
  EXPECT_EQ(GetProcessInformation(&high, &info), procNotFound);
  EXPECT_EQ(GetProcessInformation(&self, &longer), paramErr);
  EXPECT_EQ(GetProcessInformation(&self, nullptr), paramErr);
  EXPECT_EQ(GetProcessInformation(nullptr, &info), paramErr);
}

TEST(FindApplicationPackageDirectory, IsThreeFoldersAboveThatOfTheExecutable) {
  short volume = 0;
  long directory = 0;
  ASSERT_EQ(FindApplicationPackageDirectory(&volume, &directory), noErr);
  std::string folder;
  ASSERT_EQ(HostFolderOf(volume, directory, folder), noErr);
  EXPECT_EQ(folder, ModuleFolder());
}

TEST(FindApplicationPackageDirectory, EndsAtTheFirstFailureAndWritesNothing) {
  const unsigned long calls = WithEachCallFailing([](bool fails) {
    short volume = 77;
    long directory = 78;
    const OSErr error = FindApplicationPackageDirectory(&volume, &directory);
    EXPECT_EQ(error, fails ? ioErr : noErr);
    EXPECT_EQ(volume == 77 && directory == 78, fails);
  });
  EXPECT_EQ(calls, 4u);  // One for the process, one for each level.
}

TEST(FindApplicationPackageDirectory, DoesNotLeaveTheVolume) {
  const std::filesystem::path contents = ProgramFolder().parent_path();
  short volume = 77;
  long directory = 78;
  {
    const ScopedMounts mounts(contents.string());  // One level too few.
    EXPECT_EQ(FindApplicationPackageDirectory(&volume, &directory), dirNFErr);
    EXPECT_EQ(volume, 77);
    EXPECT_EQ(directory, 78);
  }
  const ScopedMounts mounts(contents.parent_path().string());  // Just enough: around the volume.
  EXPECT_EQ(FindApplicationPackageDirectory(&volume, &directory), noErr);
  EXPECT_EQ(directory, fsRtParID);
}

// Bundles
// ------------------------------------------------------------------------------------------

TEST(CreateBundleFromFSSpec, GivesTheErrorOfAMissingFile) {
  FSSpec missing = SpecOf((ModuleFolder() / "no_such_file").string());
  __CFBundle* bundle = nullptr;
  EXPECT_EQ(CreateBundleFromFSSpec(&missing, &bundle), fnfErr);
  FSSpec nowhere = {};
  EXPECT_NE(CreateBundleFromFSSpec(&nowhere, &bundle), noErr);
  EXPECT_EQ(CreateBundleFromFSSpec(nullptr, &bundle), paramErr);
  EXPECT_EQ(bundle, nullptr);
}

TEST(CreateBundleFromFSSpec, LeavesTheBundleUntouchedWithoutAUrl) {
  FSSpec file = SpecOf((ModuleFolder() / kModule).string());
  const long objects = CFCountObjects();
  // The reference, the URL and the bundle are made, in this order.
  const struct {
    unsigned long failing;
    OSErr error;
    bool untouched;
  } rows[] = {{1, ioErr, true}, {2, noErr, true}, {3, noErr, false}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.failing);
    __CFBundle mark("");
    __CFBundle* bundle = &mark;
    Faults::FailCall(row.failing);
    EXPECT_EQ(CreateBundleFromFSSpec(&file, &bundle), row.error);
    EXPECT_EQ(bundle, row.untouched ? &mark : nullptr);
  }
  Faults::FailCall(0);
  EXPECT_EQ(CFCountObjects(), objects);
}

TEST(CFBundleMac, OfAPathThereIsOne) {
  const long objects = CFCountObjects();
  FSSpec file = SpecOf((ModuleFolder() / kPlain).string());
  __CFBundle* first = nullptr;
  __CFBundle* second = nullptr;
  ASSERT_EQ(CreateBundleFromFSSpec(&file, &first), noErr);
  ASSERT_EQ(CreateBundleFromFSSpec(&file, &second), noErr);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first, second);
  EXPECT_EQ(CFCountObjects(), objects + 1);
  CFRelease(second);
  EXPECT_EQ(CFCountObjects(), objects + 1);
  CFRelease(first);
  EXPECT_EQ(CFCountObjects(), objects);
}

TEST(CFBundleMac, IsLoadedUntilTheLastLoadIsTakenBack) {
  FSSpec file = SpecOf((ModuleFolder() / kPlain).string());
  __CFBundle* bundle = nullptr;
  ASSERT_EQ(CreateBundleFromFSSpec(&file, &bundle), noErr);
  const CFOwned<const CFString> name(CreateString("TestAdd"));
  EXPECT_EQ(CFBundleGetFunctionPointerForName(bundle, name.get()), nullptr);
  CFBundleUnloadExecutable(bundle);  // Nothing to take back yet.
  EXPECT_EQ(CFBundleLoadExecutable(bundle), 1);
  EXPECT_EQ(CFBundleLoadExecutable(bundle), 1);
  EXPECT_TRUE(InProcess(kPlain));
  CFBundleUnloadExecutable(bundle);
  EXPECT_NE(CFBundleGetFunctionPointerForName(bundle, name.get()), nullptr);
  CFBundleUnloadExecutable(bundle);
  EXPECT_EQ(CFBundleGetFunctionPointerForName(bundle, name.get()), nullptr);
  EXPECT_FALSE(InProcess(kPlain));

  EXPECT_EQ(CFBundleLoadExecutable(bundle), 1);
  CFRelease(bundle);  // Takes its code with it.
  EXPECT_FALSE(InProcess(kPlain));
}

TEST(CFBundleMac, TakesNull) {
  EXPECT_EQ(CFBundleCreate(kCFAllocatorDefault, nullptr), nullptr);
  EXPECT_EQ(CFBundleLoadExecutable(nullptr), 0);
  CFBundleUnloadExecutable(nullptr);
  EXPECT_EQ(CFBundleGetFunctionPointerForName(nullptr, nullptr), nullptr);
  const CFOwned<const CFURL> nothing(new CFURL("/no/such/file"));
  EXPECT_EQ(CFBundleCreate(kCFAllocatorDefault, nothing.get()), nullptr);
}

// Modules
// ------------------------------------------------------------------------------------------

TEST_F(ZTKModuleMacTest, FailureWritesTheMessageAndNothingElse) {
  for (const char* const name :
       {"no_such_module", "ztk_test_module", "plugins", "ztk_text_module", "libztk_text_module.so",
        "libztk_unresolved_module.so", "", ":", "::", "Nowhere:x", "a:", ".", "..", "Test.app",
        "System:proc:self:exe:x", "a name with blanks"}) {
    EXPECT_EQ(FailingLoad(name), MessageFor(name)) << name;
  }
}

TEST_F(ZTKModuleMacTest, NamesAreCutAt255Characters) {
  const ProbePackage package;
  const std::string longest(255, 'y');
  package.AddModule(longest);
  for (const char* const more : {"", "z", "zzzz-and-more"}) {
    EXPECT_TRUE(package.Loads(longest + more)) << more;
  }
  EXPECT_FALSE(package.Loads(longest.substr(1)));
}

TEST_F(ZTKModuleMacTest, LongNamesThatNobodyHasAreReported) {
  for (const size_t length : {32u, 63u, 255u, 256u, 900u}) {
    const std::string name(length, 'x');
    EXPECT_EQ(FailingLoad(name.c_str()), MessageFor(name)) << length;
  }
  // The message itself is cut.
  EXPECT_THAT(FailingLoad(std::string(5000, 'x').c_str()), StartsWith("Load Shared Library xxx"));
}

TEST_F(ZTKModuleMacTest, FoldersStandBetweenColons) {
  const ZTKModule nested(":plugins:libztk_nested_module.so", "", "");
  EXPECT_TRUE(nested.IsLoaded());
  EXPECT_EQ(FailingLoad("plugins/libztk_nested_module.so"),
            MessageFor("plugins/libztk_nested_module.so"));
}

TEST_F(ZTKModuleMacTest, AFullPathIsThatFileAndMoreColonsGoUp) {
  const TempDir elsewhere;
  std::filesystem::copy_file(ModuleFolder() / kModule, elsewhere / "module.so");
  std::string path;
  ASSERT_EQ(ColonPathOf(elsewhere / "module.so", path), noErr);
  const ZTKModule full(path.c_str(), "", "");
  EXPECT_TRUE(full.IsLoaded());
  const std::string up = "::" + ModuleFolder().filename().string() + ":" + kModule;
  const ZTKModule upAndDown(up.c_str(), "", "");
  EXPECT_TRUE(upAndDown.IsLoaded());
}

TEST_F(ZTKModuleMacTest, ASlashInANameIsTheHostsColon) {
  const ProbePackage package;
  package.AddModule("odd:name.so");
  EXPECT_TRUE(package.Loads("odd/name.so"));
  EXPECT_FALSE(package.Loads("odd:name.so"));
}

TEST_F(ZTKModuleMacTest, ABundleFolderIsLoadedByItsName) {
  {
    ZTKModule module("Test.bundle", "TestInit", "TestCleanup");
    ASSERT_TRUE(module.IsLoaded());
    EXPECT_EQ(Add(module, 20, 22), 42);
    EXPECT_TRUE(InProcess("Test.bundle/Contents/Linux/Test"));
  }
  EXPECT_EQ(Calls(), "init;cleanup;");
  EXPECT_FALSE(InProcess("Test.bundle/Contents/Linux/Test"));
}

TEST_F(ZTKModuleMacTest, EveryFailingCallOfALoadIsReported) {
  const long objects = CFCountObjects();
  const unsigned long calls = WithEachCallFailing([&](bool fails) {
    ZTKModule module;
    module.SetInitCleanupName("NoSuchInit", "");
    const ScopedEnv quiet("ZTK_TEST_MODULE_LOG", nullptr);
    ::testing::internal::CaptureStderr();
    module.Load(kModule);
    const std::string written = ::testing::internal::GetCapturedStderr();
    // Of the calls, that for the init function's name and the look-up come after the load.
    EXPECT_EQ(written, module.IsLoaded() ? "" : MessageFor(kModule));
    EXPECT_TRUE(fails || module.IsLoaded());
  });
  // The process, three levels, the file, its reference, URL and bundle, the load; then the name
  // and the look-up.
  EXPECT_EQ(calls, 11u);
  // The bundle that was made and failed to load is not released, and found again from then on.
  EXPECT_TRUE(HasBundle(kModule));
  EXPECT_LE(CFCountObjects(), objects + 1);
  EXPECT_FALSE(InProcess(kModule));
}

TEST_F(ZTKModuleMacTest, ABundleThatDoesNotLoadIsKeptOnce) {
  FailingLoad("libztk_text_module.so");
  EXPECT_TRUE(HasBundle("libztk_text_module.so"));
  const long objects = CFCountObjects();
  for (int i = 0; i < 5; ++i) FailingLoad("libztk_text_module.so");
  EXPECT_EQ(CFCountObjects(), objects);
}

TEST_F(ZTKModuleMacTest, EveryFailingCallOfALookUpGivesNull) {
  ZTKModule module(kModule, "", "");
  const long objects = CFCountObjects();
  const unsigned long calls = WithEachCallFailing(
      [&](bool fails) { EXPECT_EQ(module.GetSymbol("TestAdd") == nullptr, fails); });
  EXPECT_EQ(calls, 2u);
  EXPECT_EQ(module.GetSymbol("T\xC3\xA4st"), nullptr);  // No ASCII, and so no name.
  EXPECT_EQ(CFCountObjects(), objects);
}

TEST_F(ZTKModuleMacTest, EveryFailingAllocationOfALookUpGivesNull) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer owns the allocator";
  const ZTKModule module(kModule, "", "");
  const ZTKString name(std::string(100, 'x').c_str());
  bool failed = true;
  for (long before = 0; failed; ++before) {
    SCOPED_TRACE(before);
    const failing_allocator::Scope scope(before, 1);
    EXPECT_EQ(module.GetSymbol(name), nullptr);
    failed = scope.Failed();
    ASSERT_LT(before, 1000);
  }
}

TEST_F(ZTKModuleMacTest, TwoModulesMayHoldOneLibrary) {
  const long objects = CFCountObjects();
  ZTKModule first(kModule, "TestInit", "TestCleanup");
  {
    const ZTKModule second(kModule, "TestInit", "TestCleanup");
    EXPECT_EQ(second.GetLibHandle(), first.GetLibHandle());
  }
  EXPECT_EQ(Calls(), "init;init;cleanup;");
  EXPECT_EQ(Add(first, 1, 2), 3);
  first.Unload();
  EXPECT_FALSE(InProcess(kModule));
  EXPECT_EQ(CFCountObjects(), objects);
}

TEST_F(ZTKModuleMacTest, EveryFailingAllocationIsReported) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer owns the allocator";
  const ZTKString name(kModule);
  bool failed = true;
  for (long before = 0; failed; ++before) {
    SCOPED_TRACE(before);
    ZTKModule module;
    ::testing::internal::CaptureStderr();
    {
      const failing_allocator::Scope scope(before, 1);
      module.Load(name);
      failed = scope.Failed();
    }
    const std::string written = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(written, module.IsLoaded() ? "" : MessageFor(kModule));
    ASSERT_LT(before, 10'000);
  }
  EXPECT_FALSE(InProcess(kModule));
}

TEST_F(ZTKModuleMacTest, FolderIsThatAroundThePackageOfTheProgramBehindALink) {
  const TempDir dir;
  std::filesystem::create_symlink(ProgramFolder() / "module_probe", dir / "link");
  const ScopedWorkingDirectory there(dir.Path());
  EXPECT_EQ(RunProbe("./link", kModule), 0);
  EXPECT_EQ(RunProbe("./link", "libztk_decoy.so"), 1);
}

TEST_F(ZTKModuleMacTest, FolderMayHaveALongPath) {
  std::string deep = ".";
  for (int i = 0; i < 6; ++i) deep += '/' + std::string(100, static_cast<char>('a' + i));
  const ProbePackage package(deep);
  EXPECT_FALSE(package.Loads(kModule));
  package.AddModule(kModule);
  EXPECT_TRUE(package.Loads(kModule));
}

TEST_F(ZTKModuleMacTest, SearchPathOfTheLoaderIsNotUsed) {
  const std::string decoys = (ModuleFolder() / "decoys").string();
  ASSERT_TRUE(std::filesystem::exists(decoys + "/libztk_decoy.so"));
  const ScopedEnv path("LD_LIBRARY_PATH", decoys.c_str());
  const std::string probe = (ProgramFolder() / "module_probe").string();
  EXPECT_EQ(RunProbe(probe, "libztk_decoy.so"), 1);
  EXPECT_EQ(RunProbe(probe, ":decoys:libztk_decoy.so"), 0);
}

}  // namespace
