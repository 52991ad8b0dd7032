// From any path to the colon path of the same file.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/platform/mac/services_support.h"
#include "tests/support/failing_allocator.h"
#include "tests/support/scoped_process.h"
#include "ztk/file/file_name.h"
#include "ztk/file/file_system.h"

namespace {

namespace fs = std::filesystem;

std::string ColonPath(const std::string& path) { return XPCompNameToMacPath(path.c_str()).c_str(); }

// The path of the host with a ':' for every '/', from the root.
std::string FromRoot(const std::string& path) {
  std::string colons = "System" + path;
  std::replace(colons.begin(), colons.end(), '/', ':');
  return colons;
}

TEST(XPCompNameToMacPath, GivesTheVolumeAndWhatLiesBelow) {
  TempDir dir;
  fs::create_directories(dir / "Disk/Inner");
  fs::create_directories(dir / "a:b");
  const std::string disk = dir / "Disk";
  const MountTable mounts({disk, disk + "/Inner", dir / "a:b"});
  const struct {
    std::string path;
    std::string expected;
  } rows[] = {
      {"/", "System:"},
      {"/usr/lib/a.so", "System:usr:lib:a.so"},
      {"/usr/lib/", "System:usr:lib:"},
      {"//usr/./lib//a.so", "System:usr:lib:a.so"},
      {"/usr/lib/.", "System:usr:lib:"},
      {"/.profile", "System:.profile"},
      {"/no/such/folder/x", "System:no:such:folder:x"},
      {disk, "Disk:"},
      {disk + "/", "Disk:"},
      {disk + "/a.txt", "Disk:a.txt"},
      {disk + "/docs/caf\xC3\xA9", "Disk:docs:caf\xC3\xA9"},
      {disk + "/Inner/x", "Inner:x"},
      {disk + "/Inner/../x", "Disk:x"},
      {disk + "/...", ""},
      {disk + "/..x/y..z", "Disk:..x:y..z"},
      {dir / "a:b/x", "a/b:x"},
      {"Disk:docs:a.txt", "Disk:docs:a.txt"},
      {"System:usr", "System:usr"},
      {"System:usr::lib", "System:usr:lib"},
  };
  for (const auto& row : rows) EXPECT_EQ(ColonPath(row.path), row.expected) << row.path;
}

TEST(XPCompNameToMacPath, IsFullForARelativePathInEitherForm) {
  TempDir dir;
  fs::create_directories(dir / "Disk/docs");
  const MountTable mounts({dir / "Disk"});
  const ScopedWorkingDirectory inside(dir / "Disk/docs");
  for (const char* path : {"a.txt", "./a.txt", "../docs/a.txt", ":a.txt", "Nowhere:a.txt"}) {
    EXPECT_EQ(ColonPath(path), "Disk:docs:a.txt") << path;
  }
  EXPECT_EQ(ColonPath(".."), "Disk:");
  EXPECT_EQ(ColonPath("."), "Disk:docs:");
}

TEST(XPCompNameToMacPath, FollowsLinksBeforeAStepUp) {
  TempDir dir;
  fs::create_directories(dir / "one/below");
  fs::create_directories(dir / "two");
  fs::create_directory_symlink(dir / "one/below", dir / "two/link");
  const MountTable mounts;
  EXPECT_EQ(ColonPath(dir / "two/link/../x"), FromRoot(dir / "one/x"));
  EXPECT_EQ(ColonPath(dir / "two/link/x"), FromRoot(dir / "two/link/x"));
  EXPECT_EQ(ColonPath(dir / "two/missing/../x"), "");
}

// These go by the start-up volume, whose paths are those of the host.
TEST(XPCompNameToMacPath, DoesWithoutAVolumeThatHasNoUsableName) {
  TempDir dir;
  fs::create_directories(dir / "caf\xC3\xA9");
  fs::create_directories(dir / "one/Disk");
  fs::create_directories(dir / "two/Disk");
  const MountTable mounts({dir / "caf\xC3\xA9", dir / "one/Disk", dir / "two/Disk"});
  for (const char* name : {"caf\xC3\xA9/x", "two/Disk/x"}) {
    EXPECT_EQ(ColonPath(dir / name), FromRoot(dir / name));
  }
}

TEST(XPCompNameToMacPath, IsEmptyWhereItWouldBeAnotherFile) {
  const MountTable mounts;
  EXPECT_STREQ(XPCompNameToMacPath(nullptr).c_str(), "");
  for (const char* path : {"", "/tmp/a:b", "/a:b/c", "/tmp/a.", "/tmp/a..", ":"}) {
    EXPECT_EQ(ColonPath(path), "") << path;
  }
  TempDir dir;
  const ScopedWorkingDirectory inside(dir.Path());
  fs::create_directory("gone");
  fs::current_path("gone");
  fs::remove(dir / "gone");
  EXPECT_EQ(ColonPath("a"), "");
}

TEST(XPCompNameToMacPath, IsWholeOrEmpty) {
  const MountTable mounts;
  const std::string most = "/" + std::string(1024 - 7, 'n');
  EXPECT_EQ(ColonPath(most), "System:" + most.substr(1));
  EXPECT_EQ(ColonPath(most + "n"), "");
}

TEST(XPCompNameToMacPath, LeadsToTheFileHoweverItIsTaken) {
  TempDir dir;
  const MountTable mounts;
  for (const char* name :
       {"a", "a.txt", ".profile", "~", "$x", "a b", "back\\slash", "\xFF", "?"}) {
    SCOPED_TRACE(name);
    const std::string path = dir.Path().string() + "/" + name;
    const ZTKString colonPath = XPCompNameToMacPath(path.c_str());
    EXPECT_EQ(XPMacPathToCompName(colonPath.c_str()).view(), path);
    ZTKFileName taken(colonPath, ZTKPathNative);
    EXPECT_TRUE(taken.IsAbsolute(ZTKPathNative));
    EXPECT_EQ(XPMacPathToCompName(taken.GetFullPath(ZTKPathNative).c_str()).view(), path);
  }
}

TEST(XPCompNameToMacPath, IsWholeOrEmptyWithoutMemory) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer brings its own allocator";
  const MountTable mounts;
  const std::string expected = "System:a folder with a name that needs memory:b";
  bool failed = true;
  for (long passed = 0; failed; ++passed) {
    ASSERT_LT(passed, 500);
    ZTKString path;
    {
      const failing_allocator::Scope scope(passed, 1);
      path = XPCompNameToMacPath("/a folder with a name that needs memory/./b");
      failed = scope.Failed();
    }
    EXPECT_TRUE(path.view() == expected || (failed && path.Len() == 0)) << path.c_str();
  }
}

}  // namespace
