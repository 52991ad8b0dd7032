#include "ztk/system/module.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/failing_allocator.h"
#include "tests/system/module_support.h"

namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char* kDecorated = "ztk_test_module";  // The file is libztk_test_module.so.

class ZTKModulePosixTest : public ZTKModuleTest {};

TEST_F(ZTKModulePosixTest, NameIsDecoratedWhereItIsNoFile) {
  const ZTKModule module(kDecorated, "TestInit", "");
  EXPECT_TRUE(module.IsLoaded());
  EXPECT_EQ(Add(module, 2, 3), 5);
  EXPECT_EQ(Calls(), "init;");
}

TEST_F(ZTKModulePosixTest, FullFileNameOfADecoratedModuleWorksToo) {
  const ZTKModule module("libztk_test_module.so", "", "");
  EXPECT_TRUE(module.IsLoaded());
}

TEST_F(ZTKModulePosixTest, NameMayContainFolders) {
  const ZTKModule plain("plugins/libztk_nested_module.so", "", "");
  EXPECT_TRUE(plain.IsLoaded());
  const ZTKModule decorated("plugins/ztk_nested_module", "", "");
  EXPECT_TRUE(decorated.IsLoaded());
  const ZTKModule upwards("plugins/../ztk_test_module", "", "");
  EXPECT_TRUE(upwards.IsLoaded());
}

TEST_F(ZTKModulePosixTest, FailureWritesTheMessageAndTheReasonOfTheLoader) {
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

TEST_F(ZTKModulePosixTest, ReasonIsCompleteForTheLongestNames) {
  // The message itself is cut at 1,023 characters, the reason is not; nor are its signs changed.
  const std::string name = std::string(200, 'x') + "/%s%n%d/" + std::string(1500, 'y');
  const std::string written = FailingLoad(name.c_str());
  EXPECT_THAT(written, StartsWith("Load Shared Library xxx"));
  EXPECT_THAT(written, HasSubstr("\n" + ProgramFolder().string() + "/" + name + ": "));
}

TEST_F(ZTKModulePosixTest, AbsolutePathsAreTakenBelowTheFolder) {
  const std::string path = (ProgramFolder() / "libztk_test_module.so").string();
  EXPECT_THAT(FailingLoad(path.c_str()), HasSubstr("Error!!"));
}

TEST_F(ZTKModulePosixTest, SearchPathOfTheLoaderIsNotUsed) {
  const std::string probe = (ProgramFolder() / "module_probe").string();
  const std::string decoys = (ProgramFolder() / "decoys").string();
  ASSERT_TRUE(std::filesystem::exists(decoys + "/libztk_decoy.so"));
  const ScopedEnv path("LD_LIBRARY_PATH", decoys.c_str());
  EXPECT_EQ(RunProbe(probe, "libztk_decoy.so"), 1);
  EXPECT_EQ(RunProbe(probe, "ztk_decoy"), 1);
  EXPECT_EQ(RunProbe(probe, "decoys/ztk_decoy"), 0);
}

TEST_F(ZTKModulePosixTest, FolderIsThatOfTheProgramBehindALink) {
  const TempDir dir;
  std::filesystem::create_symlink(ProgramFolder() / "module_probe", dir / "link");
  const ScopedWorkingDirectory there(dir.Path());
  EXPECT_EQ(RunProbe("./link", kDecorated), 0);
}

TEST_F(ZTKModulePosixTest, FolderMayHaveALongPath) {
  const TempDir dir;
  std::filesystem::path deep = dir.Path();
  for (int i = 0; i < 6; ++i) deep /= std::string(100, static_cast<char>('a' + i));
  std::filesystem::create_directories(deep);
  std::filesystem::copy_file(ProgramFolder() / "module_probe", deep / "module_probe");
  EXPECT_EQ(RunProbe((deep / "module_probe").string(), kDecorated), 1);
  std::filesystem::copy_file(ProgramFolder() / "libztk_test_module.so",
                             deep / "libztk_test_module.so");
  EXPECT_EQ(RunProbe((deep / "module_probe").string(), kDecorated), 0);
}

TEST_F(ZTKModulePosixTest, WithoutMemoryLoadFailsAndSaysSo) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer owns the allocator";
  const ZTKString name(kDecorated);
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
