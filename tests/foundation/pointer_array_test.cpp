#include "ztk/foundation/pointer_array.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <utility>
#include <vector>

#include "tests/foundation/pointer_array_fixtures.h"
#include "tests/support/failing_allocator.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

int a, b, c, d;

}  // namespace

TEST(ZTKPtrArr, IsEmptyWithoutABlockAtFirst) {
  const ZTKPtrArr array;
  EXPECT_EQ(array.GetCount(), 0u);
  EXPECT_EQ(array.GetCapacity(), 0u);
  EXPECT_EQ(array.GetItems(), nullptr);
  EXPECT_FALSE(array.IsAttached());
  EXPECT_THAT(Elements(array), IsEmpty());
}

TEST(ZTKPtrArr, GrowsByTheRuleWhenFilledOneByOne) {
  // By the rule: 16 at first, half of the capacity more each time, at most 2,048 more.
  std::vector<unsigned long> expected = {16};
  while (expected.back() < 20000) {
    const unsigned long half = expected.back() / 2;
    expected.push_back(expected.back() + (half < 2048 ? half : 2048));
  }
  ASSERT_EQ((std::vector<unsigned long>(expected.begin(), expected.begin() + 7)),
            (std::vector<unsigned long>{16, 24, 36, 54, 81, 121, 181}));

  ZTKPtrArr array;
  size_t step = 0;
  for (unsigned long count = 1; count <= 20000; ++count) {
    array.Add(Pointer(count - 1), 1);
    if (count > expected[step]) ++step;
    ASSERT_EQ(array.GetCapacity(), expected[step]) << "after " << count;
    ASSERT_EQ(array.GetCount(), count);
  }
  EXPECT_EQ(Elements(array), Pointers(20000));
}

TEST(ZTKPtrArr, GrowsBy2048FromACapacityOf4096) {
  for (unsigned long capacity : {4094ul, 4095ul, 4096ul, 4097ul, 10000ul, 65536ul, 65537ul}) {
    SCOPED_TRACE(capacity);
    ZTKPtrArr array;
    array.Add(&a, capacity);
    ASSERT_EQ(array.GetCapacity(), capacity);
    array.Add(&b, 1);
    EXPECT_EQ(array.GetCapacity(), capacity + (capacity < 4096 ? capacity / 2 : 2048));
    EXPECT_EQ(array.Item(capacity - 1), &a);
    EXPECT_EQ(array.Item(capacity), &b);
  }
}

TEST(ZTKPtrArr, AddsAsManyAsAskedAndMakesRoomForThemAtOnce) {
  struct {
    unsigned long before, added, capacity;
  } const rows[] = {{0, 1, 16},   {0, 16, 16},  {0, 17, 17},     {0, 40, 40},       {16, 1, 24},
                    {16, 8, 24},  {16, 9, 25},  {10, 6, 16},     {10, 7, 24},       {16, 100, 116},
                    {24, 12, 36}, {24, 13, 37}, {5000, 1, 7048}, {5000, 3000, 8000}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.before << " + " << row.added);
    ZTKPtrArr array;
    Fill(array, row.before);
    if (row.before == 5000) {  // Its capacity when full, not the one that single additions give.
      array.Shrink();
    }
    array.Add(&a, row.added);
    EXPECT_EQ(array.GetCount(), row.before + row.added);
    EXPECT_EQ(array.GetCapacity(), row.capacity);
    EXPECT_EQ(array.Index(&a, 0), static_cast<long>(row.before));
  }
}

TEST(ZTKPtrArr, AddingNoneOrImpossiblyManyChangesNothing) {
  ZTKPtrArr array;
  array.Add(&a, 2);
  for (unsigned long count :
       {0ul, ZTKPtrArr::kMaxCount + 1, ULONG_MAX / 2, ULONG_MAX - 15, ULONG_MAX}) {
    SCOPED_TRACE(count);
    array.Add(&b, count);
    array.Grow(count);
    EXPECT_THAT(Elements(array), ElementsAre(&a, &a));
    EXPECT_EQ(array.GetCapacity(), 16u);

    ZTKPtrArr empty;
    empty.Add(&b, count);
    EXPECT_EQ(empty.GetCapacity(), 0u);
  }
}

TEST(ZTKPtrArr, GrowMakesRoomOnlyWhenItMust) {
  ZTKPtrArr array;
  array.Grow(0);
  EXPECT_EQ(array.GetCapacity(), 16u) << "an empty array is a full one";
  array.Add(&a, 15);
  array.Grow(1);
  EXPECT_EQ(array.GetCapacity(), 16u);
  array.Add(&a, 1);
  array.Grow(0);
  EXPECT_EQ(array.GetCapacity(), 24u) << "a full array grows even for nothing";
  array.Grow(8);
  EXPECT_EQ(array.GetCapacity(), 24u);
  array.Grow(9);
  EXPECT_EQ(array.GetCapacity(), 36u);
}

TEST(ZTKPtrArr, GrowsSmallBlocksBySixteen) {
  for (unsigned long capacity : {1ul, 7ul, 15ul}) {
    SCOPED_TRACE(capacity);
    ZTKPtrArr array;
    array.Alloc(capacity);
    array.Add(&a, capacity);
    ASSERT_EQ(array.GetCapacity(), capacity);
    array.Add(&a, 1);
    EXPECT_EQ(array.GetCapacity(), capacity + 16);
  }
}

TEST(ZTKPtrArr, InsertsInFrontOfAnElementAndAppendsPastTheEnd) {
  ZTKPtrArr array;
  array.Insert(&a, 5);
  array.Insert(&b, 0);
  array.Insert(&c, 1);
  EXPECT_THAT(Elements(array), ElementsAre(&b, &c, &a));
  array.Insert(&d, 99);
  EXPECT_THAT(Elements(array), ElementsAre(&b, &c, &a, &d));
  array.Insert(&d, ULONG_MAX);
  EXPECT_EQ(array.GetCount(), 5u);
}

TEST(ZTKPtrArr, InsertsIntoAFullBlock) {
  ZTKPtrArr array;
  Fill(array, 16);
  array.Insert(&a, 0);
  EXPECT_EQ(array.GetCapacity(), 24u);
  EXPECT_EQ(array.Item(0), &a);
  EXPECT_EQ(array.Item(16), Pointer(15));
}

TEST(ZTKPtrArr, RemovesOnlyRangesInsideTheArray) {
  struct {
    unsigned long index, count;
    std::vector<void*> left;
  } const rows[] = {{0, 1, {&b, &c}},
                    {1, 1, {&a, &c}},
                    {1, 2, {&a}},
                    {0, 3, {}},
                    {2, 1, {&a, &b}},
                    {0, 0, {&a, &b, &c}},
                    {2, 5, {&a, &b, &c}},
                    {3, 1, {&a, &b, &c}},
                    {3, 0, {&a, &b, &c}},
                    {0, 4, {&a, &b, &c}},
                    {1, ULONG_MAX, {&a, &b, &c}},
                    {2, ULONG_MAX - 1, {&a, &b, &c}},
                    {ULONG_MAX, 1, {&a, &b, &c}}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.index << ", " << row.count);
    ZTKPtrArr array;
    for (void* p : {&a, &b, &c}) array.Add(p, 1);
    array.RemoveAt(row.index, row.count);
    EXPECT_EQ(Elements(array), row.left);
    EXPECT_EQ(array.GetCapacity(), 16u);
  }
}

TEST(ZTKPtrArr, RemovesTheFirstEqualElement) {
  ZTKPtrArr array;
  for (void* p : {&a, &b, &a}) array.Add(p, 1);
  array.Remove(&a);
  EXPECT_THAT(Elements(array), ElementsAre(&b, &a));
  array.Remove(&c);
  EXPECT_THAT(Elements(array), ElementsAre(&b, &a));
}

TEST(ZTKPtrArr, FindsTheFirstOrTheLastElement) {
  ZTKPtrArr array;
  EXPECT_EQ(array.Index(&a, 0), -1);
  EXPECT_EQ(array.Index(&a, 1), -1);
  for (void* p : {&a, &b, &a, &b}) array.Add(p, 1);
  EXPECT_EQ(array.Index(&a, 0), 0);
  EXPECT_EQ(array.Index(&a, 1), 2);
  EXPECT_EQ(array.Index(&b, -1), 3);
  EXPECT_EQ(array.Index(&c, 0), -1);
  EXPECT_EQ(array.Index(&c, 1), -1);
}

TEST(ZTKPtrArr, ItemAndLastAreSlots) {
  ZTKPtrArr array;
  array.Add(&a, 2);
  array.Item(0) = &b;
  array.Last() = &c;
  EXPECT_THAT(Elements(array), ElementsAre(&b, &c));
  EXPECT_EQ(std::as_const(array).Item(1), &c);
}

TEST(ZTKPtrArr, PositionsOutOfRangeShareASlotEach) {
  ZTKPtrArr array;
  ZTKPtrArr other;
  EXPECT_EQ(array.Item(0), nullptr);
  EXPECT_EQ(array.Last(), nullptr);

  array.Item(0) = &a;
  EXPECT_EQ(other.Item(7), &a);
  EXPECT_EQ(other.Last(), nullptr) << "not the same slot";
  array.Last() = &b;
  EXPECT_EQ(other.Last(), &b);
  EXPECT_EQ(other.Item(ULONG_MAX), &a);
  EXPECT_EQ(array.GetCount(), 0u);
  EXPECT_EQ(std::as_const(array).Item(0), nullptr);

  array.Item(0) = nullptr;
  array.Last() = nullptr;
}

TEST(ZTKPtrArr, RemoveAllKeepsTheBlockAndClearFreesIt) {
  ZTKPtrArr array;
  Fill(array, 20);
  array.RemoveAll();
  EXPECT_EQ(array.GetCount(), 0u);
  EXPECT_EQ(array.GetCapacity(), 24u);
  EXPECT_NE(array.GetItems(), nullptr);
  array.Clear();
  EXPECT_EQ(array.GetCapacity(), 0u);
  EXPECT_EQ(array.GetItems(), nullptr);
  array.Clear();
}

TEST(ZTKPtrArr, AllocAlwaysForgetsTheElements) {
  ZTKPtrArr array;
  Fill(array, 10);
  array.Alloc(16);
  EXPECT_EQ(array.GetCount(), 0u);
  EXPECT_EQ(array.GetCapacity(), 16u);
  array.Alloc(17);
  EXPECT_EQ(array.GetCapacity(), 17u);
  EXPECT_THAT(std::vector<void*>(array.GetItems(), array.GetItems() + 17), Each(nullptr));
  array.Alloc(0);
  EXPECT_EQ(array.GetCapacity(), 17u);
  array.Alloc(ZTKPtrArr::kMaxCount + 1);
  EXPECT_EQ(array.GetCapacity(), 0u);
  EXPECT_EQ(array.GetItems(), nullptr);
}

TEST(ZTKPtrArr, ReallocKeepsTheElementsAndClearsTheRest) {
  for (unsigned long capacity : {20ul, 21ul, 4097ul, 5000ul, 8192ul, 8193ul, 20000ul}) {
    SCOPED_TRACE(capacity);
    ZTKPtrArr array;
    Fill(array, 20);
    ASSERT_TRUE(array.Realloc(capacity));
    EXPECT_EQ(array.GetCapacity(), capacity);
    EXPECT_EQ(Elements(array), Pointers(20));
    EXPECT_THAT(std::vector<void*>(array.GetItems() + 20, array.GetItems() + capacity),
                Each(nullptr));
  }
}

TEST(ZTKPtrArr, ReallocClearsSlotsThatWereInUseBefore) {
  ZTKPtrArr array;
  array.Add(&a, 8000);
  ASSERT_TRUE(array.Realloc(5000));
  EXPECT_EQ(array.GetCount(), 5000u);
  ASSERT_TRUE(array.Realloc(8000));
  EXPECT_EQ(array.GetCount(), 5000u);
  EXPECT_THAT(std::vector<void*>(array.GetItems() + 5000, array.GetItems() + 8000), Each(nullptr));
}

TEST(ZTKPtrArr, ReallocClearsTheFreeSlotsAtEveryCapacity) {
  for (unsigned long before : {16ul, 4096ul, 5000ul, 8000ul}) {
    for (unsigned long after : {before - 1, before, before + 1, 2 * before}) {
      SCOPED_TRACE(testing::Message() << before << " to " << after);
      ZTKPtrArr array;
      Fill(array, before);
      array.Shrink();
      array.RemoveAt(3, before - 10);  // The tail moves down, and what it was stays behind it.
      ASSERT_TRUE(array.Realloc(after));
      EXPECT_EQ(array.GetCount(), 10u);
      EXPECT_EQ(array.GetCapacity(), after);
      EXPECT_THAT(std::vector<void*>(array.GetItems() + 10, array.GetItems() + after),
                  Each(nullptr));
    }
  }
}

TEST(ZTKPtrArr, ReallocBelowTheCountDeletesWhatDoesNotFit) {
  IntArray array;
  for (int i = 0; i < 20; ++i) array.AddInt(i);
  EXPECT_TRUE(array.Realloc(5));
  EXPECT_EQ(array.GetCount(), 5u);
  EXPECT_EQ(array.GetCapacity(), 5u);
  EXPECT_EQ(array.deleted, 15);
  EXPECT_EQ(*static_cast<int*>(array.Last()), 4);

  EXPECT_TRUE(array.Realloc(0));
  EXPECT_EQ(array.GetCount(), 0u);
  EXPECT_EQ(array.GetItems(), nullptr);
  EXPECT_EQ(array.deleted, 20);
}

TEST(ZTKPtrArr, ReallocRefusesTheImpossible) {
  ZTKPtrArr array;
  Fill(array, 3);
  for (unsigned long capacity : {ZTKPtrArr::kMaxCount + 1, ULONG_MAX}) {
    EXPECT_FALSE(array.Realloc(capacity));
    EXPECT_EQ(Elements(array), Pointers(3));
    EXPECT_EQ(array.GetCapacity(), 16u);
  }
}

TEST(ZTKPtrArr, ShrinksToTheCount) {
  for (unsigned long count : {1ul, 17ul, 5000ul}) {
    SCOPED_TRACE(count);
    ZTKPtrArr array;
    Fill(array, count);
    array.Shrink();
    EXPECT_EQ(array.GetCapacity(), count);
    EXPECT_EQ(Elements(array), Pointers(count));
    array.Shrink();
    EXPECT_EQ(array.GetCapacity(), count);
  }
  ZTKPtrArr empty;
  empty.Alloc(16);
  empty.Shrink();
  EXPECT_EQ(empty.GetCapacity(), 0u);
  empty.Add(&a, 1);
  EXPECT_EQ(empty.GetCapacity(), 16u);
}

TEST(ZTKPtrArr, CopiesTheSourceExactly) {
  for (unsigned long count : {1ul, 20ul, 5000ul}) {
    SCOPED_TRACE(count);
    ZTKPtrArr source;
    Fill(source, count);
    ZTKPtrArr copy;
    copy.DoCopy(source);
    EXPECT_EQ(copy.GetCapacity(), count);
    EXPECT_EQ(Elements(copy), Pointers(count));

    const ZTKPtrArr constructed(source);
    EXPECT_EQ(Elements(constructed), Pointers(count));

    ZTKPtrArr assigned;
    assigned.Add(&a, 100);
    EXPECT_EQ(&(assigned = source), &assigned);
    EXPECT_EQ(Elements(assigned), Pointers(count));
  }
}

TEST(ZTKPtrArr, CopyOfNothingIsNothing) {
  ZTKPtrArr array;
  Fill(array, 3);
  array.DoCopy(ZTKPtrArr());
  EXPECT_EQ(array.GetCount(), 0u);
  EXPECT_EQ(array.GetItems(), nullptr) << "DoCopy clears";
  Fill(array, 3);
  array = ZTKPtrArr();
  EXPECT_EQ(array.GetCount(), 0u);
  EXPECT_EQ(array.GetCapacity(), 16u) << "assignment keeps the block";
}

TEST(ZTKPtrArr, CopyOfItselfChangesNothing) {
  ZTKPtrArr array;
  Fill(array, 3);
  const ZTKPtrArr& same = array;
  array = same;
  array.DoCopy(same);
  EXPECT_EQ(Elements(array), Pointers(3));
}

TEST(ZTKPtrArr, DataCopyNeedsABlockAndGrowsIt) {
  void* source[] = {&a, &b, &c};
  ZTKPtrArr array;
  array.DataCopy(source, 3);
  EXPECT_EQ(array.GetCount(), 0u) << "no block to copy into";
  EXPECT_EQ(array.GetCapacity(), 0u);

  array.Alloc(2);
  array.DataCopy(source, 3);
  EXPECT_THAT(Elements(array), ElementsAre(&a, &b, &c));
  EXPECT_EQ(array.GetCapacity(), 3u);

  array.DataCopy(source, 1);
  EXPECT_THAT(Elements(array), ElementsAre(&a));
  EXPECT_EQ(array.GetCapacity(), 1u);

  array.DataCopy(source, ULONG_MAX);
  EXPECT_THAT(Elements(array), ElementsAre(&a));

  array.DataCopy(source, 0);
  EXPECT_EQ(array.GetItems(), nullptr);
  EXPECT_EQ(array.GetCapacity(), 0u);
}

TEST(ZTKPtrArr, HooksDecideHowElementsEndCompareAndCopy) {
  IntArray array;
  for (int i : {1, 2, 3, 2}) array.AddInt(i);
  const int two = 2;
  EXPECT_EQ(array.Index(&two, 0), 1);
  EXPECT_EQ(array.Index(&two, 1), 3);
  array.Remove(&two);
  EXPECT_EQ(array.deleted, 1);
  EXPECT_EQ(array.GetCount(), 3u);

  {
    IntArray copy;
    copy = array;
    EXPECT_EQ(*static_cast<int*>(copy.Item(1)), 3);
    EXPECT_NE(copy.Item(1), array.Item(1));
    copy = array;
    EXPECT_EQ(copy.deleted, 3);
  }
  array.RemoveAt(1, 2);
  EXPECT_EQ(array.deleted, 3);
  array.RemoveAll();
  EXPECT_EQ(array.deleted, 4);
}

TEST(ZTKPtrArr, FailedAllocationsKeepWhatThereIs) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  ZTKPtrArr array;
  {
    failing_allocator::Scope scope(0);
    array.Add(&a, 1);
    array.Insert(&a, 0);
    array.Alloc(4);
    EXPECT_EQ(array.GetCount(), 0u);
    EXPECT_EQ(array.GetItems(), nullptr);
  }
  Fill(array, 16);
  {
    failing_allocator::Scope scope(0);
    array.Add(&a, 1);
    array.Insert(&a, 3);
    array.Grow(100);
    EXPECT_FALSE(array.Realloc(17));
    EXPECT_TRUE(scope.Failed());
    EXPECT_EQ(array.GetCapacity(), 16u);
  }
  EXPECT_EQ(Elements(array), Pointers(16));

  array.RemoveAt(10, 6);
  {
    failing_allocator::Scope scope(0);
    array.Add(&a, 20);  // There is room for some of them.
    EXPECT_EQ(array.GetCount(), 16u);
    array.RemoveAt(10, 6);
    array.Shrink();
    EXPECT_EQ(array.GetCapacity(), 16u);
    ZTKPtrArr copy;
    copy.DoCopy(array);
    EXPECT_EQ(copy.GetCount(), 0u);
    array.Alloc(17);
    EXPECT_EQ(array.GetItems(), nullptr);
    EXPECT_EQ(array.GetCapacity(), 0u);
  }
}

TEST(ZTKArrayEntries, DoesNotOwnItsElements) {
  ZTKArrayEntries entries;
  entries.Add(&a, 1);
  ZTKArrayGroups groups;
  groups.Add(&b, 2);
  entries.Clear();
  groups.RemoveAll();
  EXPECT_EQ(entries.GetCount(), 0u);
  EXPECT_EQ(groups.GetCapacity(), 16u);
}
