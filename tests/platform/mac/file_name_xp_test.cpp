#include "ztk/file/file_name.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/platform/mac/services_support.h"
#include "ztk/file/file_system.h"

namespace {

namespace fs = std::filesystem;

TEST(ZTKFileName, TheNativeSyntaxHasColons) {
  EXPECT_EQ(ZTKFileName::XPGetFormat(ZTKPathNative), ZTKPathMac);
  for (const ZTKPathFormat format : {ZTKPathUnix, ZTKPathMac, ZTKPathDos, ZTKPathVms}) {
    EXPECT_EQ(ZTKFileName::XPGetFormat(format), format);
  }
  const ZTKFileName name("System:docs:report.txt", ZTKPathNative);
  EXPECT_TRUE(name.IsAbsolute(ZTKPathNative));
  EXPECT_STREQ(name.GetFullPath(ZTKPathNative).c_str(), "System:docs:report.txt");
  EXPECT_FALSE(ZTKFileName(":docs:report.txt", ZTKPathNative).IsAbsolute(ZTKPathNative));
}

TEST(ZTKFileName, ADirectoryHasNoColonAndMayHaveASlash) {
  EXPECT_TRUE(ZTKFileName::IsValidDirComponent("a/b"));
  EXPECT_FALSE(ZTKFileName::IsValidDirComponent("a:b"));
  EXPECT_FALSE(ZTKFileName::IsValidDirComponent(""));
}

// The native separator decides, whatever the syntax.
TEST(ZTKFileName, ADotBehindASlashStartsAnExtension) {
  const ZTKFileName slash("dir/.profile", ZTKPathUnix);
  EXPECT_STREQ(slash.GetName().c_str(), "");
  EXPECT_STREQ(slash.GetExt().c_str(), "profile");
  const ZTKFileName colon("dir:.profile", ZTKPathMac);
  EXPECT_STREQ(colon.GetName().c_str(), ".profile");
  EXPECT_STREQ(colon.GetExt().c_str(), "");
}

TEST(ZTKFileName, ShortcutsAreNotResolved) {
  TempDir dir;
  fs::create_symlink("target", dir / "link");
  ZTKString target("kept");
  ZTKString args("kept too");
  EXPECT_TRUE(ZTKFileName().XPGetShortcutTarget(ZTKString(dir / "link"), target, &args));
  EXPECT_TRUE(ZTKFileName().XPGetShortcutTarget("anything", target, nullptr));
  EXPECT_STREQ(target.c_str(), "kept");
  EXPECT_STREQ(args.c_str(), "kept too");

  ZTKFileName name("System:a:b", ZTKPathNative);
  EXPECT_TRUE(name.XPNormalize(ZTKNormShortcut, "", ZTKPathNative));
  EXPECT_STREQ(name.GetFullPath(ZTKPathNative).c_str(), "");
}

TEST(ZTKFileName, PathsHaveNoLongForm) {
  ZTKFileName name("C:\\a\\b", ZTKPathDos);
  EXPECT_STREQ(name.XPGetLongPath().c_str(), "");
  EXPECT_TRUE(name.XPNormalize(ZTKNormLongPath, "", ZTKPathDos));
  EXPECT_STREQ(name.GetFullPath(ZTKPathDos).c_str(), "");
}

TEST(ZTKFileName, HomeOfAUserIsADot) {
  ZTKFileName name("~root/x", ZTKPathUnix);
  EXPECT_TRUE(name.XPNormalize(ZTKNormTilde, "", ZTKPathUnix));
  EXPECT_STREQ(name.GetFullPath(ZTKPathUnix).c_str(), "/./x");
}

// The folder of the preferences
// --------------------------------------------------------------------

std::string Preferences() { return ZTKFileName::XPGetUserHomeDir().c_str(); }

TEST(XPGetUserHomeDir, IsTheFolderOfThePreferencesInColonStyle) {
  TempDir dir;
  fs::create_directories(dir / "Disk/home/.config");
  fs::create_directories(dir / "Disk/other");
  const MountTable mounts({dir / "Disk"});
  const ScopedEnv home("HOME", (dir / "Disk/home").c_str());
  {
    const ScopedEnv unset("XDG_CONFIG_HOME", nullptr);
    EXPECT_EQ(Preferences(), "Disk:home:.config");
  }
  {
    const ScopedEnv relative("XDG_CONFIG_HOME", "other");
    EXPECT_EQ(Preferences(), "Disk:home:.config");
  }
  {
    const ScopedEnv set("XDG_CONFIG_HOME", (dir / "Disk/other").c_str());
    EXPECT_EQ(Preferences(), "Disk:other");
  }
  const ScopedEnv volume("XDG_CONFIG_HOME", (dir / "Disk/").c_str());
  EXPECT_EQ(Preferences(), "Disk:");
}

TEST(XPGetUserHomeDir, IsEmptyAndNotMadeWhereThereIsNone) {
  TempDir dir;
  WriteWholeFile(dir / "file", "x");
  for (const char* name : {"missing", "file", "file/below"}) {
    const ScopedEnv set("XDG_CONFIG_HOME", (dir / name).c_str());
    EXPECT_EQ(Preferences(), "") << name;
  }
  EXPECT_FALSE(fs::exists(dir / "missing"));
  const ScopedEnv unset("XDG_CONFIG_HOME", nullptr);
  const ScopedEnv home("HOME", ("/" + std::string(5000, 'h')).c_str());
  // Too long for a home, so the password database answers, or nobody does.
  const std::string path = Preferences();
  EXPECT_EQ(path.find(std::string(100, 'h')), std::string::npos);
}

TEST(XPGetUserHomeDir, HasAtMost1023Characters) {
  TempDir dir;
  std::string deep = dir.Path().string();
  while (deep.size() < 1200) deep += "/" + std::string(100, 'd');
  fs::create_directories(deep);
  const ScopedEnv set("XDG_CONFIG_HOME", deep.c_str());
  EXPECT_EQ(Preferences().size(), 1023u);
}

TEST(XPGetUserHomeDir, IsEmptyWhenAServiceFails) {
  TempDir dir;
  const ScopedEnv set("XDG_CONFIG_HOME", dir.Path().c_str());
  EXPECT_EQ(WithEachCallFailing([](bool fails) {
              EXPECT_EQ(Preferences().empty(), fails);
              EXPECT_EQ(ztk_mac_services::CFCountObjects(), 0);
            }),
            4u);
}

}  // namespace
