// Saving when memory runs out on the way.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <new>
#include <set>
#include <string>

#include "tests/config/file_config_save_support.h"
#include "tests/config/file_config_support.h"
#include "tests/support/failing_allocator.h"

namespace {

namespace fs = std::filesystem;

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

}  // namespace
