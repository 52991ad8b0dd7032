#include "ztk/foundation/internal/map_index.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <vector>

namespace {

struct Record {
  ZTKWord key;
};
using Index = MapIndex<Record>;

Record* Find(const Index& index, ZTKWord nKey) { return index.Find(nKey, Index::HashOf(nKey)); }
bool Add(Index& index, Record& record) { return index.Add(&record, Index::HashOf(record.key)); }
bool Remove(Index& index, const Record& record) {
  return index.Remove(&record, Index::HashOf(record.key));
}

// Records whose keys share their first group, in an index of up to 4096 groups.
std::deque<Record> Colliding(size_t nCount) {
  constexpr int kShift = 52;
  std::deque<Record> records;
  for (ZTKWord key = 0; records.size() < nCount; ++key) {
    if (Index::HashOf(key) >> kShift == 5) records.push_back({key});
  }
  return records;
}

}  // namespace

TEST(MapIndex, FindsWhatWasAddedAndNothingElse) {
  Index index;
  ASSERT_TRUE(index.Init(100));
  Record records[] = {{0}, {1}, {~0ul}};
  for (Record& record : records) EXPECT_TRUE(Add(index, record));
  for (Record& record : records) EXPECT_EQ(Find(index, record.key), &record);
  EXPECT_EQ(Find(index, 2), nullptr);
  EXPECT_EQ(index.GetCount(), 3u);
}

TEST(MapIndex, RemovesTheRecordItselfAndNoOtherOfItsKey) {
  Index index;
  ASSERT_TRUE(index.Init(100));
  Record record = {7}, other = {7};
  ASSERT_TRUE(Add(index, record));
  EXPECT_FALSE(Remove(index, other));
  EXPECT_EQ(Find(index, 7), &record);
  EXPECT_TRUE(Remove(index, record));
  EXPECT_FALSE(Remove(index, record));
  EXPECT_EQ(Find(index, 7), nullptr);
  EXPECT_EQ(index.GetCount(), 0u);
}

TEST(MapIndex, KeepsRecordsThatShareTheirFirstGroup) {
  // More than the overflow count of a group can hold.
  Index index;
  ASSERT_TRUE(index.Init(14ul * 4096));
  std::deque<Record> records = Colliding(600);
  for (Record& record : records) ASSERT_TRUE(Add(index, record));
  for (Record& record : records) ASSERT_EQ(Find(index, record.key), &record);

  for (size_t i = 0; i < records.size(); i += 2) ASSERT_TRUE(Remove(index, records[i]));
  for (size_t i = 0; i < records.size(); ++i) {
    ASSERT_EQ(Find(index, records[i].key), i % 2 != 0 ? &records[i] : nullptr);
  }
  for (size_t i = 0; i < records.size(); i += 2) ASSERT_FALSE(Remove(index, records[i]));
  for (size_t i = 0; i < records.size(); i += 2) ASSERT_TRUE(Add(index, records[i]));
  for (Record& record : records) ASSERT_EQ(Find(index, record.key), &record);
  for (Record& record : records) ASSERT_TRUE(Remove(index, record));
  EXPECT_EQ(index.GetCount(), 0u);
  for (Record& record : records) ASSERT_EQ(Find(index, record.key), nullptr);
}

TEST(MapIndex, RefusesWhatItHasNoSlotsFor) {
  Index index;
  ASSERT_TRUE(index.Init(1));
  std::deque<Record> records;
  while (records.size() < 1000) {
    records.push_back({records.size()});
    if (!Add(index, records.back())) break;
  }
  ASSERT_LT(records.size(), 1000u);
  EXPECT_TRUE(index.NeedsGrowth());
  EXPECT_EQ(index.GetCount(), records.size() - 1);
  EXPECT_EQ(Find(index, records.back().key), nullptr);
  EXPECT_FALSE(Remove(index, records.back()));
  records.pop_back();
  for (Record& record : records) ASSERT_EQ(Find(index, record.key), &record);

  // One that goes makes room for one that comes.
  for (size_t i = 0; i < 3 * records.size(); ++i) {
    ASSERT_TRUE(Remove(index, records.front()));
    ASSERT_EQ(Find(index, records.front().key), nullptr);
    records.pop_front();
    records.push_back({records.back().key + 1});
    ASSERT_TRUE(Add(index, records.back()));
    for (Record& record : records) ASSERT_EQ(Find(index, record.key), &record);
  }
}

TEST(MapIndex, IsEmptyAndHasRoomOnceItHasGrown) {
  Index index;
  ASSERT_TRUE(index.Init(1));
  std::deque<Record> records;
  while (!index.NeedsGrowth()) {
    records.push_back({records.size()});
    ASSERT_TRUE(Add(index, records.back()));
  }
  ASSERT_TRUE(index.Grow());
  EXPECT_EQ(index.GetCount(), 0u);
  for (Record& record : records) EXPECT_EQ(Find(index, record.key), nullptr);
  for (Record& record : records) EXPECT_TRUE(Add(index, record));
  for (Record& record : records) EXPECT_EQ(Find(index, record.key), &record);
  EXPECT_FALSE(index.NeedsGrowth());
}
