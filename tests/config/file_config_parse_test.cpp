// The format of the file: what is read, what is written, what is lost.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "tests/config/file_config_support.h"
#include "tests/support/temp_dir.h"

namespace {

// The tree that lines are read as.
std::string Parsed(const std::vector<std::string>& lines) {
  const PreferencesFolder prefs;
  OpenConfig config("", "App");
  Lines text(lines);
  config.Parse(text);
  return TreeOf(config);
}

// What is written for a file with this content, after a change that changes nothing.
std::string Rewritten(const std::string& content) {
  const PreferencesFolder prefs;
  WriteWholeFile(prefs.ConfFile(), content);
  ZTKFileConfig config("", "App");
  config.DeleteEntry("no such entry");
  EXPECT_TRUE(config.Flush());
  return ReadWholeFile(prefs.ConfFile());
}

// Reading ---------------------------------------------------------------------------------------

TEST(ZTKFileConfigParse, EntryLinesAreSplitAtTheFirstEqualsSignAndTrimmed) {
  const struct {
    const char* line;
    const char* tree;
  } rows[] = {
      {"a=1", "{g{a=1;}}"},
      {"  a \t=\t 1  ", "{g{a=1;}}"},
      {"key = value ; note", "{g{key=value ; note;}}"},
      {"a=b=c", "{g{a=b=c;}}"},
      {"a==", "{g{a==;}}"},
      {"a=", "{g{a=;}}"},
      {"=v", "{g{=v;}}"},
      {"=", "{g{=;}}"},
      {"a b = c d", "{g{a b=c d;}}"},
      {"a=[x]", "{g{a=[x];}}"},
      {"a=#1", "{g{a=#1;}}"},
      {"\x7F=\x7F", "{g{\x7F=\x7F;}}"},
      {"\v;k\f=\v1", "{g{;k=1;}}"},  // Only spaces and tabs may stand before a comment sign.
      {"k=x\xC3\xA0", "{g{k=x\xC3\xA0;}}"},
      {"a", "{g{}}"},
      {"", "{g{}}"},
      {" \t ", "{g{}}"},
      {";a=1", "{g{}}"},
      {"#a=1", "{g{}}"},
      {" \t;a=1", "{g{}}"},
      {"[a=1", "{g{}}"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.line);
    EXPECT_EQ(Parsed({"[g]", row.line}), row.tree);
  }
}

TEST(ZTKFileConfigParse, HeadersNameAPathFromTheTop) {
  const struct {
    const char* header;
    const char* tree;
  } rows[] = {
      {"[g]", "{g{k=v;}}"},
      {" \t[g]", "{g{k=v;}}"},
      {"[g] trailing", "{g{k=v;}}"},
      {"[g]]", "{g{k=v;}}"},
      {"[ g ]", "{ g {k=v;}}"},
      {"[a/b]", "{a{b{k=v;}}}"},
      {"[/a/b/]", "{a{b{k=v;}}}"},
      {"[a//b]", "{a{b{k=v;}}}"},
      {"[]", "{k=v;}"},
      {"[/]", "{k=v;}"},
      {"[[g]", "{[g{k=v;}}"},
      {"[g", "{k=v;}"},
      {"[a=b]", "{a=b{k=v;}}"},
      {"[a.b]", "{a.b{k=v;}}"},
      {"[.x]", "{.x{k=v;}}"},
      {"[./x]", "{.x{k=v;}}"},
      {"[.]", "{k=v;}"},
      {"[..]", "{k=v;}"},
      {"[a/../b]", "{b{k=v;}}"},
      {"[a/b/a/..]", "{b{a{k=v;}}}"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.header);
    EXPECT_EQ(Parsed({row.header, "k=v"}), row.tree);
  }
}

TEST(ZTKFileConfigParse, AHeaderWithoutItsBracketLeavesThePreviousGroup) {
  EXPECT_EQ(Parsed({"[g]", "a=1", "[h", "b=2"}), "{g{a=1;b=2;}}");
}

TEST(ZTKFileConfigParse, TheSameHeaderMayOccurAgain) {
  EXPECT_EQ(Parsed({"[g]", "a=1", "[h]", "x=1", "[/g/]", "b=2", "a=3"}), "{g{a=3;b=2;}h{x=1;}}");
}

TEST(ZTKFileConfigParse, TheLaterOfTwoValuesStays) {
  EXPECT_EQ(Parsed({"[g]", "a=1", "a=2"}), "{g{a=2;}}");
  EXPECT_EQ(Parsed({"[g]", "b=1", "a=1", "b=2", "c=1", "a=2", "b=3"}), "{g{a=2;b=3;c=1;}}");
}

TEST(ZTKFileConfigParse, EntriesBeforeTheFirstHeaderBelongToTheRoot) {
  EXPECT_EQ(Parsed({"a=1", "[g]", "b=2", "[]", "c=3"}), "{a=1;c=3;g{b=2;}}");
}

TEST(ZTKFileConfigParse, ParsingIntoATreeMerges) {
  const PreferencesFolder prefs;
  OpenConfig config("", "App");
  Lines first({"[g]", "a=1", "c=1", "[g/h]", "x=1"});
  config.Parse(first);
  Lines second({"[g]", "d=2", "c=2", "b=2", "[f]"});
  config.Parse(second);
  EXPECT_EQ(TreeOf(config), "{f{}g{a=1;b=2;c=2;d=2;h{x=1;}}}");
  EXPECT_FALSE(config.IsDirty());
}

TEST(ZTKFileConfigParse, TheRootGroupIsCurrentAfterwards) {
  const PreferencesFolder prefs;
  OpenConfig config("", "App");
  config.SetPath("/elsewhere");
  Lines text({"r=1", "[g]", "a=1"});
  config.Parse(text);
  EXPECT_EQ(ValueOf(config, "r"), "1");
  EXPECT_STREQ(config.GetPath().c_str(), "/elsewhere/") << "the path is not touched";
}

TEST(ZTKFileConfigParse, InitReadsTheFileAgain) {
  const PreferencesFolder prefs;
  WriteWholeFile(prefs.ConfFile(), "[g]\na=1\n");
  OpenConfig config("", "App");
  config.SetPath("/g");
  config.Write("a", "2");
  WriteWholeFile(prefs.ConfFile(), "[h]\nb=1\n");
  config.Init();
  EXPECT_FALSE(config.IsDirty());
  EXPECT_EQ(TreeOf(config), "{h{b=1;}}");
}

TEST(ZTKFileConfigParse, StepsUpAreReportedInTheOrderOfTheFile) {
  const PreferencesFolder prefs;
  OpenConfig config("", "App");
  const LogCapture log;
  Lines text({"[../z]", "k=1", "[../a]", "k=2", "[..]"});
  config.Parse(text);
  EXPECT_EQ(log.Text(),
            "2 '/../z/' has extra '..', ignored.\n"
            "2 '/../a/' has extra '..', ignored.\n"
            "2 '/../' has extra '..', ignored.\n");
  EXPECT_EQ(TreeOf(config), "{a{k=2;}z{k=1;}}");
}

TEST(ZTKFileConfigParse, TheOrderOfTheFileDoesNotMatter) {
  std::vector<std::string> sections;
  for (const char* group :
       {"a", "a/b", "a-b", "a b", "b", "b/c/d", "b/c", "/z", "a//q", "\xC3\xA9"}) {
    std::string section = std::string("[") + group + "]\n";
    for (const char* key : {"z", "y", "x", "ya", "Y"}) {
      section += std::string(key) + "=" + group + "\n";
    }
    sections.push_back(section);
  }
  std::mt19937 random(1);
  std::string expected;
  for (int i = 0; i < 50; ++i) {
    std::string content;
    for (const std::string& section : sections) content += section;
    const std::string written = Rewritten(content);
    if (expected.empty()) expected = written;
    ASSERT_EQ(written, expected) << content;
    std::shuffle(sections.begin(), sections.end(), random);
  }
  EXPECT_NE(expected.find("[a]\r\nY=a\r\nx=a\r\ny=a\r\nya=a\r\nz=a\r\n[a/b]\r\n"),
            std::string::npos);
  EXPECT_LT(expected.find("[a/q]"), expected.find("[a b]")) << "a group's own come first";
}

TEST(ZTKFileConfigParse, EveryEncodingIsRead) {
  const std::string utf8 = "[g]\r\nk=\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\r\n";
  const std::string expected = std::string(kMark) + utf8;
  EXPECT_EQ(Rewritten(kMark + utf8), expected);
#ifndef _WIN32  // What has no mark is of the code page there, UTF-8 or not.
  EXPECT_EQ(Rewritten(utf8), expected);
#endif
  EXPECT_EQ(Rewritten("[g]\nk=\xE9\n"), std::string(kMark) + "[g]\r\nk=\xC3\xA9\r\n");
  std::string wide = "\xFF\xFE";
  for (const char16_t unit : std::u16string(u"[g]\rk=é€\U0001F600\n")) {
    wide += static_cast<char>(unit & 0xFF);
    wide += static_cast<char>(unit >> 8);
  }
  EXPECT_EQ(Rewritten(wide), expected);
}

// Writing ---------------------------------------------------------------------------------------

TEST(ZTKFileConfigWrite, TheFileIsWrittenByteForByteAsDescribed) {
  EXPECT_EQ(Rewritten("; comment\n"
                      "root=lost\n"
                      "[b]\n"
                      "z = 26 ; not a comment\n"
                      "a =1\n"
                      "not an entry\n"
                      "\n"
                      "[b/d]\n"
                      "[b/c/e]\n"
                      "k==v\n"
                      "[a]\n"),
            std::string(kMark) +
                "[a]\r\n"
                "[b]\r\na=1\r\nz=26 ; not a comment\r\n"
                "[b/c]\r\n"
                "[b/c/e]\r\nk==v\r\n"
                "[b/d]\r\n");
}

TEST(ZTKFileConfigWrite, AnEmptyTreeIsAnEmptyFile) {
  EXPECT_EQ(Rewritten(""), "");
  EXPECT_EQ(Rewritten("only=root entries\n"), "");
}

TEST(ZTKFileConfigWrite, LinesEndAsTheDefaultSays) {
  const ZTKTextFileType old = ZTKTextBuffer::typeDefault;
  ZTKTextBuffer::typeDefault = EOL_UNIX;
  EXPECT_EQ(Rewritten("[g]\r\nk=v\r\n"), std::string(kMark) + "[g]\nk=v\n");
  ZTKTextBuffer::typeDefault = EOL_MAC;
  EXPECT_EQ(Rewritten("[g]\r\nk=v\r\n"), std::string(kMark) + "[g]\rk=v\r");
  ZTKTextBuffer::typeDefault = old;
}

TEST(ZTKFileConfigWrite, EntriesComeInKeyOrderWhateverTheOrderOfWriting) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("", "App");
  config.SetPath("/g");
  for (const char* key : {"m", "z", "a", "\xFF", "A", "mm"}) config.Write(key, 1);
  EXPECT_TRUE(config.Flush());
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()),
            std::string(kMark) + "[g]\r\nA=1\r\na=1\r\nm=1\r\nmm=1\r\nz=1\r\n\xFF=1\r\n");
}

TEST(ZTKFileConfigWrite, WhatTheFormatCanKeepComesBack) {
  const PreferencesFolder prefs;
  std::mt19937 random(2);
  const std::string alphabet = "abcXYZ019 ._-+*/\\'\"!?,:;#[]()%$~\xC3\xA9";
  std::vector<std::pair<std::string, std::string>> entries;
  const auto any = [&](size_t length) {
    std::string text = "k";
    for (size_t i = 0; i < length; ++i) text += alphabet[random() % alphabet.size()];
    return text + "e";
  };
  {
    ZTKFileConfig config("Root", "App");
    config.SetPath("/g");
    for (size_t i = 0; i < 300; ++i) {
      entries.emplace_back(any(i % 40) + std::to_string(i), any(i));
      config.Write(entries.back().first.c_str(), entries.back().second.c_str());
    }
  }
  ZTKFileConfig config("Root", "App");
  config.SetPath("/g");
  for (const auto& [key, value] : entries) EXPECT_EQ(ValueOf(config, key.c_str()), value);
}

// There is no quoting. This is how it goes wrong, and it is part of the format.
TEST(ZTKFileConfigWrite, WhatTheFormatCannotKeepComesBackDifferent) {
  const PreferencesFolder prefs;
  {
    OpenConfig config("", "App");
    config.SetPath("/g");
    config.Write("blanks", "  inside \t");
    config.Write("a=b", "c");
    config.Write(";note", "1");
    config.Write("#note", "1");
    config.Write("break", "1\r\n[admin]\r\nok=1");
    config.Write("[x]", "1");
  }
  OpenConfig config("", "App");
  EXPECT_EQ(TreeOf(config), "{admin{ok=1;}g{}x{a=b=c;blanks=inside;break=1;}}");
}

TEST(ZTKFileConfigWrite, ASecondFlushWritesNothing) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("", "App");
  config.SetPath("/g");
  config.Write("k", "v");
  EXPECT_TRUE(config.Flush());
  WriteWholeFile(prefs.ConfFile(), "somebody else's");
  EXPECT_TRUE(config.Flush());
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), "somebody else's");
}

TEST(ZTKFileConfigWrite, AFileThatIsGoneIsCreatedAgain) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("", "App");
  std::filesystem::remove(prefs.ConfFile());
  config.SetPath("/g");
  config.Write("k", "v");
  EXPECT_TRUE(config.Flush());
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), std::string(kMark) + "[g]\r\nk=v\r\n");
}

TEST(ZTKFileConfigWrite, FlushForgetsWhatTheFileHeldMeanwhile) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("", "App");
  config.SetPath("/g");
  config.Write("k", "v");
  WriteWholeFile(prefs.ConfFile(), "[other]\nx=1\n");
  EXPECT_TRUE(config.Flush());
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), std::string(kMark) + "[g]\r\nk=v\r\n");
}

}  // namespace
