#include "ztk/config/file_config.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <type_traits>

#include "tests/config/file_config_support.h"
#include "tests/support/native_path.h"
#include "tests/support/temp_dir.h"

namespace {

namespace fs = std::filesystem;

// Construction ----------------------------------------------------------------------------------

TEST(ZTKFileConfig, ConstructionCreatesAnEmptyFile) {
  const PreferencesFolder prefs;
  const ZTKFileConfig config("Root", "App");
  EXPECT_EQ(HostPath(config.GetFilePath().c_str()), prefs.ConfFile());
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), "");
  EXPECT_STREQ(config.GetPath().c_str(), "/Root");
  EXPECT_FALSE(config.IsDirty());
}

TEST(ZTKFileConfig, AnEmptyRootArgumentLeavesBothPathsEmpty) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("", "App");
  EXPECT_STREQ(config.GetPath().c_str(), "");
  config.SetPath("");
  EXPECT_STREQ(config.GetPath().c_str(), "/");
}

TEST(ZTKFileConfig, NothingIsWrittenWithoutAChange) {
  const PreferencesFolder prefs;
  WriteWholeFile(prefs.ConfFile(), "; kept as it is\n[b]\n[a]\nx=1");
  {
    ZTKFileConfig config("a", "App");
    config.SetPath("/");
    EXPECT_EQ(ValueOf(config, "x"), "1");
    config.SetPath("/new/group");
    EXPECT_FALSE(config.IsDirty()) << "a path is no change, though it created groups";
    EXPECT_TRUE(config.Flush());
  }
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), "; kept as it is\n[b]\n[a]\nx=1");
}

TEST(ZTKFileConfig, TheDestructorSavesWhatHasChanged) {
  const PreferencesFolder prefs;
  {
    ZTKFileConfig config("App", "App");
    config.SetPath("/");
    EXPECT_TRUE(config.Write("key", "value"));
  }
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), std::string(kMark) + "[App]\r\nkey=value\r\n");
}

// Like a global of an application: everything that saving needs must still be there.
TEST(ZTKFileConfig, AnObjectDestroyedAfterMainIsSaved) {
  if (HasDosPaths()) GTEST_SKIP() << "a child there has a folder of its own";
  const PreferencesFolder prefs;
  EXPECT_EXIT(
      {
        static ZTKFileConfig config("App", "App");
        config.SetPath("/");
        config.Write("late", "yes");
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), std::string(kMark) + "[App]\r\nlate=yes\r\n");
}

TEST(ZTKFileConfig, TheLastOfTwoWritersWins) {
  const PreferencesFolder prefs;
  ZTKFileConfig one("App", "App");
  ZTKFileConfig two("App", "App");
  one.SetPath("/");
  one.Write("from", "one");
  two.SetPath("/");
  two.Write("from", "two");
  EXPECT_TRUE(one.Flush());
  EXPECT_TRUE(two.Flush());
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), std::string(kMark) + "[App]\r\nfrom=two\r\n");
}

// Entries ---------------------------------------------------------------------------------------

TEST(ZTKFileConfig, ReadLeavesTheOutputAloneWhenThereIsNoEntry) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("App", "App");
  config.SetPath("/");
  ZTKString text = "before";
  unsigned long number = 7;
  EXPECT_FALSE(config.Read("missing", text));
  EXPECT_FALSE(config.Read("missing", number));
  EXPECT_STREQ(text.c_str(), "before");
  EXPECT_EQ(number, 7u);
}

TEST(ZTKFileConfig, WriteAddsOrReplaces) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("App", "App");
  config.SetPath("/");
  EXPECT_TRUE(config.Write("k", "one"));
  EXPECT_EQ(ValueOf(config, "k"), "one");
  for (const std::string& value : {std::string("a much longer value than before"), std::string(),
                                   std::string(5000, 'v'), std::string("short")}) {
    EXPECT_TRUE(config.Write("k", value.c_str()));
    EXPECT_EQ(ValueOf(config, "k"), value);
  }
  ZTKString name;
  EXPECT_TRUE(config.GetEntry(name, 0));
  EXPECT_FALSE(config.GetEntry(name, 1));
}

TEST(ZTKFileConfig, NamesAreTakenByteForByte) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("App", "App");
  config.SetPath("/");
  config.Write("a/b", "slash");
  config.Write("Key", "upper");
  config.Write("key", "lower");
  config.Write("", "empty");
  EXPECT_EQ(ValueOf(config, "a/b"), "slash");
  EXPECT_EQ(ValueOf(config, "Key"), "upper");
  EXPECT_EQ(ValueOf(config, "key"), "lower");
  EXPECT_EQ(ValueOf(config, ""), "empty");
  EXPECT_EQ(ValueOf(config, "KEY"), "<none>");
  EXPECT_EQ(ValueOf(config, "ke"), "<none>");
  EXPECT_EQ(ValueOf(config, "keyy"), "<none>");
}

TEST(ZTKFileConfig, EntriesAndGroupsComeInByteOrder) {
  const PreferencesFolder prefs;
  OpenConfig config("App", "App");
  for (const char* name : {"b", "\xC3\xA9", "a", "B", "ab", "a-", ""}) {
    config.SetPath("/");
    config.Write(name, "1");
    config.SetPath(name);
  }
  config.SetPath("/");
  EXPECT_EQ(TreeOf(config, "App"),
            "{=1;B=1;a=1;a-=1;ab=1;b=1;\xC3\xA9=1;B{}a{}a-{}ab{}b{}\xC3\xA9{}}");
}

TEST(ZTKFileConfig, GetEntryAndGetGroupEndBehindTheLast) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("App", "App");
  config.SetPath("/");
  ZTKString name = "before";
  for (const unsigned long index : {0ul, 1ul, ULONG_MAX}) {
    EXPECT_FALSE(config.GetEntry(name, index));
    EXPECT_FALSE(config.GetGroup(name, index));
  }
  EXPECT_STREQ(name.c_str(), "before");
}

TEST(ZTKFileConfig, EntryTypeTellsWhetherTheKeyExists) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("App", "App");
  config.SetPath("/");
  EXPECT_EQ(config.GetEntryType("k"), 0u);
  config.Write("k", "v");
  config.SetPath("group");
  EXPECT_EQ(config.GetEntryType("k"), 0u) << "only the current group is asked";
  config.SetPath("..");
  EXPECT_EQ(config.GetEntryType("k"), 1u);
  EXPECT_EQ(config.GetEntryType("group"), 0u) << "a group is no entry";
}

TEST(ZTKFileConfig, NumbersAreReadAsDecimalText) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("App", "App");
  config.SetPath("/");
  const struct {
    const char* text;
    unsigned long number;
  } rows[] = {{"12", 12},
              {"12abc", 12},
              {"abc", 0},
              {"", 0},
              {" 7", 7},
              {"0x10", 0},
              {"010", 10},
              {"-1", ULONG_MAX},
              {"+5", 5},
              {"1.9", 1},
              {"99999999999999999999999", ULONG_MAX}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    config.Write("k", row.text);
    unsigned long number = 99;
    EXPECT_TRUE(config.Read("k", number));
    EXPECT_EQ(number, row.number);
  }
}

TEST(ZTKFileConfig, NumbersAreWrittenInDecimal) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("App", "App");
  config.SetPath("/");
  for (const unsigned long number : {0ul, 5ul, 4294967295ul, ULONG_MAX}) {
    EXPECT_TRUE(config.Write("k", number));
    EXPECT_EQ(ValueOf(config, "k"), std::to_string(number));
    unsigned long back = 1;
    EXPECT_TRUE(config.Read("k", back));
    EXPECT_EQ(back, number);
  }
}

TEST(ZTKFileConfig, LiteralsOfEveryKindChooseTheOverloadOneExpects) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("App", "App");
  config.SetPath("/");
  config.Write("int", 5);
  config.Write("zero", 0);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wsign-conversion"  // What a careless caller writes.
  config.Write("negative", -1);
#pragma GCC diagnostic pop
  config.Write("bool", true);
  config.Write("char", 'A');
  config.Write("literal", "text");
  config.Write("string", ZTKString("string"));
  config.Write("null", nullptr);
  EXPECT_EQ(ValueOf(config, "int"), "5");
  EXPECT_EQ(ValueOf(config, "zero"), "0");
  EXPECT_EQ(ValueOf(config, "negative"), std::to_string(ULONG_MAX));
  EXPECT_EQ(ValueOf(config, "bool"), "1");
  EXPECT_EQ(ValueOf(config, "char"), "65");
  EXPECT_EQ(ValueOf(config, "literal"), "text");
  EXPECT_EQ(ValueOf(config, "string"), "string");
  EXPECT_EQ(ValueOf(config, "null"), "");
}

TEST(ZTKFileConfig, TextBehindANulIsNotPartOfAKeyOrValue) {
  const PreferencesFolder prefs;
  OpenConfig config("App", "App");
  config.SetPath("/");
  const char bytes[] = "ab\0cd";
  const ZTKString text(bytes, bytes + 5);
  config.Write(text, text);
  EXPECT_EQ(TreeOf(config, "App"), "{ab=ab;}");
}

TEST(ZTKFileConfig, NumbersGoThroughTheTextOperations) {
  class Recording : public ZTKFileConfig {
   public:
    using ZTKFileConfig::Read;
    using ZTKFileConfig::Write;
    using ZTKFileConfig::ZTKFileConfig;
    bool Read(const ZTKString& key, ZTKString& value) override {
      m_calls += "R";
      return ZTKFileConfig::Read(key, value);
    }
    bool Write(const ZTKString& key, const ZTKString& value) override {
      m_calls += "W";
      return ZTKFileConfig::Write(key, value);
    }
    std::string m_calls;
  };
  const PreferencesFolder prefs;
  Recording config("App", "App");
  config.SetPath("/");
  unsigned long number = 0;
  EXPECT_TRUE(config.Write("k", 5ul));
  EXPECT_TRUE(config.Read("k", number));
  EXPECT_EQ(config.m_calls, "WR");
}

// Deleting --------------------------------------------------------------------------------------

TEST(ZTKFileConfig, DeleteEntryRemovesOneKey) {
  const PreferencesFolder prefs;
  OpenConfig config("App", "App");
  config.SetPath("/");
  for (const char* key : {"a", "b", "c"}) config.Write(key, key);
  EXPECT_FALSE(config.DeleteEntry("missing"));
  EXPECT_TRUE(config.DeleteEntry("b"));
  EXPECT_FALSE(config.DeleteEntry("b"));
  EXPECT_EQ(TreeOf(config, "App"), "{a=a;c=c;}");
}

TEST(ZTKFileConfig, DeleteGroupRemovesEverythingBelowIt) {
  const PreferencesFolder prefs;
  OpenConfig config("App", "App");
  for (const char* path : {"/a/x/1", "/a/y", "/b", "/c/z"}) {
    config.SetPath(path);
    config.Write("k", path);
  }
  config.SetPath("/");
  EXPECT_FALSE(config.DeleteGroup("missing"));
  EXPECT_FALSE(config.DeleteGroup("a/x")) << "a name, not a path";
  EXPECT_TRUE(config.DeleteGroup("a"));
  EXPECT_EQ(TreeOf(config, "App"), "{b{k=/b;}c{z{k=/c/z;}}}");
}

TEST(ZTKFileConfig, TheCurrentGroupIsUsableAfterADeletion) {
  const PreferencesFolder prefs;
  OpenConfig config("App", "App");
  config.SetPath("/a/b/c");
  config.SetPath("/a");
  EXPECT_TRUE(config.DeleteGroup("b"));
  EXPECT_TRUE(config.Write("k", "v"));
  EXPECT_EQ(ValueOf(config, "k"), "v");
  config.SetPath("/");
  EXPECT_EQ(TreeOf(config, "App"), "{a{k=v;}}");
}

TEST(ZTKFileConfig, EveryChangingOperationMarksTheConfiguration) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("App", "App");
  config.SetPath("/");
  config.Write("k", "v");
  ASSERT_TRUE(config.Flush());
  const auto isMarked = [&] {
    const bool marked = config.IsDirty();
    EXPECT_TRUE(config.Flush());
    EXPECT_FALSE(config.IsDirty());
    return marked;
  };
  config.Write("k", "v");
  EXPECT_TRUE(isMarked()) << "an unchanged value counts";
  config.DeleteEntry("missing");
  EXPECT_TRUE(isMarked());
  config.DeleteGroup("missing");
  EXPECT_TRUE(isMarked());
  ZTKString text;
  config.SetPath("new");
  config.Read("k", text);
  config.GetEntryType("k");
  config.GetEntry(text, 0);
  config.GetGroup(text, 0);
  EXPECT_FALSE(isMarked());
}

// The interface ---------------------------------------------------------------------------------

class MinimalConfig : public ZTKConfigBase {
 public:
  MinimalConfig() : ZTKConfigBase("root", "name") {}
  bool SetPath(const ZTKString&) override { return true; }
  bool GetGroup(ZTKString&, unsigned long) override { return false; }
  bool GetEntry(ZTKString&, unsigned long) override { return false; }
  bool DeleteEntry(const ZTKString&) override { return false; }
  bool DeleteGroup(const ZTKString&) override { return false; }
  bool Read(const ZTKString&, ZTKString&) override { return false; }
  bool Read(const ZTKString&, unsigned long&) override { return false; }
  bool Write(const ZTKString&, const ZTKString&) override { return false; }
  bool Write(const ZTKString&, unsigned long) override { return false; }
  unsigned int GetEntryType(const ZTKString&) override { return 0; }
  const ZTKString& RootPath() const { return m_rootPath; }
};

TEST(ZTKConfigBase, IgnoresItsArgumentsAndFlushesNothing) {
  MinimalConfig config;
  EXPECT_STREQ(config.RootPath().c_str(), "");
  EXPECT_STREQ(config.GetPath().c_str(), "");
  EXPECT_TRUE(config.Flush());
}

TEST(ZTKConfigBase, IsAbstractAndNotCopied) {
  EXPECT_TRUE(std::is_abstract_v<ZTKConfigBase>);
  EXPECT_TRUE(std::has_virtual_destructor_v<ZTKConfigBase>);
  EXPECT_FALSE(std::is_copy_constructible_v<ZTKFileConfig>);
  EXPECT_FALSE(std::is_copy_assignable_v<ZTKFileConfig>);
}

}  // namespace
