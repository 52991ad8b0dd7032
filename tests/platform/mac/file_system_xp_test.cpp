#include "ztk/file/file_system.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>

#include "tests/platform/mac/services_support.h"
#include "tests/support/failing_allocator.h"
#include "tests/support/scoped_process.h"
#include "ztk/file/file.h"

namespace {

namespace fs = std::filesystem;
using ztk_mac_services::CFCountObjects;
using ztk_mac_services::Faults;

std::string Converted(const std::string& path) { return XPMacPathToCompName(path.c_str()).c_str(); }

ZTKString Z(const std::string& text) { return ZTKString(text); }

// The conversion of paths -------------------------------------------------------------------------

TEST(XPMacPathToCompName, GivesSlashPathsBack) {
  EXPECT_STREQ(XPMacPathToCompName(nullptr).c_str(), "");
  const std::string longOne = "/" + std::string(5000, 's') + ":x";
  for (const std::string& path : {std::string(), std::string("rel/name"), std::string("/abs/name"),
                                  std::string("/abs:na:me"), std::string("."), longOne}) {
    EXPECT_EQ(Converted(path), path);
  }
}

TEST(XPMacPathToCompName, PutsTheMountPointInPlaceOfTheVolume) {
  TempDir dir;
  fs::create_directories(dir / "media/My Disk");
  fs::create_directories(dir / "media/a:b");
  const MountTable mounts({dir / "media/My\\040Disk", dir / "media/a:b"});
  const std::string disk = dir / "media/My Disk";
  const struct {
    std::string path;
    std::string expected;
  } rows[] = {
      {"System:a:b", "/a/b"},
      {"System:", "/"},
      {"System::a", "//a"},
      {"System:a:", "/a/"},
      {"System:a/b", "/a/b"},  // To the letter: only a ':' is looked at.
      {"System:.:..:a", "/./../a"},
      {"My Disk:a:b.txt", disk + "/a/b.txt"},
      {"My Disk:", disk + "/"},
      {"My Disk:caf\xC3\xA9", disk + "/caf\xC3\xA9"},  // Only the volume has to be ASCII.
      {"a/b:c", dir / "media/a:b/c"},  // '/' in a volume's name is a ':' of the host.
  };
  for (const auto& row : rows) EXPECT_EQ(Converted(row.path), row.expected) << row.path;
}

TEST(XPMacPathToCompName, LeavesTheRestWhereTheVolumeIsNotKnown) {
  const MountTable mounts;
  const struct {
    std::string path;
    std::string expected;
  } rows[] = {
      {"Nowhere:a:b", "a/b"},
      {"Nowhere:", ""},
      {":a:b", "a/b"},  // An empty name is no volume.
      {":", ""},
      {"::a", "/a"},
      {"system:a", "a"},  // The case of a volume's name counts.
      {"caf\xC3\xA9:a", "a"},
      {".:a", "a"},
      {"..:a", "a"},
      {"tmp/x:a", "a"},
      {std::string(31, 'v') + ":a", "a"},
      {std::string(255, 'v') + ":a", "a"},
      {std::string(1000, 'v') + ":a", "a"},
  };
  for (const auto& row : rows) EXPECT_EQ(Converted(row.path), row.expected) << row.path;
}

TEST(XPMacPathToCompName, LooksAt1024Characters) {
  const std::string volume = "System:";
  for (const size_t length : {1023u, 1024u, 1025u, 3000u}) {
    SCOPED_TRACE(length);
    const std::string path = volume + std::string(length - volume.size(), 'n');
    const size_t kept = std::min<size_t>(length, 1024) - volume.size();
    EXPECT_EQ(Converted(path), "/" + std::string(kept, 'n'));
  }
  // The first ':' has to be among them.
  EXPECT_EQ(Converted(std::string(1023, 'v') + ":a"), "");
  EXPECT_EQ(Converted(std::string(1024, 'v') + ":a"), std::string(1024, 'v') + ":a");
}

TEST(XPMacPathToCompName, CutsAMountPointAt1024Characters) {
  TempDir dir;
  std::string deep = dir.Path().string();
  while (deep.size() < 1100) deep += "/" + std::string(200, 'd');
  fs::create_directories(deep + "/Disk");
  const MountTable mounts({deep + "/Disk"});
  EXPECT_EQ(Converted("Disk:a"), (deep + "/Disk").substr(0, 1024) + "/a");
}

TEST(XPMacPathToCompName, FollowsMountsThatComeAndGo) {
  TempDir dir;
  MountTable mounts;
  EXPECT_EQ(Converted("Disk:a"), "a");
  fs::create_directory(dir / "Disk");
  mounts.Set({dir / "Disk"});
  EXPECT_EQ(Converted("Disk:a"), dir / "Disk/a");
  fs::remove(dir / "Disk");  // The table still has it.
  EXPECT_EQ(Converted("Disk:a"), "a");
  fs::create_directory(dir / "Disk");
  EXPECT_EQ(Converted("Disk:a"), dir / "Disk/a");
  mounts.Set({});
  EXPECT_EQ(Converted("Disk:a"), "a");
  mounts.Remove();
  EXPECT_EQ(Converted("Disk:a"), "a");
  EXPECT_EQ(Converted("System:a"), "/a");
}

TEST(XPMacPathToCompName, AFailedServiceMakesTheVolumeUnknown) {
  EXPECT_EQ(WithEachCallFailing([](bool fails) {
              EXPECT_EQ(Converted("System:a:b"), fails ? "a/b" : "/a/b");
              EXPECT_EQ(CFCountObjects(), 0);
            }),
            6u);
}

TEST(XPMacPathToCompName, TakesAMountPointByItsBytes) {
  TempDir dir;
  for (const char* folder : {"cafÃ©", "caf?", "ÿ", "?"}) {
    SCOPED_TRACE(folder);
    fs::create_directories(dir / (std::string(folder) + "/Disk"));
  }
  for (const char* folder : {"cafÃ©", "ÿ"}) {
    SCOPED_TRACE(folder);
    const std::string disk = dir / (std::string(folder) + "/Disk");
    const MountTable mounts({disk});
    EXPECT_EQ(Converted("Disk:a"), disk + "/a");
    ASSERT_TRUE(ZTKFile("Disk:new", ZTKFile::write).IsOpen());
    EXPECT_TRUE(fs::exists(disk + "/new"));
  }
  EXPECT_TRUE(fs::is_empty(dir / "caf?/Disk"));
  EXPECT_TRUE(fs::is_empty(dir / "?/Disk"));
}

// A program that has "Disk:a" open, or in its settings, means the disk that it has seen.
TEST(XPMacPathToCompName, ANameIsNeverThatOfAnotherVolumeWhenItsOwnIsGone) {
  TempDir dir;
  fs::create_directories(dir / "one/Disk");
  fs::create_directories(dir / "two/Disk");
  MountTable mounts({dir / "one/Disk", dir / "two/Disk"});
  EXPECT_EQ(Converted("Disk:a"), dir / "one/Disk/a");
  mounts.Set({dir / "two/Disk"});
  EXPECT_EQ(Converted("Disk:a"), "a");
  mounts.Set({dir / "two/Disk", dir / "one/Disk"});
  EXPECT_EQ(Converted("Disk:a"), dir / "one/Disk/a");
}

TEST(XPMacPathToCompName, MeansNoOtherFileWithoutMemory) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer brings its own allocator";
  bool failed = true;
  for (long passed = 0; failed; ++passed) {
    ASSERT_LT(passed, 100);
    ZTKString path;
    {
      const failing_allocator::Scope scope(passed, 1);
      path = XPMacPathToCompName("System:a name that is long enough to need memory:b");
      failed = scope.Failed();
    }
    EXPECT_EQ(path.view(), failed ? "" : "/a name that is long enough to need memory/b") << passed;
    EXPECT_EQ(CFCountObjects(), 0);
  }
}

TEST(XPMacPathToCompName, OpensFilesByColonPaths) {
  TempDir dir;
  fs::create_directory(dir / "Disk");
  const MountTable mounts({dir / "Disk"});
  ZTKFile file("Disk:new", ZTKFile::write);
  EXPECT_TRUE(file.IsOpen());
  EXPECT_TRUE(fs::exists(dir / "Disk/new"));
  EXPECT_TRUE(ZTKFileExists("Disk:new"));
  EXPECT_TRUE(ZTKMkdir("Disk:folder", 0777));
  EXPECT_TRUE(ZTKRenameFile("Disk:new", "Disk:folder:old"));
  EXPECT_TRUE(ZTKCopyFile("Disk:folder:old", "Disk:copy", 0));
  EXPECT_TRUE(ZTKRemoveFile("Disk:copy"));
  EXPECT_TRUE(fs::exists(dir / "Disk/folder/old"));
  EXPECT_FALSE(ZTKRmdir("Disk:folder"));
}

// Every function takes either form
// -----------------------------------------------------------------

// A volume "Disk", and the paths on it in one form or the other.
class MacFileSystemForms : public testing::TestWithParam<bool> {
 protected:
  MacFileSystemForms() {
    fs::create_directory(m_dir / "Disk");
    m_mounts.Set({m_dir / "Disk"});
  }
  ZTKString Path(const std::string& name) const {
    if (!GetParam()) return Z(Host(name));
    std::string path = "Disk:" + name;
    std::replace(path.begin(), path.end(), '/', ':');
    return Z(path);
  }
  std::string Host(const std::string& name) const { return m_dir / ("Disk/" + name); }

 private:
  TempDir m_dir;
  MountTable m_mounts;
};

INSTANTIATE_TEST_SUITE_P(Forms, MacFileSystemForms, testing::Bool(),
                         [](const auto& form) { return form.param ? "Colons" : "Slashes"; });

TEST_P(MacFileSystemForms, FilesAreOpenedCreatedAndFound) {
  WriteWholeFile(Host("old"), "old");
  for (const auto mode : {ZTKFile::read, ZTKFile::read_write, ZTKFile::append}) {
    EXPECT_TRUE(ZTKFile(Path("old").c_str(), mode).IsOpen()) << mode;
  }
  for (const auto mode : {ZTKFile::write, ZTKFile::write_new}) {
    EXPECT_TRUE(ZTKFile(Path("new").c_str(), mode).IsOpen()) << mode;
    EXPECT_TRUE(fs::remove(Host("new"))) << mode;
  }
  ZTKFile file;
  EXPECT_FALSE(file.XPCreate(Path("old").c_str(), false, 0666));
  EXPECT_TRUE(file.XPCreate(Path("created").c_str(), false, 0666));
  EXPECT_TRUE(fs::exists(Host("created")));
  bool taken = false;
  EXPECT_FALSE(file.XPCreateExclusive(Path("old").c_str(), 0600, taken));
  EXPECT_TRUE(taken);
  EXPECT_TRUE(file.XPCreateExclusive(Path("exclusive").c_str(), 0600, taken));
  EXPECT_TRUE(fs::exists(Host("exclusive")));
  EXPECT_TRUE(ZTKFile::Exists(Path("old").c_str()));
  EXPECT_TRUE(ZTKFileExists(Path("old")));
  EXPECT_FALSE(ZTKFileExists(Path("missing")));
  EXPECT_EQ(ReadWholeFile(Host("old")), "old");
  // Asked for in colons alone.
  EXPECT_EQ(ZTKPathExists(Path("old")), GetParam());
}

TEST_P(MacFileSystemForms, FilesAreRenamedCopiedAndRemoved) {
  WriteWholeFile(Host("a"), "a");
  WriteWholeFile(Host("taken"), "old");
  EXPECT_TRUE(ZTKRenameFile(Path("a"), Path("b")));
  EXPECT_FALSE(ZTKCopyFile(Path("b"), Path("taken"), 0));
  EXPECT_EQ(ReadWholeFile(Host("taken")), "old");
  EXPECT_TRUE(ZTKCopyFile(Path("b"), Path("taken"), 1));
  EXPECT_TRUE(ZTKCopyFile(Path("b"), Path("copy"), 0));
  EXPECT_TRUE(ZTKCopyFile(Path("b"), Path("mine"), 0, 0600));
  for (const char* name : {"b", "taken", "copy", "mine"}) {
    EXPECT_EQ(ReadWholeFile(Host(name)), "a") << name;
    EXPECT_TRUE(ZTKRemoveFile(Path(name))) << name;
  }
  EXPECT_TRUE(fs::is_empty(Host("")));
}

TEST_P(MacFileSystemForms, FoldersAreMadeEnteredAndRemoved) {
  EXPECT_TRUE(ZTKMkdir(Path("folder"), 0777));
  EXPECT_TRUE(ZTKMkdir(Path("folder/below"), 0777));
  EXPECT_TRUE(fs::is_directory(Host("folder/below")));
  EXPECT_FALSE(ZTKRmdir(Path("folder")));
  EXPECT_TRUE(ZTKRmdir(Path("folder/below")));
  {
    const ScopedWorkingDirectory back{fs::current_path()};
    EXPECT_TRUE(ZTKSetWorkingDirectory(Path("folder")));
    EXPECT_EQ(ZTKGetCwd().view(), Host("folder"));
    char buffer[1024] = "";
    EXPECT_EQ(ZTKGetWorkingDirectory(buffer, sizeof buffer), Host("folder"));
  }
  EXPECT_TRUE(ZTKRmdir(Path("folder")));
  EXPECT_TRUE(fs::is_empty(Host("")));
}

// Whether a path exists ---------------------------------------------------------------------------

TEST(ZTKPathExists, TakesColonPathsFromTheDefaultDirectory) {
  TempDir dir;
  fs::create_directories(dir / "Disk/folder");
  WriteWholeFile(dir / "Disk/folder/file", "x");
  WriteWholeFile(dir / "Disk/folder/a:b", "x");
  WriteWholeFile(dir / "Disk/caf\xC3\xA9", "x");
  fs::create_symlink("folder", dir / "Disk/link");
  fs::create_symlink("nothing", dir / "Disk/dangling");
  fs::create_symlink("loop", dir / "Disk/loop");
  const MountTable mounts({dir / "Disk"});
  const ScopedWorkingDirectory inside(dir / "Disk/folder");
  const struct {
    const char* path;
    bool exists;
  } rows[] = {
      {"Disk:", true},
      {"Disk:folder", true},
      {"Disk:folder:", true},
      {"Disk:folder:file", true},
      {"Disk:folder:a/b", true},
      {"Disk:folder::folder", true},
      {"Disk:folder:file:", true},
      {"Disk:link:file", true},
      {"Disk:caf\xC3\xA9", true},
      {"file", true},
      {":file", true},
      {"a/b", true},
      {":", true},
      {"::", true},
      {"::folder:file", true},
      {"::folder::folder:file", true},
      {"Disk", false},  // A file of that name.
      {"Disk:missing", false},
      {"Disk:missing:file", false},
      {"Disk:missing::folder", false},
      {"Disk:folder:file:below", false},
      {"Disk:dangling", false},
      {"Disk:loop", false},
      {"Disk:loop:file", false},
      {"Disk::", false},  // Never out of a volume.
      {"Disk::Disk", false},
      {":::", false},
      {"Disk:.", false},
      {"Disk:folder:..", false},
      {".", false},
      {"..", false},
      {"folder/file", false},
      {"Nowhere:folder", false},
  };
  for (const auto& row : rows) EXPECT_EQ(ZTKPathExists(row.path), row.exists) << row.path;
  EXPECT_FALSE(ZTKPathExists(Z(dir / "Disk/folder/file")));
}

TEST(ZTKPathExists, LooksAt255CharactersOfAtMost1023) {
  TempDir dir;
  fs::create_directories(dir / std::string(150, 'd'));
  const ScopedWorkingDirectory inside(dir.Path());
  // A name that ends exactly where the path is cut.
  const std::string folder = ":" + std::string(150, 'd') + ":";
  const std::string name(255 - folder.size(), 'n');
  WriteWholeFile(dir / (std::string(150, 'd') + "/" + name), "x");
  for (const size_t length : {254u, 255u, 256u, 1022u, 1023u, 1024u, 1025u, 5000u}) {
    std::string path = folder + name;
    path.resize(length, 'n');
    EXPECT_EQ(ZTKPathExists(Z(path)), length >= 255 && length <= 1023) << length;
  }
}

TEST(ZTKPathExists, TakesNamesOfEveryLength) {
  TempDir dir;
  const ScopedWorkingDirectory inside(dir.Path());
  for (const size_t length : {1u, 31u, 32u, 63u, 64u, 255u}) {
    const std::string name(length, 'n');
    EXPECT_FALSE(ZTKPathExists(Z(name))) << length;
    WriteWholeFile(name, "x");
    EXPECT_TRUE(ZTKPathExists(Z(name))) << length;
  }
}

TEST(ZTKPathExists, IsFalseWhenAServiceFails) {
  EXPECT_EQ(WithEachCallFailing([](bool fails) { EXPECT_EQ(ZTKPathExists("System:"), !fails); }),
            1u);
}

TEST(ZTKPathExists, IsFalseWithoutAWorkingDirectory) {
  TempDir dir;
  const ScopedWorkingDirectory inside(dir.Path());
  fs::create_directory("gone");
  fs::current_path("gone");
  fs::remove(dir / "gone");
  EXPECT_FALSE(ZTKPathExists("file"));
  EXPECT_FALSE(ZTKPathExists(":"));
  EXPECT_TRUE(ZTKPathExists("System:"));
}

// Folders -----------------------------------------------------------------------------------------

TEST(XPGetTempFolder, IsThatOfTheUserAndMadeWhenMissing) {
  TempDir dir;
  const MountTable mounts;
  {
    const ScopedEnv unset("TMPDIR", nullptr);
    EXPECT_STREQ(XPGetTempFolder().c_str(), "System:tmp");
  }
  const ScopedEnv set("TMPDIR", (dir / "a/b/").c_str());
  const std::string folder = XPGetTempFolder().c_str();
  EXPECT_EQ(Converted(folder), dir / "a/b");
  struct stat status {};
  ASSERT_EQ(stat((dir / "a/b").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0700u);
}

TEST(XPGetTempFolder, IsEmptyWhereThereCanBeNone) {
  TempDir dir;
  WriteWholeFile(dir / "file", "x");
  for (const char* name : {"file", "file/below"}) {
    const ScopedEnv set("TMPDIR", (dir / name).c_str());
    EXPECT_STREQ(XPGetTempFolder().c_str(), "") << name;
  }
}

TEST(XPGetTempFolder, EndsInAColonWhereItIsAVolume) {
  TempDir dir;
  fs::create_directory(dir / "Temporary");
  const MountTable mounts({dir / "Temporary"});
  const ScopedEnv set("TMPDIR", (dir / "Temporary").c_str());
  EXPECT_STREQ(XPGetTempFolder().c_str(), "Temporary:");
}

TEST(XPGetTempFolder, IsEmptyWhenAServiceFails) {
  const ScopedEnv unset("TMPDIR", nullptr);
  EXPECT_EQ(WithEachCallFailing([](bool fails) {
              EXPECT_EQ(XPGetTempFolder().Len() == 0, fails);
              EXPECT_EQ(CFCountObjects(), 0);
            }),
            4u);
}

// What is not offered here ------------------------------------------------------------------------

TEST(ZTKGetUserHome, IsADotForEverybody) {
  const ScopedEnv home("HOME", "/somewhere");
  for (const char* user : {"", "root", "no-such-user"}) EXPECT_STREQ(ZTKGetUserHome(user), ".");
}

TEST(ZTKFindFirstFile, FindsNothing) {
  EXPECT_STREQ(ZTKFindFirstFile("System:*", 0).c_str(), "");
  EXPECT_STREQ(ZTKFindNextFile().c_str(), "");
}

TEST(ZTKFileSystem, PermissionsOfNewFilesAreNotAskedFor) {
  TempDir dir;
  const ScopedUmask umask(027);
  ZTKFile file;
  ASSERT_TRUE(file.XPOpen((dir / "a").c_str(), ZTKFile::write, 0600));
  ASSERT_TRUE(file.XPCreate((dir / "b").c_str(), true, 0777));
  for (const char* name : {"a", "b"}) {
    struct stat status {};
    ASSERT_EQ(stat((dir / name).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
  }
}

TEST(ZTKFileSystem, NativeSeparatorIsAColon) { EXPECT_EQ(XPGetNativeSeparator(), ':'); }

}  // namespace
