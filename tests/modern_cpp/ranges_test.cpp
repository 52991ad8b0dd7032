// The containers in algorithms and views of the standard library, where the compiler has those.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <ranges>
#include <string>
#include <vector>

#include "ztk/ztk.h"

namespace {

namespace ranges = std::ranges;
namespace views = std::views;

static_assert(ranges::contiguous_range<const ZTKPtrArr>);
static_assert(ranges::sized_range<const ZTKPtrArr>);
static_assert(ranges::forward_range<const ZTKStringArray>);
static_assert(ranges::forward_range<const ZTKTextBuffer>);
static_assert(ranges::forward_range<const ZTKListBase>);
static_assert(ranges::input_range<const ZTKArrayLinesType>);
static_assert(ranges::input_range<const ZTKMap>);
static_assert(ranges::input_range<const ZTKPtrMap>);

static_assert(ranges::common_range<const ZTKStringArray> &&
              ranges::common_range<const ZTKListBase>);
static_assert(ranges::viewable_range<ZTKStringArray&> && ranges::viewable_range<ZTKMap&>);
static_assert(std::same_as<ranges::range_reference_t<const ZTKStringArray>, const ZTKString&>);
static_assert(std::same_as<ranges::range_value_t<const ZTKArrayLinesType>, ZTKTextFileType>);
static_assert(std::same_as<ranges::range_value_t<const ZTKListBase>, void*>);

constexpr auto kIsShort = [](const ZTKString& text) { return text.Len() <= 4; };
constexpr auto kIsComment = [](const ZTKString& line) { return line.view().starts_with('#'); };
constexpr auto kInt = [](const void* p) { return *static_cast<const int*>(p); };

struct Fruit {
  Fruit() {
    for (const char* name : {"pear", "fig", "apple", "kiwi"}) names.Add(name, 1);
  }
  ZTKStringArray names;
};

struct Numbers {
  Numbers() {
    for (int& number : numbers) {
      pointers.Add(&number, 1);
      list.Append(&number);
    }
  }
  int numbers[3] = {4, 1, 3};
  ZTKPtrArr pointers;
  ZTKListBase list;
};

TEST(Ranges, StringsAreCountedAndSearched) {
  const Fruit fruit;
  EXPECT_EQ(ranges::distance(fruit.names), 4);
  EXPECT_EQ(ranges::count_if(fruit.names, kIsShort), 3);
  EXPECT_EQ(*ranges::find(fruit.names, "apple", &ZTKString::view), ZTKString("apple"));
  EXPECT_EQ(ranges::find(fruit.names, "plum", &ZTKString::view), fruit.names.end());
  EXPECT_EQ(ranges::max_element(fruit.names, {}, &ZTKString::view)->view(), "pear");
  EXPECT_TRUE(ranges::empty(ZTKStringArray()));
}

TEST(Ranges, LinesOfATextAreStrings) {
  ZTKTextFile text("unused");
  text.AddLine("# name", EOL_UNIX);
  text.AddLine("value", EOL_UNIX);
  EXPECT_EQ(ranges::count_if(text, kIsComment), 1);
}

TEST(Ranges, PointersAndListAreWalked) {
  const Numbers of;
  EXPECT_TRUE(ranges::equal(of.pointers, of.list, {}, kInt, kInt));
  EXPECT_EQ(ranges::data(of.pointers), of.pointers.GetItems());
  EXPECT_EQ(kInt(*ranges::min_element(of.list, {}, kInt)), 1);
}

TEST(Ranges, LineEndsAreCounted) {
  ZTKArrayLinesType lineEnds;
  lineEnds.Add(EOL_DOS, 2);
  lineEnds.Add(EOL_MAC, 1);
  EXPECT_EQ(ranges::count(lineEnds, EOL_DOS), 2);
}

TEST(Ranges, MapsGiveKeysAndValues) {
  ZTKMap map(17);
  map.Insert(7, 70);
  map.Insert(2, 20);
  EXPECT_TRUE(ranges::any_of(map, [](const ZTKMap::Item& item) { return item.value == 20; }));
  EXPECT_TRUE(ranges::equal(map, std::vector<unsigned long>{7, 2}, {}, &ZTKMap::Item::key));
}

// Before version 16, Clang does not understand the views of the GNU library.
#if !defined(__clang__) || __clang_major__ >= 16

template <ranges::input_range Range>
std::vector<std::string> Texts(Range&& range) {
  std::vector<std::string> texts;
  for (const ZTKString& text : range) texts.emplace_back(text.view());
  return texts;
}

TEST(Views, StringsAreFilteredAndCut) {
  const Fruit fruit;
  using Names = std::vector<std::string>;
  EXPECT_EQ(Texts(fruit.names | views::filter(kIsShort)), (Names{"pear", "fig", "kiwi"}));
  EXPECT_EQ(Texts(fruit.names | views::drop(1) | views::take(2)), (Names{"fig", "apple"}));
}

TEST(Views, LinesOfATextAreFiltered) {
  ZTKTextFile text("unused");
  text.AddLine("# name", EOL_UNIX);
  text.AddLine("value", EOL_UNIX);
  EXPECT_EQ(Texts(text | views::filter(kIsComment)), (std::vector<std::string>{"# name"}));
}

TEST(Views, PointersAndListAreTransformed) {
  const Numbers of;
  EXPECT_EQ(ranges::min(of.pointers | views::transform(kInt)), 1);
  EXPECT_EQ(ranges::max(of.list | views::transform(kInt)), 4);
}

TEST(Views, MapsGiveTheirKeysInTheOrderOfInsertion) {
  ZTKMap map(17);
  map.Insert(7, 70);
  map.Insert(2, 20);
  std::vector<unsigned long> keys;
  // Items come by value: a pointer to member would leave a reference into one that is gone.
  const auto key = [](const ZTKMap::Item& item) { return item.key; };
  for (const unsigned long each : map | views::transform(key)) keys.push_back(each);
  EXPECT_EQ(keys, (std::vector<unsigned long>{7, 2}));
}

#endif

}  // namespace
