// Saving that keeps the text of the file.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>

#include "tests/config/file_config_support.h"

namespace {

using Change = std::function<void(ZTKFileConfig&)>;

/// What a file becomes by a change.
std::string After(const std::string& before, const Change& change) {
  const PreferencesFolder prefs;
  WriteWholeFile(prefs.ConfFile(), before);
  ZTKFileConfig config("", "App", CONF_KEEP_TEXT);
  change(config);
  EXPECT_TRUE(config.Flush());
  EXPECT_FALSE(config.IsDirty());
  return ReadWholeFile(prefs.ConfFile());
}

Change Put(const char* group, const char* key, const char* value) {
  return [=](ZTKFileConfig& config) {
    config.SetPath(group);
    EXPECT_TRUE(config.Write(key, value));
  };
}

Change Remove(const char* group, const char* key) {
  return [=](ZTKFileConfig& config) {
    config.SetPath(group);
    EXPECT_TRUE(config.DeleteEntry(key));
  };
}

Change RemoveGroup(const char* parent, const char* name) {
  return [=](ZTKFileConfig& config) {
    config.SetPath(parent);
    EXPECT_TRUE(config.DeleteGroup(name));
  };
}

TEST(ZTKFileConfigKeep, WhatHasNotChangedIsKeptByteForByte) {
  const std::string text =
      "; settings\r\n"
      "early = 1\n"
      "\n"
      "  [ b ] ; odd\r"
      "\tz = 26 \n"
      "what is this\n"
      "a=1\n"
      "[no bracket\n"
      "[b]\n"
      "# last words";
  EXPECT_EQ(After(text,
                  [](ZTKFileConfig& config) {
                    config.SetPath("/b");
                    EXPECT_FALSE(config.DeleteEntry("missing"));
                  }),
            text);
}

TEST(ZTKFileConfigKeep, OnlyTheValueOfALineChanges) {
  const struct {
    const char* what;
    const char* before;
    const char* after;
  } rows[] = {
      {"plain", "[g]\nk=1\n", "[g]\nk=2\n"},
      {"blanks around", "[g]\n  k \t=  1  \n", "[g]\n  k \t=  2  \n"},
      {"no value", "[g]\nk=\n", "[g]\nk=2\n"},
      {"blanks for a value", "[g]\nk= \n", "[g]\nk= 2\n"},
      {"another \"=\"", "[g]\nk=1=1\n", "[g]\nk=2\n"},
      {"a value like the key", "[g]\nk=k\n", "[g]\nk=2\n"},
      {"no line end", "[g]\nk=1", "[g]\nk=2"},
      {"CR LF", "[g]\r\nk=1\r\nl=1\r\n", "[g]\r\nk=2\r\nl=1\r\n"},
      {"the same value", "[g]\nk =2\n", "[g]\nk =2\n"},
      {"twice: the last one counts", "[g]\nk=1\nk=1\n", "[g]\nk=1\nk=2\n"},
      {"twice in two sections", "[g]\nk=1\n[h]\n[g]\nk=1\n", "[g]\nk=1\n[h]\n[g]\nk=2\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    EXPECT_EQ(After(row.before, Put("/g", "k", "2")), row.after);
  }
}

TEST(ZTKFileConfigKeep, NewEntriesComeBehindTheLastOneOfTheirGroup) {
  const struct {
    const char* what;
    const char* before;
    const char* after;
  } rows[] = {
      {"behind an entry", "[g]\na=1\nz=2\n", "[g]\na=1\nz=2\nk=v\n"},
      {"in front of the next section's comment", "[g]\na=1\n\n# next\n[h]\nb=1\n",
       "[g]\na=1\nk=v\n\n# next\n[h]\nb=1\n"},
      {"behind a header", "[g]\n\n[h]\n", "[g]\nk=v\n\n[h]\n"},
      {"in the last section", "[g]\na=1\n[h]\n[g]\nb=1\n", "[g]\na=1\n[h]\n[g]\nb=1\nk=v\n"},
      {"behind a line without an end", "[g]\na=1", "[g]\na=1\nk=v\n"},
      {"with the line end of its neighbour", "[h]\nx=1\n[g]\r\na=1\r\n",
       "[h]\nx=1\n[g]\r\na=1\r\nk=v\r\n"},
      {"in a new group", "[a]\nx=1\n", "[a]\nx=1\n\n[g]\nk=v\n"},
      {"in a new group behind a blank line", "[a]\nx=1\n\n", "[a]\nx=1\n\n[g]\nk=v\n"},
      {"in a new group behind a line without an end", "# only this",
       "# only this\r\n\r\n[g]\r\nk=v\r\n"},
      {"in nothing", "", "\xEF\xBB\xBF[g]\r\nk=v\r\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    EXPECT_EQ(After(row.before, Put("/g", "k", "v")), row.after);
  }
}

TEST(ZTKFileConfigKeep, NewEntriesAndGroupsAreInOrder) {
  const auto change = [](ZTKFileConfig& config) {
    for (const char* path : {"/m/z", "/m/a", "/b", "/m"}) {
      config.SetPath(path);
      for (const char* key : {"3", "1", "2"}) config.Write(key, "v");
    }
  };
  EXPECT_EQ(After("[b]\n2=v\n", change),
            "[b]\n2=v\n1=v\n3=v\n\n[m]\n1=v\n2=v\n3=v\n\n[m/a]\n1=v\n2=v\n3=v\n\n"
            "[m/z]\n1=v\n2=v\n3=v\n");
}

TEST(ZTKFileConfigKeep, GroupsInsideOthersNeedNoHeaderOfThose) {
  EXPECT_EQ(After("[x]\n", Put("/a/b/c", "k", "v")), "[x]\n\n[a/b/c]\nk=v\n");
}

TEST(ZTKFileConfigKeep, DeletedEntriesGoAndTheirCommentsStay) {
  EXPECT_EQ(After("[g]\n; about k\nk=1\nl=2\nk=3\n", Remove("/g", "k")), "[g]\n; about k\nl=2\n");
}

TEST(ZTKFileConfigKeep, DeletedGroupsGoAndTheirCommentsStay) {
  EXPECT_EQ(
      After("# head\n[g]\nk=1\n; in g\n\n[g/in]\nk=2\n[h]\nk=3\n[g]\nl=4\n", RemoveGroup("/", "g")),
      "# head\n; in g\n\n[h]\nk=3\n");
}

TEST(ZTKFileConfigKeep, AGroupThatIsDeletedAndWrittenAgainKeepsItsPlace) {
  const auto change = [](ZTKFileConfig& config) {
    config.SetPath("/");
    config.DeleteGroup("g");
    config.SetPath("/g");
    config.Write("l", "new");
  };
  EXPECT_EQ(After("[g]\nk=1\nl=2\n[h]\n", change), "[g]\nl=new\n[h]\n");
}

TEST(ZTKFileConfigKeep, WhatIsLeftEmptyStaysAsAGroup) {
  EXPECT_EQ(After("[a/b]\nk=1\n", RemoveGroup("/a", "b")), "[a]\n");
}

TEST(ZTKFileConfigKeep, EntriesInFrontOfTheFirstHeaderAreKeptChangedAndAdded) {
  const PreferencesFolder prefs;
  WriteWholeFile(prefs.ConfFile(), "# head\na=1\nb=2\n\n[g]\nk=v\n");
  {
    ZTKFileConfig config("", "App", CONF_KEEP_TEXT);
    EXPECT_EQ(ValueOf(config, "a"), "1") << "the top of the tree is current at first";
    config.Write("b", "3");
    config.Write("c", "4");
  }
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), "# head\na=1\nb=3\nc=4\n\n[g]\nk=v\n");

  WriteWholeFile(prefs.ConfFile(), "# about g\n[g]\nk=v\n");
  {
    ZTKFileConfig config("", "App", CONF_KEEP_TEXT);
    config.Write("a", "1");
  }
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), "a=1\n# about g\n[g]\nk=v\n");
}

TEST(ZTKFileConfigKeep, DottedHeadersNameTheGroupsThatReadingMakes) {
  EXPECT_EQ(After("[a/./b]\nk=1\n[x/../y]\nk=1\n",
                  [](ZTKFileConfig& config) {
                    config.SetPath("/y");
                    config.Write("k", "2");
                    config.SetPath("/a");
                    ZTKString name;
                    EXPECT_TRUE(config.GetGroup(name, 0));
                    EXPECT_STREQ(name.c_str(), ".b");
                  }),
            "[a/./b]\nk=1\n[x/../y]\nk=2\n");
}

// What would be read as something else would be written anew by every flush.
TEST(ZTKFileConfigKeep, WhatTheFormatCannotHoldIsNotWritten) {
  for (const char* key : {"a=b", ";k", "#k", "[k", " k", "k ", "k\nl", "k\rl"}) {
    SCOPED_TRACE(key);
    EXPECT_EQ(After("[g]\nx=1\n", Put("/g", key, "v")), "[g]\nx=1\n");
  }
  EXPECT_EQ(After("[g]\nx=1\n", Put("/a]b", "k", "v")), "[g]\nx=1\n");
  EXPECT_EQ(After("[g]\nx=1\n", Put("/a\nb", "k", "v")), "[g]\nx=1\n");
  EXPECT_EQ(After("[g]\nx=1\n", Put("/g", "", "v")), "[g]\nx=1\n=v\n")
      << "an empty key can be held";
}

TEST(ZTKFileConfigKeep, ValuesWithBlanksAtTheirEndsDoNotGrow) {
  const PreferencesFolder prefs;
  WriteWholeFile(prefs.ConfFile(), "[g]\nk= 1 \n");
  ZTKFileConfig config("", "App", CONF_KEEP_TEXT);
  config.SetPath("/g");
  config.Write("k", "  2  ");
  EXPECT_TRUE(config.Flush());
  const std::string once = ReadWholeFile(prefs.ConfFile());
  for (int i = 0; i < 3; ++i) {
    config.Write("k", "  2  ");
    EXPECT_TRUE(config.Flush());
  }
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), once);
}

TEST(ZTKFileConfigKeep, TheEncodingStays) {
  EXPECT_EQ(After("[g]\nk=\xE4\n", Put("/g", "l", "\xC3\xBC")), "[g]\nk=\xE4\nl=\xFC\n");
  EXPECT_EQ(After("\xEF\xBB\xBF[g]\n", Put("/g", "k", "\xC3\xBC")),
            "\xEF\xBB\xBF[g]\nk=\xC3\xBC\n");
  const std::string wide("\xFE\xFF\0[\0g\0]\0\n", 10);
  EXPECT_EQ(After(wide, Put("/g", "k", "v")), wide + std::string("\0k\0=\0v\0\n", 8));
}

TEST(ZTKFileConfigKeep, AnEncodingThatLacksACharacterGivesWayToUtf8) {
  EXPECT_EQ(After("[g]\nk=\xE4\n", Put("/g", "l", "\xE2\x86\x92")),
            "\xEF\xBB\xBF[g]\nk=\xC3\xA4\nl=\xE2\x86\x92\n");
}

TEST(ZTKFileConfigKeep, WhatOthersWroteMeanwhileIsReplacedEntryByEntry) {
  const PreferencesFolder prefs;
  WriteWholeFile(prefs.ConfFile(), "[g]\nk=1\n");
  ZTKFileConfig config("", "App", CONF_KEEP_TEXT);
  config.SetPath("/g");
  WriteWholeFile(prefs.ConfFile(), "# a new comment\n[g]\nk=1\nother=2\n[h]\n");
  config.Write("k", "3");
  EXPECT_TRUE(config.Flush());
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), "# a new comment\n[g]\nk=3\n");
}

TEST(ZTKFileConfigKeep, WithoutTheOptionNothingIsKept) {
  const PreferencesFolder prefs;
  WriteWholeFile(prefs.ConfFile(), "# c\nroot=1\n[b]\nk=1\n[a]\nk=1\n");
  {
    ZTKFileConfig config("", "App", CONF_ONE_STEP | CONF_MERGE);
    config.SetPath("/a");
    config.Write("k", "2");
    EXPECT_EQ(config.GetOptions(), CONF_ONE_STEP | CONF_MERGE);
  }
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), std::string(kMark) + "[a]\r\nk=2\r\n[b]\r\nk=1\r\n");
}

// Each step must take no more than sorting does.
TEST(ZTKFileConfigKeep, ManyChangesToALargeFileAreMadeQuickly) {
  constexpr int kGroups = 500;
  constexpr int kEntries = 200;
  std::string text;
  for (int group = kGroups; group > 0; --group) {
    text += "# group\n[g" + std::to_string(group) + "]\n";
    for (int entry = kEntries; entry > 0; --entry) text += "k" + std::to_string(entry) + " = 1\n";
  }
  const std::string after = After(text, [](ZTKFileConfig& config) {
    for (int group = 1; group <= kGroups; ++group) {
      config.SetPath(("/g" + std::to_string(group)).c_str());
      for (int entry = 1; entry <= kEntries; ++entry) {
        const ZTKString key(("k" + std::to_string(entry)).c_str());
        if (entry % 3 == 0) {
          config.DeleteEntry(key);
        } else if (entry % 3 == 1) {
          config.Write(key, "2");
        }
        config.Write(("n" + std::to_string(entry)).c_str(), "3");
      }
    }
  });
  EXPECT_EQ(std::count(after.begin(), after.end(), '#'), kGroups);
  const std::string group = after.substr(after.rfind('#'));
  EXPECT_NE(group.find("\nk200 = 1\n"), std::string::npos);
  EXPECT_NE(group.find("\nk199 = 2\n"), std::string::npos);
  EXPECT_EQ(group.find("k198"), std::string::npos);
  EXPECT_NE(group.find("\nk1 = 2\nn1=3\nn10=3\n"), std::string::npos);
}

}  // namespace
