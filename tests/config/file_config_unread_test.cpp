// Files that could not be read, or are no files, and that must not be replaced.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>

#include "tests/config/file_config_support.h"
#include "tests/support/failing_allocator.h"
#include "tests/support/scoped_process.h"

namespace {

namespace fs = std::filesystem;

/// Leaves only so many descriptors to be opened.
class ScopedDescriptorLimit {
 public:
  explicit ScopedDescriptorLimit(unsigned nFree) {
    getrlimit(RLIMIT_NOFILE, &m_old);
    const int lowest = dup(STDIN_FILENO);
    close(lowest);
    const rlimit limit = {static_cast<rlim_t>(lowest) + nFree, m_old.rlim_max};
    setrlimit(RLIMIT_NOFILE, &limit);
  }
  ~ScopedDescriptorLimit() { setrlimit(RLIMIT_NOFILE, &m_old); }
  ScopedDescriptorLimit(const ScopedDescriptorLimit&) = delete;
  ScopedDescriptorLimit& operator=(const ScopedDescriptorLimit&) = delete;

 private:
  rlimit m_old{};
};

void SetK(ZTKFileConfig& config) {
  config.SetPath("/g");
  EXPECT_TRUE(config.Write("k", "2"));
}

// With merging, what is merged is what was read just now.
bool Merges(unsigned options) { return (options & CONF_MERGE) != 0; }

TEST(ZTKFileConfigUnread, WithAnyOptionAFileThatWasNotReadIsNotReplaced) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer needs descriptors of its own";
  for (unsigned options = 1; options <= CONF_ALL; ++options) {
    SCOPED_TRACE(options);
    const PreferencesFolder prefs;
    WriteWholeFile(prefs.ConfFile(), "[g]\nold=1\n");
    std::unique_ptr<ZTKFileConfig> config;
    {
      const ScopedDescriptorLimit limit(0);
      config = std::make_unique<ZTKFileConfig>("", "App", options);
    }
    EXPECT_FALSE(config->IsReadWhole());
    SetK(*config);
    EXPECT_EQ(config->Flush(), Merges(options));
    EXPECT_EQ(config->IsDirty(), !Merges(options));
    EXPECT_NE(ReadWholeFile(prefs.ConfFile()).find("old=1"), std::string::npos);

    EXPECT_TRUE(config->Reload());
    SetK(*config);
    EXPECT_TRUE(config->Flush());
    EXPECT_NE(ReadWholeFile(prefs.ConfFile()).find("old=1"), std::string::npos);
    EXPECT_NE(ReadWholeFile(prefs.ConfFile()).find("k=2"), std::string::npos);
  }
}

// The system does not say that there is no such file, only that it cannot tell.
TEST(ZTKFileConfigUnread, WhatCannotBeToldIsNotTakenForMissing) {
  for (unsigned options = 1; options <= CONF_ALL; ++options) {
    SCOPED_TRACE(options);
    const PreferencesFolder prefs;
    fs::create_symlink("App.conf", prefs.ConfFile());  // Leads to itself.
    ZTKFileConfig config("", "App", options);
    EXPECT_FALSE(config.IsReadWhole());
    SetK(config);
    EXPECT_FALSE(config.Flush());
    EXPECT_FALSE(config.Reload());
    EXPECT_TRUE(config.IsDirty());
    EXPECT_TRUE(fs::is_symlink(prefs.ConfFile()));
    fs::remove(prefs.ConfFile());
    EXPECT_TRUE(config.Flush()) << "now it is known to be missing";
  }
}

TEST(ZTKFileConfigUnread, AFolderThatMayNotBeSearchedIsNotTakenForEmpty) {
  if (RunsAsRoot()) GTEST_SKIP() << "root may search everything";
  const PreferencesFolder prefs;
  WriteWholeFile(prefs.ConfFile(), "[g]\nold=1\n");
  fs::permissions(prefs.Dir().Path(), fs::perms(0));
  ZTKFileConfig config("", "App", CONF_ONE_STEP);
  EXPECT_FALSE(config.IsReadWhole());
  fs::permissions(prefs.Dir().Path(), fs::perms(0700));
  SetK(config);
  EXPECT_FALSE(config.Flush());
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), "[g]\nold=1\n");
}

// What is not a plain file
// -------------------------------------------------------------------------

/// Expects that whatever has the file's name is neither waited for nor replaced.
void ExpectNoConfiguration(const PreferencesFolder& prefs, fs::file_type type) {
  for (const unsigned options : {0u, CONF_KEEP_TEXT + 0u, CONF_MERGE + 0u, CONF_ALL + 0u}) {
    SCOPED_TRACE(options);
    const ScopedWatchdog watchdog(60);
    {
      OpenConfig config("", "App", options);
      SetK(config);
      EXPECT_FALSE(config.Flush());
      EXPECT_FALSE(config.Reload());
      EXPECT_TRUE(config.IsDirty());
      ZTKTextFile file(prefs.ConfFile().c_str());
      EXPECT_FALSE(config.OpenConfFile(file));
    }
    EXPECT_EQ(fs::symlink_status(prefs.ConfFile()).type(), type);
  }
}

TEST(ZTKFileConfigUnread, APipeIsNeitherWaitedForNorReplaced) {
  const PreferencesFolder prefs;
  ASSERT_EQ(mkfifo(prefs.ConfFile().c_str(), 0600), 0);
  ExpectNoConfiguration(prefs, fs::file_type::fifo);
}

TEST(ZTKFileConfigUnread, ADeviceWithoutEndIsNotRead) {
  for (const char* device : {"/dev/zero", "/dev/full", "/dev/null"}) {
    SCOPED_TRACE(device);
    const PreferencesFolder prefs;
    fs::create_symlink(device, prefs.ConfFile());
    ExpectNoConfiguration(prefs, fs::file_type::symlink);
  }
}

TEST(ZTKFileConfigUnread, AFolderStays) {
  const PreferencesFolder prefs;
  fs::create_directory(prefs.ConfFile());
  ExpectNoConfiguration(prefs, fs::file_type::directory);
}

// Without descriptors
// ------------------------------------------------------------------------------

TEST(ZTKFileConfigUnread, SavingWithFewDescriptorsKeepsTheOldFileOrWritesTheNewOne) {
  for (unsigned options = 0; options <= CONF_ALL; ++options) {
    bool isSaved = false;
    for (unsigned nFree = 0; !isSaved; ++nFree) {
      SCOPED_TRACE(std::to_string(options) + " with " + std::to_string(nFree));
      ASSERT_LT(nFree, 20u);
      const PreferencesFolder prefs;
      WriteWholeFile(prefs.ConfFile(), "[g]\nk=1\nold=1\n");
      ZTKFileConfig config("", "App", options);
      SetK(config);
      {
        const ScopedDescriptorLimit limit(nFree);
        isSaved = config.Flush();
      }
      const std::string text = ReadWholeFile(prefs.ConfFile());
      EXPECT_NE(text.find("old=1"), std::string::npos) << text;
      EXPECT_NE(text.find(isSaved ? "k=2" : "k=1"), std::string::npos) << text;
      if (!isSaved) {
        EXPECT_TRUE(config.Flush());
      }
    }
  }
}

// The last of the default steps: a later `Flush` that can read the file replaces it.
TEST(ZTKFileConfigUnread, WithoutOptionsAFileThatWasNotReadIsReplaced) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer needs descriptors of its own";
  const PreferencesFolder prefs;
  WriteWholeFile(prefs.ConfFile(), "[g]\nold=1\n");
  std::unique_ptr<ZTKFileConfig> config;
  {
    const ScopedDescriptorLimit limit(0);
    config = std::make_unique<ZTKFileConfig>("", "App");
  }
  SetK(*config);
  EXPECT_TRUE(config->Flush());
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), std::string(kMark) + "[g]\r\nk=2\r\n");
}

}  // namespace
