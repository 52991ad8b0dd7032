// Configuration files that cannot be read, full disks, the order of calls, and signals.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/time.h>

#include <cerrno>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "tests/config/file_config_save_support.h"
#include "tests/config/file_config_support.h"
#include "tests/support/scoped_process.h"
#include "tests/support/system_calls.h"

namespace {

namespace fs = std::filesystem;

void MakeChange(ZTKFileConfig& config) {
  config.SetPath("/");
  EXPECT_TRUE(config.Write("k", "v"));
}

// Reading the memory of this process at its start fails, whoever asks.
TEST(ZTKFileConfigFaults, AFileThatCannotBeReadIsNotReplaced) {
  const PreferencesFolder prefs;
  fs::create_symlink("/proc/self/mem", prefs.ConfFile());
  ZTKFileConfig config("App", "App");
  MakeChange(config);
  EXPECT_FALSE(config.Flush());
  EXPECT_TRUE(config.IsDirty());
  EXPECT_TRUE(fs::is_symlink(prefs.ConfFile()));
  fs::remove(prefs.ConfFile());
}

TEST(ZTKFileConfigRefuse, AnUnreadFileIsReplacedOnlyAfterItWasReadAgain) {
  const PreferencesFolder prefs;
  // Reading the memory of this process at its start fails, whoever asks.
  fs::create_symlink("/proc/self/mem", prefs.ConfFile());
  ZTKFileConfig config("", "App", CONF_REFUSE_UNREAD);
  EXPECT_FALSE(config.IsReadWhole());
  Put(config, "/g", "k", "2");
  EXPECT_FALSE(config.Flush());
  EXPECT_FALSE(config.Reload());

  fs::remove(prefs.ConfFile());
  WriteWholeFile(prefs.ConfFile(), "[g]\nold=1\n");
  EXPECT_FALSE(config.Flush()) << "it can be read by now, but nobody has";
  EXPECT_TRUE(config.Reload());
  EXPECT_TRUE(config.IsReadWhole());
  Put(config, "/g", "k", "2");
  EXPECT_TRUE(config.Flush());
  EXPECT_EQ(OnDisk("/g", "old"), "1");
}

TEST(ZTKFileConfigRefuse, MergingReadsItAnyway) {
  const PreferencesFolder prefs;
  fs::create_symlink("/proc/self/mem", prefs.ConfFile());
  ZTKFileConfig config("", "App", CONF_REFUSE_UNREAD | CONF_MERGE);
  Put(config, "/g", "k", "2");
  EXPECT_FALSE(config.Flush());
  fs::remove(prefs.ConfFile());
  WriteWholeFile(prefs.ConfFile(), "[g]\nold=1\n");
  EXPECT_TRUE(config.Flush());
  EXPECT_EQ(OnDisk("/g", "old"), "1");
  EXPECT_EQ(OnDisk("/g", "k"), "2");
}

TEST(ZTKFileConfigOneStep, AFullDiskLeavesTheFile) {
  const PreferencesFolder prefs;
  WriteWholeFile(prefs.ConfFile(), "[g]\nk=1\n");
  ZTKFileConfig config("", "App", CONF_ONE_STEP);
  Put(config, "/g", "k", std::string(100000, 'x').c_str());
  {
    const ScopedFileSizeLimit limit(50000);
    EXPECT_FALSE(config.Flush());
  }
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), "[g]\nk=1\n");
  EXPECT_TRUE(config.Flush());
}

TEST(ZTKFileConfigOneStep, TheStepsComeInTheirOrder) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("", "App", CONF_ALL);
  Put(config, "/g", "k", "1");
  const system_calls::Scope scope;
  EXPECT_TRUE(config.Flush());
  EXPECT_EQ(scope.Calls(),
            (std::vector<std::string>{"fsync file", "rename", "fsync file", "fsync folder"}));
}

TEST(ZTKFileConfigSave, OnAFullDiskNoOptionCutsTheFile) {
  for (unsigned options = 1; options <= CONF_ALL; ++options) {
    SCOPED_TRACE(options);
    const PreferencesFolder prefs;
    WriteWholeFile(prefs.ConfFile(), kBefore);
    ZTKFileConfig config("", "App", options);
    config.SetPath("/g");
    config.Write("k", std::string(100000, 'x').c_str());
    {
      const ScopedFileSizeLimit limit(50000);
      EXPECT_FALSE(config.Flush());
    }
    EXPECT_TRUE(config.IsDirty());
    EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), kBefore);
    EXPECT_EQ(Leftovers(prefs), std::set<std::string>());
    EXPECT_TRUE(config.Flush());
  }
}

// The new file is there, so it is known, and neither a change by others nor saved for good.
TEST(ZTKFileConfigSave, WithoutASyncOfTheFolderTheNewFileIsKnownAndSavedAgain) {
  for (unsigned options = 1; options <= CONF_ALL; ++options) {
    if (!IsOneStep(options)) continue;
    SCOPED_TRACE(options);
    const PreferencesFolder prefs;
    WriteWholeFile(prefs.ConfFile(), kBefore);
    OpenConfig config("", "App", options);
    ASSERT_GE(config.GetFd(), 0);
    EXPECT_FALSE(config.Dispatch());
    MakeChanges(config);
    const std::string after = Saved(options);
    const bool isAsked = (options & CONF_ONE_STEP) != 0;
    {
      system_calls::Scope scope;
      scope.Refuse("fsync folder", EIO);
      EXPECT_EQ(config.Flush(), !isAsked);
    }
    EXPECT_EQ(config.IsDirty(), isAsked);
    EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), after);
    EXPECT_FALSE(config.Dispatch()) << "its own writing";
    EXPECT_EQ(TreeOf(config), kTree);
    EXPECT_EQ(Leftovers(prefs), std::set<std::string>());
    EXPECT_TRUE(config.Flush());
    EXPECT_FALSE(config.IsDirty());
    EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), after);
    EXPECT_FALSE(config.Dispatch());
  }
}

// Signals -----------------------------------------------------------------------------------------

/// Interrupts whatever waits, again and again.
class ScopedInterruptions {
 public:
  ScopedInterruptions() {
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, &m_old);  // Without SA_RESTART.
    const itimerval often = {{0, 200}, {0, 200}};
    setitimer(ITIMER_REAL, &often, nullptr);
  }
  ~ScopedInterruptions() {
    const itimerval never = {};
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &m_old, nullptr);
  }
  ScopedInterruptions(const ScopedInterruptions&) = delete;
  ScopedInterruptions& operator=(const ScopedInterruptions&) = delete;

 private:
  struct sigaction m_old = {};
};

TEST(ZTKFileConfigSave, SignalsInterruptNeitherMergingNorSaving) {
  for (const unsigned options : {0u, CONF_KEEP_TEXT + 0u, CONF_MERGE + 0u, CONF_ALL + 0u}) {
    SCOPED_TRACE(options);
    const PreferencesFolder prefs;
    ZTKFileConfig one("", "App", options);
    ZTKFileConfig two("", "App", options);
    const ScopedInterruptions interruptions;
    for (int i = 0; i < 50; ++i) {
      for (ZTKFileConfig* config : {&one, &two}) {
        config->SetPath("/g");
        config->Write(("k" + std::to_string(i)).c_str(), std::string(20000, 'x').c_str());
        ASSERT_TRUE(config->Flush());
      }
    }
    ZTKFileConfig config("", "App");
    config.SetPath("/g");
    for (int i = 0; i < 50; ++i) {
      EXPECT_EQ(ValueOf(config, ("k" + std::to_string(i)).c_str()).size(), 20000u);
    }
  }
}

}  // namespace
