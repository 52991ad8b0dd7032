#include "ztk/foundation/lines_type_array.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <type_traits>
#include <vector>

#include "tests/support/failing_allocator.h"

namespace {

using testing::ElementsAre;

constexpr ZTKTextFileType kOdd = static_cast<ZTKTextFileType>(-7);
constexpr ZTKTextFileType kLarge = static_cast<ZTKTextFileType>(INT_MAX);

std::vector<ZTKTextFileType> Types(const ZTKArrayLinesType& array) {
  std::vector<ZTKTextFileType> types;
  for (const ZTKTextFileType type : array) types.push_back(type);
  return types;
}

ZTKArrayLinesType Array(std::initializer_list<ZTKTextFileType> types) {
  ZTKArrayLinesType array;
  for (const ZTKTextFileType type : types) array.Add(type, 1);
  return array;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"  // As the class it derives from.
class CountingTypes : public ZTKArrayLinesType {
 public:
  ~CountingTypes() { RemoveAt(0, GetCount()); }
  void DataDelete(void* p) override {
    if (p != nullptr) deleted.push_back(*static_cast<ZTKTextFileType*>(p));
    ZTKArrayLinesType::DataDelete(p);
  }
  std::vector<ZTKTextFileType> deleted;
};
#pragma GCC diagnostic pop

static_assert(!std::has_virtual_destructor_v<ZTKArrayLinesType>);

}  // namespace

TEST(ZTKArrayLinesType, KeepsEveryValue) {
  ZTKArrayLinesType array = Array({EOL_NONE, EOL_UNIX, EOL_DOS, EOL_MAC, kOdd, kLarge});
  EXPECT_THAT(Types(array), ElementsAre(EOL_NONE, EOL_UNIX, EOL_DOS, EOL_MAC, kOdd, kLarge));
  EXPECT_EQ(array.Item(4), kOdd);
  EXPECT_EQ(array.Item(6), EOL_NONE);
  EXPECT_EQ(array.Item(ULONG_MAX), EOL_NONE);
}

TEST(ZTKArrayLinesType, AddsAndInserts) {
  ZTKArrayLinesType array;
  array.Add(EOL_DOS, 2);
  array.Insert(EOL_MAC, 1);
  array.Insert(kOdd, 99);
  array.Add(EOL_UNIX, 0);
  array.Add(EOL_UNIX, ULONG_MAX);
  EXPECT_THAT(Types(array), ElementsAre(EOL_DOS, EOL_MAC, EOL_DOS, kOdd));
}

TEST(ZTKArrayLinesType, FindsAndRemoves) {
  ZTKArrayLinesType array = Array({EOL_DOS, kOdd, EOL_DOS, EOL_UNIX, kOdd});
  EXPECT_EQ(array.Index(EOL_DOS, 0), 0);
  EXPECT_EQ(array.Index(EOL_DOS, 1), 2);
  EXPECT_EQ(array.Index(kOdd, 1), 4);
  EXPECT_EQ(array.Index(EOL_MAC, 0), -1);
  EXPECT_EQ(array.Index(EOL_MAC, 1), -1);
  array.Remove(kOdd);
  array.Remove(EOL_MAC);
  EXPECT_THAT(Types(array), ElementsAre(EOL_DOS, EOL_DOS, EOL_UNIX, kOdd));
  array.RemoveAt(0, 2);
  EXPECT_THAT(Types(array), ElementsAre(EOL_UNIX, kOdd));
  array.RemoveAt(2, 1);
  EXPECT_EQ(array.GetCount(), 2u);
}

TEST(ZTKArrayLinesType, ARangePastTheEndLeavesPlacesOfTypeNone) {
  for (unsigned long count : {3ul, ULONG_MAX}) {
    ZTKArrayLinesType array = Array({EOL_DOS, kOdd, EOL_MAC});
    array.RemoveAt(1, count);
    EXPECT_THAT(Types(array), ElementsAre(EOL_DOS, EOL_NONE, EOL_NONE));
  }
}

TEST(ZTKArrayLinesType, CopiesAndAssigns) {
  ZTKArrayLinesType array = Array({EOL_DOS, kOdd});
  ZTKArrayLinesType copy(array);
  copy.Add(EOL_MAC, 1);
  EXPECT_THAT(Types(array), ElementsAre(EOL_DOS, kOdd));
  EXPECT_EQ(&(array = copy), &array);
  EXPECT_THAT(Types(array), ElementsAre(EOL_DOS, kOdd, EOL_MAC));
  const ZTKArrayLinesType& same = array;
  array = same;
  array.DoCopyArr(array);
  EXPECT_THAT(Types(array), ElementsAre(EOL_DOS, kOdd, EOL_MAC, EOL_DOS, kOdd, EOL_MAC));
}

TEST(ZTKArrayLinesType, DataCreateAndDataDeleteMakeAndEndACell) {
  ZTKArrayLinesType array;
  for (ZTKTextFileType type : {EOL_NONE, EOL_MAC, kOdd, kLarge}) {
    void* const cell = array.DataCreate(type);
    ASSERT_NE(cell, nullptr);
    EXPECT_EQ(*static_cast<ZTKTextFileType*>(cell), type);
    array.DataDelete(cell);
  }
  array.DataDelete(nullptr);
}

TEST(ZTKArrayLinesType, ASubclassSeesEveryCellEnd) {
  CountingTypes array;
  for (ZTKTextFileType type : {EOL_DOS, kOdd, EOL_MAC}) array.Add(type, 1);
  array.RemoveAt(0, 2);
  EXPECT_THAT(array.deleted, ElementsAre(EOL_DOS, kOdd));
}

TEST(ZTKArrayLinesType, AddsCellsOrNothingWhenMemoryRunsOut) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  for (long passed = 0;; ++passed) {
    SCOPED_TRACE(passed);
    failing_allocator::Scope scope(passed, 1);
    ZTKArrayLinesType array;
    array.Add(kOdd, 20);
    array.Insert(EOL_DOS, 0);
    const ZTKArrayLinesType copy(array);
    const bool failed = scope.Failed();
    EXPECT_LE(copy.GetCount(), array.GetCount());
    for (const ZTKTextFileType type : array) EXPECT_TRUE(type == kOdd || type == EOL_DOS);
    if (!failed) {
      EXPECT_EQ(copy.GetCount(), 21u);
      break;
    }
    ASSERT_LT(passed, 1000);
  }
  failing_allocator::Scope scope(0);
  ZTKArrayLinesType array;
  array.Add(EOL_DOS, 1);
  array.RemoveAt(0, 1);
  EXPECT_EQ(array.GetCount(), 0u);
  EXPECT_EQ(array.Item(0), EOL_NONE);
  EXPECT_EQ(array.Index(EOL_DOS, 0), -1);
  EXPECT_TRUE(array.begin() == array.end());
}
