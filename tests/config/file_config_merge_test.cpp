// Programs that share a configuration file, files that are broken, and saving with care.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/config/file_config_save_support.h"
#include "tests/config/file_config_support.h"
#include "tests/support/failing_allocator.h"

namespace {

namespace fs = std::filesystem;

// Merging -----------------------------------------------------------------------------------------

TEST(ZTKFileConfigMerge, TwoThatSaveKeepEachOthersChanges) {
  for (const unsigned int options : {CONF_MERGE + 0u, CONF_MERGE | CONF_KEEP_TEXT}) {
    SCOPED_TRACE(options);
    const PreferencesFolder prefs;
    WriteWholeFile(prefs.ConfFile(), "[g]\nboth=0\nold=1\ngone=1\n[h]\nk=1\n");
    ZTKFileConfig one("", "App", options);
    ZTKFileConfig two("", "App", options);
    Put(one, "/g", "one", "1");
    Put(one, "/g", "both", "one");
    Put(two, "/g", "two", "2");
    Put(two, "/g", "both", "two");
    one.DeleteEntry("gone");
    two.SetPath("/");
    two.DeleteGroup("h");
    EXPECT_TRUE(one.Flush());
    EXPECT_TRUE(two.Flush());
    const struct {
      const char* group;
      const char* key;
      const char* value;
    } rows[] = {{"/g", "one", "1"}, {"/g", "two", "2"},       {"/g", "both", "two"},
                {"/g", "old", "1"}, {"/g", "gone", "<none>"}, {"/h", "k", "<none>"}};
    for (const auto& row : rows) {
      EXPECT_EQ(OnDisk(row.group, row.key), row.value) << row.key;
      two.SetPath(row.group);
      EXPECT_EQ(ValueOf(two, row.key), row.value) << row.key << ", in memory";
    }
  }
}

TEST(ZTKFileConfigMerge, AValueWrittenAgainIsAChange) {
  const PreferencesFolder prefs;
  WriteWholeFile(prefs.ConfFile(), "[g]\nk=mine\n");
  ZTKFileConfig config("", "App", CONF_MERGE);
  WriteWholeFile(prefs.ConfFile(), "[g]\nk=theirs\n");
  Put(config, "/g", "k", "mine");
  EXPECT_TRUE(config.Flush());
  EXPECT_EQ(OnDisk("/g", "k"), "mine");
}

TEST(ZTKFileConfigMerge, TheOrderOfChangesCounts) {
  const PreferencesFolder prefs;
  WriteWholeFile(prefs.ConfFile(), "[a/g]\nk=1\nl=1\n[a/g/in]\nk=1\n");
  ZTKFileConfig config("", "App", CONF_MERGE);
  Put(config, "/a/g", "before", "1");
  config.SetPath("/a");
  config.DeleteGroup("g");
  Put(config, "/a/g", "after", "1");
  config.Write("after2", "1");
  config.DeleteEntry("after2");
  EXPECT_TRUE(config.Flush());
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), std::string(kMark) + "[a]\r\n[a/g]\r\nafter=1\r\n");
}

TEST(ZTKFileConfigMerge, ADeletedGroupGoesWithAllThatOthersPutThereAndNothingElseDoes) {
  for (const unsigned int options : {CONF_MERGE + 0u, CONF_MERGE | CONF_KEEP_TEXT, CONF_ALL + 0u}) {
    SCOPED_TRACE(options);
    const PreferencesFolder prefs;
    WriteWholeFile(prefs.ConfFile(),
                   "[a]\ng=entry\n[a/g]\nk=1\n[a/g/in]\nk=1\n[a/h]\nk=1\n[g]\nk=1\n");
    OpenConfig config("", "App", options);
    config.SetPath("/a");
    EXPECT_TRUE(config.DeleteGroup("g"));
    EXPECT_FALSE(config.DeleteGroup("g")) << "it has gone";
    EXPECT_FALSE(config.DeleteGroup("none"));
    ZTKString name;
    EXPECT_TRUE(config.GetGroup(name, 0));
    EXPECT_STREQ(name.c_str(), "h") << "in memory, before it is saved";
    WriteWholeFile(prefs.ConfFile(),
                   "[a]\ng=entry\n[a/g]\nk=2\n[a/g/theirs]\nk=2\n[a/h]\nk=2\n[g]\nk=2\n"
                   "[a/none]\nk=2\n[a/later]\nk=2\n");
    EXPECT_TRUE(config.Flush());
    EXPECT_EQ(TreeOf(config), "{a{g=entry;h{k=2;}later{k=2;}}g{k=2;}}");
    OpenConfig other("", "App");
    EXPECT_EQ(TreeOf(other), "{a{g=entry;h{k=2;}later{k=2;}}g{k=2;}}") << "on the disk";

    WriteWholeFile(prefs.ConfFile(), "[a/g]\nk=3\n");
    config.SetPath("/b");
    config.Write("k", "1");
    EXPECT_TRUE(config.Flush());
    EXPECT_EQ(OnDisk("/a/g", "k"), "3") << "a deletion is made once";
  }
}

TEST(ZTKFileConfigMerge, ChangesAreMadeOnce) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("", "App", CONF_MERGE);
  Put(config, "/g", "k", "1");
  EXPECT_TRUE(config.Flush());
  WriteWholeFile(prefs.ConfFile(), "[g]\nk=theirs\n");
  Put(config, "/g", "l", "2");
  EXPECT_TRUE(config.Flush());
  EXPECT_EQ(OnDisk("/g", "k"), "theirs");
}

TEST(ZTKFileConfigMerge, TheCurrentGroupStaysCurrent) {
  const PreferencesFolder prefs;
  WriteWholeFile(prefs.ConfFile(), "[App/x/.y]\nk=1\n");
  ZTKFileConfig config("App", "App", CONF_MERGE);
  config.SetPath("/x/./y");  // The group ".y".
  WriteWholeFile(prefs.ConfFile(), "[App/x/.y]\nk=2\n");
  config.Write("l", "1");
  EXPECT_TRUE(config.Flush());
  EXPECT_EQ(ValueOf(config, "k"), "2");
  EXPECT_EQ(ValueOf(config, "l"), "1");
  EXPECT_STREQ(config.GetPath().c_str(), "/App/x/./y/");

  // Also the top of the tree, which no path names.
  ZTKFileConfig top("App", "App", CONF_MERGE | CONF_KEEP_TEXT);
  top.Write("k", "top");
  EXPECT_TRUE(top.Flush());
  EXPECT_EQ(ValueOf(top, "k"), "top");
}

TEST(ZTKFileConfigMerge, VisitedGroupsAreNotWritten) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("", "App", CONF_MERGE);
  config.SetPath("/visited");
  Put(config, "/g", "k", "1");
  config.SetPath("/here");
  EXPECT_TRUE(config.Flush());
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), std::string(kMark) + "[g]\r\nk=1\r\n");
  EXPECT_TRUE(config.Write("k", "2")) << "though the current one is there";
  EXPECT_TRUE(config.Flush());
  EXPECT_EQ(OnDisk("/here", "k"), "2");
}

// Another program may be about to put the file back, or have cut it for a moment.
TEST(ZTKFileConfigMerge, AFileThatIsGoneOrEmptyIsMadeFromMemory) {
  for (const bool isEmpty : {false, true}) {
    const PreferencesFolder prefs;
    WriteWholeFile(prefs.ConfFile(), "[g]\nold=1\n");
    ZTKFileConfig config("", "App", CONF_ALL);
    fs::remove(prefs.ConfFile());
    if (isEmpty) WriteWholeFile(prefs.ConfFile(), "");
    EXPECT_FALSE(config.Reload()) << "nothing to be read";
    Put(config, "/g", "k", "2");
    EXPECT_TRUE(config.Flush());
    EXPECT_EQ(OnDisk("/g", "old"), "1");
    EXPECT_EQ(OnDisk("/g", "k"), "2");
  }
}

TEST(ZTKFileConfigMerge, ReloadKeepsUnsavedChangesOnTop) {
  const PreferencesFolder prefs;
  WriteWholeFile(prefs.ConfFile(), "[g]\nk=1\nl=1\n");
  ZTKFileConfig config("", "App", CONF_MERGE);
  Put(config, "/g", "k", "mine");
  WriteWholeFile(prefs.ConfFile(), "[g]\nk=2\nl=2\n");
  EXPECT_TRUE(config.Reload());
  EXPECT_EQ(ValueOf(config, "k"), "mine");
  EXPECT_EQ(ValueOf(config, "l"), "2");
  EXPECT_TRUE(config.IsDirty());
  EXPECT_TRUE(config.Flush());
  EXPECT_EQ(OnDisk("/g", "k"), "mine");
}

TEST(ZTKFileConfigMerge, ReloadWithoutMergingDropsThem) {
  for (const unsigned int options : {0u, CONF_KEEP_TEXT + 0u}) {
    const PreferencesFolder prefs;
    WriteWholeFile(prefs.ConfFile(), "[g]\nk=1\n");
    ZTKFileConfig config("", "App", options);
    Put(config, "/g", "k", "mine");
    WriteWholeFile(prefs.ConfFile(), "[g]\nk=2\n");
    EXPECT_TRUE(config.Reload());
    EXPECT_EQ(ValueOf(config, "k"), "2");
    EXPECT_FALSE(config.IsDirty());
  }
}

// Files that are broken ---------------------------------------------------------------------------

TEST(ZTKFileConfigRefuse, AFileWithNulsIsNotReplaced) {
  for (const std::string& content :
       {std::string("[g]\nk=1\n\0\0\0", 11), std::string(4096, '\0'),
        std::string("\xFF\xFE[\0g\0]\0\n\0\x00\xD8\n\0", 14), std::string("\xFF\xFE[\0g", 5)}) {
    const PreferencesFolder prefs;
    WriteWholeFile(prefs.ConfFile(), content);
    for (const unsigned int options : {CONF_REFUSE_UNREAD + 0u, CONF_ALL + 0u}) {
      ZTKFileConfig config("", "App", options);
      EXPECT_FALSE(config.IsReadWhole());
      Put(config, "/g", "k", "2");
      EXPECT_FALSE(config.Flush());
      EXPECT_TRUE(config.IsDirty());
    }
    EXPECT_TRUE(ReadWholeFile(prefs.ConfFile()) == content);
  }
}

TEST(ZTKFileConfigRefuse, AFileThatMayNotBeReadIsNeitherEmptiedNorReplaced) {
  if (RunsAsRoot()) GTEST_SKIP() << "root may read everything";
  for (const unsigned int options : {CONF_KEEP_TEXT + 0u, CONF_ALL + 0u}) {
    const PreferencesFolder prefs;
    WriteWholeFile(prefs.ConfFile(), "[g]\nk=1\n");
    fs::permissions(prefs.ConfFile(), fs::perms(0200));
    {
      ZTKFileConfig config("", "App", options);
      Put(config, "/g", "k", "2");
      EXPECT_FALSE(config.Flush());
    }
    fs::permissions(prefs.ConfFile(), fs::perms(0600));
    EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), "[g]\nk=1\n");
  }
}

TEST(ZTKFileConfigRefuse, AMissingFileCountsAsReadAndIsCreated) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("", "App", CONF_ALL);
  EXPECT_TRUE(config.IsReadWhole());
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), "");
  Put(config, "/g", "k", "1");
  EXPECT_TRUE(config.Flush());
}

// Saving with care --------------------------------------------------------------------------------

// Whatever allocation fails, the file holds its old settings or all of the new ones.
TEST(ZTKFileConfigOneStep, RunningOutOfMemoryLosesNoSetting) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer brings its own allocator";
  const std::string before = "# c\n[g]\nk=1\nl=1\n[h]\nm=1\n";
  const std::string after = "# c\n[g]\nk=2\n[h]\nm=1\n\n[n/o]\nnew=3\n";
  for (const unsigned int options : {CONF_KEEP_TEXT + 0u, CONF_ALL + 0u}) {
    bool failed = true;
    for (long nBefore = 0; failed; ++nBefore) {
      SCOPED_TRACE(nBefore);
      ASSERT_LT(nBefore, 5000);
      const PreferencesFolder prefs;
      WriteWholeFile(prefs.ConfFile(), before);
      const ZTKString root;
      const ZTKString name = "App";
      const ZTKString texts[] = {"/g", "k", "2", "l", "/n/o", "new", "3"};
      ZTKFileConfig config(root, name, options);
      bool isSaved = false;
      {
        const failing_allocator::Scope scope(nBefore, 1);
        config.SetPath(texts[0]);
        const bool wrote = config.Write(texts[1], texts[2]);
        const bool deleted = config.DeleteEntry(texts[3]);
        config.SetPath(texts[4]);
        const bool added = config.Write(texts[5], texts[6]);
        isSaved = wrote && deleted && added && config.Flush();
        failed = scope.Failed();
      }
      const std::string text = ReadWholeFile(prefs.ConfFile());
      if (isSaved) {
        // A path without memory leads to the top.
        EXPECT_TRUE(text == after || (failed && text.find("new=3") != std::string::npos)) << text;
      } else {
        EXPECT_EQ(text, before);
        EXPECT_TRUE(failed);
      }
      EXPECT_NE(text.find("m=1"), std::string::npos) << text;
    }
  }
}

}  // namespace
