// The volumes that the host's table of mounts makes.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <filesystem>
#include <string>

#include "tests/platform/mac/services_support.h"
#include "ztk/platform/mac/services/mounts.h"
#include "ztk/platform/mac/services/volumes.h"

namespace {

namespace fs = std::filesystem;
using ztk_mac_services::Mounts;
using ztk_mac_services::Volume;
using ztk_mac_services::Volumes;

std::string RootOf(const std::string& name) {
  Volume volume;
  return Volumes::FindByName(name, volume) ? volume.root : "(none)";
}

std::string NameFor(const std::string& path) { return Volumes::FindByPath(path).name; }

TEST(MacVolumes, TheStartUpVolumeIsAlwaysThere) {
  MountTable mounts;
  for (const char* text :
       {"", "\n\n\n", "garbage", "/dev/x", "/dev/x ", " ", "/dev/x relative ext4"}) {
    SCOPED_TRACE(text);
    mounts.SetText(text);
    EXPECT_EQ(RootOf("System"), "/");
    EXPECT_EQ(RootOf("x"), "(none)");
    EXPECT_EQ(NameFor("/"), "System");
    EXPECT_EQ(NameFor("/usr/lib"), "System");
  }
  mounts.Remove();
  EXPECT_EQ(RootOf("System"), "/");
  EXPECT_EQ(NameFor("/usr"), "System");
}

TEST(MacVolumes, AreCalledByTheLastComponentOfTheirMountPoint) {
  TempDir dir;
  for (const char* name : {"Plain", "My Disk", "tab\tand\\back", "a:b", "with\nline"}) {
    fs::create_directory(dir / name);
  }
  const MountTable mounts({dir / "Plain/", dir / "My\\040Disk", dir / "tab\\011and\\134back",
                           dir / "a:b", dir / "with\\012line"});
  EXPECT_EQ(RootOf("Plain"), dir / "Plain");
  EXPECT_EQ(RootOf("My Disk"), dir / "My Disk");
  EXPECT_EQ(RootOf("tab\tand\\back"), dir / "tab\tand\\back");
  EXPECT_EQ(RootOf("a/b"), dir / "a:b");
  EXPECT_EQ(RootOf("with\nline"), dir / "with\nline");
  EXPECT_EQ(RootOf("a:b"), "(none)");
  EXPECT_EQ(RootOf(""), "(none)");
}

TEST(MacVolumes, ABackslashThatEscapesNothingIsOne) {
  TempDir dir;
  fs::create_directory(dir / "a\\04");
  fs::create_directory(dir / "b\\989");
  const MountTable mounts({dir / "a\\04", dir / "b\\989"});
  EXPECT_EQ(RootOf("a\\04"), dir / "a\\04");
  EXPECT_EQ(RootOf("b\\989"), dir / "b\\989");
}

TEST(MacVolumes, TheFirstOfTwoNamesakesIsTheVolume) {
  TempDir dir;
  fs::create_directories(dir / "one/Disk/below");
  fs::create_directories(dir / "two/Disk/below");
  fs::create_directories(dir / "System");
  MountTable mounts({dir / "one/Disk", dir / "two/Disk", dir / "System"});
  EXPECT_EQ(RootOf("Disk"), dir / "one/Disk");
  EXPECT_EQ(NameFor(dir / "one/Disk/below"), "Disk");
  // The other one's files are reached through the volume around it.
  EXPECT_EQ(NameFor(dir / "two/Disk/below"), "System");
  EXPECT_EQ(Volumes::FindByPath(dir / "two/Disk/below").root, "/");
  EXPECT_EQ(RootOf("System"), "/");
  EXPECT_EQ(Volumes::FindByPath(dir / "System").root, "/");
}

TEST(MacVolumes, WhatIsMountedOnAFileIsNone) {
  TempDir dir;
  WriteWholeFile(dir / "hosts", "x");
  fs::create_directories(dir / "two/hosts");
  const MountTable mounts({dir / "hosts", dir / "two/hosts"});
  EXPECT_EQ(RootOf("hosts"), dir / "two/hosts");
  EXPECT_EQ(NameFor(dir / "hosts"), "System");
}

TEST(MacVolumes, APathBelongsToTheClosest) {
  TempDir dir;
  fs::create_directories(dir / "Outer/Inner");
  fs::create_directories(dir / "OuterOther");
  const MountTable mounts({dir / "Outer/Inner", dir / "Outer"});
  EXPECT_EQ(NameFor(dir / "Outer"), "Outer");
  EXPECT_EQ(NameFor(dir / "Outer/x"), "Outer");
  EXPECT_EQ(NameFor(dir / "Outer/Inner"), "Inner");
  EXPECT_EQ(NameFor(dir / "Outer/Inner/x"), "Inner");
  EXPECT_EQ(NameFor(dir / "OuterOther"), "System");
}

TEST(MacVolumes, NumbersStayAndAreNeverThoseOfAnother) {
  TempDir dir;
  fs::create_directory(dir / "One");
  fs::create_directory(dir / "Two");
  MountTable mounts({dir / "One", dir / "Two"});
  Volume one;
  Volume two;
  ASSERT_TRUE(Volumes::FindByName("One", one));
  ASSERT_TRUE(Volumes::FindByName("Two", two));
  EXPECT_NE(one.number, 0);
  EXPECT_NE(one.number, two.number);

  mounts.Set({dir / "Two"});
  Volume found;
  EXPECT_FALSE(Volumes::FindByNumber(one.number, found));
  EXPECT_TRUE(Volumes::FindByNumber(two.number, found));
  EXPECT_EQ(found.name, "Two");
  mounts.Set({dir / "Two", dir / "One"});
  ASSERT_TRUE(Volumes::FindByNumber(one.number, found));
  EXPECT_EQ(found.name, "One");

  for (const short number : {short{0}, short{1}, short{SHRT_MAX}, short{SHRT_MIN}}) {
    EXPECT_FALSE(Volumes::FindByNumber(number, found)) << number;
  }
}

TEST(MacVolumes, ANamesakesFilesStayWithTheVolumeAroundIt) {
  TempDir dir;
  fs::create_directories(dir / "one/Disk");
  fs::create_directories(dir / "two/Disk");
  MountTable mounts({dir / "one/Disk", dir / "two/Disk"});
  Volume one;
  ASSERT_TRUE(Volumes::FindByName("Disk", one));
  mounts.Set({dir / "two/Disk"});
  Volume found;
  EXPECT_FALSE(Volumes::FindByName("Disk", found));
  EXPECT_FALSE(Volumes::FindByNumber(one.number, found));
  EXPECT_EQ(Volumes::FindByPath(dir / "two/Disk/x").root, "/");
}

// The table of the host --------------------------------------------------------------------------

TEST(MacMounts, AreReadOnce) {
  RootOf("proc");
  const unsigned long reads = Mounts::Reads();
  // Whatever else is mounted on this machine meanwhile.
  for (int i = 0; i < 100; ++i) {
    EXPECT_EQ(RootOf("proc"), "/proc");
    EXPECT_EQ(NameFor("/proc/self"), "proc");
  }
  EXPECT_LE(Mounts::Reads(), reads + 10);
}

TEST(MacMounts, AreReadAgainWhenTheirDescriptorWasClosedOrIsAnotherFile) {
  TempDir dir;
  const auto closeTable = [] {
    int closed = -1;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/fd")) {
      std::error_code ignored;
      const fs::path target = fs::read_symlink(entry.path(), ignored);
      if (target.filename() == "mounts") closed = std::stoi(entry.path().filename());
    }
    EXPECT_GE(closed, 0);
    EXPECT_EQ(close(closed), 0);
    return closed;
  };
  EXPECT_EQ(RootOf("proc"), "/proc");
  closeTable();
  EXPECT_EQ(RootOf("proc"), "/proc");

  const int number = closeTable();
  const int other = open((dir / "other").c_str(), O_CREAT | O_RDWR, 0600);
  ASSERT_EQ(other, number);
  const unsigned long reads = Mounts::Reads();
  EXPECT_EQ(RootOf("proc"), "/proc");
  EXPECT_GT(Mounts::Reads(), reads);
  EXPECT_EQ(fcntl(other, F_GETFD), 0);  // Somebody else's is not closed.
  EXPECT_EQ(close(other), 0);
}

// In a process of its own, with mounts of its own, where the system lets it have them.
TEST(MacMounts, AreReadAgainWhenTheSystemReportsAChange) {
  TempDir dir;
  fs::create_directory(dir / "NewDisk");
  constexpr int kNotAllowed = 77;
  const std::string disk = dir / "NewDisk";
  RootOf("proc");  // The table is open, and the child inherits it.
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    if (unshare(CLONE_NEWNS) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) _exit(kNotAllowed);
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) _exit(kNotAllowed);
    if (RootOf("NewDisk") != "(none)") _exit(1);
    if (mount("none", disk.c_str(), "tmpfs", 0, nullptr) != 0) _exit(kNotAllowed);
    if (RootOf("NewDisk") != disk) _exit(2);
    if (NameFor(disk + "/x") != "NewDisk") _exit(3);
    if (umount(disk.c_str()) != 0) _exit(4);
    if (RootOf("NewDisk") != "(none)") _exit(5);
    _exit(0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  if (WEXITSTATUS(status) == kNotAllowed) GTEST_SKIP() << "nothing may be mounted here";
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(MacMounts, AreThoseOfTheHost) {
  EXPECT_EQ(RootOf("System"), "/");
  EXPECT_EQ(NameFor("/"), "System");
  EXPECT_EQ(RootOf("proc"), "/proc");
  EXPECT_EQ(NameFor("/proc/self"), "proc");
}

}  // namespace
