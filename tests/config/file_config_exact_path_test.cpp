// Configurations that are files anywhere, by their path.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/config/file_config_support.h"
#include "tests/support/native_path.h"

namespace {

TEST(ZTKFileConfigExactPath, AFileOfAnyNameIsReadAndSaved) {
  for (const std::string& name :
       std::vector<std::string>{"painter.ini", "no extension", "$HOME~.conf", "a.b.c"}) {
    for (const unsigned int options : {0u, CONF_KEEP_TEXT + 0u, CONF_MERGE + 0u, CONF_ALL + 0u}) {
      SCOPED_TRACE(name + ", options " + std::to_string(options));
      const PreferencesFolder prefs;
      const TempDir elsewhere;
      WriteWholeFile(elsewhere / name, "[Painter]\nWidth=640\n");
      const std::string path = NativePath(elsewhere / name);
      ZTKFileConfig config("Painter", path.c_str(), options | CONF_EXACT_PATH);
      EXPECT_EQ(config.GetFilePath().view(), path);
      config.SetPath("/");
      EXPECT_EQ(ValueOf(config, "Width"), "640");
      EXPECT_TRUE(config.Write("Width", 800UL));
      EXPECT_TRUE(config.Flush());
      EXPECT_THAT(ReadWholeFile(elsewhere / name), testing::HasSubstr("Width=800"));
      EXPECT_TRUE(std::filesystem::is_empty(prefs.Dir().Path()));
    }
  }
}

TEST(ZTKFileConfigExactPath, ARelativePathIsThatOfTheWorkingDirectory) {
  const PreferencesFolder prefs;
  {
    ZTKFileConfig config("", "own.settings", CONF_EXACT_PATH);
    config.SetPath("/g");
    EXPECT_TRUE(config.Write("k", "v"));
    EXPECT_TRUE(config.Flush());
  }
  EXPECT_THAT(ReadWholeFile(prefs.Work() / "own.settings"), testing::HasSubstr("[g]\r\nk=v\r\n"));
  EXPECT_TRUE(std::filesystem::is_empty(prefs.Dir().Path()));
}

TEST(ZTKFileConfigExactPath, AnEmptyPathAndAFolderAreNoFile) {
  const PreferencesFolder prefs;
  for (const std::string& path : {std::string(), NativePath(prefs.Work().Path().string())}) {
    ZTKFileConfig config("", path.c_str(), CONF_EXACT_PATH);
    config.SetPath("/g");
    EXPECT_TRUE(config.Write("k", "v"));
    EXPECT_FALSE(config.Flush());
  }
  EXPECT_TRUE(std::filesystem::is_empty(prefs.Work().Path()));
}

}  // namespace
