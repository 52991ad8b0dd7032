// Saving when something fails on the way: memory, the disk, signals.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/time.h>

#include <filesystem>
#include <memory>
#include <new>
#include <set>
#include <string>

#include "tests/config/file_config_support.h"
#include "tests/support/failing_allocator.h"
#include "tests/support/scoped_process.h"
#include "tests/support/system_calls.h"

namespace {

namespace fs = std::filesystem;

constexpr char kBefore[] = "# c\n[g]\nk=1\nl=1\n[h]\nm=1\n[h/i]\nn=1\n";
constexpr char kTree[] = "{g{k=a longer value than it was before;}h{m=1;}o{new=3;}}";

/// A configuration with changes of every kind that have not been saved.
void MakeChanges(OpenConfig& config) {
  config.SetPath("/g");
  EXPECT_TRUE(config.Write("k", "a longer value than it was before"));
  EXPECT_TRUE(config.DeleteEntry("l"));
  config.SetPath("/h");
  EXPECT_TRUE(config.DeleteGroup("i"));
  config.SetPath("/o");
  EXPECT_TRUE(config.Write("new", "3"));
}

/// What the file becomes.
std::string Saved(unsigned options) {
  const PreferencesFolder prefs;
  WriteWholeFile(prefs.ConfFile(), kBefore);
  OpenConfig config("", "App", options);
  MakeChanges(config);
  EXPECT_TRUE(config.Flush());
  return ReadWholeFile(prefs.ConfFile());
}

/// Whether the new file takes the place of the old one in one step.
bool IsOneStep(unsigned options) {
  return (options & (CONF_ONE_STEP | CONF_MERGE | CONF_KEEP_TEXT)) != 0;
}

/// The names in the folder that are neither the file's nor its lock's.
std::set<std::string> Leftovers(const PreferencesFolder& prefs) {
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(prefs.Dir().Path())) {
    names.insert(entry.path().filename());
  }
  names.erase("App.conf");
  names.erase("App.conf.lock");
  return names;
}

// Whatever allocation fails in it, and however many after that: true means that all of it is in the
// file, false that the file is as it was, and that saving again works. Only the default steps,
// which remove the file before the new one has its name, may stop in between: then that one is
// left.
void RunOutOfMemory(unsigned options, long nFailures) {
  const std::string after = Saved(options);
  bool failed = true;
  for (long nBefore = 0; failed; ++nBefore) {
    SCOPED_TRACE("options " + std::to_string(options) + ", " + std::to_string(nFailures) +
                 " failures after " + std::to_string(nBefore));
    ASSERT_LT(nBefore, 20000);
    const PreferencesFolder prefs;
    WriteWholeFile(prefs.ConfFile(), kBefore);
    OpenConfig config("", "App", options);
    MakeChanges(config);
    bool isSaved = false;
    {
      const failing_allocator::Scope scope(nBefore, nFailures);
      isSaved = config.Flush();
      failed = scope.Failed();
    }
    const bool isThere = fs::exists(prefs.ConfFile());
    const std::string text = isThere ? ReadWholeFile(prefs.ConfFile()) : std::string();
    if (isSaved) {
      ASSERT_EQ(text, after);
      EXPECT_FALSE(config.IsDirty());
    } else if (isThere) {
      ASSERT_EQ(text, kBefore);
    } else {
      ASSERT_FALSE(IsOneStep(options));
      ASSERT_EQ(ReadWholeFile(prefs.Dir() / "App000"), after) << "both versions are lost";
    }
    ASSERT_TRUE(isSaved || failed);
    // The current group is the same one as before.
    ASSERT_EQ(ValueOf(config, "new"), "3");
    if (options == 0) continue;  // A failed writing is not tried again.
    ASSERT_TRUE(config.Flush());
    ASSERT_EQ(ReadWholeFile(prefs.ConfFile()), after);
    ASSERT_EQ(TreeOf(config), kTree) << "in memory";
  }
}

TEST(ZTKFileConfigSave, AFailedAllocationNeverSavesLessAndSaysTrue) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer brings its own allocator";
  for (const unsigned options :
       {0u, CONF_KEEP_TEXT + 0u, CONF_MERGE + 0u, CONF_KEEP_TEXT | CONF_MERGE, CONF_ONE_STEP + 0u,
        CONF_REFUSE_UNREAD | CONF_FOLLOW_LINKS, CONF_ALL + 0u}) {
    RunOutOfMemory(options, 1);
  }
}

TEST(ZTKFileConfigSave, SeveralFailedAllocationsLoseNeitherVersion) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer brings its own allocator";
  for (const unsigned options :
       {0u, CONF_KEEP_TEXT + 0u, CONF_MERGE + 0u, CONF_REFUSE_UNREAD + 0u, CONF_ALL + 0u}) {
    for (const long nFailures : {2L, 4L, -1L}) RunOutOfMemory(options, nFailures);
  }
}

// Whatever allocation fails while it is read: nothing in the file goes before it was read again.
TEST(ZTKFileConfigSave, AFileThatWasReadWithoutMemoryIsNotReplaced) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer brings its own allocator";
  const ZTKString root;
  const ZTKString name = "App";
  for (const unsigned options : {0u, CONF_KEEP_TEXT + 0u, CONF_MERGE + 0u, CONF_ONE_STEP + 0u,
                                 CONF_FOLLOW_LINKS + 0u, CONF_ALL + 0u}) {
    for (const long nFailures : {1L, 2L, 3L, 5L, -1L}) {
      bool failed = true;
      for (long nBefore = 0; failed; ++nBefore) {
        SCOPED_TRACE("options " + std::to_string(options) + ", " + std::to_string(nFailures) +
                     " failures after " + std::to_string(nBefore));
        ASSERT_LT(nBefore, 20000);
        const PreferencesFolder prefs;
        WriteWholeFile(prefs.ConfFile(), kBefore);
        std::unique_ptr<ZTKFileConfig> config;
        void* const pMemory = ::operator new(sizeof(ZTKFileConfig));
        {
          const failing_allocator::Scope scope(nBefore, nFailures);
          config.reset(new (pMemory) ZTKFileConfig(root, name, options));
          failed = scope.Failed();
        }
        ASSERT_EQ(ReadWholeFile(prefs.ConfFile()), kBefore) << "by constructing";
        if (options == 0) continue;  // An empty tree, which may be saved.
        config->SetPath("/g");
        config->Write("k", "2");
        config->Flush();
        const std::string text = ReadWholeFile(prefs.ConfFile());
        for (const char* kept : {"l=1", "m=1", "n=1"}) {
          ASSERT_NE(text.find(kept), std::string::npos) << text;
        }
      }
    }
  }
}

TEST(ZTKFileConfigSave, ReadingAgainWithoutMemoryChangesNothing) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer brings its own allocator";
  for (const unsigned options : {0u, CONF_MERGE + 0u, CONF_ALL + 0u}) {
    bool failed = true;
    for (long nBefore = 0; failed; ++nBefore) {
      SCOPED_TRACE("options " + std::to_string(options) + ", after " + std::to_string(nBefore));
      ASSERT_LT(nBefore, 20000);
      const PreferencesFolder prefs;
      WriteWholeFile(prefs.ConfFile(), kBefore);
      OpenConfig config("", "App", options);
      config.SetPath("/x/../g");
      WriteWholeFile(prefs.ConfFile(), "[g]\nk=7\n");
      bool isRead = false;
      {
        const failing_allocator::Scope scope(nBefore, 1);
        isRead = config.Reload();
        failed = scope.Failed();
      }
      ASSERT_EQ(ValueOf(config, "k"), isRead ? "7" : "1");
      ASSERT_EQ(ValueOf(config, "l"), isRead ? "<none>" : "1");
      ASSERT_TRUE(isRead || failed);
    }
  }
}

TEST(ZTKFileConfigSave, AnEntryThatCannotBeWrittenKeepsItsValue) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer brings its own allocator";
  for (const unsigned options : {0u, CONF_KEEP_TEXT + 0u, CONF_MERGE + 0u}) {
    const std::string longer(100, 'x');
    for (long nBefore = 0;; ++nBefore) {
      SCOPED_TRACE(std::to_string(options) + " after " + std::to_string(nBefore));
      const PreferencesFolder prefs;
      WriteWholeFile(prefs.ConfFile(), "[g]\nk=1\n");
      OpenConfig config("", "App", options);
      config.SetPath("/g");
      EXPECT_TRUE(config.Write("k", "2"));
      const ZTKString key = "k";
      const ZTKString value = longer.c_str();
      bool isWritten = false;
      {
        const failing_allocator::Scope scope(nBefore, 1);
        isWritten = config.Write(key, value);
      }
      if (isWritten) break;
      EXPECT_EQ(ValueOf(config, "k"), "2");
      EXPECT_TRUE(config.Flush());
      const std::string text = ReadWholeFile(prefs.ConfFile());
      EXPECT_TRUE(text.find("k=2") != std::string::npos ||
                  text.find("k=" + longer) != std::string::npos)
          << text;
      ASSERT_LT(nBefore, 100);
    }
  }
}

TEST(ZTKFileConfigSave, AValueThatCannotBeReadForLackOfMemoryLeavesTheOldOne) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer brings its own allocator";
  const PreferencesFolder prefs;
  WriteWholeFile(prefs.ConfFile(), "[g]\nk=" + std::string(1000, 'x') + "\n");
  ZTKFileConfig config("", "App");
  config.SetPath("/g");
  const ZTKString key = "k";
  ZTKString value = "old";
  {
    const failing_allocator::Scope scope(0);
    EXPECT_FALSE(config.Read(key, value));
  }
  EXPECT_STREQ(value.c_str(), "old");
  EXPECT_TRUE(config.Read(key, value));
}

// The disk ----------------------------------------------------------------------------------------

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

TEST(ZTKFileConfigSave, AFailedSavingLeavesNoTemporaryFileWhereTheFileStands) {
  for (unsigned options = 1; options <= CONF_ALL; ++options) {
    SCOPED_TRACE(options);
    const PreferencesFolder prefs;
    WriteWholeFile(prefs.ConfFile(), kBefore);
    OpenConfig config("", "App", options);
    MakeChanges(config);
    {
      system_calls::Scope scope;
      scope.Refuse(IsOneStep(options) ? "rename" : "remove", EACCES);
      EXPECT_FALSE(config.Flush());
    }
    EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), kBefore);
    // What refuses "remove" keeps the temporary file, too.
    if (IsOneStep(options)) {
      EXPECT_EQ(Leftovers(prefs), std::set<std::string>());
    }
    EXPECT_TRUE(config.Flush());
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
