// The road of a configuration's value over colon paths.

#include "ztk/config/file_config.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/platform/mac/services_support.h"
#include "ztk/file/file_system.h"

namespace {

namespace fs = std::filesystem;

class MacFileConfig : public testing::Test {
 protected:
  MacFileConfig()
      : m_home("HOME", (m_dir / "Disk/home").c_str()), m_unset("XDG_CONFIG_HOME", nullptr) {
    fs::create_directories(m_dir / "Disk/home/.config");
    fs::create_directories(m_dir / "work/inside");
    m_mounts.Set({m_dir / "Disk"});
  }

  std::string Host(const std::string& name) const { return m_dir / name; }

 private:
  TempDir m_dir;
  MountTable m_mounts;
  ScopedEnv m_home;
  ScopedEnv m_unset;
};

std::string Value(ZTKFileConfig& config, const char* key) {
  ZTKString value;
  return config.Read(key, value) ? value.c_str() : "(none)";
}

TEST_F(MacFileConfig, AValueGoesToTheFileAndComesBack) {
  {
    ZTKFileConfig config("Editor", "Editor");
    EXPECT_STREQ(config.GetFilePath().c_str(), "Disk:home:.config:Editor.conf");
    config.SetPath("/Recent");
    EXPECT_TRUE(config.Write("Last", "Disk:docs:report.txt"));
    EXPECT_TRUE(config.Write("Count", 7UL));
    EXPECT_TRUE(config.Flush());
    EXPECT_TRUE(config.Write("Count", 8UL));
  }
  EXPECT_EQ(ReadWholeFile(Host("Disk/home/.config/Editor.conf")),
            "\xEF\xBB\xBF[Editor]\r\n[Editor/Recent]\r\nCount=8\r\nLast=Disk:docs:report.txt\r\n");
  EXPECT_EQ(
      std::distance(fs::directory_iterator(Host("Disk/home/.config")), fs::directory_iterator()),
      1);
  ZTKFileConfig config("Editor", "Editor");
  config.SetPath("/Recent");
  EXPECT_EQ(Value(config, "Last"), "Disk:docs:report.txt");
  EXPECT_EQ(Value(config, "Count"), "8");
}

TEST_F(MacFileConfig, AVolumeMayBeTheFolder) {
  const ScopedEnv volume("XDG_CONFIG_HOME", Host("Disk").c_str());
  {
    ZTKFileConfig config("", "Editor");
    EXPECT_STREQ(config.GetFilePath().c_str(), "Disk::Editor.conf");
    config.SetPath("/g");
    config.Write("k", "v");
  }
  ZTKFileConfig config("", "Editor");
  config.SetPath("/g");
  EXPECT_EQ(Value(config, "k"), "v");
  EXPECT_TRUE(fs::exists(Host("Disk/Editor.conf")));
}

// As the steps make it: read in the working directory, written beside it.
TEST_F(MacFileConfig, WithoutAFolderThePathIsAColonAndTheName) {
  fs::remove_all(Host("Disk/home/.config"));
  const ScopedWorkingDirectory inside(Host("work/inside"));
  WriteWholeFile("Editor.conf", "[g]\nk=read\n");
  {
    ZTKFileConfig config("", "Editor");
    EXPECT_STREQ(config.GetFilePath().c_str(), ":Editor.conf");
    config.SetPath("/g");
    EXPECT_EQ(Value(config, "k"), "read");
    config.Write("k", "written");
  }
  EXPECT_EQ(ReadWholeFile("Editor.conf"), "[g]\nk=read\n");
  EXPECT_EQ(ReadWholeFile(Host("work/inside:Editor.conf")), "\xEF\xBB\xBF[g]\r\nk=written\r\n");
  EXPECT_FALSE(fs::exists(Host("Disk/home/.config")));
}

TEST_F(MacFileConfig, AFailedServiceNeverLosesWhatWasSaved) {
  const ScopedWorkingDirectory inside(Host("work/inside"));
  const std::string folder = Host("Disk/home/.config");
  const std::string saved = "\xEF\xBB\xBF[g]\r\nk=old\r\n";
  const std::string changed = "\xEF\xBB\xBF[g]\r\nk=new\r\n";
  const unsigned long calls = WithEachCallFailing([&](bool) {
    WriteWholeFile(folder + "/Editor.conf", saved);
    {
      ZTKFileConfig config("", "Editor");
      config.SetPath("/g");
      config.Write("k", "new");
    }
    EXPECT_EQ(ztk_mac_services::CFCountObjects(), 0);
    // A commit that failed half way has its new version under the temporary name.
    const std::string target = folder + "/Editor.conf";
    const std::string content = ReadWholeFile(fs::exists(target) ? target : folder + "/Editor000");
    EXPECT_TRUE(content == saved || content == changed) << content;
    fs::remove_all(folder);
    fs::create_directory(folder);
  });
  EXPECT_GE(calls, 50u);
}

}  // namespace
