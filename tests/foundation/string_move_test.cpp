#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/foundation/string_support.h"
#include "tests/support/failing_allocator.h"
#include "ztk/foundation/internal/string_block.h"
#include "ztk/foundation/string.h"
#include "ztk/foundation/string_array.h"

static_assert(std::is_nothrow_move_constructible_v<ZTKString>);
static_assert(std::is_nothrow_move_assignable_v<ZTKString>);
static_assert(std::is_nothrow_swappable_v<ZTKString>);

namespace {

void ExpectNothing(const ZTKString& text) {
  EXPECT_STREQ(text.c_str(), "");
  EXPECT_EQ(text.Len(), 0u);
  EXPECT_EQ(text.AllocatedSize(), 0u);
  EXPECT_EQ(text.DataLength(), 0u);
}

}  // namespace

TEST(ZTKStringMove, AConstructorTakesTheBlockAsItIs) {
  ZTKString text("seven");
  EXPECT_TRUE(text.Alloc(100));
  text.Truncate(3);
  const char* const block = text.c_str();
  ZTKString taken(std::move(text));
  EXPECT_EQ(taken.c_str(), block);
  EXPECT_STREQ(taken.c_str(), "sev");
  EXPECT_EQ(taken.AllocatedSize(), 116u);
  EXPECT_EQ(taken.DataLength(), 5u);
  ExpectNothing(text);
  text += "usable";
  EXPECT_STREQ(text.c_str(), "usable");
}

TEST(ZTKStringMove, AssigningTakesABlockOfTheSizeThatACopyWouldHave) {
  ZTKString text("seven");
  const char* const block = text.c_str();
  ZTKString taken;
  taken = std::move(text);
  EXPECT_EQ(taken.c_str(), block);
  ExpectNothing(text);
}

TEST(ZTKStringMove, AssigningLeavesTheSizesThatACopyWouldHave) {
  const std::string texts[] = {"", "seven", std::string(19, 'a'), std::string(40, 'b')};
  void (*const changes[])(ZTKString&) = {
      [](ZTKString&) {}, [](ZTKString& s) { EXPECT_TRUE(s.Shrink()); },
      [](ZTKString& s) { EXPECT_TRUE(s.Alloc(200)); }, [](ZTKString& s) { s.Truncate(2); },
      [](ZTKString& s) { s += s; }};
  for (const std::string& target : texts) {
    for (const std::string& source : texts) {
      for (const auto& changeTarget : changes) {
        for (const auto& changeSource : changes) {
          ZTKString from(source.c_str());
          changeSource(from);
          ZTKString moved(target.c_str());
          changeTarget(moved);
          ZTKString copied(target.c_str());
          changeTarget(copied);
          copied = from;
          moved = std::move(from);
          ASSERT_EQ(Std(moved), Std(copied));
          ASSERT_EQ(moved.AllocatedSize(), copied.AllocatedSize());
          ASSERT_EQ(moved.DataLength(), copied.DataLength());
          ExpectNothing(from);
        }
      }
    }
  }
}

TEST(ZTKStringMove, AStringMovedToItselfKeepsItsText) {
  ZTKString text("seven");
  ZTKString& same = text;
  text = std::move(same);
  EXPECT_STREQ(text.c_str(), "seven");
  text.swap(same);
  EXPECT_STREQ(text.c_str(), "seven");
}

TEST(ZTKStringMove, SwapExchangesBlocksAndSizes) {
  ZTKString a("seven");
  ZTKString b("a text of more than sixteen characters");
  const char* const blocks[] = {a.c_str(), b.c_str()};
  a.swap(b);
  EXPECT_EQ(a.c_str(), blocks[1]);
  EXPECT_EQ(b.c_str(), blocks[0]);
  swap(a, b);
  EXPECT_EQ(a.c_str(), blocks[0]);
  EXPECT_EQ(a.AllocatedSize(), 20u);
  EXPECT_EQ(b.AllocatedSize(), 52u);
}

TEST(ZTKStringMove, WhatLiesInAnArrayIsCopiedOutOfIt) {
  ZTKString taken, swapped("from outside");
  {
    ZTKStringArray array;
    array.Add("first", 1);
    array.Add("second", 1);
    ASSERT_TRUE(ZTKStringBlocks::IsBorrowed(array.Item(0)));
    taken = std::move(array.Item(0));
    ExpectNothing(array.Item(0));
    array.Item(1).swap(swapped);
    EXPECT_STREQ(array.Item(1).c_str(), "from outside");
    ZTKString constructed(std::move(array.Item(1)));
    EXPECT_STREQ(constructed.c_str(), "from outside");
  }
  EXPECT_STREQ(taken.c_str(), "first");
  EXPECT_STREQ(swapped.c_str(), "second");
}

TEST(ZTKStringMove, WithoutMemoryWhatLiesInAnArrayStaysThere) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the allocator is a sanitizer's";
  ZTKStringArray array;
  array.Add("first", 1);
  array.Add("second", 1);
  ZTKString other("other");
  for (long before : {0, 1}) {
    failing_allocator::Scope one(before, 1);
    array.Item(0).swap(array.Item(1));
    EXPECT_TRUE(one.Failed());
  }
  EXPECT_STREQ(array.Item(0).c_str(), "first");
  EXPECT_STREQ(array.Item(1).c_str(), "second");
  array.Add("third", 1);
  failing_allocator::Scope none(0);
  array.Item(2).swap(other);
  EXPECT_STREQ(other.c_str(), "other");
  const ZTKString constructed(std::move(array.Item(2)));
  EXPECT_STREQ(constructed.c_str(), "");
  EXPECT_STREQ(array.Item(2).c_str(), "third");
  ZTKString assigned;
  assigned = std::move(array.Item(2));
  EXPECT_STREQ(assigned.c_str(), "");
  EXPECT_STREQ(array.Item(2).c_str(), "third");
}

TEST(ZTKStringMove, SortingMovesTexts) {
  std::vector<ZTKString> texts;
  std::vector<std::string> model;
  unsigned random = 1;
  for (int i = 0; i < 1000; ++i) {
    random = random * 1664525 + 1013904223;
    model.emplace_back(random >> 26, static_cast<char>('a' + (random >> 16) % 26));
    texts.emplace_back(model.back().c_str());
  }
  std::sort(texts.begin(), texts.end(),
            [](const ZTKString& a, const ZTKString& b) { return a.Cmp(b) < 0; });
  std::sort(model.begin(), model.end());
  for (size_t i = 0; i < model.size(); ++i) ASSERT_EQ(Std(texts[i]), model[i]);
}

// What compiled before the string could be moved.

namespace {

struct ConvertsToAString {
  operator ZTKString() const { return "converted"; }  // NOLINT: implicit on purpose.
};
struct ConvertsToAReference {
  operator const ZTKString&() const { return text; }  // NOLINT: implicit on purpose.
  ZTKString text = "referred to";
};
ZTKString Choose(bool first) {
  const ZTKString a("a");
  ZTKString b("b");
  if (first) return a;
  return b;
}
ZTKString PassOn(ZTKString text) { return text; }
int Overloaded(const ZTKString&) { return 1; }
int Overloaded(const char*) { return 2; }

}  // namespace

TEST(ZTKStringMove, EveryWayToPassAStringMeansWhatItDid) {
  ZTKString text;
  text = ConvertsToAString();
  EXPECT_STREQ(text.c_str(), "converted");
  const ConvertsToAReference refers;
  text = refers;
  EXPECT_STREQ(text.c_str(), "referred to");
  EXPECT_STREQ(refers.text.c_str(), "referred to");
  ZTKString other("other");
  text = std::ref(other);
  text = std::cref(other);
  const ZTKString constructed(std::ref(other));
  EXPECT_STREQ(other.c_str(), "other");
  EXPECT_STREQ(constructed.c_str(), "other");
  EXPECT_STREQ(Choose(true).c_str(), "a");
  EXPECT_STREQ(PassOn(Choose(false)).c_str(), "b");
  EXPECT_STREQ(PassOn(other + "s").c_str(), "others");
  EXPECT_STREQ(other.c_str(), "others");
  text = other + "!";
  EXPECT_STREQ(other.c_str(), "others!");
  EXPECT_EQ(Overloaded(Choose(true)), 1);
  EXPECT_EQ(Overloaded("b"), 2);
  EXPECT_EQ(Overloaded({}), 2);
  text = true ? other : text;
  EXPECT_STREQ(other.c_str(), "others!");
  const ZTKString fixed("fixed");
  text = std::move(fixed);  // NOLINT: a constant is copied.
  EXPECT_STREQ(fixed.c_str(), "fixed");
}
