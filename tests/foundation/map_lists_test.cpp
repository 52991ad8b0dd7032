// The lists that an entry shows: that of its bucket, and that of all entries. A map keeps them from
// the first call of `GetNodeAt` on.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdint>
#include <iterator>
#include <thread>
#include <unordered_map>
#include <vector>

#include "tests/foundation/map_fixtures.h"
#include "tests/support/failing_allocator.h"
#include "ztk/foundation/maps.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

template <class Map>
class MapLists : public map_fixtures::BothMaps<Map> {
 protected:
  using Entry = typename Map::Entry;
  using Node = ZTKListBase::ZTKNodebase;

  static Entry* At(const Map& map, ZTKWord nKey) {
    ZTKWord bucket = 0;
    return map.GetNodeAt(nKey, bucket);
  }
  // The keys of a chain, from its head; both ways have to lead to the same.
  static std::vector<ZTKWord> Chain(const Node* pNode) {
    while (pNode->GetPrev()) pNode = pNode->GetPrev();
    std::vector<ZTKWord> keys;
    for (const Node* before = nullptr; pNode; pNode = pNode->GetNext()) {
      EXPECT_EQ(pNode->GetPrev(), before);
      keys.push_back(static_cast<const Entry*>(pNode->GetData())->key);
      before = pNode;
    }
    return keys;
  }
  static std::vector<ZTKWord> KeysInBucketOf(const Map& map, ZTKWord nKey) {
    return Chain(At(map, nKey)->bucketNode);
  }
  static std::vector<ZTKWord> AllKeys(const Map& map, ZTKWord nAnyKey) {
    return Chain(At(map, nAnyKey)->entriesNode);
  }
};
TYPED_TEST_SUITE(MapLists, map_fixtures::MapTypes, map_fixtures::MapNames);

}  // namespace

TYPED_TEST(MapLists, TheNodesOfAnEntryLeadToItsNeighbours) {
  TypeParam map(0);
  for (ZTKWord key : {1ul, 300ul, 2ul, 3ul}) map.Insert(key, this->V(key));
  map.Erase(map.Find(2));
  auto* const first = this->At(map, 1);
  auto* const other = this->At(map, 300);
  auto* const last = this->At(map, 3);
  EXPECT_EQ(first->entriesNode->GetData(), first);
  EXPECT_EQ(first->entriesNode->GetPrev(), nullptr);
  EXPECT_EQ(first->entriesNode->GetNext(), other->entriesNode);
  EXPECT_EQ(other->entriesNode->GetNext(), last->entriesNode);
  EXPECT_EQ(last->entriesNode->GetPrev(), other->entriesNode);
  EXPECT_EQ(last->entriesNode->GetNext(), nullptr);
  EXPECT_EQ(first->bucketNode->GetData(), first);
  EXPECT_EQ(first->bucketNode->GetNext(), last->bucketNode);
  EXPECT_EQ(last->bucketNode->GetPrev(), first->bucketNode);
  EXPECT_EQ(other->bucketNode->GetNext(), nullptr);
  EXPECT_EQ(other->bucketNode->GetPrev(), nullptr);
  EXPECT_EQ(first->bucket, 0u);
  EXPECT_EQ(other->bucket, 300u / 16 % 17);
}

TYPED_TEST(MapLists, FollowEveryInsertAndErasure) {
  TypeParam map(2);  // Keys 0 to 15, 32 to 47 and so on share a bucket.
  for (ZTKWord key : {1ul, 16ul, 33ul, 2ul}) map.Insert(key, this->V(key));
  EXPECT_THAT(this->KeysInBucketOf(map, 1), ElementsAre(1, 33, 2));
  EXPECT_THAT(this->KeysInBucketOf(map, 16), ElementsAre(16));

  map.Insert(34, this->V(0));
  map.Insert(1, this->V(5));
  EXPECT_THAT(this->KeysInBucketOf(map, 34), ElementsAre(1, 33, 2, 34));
  EXPECT_THAT(this->AllKeys(map, 34), ElementsAre(1, 16, 33, 2, 34));

  map.Erase(map.Find(33));
  map.Erase(16);
  map.EraseAndFree(34);
  EXPECT_THAT(this->KeysInBucketOf(map, 1), ElementsAre(1, 2));
  EXPECT_THAT(this->AllKeys(map, 1), ElementsAre(1, 2));
  EXPECT_THAT(this->Keys(map), ElementsAre(1, 2));

  map.Insert(17, this->V(17));  // Into a bucket that was emptied.
  EXPECT_THAT(this->KeysInBucketOf(map, 17), ElementsAre(17));
  EXPECT_THAT(this->Keys(map), ElementsAre(1, 2, 17));
}

TYPED_TEST(MapLists, AnEntryShowsTheValueThatTheMapHas) {
  TypeParam map(0);
  map.Insert(1, this->V(10));
  auto* const entry = this->At(map, 1);
  EXPECT_EQ(entry->value, this->V(10));
  map.Insert(1, this->V(20));
  EXPECT_EQ(entry->value, this->V(20));
  entry->value = this->V(30);
  EXPECT_EQ(map.Find(1).GetValue(), this->V(30));
}

TYPED_TEST(MapLists, LeaveIteratorsWhereTheyAre) {
  TypeParam map(0);
  for (ZTKWord key : {1ul, 2ul, 3ul, 4ul}) map.Insert(key, this->V(key));
  auto it = map.Find(2);
  auto erased = map.Find(3);
  map.Erase(3);
  ASSERT_NE(this->At(map, 1), nullptr);
  EXPECT_EQ(it.GetKey(), 2u);
  EXPECT_EQ((++it).GetKey(), 4u);
  EXPECT_EQ(++it, map.End());
  EXPECT_EQ(erased.GetKey(), 3u);
  EXPECT_EQ(map.Erase(erased), 0);
  EXPECT_EQ(++erased, map.End());

  auto last = map.Find(4);
  map.Erase(4);
  EXPECT_EQ(last.GetValue(), this->V(4));
  EXPECT_EQ(++last, map.End());
}

TYPED_TEST(MapLists, AreThoseOfTheNewTable) {
  TypeParam map(17);
  map.Insert(1, this->V(1));
  map.Insert(2, this->V(2));
  ASSERT_NE(this->At(map, 1), nullptr);
  auto before = map.Find(1);
  map.InitHashTable(1, 1);
  EXPECT_EQ(before.GetKey(), 1u);
  EXPECT_EQ(map.Erase(before), 0);
  EXPECT_EQ(++before, map.End());
  EXPECT_EQ(this->At(map, 1), nullptr);
  map.Insert(50, this->V(50));
  map.Insert(1, this->V(3));
  EXPECT_THAT(this->KeysInBucketOf(map, 1), ElementsAre(50, 1));

  map.EraseAll();
  EXPECT_EQ(this->At(map, 1), nullptr);
  EXPECT_THAT(this->Keys(map), IsEmpty());
}

TYPED_TEST(MapLists, AreNotShownWithoutMemory) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  // Nodes that other lists have left need no memory: more entries than there can be of those.
  constexpr ZTKWord kKeys = 20'000;
  TypeParam map(100);
  for (ZTKWord key = 0; key < kKeys; ++key) map.Insert(key, this->V(key));
  map.Erase(5);
  bool failed = true;
  for (long before = 0; failed; ++before) {
    SCOPED_TRACE(before);
    const failing_allocator::Scope scope(before);
    ZTKWord bucket = 0;
    const auto* const entry = map.GetNodeAt(1600, bucket);
    failed = scope.Failed();
    ASSERT_EQ(entry == nullptr, failed);
    ASSERT_EQ(bucket, 0u);
    ASSERT_EQ(map.Begin().GetKey(), 0u);
    ASSERT_EQ(map.Find(3).GetValue(), this->V(3));
    ASSERT_LT(before, 1000);
  }
  EXPECT_EQ(this->AllKeys(map, 0).size(), kKeys - 1);
  EXPECT_EQ(this->AllKeys(map, 0), this->Keys(map));
}

TYPED_TEST(MapLists, HoldAnEntryBothOrNeitherWhenMemoryRunsOut) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  bool failed = true;
  for (long before = 0; failed; ++before) {
    SCOPED_TRACE(before);
    ASSERT_LT(before, 2000);
    TypeParam map(1000);
    map.Insert(0, this->V(0));
    ASSERT_NE(this->At(map, 0), nullptr);
    std::vector<ZTKWord> inserted = {0};
    inserted.reserve(1001);
    {
      const failing_allocator::Scope scope(before);
      for (ZTKWord key = 16; key < 1000 * 16; key += 16) {
        if (map.Insert(key, this->V(key)) != map.End()) inserted.push_back(key);
      }
      failed = scope.Failed();
    }
    EXPECT_EQ(this->AllKeys(map, 0), inserted);
    for (const ZTKWord key : inserted) {
      ASSERT_THAT(this->KeysInBucketOf(map, key), ElementsAre(key));
    }
    for (const ZTKWord key : inserted) ASSERT_EQ(map.Erase(map.Find(key)), 1);
    EXPECT_TRUE(map.IsEmpty());
    before += before / 4;
  }
}

TYPED_TEST(MapLists, AMapAgreesWithAModelBeforeAndAfterItKeepsThem) {
  for (unsigned long buckets : {1ul, 17ul, 1000ul}) {
    SCOPED_TRACE(buckets);
    TypeParam map(buckets);
    std::unordered_map<ZTKWord, ZTKWord> model;
    std::vector<ZTKWord> order;
    std::uint32_t random = 7;
    for (ZTKWord step = 0; step < 40000; ++step) {
      random = random * 1664525u + 1013904223u;
      const ZTKWord key = (random >> 10) % 600 * 3;
      const bool known = model.count(key) != 0;
      ASSERT_EQ(map.GetCount(key), known ? 1u : 0u);
      const std::uint32_t action = (random >> 28) % 5;
      if (action < 2) {
        map.Insert(key, this->V(step));
        model[key] = step;
        if (!known) order.push_back(key);
      } else {
        const int erased = action == 2   ? map.Erase(map.Find(key))
                           : action == 3 ? map.Erase(key)
                                         : map.EraseAndFree(key);
        ASSERT_EQ(erased, known ? 1 : 0);
        if (known) {
          model.erase(key);
          order.erase(std::find(order.begin(), order.end(), key));
        }
      }
      if (step % 500 != 0) continue;
      ASSERT_EQ(this->Keys(map), order);
      for (const auto [k, value] : map) ASSERT_EQ(value, this->V(model[k]));
      ASSERT_EQ(map.IsEmpty(), model.empty());
      if (step >= 20000 && !order.empty()) {
        ASSERT_EQ(this->AllKeys(map, order.front()), order);
      }
    }
  }
}

// Threads that only look, at maps that have no lists yet: one of them builds these.
TYPED_TEST(MapLists, ManyThreadsThatOnlyLookSeeOneMap) {
  constexpr ZTKWord kKeys = 300;
  for (int round = 0; round < 40; ++round) {
    TypeParam map(17);
    for (ZTKWord key = 0; key < kKeys; ++key) map.Insert(key * 7, this->V(key));
    map.Erase(70);
    std::atomic<int> waiting{4};
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (ZTKWord first = 0; first < 4; ++first) {
      threads.emplace_back([&, first] {
        for (--waiting; waiting > 0;) std::this_thread::yield();
        for (ZTKWord i = 0; i < kKeys; ++i) {
          const ZTKWord key = (first * 70 + i) % kKeys * 7;
          ZTKWord bucket = 0;
          const auto* const entry = map.GetNodeAt(key, bucket);
          const bool present = key != 70;
          bool right = (entry != nullptr) == present && bucket == key / 16 % 17;
          right = right && map.GetCount(key) == (present ? 1u : 0u) && !map.IsEmpty();
          if (entry) {
            right = right && entry->key == key && entry->bucket == bucket &&
                    entry->entriesNode->GetData() == entry &&
                    entry->bucketNode->GetData() == entry &&
                    map.Find(key).GetValue() == this->V(key / 7);
          }
          if (i % 100 == 0) {
            right =
                right && static_cast<ZTKWord>(std::distance(map.begin(), map.end())) == kKeys - 1;
          }
          if (!right) ++wrong;
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
    ASSERT_EQ(wrong, 0);
    ASSERT_EQ(this->AllKeys(map, 0), this->Keys(map));
  }
}

TYPED_TEST(MapLists, MemoryThatRunsOutForOneThreadLeavesTheListsToAnother) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  constexpr ZTKWord kKeys = 20'000;
  TypeParam map(100);
  for (ZTKWord key = 0; key < kKeys; ++key) map.Insert(key, this->V(key));
  std::atomic<int> waiting{4};
  std::atomic<int> shown{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&, i] {
      for (--waiting; waiting > 0;) std::this_thread::yield();
      const failing_allocator::Scope scope(i < 3 ? 0 : LONG_MAX);
      if (this->At(map, 5) != nullptr) ++shown;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_GE(shown, 1);  // To the thread that has memory, and to those that come after it.
  EXPECT_EQ(this->AllKeys(map, 0), this->Keys(map));
}
