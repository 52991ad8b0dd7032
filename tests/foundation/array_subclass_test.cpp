#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "tests/support/failing_allocator.h"
#include "ztk/foundation/arrays.h"

// Subclasses that destroy their elements themselves. A pointer that is not from plain `new` would
// end the program.

unsigned long CountDeletedWithoutRtti();

namespace {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"  // As the classes they derive from.
class CountedStrings : public ZTKStringArray {
 public:
  CountedStrings() = default;
  // NOLINTNEXTLINE(bugprone-copy-constructor-init): the count is its own.
  CountedStrings(const CountedStrings& other) : ZTKStringArray(other) {}
  explicit CountedStrings(const ZTKStringArray& other) : ZTKStringArray(other) {}
  CountedStrings& operator=(const CountedStrings& other) {
    ZTKStringArray::operator=(other);
    return *this;
  }
  ~CountedStrings() { RemoveAt(0, GetCount()); }
  void DataDelete(void* p) override {
    if (p != nullptr) ++deleted;
    delete static_cast<ZTKString*>(p);
  }
  int deleted = 0;
};

/// Fills itself while it is made, and leaves the end to the class it derives from.
class FilledStrings : public ZTKStringArray {
 public:
  FilledStrings() { Add("made", 3); }
  void DataDelete(void* p) override { delete static_cast<ZTKString*>(p); }
};

class DeletingTypes : public ZTKArrayLinesType {
 public:
  DeletingTypes() = default;
  explicit DeletingTypes(const ZTKArrayLinesType& other) : ZTKArrayLinesType(other) {}
  ~DeletingTypes() { RemoveAt(0, GetCount()); }
  void DataDelete(void* p) override {
    if (p != nullptr) deleted.push_back(p);
    if (keepsCells) return;
    delete static_cast<ZTKTextFileType*>(p);
  }
  std::vector<void*> deleted;
  bool keepsCells = false;
};
#pragma GCC diagnostic pop

const char* const kTexts[] = {"", "short", "a text of some forty characters, or more"};

}  // namespace

TEST(ZTKStringArray, ASubclassMayDeleteItsElements) {
  CountedStrings array;
  for (const char* text : kTexts) array.Add(text, 2);
  array.Add(ZTKString('x', 1000), 1);
  array.Insert("inserted", 1);
  array.Item(0) += "changed";
  array.RemoveAt(0, 3);
  EXPECT_EQ(array.deleted, 3);
  array.Remove("short");
  EXPECT_EQ(array.deleted, 4);
  array.RemoveAt(1, 99);  // The slots stay, and one of them gets a new string.
  EXPECT_EQ(array.deleted, 7);
  array.Item(1) = "new";
  array.DoCopyArr(array);
  EXPECT_EQ(array.GetCount(), 8u);
  array.RemoveAt(0, 8);
  EXPECT_EQ(array.deleted, 7 + 6);  // Two slots had no string.
}

TEST(ZTKStringArray, ASubclassMayDeleteElementsThatWereCopied) {
  ZTKStringArray plain;
  for (const char* text : kTexts) plain.Add(text, 3);
  CountedStrings copy(plain);
  const CountedStrings second(copy);
  copy.RemoveAt(0, 2);
  EXPECT_EQ(copy.deleted, 2);
  copy = second;
  EXPECT_EQ(copy.deleted, 2 + 7);
  copy.DoCopyArr(plain);
  EXPECT_EQ(copy.GetCount(), 18u);
  copy.RemoveAt(9, 9);
  EXPECT_EQ(copy.deleted, 9 + 9);
  EXPECT_EQ(copy.Item(8), kTexts[2]);
}

TEST(ZTKStringArray, ElementsOfASubclassEndWithTheBaseWhereItLeavesThem) {
  FilledStrings array;
  array.Add("added", 2);
  array.RemoveAt(1, 1);
  EXPECT_EQ(array.GetCount(), 4u);
  EXPECT_EQ(array.Item(3), "added");
}

TEST(ZTKStringArray, DataCreateGivesAStringOfItsOwn) {
  for (const char* text : kTexts) {
    ZTKStringArray plain;
    auto* const string = static_cast<ZTKString*>(plain.DataCreate(text));
    ASSERT_NE(string, nullptr);
    EXPECT_EQ(*string, text);
    EXPECT_EQ(string->AllocatedSize(), ZTKString(text).AllocatedSize());
    delete string;
  }
}

TEST(ZTKStringArray, ASubclassNeedsNoTypeInformation) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer itself needs it";
  EXPECT_EQ(CountDeletedWithoutRtti(), 3u);
}

TEST(ZTKStringArray, ASubclassSeesOnlyElementsWhenMemoryRunsOut) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  const ZTKString text("a text of some forty characters, or more");
  for (long before = 0;; ++before) {
    SCOPED_TRACE(before);
    failing_allocator::Scope scope(before, 1);
    CountedStrings array;
    array.Add(text, 20);
    array.Insert(text, 5);
    EXPECT_EQ(array.deleted, 0) << "one that never was an element";
    CountedStrings copy(array);
    const bool failed = scope.Failed();
    for (const ZTKString& element : copy) EXPECT_EQ(element, text);
    if (!failed) {
      EXPECT_EQ(copy.GetCount(), 21u);
      break;
    }
    ASSERT_LT(before, 1000);
  }
}

TEST(ZTKArrayLinesType, ASubclassMayDeleteItsCells) {
  ZTKArrayLinesType plain;
  for (int type = EOL_NONE; type <= 5; ++type) plain.Add(static_cast<ZTKTextFileType>(type), 2);
  DeletingTypes array(plain);
  array.Add(EOL_DOS, 3);
  array.Insert(EOL_MAC, 1);
  array.DoCopyArr(plain);
  EXPECT_EQ(array.GetCount(), 12u + 4 + 12);
  EXPECT_EQ(array.Item(1), EOL_MAC);
  array.RemoveAt(0, 2);
  array.Remove(EOL_DOS);
  array.RemoveAt(20, 99);
  EXPECT_EQ(array.deleted.size(), 3u + 5);
}

TEST(ZTKArrayLinesType, ElementsOfASubclassHaveCellsOfTheirOwn) {
  DeletingTypes array;
  array.Add(EOL_UNIX, 5);
  array.Insert(EOL_UNIX, 2);
  array.keepsCells = true;
  array.RemoveAt(0, 6);
  const std::set<void*> cells(array.deleted.begin(), array.deleted.end());
  EXPECT_EQ(cells.size(), 6u);
  for (void* const p : cells) {
    auto* const cell = static_cast<ZTKTextFileType*>(p);
    EXPECT_EQ(*cell, EOL_UNIX);
    *cell = EOL_MAC;  // Nobody else's.
    delete cell;
  }
  ZTKArrayLinesType plain;
  plain.Add(EOL_UNIX, 1);
  EXPECT_EQ(plain.Item(0), EOL_UNIX);
}

TEST(ZTKArrayLinesType, DataCreateGivesACellOfItsOwn) {
  ZTKArrayLinesType plain;
  auto* const first = static_cast<ZTKTextFileType*>(plain.DataCreate(EOL_DOS));
  auto* const second = static_cast<ZTKTextFileType*>(plain.DataCreate(EOL_DOS));
  EXPECT_NE(first, second);
  delete first;
  plain.DataDelete(second);
}
