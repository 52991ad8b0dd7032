#include "ztk/foundation/string.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <functional>
#include <limits>
#include <sstream>
#include <string>
#include <unordered_set>

namespace {

constexpr unsigned long kHuge = std::numeric_limits<unsigned long>::max();

std::string Std(const ZTKString& text) { return text.c_str(); }

/// For a format that the compiler cannot see; through a pointer it does not look for one.
int PrintfUnchecked(ZTKString& text, const char* pszFormat, ...) {
  int (ZTKString::*const printfV)(const char*, va_list) noexcept = &ZTKString::PrintfV;
  va_list args;
  va_start(args, pszFormat);
  const int length = (text.*printfV)(pszFormat, args);
  va_end(args);
  return length;
}

}  // namespace

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

// Blocks.

TEST(ZTKString, BlocksFollowOneRule) {
  struct {
    unsigned long request, size;
  } rows[] = {{0, 20},  {1, 20},      {15, 20},     {16, 36},     {31, 36},
              {32, 52}, {1023, 1028}, {1024, 1044}, {4095, 4100}, {65536, 65556}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.request);
    ZTKString fresh;
    EXPECT_TRUE(fresh.AllocBuffer(row.request));
    EXPECT_EQ(fresh.AllocatedSize(), row.size);
    EXPECT_EQ(fresh.Len(), 0u);

    ZTKString none;
    EXPECT_TRUE(none.Alloc(row.request));
    EXPECT_EQ(none.AllocatedSize(), row.size);

    if (row.request == 0) continue;
    EXPECT_EQ(ZTKString('x', row.request).AllocatedSize(), row.size);
    const std::string model(row.request, 'x');
    EXPECT_EQ(ZTKString(model.c_str()).AllocatedSize(), row.size);
    EXPECT_EQ(ZTKString(ZTKString(model.c_str())).AllocatedSize(), row.size);
  }
}

TEST(ZTKString, AppendsGrowByTheRuleAndNeverDouble) {
  ZTKString text;
  text.append('x', 1);
  EXPECT_EQ(text.AllocatedSize(), 20u);
  // A block of 20 holds 19 characters and the NUL.
  for (unsigned long length = 2; length <= 19; ++length) text.append('x', 1);
  EXPECT_EQ(text.AllocatedSize(), 20u);
  text.append('x', 1);
  EXPECT_EQ(text.AllocatedSize(), 36u);
  EXPECT_EQ(text.DataLength(), 20u);

  ZTKString atOnce;
  atOnce.append("0123456789abcdef");
  EXPECT_EQ(atOnce.AllocatedSize(), 36u);
}

TEST(ZTKString, EveryAppendLeavesTheSizeOfTheRule) {
  ZTKString text;
  unsigned long size = 0;
  for (unsigned long length = 1; length <= 2000; ++length) {
    text.append("y");
    if (size <= length) size = (length & ~15ul) + 20;
    ASSERT_EQ(text.AllocatedSize(), size) << length;
    ASSERT_EQ(text.Len(), length);
    ASSERT_EQ(text.DataLength(), length);
  }
}

TEST(ZTKString, GrowsByPiecesOfEverySize) {
  for (size_t step = 1; step <= 70; ++step) {
    SCOPED_TRACE(step);
    ZTKString text;
    std::string model;
    unsigned long size = 0;
    while (model.size() < 1500) {
      const std::string piece(step, static_cast<char>('a' + model.size() % 26));
      text.append(piece.c_str());
      model += piece;
      const auto length = static_cast<unsigned long>(model.size());
      if (size <= length) size = (length & ~15ul) + 20;
      ASSERT_EQ(Std(text), model);
      ASSERT_EQ(text.AllocatedSize(), size);
      ASSERT_EQ(text.DataLength(), length);
    }
  }
}

TEST(ZTKString, AppendsBehindTheFirstNulWhateverLengthIsRecorded) {
  for (unsigned long recorded : {1ul, 20ul, 63ul, 64ul, 65ul, 200ul}) {
    for (unsigned long cut = 0; cut <= recorded; ++cut) {
      SCOPED_TRACE(testing::Message() << cut << " of " << recorded);
      ZTKString text;
      for (unsigned long i = 0; i < recorded; ++i) text.append("x");
      const unsigned long size = text.AllocatedSize();
      text.Truncate(cut);
      EXPECT_EQ(text.DataLength(), recorded);
      text << "y" << 'z';
      EXPECT_EQ(Std(text), std::string(cut, 'x') + "yz");
      EXPECT_EQ(text.AllocatedSize(), size > cut + 2 ? size : ((cut + 2) & ~15ul) + 20);
      EXPECT_EQ(text.DataLength(), cut + 2);
    }
  }
  // Longer than recorded: characters that a caller put there.
  ZTKString text;
  ASSERT_TRUE(text.Alloc(300));
  char* const first = &(text = "x")[0];
  std::memset(first, 'x', 250);
  first[250] = '\0';
  EXPECT_EQ(text.DataLength(), 1u);
  text.append("y");
  EXPECT_EQ(Std(text), std::string(250, 'x') + "y");
}

TEST(ZTKString, OwnTextIsAppendedAtEveryLength) {
  for (unsigned long length = 1; length <= 300; ++length) {
    for (unsigned long offset : {0ul, 1ul, length / 2, length - 1}) {
      ZTKString text;
      std::string model;
      for (unsigned long i = 0; i < length; ++i) {
        const char piece[] = {static_cast<char>('a' + i % 26), '\0'};
        text.append(piece);
        model += piece;
      }
      text.append(text.c_str() + std::min(offset, length));
      ASSERT_EQ(Std(text), model + model.substr(std::min<size_t>(offset, length)))
          << length << " from " << offset;
    }
  }
}

TEST(ZTKString, AllocKeepsTheTextAndASufficientBlock) {
  ZTKString text("abcdef");
  EXPECT_TRUE(text.Alloc(19));
  EXPECT_EQ(text.AllocatedSize(), 20u);
  text.Truncate(2);
  EXPECT_EQ(text.DataLength(), 6u);
  EXPECT_TRUE(text.Alloc(20));
  EXPECT_EQ(text.AllocatedSize(), 36u);
  EXPECT_EQ(text.DataLength(), 2u);
  EXPECT_STREQ(text.c_str(), "ab");
}

TEST(ZTKString, AllocBufferDiscardsTheText) {
  ZTKString text("abcdef");
  EXPECT_TRUE(text.AllocBuffer(40));
  EXPECT_STREQ(text.c_str(), "");
  EXPECT_EQ(text.AllocatedSize(), 52u);
  EXPECT_EQ(text.DataLength(), 0u);
}

TEST(ZTKString, ShrinkRecordsTheLengthAsTheSize) {
  ZTKString text("abcdef");
  EXPECT_TRUE(text.Shrink());
  EXPECT_EQ(text.AllocatedSize(), 6u);
  EXPECT_EQ(text.DataLength(), 6u);
  EXPECT_STREQ(text.c_str(), "abcdef");
}

TEST(ZTKString, ShrinkOfAnEmptyStringKeepsTheBlock) {
  ZTKString text("abc");
  text.Empty();
  EXPECT_TRUE(text.Shrink());
  EXPECT_EQ(text.AllocatedSize(), 20u);
}

TEST(ZTKString, SecondShrinkTrustsTheRecordedLength) {
  ZTKString text("abcdef");
  EXPECT_TRUE(text.Shrink());
  text.Truncate(2);
  EXPECT_TRUE(text.Shrink());
  EXPECT_EQ(text.AllocatedSize(), 6u);
  EXPECT_EQ(text.Len(), 2u);
}

TEST(ZTKString, AppendsAfterShrinkGrowInTime) {
  for (unsigned long added : {0ul, 1ul, 15ul, 16ul}) {
    for (unsigned long length : {1ul, 15ul, 16ul, 19ul, 20ul, 36ul}) {
      SCOPED_TRACE(testing::Message() << length << " + " << added);
      ZTKString text('a', length);
      ASSERT_TRUE(text.Shrink());
      text.append('b', added);
      EXPECT_EQ(Std(text), std::string(length, 'a') + std::string(added, 'b'));
      if (added != 0) {
        EXPECT_EQ(text.AllocatedSize(), ((length + added) & ~15ul) + 20);
      }
      text.Clear();
      EXPECT_EQ(text.AllocatedSize(), 0u);
    }
  }
}

TEST(ZTKString, EmptyKeepsTheBlockAndClearFreesIt) {
  ZTKString text("abc");
  text.Empty();
  EXPECT_STREQ(text.c_str(), "");
  EXPECT_EQ(text.AllocatedSize(), 20u);
  EXPECT_EQ(text.DataLength(), 0u);
  text.Clear();
  EXPECT_EQ(text.AllocatedSize(), 0u);
}

TEST(ZTKString, OperationsThatChangeCharactersLeaveTheRecordedLength) {
  ZTKString text("  aBc  ");
  text.MakeLower().MakeUpper().TrimA().Truncate(2).erase(0, 1);
  EXPECT_STREQ(text.c_str(), "B");
  EXPECT_EQ(text.DataLength(), 7u);
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

// Appending.

TEST(ZTKString, PlusAppendsToItsLeftSide) {
  ZTKString text("abc");
  text + "d";
  EXPECT_STREQ(text.c_str(), "abcd");
  EXPECT_EQ(&(text + 'e'), &text);
  EXPECT_EQ(&(text + ZTKString("f")), &text);
  EXPECT_STREQ(text.c_str(), "abcdef");
}

TEST(ZTKString, EveryAppendChangesAndReturnsTheString) {
  ZTKString text;
  const ZTKString other("o");
  EXPECT_EQ(&text.append("a"), &text);
  EXPECT_EQ(&text.append(other), &text);
  EXPECT_EQ(&text.append('c', 2), &text);
  EXPECT_EQ(&(text << "d"), &text);
  EXPECT_EQ(&(text << other), &text);
  EXPECT_EQ(&(text << 'e'), &text);
  EXPECT_EQ(&(text += "f"), &text);
  EXPECT_EQ(&(text += other), &text);
  EXPECT_EQ(&(text += 'g'), &text);
  EXPECT_STREQ(text.c_str(), "aoccdoefog");
}

TEST(ZTKString, AppendingNothingAllocatesNothing) {
  ZTKString text;
  text.append(static_cast<const char*>(nullptr));
  text.append("").append(ZTKString()).append('x', 0);
  EXPECT_TRUE(text.ConcatSelf(5, nullptr, 5));
  EXPECT_TRUE(text.ConcatSelf(5, "", 5));
  EXPECT_EQ(text.AllocatedSize(), 0u);

  ZTKString shrunk("abc");
  ASSERT_TRUE(shrunk.Shrink());
  shrunk.append("").append('x', 0);
  EXPECT_EQ(shrunk.AllocatedSize(), 3u);
}

TEST(ZTKString, ConcatSelfTakesTheSmallestOfThreeCounts) {
  struct {
    unsigned long length, maximum;
    const char* expected;
  } rows[] = {{3, 3, ">abc"},    {2, 9, ">ab"},    {9, 2, ">ab"},
              {0, 9, ">"},       {9, 0, ">"},      {kHuge, kHuge, ">abcdef"},
              {6, 6, ">abcdef"}, {7, 7, ">abcdef"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.length << ", " << row.maximum);
    ZTKString text(">");
    EXPECT_TRUE(text.ConcatSelf(row.length, "abcdef", row.maximum));
    EXPECT_STREQ(text.c_str(), row.expected);
  }
}

TEST(ZTKString, ConcatSelfReadsNoFurtherThanAsked) {
  char three[3] = {'a', 'b', 'c'};  // No NUL behind them.
  ZTKString text;
  EXPECT_TRUE(text.ConcatSelf(3, three, 9));
  EXPECT_STREQ(text.c_str(), "abc");
}

TEST(ZTKString, AppendedNulsEndTheText) {
  ZTKString text("ab");
  text.append('\0', 3);
  EXPECT_EQ(text.Len(), 2u);
  EXPECT_EQ(text.DataLength(), 5u);
  text.append("c");
  EXPECT_STREQ(text.c_str(), "abc");
}

// Text of the string itself as an argument.

TEST(ZTKString, OwnTextIsAValidArgument) {
  struct {
    const char* name;
    void (*change)(ZTKString&);
    std::string (*expected)(const std::string&);
  } rows[] = {
      {"append itself", [](ZTKString& s) { s.append(s); },
       [](const std::string& m) { return m + m; }},
      {"+= itself", [](ZTKString& s) { s += s; }, [](const std::string& m) { return m + m; }},
      {"+= a tail", [](ZTKString& s) { s += s.c_str() + 2; },
       [](const std::string& m) { return m + m.substr(2); }},
      {"<< the last character", [](ZTKString& s) { s << s.c_str() + s.Len() - 1; },
       [](const std::string& m) { return m + m.back(); }},
      {"append the end", [](ZTKString& s) { s.append(s.c_str() + s.Len()); },
       [](const std::string& m) { return m; }},
      {"ConcatSelf", [](ZTKString& s) { s.ConcatSelf(5, s.c_str() + 1, 9); },
       [](const std::string& m) { return m + m.substr(1, 5); }},
      {"assign a tail", [](ZTKString& s) { s = s.c_str() + 1; },
       [](const std::string& m) { return m.substr(1); }},
      {"assign the whole", [](ZTKString& s) { s = s.c_str(); },
       [](const std::string& m) { return m; }},
      {"assign the end", [](ZTKString& s) { s = s.c_str() + s.Len(); },
       [](const std::string&) { return std::string(); }},
      {"InitWith", [](ZTKString& s) { s.InitWith(s.c_str(), 3, 4); },
       [](const std::string& m) { return m.substr(3, 4); }},
      {"Printf", [](ZTKString& s) { s.Printf("%s-%s", s.c_str(), s.c_str() + 1); },
       [](const std::string& m) { return m + "-" + m.substr(1); }},
      {"Printf, own format",
       [](ZTKString& s) {
         s.append("%%");
         PrintfUnchecked(s, s.c_str(), 0);
       },
       [](const std::string& m) { return m + "%"; }},
      {"Replace itself", [](ZTKString& s) { s.Replace(s.c_str(), "new", 1); },
       [](const std::string&) { return std::string("new"); }},
      {"Replace by itself", [](ZTKString& s) { s.Replace("a", s.c_str(), 0); },
       [](const std::string& m) { return m + m.substr(1); }},
      {"Replace by a tail", [](ZTKString& s) { s.Replace("a", s.c_str() + s.Len() - 1, 0); },
       [](const std::string& m) { return m.back() + m.substr(1); }},
      {"Replace a tail by a tail", [](ZTKString& s) { s.Replace(s.c_str() + 2, s.c_str() + 1, 1); },
       [](const std::string& m) { return m.substr(0, 2) + m.substr(1); }},
      {"append an element", [](ZTKString& s) { s.append(s[1], 20); },
       [](const std::string& m) { return m + std::string(20, m[1]); }},
  };
  for (size_t length : {15u, 16u, 19u, 20u, 31u, 32u, 1023u, 1024u}) {
    for (bool shrunk : {false, true}) {
      for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.name << ", " << length << ", " << shrunk);
        std::string model;
        for (size_t i = 0; i < length; ++i) model += static_cast<char>(i == 0 ? 'a' : 'b' + i % 25);
        ZTKString text(model.c_str());
        if (shrunk) {
          ASSERT_TRUE(text.Shrink());
        }
        row.change(text);
        EXPECT_EQ(Std(text), row.expected(model));
      }
    }
  }
}

TEST(ZTKString, OwnTextBehindTheEndIsAValidArgument) {
  ZTKString text("abcdefghijklmnopqr");
  text.Truncate(2);
  text.append(text.c_str() + 3);  // What lies behind the new end, up to the old one.
  EXPECT_STREQ(text.c_str(), "abdefghijklmnopqr");
  text.Truncate(1);
  text = text.c_str() + 2;
  EXPECT_STREQ(text.c_str(), "defghijklmnopqr");
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
  const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  void* pages = mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(pages, MAP_FAILED);
  char* edge = static_cast<char*>(pages) + page;
  ASSERT_EQ(mprotect(edge, page, PROT_NONE), 0);
  std::memset(edge - 4, 'x', 4);
  char target[8];
  EXPECT_STREQ(_lstrcpyn(target, edge - 4, 4), "xxx");
  ZTKString text;
  text.ConcatSelf(4, edge - 4, 4);
  EXPECT_STREQ(text.c_str(), "xxxx");
  munmap(pages, 2 * page);
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
