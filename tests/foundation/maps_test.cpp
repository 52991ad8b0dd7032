#include "ztk/foundation/maps.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/foundation/map_fixtures.h"
#include "tests/support/failing_allocator.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

template <class Map>
class ZTKMaps : public map_fixtures::BothMaps<Map> {};
TYPED_TEST_SUITE(ZTKMaps, map_fixtures::MapTypes, map_fixtures::MapNames);

}  // namespace

TYPED_TEST(ZTKMaps, IsEmptyAtFirst) {
  TypeParam map(5);
  EXPECT_TRUE(map.IsEmpty());
  EXPECT_EQ(map.Begin(), map.End());
  EXPECT_EQ(map.Find(1), map.End());
  EXPECT_EQ(map.GetCount(1), 0u);
  EXPECT_EQ(map.GetBucketCount(), 5u);
}

TYPED_TEST(ZTKMaps, CountsKeysIntoBucketsWithoutTheirLowBits) {
  TypeParam map(0);
  EXPECT_EQ(map.GetBucketCount(), 17u);
  const struct {
    ZTKWord key, bucket;
  } rows[] = {{0, 0},
              {1, 0},
              {15, 0},
              {16, 1},
              {31, 1},
              {32, 2},
              {271, 16},
              {272, 0},
              {288, 1},
              {0xFFFFFFF0ul, 0x0FFFFFFFul % 17},
              {~0ul, (~0ul >> 4) % 17}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.key);
    ZTKWord bucket = 99;
    EXPECT_EQ(map.GetNodeAt(row.key, bucket), nullptr);
    EXPECT_EQ(bucket, row.bucket);
    map.Insert(row.key, this->V(1));
    const auto* const entry = map.GetNodeAt(row.key, bucket);
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->key, row.key);
    EXPECT_EQ(entry->bucket, row.bucket);
  }
}

TYPED_TEST(ZTKMaps, TheBucketMayBeWrittenOverTheKey) {
  TypeParam map(7);
  map.Insert(100, this->V(1));
  ZTKWord key = 100;
  ASSERT_NE(map.GetNodeAt(key, key), nullptr);
  EXPECT_EQ(key, 6u);
}

TYPED_TEST(ZTKMaps, IteratesInTheOrderOfInsertion) {
  TypeParam map(0);
  for (ZTKWord key : {5ul, 3ul, 9ul}) map.Insert(key, this->V(key * 10));
  EXPECT_THAT(this->Keys(map), ElementsAre(5, 3, 9));

  const auto it = map.Insert(3, this->V(77));
  EXPECT_EQ(it.GetKey(), 3u);
  EXPECT_EQ(it.GetValue(), this->V(77));
  EXPECT_EQ(map.Find(3).GetValue(), this->V(77));
  EXPECT_EQ(map.Find(5).GetValue(), this->V(50));
  EXPECT_THAT(this->Keys(map), ElementsAre(5, 3, 9));
}

TYPED_TEST(ZTKMaps, AnIteratorStepsToTheEndAndStaysThere) {
  TypeParam map(0);
  map.Insert(1, this->V(10));
  map.Insert(2, this->V(20));
  auto it = map.Begin();
  EXPECT_EQ((*it).key, 1u);
  EXPECT_EQ((*it++).value, this->V(10));
  EXPECT_EQ(it.GetKey(), 2u);
  EXPECT_NE(it, map.End());
  EXPECT_EQ(++it, map.End());
  EXPECT_EQ(++it, map.End());
  EXPECT_EQ(it.GetKey(), 0u);
  EXPECT_EQ(it.GetValue(), this->V(0));
}

TYPED_TEST(ZTKMaps, CountingIsAMembershipTest) {
  TypeParam map(0);
  for (ZTKWord key = 0; key < 16; ++key) map.Insert(key, this->V(1));
  map.Insert(3, this->V(2));
  EXPECT_EQ(map.GetCount(3), 1u);
  EXPECT_EQ(map.GetCount(16), 0u);
}

TYPED_TEST(ZTKMaps, ErasingByIteratorLeavesItAtTheEnd) {
  TypeParam map(0);
  for (ZTKWord key : {1ul, 2ul, 3ul, 300ul}) map.Insert(key, this->V(key));
  auto it = map.Find(2);
  EXPECT_EQ(map.Erase(it), 1);
  EXPECT_EQ(it, map.End());
  EXPECT_EQ(map.Find(2), map.End());
  EXPECT_THAT(this->Keys(map), ElementsAre(1, 3, 300));
  EXPECT_EQ(map.Erase(it), 0);
  EXPECT_EQ(map.Erase(map.Find(300)), 1);
  EXPECT_EQ(map.Erase(map.Find(300)), 0);
  EXPECT_THAT(this->Keys(map), ElementsAre(1, 3));
}

TYPED_TEST(ZTKMaps, ErasingTheOnlyEntryMakesItEmpty) {
  TypeParam map(0);
  auto it = map.Insert(4, this->V(4));
  EXPECT_FALSE(map.IsEmpty());
  EXPECT_EQ(map.Erase(it), 1);
  EXPECT_TRUE(map.IsEmpty());
  map.Insert(4, this->V(5));
  EXPECT_EQ(map.Erase(4), 1);
  EXPECT_TRUE(map.IsEmpty());
}

TYPED_TEST(ZTKMaps, ErasingByKeyIsRefusedForAbsentKeys) {
  TypeParam map(0);
  EXPECT_EQ(map.Erase(4), 0);  // No list in the bucket.
  map.Insert(4, this->V(4));
  EXPECT_EQ(map.Erase(5), 0);  // A list without the key.
  EXPECT_EQ(map.Erase(4), 1);
  EXPECT_EQ(map.Erase(4), 0);  // An empty list.
}

TYPED_TEST(ZTKMaps, AnIteratorOutlivesTheErasureOfItsKey) {
  TypeParam map(0);
  for (ZTKWord key : {1ul, 2ul, 3ul}) map.Insert(key, this->V(key * 10));
  auto it = map.Find(2);
  EXPECT_EQ(map.Erase(2), 1);
  for (ZTKWord key = 100; key < 1000; ++key) map.Insert(key, this->V(key));
  EXPECT_EQ(it.GetKey(), 2u);
  EXPECT_EQ(it.GetValue(), this->V(20));
  auto again = it;
  EXPECT_EQ(map.Erase(again), 0);
  EXPECT_EQ(++it, map.End());
}

TYPED_TEST(ZTKMaps, AnIteratorOfAnotherMapErasesNothing) {
  TypeParam map(0), other(0);
  map.Insert(1, this->V(1));
  auto it = other.Insert(1, this->V(2));
  EXPECT_EQ(map.Erase(it), 0);
  EXPECT_EQ(map.GetCount(1), 1u);
  EXPECT_EQ(other.GetCount(1), 1u);
  typename TypeParam::iterator none;
  EXPECT_EQ(map.Erase(none), 0);
}

TYPED_TEST(ZTKMaps, WhatAnIteratorFreedIsUsedAgain) {
  // A million entries, one at a time, live where the first did.
  TypeParam map(0);
  std::set<const void*> entries;
  for (ZTKWord key = 0; key < 1'000'000; ++key) {
    auto it = map.Insert(key, this->V(key));
    ZTKWord bucket;
    entries.insert(map.GetNodeAt(key, bucket));
    map.Erase(it);
  }
  EXPECT_TRUE(map.IsEmpty());
  EXPECT_EQ(entries.size(), 1u);
}

TYPED_TEST(ZTKMaps, ErasingByIteratorForEverAsksForNoMemory) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  TypeParam map(0);
  map.Insert(0, this->V(0));
  const failing_allocator::Scope scope(1'000'000);
  for (ZTKWord key = 1; key < 1'000'000; ++key) {
    auto it = map.Insert(key, this->V(key));
    map.Erase(it);
  }
  EXPECT_EQ(scope.Asked(), 0);
  EXPECT_THAT(this->Keys(map), ElementsAre(0));
}

TYPED_TEST(ZTKMaps, ErasingAndFreeingNeedsTheKeyAlone) {
  TypeParam map(0);
  EXPECT_EQ(map.EraseAndFree(2), 0);
  for (ZTKWord key : {1ul, 2ul, 3ul}) map.Insert(key, this->V(key));
  EXPECT_EQ(map.EraseAndFree(2), 1);
  EXPECT_EQ(map.EraseAndFree(2), 0);
  EXPECT_EQ(map.Find(2), map.End());
  EXPECT_THAT(this->Keys(map), ElementsAre(1, 3));
  map.EraseAll();
  EXPECT_EQ(map.EraseAndFree(1), 0);
}

TYPED_TEST(ZTKMaps, WhatWasErasedAndFreedIsUsedAgain) {
  TypeParam map(0);
  std::set<const void*> entries;
  for (ZTKWord key = 0; key < 1000; ++key) {
    map.Insert(key, this->V(key));
    ZTKWord bucket;
    entries.insert(map.GetNodeAt(key, bucket));
    EXPECT_EQ(map.EraseAndFree(key), 1);
  }
  EXPECT_EQ(entries.size(), 1u);
}

TYPED_TEST(ZTKMaps, EverythingButInsertIsSafeAfterEraseAll) {
  TypeParam map(0);
  for (ZTKWord key : {1ul, 2ul, 3ul}) map.Insert(key, this->V(key));
  map.Erase(2);
  auto end = map.End();
  EXPECT_EQ(map.EraseAll(), 1);
  EXPECT_TRUE(map.IsEmpty());
  EXPECT_EQ(map.GetBucketCount(), 0u);
  EXPECT_EQ(map.Find(1), map.End());
  EXPECT_EQ(map.GetCount(1), 0u);
  EXPECT_EQ(map.Begin(), map.End());
  EXPECT_EQ(map.Erase(1), 0);
  EXPECT_EQ(map.Erase(end), 0);
  ZTKWord bucket = 99;
  EXPECT_EQ(map.GetNodeAt(1, bucket), nullptr);
  EXPECT_EQ(bucket, 0u);
  EXPECT_THAT(this->Keys(map), IsEmpty());
  EXPECT_EQ(map.EraseAll(), 1);
}

TYPED_TEST(ZTKMaps, InsertWithoutBucketsStopsTheProcessWithAMessage) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  TypeParam map(0);
  map.EraseAll();
  EXPECT_DEATH(map.Insert(1, this->V(1)), "assertion failed.*without buckets");
  TypeParam none(3);
  none.InitHashTable(0, 1);
  EXPECT_DEATH(none.Insert(1, this->V(1)), "assertion failed.*without buckets");
  EXPECT_EQ(none.Find(1), none.End());
  EXPECT_EQ(none.Erase(1), 0);
}

TYPED_TEST(ZTKMaps, ANewTableRevivesTheMap) {
  TypeParam map(0);
  map.Insert(1, this->V(1));
  map.EraseAll();
  map.InitHashTable(3, 0);  // The flag changes nothing.
  EXPECT_EQ(map.GetBucketCount(), 3u);
  EXPECT_TRUE(map.IsEmpty());
  map.Insert(50, this->V(5));
  ZTKWord bucket;
  ASSERT_NE(map.GetNodeAt(50, bucket), nullptr);
  EXPECT_EQ(bucket, 0u);
  EXPECT_THAT(this->Keys(map), ElementsAre(50));
}

TYPED_TEST(ZTKMaps, ANewTablePutsTheOldEntriesOutOfReach) {
  TypeParam map(100);
  auto first = map.Insert(1590, this->V(15));
  map.Insert(2, this->V(2));
  map.InitHashTable(2, 1);
  EXPECT_TRUE(map.IsEmpty());
  EXPECT_EQ(map.Find(2), map.End());
  map.Insert(2, this->V(3));
  // An iterator from before reads its entry, is at its last step and erases nothing.
  EXPECT_EQ(first.GetKey(), 1590u);
  EXPECT_EQ(first.GetValue(), this->V(15));
  EXPECT_EQ(map.Erase(first), 0);
  EXPECT_EQ(++first, map.End());
  EXPECT_THAT(this->Keys(map), ElementsAre(2));
}

TYPED_TEST(ZTKMaps, ATableTooLargeForMemoryChangesNothing) {
  if (sizeof(long) < sizeof(void*)) GTEST_SKIP() << "there may be memory for any count of buckets";
  TypeParam map(3);
  map.Insert(1, this->V(1));
  map.InitHashTable(~0ul, 1);
  map.InitHashTable(~0ul / sizeof(void*), 1);
  EXPECT_EQ(map.GetBucketCount(), 3u);
  EXPECT_EQ(map.GetCount(1), 1u);
  TypeParam huge(~0ul);
  EXPECT_EQ(huge.GetBucketCount(), ~0ul);
  EXPECT_EQ(huge.Insert(1, this->V(1)), huge.End());
  EXPECT_TRUE(huge.IsEmpty());
  EXPECT_EQ(huge.Find(1), huge.End());
}

TYPED_TEST(ZTKMaps, OutOfMemoryLeavesEntriesInBothListsOrNeither) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  bool failed = true;
  for (long before = 0; failed; ++before) {
    SCOPED_TRACE(before);
    ASSERT_LT(before, 100);
    long refused = 0;
    std::vector<ZTKWord> inserted;
    inserted.reserve(200);
    const failing_allocator::Scope scope(before);
    TypeParam map(3);
    for (ZTKWord key = 0; key < 100 * 16; key += 16) {
      if (map.Insert(key, this->V(key)) == map.End()) {
        ++refused;
      } else {
        inserted.push_back(key);
      }
    }
    failed = scope.Failed();
    // Lookups can do without more memory, entries cannot.
    EXPECT_TRUE(failed || refused == 0);
    size_t position = 0;
    for (const auto [key, value] : map) {
      ASSERT_LT(position, inserted.size());
      EXPECT_EQ(key, inserted[position]);
      EXPECT_EQ(map.GetCount(key), 1u);
      ++position;
    }
    EXPECT_EQ(position, inserted.size());
    for (const ZTKWord key : inserted) EXPECT_EQ(map.Erase(key), 1);
    EXPECT_TRUE(map.IsEmpty());
  }
}

TYPED_TEST(ZTKMaps, AnInsertMakesDoWithLessMemoryThanItAsksFor) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  TypeParam map(1000);
  {
    const failing_allocator::Scope scope(0, 3);
    EXPECT_NE(map.Insert(0, this->V(0)), map.End());
    EXPECT_TRUE(scope.Failed());
    EXPECT_EQ(scope.Asked(), 4);
  }
  for (ZTKWord key = 1; key < 5000; ++key) {
    ASSERT_NE(map.Insert(key, this->V(key)), map.End());
  }
  ZTKWord expected = 0;
  for (const auto [key, value] : map) ASSERT_EQ(key, expected++);
  EXPECT_EQ(expected, 5000u);
}

TYPED_TEST(ZTKMaps, AnInsertGetsTheTableThatTheConstructorCouldNot) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  for (long before = 0; before < 3; ++before) {
    SCOPED_TRACE(before);
    TypeParam* map;
    {
      const failing_allocator::Scope scope(before + 1);
      map = new TypeParam(5);
      EXPECT_TRUE(map->IsEmpty());
      EXPECT_EQ(map->Find(1), map->End());
    }
    EXPECT_NE(map->Insert(1, this->V(1)), map->End());
    EXPECT_EQ(map->GetBucketCount(), 5u);
    delete map;
  }
}

TYPED_TEST(ZTKMaps, FindsEveryKeyWithFarFewerBucketsThanKeys) {
  // In steps of one, of what shares no bucket, and of what differs in its upper bits only.
  for (const ZTKWord step : {1ul, 16ul, (~0ul >> 16) + 1}) {
    SCOPED_TRACE(step);
    TypeParam map(1);
    for (ZTKWord i = 0; i < 5000; ++i) map.Insert(i * step, this->V(i));
    for (ZTKWord i = 0; i < 5000; ++i) {
      ASSERT_EQ(map.Find(i * step).GetValue(), this->V(i));
    }
    for (ZTKWord i = 0; i < 5000; i += 2) ASSERT_EQ(map.Erase(map.Find(i * step)), 1);
    for (ZTKWord i = 0; i < 5000; ++i) ASSERT_EQ(map.GetCount(i * step), i % 2);
  }
}

TYPED_TEST(ZTKMaps, KeepsTheOrderThroughErasuresAndTheirReplacements) {
  TypeParam map(100);
  for (ZTKWord key = 0; key < 8; ++key) map.Insert(key, this->V(key));
  map.Erase(map.Find(2));
  map.Erase(map.Find(5));
  map.Erase(6);
  EXPECT_THAT(this->Keys(map), ElementsAre(0, 1, 3, 4, 7));
  map.Insert(10, this->V(10));  // Where 5 was.
  map.Insert(11, this->V(11));  // Where 2 was.
  map.Insert(12, this->V(12));
  EXPECT_THAT(this->Keys(map), ElementsAre(0, 1, 3, 4, 7, 10, 11, 12));
  map.Erase(map.Find(12));
  map.Insert(13, this->V(13));
  map.Erase(map.Find(0));
  EXPECT_THAT(this->Keys(map), ElementsAre(1, 3, 4, 7, 10, 11, 13));
}

TYPED_TEST(ZTKMaps, IsNotCopied) {
  EXPECT_FALSE(std::is_copy_constructible_v<TypeParam>);
  EXPECT_FALSE(std::is_copy_assignable_v<TypeParam>);
}

TEST(ZTKPtrMap, KeepsNullAndPointersApart) {
  ZTKPtrMap map(0);
  int target = 0;
  map.Insert(1, &target);
  map.Insert(2, nullptr);
  EXPECT_EQ(map.Find(1).GetValue(), &target);
  EXPECT_EQ(map.Find(2).GetValue(), nullptr);
  EXPECT_NE(map.Find(2), map.End());
}

TEST(ZTKMap, AValueHoldsAPointer) {
  ZTKMap map(0);
  int target = 0;
  map.Insert(1, reinterpret_cast<ZTKWord>(&target));
  EXPECT_EQ(reinterpret_cast<int*>(map.Find(1).GetValue()), &target);
}
