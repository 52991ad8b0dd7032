// The preferences folder that a configuration meets.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/text/file_config_support.h"

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
