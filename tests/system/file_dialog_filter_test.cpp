#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/failing_allocator.h"
#include "ztk/system/file_dialog.h"

namespace {

using Texts = std::vector<std::string>;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

Texts ToTexts(const ZTKStringArray& array) {
  Texts texts;
  for (unsigned long i = 0; i < array.GetCount(); ++i) texts.emplace_back(array.Item(i).view());
  return texts;
}

struct Filters {
  explicit Filters(const char* wildcard) { ParseExtension(wildcard, descriptions, patterns); }
  ZTKStringArray descriptions;
  ZTKStringArray patterns;
};

// A record as the dialog makes it from a filter text.
OpenUserDataRec Record(const char* wildcard, int32_t nFilter = 0, int32_t bSave = 0) {
  OpenUserDataRec rec;
  ZTKStringArray descriptions;
  ParseExtension(wildcard, descriptions, rec.patterns);
  rec.nFilter = nFilter;
  rec.bSave = bSave;
  return rec;
}

bool Shows(const OpenUserDataRec& rec, const char* path) {
  ZTKString text(path);
  const bool shown = CheckFile(text, &rec);
  EXPECT_EQ(text.view(), path) << "the caller's path was changed";
  return shown;
}

TEST(ParseExtension, SplitsPairsAndRaisesThePatterns) {
  const Filters filters("Text files|*.txt;*.Log|All files|*.*|");
  EXPECT_THAT(ToTexts(filters.descriptions), ElementsAre("Text files", "All files"));
  EXPECT_THAT(ToTexts(filters.patterns), ElementsAre("*.TXT;*.LOG", "*.*"));
}

TEST(ParseExtension, DropsTheLastCharacterOfTheText) {
  struct {
    const char* wildcard;
    Texts descriptions;
    Texts patterns;
  } const rows[] = {
      {"", {}, {}},
      {"|", {}, {}},
      {"||", {}, {}},
      {"|||", {}, {}},
      {"a", {}, {}},
      {"a|", {}, {}},        // "a" is left: no "|" follows it
      {"a|b", {"a"}, {""}},  // "a|" is left
      {"a|b|", {"a"}, {"B"}},
      {"a|bc", {"a"}, {"B"}},
      {"a||", {"a"}, {""}},
      {"Text|*.txt", {"Text"}, {"*.TX"}},
      {"Text|*.txt|", {"Text"}, {"*.TXT"}},
      {"All|*.*", {"All"}, {"*."}},
      {"All|*.*|", {"All"}, {"*.*"}},
      {"Text|*.txt|All|*.*", {"Text", "All"}, {"*.TXT", "*."}},
      {"Text|*.txt|All", {"Text"}, {"*.TXT"}},   // a last description alone is ignored
      {"Text|*.txt|All|", {"Text"}, {"*.TXT"}},  // so also here: its "|" is the one dropped
      {"Text|*.txt|All||", {"Text", "All"}, {"*.TXT", ""}},
      {"Text|*.txt||*.*|", {"Text"}, {"*.TXT"}},  // an empty description ends the reading
      {"|*.txt|All|*.*|", {}, {}},
      {"a||b|c|", {"a", "b"}, {"", "C"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.wildcard);
    const Filters filters(row.wildcard);
    EXPECT_EQ(ToTexts(filters.descriptions), row.descriptions);
    EXPECT_EQ(ToTexts(filters.patterns), row.patterns);
  }
}

TEST(ParseExtension, NullIsNoFilterAtAll) {
  const Filters filters(nullptr);
  EXPECT_EQ(filters.descriptions.GetCount(), 0u);
  EXPECT_EQ(filters.patterns.GetCount(), 0u);
}

TEST(ParseExtension, AddsToWhatIsThere) {
  Filters filters("a|b|");
  ParseExtension("c|d|", filters.descriptions, filters.patterns);
  EXPECT_THAT(ToTexts(filters.descriptions), ElementsAre("a", "c"));
  EXPECT_THAT(ToTexts(filters.patterns), ElementsAre("B", "D"));
}

TEST(ParseExtension, LeavesBytesBeyondAsciiAlone) {
  const Filters filters("\xC3\xA4|*.\xC3\xA4z|");
  EXPECT_THAT(ToTexts(filters.descriptions), ElementsAre("\xC3\xA4"));
  EXPECT_THAT(ToTexts(filters.patterns), ElementsAre("*.\xC3\xA4Z"));
}

TEST(ParseExtension, ReadsTenThousandFilters) {
  std::string wildcard;
  for (int i = 0; i < 10000; ++i) {
    wildcard += "Kind " + std::to_string(i) + "|*.e" + std::to_string(i) + "|";
  }
  const Filters filters(wildcard.c_str());
  ASSERT_EQ(filters.descriptions.GetCount(), 10000u);
  ASSERT_EQ(filters.patterns.GetCount(), 10000u);
  EXPECT_EQ(filters.descriptions.Item(9999).view(), "Kind 9999");
  EXPECT_EQ(filters.patterns.Item(9999).view(), "*.E9999");
}

TEST(ParseExtension, WithoutMemoryThereAreNoFilters) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  ZTKStringArray descriptions;
  ZTKStringArray patterns;
  {
    const failing_allocator::Scope scope(0, 1);
    ParseExtension("a|b|", descriptions, patterns);
    EXPECT_TRUE(scope.Failed());
  }
  EXPECT_THAT(ToTexts(descriptions), IsEmpty());
  EXPECT_THAT(ToTexts(patterns), IsEmpty());
}

TEST(ExtractExtension, TakesTheFirstItemOffTheList) {
  struct {
    const char* list;
    const char* extension;
    const char* rest;
  } const rows[] = {
      {"", "", ""},
      {";", "", ""},
      {"*.png", "png", ""},
      {"*.png;", "png", ""},
      {"*.png;*.jpg", "png", "*.jpg"},
      {"*.png;*.jpg;*.gif", "png", "*.jpg;*.gif"},
      {";*.jpg", "", "*.jpg"},
      {"*.*", "*", ""},
      {"*", "", ""},  // one "*" is dropped, and nothing is left
      {"**", "*", ""},
      {"*.", "", ""},
      {".", "", ""},
      {"..x", ".x", ""},
      {"*..x", ".x", ""},
      {"**.x", "*.x", ""},
      {".png", "png", ""},
      {"png", "png", ""},
      {"*png", "png", ""},
      {"notes.*", "notes.*", ""},
      {"*.tar.gz", "tar.gz", ""},
      {"*.png; *.jpg", "png", " *.jpg"},
      {" *.jpg", " *.jpg", ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.list);
    ZTKString list(row.list);
    EXPECT_EQ(ExtractExtension(list).view(), row.extension);
    EXPECT_EQ(list.view(), row.rest);
  }
}

TEST(CheckFile, ShowsEveryFileWithoutPatternsOrRecord) {
  ZTKString path("/home/x/notes.txt");
  const OpenUserDataRec none;
  EXPECT_TRUE(CheckFile(path, &none));
  EXPECT_TRUE(CheckFile(path, nullptr));
  EXPECT_TRUE(Shows(Record(""), "/anything"));
}

TEST(CheckFile, ComparesTheExtensionInAnyCase) {
  const OpenUserDataRec images = Record("Images|*.png;*.jpg|");
  EXPECT_TRUE(Shows(images, "/p/photo.JPG"));
  EXPECT_TRUE(Shows(images, "/p/photo.png"));
  EXPECT_TRUE(Shows(images, "/p/PHOTO.Png"));
  EXPECT_FALSE(Shows(images, "/p/notes.txt"));
}

TEST(CheckFile, WithoutAClosingBarTheLastPatternIsCut) {
  const OpenUserDataRec images = Record("Images|*.png;*.jpg");
  EXPECT_TRUE(Shows(images, "/p/photo.png"));
  EXPECT_FALSE(Shows(images, "/p/photo.JPG"));
  EXPECT_TRUE(Shows(images, "/p/photo.jp"));

  const OpenUserDataRec all = Record("All|*.*");
  EXPECT_FALSE(Shows(all, "/p/photo.png"));
  EXPECT_FALSE(Shows(all, "/p/photo"));
}

TEST(CheckFile, AnswersTheSameAgain) {
  const OpenUserDataRec images = Record("Images|*.png;*.jpg|");
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(Shows(images, "/p/photo.jpg")) << i;
    EXPECT_FALSE(Shows(images, "/p/notes.txt")) << i;
  }
  EXPECT_EQ(images.patterns.Item(0).view(), "*.PNG;*.JPG");
}

TEST(CheckFile, FollowsTheRules) {
  struct {
    const char* patterns;
    const char* path;
    bool shown;
  } const rows[] = {
      {"*.*", "/p/any.thing", true},
      {"*.*", "/p/any", true},
      {"*.png;*.*", "/p/any", true},
      {"*", "/p/any.thing", false},  // one "*" is dropped: an empty item, and nothing else
      {"**", "/p/any.thing", true},
      {"", "/p/any.thing", false},
      {"", "/p/any", false},
      {";;", "/p/any", false},
      {";;*.c", "/p/a.c", true},
      {"*.c;", "/p/a.c", true},
      {"*.c;", "/p/a.", false},
      {"*.", "/p/a.", false},
      {"c", "/p/a.c", true},
      {".c", "/p/a.c", true},
      {"*.c", "/p/c", false},
      {"*.c", "/p.c/a", false},  // that dot is in the folder's name
      {"*.c", "/p.x/a.c", true},
      {"*.c", "a.c", true},
      {"*.c", ".c", true},
      {"*.c", "", false},
      {"*.gz", "/p/a.tar.gz", true},
      {"*.tar.gz", "/p/a.tar.gz", false},  // the extension is "gz"
      {"*.c", "/p/a.cc", false},
      {"*.cc", "/p/a.c", false},
      {"*.png; *.jpg", "/p/a.jpg", false},  // a blank is part of the item
      {"*.\xC3\xA4", "/p/a.\xC3\xA4", true},
      {"*.\xC3\xA4", "/p/a.\xC3\x84", false},  // small and capital, but no letters of ASCII
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.patterns) + " against " + row.path);
    const std::string wildcard = std::string("Files|") + row.patterns + "|";
    EXPECT_EQ(Shows(Record(wildcard.c_str()), row.path), row.shown);
  }
}

TEST(CheckFile, TakesTheSelectedFilterAndTheFirstForABadIndex) {
  const char* const wildcard = "Text|*.txt|C|*.c|";
  for (const int32_t index : {0, -1, 2, 99, INT32_MAX, INT32_MIN}) {
    SCOPED_TRACE(index);
    EXPECT_TRUE(Shows(Record(wildcard, index), "/p/a.txt"));
    EXPECT_FALSE(Shows(Record(wildcard, index), "/p/a.c"));
  }
  EXPECT_TRUE(Shows(Record(wildcard, 1), "/p/a.c"));
  EXPECT_FALSE(Shows(Record(wildcard, 1), "/p/a.txt"));
}

TEST(ZTKChooseFilter, SelectsAndRenamesInASaveDialog) {
  struct {
    const char* patterns;
    const char* name;
    const char* renamed;  // Null: the name stays.
  } const rows[] = {
      {"*.txt", "notes.log", "notes.txt"},
      {"*.txt", "notes", "notes.txt"},
      {"*.txt", "notes.", "notes.txt"},
      {"*.txt", "notes.txt", "notes.txt"},
      {"*.TXT;*.LOG", "notes.md", "notes.txt"},
      {"*.gz", "a.tar.bz2", "a.tar.gz"},
      {"*.tar.gz", "a.zip", "a.tar.gz"},
      {"*.txt", ".profile", ".profile.txt"},  // that dot is the first character
      {"*.txt", ".profile.bak", ".profile.txt"},
      {"*.txt", "", ".txt"},
      {"*.*", "notes.log", nullptr},
      {"*", "notes.log", nullptr},
      {"", "notes.log", nullptr},
      {";*.txt", "notes.log", nullptr},  // the first item decides, and it is empty
      {"*.\xC3\x84Z", "x", "x.\xC3\x84z"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.patterns) + " with " + row.name);
    const std::string wildcard = std::string("All|*.*|Kind|") + row.patterns + "|";
    OpenUserDataRec rec = Record(wildcard.c_str(), 0, 1);
    ZTKString name(row.name);
    EXPECT_EQ(ZTKChooseFilter(rec, 1, name), row.renamed != nullptr);
    EXPECT_EQ(name.view(), row.renamed != nullptr ? row.renamed : row.name);
    EXPECT_EQ(rec.nFilter, 1);
  }
}

TEST(ZTKChooseFilter, LeavesThePatternsForTheNextChoice) {
  OpenUserDataRec rec = Record("Text|*.txt;*.log|C|*.c|", 0, 1);
  ZTKString name("x.c");
  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(ZTKChooseFilter(rec, 0, name));
    EXPECT_EQ(name.view(), "x.txt");
  }
  EXPECT_EQ(rec.patterns.Item(0).view(), "*.TXT;*.LOG");
}

TEST(ZTKChooseFilter, OnlySelectsInAnOpenDialog) {
  OpenUserDataRec rec = Record("All|*.*|Text|*.txt|", 0, 0);
  ZTKString name("notes.log");
  EXPECT_FALSE(ZTKChooseFilter(rec, 1, name));
  EXPECT_EQ(rec.nFilter, 1);
  EXPECT_EQ(name.view(), "notes.log");
}

TEST(ZTKChooseFilter, IgnoresAnIndexPastTheEnd) {
  OpenUserDataRec rec = Record("All|*.*|Text|*.txt|", 1, 1);
  ZTKString name("notes.log");
  for (const unsigned long index : {2UL, 3UL, static_cast<unsigned long>(-1)}) {
    EXPECT_FALSE(ZTKChooseFilter(rec, index, name)) << index;
    EXPECT_EQ(rec.nFilter, 1);
    EXPECT_EQ(name.view(), "notes.log");
  }
}

}  // namespace
