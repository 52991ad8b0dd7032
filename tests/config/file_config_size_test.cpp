// What would be written, known before it is built; and paths that are read in linear time.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "tests/config/file_config_support.h"
#include "tests/support/scoped_process.h"

namespace {

std::string Repeat(const std::string& text, int nTimes) {
  std::string all;
  for (int i = 0; i < nTimes; ++i) all += text;
  return all;
}

// Every level is written with the names of all those around it: 400 KB would become 40 GB.
TEST(ZTKFileConfigSize, AFileThatWouldTakeAllMemoryIsNotSavedAndStays) {
  const std::string before = "[" + Repeat("g/", 200000) + "]\nk=v\n";
  for (const unsigned options : {0u, CONF_ONE_STEP + 0u, CONF_MERGE + 0u}) {
    SCOPED_TRACE(options);
    const PreferencesFolder prefs;
    WriteWholeFile(prefs.ConfFile(), before);
    const LogCapture log;
    ZTKFileConfig config("", "App", options);
    config.SetPath("/h");
    config.Write("k", "v");
    EXPECT_FALSE(config.Flush());
    EXPECT_TRUE(config.IsDirty());
    EXPECT_TRUE(ReadWholeFile(prefs.ConfFile()) == before);
    EXPECT_NE(log.Text().find("' is not saved: it would have 40000800018 bytes"), std::string::npos)
        << log.Text();

    config.SetPath("/");
    EXPECT_TRUE(config.DeleteGroup("g"));
    EXPECT_TRUE(config.Flush());
    EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), std::string(kMark) + "[h]\r\nk=v\r\n");
  }
}

TEST(ZTKFileConfigSize, KeptTextIsNoLargerThanItWas) {
  const std::string before = "[" + Repeat("g/", 200000) + "]\nk=v\n";
  for (const unsigned options : {CONF_KEEP_TEXT + 0u, CONF_ALL + 0u}) {
    SCOPED_TRACE(options);
    const PreferencesFolder prefs;
    WriteWholeFile(prefs.ConfFile(), before);
    const ScopedWatchdog watchdog(300);
    ZTKFileConfig config("", "App", options);
    config.SetPath("/h");
    config.Write("k", "v");
    EXPECT_TRUE(config.Flush());
    EXPECT_TRUE(ReadWholeFile(prefs.ConfFile()) == before + "\n[h]\nk=v\n");
  }
}

// A group with an entry at every level, which the text does not have yet.
TEST(ZTKFileConfigSize, NewLinesOfKeptTextCountAsWell) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("", "App", CONF_KEEP_TEXT);
  config.SetMaxSize(10000);
  for (int i = 1; i < 200; ++i) {
    config.SetPath(Repeat("/g", i).c_str());
    config.Write("k", "v");
  }
  const LogCapture log;
  EXPECT_FALSE(config.Flush());
  EXPECT_NE(log.Text().find("and 10000 are allowed."), std::string::npos) << log.Text();
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), "");
  config.SetMaxSize(100000);
  EXPECT_TRUE(config.Flush());
}

TEST(ZTKFileConfigSize, TheLimitIsExact) {
  const ZTKTextFileType old = ZTKTextBuffer::typeDefault;
  for (const ZTKTextFileType type : {EOL_DOS, EOL_UNIX, EOL_NONE}) {
    ZTKTextBuffer::typeDefault = type;
    for (const unsigned options : {0u, CONF_ONE_STEP + 0u, CONF_MERGE + 0u}) {
      SCOPED_TRACE(options);
      const PreferencesFolder prefs;
      ZTKFileConfig config("", "App", options);
      EXPECT_EQ(config.GetMaxSize(), ZTKFileConfig::kMaxSize);
      config.SetPath("/a/b/c");
      config.Write("key", "value");
      EXPECT_TRUE(config.Flush());
      const std::string first = ReadWholeFile(prefs.ConfFile());
      config.Write("key", "vAlue");
      config.SetMaxSize(static_cast<unsigned long>(first.size() - 1));
      EXPECT_FALSE(config.Flush());
      EXPECT_TRUE(config.IsDirty());
      EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), first);
      config.SetMaxSize(static_cast<unsigned long>(first.size()));
      EXPECT_TRUE(config.Flush());
      EXPECT_EQ(ReadWholeFile(prefs.ConfFile()).size(), first.size());
    }
  }
  ZTKTextBuffer::typeDefault = old;
}

TEST(ZTKFileConfigSize, TheLimitStaysAndIsNeverMoreThanOneTextHolds) {
  const PreferencesFolder prefs;
  OpenConfig config("", "App", CONF_MERGE);
  config.SetMaxSize(~0ul);
  EXPECT_EQ(config.GetMaxSize(), ZTKFileConfig::kMaxSize);
  config.SetMaxSize(500);
  config.SetPath("/g");
  config.Write("k", "1");
  EXPECT_TRUE(config.Flush());
  EXPECT_EQ(config.GetMaxSize(), 500u);
  EXPECT_TRUE(config.Reload());
  EXPECT_EQ(config.GetMaxSize(), 500u);
  config.Init();
  EXPECT_EQ(config.GetMaxSize(), 500u);
}

// Paths -------------------------------------------------------------------------------------------

// As it is described, step by step.
std::vector<std::string> SplitByTheRules(const std::string& path) {
  std::vector<std::string> out;
  std::string token;
  for (size_t i = 0; i <= path.size(); ++i) {
    if (i < path.size() && path[i] != '/') {
      token += path[i];
      continue;
    }
    if (token == ".") continue;
    if (token == "..") {
      if (!out.empty()) out.erase(std::find(out.begin(), out.end(), std::string(out.back())));
    } else if (!token.empty()) {
      out.push_back(token);
    }
    token.clear();
  }
  return out;
}

TEST(ZTKFileConfigSize, AnyPathIsSplitAsTheRulesSay) {
  const PreferencesFolder prefs;
  OpenConfig config("", "App");
  std::mt19937 random(4711);
  const char* const pieces[] = {"a", "b", "ab", ".", "..", "", ".a", "...", "a", ".."};
  for (int round = 0; round < 20000; ++round) {
    std::string path;
    const unsigned long nPieces = random() % 14;
    for (unsigned long i = 0; i < nPieces; ++i) {
      path += pieces[random() % std::size(pieces)];
      if (random() % 12 != 0) path += '/';
    }
    ZTKStringArray parts;
    config.SplitPath(parts, path.c_str());
    std::vector<std::string> split;
    for (const ZTKString& part : parts) split.emplace_back(part.c_str());
    ASSERT_EQ(split, SplitByTheRules(path)) << path;
  }
}

// In quadratic time these take many minutes.
TEST(ZTKFileConfigSize, ManyNamesAndStepsUpAreReadInLinearTime) {
  constexpr int kCount = 150000;
  std::string names;
  for (int i = 0; i < kCount; ++i) names += "n" + std::to_string(i) + "/";
  const std::string ups = Repeat("../", kCount - 1);
  for (const std::string& path : {names + ups, Repeat("same/", kCount) + ups,
                                  Repeat("../", kCount) + "a", Repeat("a/../", kCount) + "n0"}) {
    SCOPED_TRACE(path.substr(0, 20));
    const ScopedWatchdog watchdog(120);
    const PreferencesFolder prefs;
    OpenConfig config("", "App");
    Lines text({"[" + path + "]", "k=v"});
    config.Parse(text);
    config.SetPath(("/" + path).c_str());
    EXPECT_EQ(ValueOf(config, "k"), "v");
    config.SetPath("/");
    ZTKString name;
    EXPECT_TRUE(config.GetGroup(name, 0));
    EXPECT_FALSE(config.GetGroup(name, 1));
  }
}

}  // namespace
