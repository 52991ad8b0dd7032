// The preferences folder that a configuration meets.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/config/file_config_support.h"

namespace {

namespace fs = std::filesystem;

void Change(ZTKFileConfig& config) {
  config.SetPath("/");
  EXPECT_TRUE(config.Write("k", "v"));
}

TEST(ZTKFileConfig, ConstructionCreatesTheMissingPreferencesFolder) {
  const TempDir dir;
  const ScopedEnv env("XDG_CONFIG_HOME", (dir / "prefs").c_str());
  const ZTKFileConfig config("Root", "App");
  EXPECT_TRUE(fs::exists(dir / "prefs/App.conf"));
  EXPECT_EQ(fs::status(dir / "prefs").permissions(), fs::perms::owner_all);
}

TEST(ZTKFileConfig, AConfigurationMakesThePreferencesFolderForTheUserAloneWhenItFirstWrites) {
  const ZTKString root;
  for (const unsigned options : {0u, CONF_ALL + 0u}) {
    for (const bool isSet : {false, true}) {
      SCOPED_TRACE(isSet);
      const TempDir dir;
      const std::string prefs = dir / (isSet ? "new/deep/prefs" : ".config");
      const ScopedEnv home("HOME", dir.Path().c_str());
      const ScopedEnv xdg("XDG_CONFIG_HOME", isSet ? prefs.c_str() : nullptr);
      ZTKFileConfig config(root, "App", options);
      EXPECT_EQ(std::string(config.GetFilePath().c_str()), prefs + "/App.conf");
      EXPECT_TRUE(fs::exists(prefs + "/App.conf")) << "made empty";
      EXPECT_EQ(fs::status(prefs).permissions(), fs::perms::owner_all);
      if (isSet) {
        EXPECT_EQ(fs::status(dir / "new").permissions(), fs::perms::owner_all);
      }

      fs::remove_all(prefs);
      config.SetPath("/g");
      config.Write("k", "v");
      EXPECT_TRUE(config.Flush());
      EXPECT_EQ(fs::status(prefs).permissions(), fs::perms::owner_all) << "made again";
    }
  }
}

TEST(ZTKFileConfig, AConfigurationMakesNoFolderBeyondThePreferences) {
  const TempDir dir;
  const ScopedEnv xdg("XDG_CONFIG_HOME", (dir / "prefs").c_str());
  for (const unsigned options : {0u, CONF_ALL + 0u}) {
    ZTKFileConfig config("", "sub/App", options);
    config.SetPath("/g");
    config.Write("k", "v");
    EXPECT_FALSE(config.Flush());
    EXPECT_FALSE(fs::exists(dir / "prefs/sub"));
  }
}

TEST(ZTKFileConfig, APreferencesFolderThatIsAFileLeavesAnEmptyTree) {
  const TempDir dir;
  WriteWholeFile(dir / "prefs", "a file");
  const ScopedEnv env("XDG_CONFIG_HOME", (dir / "prefs").c_str());
  {
    ZTKFileConfig config("App", "App");
    Change(config);
    EXPECT_EQ(ValueOf(config, "k"), "v");
    EXPECT_FALSE(config.Flush());
    EXPECT_TRUE(config.IsDirty());
  }
  EXPECT_EQ(ReadWholeFile(dir / "prefs"), "a file");
}

}  // namespace
