#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/foundation/pointer_array_fixtures.h"
#include "ztk/foundation/pointer_array.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

int element;

}  // namespace

TEST(ZTKPtrArr, AttachTakesOverABlock) {
  ZTKPtrArr lender;
  Fill(lender, 20);
  void** const block = lender.GetItems();
  ZTKPtrArr array;
  array.Add(&element, 1);
  array.Attach(lender, 1);
  EXPECT_EQ(array.GetItems(), block);
  EXPECT_EQ(array.GetCapacity(), 24u);
  EXPECT_EQ(Elements(array), Pointers(20));
  EXPECT_FALSE(array.IsAttached());
  EXPECT_EQ(lender.GetItems(), nullptr);
  EXPECT_EQ(lender.GetCount(), 0u);
  EXPECT_EQ(lender.GetCapacity(), 0u);
}

TEST(ZTKPtrArr, AttachBorrowsABlockAndDestructionLeavesIt) {
  ZTKPtrArr lender;
  Fill(lender, 3);
  {
    ZTKPtrArr array;
    array.Attach(lender, 0);
    EXPECT_TRUE(array.IsAttached());
    EXPECT_EQ(array.GetItems(), lender.GetItems());
    EXPECT_EQ(Elements(array), Pointers(3));
    ZTKPtrArr another;
    Fill(another, 2);
    array.Attach(another, 0);  // Does not free what it borrowed before.
    EXPECT_EQ(Elements(array), Pointers(2));
  }
  EXPECT_EQ(Elements(lender), Pointers(3));
}

TEST(ZTKPtrArr, AttachClearsABlockOfItsOwn) {
  IntArray array;
  array.AddInt(1);
  IntArray lender;
  lender.AddInt(2);
  array.Attach(lender, 0);
  EXPECT_EQ(array.deleted, 1);
  EXPECT_EQ(*static_cast<int*>(array.Item(0)), 2);
  array.Release();
}

TEST(ZTKPtrArr, AttachToItselfChangesNothing) {
  ZTKPtrArr array;
  Fill(array, 3);
  array.Attach(array, 1);
  array.Attach(array, 0);
  EXPECT_EQ(Elements(array), Pointers(3));
  EXPECT_FALSE(array.IsAttached());
}

TEST(ZTKPtrArr, AttachToAnArrayOnTheSameBlockKeepsTheBlock) {
  for (int takes : {0, 1}) {
    SCOPED_TRACE(takes);
    ZTKPtrArr owner;
    Fill(owner, 3);
    ZTKPtrArr borrower;
    borrower.Attach(owner, 0);
    owner.Attach(borrower, takes);
    EXPECT_EQ(Elements(owner), Pointers(3));
    EXPECT_FALSE(owner.IsAttached());
    EXPECT_EQ(borrower.GetCount(), takes != 0 ? 0u : 3u);
  }
}

TEST(ZTKPtrArr, ABorrowerThatOutgrowsTheBlockLeavesItToTheLender) {
  using Operation = void (*)(ZTKPtrArr&);
  const Operation operations[] = {
      [](ZTKPtrArr& array) { array.Add(&element, 17); },
      [](ZTKPtrArr& array) { array.Add(&element, 13), array.Insert(&element, 1); },
      [](ZTKPtrArr& array) { array.Grow(100); },
      [](ZTKPtrArr& array) { (void)array.Realloc(100); },
      [](ZTKPtrArr& array) { (void)array.Realloc(2); },
      [](ZTKPtrArr& array) { array.Alloc(100); },
      [](ZTKPtrArr& array) { array.Alloc(ULONG_MAX); },
      [](ZTKPtrArr& array) { array.Shrink(); },
      [](ZTKPtrArr& array) { array.DataCopy(nullptr, 0); },
      [](ZTKPtrArr& array) { array.DoCopy(ZTKPtrArr()); },
  };
  for (size_t i = 0; i < std::size(operations); ++i) {
    SCOPED_TRACE(i);
    ZTKPtrArr lender;
    Fill(lender, 16);
    {
      ZTKPtrArr array;
      array.Attach(lender, 0);
      array.RemoveAt(3, 13);  // Room, so that Shrink has something to do. It clears the slots.
      operations[i](array);
      EXPECT_FALSE(array.IsAttached());
      EXPECT_TRUE(array.GetItems() == nullptr || array.GetItems() != lender.GetItems());
    }
    EXPECT_EQ(lender.GetCount(), 16u);
    EXPECT_EQ(lender.Item(0), Pointer(0));
    EXPECT_EQ(lender.Item(2), Pointer(2));
  }
}

TEST(ZTKPtrArr, ReallocOfABorrowerDeletesNothingOfTheLender) {
  IntArray lender;
  for (int i = 0; i < 20; ++i) lender.AddInt(i);
  IntArray array;
  array.Attach(lender, 0);
  EXPECT_TRUE(array.Realloc(5));
  EXPECT_EQ(array.GetCount(), 5u);
  EXPECT_EQ(array.deleted, 0);
  void** const block = array.GetItems();
  array.Release();  // The block is the array's own now, its elements are the lender's still.
  delete[] block;
  EXPECT_EQ(*static_cast<int*>(lender.Item(19)), 19);
}

TEST(ZTKPtrArr, ClearKeepsTheAttachedFlag) {
  ZTKPtrArr lender;
  Fill(lender, 3);
  ZTKPtrArr array;
  array.Attach(lender, 0);
  lender.Release();  // Nobody owns the block now, so that clearing the borrower may free it.
  array.Clear();
  EXPECT_TRUE(array.IsAttached());
  EXPECT_EQ(array.GetItems(), nullptr);
  array.Add(&element, 1);
  EXPECT_FALSE(array.IsAttached()) << "the new block is its own";
}

TEST(ZTKPtrArr, ReleaseAndDetachGiveTheBlockToTheCaller) {
  ZTKPtrArr array;
  Fill(array, 3);
  void** block = array.GetItems();
  EXPECT_EQ(&array.Release(), &array);
  EXPECT_EQ(array.GetItems(), nullptr);
  EXPECT_EQ(array.GetCount(), 0u);
  EXPECT_EQ(array.GetCapacity(), 0u);
  EXPECT_EQ(block[2], Pointer(2));
  delete[] block;

  Fill(array, 5000);
  block = array.GetItems();
  EXPECT_EQ(&array.Detach(), &array);
  EXPECT_EQ(array.GetItems(), nullptr);
  delete[] block;

  EXPECT_EQ(&array.Init(), &array);
}
