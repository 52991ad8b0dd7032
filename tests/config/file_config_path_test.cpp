#include <gtest/gtest.h>

#include <string>

#include "tests/config/file_config_support.h"

namespace {

struct PathRow {
  const char* current;
  const char* path;
  const char* expected;
};

void CheckRows(const char* root, const PathRow* pRows, size_t nRows) {
  for (size_t i = 0; i < nRows; ++i) {
    const PathRow& row = pRows[i];
    SCOPED_TRACE(std::string("\"") + row.path + "\" from \"" + row.current + "\"");
    const PreferencesFolder prefs;
    ZTKFileConfig config(root, "App");
    if (row.current[0] != '\0') {
      config.SetPath(row.current);
    }
    EXPECT_TRUE(config.SetPath(row.path));
    EXPECT_STREQ(config.GetPath().c_str(), row.expected);
  }
}

TEST(ZTKFileConfigPath, SetPathMovesTheCurrentPath) {
  const PathRow rows[] = {
      // Right after construction, when the current path has no "/" at its end.
      {"", "x", "/App/x/"},
      {"", "", "/App/"},
      {"", "/", "/App/"},
      {"", "..", "/"},
      // Names.
      {"/x", "y", "/App/x/y/"},
      {"/x", "y/", "/App/x/y/"},
      {"/x", "y//", "/App/x/y/"},
      {"/x", "y/z", "/App/x/y/z/"},
      {"/x", "y//z", "/App/x/y//z/"},
      {"/x", "/y", "/App/y/"},
      {"/x", "//y", "/App/y/"},
      {"/x", "/y/", "/App/y/"},
      {"/x", "", "/App/"},
      {"/x", "/", "/App/"},
      {"/x", "//", "/App/"},
      {"/x", "y.z", "/App/x/y.z/"},
      {"/x", "y..", "/App/x/y../"},
      {"/x", "a b", "/App/x/a b/"},
      // Dots in front.
      {"/x", ".", "/App/x/"},
      {"/x", "./", "/App/x/"},
      {"/x", "./y", "/App/x/y/"},
      {"/x", "././y", "/App/x/y/"},
      {"/x", ".y", "/App/x/y/"},
      {"/x", "./.y", "/App/x/y/"},
      {"/x", "..", "/App/"},
      {"/x", "../", "/App/"},
      {"/x", "../y", "/App/y/"},
      {"/x", "..y", "/App/y/"},
      {"/x", "...", "/App/"},
      {"/x", "....", "/"},
      {"/x", "..../y", "/y/"},
      {"/x/y", "...", "/App/x/"},
      {"/x/y", "../..", "/App/"},
      {"/x/y", "../.././z", "/App/z/"},
      {"/x/y", "./..", "/App/x/"},
      {"/x", "/..", "/App/"},
      {"/x", "/../y", "/App/y/"},
      {"/x", "/./y", "/App/y/"},
      {"/x", "/.y", "/App/y/"},
      // Dots further on stay in the path's text.
      {"/x", "y/../z", "/App/x/y/../z/"},
      {"/x", "y/./z", "/App/x/y/./z/"},
      {"/x", "y/..", "/App/x/y/../"},
      {"/x/y/../z", "..", "/App/x/y/../"},
      {"/x/y/../z", "../..", "/App/x/y/"},
      // Above the root argument's group.
      {"/x", "../..", "/"},
      {"/x", "../../..", "/"},
      {"/x", "../../y", "/y/"},
      {"/x", "../../../../y", "/y/"},
  };
  CheckRows("App", rows, std::size(rows));
}

TEST(ZTKFileConfigPath, AnEmptyRootArgumentPutsPathsAtTheTop) {
  const PathRow rows[] = {
      {"", "x", "/x/"},  {"", "", "/"},       {"", "..", "/"},
      {"", "/x", "/x/"}, {"x", "y", "/x/y/"}, {"x", "..", "/"},
  };
  CheckRows("", rows, std::size(rows));
}

TEST(ZTKFileConfigPath, ARootArgumentMayHaveSeveralComponents) {
  const PathRow rows[] = {
      {"", "x", "/A/B/x/"},
      {"/x", "/", "/A/B/"},
      {"/x", "../..", "/A/"},
  };
  CheckRows("A/B", rows, std::size(rows));
}

TEST(ZTKFileConfigPath, TheRootArgumentIsTheFirstGroupOfTheFile) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("App", "App");
  const char* steps[] = {"x", "y", "..", "/z"};
  const char* paths[] = {"/App/x/", "/App/x/y/", "/App/x/", "/App/z/"};
  for (size_t i = 0; i < std::size(steps); ++i) {
    config.SetPath(steps[i]);
    EXPECT_STREQ(config.GetPath().c_str(), paths[i]);
  }
  config.Write("k", "v");
  EXPECT_TRUE(config.Flush());
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()),
            std::string(kMark) + "[App]\r\n[App/x]\r\n[App/x/y]\r\n[App/z]\r\nk=v\r\n");
}

TEST(ZTKFileConfigPath, ThePathMayBeTheCurrentPathItself) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("App", "App");
  config.SetPath("/x");
  config.SetPath(config.GetPath());
  EXPECT_STREQ(config.GetPath().c_str(), "/App/App/x/") << "absolute paths lie under the root";

  ZTKFileConfig plain("", "Plain");
  const std::string longName(700, 'n');
  plain.SetPath(longName.c_str());
  plain.SetPath(plain.GetPath());
  EXPECT_EQ(std::string(plain.GetPath().c_str()), "/" + longName + "/");
}

// The current group is the top of the tree until the first path is set, and what is written there
// is not saved.
TEST(ZTKFileConfigPath, BeforeTheFirstPathTheTopOfTheTreeIsCurrent) {
  const PreferencesFolder prefs;
  {
    ZTKFileConfig config("App", "App");
    config.Write("lost", "1");
    EXPECT_EQ(ValueOf(config, "lost"), "1");
    config.SetPath("x");
    EXPECT_EQ(ValueOf(config, "lost"), "<none>");
    config.Write("kept", "1");
  }
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), std::string(kMark) + "[App]\r\n[App/x]\r\nkept=1\r\n");
}

TEST(ZTKFileConfigPath, WithAnEmptyRootArgumentTheRootPathIsTheTopOfTheTree) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("", "App");
  config.SetPath("/");
  config.Write("lost", "1");
  config.SetPath("x");
  config.Write("kept", "1");
  EXPECT_TRUE(config.Flush());
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), std::string(kMark) + "[x]\r\nkept=1\r\n");
}

TEST(ZTKFileConfigPath, ClimbingTooFarEndsAtTheTopOfTheTree) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("App", "App");
  for (int i = 0; i < 10; ++i) config.SetPath("..");
  EXPECT_STREQ(config.GetPath().c_str(), "/");
  config.Write("lost", "1");
  config.SetPath("Other");
  config.Write("kept", "1");
  EXPECT_TRUE(config.Flush());
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), std::string(kMark) + "[Other]\r\nkept=1\r\n");
}

TEST(ZTKFileConfigPath, DotsInsideAPathAreReadWhenTheGroupIsLookedUp) {
  const PreferencesFolder prefs;
  OpenConfig config("App", "App");
  config.SetPath("a/b/../c");
  config.Write("k", "v");
  config.SetPath("/p/./q");
  config.Write("k", "w");
  EXPECT_EQ(TreeOf(config), "{App{a{c{k=v;}}p{.q{k=w;}}}}");
}

TEST(ZTKFileConfigPath, TheRootArgumentsGroupIsMadeAnewAfterItsDeletion) {
  const PreferencesFolder prefs;
  OpenConfig config("App", "App");
  config.SetPath("/x");
  config.Write("k", "old");
  config.SetPath("/x");
  config.SetPath("/..");  // Still the root argument's group.
  config.AddGroup("");
  EXPECT_TRUE(config.DeleteGroup("App"));
  config.SetPath("/x");
  EXPECT_EQ(ValueOf(config, "k"), "<none>");
  config.Write("k", "new");
  EXPECT_EQ(TreeOf(config), "{App{x{k=new;}}}");
}

// A subclass may choose another root path.
TEST(ZTKFileConfigPath, AbsolutePathsFollowTheRootPath) {
  class Moving : public OpenConfig {
   public:
    using OpenConfig::OpenConfig;
    void Move(const char* pszRoot) { m_rootPath = pszRoot; }
  };
  const PreferencesFolder prefs;
  Moving config("App", "App");
  for (const char* root : {"/App", "/Api", "/App/in", "", "/App"}) {
    config.Move(root);
    for (int i = 0; i < 2; ++i) {
      config.SetPath("/x");
      EXPECT_EQ(config.GetPath().c_str(), std::string(root) + "/x/");
      config.Write("k", root);
    }
  }
  EXPECT_EQ(TreeOf(config), "{Api{x{k=/Api;}}App{in{x{k=/App/in;}}x{k=/App;}}x{k=;}}");
}

// A poisoned shared character must not read as the "/" at the end of an empty path.
TEST(ZTKFileConfigPath, APoisonedSharedCharacterChangesNothing) {
  ZTKString empty;
  empty[99] = '/';
  const PreferencesFolder prefs;
  ZTKFileConfig config("", "App");
  config.SetPath("..");
  EXPECT_STREQ(config.GetPath().c_str(), "/");
  config.SetPath("x");
  EXPECT_STREQ(config.GetPath().c_str(), "/x/");
  empty[99] = '\0';
}

TEST(ZTKFileConfigPath, VeryLongPathsAreKeptWhole) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("App", "App");
  std::string path;
  for (int i = 0; i < 3000; ++i) path += "/group" + std::to_string(i);
  config.SetPath(path.c_str());
  EXPECT_EQ(std::string(config.GetPath().c_str()), "/App" + path + "/");
  config.Write("k", "v");
  config.SetPath(path.c_str());
  EXPECT_EQ(ValueOf(config, "k"), "v");
}

// Splitting -------------------------------------------------------------------------------------

std::string Split(OpenConfig& config, const char* path) {
  ZTKStringArray parts;
  parts.Add("old", 1);
  config.SplitPath(parts, path);
  std::string text;
  for (unsigned long i = 0; i < parts.GetCount(); ++i) {
    if (i != 0) text += "|";
    text += parts.Item(i).c_str();
  }
  return text;
}

TEST(ZTKFileConfigPath, SplitPathKeepsItsRulesForDots) {
  const PreferencesFolder prefs;
  OpenConfig config("App", "App");
  const struct {
    const char* path;
    const char* parts;
  } rows[] = {
      {"", ""},
      {"/", ""},
      {"///", ""},
      {"a", "a"},
      {"/a/b/", "a|b"},
      {"//a///b", "a|b"},
      {".", ""},
      {"a/.", "a"},
      {"./x", ".x"},
      {"a/./b", "a|.b"},
      {"a/.//b", "a|.b"},
      {"a/./../b", "a|...|b"},
      {"././x", "x"},  // Two single dots make the step up of "..", here with nothing to remove.
      {"a/././b", "b"},
      {"a/./././b", ".b"},
      {"./.x", "..x"},
      {"..x", "..x"},
      {"...", "..."},
      {".x/y", ".x|y"},
      {"a/..", ""},
      {"a/b/..", "a"},
      {"a/b/../c", "a|c"},
      {"a/b/a/..", "b|a"},
      {"a/b/a/../..", "b"},
      {"x/a/x/a/..", "x|x|a"},
      {"a/b/../../c", "c"},
      {"..", ""},
      {"../a", "a"},
      {"a/../../b", "b"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path);
    EXPECT_EQ(Split(config, row.path), row.parts);
  }
  EXPECT_EQ(Split(config, nullptr), "");
}

TEST(ZTKFileConfigPath, AStepUpWithNothingToRemoveIsReportedWithTheWholePath) {
  const PreferencesFolder prefs;
  OpenConfig config("App", "App");
  const LogCapture log;
  EXPECT_EQ(Split(config, "a/../../b/../.."), "");
  EXPECT_EQ(log.Text(),
            "2 'a/../../b/../..' has extra '..', ignored.\n"
            "2 'a/../../b/../..' has extra '..', ignored.\n");
  EXPECT_EQ(Split(config, "a/b"), "a|b");
}

TEST(ZTKFileConfigPath, AStepUpWithNothingToRemoveIsReportedOnceWhateverIsAskedFor) {
  for (unsigned int options = 0; options <= CONF_ALL; ++options) {
    for (const bool isWatched : {false, true}) {
      SCOPED_TRACE(std::to_string(options) + (isWatched ? ", watched" : ""));
      const PreferencesFolder prefs;
      WriteWholeFile(prefs.ConfFile(), "[x/../../h]\nk=1\n");
      const LogCapture log;
      OpenConfig config("", "App", options);
      std::string expected = "2 '/x/../../h/' has extra '..', ignored.\n";
      EXPECT_EQ(log.Text(), expected);
      if (isWatched) {
        EXPECT_NE(config.GetWaitHandle(), -1);
      }
      config.SetPath("/y/../../g");
      expected += "2 '/y/../../g/' has extra '..', ignored.\n";
      EXPECT_EQ(log.Text(), expected);
      config.Write("k", "1");
      config.SetPath("/g");
      EXPECT_EQ(ValueOf(config, "k"), "1");
      config.AddGroup("z/../..");
      expected += "2 'z/../..' has extra '..', ignored.\n";
      EXPECT_EQ(log.Text(), expected);
      EXPECT_TRUE(config.Flush());
      EXPECT_EQ(log.Text(), expected) << "what was reported is not reported again by saving it";
    }
  }
}

TEST(ZTKFileConfigPath, APathWithFormatCharactersIsReportedAsItIs) {
  const PreferencesFolder prefs;
  OpenConfig config("App", "App");
  const LogCapture log;
  Split(config, "../%n%s");
  EXPECT_EQ(log.Text(), "2 '../%n%s' has extra '..', ignored.\n");
}

TEST(ZTKFileConfigPath, AddGroupCountsFromTheTopOfTheTree) {
  const PreferencesFolder prefs;
  OpenConfig config("App", "App");
  config.AddGroup("p/q");
  config.Write("k", "v");
  config.AddGroup("");
  EXPECT_EQ(ValueOf(config, "k"), "<none>");
  ZTKString name;
  EXPECT_TRUE(config.GetGroup(name, 0));
  EXPECT_STREQ(name.c_str(), "p");
  config.AddGroup("/p//q/");
  EXPECT_EQ(ValueOf(config, "k"), "v");
}

}  // namespace
