#include "tests/support/slot_order.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "ztk/foundation.h"

namespace {

using Node = ZTKListBase::ZTKNodebase;

TEST_F(SlotOrder, PointerArray) {
  using Array = ZTKPtrArr;
  ExpectSlots<Array>(
      2, {SlotOf(&Array::DataDelete), SlotOf(&Array::DataEqual), SlotOf(&Array::DataCopy)}, 5);
  EXPECT_EQ(SlotCount<ZTKArrayEntries>(), 5);
  EXPECT_EQ(SlotCount<ZTKArrayGroups>(), 5);
}

TEST_F(SlotOrder, StringArray) {
  ExpectSlots<ZTKStringArray>(0, {SlotOf(&ZTKStringArray::DataDelete)}, 1);
}

TEST_F(SlotOrder, LinesTypeArray) {
  ExpectSlots<ZTKArrayLinesType>(0, {SlotOf(&ZTKArrayLinesType::DataDelete)}, 1);
}

TEST_F(SlotOrder, ListNode) { ExpectSlots<Node>(2, {SlotOf(&Node::DeleteData)}, 3); }

TEST_F(SlotOrder, List) {
  using List = ZTKListBase;
  ExpectSlots<List>(2,
                    {SlotOf(&List::DoAppendNode), SlotOf(&List::CreateNode),
                     SlotOf(&List::DoDeleteNode), SlotOf(&List::DataEqual)},
                    6);
}

// The destructor comes last here.
TEST_F(SlotOrder, Log) {
  using Log = ZTKLog;
  ExpectSlots<Log>(0, {SlotOf(&Log::DoLog), SlotOf(&Log::DoLogString), SlotOf(&Log::DoFlush)}, 5);
  EXPECT_EQ(SlotCount<ZTKLogStderr>(), 5);
  EXPECT_EQ(SlotCount<ZTKLogFile>(), 5);
}

TEST_F(SlotOrder, MapsHaveNoVirtualOperations) {
  EXPECT_FALSE(std::is_polymorphic_v<ZTKMap>);
  EXPECT_FALSE(std::is_polymorphic_v<ZTKPtrMap>);
  EXPECT_FALSE(std::is_polymorphic_v<ZTKString>);
}

}  // namespace
