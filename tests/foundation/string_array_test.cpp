#include "ztk/foundation/string_array.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <iterator>
#include <random>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/failing_allocator.h"
#include "tests/support/pages.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> Texts(const ZTKStringArray& array) {
  std::vector<std::string> texts;
  for (const ZTKString& text : array) texts.emplace_back(text.view());
  return texts;
}

ZTKStringArray Array(std::initializer_list<const char*> texts) {
  ZTKStringArray array;
  for (const char* text : texts) array.Add(text, 1);
  return array;
}

// A text of its own for every index, of every length up to 60 and now and then a long one.
std::string Text(size_t i) {
  std::string text = std::to_string(i) + std::string(i % 60, 'x');
  if (i % 97 == 0) text += std::string(20000, 'y');
  return text;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"  // As the class it derives from.
class CountingStrings : public ZTKStringArray {
 public:
  ~CountingStrings() { RemoveAt(0, GetCount()); }
  void DataDelete(void* p) override {
    if (p != nullptr) deleted.emplace_back(static_cast<ZTKString*>(p)->view());
    ZTKStringArray::DataDelete(p);
  }
  std::vector<std::string> deleted;
};
#pragma GCC diagnostic pop

static_assert(!std::has_virtual_destructor_v<ZTKStringArray>);
static_assert(std::is_polymorphic_v<ZTKStringArray>);

}  // namespace

TEST(ZTKStringArray, IsEmptyAtFirst) {
  const ZTKStringArray array;
  EXPECT_EQ(array.GetCount(), 0u);
  EXPECT_THAT(Texts(array), IsEmpty());
}

TEST(ZTKStringArray, AddsIndependentCopies) {
  ZTKString text("abc");
  ZTKStringArray array;
  array.Add(text, 3);
  text += "d";
  array.Item(1) += "!";
  EXPECT_THAT(Texts(array), ElementsAre("abc", "abc!", "abc"));
  array.Add(text, 0);
  EXPECT_EQ(array.GetCount(), 3u);
}

TEST(ZTKStringArray, AddsAnElementOfItsOwn) {
  ZTKStringArray array = Array({"first", ""});
  array.Add(array.Item(0), 100);
  array.Insert(array.Item(1), 0);
  EXPECT_EQ(array.GetCount(), 103u);
  EXPECT_EQ(array.Item(0), "");
  EXPECT_EQ(array.Item(102), "first");
}

TEST(ZTKStringArray, IgnoresImpossibleCounts) {
  ZTKStringArray array = Array({"a"});
  array.Add("b", ZTKPtrArr::kMaxCount + 1);
  array.Add("b", ULONG_MAX);
  EXPECT_THAT(Texts(array), ElementsAre("a"));
}

TEST(ZTKStringArray, InsertsInFrontAndAppendsPastTheEnd) {
  ZTKStringArray array;
  array.Insert("b", 7);
  array.Insert("a", 0);
  array.Insert("d", 2);
  array.Insert("c", 2);
  array.Insert("e", ULONG_MAX);
  EXPECT_THAT(Texts(array), ElementsAre("a", "b", "c", "d", "e"));
}

TEST(ZTKStringArray, RemovesRanges) {
  struct {
    unsigned long index, count;
    std::vector<std::string> left;
  } const rows[] = {{0, 1, {"b", "c"}},
                    {1, 2, {"a"}},
                    {0, 3, {}},
                    {2, 1, {"a", "b"}},
                    {0, 0, {"a", "b", "c"}},
                    {3, 1, {"a", "b", "c"}},
                    {ULONG_MAX, 1, {"a", "b", "c"}},
                    // Past the end: the strings go, their slots stay.
                    {1, 5, {"a", "", ""}},
                    {2, 2, {"a", "b", ""}},
                    {0, ULONG_MAX, {"", "", ""}},
                    {1, ULONG_MAX, {"a", "", ""}}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.index << ", " << row.count);
    ZTKStringArray array = Array({"a", "b", "c"});
    array.RemoveAt(row.index, row.count);
    EXPECT_EQ(Texts(array), row.left);
  }
}

TEST(ZTKStringArray, ASlotWithoutItsStringGetsANewOne) {
  ZTKStringArray array = Array({"a", "b", "c"});
  array.RemoveAt(1, 9);
  array.Item(2) = "new";
  EXPECT_THAT(Texts(array), ElementsAre("a", "", "new"));
  EXPECT_EQ(array.Index("", 0), 1);
  const ZTKStringArray copy(array);
  EXPECT_THAT(Texts(copy), ElementsAre("a", "", "new"));
  array.RemoveAt(0, 3);
  EXPECT_EQ(array.GetCount(), 0u);
}

TEST(ZTKStringArray, FindsByValueAndCase) {
  ZTKStringArray array = Array({"a", "b", "A", "b", ""});
  EXPECT_EQ(array.Index("b", 0), 1);
  EXPECT_EQ(array.Index("b", 1), 3);
  EXPECT_EQ(array.Index("A", 0), 2);
  EXPECT_EQ(array.Index("B", 0), -1);
  EXPECT_EQ(array.Index("B", 1), -1);
  EXPECT_EQ(array.Index("", 0), 4);
  EXPECT_EQ(ZTKStringArray().Index("", 0), -1);
}

TEST(ZTKStringArray, RemovesTheFirstEqualString) {
  ZTKStringArray array = Array({"a", "b", "a"});
  array.Remove("a");
  EXPECT_THAT(Texts(array), ElementsAre("b", "a"));
  array.Remove("A");
  array.Remove(array.Item(1));
  EXPECT_THAT(Texts(array), ElementsAre("b"));
}

TEST(ZTKStringArray, ItemPastTheEndIsAnEmptyStringWhateverIsStoredThere) {
  ZTKStringArray array = Array({"a"});
  EXPECT_EQ(&std::as_const(array).Item(1), &std::as_const(array).Item(ULONG_MAX));
  array.Item(1) = "lost";
  EXPECT_EQ(array.Item(1), "");
  EXPECT_EQ(std::as_const(array).Item(1), "");
  EXPECT_THAT(Texts(array), ElementsAre("a"));
}

TEST(ZTKStringArray, CopiesAreIndependent) {
  ZTKStringArray array = Array({"a", "b"});
  ZTKStringArray copy(array);
  copy.Item(0) = "changed";
  EXPECT_THAT(Texts(array), ElementsAre("a", "b"));
  EXPECT_EQ(&(array = copy), &array);
  EXPECT_THAT(Texts(array), ElementsAre("changed", "b"));
  const ZTKStringArray& same = array;
  array = same;
  EXPECT_THAT(Texts(array), ElementsAre("changed", "b"));
  array = ZTKStringArray();
  EXPECT_EQ(array.GetCount(), 0u);
}

TEST(ZTKStringArray, DoCopyArrAppends) {
  ZTKStringArray array = Array({"a"});
  array.DoCopyArr(Array({"b", "c"}));
  array.DoCopyArr(array);
  EXPECT_THAT(Texts(array), ElementsAre("a", "b", "c", "a", "b", "c"));
}

TEST(ZTKStringArray, DataCreateAndDataDeleteMakeAndEndAString) {
  ZTKStringArray array;
  for (const char* text : {"", "short", "a text that is somewhat longer than the shortest block"}) {
    void* const p = array.DataCreate(text);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(*static_cast<ZTKString*>(p), text);
    array.DataDelete(p);
  }
  array.DataDelete(new ZTKString("of the caller's"));
  array.DataDelete(nullptr);
  EXPECT_EQ(array.GetCount(), 0u);
}

TEST(ZTKStringArray, ASubclassSeesEveryStringEnd) {
  CountingStrings array;
  for (const char* text : {"a", "b", "c", "d", "e"}) array.Add(text, 1);
  array.RemoveAt(1, 2);
  array.Remove("a");
  EXPECT_THAT(array.deleted, ElementsAre("b", "c", "a"));
  array.RemoveAt(1, 9);
  EXPECT_THAT(array.deleted, ElementsAre("b", "c", "a", "e"));
}

TEST(ZTKStringArray, ElementsReportTheBlockOfACopy) {
  for (size_t length : {0u, 1u, 15u, 16u, 31u, 32u, 60u, 200u, 5000u, 100000u}) {
    SCOPED_TRACE(length);
    const ZTKString text(std::string(length, 'x').c_str());
    ZTKStringArray array;
    array.Add(text, 1);
    const ZTKString copy(text);
    EXPECT_EQ(array.Item(0).AllocatedSize(), copy.AllocatedSize());
    EXPECT_EQ(array.Item(0).DataLength(), copy.DataLength());
  }
}

TEST(ZTKStringArray, TheWholeBlockThatAnElementReportsIsItsOwn) {
  ZTKStringArray array;
  for (size_t length = 1; length <= 200; ++length) {
    array.Add(ZTKString(std::string(length, 'x').c_str()), 1);
  }
  for (unsigned long i = 0; i < array.GetCount(); ++i) {
    ZTKString& element = array.Item(i);
    const unsigned long size = element.AllocatedSize();
    ASSERT_GT(size, i + 1);
    char* const block = &element[0];
    std::memset(block, 'y', size - 1);
    block[size - 1] = '\0';
  }
  for (unsigned long i = 0; i < array.GetCount(); ++i) {
    ASSERT_EQ(array.Item(i), std::string(array.Item(i).AllocatedSize() - 1, 'y').c_str());
  }
}

TEST(ZTKStringArray, RandomReplacementReusesThePlacesOfRemovedStrings) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  std::mt19937 random(1);
  ZTKStringArray array;
  const auto text = [&] { return ZTKString('t', random() % 128); };
  const auto replace = [&](int times) {
    std::vector<ZTKString> texts;
    for (int i = 0; i < times; ++i) texts.push_back(text());
    const failing_allocator::Scope count(LONG_MAX);
    for (const ZTKString& put : texts) {
      const unsigned long index = random() % array.GetCount();
      array.RemoveAt(index, 1);
      array.Insert(put, random() % (array.GetCount() + 1));
    }
    return count.Asked();
  };
  for (int i = 0; i < 2000; ++i) array.Add(text(), 1);
  replace(20000);  // Until there are as many places of each size as are ever needed.
  // 60,000 short texts are some 90 pages of 64 KiB.
  EXPECT_LT(replace(60000), 20);
}

TEST(ZTKStringArray, PagesGoWhenTheLastOfTheirStringsGoes) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  const ZTKString text("twenty characters ok");
  ZTKStringArray array;
  array.Add(text, 100000);
  const auto before = HeapBytes();
  array.RemoveAt(50, 99900);  // Those that stay are in the first page or two and in the last.
  const auto after = HeapBytes();
  EXPECT_LT(after, before - 5000000u);
  EXPECT_EQ(array.Item(99), text);
  array.Add(text, 1000);
  EXPECT_EQ(array.Item(1099), text);
}

TEST(ZTKStringArray, AStringThatFindsNoPlaceGivesBackItsMemory) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  for (unsigned long length : {5ul, 100ul, 1000ul}) {
    for (bool isInsert : {false, true}) {
      SCOPED_TRACE(testing::Message() << length << (isInsert ? ", Insert" : ", Add"));
      const ZTKString text('t', length);
      ZTKStringArray array;
      array.Add(text, 16);  // All slots are taken: the next one needs a larger block of them.
      for (long before = 0;; ++before) {
        failing_allocator::Scope scope(before, 1);
        isInsert ? array.Insert(text, 3) : array.Add(text, 1);
        if (!scope.Failed()) break;
        ASSERT_EQ(array.GetCount(), 16u) << "allocation " << before;
        ASSERT_LT(before, 10);
      }
      EXPECT_EQ(array.GetCount(), 17u);
      for (const ZTKString& element : array) EXPECT_EQ(element, text);
    }
  }
}

TEST(ZTKStringArray, ElementsChangeInPlaceAsAnyString) {
  using Operation = void (*)(ZTKString&);
  const Operation operations[] = {
      [](ZTKString& s) { s += 'x'; },
      [](ZTKString& s) { s += "0123456789"; },
      [](ZTKString& s) { s += s; },
      [](ZTKString& s) { s += s.c_str() + s.Len() / 2; },
      [](ZTKString& s) { s.append('y', 100); },
      [](ZTKString& s) { s.Empty(), s += "ab"; },
      [](ZTKString& s) { s.Empty(), s += "a longer text than before, surely"; },
      [](ZTKString& s) { s.Truncate(1), s += "0123456789abcdef"; },
      [](ZTKString& s) { s.erase(0, 1), s += "xy"; },
      [](ZTKString& s) { s = "other"; },
      [](ZTKString& s) { s = s.c_str() + (s.Len() > 0 ? 1 : 0); },
      [](ZTKString& s) { s = 'c'; },
      [](ZTKString& s) { s.Clear(), s += "again"; },
      [](ZTKString& s) { EXPECT_TRUE(s.Alloc(12)), s += "0123"; },
      [](ZTKString& s) { EXPECT_TRUE(s.Alloc(100)), s += "0123"; },
      [](ZTKString& s) { s.AllocBuffer(30), s += "0123"; },
      [](ZTKString& s) { s.Shrink(), s += "z"; },
      [](ZTKString& s) { s.MakeUpper(); },
      [](ZTKString& s) { s.TrimA(), s += ' '; },
      [](ZTKString& s) { s.Replace("a", "bbb", 1); },
      [](ZTKString& s) { s.Replace(s.c_str(), "q", 1); },
      [](ZTKString& s) { s.Printf("%s-%s", s.c_str(), s.c_str()); },
      [](ZTKString& s) { s << 12345678 << 'x' << 1.5; },
  };
  for (size_t i = 0; i < std::size(operations); ++i) {
    for (size_t length : {0u, 1u, 8u, 15u, 16u, 19u, 20u, 31u, 63u}) {
      SCOPED_TRACE(testing::Message() << "operation " << i << ", length " << length);
      const std::string text = std::string(length, 'a');
      ZTKStringArray array;
      array.Add("left", 1);
      array.Add(ZTKString(text.c_str()), 1);
      array.Add("right", 1);
      ZTKString model(text.c_str());
      // Twice: the first change may move the text, the second finds it moved.
      for (int time = 0; time < 2; ++time) {
        operations[i](array.Item(1));
        operations[i](model);
        EXPECT_EQ(array.Item(1), model);
        EXPECT_EQ(array.Item(1).AllocatedSize(), model.AllocatedSize());
        EXPECT_EQ(array.Item(1).DataLength(), model.DataLength());
      }
      EXPECT_EQ(array.Item(0), "left");
      EXPECT_EQ(array.Item(2), "right");
    }
  }
}

TEST(ZTKStringArray, ReferencesOutliveChangesToOtherElements) {
  ZTKStringArray array;
  array.Add("kept", 1);
  const ZTKString& kept = array.Item(0);
  const char* const text = kept.c_str();
  for (size_t i = 0; i < 3000; ++i) array.Add(ZTKString(Text(i).c_str()), 1);
  array.RemoveAt(1, 2000);
  array.Insert("front", 0);
  EXPECT_EQ(&array.Item(1), &kept);
  EXPECT_EQ(kept.c_str(), text);
  EXPECT_STREQ(text, "kept");
}

TEST(ZTKStringArray, HoldsManyStringsInAnyOrderOfComingAndGoing) {
  // Against a model: grows, is thinned out, drained from both ends, refilled, emptied.
  ZTKStringArray array;
  std::vector<std::string> model;
  const auto add = [&](size_t from, size_t to) {
    for (size_t i = from; i < to; ++i) {
      array.Add(ZTKString(Text(i).c_str()), 1);
      model.push_back(Text(i));
    }
  };
  const auto remove = [&](unsigned long index, unsigned long count) {
    array.RemoveAt(index, count);
    const auto first = model.begin() + static_cast<std::ptrdiff_t>(index);
    model.erase(first, first + static_cast<std::ptrdiff_t>(count));
  };
  add(0, 5000);
  EXPECT_EQ(Texts(array), model);
  for (unsigned long i = 0; i < 2000; ++i) remove(i, 1);
  EXPECT_EQ(Texts(array), model);
  add(5000, 6000);
  for (int i = 0; i < 1000; ++i) remove(0, 1), remove(array.GetCount() - 1, 1);
  EXPECT_EQ(Texts(array), model);
  for (unsigned long i = 0; i < array.GetCount(); i += 3) {
    array.Item(i) += "changed";
    model[i] += "changed";
  }
  add(0, 500);
  EXPECT_EQ(Texts(array), model);
  remove(0, array.GetCount());
  EXPECT_EQ(array.GetCount(), 0u);
  add(100, 300);
  EXPECT_EQ(Texts(array), model);
}

TEST(ZTKStringArray, AddsStringsWholeOrNotAtAllWhenMemoryRunsOut) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  const ZTKString text("a text that needs a block of its own");
  for (long passed = 0;; ++passed) {
    SCOPED_TRACE(passed);
    failing_allocator::Scope scope(passed, 1);
    ZTKStringArray array;
    array.Add(text, 40);
    array.Insert(text, 0);
    ZTKStringArray copy(array);
    copy = array;
    const bool failed = scope.Failed();
    for (const ZTKString& element : array) EXPECT_EQ(element, text);
    for (const ZTKString& element : copy) EXPECT_EQ(element, text);
    EXPECT_EQ(array.Item(99), "");
    if (!failed) {
      EXPECT_EQ(copy.GetCount(), 41u);
      break;
    }
    ASSERT_LT(passed, 1000);
  }
}

TEST(ZTKStringArray, StaysEmptyWithoutMemoryForItself) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  failing_allocator::Scope scope(0);
  ZTKStringArray array;
  array.Add("a", 1);
  array.Insert("a", 0);
  array.RemoveAt(0, 1);
  array.Remove("a");
  EXPECT_EQ(array.GetCount(), 0u);
  EXPECT_EQ(array.Index("a", 0), -1);
  EXPECT_EQ(array.Item(0), "");
  EXPECT_TRUE(array.begin() == array.end());
}

TEST(ZTKStringArray, IteratorsAreForwardIterators) {
  ZTKStringArray array = Array({"a", "b"});
  auto it = array.begin();
  EXPECT_EQ(it->Len(), 1u);
  EXPECT_EQ(*it++, "a");
  EXPECT_EQ(*it, "b");
  EXPECT_TRUE(++it == array.end());
  EXPECT_TRUE(array.begin() != array.end());
  static_assert(std::is_same_v<decltype(*array.begin()), const ZTKString&>);
  EXPECT_EQ(std::distance(array.begin(), array.end()), 2);
}
