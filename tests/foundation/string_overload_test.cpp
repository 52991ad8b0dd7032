#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <type_traits>
#include <utility>

#include "ztk/foundation/string.h"

// Which overload every kind of literal and integer type chooses. Most of it is checked by the
// compiler alone; the values below show that the chosen one is the right one.

namespace {

template <typename T, typename = void>
struct CanStream : std::false_type {};
template <typename T>
struct CanStream<T, std::void_t<decltype(std::declval<ZTKString&>() << std::declval<T>())>>
    : std::true_type {};

template <typename... T>
constexpr bool kAllStream = (CanStream<T>::value && ...);

static_assert(kAllStream<bool, char, signed char, unsigned char, wchar_t, char16_t, char32_t>);
static_assert(kAllStream<short, unsigned short, int, unsigned int, long, unsigned long>);
static_assert(kAllStream<long long, unsigned long long, std::size_t, std::ptrdiff_t>);
static_assert(kAllStream<float, double, long double>);
static_assert(kAllStream<const char*, char*, const char (&)[3], std::nullptr_t>);
static_assert(kAllStream<ZTKString, const ZTKString&, ZTKString&>);

// What an implicit conversion would get wrong stays an error.
static_assert(!CanStream<const wchar_t*>::value);
static_assert(!CanStream<void*>::value);
static_assert(!std::is_convertible_v<int, ZTKString>);
static_assert(!std::is_convertible_v<std::string_view, ZTKString>);
static_assert(std::is_constructible_v<ZTKString, std::string_view>);

// Assignment and construction.
static_assert(std::is_assignable_v<ZTKString&, const char*>);
static_assert(std::is_assignable_v<ZTKString&, const unsigned char*>);
static_assert(std::is_assignable_v<ZTKString&, char>);
static_assert(std::is_assignable_v<ZTKString&, std::nullptr_t>);
static_assert(std::is_convertible_v<const char*, ZTKString>);
static_assert(std::is_nothrow_copy_constructible_v<ZTKString>);
static_assert(std::is_nothrow_copy_assignable_v<ZTKString>);
static_assert(std::is_nothrow_default_constructible_v<ZTKString>);
static_assert(!std::is_polymorphic_v<ZTKString>);
static_assert(std::is_standard_layout_v<ZTKString>);
static_assert(sizeof(ZTKString) == sizeof(void*) + 8);

// Element access picks the mutable form for a mutable string, whatever the index type.
static_assert(std::is_same_v<decltype(std::declval<ZTKString&>()[0]), char&>);
static_assert(std::is_same_v<decltype(std::declval<ZTKString&>()[0u]), char&>);
static_assert(std::is_same_v<decltype(std::declval<ZTKString&>()[0L]), char&>);
static_assert(std::is_same_v<decltype(std::declval<ZTKString&>()[0ULL]), char&>);
static_assert(std::is_same_v<decltype(std::declval<const ZTKString&>()[0]), char>);
static_assert(std::is_same_v<decltype(std::declval<const ZTKString&>().Last()), char>);

template <typename T>
std::string Streamed(T value) {
  ZTKString text;
  text << value;
  return text.c_str();
}

}  // namespace

TEST(ZTKStringOverloads, CharactersAreTextAndOtherIntegersAreNumbers) {
  EXPECT_EQ(Streamed('5'), "5");
  EXPECT_EQ(Streamed(5), "5");
  EXPECT_EQ(Streamed(5u), "5");
  EXPECT_EQ(Streamed(5L), "5");
  EXPECT_EQ(Streamed(5UL), "5");
  EXPECT_EQ(Streamed(5LL), "5");
  EXPECT_EQ(Streamed(5ULL), "5");
  EXPECT_EQ(Streamed(static_cast<short>(-5)), "-5");
  EXPECT_EQ(Streamed(static_cast<unsigned short>(5)), "5");
  EXPECT_EQ(Streamed(static_cast<unsigned char>('5')), "53");
  EXPECT_EQ(Streamed(static_cast<signed char>('5')), "53");
  EXPECT_EQ(Streamed(L'5'), "53");
  EXPECT_EQ(Streamed(u'5'), "53");
  EXPECT_EQ(Streamed(U'5'), "53");
  EXPECT_EQ(Streamed(true), "1");
  EXPECT_EQ(Streamed(0), "0");
  EXPECT_EQ(Streamed(std::size_t{7}), "7");
}

TEST(ZTKStringOverloads, FloatingPointFormsDiffer) {
  EXPECT_EQ(Streamed(1.5f), "1.500000");
  EXPECT_EQ(Streamed(1.5), "1.5");
  EXPECT_EQ(Streamed(1.5L), "1.5");
}

TEST(ZTKStringOverloads, NullAndTheNumberZeroAreText) {
  ZTKString text("abc");
  text.append(nullptr);
  text.append(0);
  text << nullptr;
  EXPECT_STREQ(text.c_str(), "abc");
  EXPECT_EQ(text.Find(0), -1);
  EXPECT_EQ(text.Find(nullptr), -1);
  EXPECT_EQ(text.Cmp(nullptr), -2);
  EXPECT_EQ(text.Cmp(0), -2);
  EXPECT_STREQ(ZTKString(nullptr).c_str(), "");
  EXPECT_STREQ(ZTKString(0).c_str(), "");
}

TEST(ZTKStringOverloads, AFillAndARangeAreToldApart) {
  const char* bytes = "abc";
  EXPECT_STREQ(ZTKString('a', 3).c_str(), "aaa");
  EXPECT_STREQ(ZTKString('a', 3u).c_str(), "aaa");
  EXPECT_STREQ(ZTKString('a', 3L).c_str(), "aaa");
  EXPECT_STREQ(ZTKString(bytes, bytes + 2).c_str(), "ab");
  EXPECT_STREQ(ZTKString("abc", 1, 1).c_str(), "b");
}

TEST(ZTKStringOverloads, ComparesWithLiteralsFromBothSides) {
  const ZTKString text("abc");
  EXPECT_TRUE(text == "abc");
  EXPECT_TRUE(text != "abd");
  EXPECT_FALSE(text == nullptr);
  EXPECT_TRUE(text.IsSameAs("abc", 1));
  EXPECT_FALSE(text.IsSameAs('a', 1));
}
