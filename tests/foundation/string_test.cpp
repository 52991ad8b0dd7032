#include "ztk/foundation/string.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <functional>
#include <sstream>
#include <string>
#include <unordered_set>

#include "tests/foundation/string_support.h"
#include "tests/support/pages.h"

// Construction and assignment.

TEST(ZTKString, DefaultOwnsNothingAndReadsAsEmpty) {
  ZTKString text;
  const ZTKString& fixed = text;
  EXPECT_EQ(text.Len(), 0u);
  EXPECT_STREQ(text.c_str(), "");
  EXPECT_EQ(text.AllocatedSize(), 0u);
  EXPECT_EQ(text.DataLength(), 0u);
  EXPECT_EQ(text.Find('a', 0), -1);
  EXPECT_EQ(text.Cmp(""), 0);
  EXPECT_EQ(fixed.Last(), '\0');
  EXPECT_EQ(fixed[0], '\0');
  text.Empty();
  text.Clear();
  text.MakeLower().MakeUpper().TrimA().Truncate(0).erase(0, 1);
  EXPECT_TRUE(text.Shrink());
  EXPECT_EQ(text.AllocatedSize(), 0u);
}

TEST(ZTKString, InitZeroesRawStorage) {
  alignas(ZTKString) unsigned char storage[sizeof(ZTKString)];
  std::memset(storage, 0xA5, sizeof storage);
  auto* text = reinterpret_cast<ZTKString*>(storage);
  EXPECT_EQ(&text->Init(), text);
  EXPECT_EQ(text->AllocatedSize(), 0u);
  text->append("raw");
  EXPECT_STREQ(text->c_str(), "raw");
  text->Clear();
}

TEST(ZTKString, ConstructsFromText) {
  EXPECT_EQ(Std(ZTKString("abc")), "abc");
  EXPECT_EQ(ZTKString(static_cast<const char*>(nullptr)).AllocatedSize(), 0u);
  EXPECT_EQ(ZTKString("").AllocatedSize(), 0u);
  EXPECT_EQ(Std(ZTKString('x', 3)), "xxx");
  EXPECT_EQ(ZTKString('x', 0).AllocatedSize(), 0u);
  EXPECT_EQ(Std(ZTKString(std::string_view("abcdef").substr(1, 3))), "bcd");
  EXPECT_EQ(ZTKString(std::string_view()).AllocatedSize(), 0u);
}

TEST(ZTKString, CopyOfAnEmptyStringIsUnallocated) {
  ZTKString empty;
  empty.AllocBuffer(100);
  const ZTKString copy(empty);
  EXPECT_EQ(copy.AllocatedSize(), 0u);
}

TEST(ZTKString, CopyIsIndependent) {
  ZTKString original("original");
  ZTKString copy(original);
  original.append("!");
  EXPECT_STREQ(copy.c_str(), "original");
  EXPECT_EQ(copy.AllocatedSize(), 20u);
  EXPECT_EQ(copy.DataLength(), 8u);
}

TEST(ZTKString, ConstructsFromARangeOfBytes) {
  const char bytes[] = "a\0b";
  const ZTKString text(bytes, bytes + 3);
  EXPECT_EQ(text.Len(), 1u);
  EXPECT_EQ(text.DataLength(), 3u);
  EXPECT_EQ(std::memcmp(text.c_str(), bytes, 4), 0);
}

TEST(ZTKString, RefusedRangesGiveAnEmptyString) {
  const char* bytes = "abc";
  EXPECT_EQ(ZTKString(bytes + 3, bytes).AllocatedSize(), 0u);
  EXPECT_EQ(ZTKString(bytes + 1, bytes).AllocatedSize(), 0u);
  EXPECT_EQ(ZTKString(bytes, bytes).AllocatedSize(), 0u);
  EXPECT_EQ(ZTKString(nullptr, bytes).AllocatedSize(), 0u);
  EXPECT_EQ(ZTKString(bytes, nullptr).AllocatedSize(), 0u);
}

TEST(ZTKString, ConstructsFromAPartOfAString) {
  const ZTKString source("hello");
  struct {
    unsigned long pos, length;
    const char* expected;
  } rows[] = {{0, 5, "hello"},     {1, 3, "ell"},        {4, 1, "o"}, {5, 1, ""},    {4, 0, ""},
              {0, kHuge, "hello"}, {3, kHuge - 1, "lo"}, {9, 9, ""},  {kHuge, 1, ""}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.pos << ", " << row.length);
    EXPECT_EQ(Std(ZTKString(source, row.pos, row.length)), row.expected);
  }
}

TEST(ZTKString, InitWithTakesAPartOfAText) {
  ZTKString text;
  text.InitWith("hello", 1, kHuge);
  EXPECT_STREQ(text.c_str(), "ello");
  text.InitWith("hello", 0, 2);
  EXPECT_STREQ(text.c_str(), "he");
  text.InitWith("hello", 0, 0);
  EXPECT_STREQ(text.c_str(), "he");
  text.InitWith(nullptr, 3, 3);
  EXPECT_STREQ(text.c_str(), "he");
  text.InitWith("ab\0cd", 0, 5);
  EXPECT_EQ(text.DataLength(), 5u);
  EXPECT_EQ(text.Len(), 2u);
}

TEST(ZTKString, AssigningAnEqualTextChangesNothing) {
  ZTKString text("abcdef");
  text.Truncate(3);
  EXPECT_EQ(text.DataLength(), 6u);
  text = "abc";
  EXPECT_EQ(text.DataLength(), 6u);
  text = ZTKString("abc");
  EXPECT_EQ(text.DataLength(), 6u);
}

TEST(ZTKString, AssigningKeepsABlockThatIsLargeEnough) {
  ZTKString text('x', 100);
  const unsigned long size = text.AllocatedSize();
  const char* block = text.c_str();
  text = "short";
  EXPECT_STREQ(text.c_str(), "short");
  EXPECT_EQ(text.c_str(), block);
  EXPECT_EQ(text.AllocatedSize(), size);
  EXPECT_EQ(text.DataLength(), 5u);
}

TEST(ZTKString, AssigningNullEmpties) {
  for (int kind = 0; kind < 4; ++kind) {
    SCOPED_TRACE(kind);
    ZTKString text("abc");
    if (kind == 0) text = static_cast<const char*>(nullptr);
    if (kind == 1) text = static_cast<const unsigned char*>(nullptr);
    if (kind == 2) text = ZTKString();
    if (kind == 3) text = nullptr;
    EXPECT_STREQ(text.c_str(), "");
    EXPECT_EQ(text.AllocatedSize(), 20u);
    EXPECT_EQ(text.DataLength(), 0u);
  }
}

TEST(ZTKString, AssignsEveryKindOfText) {
  ZTKString text;
  text = "one";
  EXPECT_STREQ(text.c_str(), "one");
  text = reinterpret_cast<const unsigned char*>("two");
  EXPECT_STREQ(text.c_str(), "two");
  text = ZTKString("three");
  EXPECT_STREQ(text.c_str(), "three");
  text = 'c';
  EXPECT_STREQ(text.c_str(), "c");
  EXPECT_EQ(text.DataLength(), 1u);
  const ZTKString& itself = text;
  text = itself;
  EXPECT_STREQ(text.c_str(), "c");
  EXPECT_EQ(&text.AssignCopy("four"), &text);
  EXPECT_STREQ(text.c_str(), "four");
}

// Cutting.

TEST(ZTKString, TruncateOnlyShortens) {
  ZTKString text("abcdef");
  EXPECT_EQ(&text.Truncate(6), &text);
  EXPECT_STREQ(text.c_str(), "abcdef");
  text.Truncate(kHuge);
  EXPECT_STREQ(text.c_str(), "abcdef");
  text.Truncate(2);
  EXPECT_STREQ(text.c_str(), "ab");
  text.Truncate(0);
  EXPECT_STREQ(text.c_str(), "");
}

TEST(ZTKString, EraseRemovesARange) {
  struct {
    unsigned long pos, count;
    const char* expected;
  } rows[] = {{0, 1, "bcdef"},
              {2, 2, "abef"},
              {2, 4, "ab"},
              {2, 5, "ab"},
              {0, 6, ""},
              {0, 0, "abcdef"},
              {6, 1, "abcdef"},
              {99, 1, "abcdef"},
              {kHuge, 1, "abcdef"},
              {2, kHuge, "ab"},
              {2, kHuge - 1, "ab"},
              {2, kHuge - 5, "ab"},
              {2, static_cast<unsigned long>(LONG_MAX), "ab"},
              {kHuge, kHuge, "abcdef"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.pos << ", " << row.count);
    ZTKString text("abcdef");
    EXPECT_EQ(&text.erase(row.pos, row.count), &text);
    EXPECT_STREQ(text.c_str(), row.expected);
  }
}

TEST(ZTKString, EraseBetweenPointersReturnsTheFirst) {
  ZTKString text("abcdef");
  char* start = &text[0];
  EXPECT_EQ(text.erase(start + 1, start + 3), start + 1);
  EXPECT_STREQ(text.c_str(), "adef");
  EXPECT_EQ(text.erase(start + 1, start + 1), start + 1);
  EXPECT_STREQ(text.c_str(), "adef");
  EXPECT_EQ(text.erase(start + 4, start + 4), start + 4);
  EXPECT_STREQ(text.c_str(), "adef");
  EXPECT_EQ(text.erase(start + 2, start + 1), start + 2);  // Reversed: cut at the first.
  EXPECT_STREQ(text.c_str(), "ad");
}

TEST(ZTKString, EraseBetweenPointersRefusesWhatIsNotThere) {
  ZTKString none;
  char other[] = "other";
  EXPECT_EQ(none.erase(other, other + 1), nullptr);
  ZTKString text("abc");
  char* start = &text[0];
  EXPECT_EQ(text.erase(nullptr, start), nullptr);
  EXPECT_EQ(text.erase(start, nullptr), nullptr);
  EXPECT_EQ(text.erase(other, other + 2), other);
  EXPECT_STREQ(text.c_str(), "abc");
  EXPECT_STREQ(other, "other");
  text.Empty();
  EXPECT_EQ(text.erase(start, start + 1), nullptr);
}

// Elements.

TEST(ZTKString, ElementsOutOfRangeReadAsNul) {
  const ZTKString text("abc");
  EXPECT_EQ(text[0], 'a');
  EXPECT_EQ(text[2], 'c');
  for (unsigned long i : {3ul, 4ul, 99ul, kHuge}) EXPECT_EQ(text[i], '\0');
  EXPECT_EQ(text.Last(), 'c');
  EXPECT_EQ(ZTKString()[kHuge], '\0');
}

TEST(ZTKString, ReferencesChangeTheString) {
  ZTKString text("abc");
  text[1] = 'B';
  text.Last() = 'C';
  EXPECT_STREQ(text.c_str(), "aBC");
}

TEST(ZTKString, ReferencesOutOfRangeShareOneCharacter) {
  ZTKString text("abc");
  ZTKString none;
  char& shared = text[99];
  shared = '/';
  EXPECT_STREQ(text.c_str(), "abc");
  EXPECT_EQ(&none[0], &shared);
  EXPECT_EQ(&none.Last(), &shared);
  EXPECT_EQ(&text[3], &shared);
  EXPECT_EQ(none.Last(), '/');
  const ZTKString& fixed = none;
  EXPECT_EQ(fixed.Last(), '\0');
  EXPECT_EQ(fixed[0], '\0');
  shared = '\0';
}

// Beside the class.

TEST(ZTKString, CopiesIntoABuffer) {
  char target[8];
  struct {
    const char* source;
    unsigned long size;
    const char* expected;
  } rows[] = {{"abcdef", 4, "abc"}, {"ab", 4, "ab"}, {"abc", 4, "abc"},
              {"abcd", 4, "abc"},   {"x", 1, ""},    {"", 4, ""}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.source);
    std::memset(target, '#', sizeof target);
    EXPECT_EQ(_lstrcpyn(target, row.source, row.size), target);
    EXPECT_STREQ(target, row.expected);
    EXPECT_EQ(target[4], '#');
  }
}

TEST(ZTKString, CopyIntoABufferRefusesNothing) {
  char target[2] = {'#', '#'};
  EXPECT_EQ(_lstrcpyn(nullptr, "a", 2), nullptr);
  EXPECT_EQ(_lstrcpyn(target, nullptr, 2), nullptr);
  EXPECT_EQ(_lstrcpyn(target, "a", 0), nullptr);
  EXPECT_EQ(target[0], '#');
}

TEST(ZTKString, CopyIntoABufferNeedsNoEndOfTheSource) {
  Pages pages(2);
  ASSERT_TRUE(pages.Exist());
  ASSERT_TRUE(pages.Protect(1, Pages::kNone));
  char* edge = pages.Page(1);
  std::memset(edge - 4, 'x', 4);
  char target[8];
  EXPECT_STREQ(_lstrcpyn(target, edge - 4, 4), "xxx");
  ZTKString text;
  text.ConcatSelf(4, edge - 4, 4);
  EXPECT_STREQ(text.c_str(), "xxxx");
}

TEST(ZTKString, StandsBesideTheStandardLibrary) {
  const ZTKString text("text");
  EXPECT_EQ(text.view(), "text");
  EXPECT_EQ(ZTKString().view(), "");
  std::ostringstream stream;
  stream << text << ZTKString();
  EXPECT_EQ(stream.str(), "text");
  std::unordered_set<ZTKString> set;
  set.insert(text);
  set.insert(ZTKString("text"));
  EXPECT_EQ(set.size(), 1u);
  EXPECT_EQ(std::hash<ZTKString>()(text), std::hash<std::string_view>()("text"));
}

TEST(ZTKString, NulInsideEndsTheTextForEveryOperation) {
  const char bytes[] = "ab\0cd";
  const ZTKString text(bytes, bytes + 5);
  EXPECT_EQ(text.Len(), 2u);
  EXPECT_EQ(text.view(), "ab");
  EXPECT_EQ(text.Find('c', 0), -1);
  EXPECT_EQ(text.Find('c', 1), -1);
  EXPECT_EQ(text.Find("c"), -1);
  EXPECT_EQ(text.FindFirstOf("cd"), -1);
  EXPECT_EQ(text.FindLastOf("cd"), -1);
  EXPECT_EQ(text.Cmp("ab"), 0);
  EXPECT_EQ(text.CmpNoCase("AB"), 0);
  EXPECT_TRUE(text == ZTKString("ab"));
  EXPECT_EQ(Std(text.Upper()), "AB");
  EXPECT_EQ(Std(text.Mid(1)), "b");
  EXPECT_EQ(Std(text.Right(4)), "ab");
  EXPECT_EQ(text[3], '\0');
  EXPECT_EQ(text.Last(), 'b');
  ZTKString copy(text);
  EXPECT_EQ(copy.Replace("c", "x", 1), 0u);
  copy.append(text);
  EXPECT_STREQ(copy.c_str(), "abab");
  ZTKString shrunk(bytes, bytes + 5);
  EXPECT_TRUE(shrunk.Shrink());
  EXPECT_EQ(shrunk.AllocatedSize(), 2u);
}

TEST(ZTKString, TakesALineApartAsTheGuideShows) {
  ZTKString line("  Title = An example  ");
  line.TrimA();
  EXPECT_STREQ(line.c_str(), "Title = An example");
  ZTKString key = line.BeforeFirst('=');
  key.Trim(1);
  EXPECT_STREQ(key.c_str(), "Title");
  ZTKString value = line.AfterFirst('=');
  value.Trim(0);
  EXPECT_STREQ(value.c_str(), "An example");
  ZTKString report = ZTKString::Format("%s has %lu characters", key.c_str(), value.Len());
  report << ", " << 100 << " %";
  EXPECT_STREQ(report.c_str(), "Title has 10 characters, 100 %");
}
